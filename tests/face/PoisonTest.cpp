#include "aspn2_msgs/BitReportPubSubTypes.h"
#include "aspn2_msgs/CommandResponsePubSubTypes.h"
#include "face/HX_TSS_Listeners.h"
#include "tests/support/Transport.h"

#include <fastrtps/xmlparser/XMLProfileManager.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

using namespace aspn2_msgs::idl;
using FACE::RETURN_CODE_TYPE;
using FACE::TSS::Details::HX_TypedTS;
using ::testing::ElementsAre;

namespace {

/// What a healthy payload of a `BitReport` is made into.
using Damage = void (*)(eprosima::fastrtps::rtps::SerializedPayload_t&);
Damage s_damage = nullptr;

/// A type support that writes what it is told to.
struct PoisonedBitReport : BitReportPubSubType {
    bool serialize(void* data, SerializedPayload_t* payload) override
    {
        if (!BitReportPubSubType::serialize(data, payload)) return false;
        if (s_damage) s_damage(*payload);
        return true;
    }
};

void put(eprosima::fastrtps::rtps::SerializedPayload_t& payload, std::size_t offset, std::uint32_t word)
{
    std::memcpy(payload.data + offset, &word, sizeof word);
}

// Offsets behind the encapsulation of 4: the header has 44, then the flag, two counts and the count of components.
constexpr std::size_t kFlag = 4 + 44;
constexpr std::size_t kCount = 4 + 56;

struct Poison {
    const char* name;
    Damage damage;
};
std::ostream& operator<<(std::ostream& stream, const Poison& poison)
{
    return stream << poison.name;
}

BitReport numbered(int number)
{
    BitReport report;
    report.num_servers_expected(number);
    report.bit_components().resize(2);
    return report;
}

/// Another participant sends poison; with no short cut between the two, samples go through shared memory.
class PoisonTest : public ::testing::TestWithParam<Poison> {
protected:
    using Settings = eprosima::fastrtps::xmlparser::XMLProfileManager;

    void SetUp() override
    {
        auto settings = m_settings;
        settings.intraprocess_delivery = eprosima::fastrtps::INTRAPROCESS_OFF;
        Settings::library_settings(settings);
    }
    void TearDown() override
    {
        Settings::library_settings(m_settings);
        s_damage = nullptr;
    }

private:
    const eprosima::fastrtps::LibrarySettingsAttributes m_settings = Settings::library_settings();
};

}  // namespace

TEST_P(PoisonTest, SubscriberGoesOnWithTheNextSample)
{
    const auto config = TransportConfig().connect("Reports", "BitReport");
    Inbox<BitReport> inbox;
    const Transport receiver(config, "receiver");
    const Transport sender(config, "sender", [](const std::string&) -> FACE::TSS::HX_TSS::TopicDataType* {
        return new PoisonedBitReport();
    });
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
    receiver.typed<BitReport>()->Register_Callback(receiver.connect("Reports"), inbox.callback(), code);
    ASSERT_EQ(code, 0);
    const auto front = sender.typed<BitReport>();
    front->Register_Sender(sender.connect("Reports"), code);
    ASSERT_EQ(code, 0);
    ASSERT_TRUE(receiver.waitForPublishers(0));
    ASSERT_TRUE(sender.waitForSubscribers(0));

    EXPECT_EQ(front->write(0, numbered(1)), 0);
    s_damage = GetParam().damage;
    for (int i = 0; i < 3; ++i) EXPECT_EQ(front->write(0, numbered(2)), 0);
    s_damage = nullptr;
    EXPECT_EQ(front->write(0, numbered(3)), 0);
    ASSERT_TRUE(inbox.waitFor(2));
    std::vector<int> numbers;
    std::vector<long long> transactions;
    for (const auto& item : inbox.items()) {
        numbers.push_back(item.message.num_servers_expected());
        transactions.push_back(item.transaction);
    }
    EXPECT_THAT(numbers, ElementsAre(1, 3));
    EXPECT_THAT(transactions, ElementsAre(1, 5));
    receiver->Unregister_Callback(0, code);
}

INSTANTIATE_TEST_SUITE_P(
    Payloads, PoisonTest,
    ::testing::Values(Poison{"BooleanOfTwo", [](auto& payload) { payload.data[kFlag] = 2; }},
                      Poison{"CutInTheHeader", [](auto& payload) { payload.length = 20; }},
                      Poison{"CutInTheComponents", [](auto& payload) { payload.length -= 4; }},
                      Poison{"NothingButTheEncapsulation", [](auto& payload) { payload.length = 4; }},
                      Poison{"HugeCount", [](auto& payload) { put(payload, kCount, 0xFFFFFFFFu); }},
                      Poison{"CountOfOneTooMany", [](auto& payload) { put(payload, kCount, 3); }},
                      Poison{"UnknownEncapsulation", [](auto& payload) { payload.data[1] = 0x2A; }}),
    [](const auto& poison) { return poison.param.name; });
