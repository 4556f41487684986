#ifndef TESTS_SUPPORT_REGISTERFILE_H
#define TESTS_SUPPORT_REGISTERFILE_H

#include "tests/support/TemporaryDirectory.h"

#include <cstdint>
#include <string>
#include <vector>

/// 4 GiB of register memory in a sparse file, all zero at first. Whoever maps the file sees each change at once.
class RegisterFile {
public:
    RegisterFile();
    ~RegisterFile();
    RegisterFile(const RegisterFile&) = delete;
    RegisterFile& operator=(const RegisterFile&) = delete;

    const std::string& path() const { return m_path; }

    std::uint8_t get8(std::uint64_t address) const;
    std::uint32_t get32(std::uint64_t address) const;
    std::uint64_t get64(std::uint64_t address) const;
    void set8(std::uint64_t address, std::uint8_t value) const;
    void set32(std::uint64_t address, std::uint32_t value) const;
    void set64(std::uint64_t address, std::uint64_t value) const;

private:
    template <class Word>
    Word get(std::uint64_t address) const;
    template <class Word>
    void set(std::uint64_t address, Word value) const;

    TemporaryDirectory m_directory;
    std::string m_path;
    int m_descriptor;
};

/// A connection of the memory device service in the devices file, its numbers as they are to stand there. A number
/// without a text is left out.
struct MemoryDevice {
    std::string name;
    std::string baseAddress;
    std::string size;
};

/// The text of a devices file with these connections.
std::string devicesFileText(const std::vector<MemoryDevice>& devices);

#endif
