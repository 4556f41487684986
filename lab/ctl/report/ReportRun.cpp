#include "lab/ctl/report/ReportRun.h"

#include "lab/ctl/Progress.h"
#include "lab/ctl/Rendering.h"
#include "lab/ctl/record/Draft.h"
#include "lab/ctl/report/Comparison.h"
#include "lab/ctl/report/RecordingReport.h"
#include "lab/ctl/report/ReportPage.h"
#include "lab/ctl/why/ServiceSettings.h"

#include <filesystem>
#include <ostream>
#include <stdexcept>
#include <unistd.h>

namespace orvanectl {

namespace {

constexpr const char* kOfTheUnit = "/opt/halvex/config/OrvaneServer.xml";

/// Whose settings are taken; empty for those that the service has without a file.
std::string settingsFile(const ReportOptions& options)
{
    if (!options.settings.empty()) return options.settings;
    std::error_code none;
    return std::filesystem::exists(kOfTheUnit, none) ? kOfTheUnit : "";
}

}  // namespace

Json wholeReport(std::vector<Json> recordings, const std::string& settings)
{
    Json report = {{"settings", settings}, {"recordings", std::move(recordings)}};
    const Json& all = report["recordings"];
    if (all.size() == 2) report["comparison"] = comparisonOf(all[0], all[1]);
    return report;
}

bool runReport(const ReportOptions& options, std::ostream& output)
{
    const std::string file = settingsFile(options);
    const ServerSettings settings = file.empty() ? ServerSettings() : serviceSettings(file);
    std::error_code none;
    if (!options.page.empty() && std::filesystem::exists(options.page, none))
        throw std::runtime_error(options.page + ": is there already");

    std::vector<Json> recordings;
    bool areWhole = true;
    {
        Progress progress(STDERR_FILENO);
        for (const std::string& name : options.files) {
            const auto tell = [&](double share) {
                progress.say("reads " + printable(name) + ", " + std::to_string(static_cast<int>(share * 100)) + " %");
            };
            tell(0);
            recordings.push_back(reportOf(mcap::FileSource(name), name, settings, tell));
            areWhole = areWhole && recordings.back()["closed"] == true && recordings.back()["problemCount"] == 0;
        }
    }
    const Json report =
        wholeReport(std::move(recordings), file.empty() ? "the service without a file" : printable(file));
    if (!options.page.empty()) {
        const std::string page = reportPage(report);
        Draft draft(options.page, Draft::Place::Free);
        draft.output().write(mcap::bytesOf(page));
        draft.keep();
        if (!options.json) output << printable(options.page) << ": " << page.size() << " bytes\n";
    }
    if (options.json) output << jsonLine(report);
    if (!output.flush()) throw std::runtime_error("cannot write to standard output");
    return areWhole;
}

}  // namespace orvanectl
