#ifndef RELIABILITY_HOSTILE_RAWPEER_H
#define RELIABILITY_HOSTILE_RAWPEER_H

#include "face/HX_TSS_Settings.h"
#include "reliability/hostile/Payloads.h"

#include <fastdds/dds/topic/TopicDataType.hpp>
#include <fastrtps/publisher/PublisherListener.h>

#include <atomic>
#include <cstddef>
#include <deque>
#include <string>

namespace eprosima::fastrtps {

class Participant;
class Publisher;

}  // namespace eprosima::fastrtps

/// A participant of the unit's domain that publishes payloads of its own making, under the name of any type. Adding is
/// for one thread; each publisher is for one thread at a time.
class RawPeer {
public:
    /// Throws `std::runtime_error` if the participant can't be made.
    RawPeer(const FACE::TSS::HX_TSS_Settings& settings, const std::string& name);
    ~RawPeer();
    RawPeer(const RawPeer&) = delete;
    RawPeer& operator=(const RawPeer&) = delete;

    /// The number of a new publisher. Throws `std::runtime_error` if it can't be made.
    std::size_t add(const std::string& topic, const std::string& type);

    /// Waits until somebody hears a publisher; false if nobody comes.
    bool waitForListener(std::size_t publisher) const;

    /// Whether anybody hears it now.
    bool isHeard(std::size_t publisher) const;

    /// False if the transport doesn't take it.
    bool send(std::size_t publisher, Payload payload);

    /// Waits until all who hear a publisher have acknowledged what it still holds; false if they don't.
    bool waitUntilTaken(std::size_t publisher) const;

private:
    /// Writes what it is given.
    struct Bytes : eprosima::fastdds::dds::TopicDataType {
        explicit Bytes(const std::string& name);
        bool serialize(void* data, eprosima::fastrtps::rtps::SerializedPayload_t* payload) override;
        bool deserialize(eprosima::fastrtps::rtps::SerializedPayload_t* payload, void* data) override;
        std::function<std::uint32_t()> getSerializedSizeProvider(void* data) override;
        void* createData() override { return new Payload; }
        void deleteData(void* data) override { delete static_cast<Payload*>(data); }
        bool getKey(void*, eprosima::fastrtps::rtps::InstanceHandle_t*, bool) override { return false; }
    };

    /// Counts who hears a publisher, on threads of the library.
    struct Listeners : eprosima::fastrtps::PublisherListener {
        void onPublicationMatched(eprosima::fastrtps::Publisher*,
                                  eprosima::fastrtps::rtps::MatchingInfo& info) override;
        std::atomic<int> count = 0;
    };

    const FACE::TSS::HX_TSS_Settings m_settings;
    std::deque<Listeners> m_listeners;
    eprosima::fastrtps::Participant* m_participant;
    std::deque<Bytes> m_types;
    std::deque<eprosima::fastrtps::Publisher*> m_publishers;
};

#endif
