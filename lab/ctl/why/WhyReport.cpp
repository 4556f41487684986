#include "lab/ctl/why/WhyReport.h"

#include "lab/ctl/Rendering.h"
#include "lab/ctl/why/JoinEntries.h"

#include <chrono>
#include <cstdio>
#include <stdexcept>

namespace orvanectl {

namespace {

constexpr std::chrono::seconds kPatience{3};  // until publishers are found

std::string jsonOf(const Epoch& epoch)
{
    Json causes = Json::array();
    for (const MissCause& cause : epoch.causes) causes.push_back(cause.text());
    if (epoch.leftOut > 0) return jsonLine({{"kind", "left_out"}, {"epochs", epoch.leftOut}});
    return jsonLine({{"kind", "epoch"}, {"gps_s", epoch.gpsSeconds}, {"joined", epoch.isJoined}, {"causes", causes}});
}

std::string lineOf(const Epoch& epoch)
{
    if (epoch.leftOut > 0) return std::to_string(epoch.leftOut) + " time messages left out, too many at a time\n";
    char seconds[64];
    std::snprintf(seconds, sizeof seconds, "%.1f", epoch.gpsSeconds);
    std::string text = std::string("GPS second ") + seconds + ": ";
    if (epoch.isJoined) return text + "joined\n";
    const char* between = "";
    for (const MissCause& cause : epoch.causes) {
        text += between + cause.text();
        between = ", ";
    }
    return text + '\n';
}

}  // namespace

void WhyReport::hearsAll()
{
    print(m_json ? jsonLine({{"kind", "hears"}, {"topics", kJoinTopics}})
                 : "orvanectl: hears a publisher of each of the five topics\n");
}

void WhyReport::saySilence(const std::optional<MissCause>& silence, Time now)
{
    if (now - m_start < kPatience) return;
    if (!silence) return m_said.clear();
    const std::string what = silence->text();
    m_progress->say(lastingText(*silence));
    if (what == m_said) return;
    m_said = what;
    print(m_json ? jsonLine({{"kind", "silence"}, {"cause", what}, {"seconds", silence->seconds}})
                 : "orvanectl: " + lastingText(*silence) + '\n');
}

void WhyReport::show(const std::vector<Epoch>& epochs)
{
    for (const Epoch& epoch : epochs) {
        m_sum.add(epoch);
        if (epoch.isJoined && !m_all) continue;
        print(m_json ? jsonOf(epoch) : lineOf(epoch));
    }
    if (!epochs.empty())
        m_progress->say(std::to_string(m_sum.joined()) + " of " + std::to_string(m_sum.epochs()) + " joined");
}

void WhyReport::printSum(const WhyHeard& heard, const std::optional<MissCause>& silence)
{
    m_progress.reset();
    if (m_json) {
        Json causes = Json::object();
        for (const auto& [cause, count] : m_sum.causes()) causes[cause] = count;
        print(jsonLine({{"kind", "sum"},
                        {"epochs", m_sum.epochs()},
                        {"joined", m_sum.joined()},
                        {"epochs_left_out", m_sum.leftOut()},
                        {"causes", causes},
                        {"bus", heard.bus},
                        {"receiver", heard.receiver},
                        {"queue", heard.queue},
                        {"without_publisher", heard.without},
                        {"left_out", heard.leftOut}}));
        return;
    }
    for (const std::string& topic : heard.without) print("orvanectl: " + heard.withoutText + topic + '\n');
    if (heard.leftOut > 0) print("orvanectl: " + std::to_string(heard.leftOut) + heard.leftOutText + '\n');
    if (!heard.bus) print("orvanectl: without a bus, what the service could have joined counts as joined\n");
    if (!heard.receiver)
        print(heard.queue ? "orvanectl: of the receiver's queue it is only known when the service reads it\n"
                          : "orvanectl: the receiver's queue is not heard; its 8504 count as there\n");
    print(m_sum.text(m_sum.epochs() == 0 ? silence : std::nullopt) + '\n');
}

void WhyReport::print(const std::string& text)
{
    if (m_progress) m_progress->hide();
    if (!(m_output << text << std::flush)) throw std::runtime_error("cannot write to standard output");
}

}  // namespace orvanectl
