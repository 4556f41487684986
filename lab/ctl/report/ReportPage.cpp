#include "lab/ctl/report/ReportPage.h"

#include "lab/ctl/report/ReportAssets.h"

#include <stdexcept>
#include <string_view>

namespace orvanectl {

namespace {

std::string_view assetOf(std::string_view name)
{
    for (const PageAsset& asset : reportAssets())
        if (asset.name == name) return asset.text;
    throw std::logic_error("there is no " + std::string(name));
}

std::string escaped(const std::string& text)
{
    std::string words;
    for (const char c : text) {
        if (c == '&')
            words += "&amp;";
        else if (c == '<')
            words += "&lt;";
        else if (c == '>')
            words += "&gt;";
        else
            words += c;
    }
    return words;
}

/// For an element of a script, which ends at the first "</script" whatever stands around it, and may be held open by
/// "<!--".
std::string scriptText(const Json& report)
{
    std::string text;
    for (const char c : report.dump(-1, ' ', true, Json::error_handler_t::replace))
        text += c == '<' ? "\\u003c" : std::string(1, c);
    return text;
}

std::string titleOf(const Json& report)
{
    std::string title = "Report of ";
    const char* between = "";
    for (const Json& recording : report["recordings"]) {
        const std::string file = recording["file"];
        title += between + file.substr(file.rfind('/') + 1);
        between = " and ";
    }
    return title;
}

}  // namespace

std::string reportPage(const Json& report)
{
    std::string page;
    std::string_view rest = assetOf("report.html");
    for (;;) {
        const std::size_t begin = rest.find("{{"), end = rest.find("}}");
        page += rest.substr(0, begin);
        if (begin == std::string_view::npos) return page;
        const std::string_view name = rest.substr(begin + 2, end - begin - 2);
        rest = rest.substr(end + 2);
        if (name == "title")
            page += escaped(titleOf(report));
        else if (name == "style")
            page += assetOf("report.css");
        else if (name == "numbers")
            page += scriptText(report);
        else
            page += assetOf("report.js");
    }
}

}  // namespace orvanectl
