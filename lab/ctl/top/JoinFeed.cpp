#include "lab/ctl/top/JoinFeed.h"

#include <string_view>

namespace orvanectl {

namespace {

using namespace aspn2_msgs::idl;

template <class Message>
void give(JoinDiary& diary, const Sample& sample)
{
    diary.take(*static_cast<const Message*>(sample.record.get()), sample.arrival.time);
}

constexpr struct {
    std::string_view topic;
    void (*give)(JoinDiary&, const Sample&);
} kInputs[] = {{"UTCTime", give<UTCTime>},
               {"PositionVelocityAttitude", give<PositionVelocityAttitude>},
               {"HalvexPNT", give<HalvexPNT>},
               {"MeasurementIncorporationStatus", give<MeasurementIncorporationStatus>},
               {"AssuranceState", give<AssuranceState>}};

bool isText(const Json& line, const char* key, std::string_view text)
{
    if (!line.is_object()) return false;
    const auto found = line.find(key);
    return found != line.end() && found->is_string() && found->get_ref<const std::string&>() == text;
}

}  // namespace

JoinFeed::JoinFeed(const ServerSettings& settings, JoinDiary::Hearing hearing) : m_diary(settings, hearing) {}

void JoinFeed::take(const WatchedTopic& topic, const Sample& sample)
{
    for (const auto& input : kInputs)
        if (topic.name == input.topic && topic.type->name == input.topic) input.give(m_diary, sample);
}

void JoinFeed::takeBusLine(const Json& line, Time now)
{
    if (isText(line, "type", "service")) m_diary.setServiceRuns(isText(line, "event", "started"), now);
    // The one told at the start has no time: nothing was joined for it.
    const bool isPublished = isText(line, "type", "tell") && isText(line, "tell", "blended-navigation") &&
                             !line.contains("last") && line.contains("timeOfValidity") &&
                             line["timeOfValidity"].is_object() && line.contains("record");
    if (!isPublished || !line["record"].is_object()) return;
    const auto time = line["record"].find("gpsSeconds");
    if (time != line["record"].end() && time->is_number()) m_diary.tell(time->get<double>(), now);
}

std::string JoinFeed::text(Time now)
{
    for (const Epoch& epoch : m_diary.takeDecided(now)) m_sum.add(epoch);
    return m_sum.text(m_diary.silence(now));
}

}  // namespace orvanectl
