#include "lab/ctl/Rendering.h"

#include <algorithm>
#include <cmath>
#include <string_view>
#include <utility>
#include <vector>

namespace orvanectl {

namespace {

constexpr const char* kRed = "\x1B[31m";
constexpr const char* kPlain = "\x1B[0m";
constexpr std::size_t kLongestText = 64;
constexpr std::size_t kTextsOfRow = 10;

const char* nameOfNotFinite(double number)
{
    if (std::isnan(number)) return "nan";
    return number > 0 ? "inf" : "-inf";
}

bool isNotFinite(const Json& value)
{
    return value.is_number_float() && !std::isfinite(value.get<double>());
}

void replaceNotFinite(const std::string& name, Json& value, std::vector<std::string>& notes)
{
    const auto below = [&](const std::string& key) { return name.empty() ? key : name + "." + key; };
    if (value.is_object()) {
        for (auto& [key, member] : value.items()) replaceNotFinite(below(key), member, notes);
    } else if (value.is_array()) {
        std::size_t index = 0;
        for (Json& element : value) replaceNotFinite(below(std::to_string(index++)), element, notes);
    } else if (isNotFinite(value)) {
        notes.push_back(name + " is " + nameOfNotFinite(value.get<double>()));
        value = nullptr;
    }
}

/// What `units` has for a member or for the elements of an array; null if nothing.
const Json& unitOf(const Json& units, const std::string& name)
{
    static const Json kNone;
    const auto found = units.is_object() ? units.find(name) : units.end();
    return found == units.end() ? kNone : *found;
}

std::string unitText(const Json& unit)
{
    return unit.is_string() ? ' ' + unit.get<std::string>() : "";
}

std::string dumped(const Json& value)
{
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

class ParagraphWriter {
public:
    explicit ParagraphWriter(bool colour) : m_colour(colour) {}

    void line(const std::string& text) { m_text += text + '\n'; }

    void members(const Json& object, const Json& units, std::size_t depth)
    {
        for (const auto& [name, value] : object.items()) member(name, value, unitOf(units, name), depth);
    }

    std::string take() { return std::move(m_text); }

private:
    /// @param units  of the value, or by name of what is in it
    void member(const std::string& name, const Json& value, const Json& units, std::size_t depth)
    {
        const std::string front = std::string(2 * depth, ' ') + name + ':';
        // The values of a message are many: a line for each.
        const bool inOneLine = value.is_object() && isFlat(value) && name != "message";
        if (inOneLine) {
            line(front + ' ' + listed(value, units));
        } else if (value.is_object()) {
            line(front);
            members(value, units, depth + 1);
        } else if (value.is_array()) {
            line(value.empty() ? front + " none" : front);
            elements(value, units, depth + 1);
        } else if (value.is_string() && value.get_ref<const std::string&>().size() > kLongestText) {
            line(front);
            cutText(value.get_ref<const std::string&>(), depth + 1);
        } else {
            line(front + ' ' + plain(name, value, units));
        }
    }

    /// Objects and arrays a line each, plain values ten a line.
    void elements(const Json& array, const Json& units, std::size_t depth)
    {
        const std::string front(2 * depth, ' ');
        std::string row;
        std::size_t inRow = 0;
        for (const Json& element : array) {
            if (element.is_structured()) {
                line(front + (element.is_object() ? listed(element, units) : joined(element) + unitText(units)));
                continue;
            }
            row += (row.empty() ? front : " ") + plain("", element);
            if (++inRow == kTextsOfRow) {
                line(row + unitText(units));
                row.clear();
                inRow = 0;
            }
        }
        if (!row.empty()) line(row + unitText(units));
    }

    void cutText(std::string_view text, std::size_t depth)
    {
        for (; !text.empty(); text.remove_prefix(std::min(text.size(), kLongestText)))
            line(std::string(2 * depth, ' ') + std::string(text.substr(0, kLongestText)));
    }

    static bool isFlat(const Json& object)
    {
        return std::ranges::none_of(object, [](const Json& member) { return member.is_structured(); });
    }

    std::string listed(const Json& object, const Json& units) const
    {
        std::string text;
        for (const auto& [name, value] : object.items())
            text += (text.empty() ? "" : ", ") + name + ' ' + plain(name, value, unitOf(units, name));
        return text;
    }

    std::string joined(const Json& array) const
    {
        std::string text;
        for (const Json& element : array) text += (text.empty() ? "" : " ") + plain("", element);
        return text;
    }

    std::string plain(const std::string& name, const Json& value, const Json& unit = {}) const
    {
        if (value.is_array()) return '[' + joined(value) + ']' + unitText(unit);
        if (value.is_number()) return number(value) + unitText(unit);
        if (value.is_null()) return "-";
        if (!value.is_string()) return dumped(value);
        const auto& text = value.get_ref<const std::string&>();
        const bool isWrong = name.ends_with("_checksum") && text == "bad";
        return m_colour && isWrong ? kRed + text + kPlain : text;
    }

    static std::string number(const Json& value)
    {
        return isNotFinite(value) ? nameOfNotFinite(value.get<double>()) : dumped(value);
    }

    bool m_colour;
    std::string m_text;
};

}  // namespace

std::string jsonLine(Json fields)
{
    std::vector<std::string> notes;
    replaceNotFinite("", fields, notes);
    if (!notes.empty()) fields["notes"] = notes;
    return dumped(fields) + '\n';
}

std::string paragraph(const std::string& heading, const Json& fields, bool colour, const Json& units)
{
    ParagraphWriter writer(colour);
    writer.line(heading);
    writer.members(fields, units, 1);
    writer.line("");
    return writer.take();
}

}  // namespace orvanectl
