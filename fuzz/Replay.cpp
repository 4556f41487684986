// Gives a fuzz target the inputs that it is to go on holding for: replay_NAME FOLDER...
// Each is given whole and cut short, from storage of its own size, so that the address sanitizer sees its end.

#include "fuzz/Fuzz.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

namespace {

std::vector<std::uint8_t> contentOf(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(file), {}};
    bytes.shrink_to_fit();
    return bytes;
}

}  // namespace

int main(int argc, char** argv)
{
    std::ostream console(std::cout.rdbuf());  // the target may turn the stream elsewhere
    std::size_t count = 0;
    for (int i = 1; i < argc; ++i)
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            const auto whole = contentOf(entry.path());
            LLVMFuzzerTestOneInput(whole.data(), whole.size());
            const std::vector<std::uint8_t> half(whole.begin(),
                                                 whole.begin() + static_cast<std::ptrdiff_t>(whole.size() / 2));
            LLVMFuzzerTestOneInput(half.data(), half.size());
            ++count;
        }
    console << count << " inputs replayed\n" << std::flush;
    return count > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
