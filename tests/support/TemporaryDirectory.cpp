#include "tests/support/TemporaryDirectory.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

TemporaryDirectory::TemporaryDirectory()
{
    std::string name = (std::filesystem::temp_directory_path() / "orvane-test.XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error("cannot make " + name);
    m_path = name;
}

TemporaryDirectory::~TemporaryDirectory()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::string TemporaryDirectory::write(const std::string& name, std::string_view content) const
{
    const std::filesystem::path file = m_path / name;
    std::ofstream stream(file, std::ios::binary);
    stream.write(content.data(), static_cast<std::streamsize>(content.size()));
    stream.close();
    if (!stream) throw std::runtime_error("cannot write " + file.string());
    return file.string();
}

std::string readFile(const std::string& path)
{
    std::ifstream stream(path, std::ios::binary);
    if (!stream) throw std::runtime_error("cannot read " + path);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}
