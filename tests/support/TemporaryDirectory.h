#ifndef TESTS_SUPPORT_TEMPORARYDIRECTORY_H
#define TESTS_SUPPORT_TEMPORARYDIRECTORY_H

#include <filesystem>
#include <string>
#include <string_view>

/// An empty directory of a test's own, removed with all that it holds.
class TemporaryDirectory {
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::filesystem::path& path() const { return m_path; }

    /// Writes a file into the directory and gives its path.
    std::string write(const std::string& name, std::string_view content) const;

private:
    std::filesystem::path m_path;
};

/// The bytes of a file; throws `std::runtime_error` when it can't be read.
std::string readFile(const std::string& path);

#endif
