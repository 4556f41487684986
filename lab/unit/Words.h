#ifndef LAB_UNIT_WORDS_H
#define LAB_UNIT_WORDS_H

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

/// Words of a line that a person wrote. Pure functions, any thread.
namespace unitsim::words {

constexpr std::string_view kBlanks = " \t\r";
constexpr double kLatest = 1e8;  // s

/// @return begins with the word, in quotes, shortened and printable
std::invalid_argument wrong(std::string_view word, const std::string& what);

/// Takes the first word off a text; empty if there is none.
std::string_view take(std::string_view& text);

/// The first word, which stays.
std::string_view peek(std::string_view text);

std::string_view trimmed(std::string_view text);

/// Throws if there is another word.
void expectEnd(std::string_view rest);

/// The next word, which must be there behind another.
std::string_view argument(std::string_view& rest, std::string_view behind);

/// @param word  that an error names
/// @return finite
double number(std::string_view text, std::string_view word, double low, double high, const char* what);

/// 0 to `kLatest`.
double seconds(std::string_view word);

template <class Value, std::size_t Size>
Value chosen(std::string_view name, std::string_view word, const std::pair<std::string_view, Value> (&choices)[Size],
             const char* what)
{
    std::string names;
    for (const auto& [choice, value] : choices) {
        if (name == choice) return value;
        names += (names.empty() ? "" : ", ") + std::string(choice);
    }
    throw wrong(word, std::string(what) + names);
}

}  // namespace unitsim::words

#endif
