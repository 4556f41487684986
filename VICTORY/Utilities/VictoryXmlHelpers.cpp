#include "VICTORY/Utilities/VictoryXmlHelpers.h"

#include <tinyxml2.h>

namespace VICTORY {

using tinyxml2::XMLElement;

// The depth of the recursion is that of the document, which the parser bounds.
XMLElement* FindElementWithAttribute(XMLElement* start, const char* attribute, const char* value)
{
    if (!start || !attribute || !value) return nullptr;
    if (start->Attribute(attribute, value)) return start;
    for (auto* child = start->FirstChildElement(); child; child = child->NextSiblingElement())
        if (auto* found = FindElementWithAttribute(child, attribute, value)) return found;
    return nullptr;
}

bool updateConfigItemInVclXml(tinyxml2::XMLDocument& document, const char* type, const char* name, const char* value)
{
    auto* const ofType = FindElementWithAttribute(document.FirstChildElement("vcl:VCL"), "type", type);
    auto* const item = FindElementWithAttribute(ofType, "name", name);
    if (!item || !value) return false;
    item->SetAttribute("value", value);
    return true;
}

}  // namespace VICTORY
