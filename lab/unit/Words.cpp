#include "lab/unit/Words.h"

#include <algorithm>
#include <cstdlib>

namespace unitsim::words {

std::invalid_argument wrong(std::string_view word, const std::string& what)
{
    constexpr std::size_t kLongestShown = 60;
    std::string text = "'" + std::string(word.substr(0, kLongestShown)) + "' " + what;
    std::replace_if(
        text.begin(), text.end(), [](unsigned char byte) { return byte < ' ' || byte > '~'; }, '?');
    return std::invalid_argument(text);
}

std::string_view take(std::string_view& text)
{
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    const std::string_view word = text.substr(0, text.find_first_of(kBlanks));
    text.remove_prefix(word.size());
    return word;
}

std::string_view peek(std::string_view text)
{
    return take(text);
}

std::string_view trimmed(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

void expectEnd(std::string_view rest)
{
    if (const std::string_view word = take(rest); !word.empty()) throw wrong(word, "is one word too many");
}

std::string_view argument(std::string_view& rest, std::string_view behind)
{
    const std::string_view word = take(rest);
    if (word.empty()) throw wrong(behind, "needs a word behind it");
    return word;
}

double number(std::string_view text, std::string_view word, double low, double high, const char* what)
{
    const std::string copy(text);
    char* end = nullptr;
    const double value = std::strtod(copy.c_str(), &end);
    if (copy.empty() || end != copy.c_str() + copy.size() || !(value >= low && value <= high)) throw wrong(word, what);
    return value;
}

double seconds(std::string_view word)
{
    return number(word, word, 0.0, kLatest, "is no number of seconds");
}

}  // namespace unitsim::words
