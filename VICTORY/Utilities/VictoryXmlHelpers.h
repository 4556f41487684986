#ifndef VICTORY_UTILITIES_VICTORYXMLHELPERS_H
#define VICTORY_UTILITIES_VICTORYXMLHELPERS_H

namespace tinyxml2 {

class XMLDocument;
class XMLElement;

}  // namespace tinyxml2

/// Access to the items of a VCL file, the bus library's own configuration:
///
///     <vcl:VCL ...>
///       ... <any type="ASSURED_PNT_NAVWAR_SA" ...>
///             ... <any name="updatePeriod" value="1000"/>
///
/// What element an item stands in, and how deep, is the file's own affair. No state; one thread a document.
namespace VICTORY {

/// The first element, `start` itself or below it, in document order, whose attribute has exactly that value; null if
/// there is none, or for a null argument.
tinyxml2::XMLElement* FindElementWithAttribute(tinyxml2::XMLElement* start, const char* attribute, const char* value);

/// Gives the item `name` of the first element of `type` another value. True if it has it now; false, and nothing is
/// changed, if the document has no such element or item.
bool updateConfigItemInVclXml(tinyxml2::XMLDocument& document, const char* type, const char* name, const char* value);

}  // namespace VICTORY

#endif
