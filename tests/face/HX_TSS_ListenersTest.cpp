#include "face/HX_TSS_Listeners.h"

#include <fastrtps/rtps/common/MatchingInfo.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>

using namespace eprosima::fastrtps;
using namespace FACE::TSS;
using namespace FACE::TSS::Listeners;

namespace {

std::pair<std::string, std::string> textsOf(const QoS_Element& element)
{
    return {element.name.buffer(), element.value.buffer()};
}

std::string valueOf(DurabilityQosPolicyKind kind)
{
    DurabilityQosPolicy policy;
    policy.kind = kind;
    const auto [name, value] = textsOf(DurabilityQosPolicyToElement(policy));
    EXPECT_EQ(name, "DurabilityQosPolicy");
    return value;
}

std::string valueOf(LivelinessQosPolicyKind kind)
{
    LivelinessQosPolicy policy;
    policy.kind = kind;
    const auto [name, value] = textsOf(LivelinessQosPolicyToElement(policy));
    EXPECT_EQ(name, "LivelinessQosPolicy");
    return value;
}

std::string valueOf(ReliabilityQosPolicyKind kind)
{
    ReliabilityQosPolicy policy;
    policy.kind = kind;
    const auto [name, value] = textsOf(ReliabilityQosPolicyToElement(policy));
    EXPECT_EQ(name, "ReliabilityQosPolicy");
    return value;
}

}  // namespace

TEST(ListenersTest, UidIsTheEntityIdWithItsFirstByteOnTop)
{
    rtps::GUID_t guid;
    guid.entityId.value[0] = 0x89;
    guid.entityId.value[1] = 0xAB;
    guid.entityId.value[2] = 0xCD;
    guid.entityId.value[3] = 0x03;
    EXPECT_EQ(GuidToUid(guid), 0x89ABCD03);
    for (rtps::octet& byte : guid.guidPrefix.value) byte = 0xFF;
    EXPECT_EQ(GuidToUid(guid), 0x89ABCD03);
}

TEST(ListenersTest, TransactionHasTheHighWordOnTop)
{
    SampleInfo_t info;
    info.sample_identity.sequence_number(rtps::SequenceNumber_t(0x7FFFFFFE, 0x89ABCDEF));
    EXPECT_EQ(transactionOf(info), 0x7FFFFFFE89ABCDEF);
}

TEST(ListenersTest, DurabilityHasFourNames)
{
    EXPECT_EQ(valueOf(VOLATILE_DURABILITY_QOS), "VOLATILE_DURABILITY_QOS");
    EXPECT_EQ(valueOf(TRANSIENT_LOCAL_DURABILITY_QOS), "TRANSIENT_LOCAL_DURABILITY_QOS");
    EXPECT_EQ(valueOf(TRANSIENT_DURABILITY_QOS), "TRANSIENT_DURABILITY_QOS");
    EXPECT_EQ(valueOf(PERSISTENT_DURABILITY_QOS), "PERSISTENT_DURABILITY_QOS");
    EXPECT_EQ(valueOf(static_cast<DurabilityQosPolicyKind>(4)), "UNKNOWN_DURABILITY_QOS");
}

TEST(ListenersTest, LivelinessHasThreeNames)
{
    EXPECT_EQ(valueOf(AUTOMATIC_LIVELINESS_QOS), "AUTOMATIC_LIVELINESS_QOS");
    EXPECT_EQ(valueOf(MANUAL_BY_PARTICIPANT_LIVELINESS_QOS), "MANUAL_BY_PARTICIPANT_LIVELINESS_QOS");
    EXPECT_EQ(valueOf(MANUAL_BY_TOPIC_LIVELINESS_QOS), "MANUAL_BY_TOPIC_LIVELINESS_QOS");
    EXPECT_EQ(valueOf(static_cast<LivelinessQosPolicyKind>(3)), "UNKNOWN_LIVELINESS_QOS");
}

TEST(ListenersTest, ReliabilityGoesByOneAndTwo)
{
    EXPECT_EQ(valueOf(static_cast<ReliabilityQosPolicyKind>(0)), "UNKNOWN_RELIABILITY_QOS");
    EXPECT_EQ(valueOf(static_cast<ReliabilityQosPolicyKind>(1)), "BEST_EFFORT_RELIABILITY_QOS");
    EXPECT_EQ(valueOf(static_cast<ReliabilityQosPolicyKind>(2)), "RELIABLE_RELIABILITY_QOS");
    EXPECT_EQ(valueOf(static_cast<ReliabilityQosPolicyKind>(3)), "UNKNOWN_RELIABILITY_QOS");
}

TEST(ListenersTest, MatchesAreCountedWithoutAFloor)
{
    PublisherListenerBase publisher("unit");
    SubscriberListenerBase subscriber("unit");
    rtps::MatchingInfo info;
    const auto match = [&](int status) {
        info.status = static_cast<rtps::MatchingStatus>(status);
        publisher.onPublicationMatched(nullptr, info);
        subscriber.onSubscriptionMatched(nullptr, info);
        EXPECT_EQ(publisher.matched(), subscriber.matched());
        return publisher.matched();
    };
    EXPECT_EQ(match(0), 1);
    EXPECT_EQ(match(0), 2);
    EXPECT_EQ(match(1), 1);
    EXPECT_EQ(match(1), 0);
    EXPECT_EQ(match(1), -1);
}
