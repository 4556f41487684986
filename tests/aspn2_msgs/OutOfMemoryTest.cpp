#include "aspn2_msgs/EventLogPubSubTypes.h"
#include "aspn2_msgs/GNSSPubSubTypes.h"
#include "aspn2_msgs/GSSIPPubSubTypes.h"
#include "tests/aspn2_msgs/WireBytes.h"
#include "tests/support/FailingAllocation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

using namespace aspn2_msgs::idl;
using eprosima::fastrtps::rtps::SerializedPayload_t;

namespace {

/// What a type support answers to a payload of the record when there is no memory to read it into.
template <class Support>
bool readWithoutMemory(const typename Support::type& record, Cdr::Endianness order)
{
    SerializedPayload_t payload(static_cast<std::uint32_t>(sizeOf(record) + 4));
    FastBuffer buffer(reinterpret_cast<char*>(payload.data), payload.max_size);
    Cdr cdr(buffer, order, Cdr::DDS_CDR);
    cdr.serialize_encapsulation();
    record.serialize(cdr);
    payload.length = payload.max_size;

    Support support;
    typename Support::type read;
    bool answer = true;
    {
        const FailingAllocation memory;
        answer = support.deserialize(&payload, &read);
    }
    EXPECT_TRUE(support.deserialize(&payload, &read));  // the payload itself is good
    return answer;
}

}  // namespace

TEST(CatalogueMemoryTest, APayloadThatThereIsNoMemoryForIsRefused)
{
    EventLog event;
    event.eventlog(std::string(40, 'x'));
    GSSIP frame;
    frame.data(std::vector<std::uint8_t>(40, 7));
    GNSS measurements;
    measurements.obs().resize(3);
    for (const auto order : {Cdr::LITTLE_ENDIANNESS, Cdr::BIG_ENDIANNESS}) {
        EXPECT_FALSE(readWithoutMemory<EventLogPubSubType>(event, order));
        EXPECT_FALSE(readWithoutMemory<GSSIPPubSubType>(frame, order));
        EXPECT_FALSE(readWithoutMemory<GNSSPubSubType>(measurements, order));
    }
}
