#include "lab/text/Lines.h"

#include "lab/text/Words.h"

#include <stdexcept>
#include <vector>

namespace labtext {

bool isBlankOrNote(std::string_view line)
{
    const std::string_view text = trimmed(line);
    return text.empty() || text.front() == '#';
}

void readLines(std::istream& file, const std::string& name,
               const std::function<void(std::size_t number, std::string_view line)>& take)
{
    std::vector<char> buffer(kLongestLine + 2);  // with the end of the line, and a zero
    std::size_t bytes = 0;
    for (std::size_t number = 1; file.getline(buffer.data(), static_cast<std::streamsize>(buffer.size())); ++number) {
        const auto count = static_cast<std::size_t>(file.gcount());
        bytes += count;
        if (bytes > kLargestFileBytes) throw std::runtime_error(name + ": is larger than 64 MiB");
        const std::string_view line(buffer.data(), file.eof() ? count : count - 1);
        if (isBlankOrNote(line)) continue;
        const auto named = [&](const std::exception& error) {
            return std::runtime_error(name + ":" + std::to_string(number) + ": " + error.what());
        };
        try {
            take(number, line);
        } catch (const std::invalid_argument& error) {
            throw named(error);
        } catch (const std::runtime_error& error) {  // of a file that is named in it
            throw named(error);
        }
    }
    if (file.bad()) throw std::runtime_error(name + ": can't be read");
    if (!file.eof()) throw std::runtime_error(name + ": has a line of more than 65536 characters");
}

}  // namespace labtext
