#include "lab/libvictory/DocumentTexts.h"

#include "VICTORY/libvictory/victory.h"

#include <charconv>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <tinyxml2.h>

namespace labvictory {

namespace {

struct VclGroup {
    int group;
    const char* type;
};

/// The warnings have no period in the VCL.
constexpr VclGroup kVclGroups[] = {{VAPNTS_PUB_GROUP_BLENDED_NAVIGATION, "ASSURED_PNT_BLENDED_NAVIGATION"},
                                   {VAPNTS_PUB_GROUP_NAVWAR_SA, "ASSURED_PNT_NAVWAR_SA"}};

[[noreturn]] void fail(const char* text, int line, const std::string& what)
{
    throw std::runtime_error(std::string("cannot use the ") + text + " text, line " + std::to_string(line) + ": " +
                             what);
}

void parse(tinyxml2::XMLDocument& document, const char* text, const char* name)
{
    if (!text) throw std::runtime_error(std::string("there is no ") + name + " text");
    if (document.Parse(text) != tinyxml2::XML_SUCCESS) fail(name, document.ErrorLineNum(), document.ErrorName());
    if (!document.RootElement()) fail(name, 1, "no element");
}

/// The element itself or the first below it, in document order, with the attribute; null when there is none. The parser
/// bounds the depth.
const tinyxml2::XMLElement* find(const tinyxml2::XMLElement* element, const char* attribute, const char* value)
{
    if (element->Attribute(attribute, value)) return element;
    for (const auto* child = element->FirstChildElement(); child; child = child->NextSiblingElement())
        if (const auto* const found = find(child, attribute, value)) return found;
    return nullptr;
}

std::optional<std::chrono::milliseconds> periodOf(const tinyxml2::XMLElement* vcl, const char* type)
{
    const auto* const item = find(vcl, "type", type);
    const auto* const period = item ? find(item, "name", "updatePeriod") : nullptr;
    if (!period) return std::nullopt;

    const char* const value = period->Attribute("value");
    if (!value) fail("VCL", period->GetLineNum(), "updatePeriod has no value");
    const char* const end = value + std::strlen(value);
    std::uint32_t milliseconds = 0;
    const auto read = std::from_chars(value, end, milliseconds);
    if (read.ec != std::errc() || read.ptr != end || milliseconds == 0)
        fail("VCL", period->GetLineNum(), "updatePeriod is no number of milliseconds");
    return std::chrono::milliseconds(milliseconds);
}

}  // namespace

GroupPeriods readDocuments(const char* configuration, const char* vcl)
{
    tinyxml2::XMLDocument document;
    parse(document, configuration, "configuration");
    parse(document, vcl, "VCL");
    const auto* const root = document.FirstChildElement("vcl:VCL");
    if (!root) fail("VCL", document.RootElement()->GetLineNum(), "no element vcl:VCL");

    GroupPeriods periods;
    for (const VclGroup& row : kVclGroups) periods[static_cast<std::size_t>(row.group)] = periodOf(root, row.type);
    return periods;
}

}  // namespace labvictory
