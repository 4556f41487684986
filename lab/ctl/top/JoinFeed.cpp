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

}  // namespace

JoinFeed::JoinFeed(const ServerSettings& settings, JoinDiary::Hearing hearing) : m_diary(settings, hearing) {}

void JoinFeed::take(const WatchedTopic& topic, const Sample& sample)
{
    for (const auto& input : kInputs)
        if (topic.name == input.topic && topic.type->name == input.topic) input.give(m_diary, sample);
}

std::string JoinFeed::text(Time now)
{
    for (const Epoch& epoch : m_diary.takeDecided(now)) m_sum.add(epoch);
    return m_sum.text(m_diary.silence(now));
}

}  // namespace orvanectl
