#ifndef LAB_CTL_CONNECTIONFILE_H
#define LAB_CTL_CONNECTIONFILE_H

#include "face/FACE_Configuration.h"
#include "lab/ctl/RecordTypes.h"

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace orvanectl {

/// What a connection file says, found by the same rules as the transport finds it. A value, read once.
class ConnectionFile {
public:
    struct Topic {
        std::string name;
        std::string topicType;
        std::string pubSubType;
    };

    /// Throws `std::runtime_error`: a line that names the file and what is wrong with it.
    explicit ConnectionFile(const std::string& path);

    const std::string& path() const { return m_path; }

    /// The parameters of "FastRtps"; all that the transport needs are there.
    const std::map<std::string, std::string>& domain() const { return m_domain; }

    /// In the order of the file.
    const std::vector<Topic>& topics() const { return m_topics; }

private:
    std::string m_path;
    std::map<std::string, std::string> m_domain;
    std::vector<Topic> m_topics;
};

/// A topic, and what its records are.
struct WatchedTopic {
    std::string name;
    const RecordType* type;
};

/// A name that stands for nothing; its text lists those that there are.
struct UnknownName : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The topics of these names, each once; all of the file without a name. Throws `UnknownName` for a topic that the file
/// has not and for a type that does not exist, `std::runtime_error` for a topic whose type in the file is none.
/// @param type  of all of them, whatever the file says, and then a topic needn't be in it; empty: by the file
std::vector<WatchedTopic> chooseTopics(const ConnectionFile& file, const std::vector<std::string>& names,
                                       const std::string& type);

/// How records are to be delivered.
struct Delivery {
    /// What publishers still hold comes too. Only a reliable subscriber gets that, so then the file decides whether
    /// this one is; otherwise it isn't, and no publisher waits for it or sends anything twice.
    bool backfill = false;
};

/// A configuration for the transport that has what the file says of the domain, but for the delivery, and a connection
/// for each topic. One thread at a time.
class WatchConfiguration : public FACE::Configuration {
public:
    WatchConfiguration(const ConnectionFile& file, const std::vector<WatchedTopic>& topics, Delivery delivery);

    void Initialize(const FACE::String&, FACE::RETURN_CODE_TYPE::Value& return_code) override;
    void Open(const FACE::String& container_name, int& handle, FACE::RETURN_CODE_TYPE::Value& return_code) override;
    void Get_Size(int handle, const FACE::String& set_name, int& size,
                  FACE::RETURN_CODE_TYPE::Value& return_code) override;
    void Read(int handle, const FACE::String& set_name, void* buffer, int buffer_size, int& bytes_read,
              FACE::RETURN_CODE_TYPE::Value& return_code) override;
    void Close(int handle, FACE::RETURN_CODE_TYPE::Value& return_code) override;

    /// There is nothing to write or to step to: `NO_ACTION`.
    void Write(int, const FACE::String&, void*, int, int& bytes_written,
               FACE::RETURN_CODE_TYPE::Value& return_code) override;
    void Seek(int, WHENCE_TYPE::Value, int, FACE::RETURN_CODE_TYPE::Value& return_code) override;

private:
    struct Container {
        std::string name;
        std::map<std::string, std::string> parameters;
    };

    const std::string* textOf(int handle, const FACE::String& key) const;

    std::vector<Container> m_containers;  // a handle is an index
};

}  // namespace orvanectl

#endif
