#include "lab/ctl/FieldSink.h"

#include <array>
#include <charconv>
#include <cmath>
#include <utility>

namespace orvanectl {

namespace {

/// Whether each character stands in JSON as it is: one look a character, and no branch.
bool isPlain(std::string_view text)
{
    static constexpr auto kIsPlain = [] {
        std::array<bool, 256> isPlain{};
        for (std::size_t character = 0x20; character < 0x7F; ++character)
            isPlain[character] = character != '"' && character != '\\';
        return isPlain;
    }();
    bool isAllPlain = true;
    for (const char character : text) isAllPlain &= kIsPlain[static_cast<unsigned char>(character)];
    return isAllPlain;
}

template <class Integer>
void append(std::string& text, Integer value)
{
    std::array<char, 24> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    text.append(digits.data(), end);
}

}  // namespace

Json& FieldTree::add(Json value)
{
    if (m_open.empty()) return m_whole = std::move(value);
    Json& open = *m_open.back();
    if (open.is_object()) return open[m_name] = std::move(value);
    open.push_back(std::move(value));
    return open.back();
}

void FieldTree::begin(Json value)
{
    Json& begun = add(std::move(value));
    m_open.push_back(&begun);
}

void JsonLine::begin()
{
    m_text.clear();
    m_levels.clear();
    m_notes.clear();
    beginObject();
}

const std::string& JsonLine::end()
{
    if (!m_notes.empty()) {
        name("notes");
        beginArray();
        for (const std::string& note : m_notes) text(note);
        endArray();
    }
    endObject();
    return m_text += '\n';
}

void JsonLine::name(const char* name)
{
    Level& level = m_levels.back();
    if (level.values++ > 0) m_text += ',';
    level.name = name;
    const std::string_view text = name;
    m_text.append(text.size() + 3, '"');
    text.copy(m_text.data() + m_text.size() - text.size() - 2, text.size());
    m_text.back() = ':';
}

void JsonLine::null()
{
    separate();
    m_text += "null";
}

void JsonLine::flag(bool value)
{
    separate();
    m_text += value ? "true" : "false";
}

void JsonLine::text(std::string_view value)
{
    separate();
    if (isPlain(value))
        ((m_text += '"') += value) += '"';
    else
        m_text += Json(value).dump(-1, ' ', false, Json::error_handler_t::replace);
}

void JsonLine::real(double value)
{
    if (!std::isfinite(value)) {
        null();
        m_notes.push_back(path() + " is " + (std::isnan(value) ? "nan" : value > 0 ? "inf" : "-inf"));
        return;
    }
    separate();
    // What the library itself writes numbers by: the standard's has other digits for some, and another form.
    std::array<char, 64> digits;
    const auto end = nlohmann::detail::to_chars(digits.data(), digits.data() + digits.size(), value);
    m_text.append(digits.data(), end);
}

void JsonLine::integer(std::int64_t value)
{
    separate();
    append(m_text, value);
}

void JsonLine::natural(std::uint64_t value)
{
    separate();
    append(m_text, value);
}

void JsonLine::open(char bracket, bool isObject)
{
    separate();
    m_text += bracket;
    m_levels.push_back({isObject, 0, ""});
}

void JsonLine::close(char bracket)
{
    m_text += bracket;
    m_levels.pop_back();
}

/// From the value before, in an array; in an object the name has done so.
void JsonLine::separate()
{
    if (m_levels.empty() || m_levels.back().isObject) return;
    if (m_levels.back().values++ > 0) m_text += ',';
}

/// Of the value that was written last: "message.covariance.0.1".
std::string JsonLine::path() const
{
    std::string path;
    for (const Level& level : m_levels)
        path += (path.empty() ? "" : ".") + (level.isObject ? level.name : std::to_string(level.values - 1));
    return path;
}

}  // namespace orvanectl
