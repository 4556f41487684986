#ifndef FACE_HX_CONFIG_H
#define FACE_HX_CONFIG_H

#include "face/FACE_Configuration.h"
#include "utilities/ThreadAnnotations.h"

#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

namespace tinyxml2 {

class XMLDocument;
class XMLElement;

}  // namespace tinyxml2

namespace FACE {

/// The settings of one XML file, which is loaded once and kept in memory:
///
///     <HX_Configurations xsi:noNamespaceSchemaLocation="...">    the attribute is kept and never used
///         <Device>                                               a container; the element name is its type
///             <Name>Port 1</Name>                                without a name it is never found
///             <Parameters>
///                 <Speed>9600</Speed>                            a parameter; any text, blanks kept
///             </Parameters>
///         </Device>
///     </HX_Configurations>
///
/// A parameter whose element is empty, or holds only blanks in the file, has no text and counts as missing.
///
/// Answers come as return codes, among them 4 for every unknown handle. Only a string that is not valid throws, as
/// `std::logic_error`, once the object or the handle is known to be fit for use.
///
/// One thread at a time. The mutex covers `Initialize` and the saving of the file, not the handles and not the
/// document.
class HX_Config : public Configuration {
public:
    HX_Config();
    ~HX_Config() override;
    HX_Config(const HX_Config&) = delete;
    HX_Config& operator=(const HX_Config&) = delete;

    /// Loads the file. `INVALID_CONFIG` if it can't be read as XML (nothing is printed) or has no document element
    /// "HX_Configurations" (one line is printed); another call may then try again. From the first success on the
    /// object stays with its file: further calls answer `NO_ERROR` and load nothing, whatever the path.
    void Initialize(const String& configuration_path, RETURN_CODE_TYPE::Value& return_code) override EXCLUDES(m_mutex);

    /// Selects the first container whose name or element name is `container_name`. `INVALID_MODE` before
    /// `Initialize`, `INVALID_CONFIG` if there is none.
    ///
    /// A handle stands for an element name, not for a container: opening a sibling gives the handle that is open
    /// already and moves it. This is deliberate; read a container out, and close it, before its sibling is opened.
    /// A container that is selected already stays as it is, handle and all.
    void Open(const String& container_name, int& handle, RETURN_CODE_TYPE::Value& return_code) override;

    /// Bytes of a parameter's text, for an empty `set_name` those of the container's name. `INVALID_CONFIG`, and
    /// `size` untouched, if there is no such text.
    void Get_Size(int handle, const String& set_name, int& size, RETURN_CODE_TYPE::Value& return_code) override;

    /// Fills the whole buffer with zeros and copies as much of the text of `Get_Size` as it takes, which is no error:
    /// a text that fills the buffer has no terminator. `INVALID_PARAM` if there is no such text, or no buffer.
    void Read(int handle, const String& set_name, void* buffer, int buffer_size, int& bytes_read,
              RETURN_CODE_TYPE::Value& return_code) override;

    /// Gives a parameter that has a text another one, and rewrites the whole file. `INVALID_PARAM` if the parameter
    /// has no text, and for a container's name. `NO_ACTION` if the file can't be written: the new text stays in
    /// memory then, and the file may be cut short. A negative size or a null buffer with a size throws
    /// `std::logic_error`.
    void Write(int handle, const String& set_name, void* buffer, int size, int& bytes_written,
               RETURN_CODE_TYPE::Value& return_code) override EXCLUDES(m_mutex);

    /// Steps among the containers of the handle's element name, those without a name included. From the beginning
    /// and from the current one a positive offset goes towards the end of the file; from the end zero and positive
    /// ones go towards its beginning. `INVALID_PARAM`, and the selection unchanged, if there are too few;
    /// `INVALID_CONFIG` for any other `whence`.
    void Seek(int handle, WHENCE_TYPE::Value whence, int offset, RETURN_CODE_TYPE::Value& return_code) override;

    void Close(int handle, RETURN_CODE_TYPE::Value& return_code) override;

    /// The file's "xsi:noNamespaceSchemaLocation"; empty if it has none or none is loaded.
    std::string schema() const EXCLUDES(m_mutex);

private:
    enum class Direction { Forward, Backward };

    /// What an open handle has selected; all of it is in the document.
    struct config_set {
        std::string_view type;  // that it was opened as: a step may come to a container of another one
        tinyxml2::XMLElement* element = nullptr;
        std::string_view name;
        tinyxml2::XMLElement* parameters = nullptr;  // null if the container has none
        tinyxml2::XMLElement* parameter = nullptr;   // that was asked for last: its size comes before its text
    };

    /// One of the file; without an element none.
    struct Container {
        tinyxml2::XMLElement* element = nullptr;
        std::string_view name = {};  // in the document
    };

    /// The containers that a key stands for, in the order of the file. What has no name takes no part.
    struct Matches {
        Container first;
        Container last;
    };

    static void select(config_set& set, const Container& container);
    static tinyxml2::XMLElement* parameterOf(config_set& set, std::string_view name);
    static const char* textOfParameter(config_set& set, std::string_view name);
    config_set* setOf(int handle);
    void indexContainers(tinyxml2::XMLElement& root);
    Container findContainer(std::string_view key, Direction direction) const;
    bool save() REQUIRES(m_mutex);

    std::string m_path GUARDED_BY(m_mutex);
    std::string m_schema GUARDED_BY(m_mutex);
    mutable RankedMutex<LockRank::ConfigurationFile> m_mutex;
    std::unique_ptr<tinyxml2::XMLDocument> m_document;
    std::unordered_map<std::string_view, Matches> m_containers;  // by name and by element name; all in the document
    std::map<int, config_set> m_sets;
    std::atomic<bool> m_initialized = false;
};

}  // namespace FACE

#endif
