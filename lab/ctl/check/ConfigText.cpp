#include "lab/ctl/check/ConfigText.h"

#include "lab/text/NearestWord.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <expat.h>
#include <filesystem>
#include <map>
#include <memory>
#include <system_error>
#include <tinyxml2.h>

namespace orvanectl {

namespace {

constexpr std::size_t kManyAttributes = 1000;

std::string textOfElement(const tinyxml2::XMLElement* element)
{
    const char* const text = element ? element->GetText() : nullptr;
    return text ? text : "";
}

/// What the reader of XML met that tells the places of things.
struct Outline {
    XML_Parser parser;
    int line = 0;  // of the element with the most attributes
    std::size_t attributes = 0;
    std::string element;
};

void XMLCALL startElement(void* data, const XML_Char* name, const XML_Char** attributes)
{
    auto& outline = *static_cast<Outline*>(data);
    std::size_t count = 0;
    while (attributes[2 * count]) ++count;
    if (count <= outline.attributes) return;
    outline.attributes = count;
    outline.element = name;
    outline.line = static_cast<int>(XML_GetCurrentLineNumber(outline.parser));
}

/// Of a container's own elements only two are read: tells one that was probably meant to be one of them.
void findMisspelt(const tinyxml2::XMLElement& element, const std::string& name, Findings& findings)
{
    for (const auto* one = element.FirstChildElement(); one; one = one->NextSiblingElement()) {
        const std::string word = one->Value();
        if (word == "Name" || word == "Parameters") continue;
        const std::string nearest = labtext::nearestWord(word, {"Name", "Parameters"});
        if (!nearest.empty() && !element.FirstChildElement(nearest.c_str()))
            findings.warn(one->GetLineNum(), name.empty() ? element.Value() : name,
                          // NOLINTNEXTLINE(performance-inefficient-string-concatenation): for the few that are misspelt
                          "no element \"" + word + "\" is read; did you mean " + nearest + '?');
    }
}

ConfigContainer containerOf(const tinyxml2::XMLElement& element, Findings& findings)
{
    ConfigContainer container{
        element.Value(), textOfElement(element.FirstChildElement("Name")), element.GetLineNum(), {}};
    const tinyxml2::XMLElement* const list = element.FirstChildElement("Parameters");
    for (const auto* key = list ? list->FirstChildElement() : nullptr; key; key = key->NextSiblingElement())
        container.keys.push_back({key->Value(), textOfElement(key), key->GetLineNum()});
    findMisspelt(element, container.name, findings);
    if (const auto* const second = list ? list->NextSiblingElement("Parameters") : nullptr)
        findings.warn(second->GetLineNum(), container.name,
                      "these Parameters are not read; one element Parameters has all keys");
    return container;
}

void findDoubles(const ConfigText& text, bool isByName, Findings& findings)
{
    std::map<std::string, int> names;
    for (const ConfigContainer& container : text.containers) {
        if (container.name.empty()) continue;
        const auto [first, isNew] = names.try_emplace(container.name, container.line);
        if (isByName && !isNew)
            findings.warn(container.line, container.name,
                          "the name is taken by line " + std::to_string(first->second) +
                              ", which is the one that is found");
        std::map<std::string, int> keys;
        for (const ConfigKey& key : container.keys) {
            const auto [earlier, isNewKey] = keys.try_emplace(key.name, key.line);
            if (!isNewKey)
                findings.warn(key.line, container.name + '/' + key.name,
                              "stands in line " + std::to_string(earlier->second) +
                                  " already, which is the one that is read");
        }
    }
}

}  // namespace

const ConfigKey* ConfigContainer::find(const std::string& key) const
{
    const auto found = std::ranges::find(keys, key, &ConfigKey::name);
    return found == keys.end() ? nullptr : &*found;
}

std::string ConfigContainer::textOf(const std::string& key) const
{
    const ConfigKey* const found = find(key);
    return found ? found->text : "";
}

const ConfigContainer* ConfigText::find(const std::string& key) const
{
    const auto found = std::ranges::find_if(containers, [&](const ConfigContainer& container) {
        return !container.name.empty() && (container.name == key || container.type == key);
    });
    return found == containers.end() ? nullptr : &*found;
}

bool checkXml(const std::string& path, Findings& findings)
{
    findings.begin(path);
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (error || !std::filesystem::is_regular_file(status)) {
        findings.fail(0, "", error ? error.message() : "not a file; a file of XML belongs here");
        return false;
    }
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rbe"), &std::fclose);
    if (!file) {
        findings.fail(0, "", std::generic_category().message(errno));
        return false;
    }
    const std::unique_ptr<XML_ParserStruct, void (*)(XML_Parser)> parser(XML_ParserCreate(nullptr), &XML_ParserFree);
    Outline outline{parser.get(), 0, 0, {}};
    XML_SetUserData(parser.get(), &outline);
    XML_SetStartElementHandler(parser.get(), &startElement);
    char piece[65536];
    for (bool isEnd = false; !isEnd;) {
        const std::size_t count = std::fread(piece, 1, sizeof piece, file.get());
        isEnd = count < sizeof piece;
        if (std::ferror(file.get())) {
            findings.fail(0, "", std::generic_category().message(errno));
            return false;
        }
        if (XML_Parse(parser.get(), piece, static_cast<int>(count), isEnd) == XML_STATUS_OK) continue;
        findings.warn(static_cast<int>(XML_GetCurrentLineNumber(parser.get())), "",
                      "column " + std::to_string(XML_GetCurrentColumnNumber(parser.get()) + 1) +
                          ": no XML: " + XML_ErrorString(XML_GetErrorCode(parser.get())));
        break;
    }
    if (outline.attributes > kManyAttributes)
        findings.warn(outline.line, outline.element,
                      std::to_string(outline.attributes) +
                          " attributes; reading them takes their number squared; a few are usual");
    return true;
}

std::optional<ConfigText> readConfigText(const std::string& path, Findings& findings, bool isByName)
{
    if (!checkXml(path, findings)) return std::nullopt;
    tinyxml2::XMLDocument document(true, tinyxml2::PRESERVE_WHITESPACE);
    if (document.LoadFile(path.c_str()) != tinyxml2::XML_SUCCESS) {
        findings.fail(document.ErrorLineNum(), "",
                      std::string("the service can't read it (") + document.ErrorName() + "); it must be XML");
        return std::nullopt;
    }
    const tinyxml2::XMLElement* const root = document.FirstChildElement("HX_Configurations");
    if (!root) {
        const auto* const other = document.RootElement();
        findings.fail(other ? other->GetLineNum() : 1, other ? other->Value() : "",
                      "the document element must be HX_Configurations");
        return std::nullopt;
    }
    ConfigText text;
    for (const auto* element = root->FirstChildElement(); element; element = element->NextSiblingElement()) {
        text.containers.push_back(containerOf(*element, findings));
        if (isByName && text.containers.back().name.empty())
            findings.warn(element->GetLineNum(), element->Value(),
                          "has no Name, so that it is never found; an element Name belongs into it");
    }
    findDoubles(text, isByName, findings);
    return text;
}

}  // namespace orvanectl
