#ifndef LAB_CTL_CHECK_FINDINGS_H
#define LAB_CTL_CHECK_FINDINGS_H

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace orvanectl {

/// What comes of it: nothing, since it may well be meant; a service that runs, if not as was meant; or one that does not
/// start.
enum class Severity { Note, Warning, Error };

/// Something that is not as it should be.
struct Finding {
    std::string file;
    int line;  ///< counted from 1; 0 for the file as a whole
    Severity severity;
    std::string place;  ///< "section/key", or what else is meant; empty for the file as a whole
    std::string what;   ///< and what would be right

    /// "file:line: severity: place: what", without an end of line. Bytes that can't be printed are shown as \xNN.
    std::string asLine() const;

    /// One line of JSON with its end.
    std::string json() const;
};

/// What was found in files; one that is begun again goes on. One thread at a time.
class Findings {
public:
    /// @param onBegin  called with each file that is begun
    explicit Findings(std::function<void(const std::string&)> onBegin = {}) : m_onBegin(std::move(onBegin)) {}

    /// What is added from here on is found in this file.
    void begin(const std::string& file);

    void note(int line, const std::string& place, const std::string& what) { add(Severity::Note, line, place, what); }
    void warn(int line, const std::string& place, const std::string& what)
    {
        add(Severity::Warning, line, place, what);
    }
    void fail(int line, const std::string& place, const std::string& what) { add(Severity::Error, line, place, what); }
    void add(Severity severity, int line, const std::string& place, const std::string& what);

    /// In the order in which files were begun, of each by lines.
    std::vector<Finding> sorted() const;

    std::size_t errors() const { return count(Severity::Error); }
    std::size_t warnings() const { return count(Severity::Warning); }
    std::size_t notes() const { return count(Severity::Note); }

private:
    struct Entry {
        std::size_t file;
        Finding finding;
    };

    std::size_t count(Severity severity) const;

    std::function<void(const std::string&)> m_onBegin;
    std::vector<std::string> m_files;
    std::size_t m_current = 0;
    std::vector<Entry> m_entries;
};

}  // namespace orvanectl

#endif
