#include "ASPN/AspnCmdResponse.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <latch>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using ASPN2::CmdResponse;
using ASPN2::ResponseType;
using aspn2_msgs::idl::CommandResponse;

CommandResponse commandOf(const std::string& text)
{
    CommandResponse command;
    command.command_response(text);
    return command;
}

TEST(CmdResponseTest, CommandsCountFromZeroAndSurviveAReset)
{
    CmdResponse maker(ASPN2::DeviceIdFactory("KOLT", 52));
    const auto first = maker.makeCommand("REQUEST_CBIT");
    EXPECT_EQ(static_cast<std::uint32_t>(first.header().device_id()), 0x01340200U);
    EXPECT_EQ(first.header().seq_num(), 0);
    EXPECT_EQ(first.command_identifier(), 0);
    EXPECT_EQ(first.commanded_device_id(), 0);
    EXPECT_EQ(first.command_response_type(), 0U);
    EXPECT_EQ(first.command_response(), "REQUEST_CBIT");

    maker.reset(ASPN2::DeviceIdFactory("RENS", 53));
    const auto second = maker.makeCommand("X");
    EXPECT_EQ(static_cast<std::uint32_t>(second.header().device_id()), 0x02350200U);
    EXPECT_EQ(second.header().seq_num(), 1);
    EXPECT_EQ(second.command_identifier(), 1);
}

TEST(CmdResponseTest, WithoutAFactoryTheDeviceIdIsZero)
{
    EXPECT_EQ(CmdResponse().makeCommand("X").header().device_id(), 0);
}

TEST(CmdResponseTest, ResponsesAreCountedApartAndCopyTheCommandsIdentifier)
{
    CmdResponse maker(ASPN2::DeviceIdFactory("KOLT", 52));
    maker.makeCommand("A");
    maker.makeCommand("B");
    auto command = commandOf("C");
    command.header().device_id(0x01050207);
    command.commanded_device_id(77);
    command.command_identifier(4711);
    const auto response = maker.makeResponse(command, std::string("OrvaneServer"));
    EXPECT_EQ(response.header().seq_num(), 0);
    EXPECT_EQ(response.commanded_device_id(), 0x01050207);
    EXPECT_EQ(response.command_identifier(), 4711);
    EXPECT_EQ(response.command_response_type(), 1U);
    EXPECT_EQ(response.command_response(), "OrvaneServer");
    EXPECT_EQ(static_cast<std::uint32_t>(response.header().device_id()), 0x01340200U);
    EXPECT_EQ(maker.makeResponse(command, true).header().seq_num(), 1);
    EXPECT_EQ(maker.makeCommand("D").command_identifier(), 2);
}

TEST(CmdResponseTest, AResponseWithoutATextHasAnEmptyOne)
{
    const char* const none = nullptr;
    EXPECT_EQ(CmdResponse().makeResponse(commandOf("C"), none).command_response(), "");
}

TEST(CmdResponseTest, BeforeThereAreRegistersTheStampIsThatOfZeroTicks)
{
    const auto command = CmdResponse().makeCommand("X");
    EXPECT_EQ(command.header().timestamp_valid().sec(), 0);
    EXPECT_EQ(command.header().timestamp_valid().nsec(), -8);
    EXPECT_EQ(command.header().timestamp_arrival().sec(), 0);
    EXPECT_EQ(command.header().timestamp_arrival().nsec(), -8);
}

TEST(CmdResponseTest, AResponseHasAStampOfItsOwnAndNotTheCommands)
{
    auto command = commandOf("X");
    command.header().timestamp_valid().sec(77);
    command.header().timestamp_arrival().sec(78);
    const auto response = CmdResponse().makeResponse(command, true);
    EXPECT_EQ(response.header().timestamp_valid().sec(), 0);
    EXPECT_EQ(response.header().timestamp_valid().nsec(), -8);
    EXPECT_EQ(response.header().timestamp_arrival().sec(), 0);
    EXPECT_EQ(response.header().timestamp_arrival().nsec(), -8);
}

TEST(CmdResponseTest, GivenTicksReplaceTheTimeOfArrivalAlone)
{
    const auto command = CmdResponse().makeCommand(2ULL * 58982400ULL, "X");
    EXPECT_EQ(command.header().timestamp_valid().sec(), 0);
    EXPECT_EQ(command.header().timestamp_valid().nsec(), -8);
    EXPECT_EQ(command.header().timestamp_arrival().sec(), 1);
    EXPECT_EQ(command.header().timestamp_arrival().nsec(), 999'999'992);
    EXPECT_EQ(command.header().seq_num(), 0);
}

TEST(CmdResponseTest, SuffixFollowsTheStem)
{
    CmdResponse maker;
    EXPECT_EQ(maker.makeResponse(commandOf("REQUEST_CBIT,1,2"), true).command_response(), "REQUEST_CBIT_PASS");
    EXPECT_EQ(maker.makeResponse(commandOf("REQUEST_CBIT"), false).command_response(), "REQUEST_CBIT_FAIL");
    EXPECT_EQ(maker.makeResponseAck(commandOf("REQUEST_ZEROIZE"), true).command_response(), "REQUEST_ZEROIZE_ACK");
    EXPECT_EQ(maker.makeResponseAck(commandOf("REQUEST_ZEROIZE,"), false).command_response(), "REQUEST_ZEROIZE_NACK");
}

TEST(CmdResponseTest, WithoutAStemTheSuffixStandsAlone)
{
    CmdResponse maker;
    EXPECT_EQ(maker.makeResponse(commandOf(""), true).command_response(), "_PASS");
    EXPECT_EQ(maker.makeResponseAck(commandOf(""), false).command_response(), "_NACK");
    EXPECT_EQ(maker.makeResponse(commandOf(",X"), false).command_response(), "_FAIL");
    EXPECT_EQ(maker.makeResponseAck(commandOf(","), true).command_response(), "_ACK");
}

TEST(CmdResponseTest, ALiteralIsATextAndNoFlag)
{
    EXPECT_EQ(CmdResponse().makeResponse(commandOf("PING"), "me").command_response(), "me");
}

TEST(CmdResponseTest, TopicReplacesTheLowByteOfTheDeviceId)
{
    auto message = commandOf("X");
    message.header().device_id(static_cast<std::int32_t>(0xF1340255U));
    CmdResponse::setTopicId(message, 0xAA);
    EXPECT_EQ(static_cast<std::uint32_t>(message.header().device_id()), 0xF13402AAU);
}

/// What several threads get from one maker, in order, each number as often as it was given out.
std::vector<std::int64_t> numbersOfFourThreads(const std::function<std::int64_t()>& next, int each)
{
    std::vector<std::vector<std::int64_t>> numbers(4);
    std::vector<std::thread> threads;
    std::latch start(4);
    for (auto& mine : numbers)
        threads.emplace_back([&start, &next, &mine, each] {
            start.arrive_and_wait();
            for (int i = 0; i < each; ++i) mine.push_back(next());
        });
    for (auto& thread : threads) thread.join();
    std::vector<std::int64_t> all;
    for (const auto& mine : numbers) all.insert(all.end(), mine.begin(), mine.end());
    std::sort(all.begin(), all.end());
    return all;
}

TEST(CmdResponseTest, NoTwoThreadsGetTheSameNumber)
{
    constexpr int kEach = 60'000;  // so that threads meet
    CmdResponse maker;
    const auto command = commandOf("X");
    const std::pair<const char*, std::function<std::int64_t()>> counted[] = {
        {"identifier of a command", [&] { return maker.makeCommand("X").command_identifier(); }},
        {"number of a command", [&] { return maker.makeCommand("X").header().seq_num() - 4 * kEach; }},
        {"number of a response", [&] { return maker.makeResponse(command, true).header().seq_num(); }}};
    for (const auto& [name, next] : counted) {
        const auto all = numbersOfFourThreads(next, kEach);
        ASSERT_EQ(all.size(), 4U * kEach) << name;
        std::int64_t expected = 0;
        for (const std::int64_t number : all) ASSERT_EQ(number, expected++) << name;
    }
}

TEST(ResponseTypeTest, ByTheFirstSuffixOfTheOrderThatIsFoundAnywhere)
{
    EXPECT_EQ(ResponseType::GetResponseType(commandOf("REQUEST_ZEROIZE_ACK")), 1);
    EXPECT_EQ(ResponseType::GetResponseType(commandOf("REQUEST_ZEROIZE_NACK")), 2);
    EXPECT_EQ(ResponseType::GetResponseType(commandOf("SYSTEM_ZEROIZE_PASS")), 3);
    EXPECT_EQ(ResponseType::GetResponseType(commandOf("SYSTEM_DESTROY_FAIL")), 4);
    EXPECT_EQ(ResponseType::GetResponseType(commandOf("PARTNUMBERS,SW1:FOO")), 0);
    EXPECT_EQ(ResponseType::GetResponseType(commandOf("X_FAIL_ACK")), 1);
    EXPECT_EQ(ResponseType::GetResponseType(commandOf("X_FAIL_NACK")), 2);
    EXPECT_EQ(ResponseType::GetResponseType(commandOf("X_PASS_ACK")), 1);
    EXPECT_EQ(ResponseType::GetResponseType(commandOf("X_NACK_ACK")), 1);
    EXPECT_EQ(ResponseType::GetResponseType(commandOf("X_PASS_NACK")), 2);
    EXPECT_EQ(ResponseType::GetResponseType(commandOf("X_FAIL_PASS")), 3);
    EXPECT_EQ(ResponseType::GetResponseType(commandOf("X_ACK_Y")), 1);
    EXPECT_EQ(ResponseType::GetResponseType(commandOf("")), 0);
}

}  // namespace
