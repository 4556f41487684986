#include "utilities/StringUtils.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace StringUtils {

namespace {

constexpr const char* kWhitespace = " \n\r\t\f\v";

}  // namespace

std::string ltrim(const std::string& text)
{
    const std::size_t first = text.find_first_not_of(kWhitespace);
    return first == std::string::npos ? std::string() : text.substr(first);
}

std::string rtrim(const std::string& text)
{
    const std::size_t last = text.find_last_not_of(kWhitespace);
    return last == std::string::npos ? std::string() : text.substr(0, last + 1);
}

std::string trim(const std::string& text)
{
    return rtrim(ltrim(text));
}

void cstr_replace(char* text, const char* characters, char replacement)
{
    if (!text || !characters) return;
    for (; *text; ++text)
        if (std::strchr(characters, *text)) *text = replacement;
}

void strncpy_prot(char* destination, const char* source, unsigned size)
{
    if (!destination || size == 0) return;
    std::strncpy(destination, source ? source : "", size);
    destination[size - 1] = '\0';
}

void splitToChunks(const std::string& text, unsigned size, std::vector<std::string>& chunks)
{
    std::vector<std::string> pieces = splitToChunks(text, size);
    chunks.insert(chunks.end(), std::make_move_iterator(pieces.begin()), std::make_move_iterator(pieces.end()));
}

std::vector<std::string> splitToChunks(const std::string& text, unsigned size)
{
    const std::size_t step = size == 0 ? text.size() : size;
    std::vector<std::string> pieces;
    for (std::size_t rest = text.size(); rest != 0; rest -= pieces.back().size())
        pieces.push_back(text.substr(text.size() - rest, step));
    return pieces;
}

std::string join(const std::vector<std::string>& parts, char separator)
{
    std::string all;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (i != 0) all += separator;
        all += parts[i];
    }
    return all;
}

std::vector<std::string> split(const std::string& text, char separator)
{
    std::vector<std::string> parts;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find(separator, begin), text.size());
        parts.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return parts;
}

}  // namespace StringUtils
