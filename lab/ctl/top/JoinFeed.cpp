#include "lab/ctl/top/JoinFeed.h"

#include "lab/ctl/why/JoinEntries.h"

namespace orvanectl {

JoinFeed::JoinFeed(const ServerSettings& settings, JoinDiary::Hearing hearing) : m_diary(settings, hearing) {}

void JoinFeed::take(const WatchedTopic& topic, const Sample& sample)
{
    for (std::size_t input = 0; input < kJoinTopics.size(); ++input)
        if (topic.name == kJoinTopics[input] && topic.type->name == kJoinTopics[input])
            enterRecord(m_diary, input, sample.record.get(), sample.arrival.time);
}

std::string JoinFeed::text(Time now)
{
    for (const Epoch& epoch : m_diary.takeDecided(now)) m_sum.add(epoch);
    return m_sum.text(m_diary.silence(now));
}

}  // namespace orvanectl
