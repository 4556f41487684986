#include "VICTORY/Utilities/VictoryXmlHelpers.h"
#include "lab/ctl/check/Checks.h"
#include "lab/libvictory/DocumentTexts.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <tinyxml2.h>

namespace orvanectl {

namespace {

constexpr std::size_t kLongestText = 65535;

/// The file's text, if the bus library can be given it.
std::optional<std::string> textOf(const std::string& path, Findings& findings)
{
    if (!checkXml(path, findings)) return std::nullopt;
    std::ifstream file(path, std::ios::binary);
    std::string text(kLongestText + 1, '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(file.gcount()));
    if (text.size() > kLongestText) {
        findings.fail(0, "", "the file is longer than the 65535 bytes that the bus library takes");
        return std::nullopt;
    }
    if (text.find('\0') != std::string::npos) {
        findings.fail(0, "", "the file has a zero byte, where its text would end");
        return std::nullopt;
    }
    return text;
}

void checkGroups(const std::string& text, Findings& findings)
{
    tinyxml2::XMLDocument document;
    if (document.Parse(text.c_str()) != tinyxml2::XML_SUCCESS) return;
    auto* const root = document.FirstChildElement("vcl:VCL");
    if (!root) return;
    for (const char* group : {"ASSURED_PNT_BLENDED_NAVIGATION", "ASSURED_PNT_NAVWAR_SA"}) {
        auto* const item = VICTORY::FindElementWithAttribute(root, "type", group);
        if (!item)
            findings.warn(root->GetLineNum(), group,
                          "no element has this type, so that the rate can't be changed when data are sanitized");
        else if (!VICTORY::FindElementWithAttribute(item, "name", "updatePeriod"))
            findings.warn(item->GetLineNum(), group,
                          "has no updatePeriod, so that the rate can't be changed when data are sanitized");
    }
}

}  // namespace

void checkBusFiles(const std::string& configuration, const std::string& vcl, Findings& findings)
{
    const auto configurationText = textOf(configuration, findings);
    constexpr const char* kSoundVcl = "<vcl:VCL/>";
    constexpr const char* kSoundConfiguration = "<Service/>";
    // Each is given to the library's reader with a sound one beside it, so that it is clear whose the fault is.
    const auto read = [&](const char* first, const char* second) {
        try {
            labvictory::readDocuments(first, second);
        } catch (const std::runtime_error& error) {
            findings.fail(0, "", std::string("the bus library ") + error.what());
        }
    };
    if (configurationText) read(configurationText->c_str(), kSoundVcl);

    const auto vclText = textOf(vcl, findings);
    if (!vclText) return;
    read(kSoundConfiguration, vclText->c_str());
    checkGroups(*vclText, findings);
}

}  // namespace orvanectl
