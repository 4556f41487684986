// The change of an item in a VCL file: the right item, that one alone, and a text that can be read again.
// Input: three lines, which are type, item and value; then the document.

#include "VICTORY/Utilities/VictoryXmlHelpers.h"
#include "fuzz/Fuzz.h"

#include <tinyxml2.h>

#include <vector>

namespace {

using tinyxml2::XMLDocument;
using tinyxml2::XMLElement;

/// All elements of a document in its order, with their depths.
class Elements : public tinyxml2::XMLVisitor {
public:
    struct Entry {
        const XMLElement* element;
        int depth;
    };

    explicit Elements(const XMLDocument& document) { document.Accept(this); }

    /// The first one with that attribute, from `first` to the end of what is within it; its index, or that of the end.
    std::size_t find(std::size_t first, const char* attribute, const std::string& value) const
    {
        for (std::size_t i = first; i < m_all.size() && (i == first || m_all[i].depth > m_all[first].depth); ++i)
            if (const char* text = m_all[i].element->Attribute(attribute); text && text == value) return i;
        return m_all.size();
    }
    std::size_t findRoot() const
    {
        std::size_t i = 0;
        while (i < m_all.size() && (m_all[i].depth != 0 || std::string("vcl:VCL") != m_all[i].element->Value())) ++i;
        return i;
    }
    /// The item that is to be changed.
    const XMLElement* item(const std::string& type, const std::string& name) const
    {
        const std::size_t root = findRoot();
        const std::size_t ofType = root < m_all.size() ? find(root, "type", type) : root;
        const std::size_t found = ofType < m_all.size() ? find(ofType, "name", name) : ofType;
        return found < m_all.size() ? m_all[found].element : nullptr;
    }

private:
    bool VisitEnter(const XMLElement& element, const tinyxml2::XMLAttribute*) override
    {
        m_all.push_back({&element, m_depth++});
        return true;
    }
    bool VisitExit(const XMLElement&) override
    {
        --m_depth;
        return true;
    }

    std::vector<Entry> m_all;
    int m_depth = 0;
};

std::string printed(const XMLDocument& document)
{
    tinyxml2::XMLPrinter printer;
    document.Print(&printer);
    return printer.CStr();
}

bool update(XMLDocument& document, const std::string& type, const std::string& name, const std::string& value)
{
    // The defect: a value of more than eight characters is cut.
    const std::string given = fuzz::kPlanted ? value.substr(0, 8) : value;
    return VICTORY::updateConfigItemInVclXml(document, type.c_str(), name.c_str(), given.c_str());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Input input(data, size);
    const std::string type = input.line().c_str(), name = input.line().c_str(), value = input.line().c_str();
    const auto text = input.rest();
    XMLDocument document;
    document.Parse(reinterpret_cast<const char*>(text.data()), text.size());
    const XMLElement* const item = Elements(document).item(type, name);
    const std::string before = printed(document);
    FUZZ_EXPECT(update(document, type, name, value) == (item != nullptr));
    if (!item) {
        FUZZ_EXPECT(printed(document) == before);
        return 0;
    }
    FUZZ_EXPECT(item->Attribute("value") == value);
    // A carriage return is written as it is, and read as a line feed; some documents can't be read again at all.
    const std::string after = printed(document);
    if (document.Error() || after.find('\r') != std::string::npos) return 0;
    XMLDocument again;
    if (again.Parse(before.data(), before.size()) != tinyxml2::XML_SUCCESS) return 0;
    FUZZ_EXPECT(again.Parse(after.data(), after.size()) == tinyxml2::XML_SUCCESS);
    const XMLElement* const same = Elements(again).item(type, name);
    FUZZ_EXPECT(same && same->Attribute("value") == value);
    return 0;
}
