#include "lab/text/Words.h"

#include "lab/text/NearestWord.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <vector>

namespace labtext {

namespace {

constexpr std::string_view kBlanks = " \t\r";

template <class Number>
std::optional<Number> numberOf(std::string_view text)
{
    Number value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

}  // namespace

std::invalid_argument wrong(std::string_view word, const std::string& what)
{
    constexpr std::size_t kLongestShown = 60;
    std::string text = "'" + std::string(word.substr(0, kLongestShown)) + "' " + what;
    std::replace_if(
        text.begin(), text.end(), [](unsigned char byte) { return byte < ' ' || byte > '~'; }, '?');
    return std::invalid_argument(text);
}

std::invalid_argument noneOf(std::span<const std::string_view> names, std::string_view word, std::string_view name,
                             const char* what)
{
    const std::vector<std::string> known(names.begin(), names.end());
    if (const std::string nearest = nearestWord(name, known); !nearest.empty())
        return wrong(word, std::string(what) + "; did you mean " + nearest + "?");
    std::string text = what;
    for (const std::string& one : known) text += (&one == &known.front() ? ": " : ", ") + one;
    return wrong(word, text);
}

std::string_view trimmed(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

std::string_view Words::nextPlain() const
{
    const std::string_view text = rest();
    return text.substr(0, text.find_first_of(kBlanks));
}

bool Words::nextIs(std::string_view word) const
{
    return !nextIsQuoted() && nextPlain() == word;
}

bool Words::nextIsQuoted() const
{
    return rest().starts_with('"');
}

bool Words::skip(std::string_view word)
{
    if (!nextIs(word)) return false;
    take(word);
    return true;
}

std::string Words::take(std::string_view what)
{
    const std::string_view text = rest();
    if (text.empty()) throw wrong(m_last, "needs behind it " + std::string(what));
    if (!nextIsQuoted()) {
        m_last = nextPlain();
        m_rest = text.substr(m_last.size());
        return m_last;
    }
    std::string word;
    std::size_t at = 1;
    for (; at < text.size() && text[at] != '"'; ++at) {
        const bool isEscaped =
            text[at] == '\\' && at + 1 < text.size() && (text[at + 1] == '"' || text[at + 1] == '\\');
        if (isEscaped) ++at;
        word += text[at];
    }
    if (at >= text.size()) throw wrong(text, "has no second quote");
    m_rest = text.substr(at + 1);
    m_last = word;
    return word;
}

void Words::expectEnd(std::initializer_list<std::string_view> known)
{
    if (atEnd()) return;
    const std::string word = take("");
    const std::string nearest = nearestWord(word, {known.begin(), known.end()});
    if (nearest == word) throw wrong(word, "stands in the wrong place");
    std::string text = "is one word too many";
    if (!nearest.empty()) throw wrong(word, text + "; did you mean " + nearest + "?");
    for (const std::string_view one : known)
        text += (one == *known.begin() ? ", or none of: " : ", ") + std::string(one);
    throw wrong(word, text);
}

std::optional<double> realNumberOf(std::string_view text)
{
    const auto value = numberOf<double>(text.substr(text.starts_with('+') && !text.starts_with("+-") ? 1 : 0));
    return value && std::isfinite(*value) ? value : std::nullopt;
}

std::optional<long long> wholeNumberOf(std::string_view text)
{
    return numberOf<long long>(text);
}

double number(std::string_view text, std::string_view word, double low, double high, const char* what)
{
    const auto value = realNumberOf(text);
    if (!value || *value < low || *value > high) throw wrong(word, what);
    return *value;
}

double seconds(std::string_view word, double least, double most)
{
    const std::string what = "is no number of seconds, up to " + std::to_string(static_cast<long long>(most));
    return number(word, word, least, most, what.c_str());
}

std::optional<Ends> endsOf(std::string_view word)
{
    const std::size_t dots = word.find("..");
    if (dots == std::string_view::npos) return std::nullopt;
    return Ends{word.substr(0, dots), word.substr(dots + 2)};
}

}  // namespace labtext
