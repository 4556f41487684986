#ifndef LAB_TEXT_WORDS_H
#define LAB_TEXT_WORDS_H

#include <array>
#include <cstddef>
#include <initializer_list>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

/// Words of a line that a person wrote. What is wrong is told by a `std::invalid_argument` whose text begins with the
/// word, in quotes. Pure functions, any thread.
namespace labtext {

/// @return begins with the word, in quotes, shortened and printable
std::invalid_argument wrong(std::string_view word, const std::string& what);

/// A word that is none of those that there are: names the nearest, or all.
/// @param word  that the error names
/// @param name  the part of it that is looked for
/// @param what  such as "is no step"
std::invalid_argument noneOf(std::span<const std::string_view> names, std::string_view word, std::string_view name,
                             const char* what);

/// Without the blanks before and behind it.
std::string_view trimmed(std::string_view text);

/// The words of a line from left to right, between blanks. One in double quotes may have blanks in it, and \" and \\.
class Words {
public:
    /// @param line    must outlive this
    /// @param behind  the word before it, for errors
    explicit Words(std::string_view line, std::string_view behind = {}) : m_rest(line), m_last(behind) {}

    bool atEnd() const { return trimmed(m_rest).empty(); }
    /// Not of one in quotes.
    bool nextIs(std::string_view word) const;
    bool nextIsQuoted() const;
    /// Takes the next word if it is that one.
    bool skip(std::string_view word);
    /// Takes the next word.
    /// @param what  is missing if there is none
    std::string take(std::string_view what);
    /// What has not been taken, as it stands there.
    std::string_view rest() const { return trimmed(m_rest); }
    /// @param known  words that may have stood there, of which one may be meant
    void expectEnd(std::initializer_list<std::string_view> known = {});

private:
    std::string_view nextPlain() const;

    std::string_view m_rest;
    std::string m_last;
};

/// None if there is anything else, or if it is not finite.
std::optional<double> realNumberOf(std::string_view text);

/// None if there is anything else.
std::optional<long long> wholeNumberOf(std::string_view text);

/// @param word  that an error names
/// @return finite
double number(std::string_view text, std::string_view word, double low, double high, const char* what);

/// @param most  a whole number
double seconds(std::string_view word, double least, double most);

/// The texts of a word "FROM..TO".
struct Ends {
    std::string_view from;
    std::string_view to;
};

/// None if the word has no "..".
std::optional<Ends> endsOf(std::string_view word);

/// What stands beside a name in a list of all that there are.
/// @param word  that an error names
template <class Value, std::size_t Size>
Value chosen(std::string_view name, std::string_view word, const std::pair<std::string_view, Value> (&choices)[Size],
             const char* what)
{
    std::array<std::string_view, Size> names;
    for (std::size_t i = 0; i < Size; ++i) {
        names[i] = choices[i].first;
        if (name == names[i]) return choices[i].second;
    }
    throw noneOf(names, word, name, what);
}

}  // namespace labtext

#endif
