#include "lab/ctl/TopicPublisher.h"

#include "face/HX_TSS_Listeners.h"
#include "lab/ctl/Participant.h"

#include <fastrtps/publisher/Publisher.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <thread>

namespace orvanectl {

using FACE::RETURN_CODE_TYPE;
using FACE::TSS::HX_TSS;

namespace {

/// That a subscriber knows of the publisher, too, nobody tells; one of best effort gets nothing before it does.
constexpr std::chrono::milliseconds kOtherSide{200};

/// For room in a history.
constexpr std::chrono::seconds kRoom{5};

std::size_t historyDepthOf(const ConnectionFile& file)
{
    const long depth = std::strtol(file.domain().at("HistoryDepth").c_str(), nullptr, 0);
    return static_cast<std::size_t>(std::max(depth, 1L));
}

}  // namespace

TopicPublisher::TopicPublisher(const ConnectionFile& file, std::vector<WatchedTopic> topics)
    : m_file(file.path()), m_topics(std::move(topics)), m_depth(historyDepthOf(file)), m_unarrived(m_topics.size()),
      m_transport(makeParticipant(file, m_topics, {true}))
{
    for (const auto& [name, type] : m_topics) {
        const long long connection = connect(*m_transport, m_file, name);
        HX_TSS::Connection_t& made = m_transport->connectionMap_mutex_at(HX_TSS::keyOf(connection));
        m_transport->requireType(made, type->isTypeSupport, "publisher");
        m_transport->registerPublisher(made);
        m_connections.push_back(connection);
    }
}

TopicPublisher::~TopicPublisher() = default;

std::string TopicPublisher::waitForSubscribers(std::chrono::milliseconds most,
                                               const std::function<bool()>& isOver) const
{
    const auto end = std::chrono::steady_clock::now() + most;
    for (std::size_t i = 0; i < m_topics.size(); ++i) {
        const auto& made = m_transport->connectionMap_mutex_at(HX_TSS::keyOf(m_connections[i]));
        while (made.publisherListener->matched() == 0) {
            if (isOver() || std::chrono::steady_clock::now() > end) return m_topics[i].name;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }
    std::this_thread::sleep_for(kOtherSide);
    return "";
}

std::vector<std::string> TopicPublisher::topicsWithoutSubscribers() const
{
    std::vector<std::string> names;
    for (std::size_t i = 0; i < m_topics.size(); ++i)
        if (m_transport->connectionMap_mutex_at(HX_TSS::keyOf(m_connections[i])).publisherListener->matched() == 0)
            names.push_back(m_topics[i].name);
    return names;
}

void TopicPublisher::publish(const std::string& topic, const void* record)
{
    const std::size_t index = indexOf(topic);
    if (m_unarrived[index] == m_depth) {
        if (!waitUntilArrived(index, std::chrono::steady_clock::now() + kRoom))
            throw std::runtime_error("topic " + printable(topic) + ": a subscriber takes no more records, and " +
                                     std::to_string(m_depth) + " is all that the history holds");
        m_unarrived[index] = 0;
    }
    ++m_unarrived[index];
    const auto code =
        m_transport->write(HX_TSS::keyOf(m_connections[index]), record, m_topics[index].type->isTypeSupport);
    if (code != RETURN_CODE_TYPE::NO_ERROR)
        throw std::runtime_error("topic " + printable(topic) + ": the record is not taken");
}

bool TopicPublisher::waitUntilArrived(std::chrono::milliseconds most)
{
    const auto end = std::chrono::steady_clock::now() + most;
    for (std::size_t topic = 0; topic < m_topics.size(); ++topic)
        if (!waitUntilArrived(topic, end)) return false;
    return true;
}

bool TopicPublisher::waitUntilArrived(std::size_t topic, std::chrono::steady_clock::time_point end)
{
    auto* const publisher = m_transport->connectionMap_mutex_at(HX_TSS::keyOf(m_connections[topic])).publisher;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now()).count();
    return publisher->wait_for_all_acked(
        eprosima::fastrtps::Time_t(static_cast<std::int32_t>(std::max<std::int64_t>(left, 0) / 1000),
                                   static_cast<std::uint32_t>(std::max<std::int64_t>(left, 0) % 1000) * 1'000'000u));
}

std::size_t TopicPublisher::indexOf(const std::string& topic) const
{
    const auto found = std::ranges::find(m_topics, topic, &WatchedTopic::name);
    if (found == m_topics.end()) throw std::runtime_error("topic " + printable(topic) + " was not opened");
    return static_cast<std::size_t>(found - m_topics.begin());
}

}  // namespace orvanectl
