#include "VICTORY/OrvaneServer/NavInputs.h"
#include "tests/VICTORY/OrvaneServer/FreshInputs.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/HardDeadline.h"
#include "tests/support/Meanwhile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

using namespace FreshInputs;
using namespace aspn2_msgs::idl;
using namespace std::chrono_literals;

namespace {

struct NavInputsTest : testing::Test {
    template <class Message>
    void take(const Message& message)
    {
        inputs.store(message);
    }
    void take(const GSSIP& record) { inputs.storeReceiver(record); }

    /// The arrival of each of the six.
    std::vector<std::function<void()>> arrivals()
    {
        return arrivalsOf([this](const auto& message) { take(message); });
    }

    void arriveAll()
    {
        for (const auto& arrive : arrivals()) arrive();
    }

    void arriveAllBut(std::size_t missing)
    {
        const auto all = arrivals();
        for (std::size_t i = 0; i < all.size(); ++i)
            if (i != missing) all[i]();
    }

    /// One look at the inputs: whether they were joined.
    bool look()
    {
        bool isJoined = false;
        inputs.join([&](const NavInputs::Joined&) { isJoined = true; });
        return isJoined;
    }

    ServerSettings settings;
    NavInputs inputs{settings};
};

}  // namespace

TEST_F(NavInputsTest, ASourceIsTakenIfItIsTheConfiguredOneOrAnyIs)
{
    settings.m_pvaSourceServerId = 97;
    EXPECT_FALSE(inputs.store(at<PositionVelocityAttitude>()));
    settings.m_pvaSourceServerId = 0;
    EXPECT_TRUE(inputs.store(at<PositionVelocityAttitude>()));
    settings.m_pvaSourceServerId = 96;
    EXPECT_TRUE(inputs.store(at<PositionVelocityAttitude>()));
}

TEST_F(NavInputsTest, EachInputHasItsOwnSource)
{
    settings.m_pvaSourceServerId = 1;
    settings.m_utcSourceServerId = 2;
    settings.m_fusionPNTSourceServerId = 3;
    settings.m_misSourceServerId = 4;
    const auto storeFrom = [this]<class Message>(Message message, int server) {
        message.header().device_id(server << 16);
        return inputs.store(message);
    };
    for (int server = 1; server <= 4; ++server) {
        EXPECT_EQ(storeFrom(PositionVelocityAttitude(), server), server == 1);
        EXPECT_EQ(storeFrom(UTCTime(), server), server == 2);
        EXPECT_EQ(storeFrom(HalvexPNT(), server), server == 3);
        EXPECT_EQ(storeFrom(MeasurementIncorporationStatus(), server), server == 4);
        EXPECT_TRUE(storeFrom(AssuranceState(), server));
    }
}

TEST_F(NavInputsTest, AMessageFromAnotherSourceLeavesTheLatest)
{
    arriveAll();
    settings.m_pvaSourceServerId = 97;
    auto other = at<PositionVelocityAttitude>();
    other.velocity()[0] = 5.0;
    inputs.store(other);
    int joins = 0;
    inputs.join([&](const NavInputs::Joined& joined) {
        ++joins;
        EXPECT_EQ(joined.pva.velocity()[0], 0.0);
    });
    EXPECT_EQ(joins, 1);
}

TEST_F(NavInputsTest, AJoinWhoseBodyReturnsIsCounted)
{
    arriveAll();
    EXPECT_THROW(inputs.join([](const NavInputs::Joined&) { throw std::runtime_error("body"); }), std::runtime_error);
    EXPECT_EQ(inputs.joins(), 0u);
    EXPECT_TRUE(look());
    EXPECT_FALSE(look());
    EXPECT_EQ(inputs.joins(), 1u);
    arriveAll();
    auto record = at<GSSIP>();
    record.num_bytes(0);
    take(record);
    look();
    EXPECT_EQ(inputs.joins(), 1u);
}

TEST_F(NavInputsTest, TheSixAreJoinedWithTheReceiversFrameUnpacked)
{
    auto utcTime = at<UTCTime>();
    utcTime.gps_tow_sec(100);
    auto pva = at<PositionVelocityAttitude>();
    pva.velocity()[0] = 5.0;
    auto pnt = at<HalvexPNT>();
    pnt.Vert_PosError(20.0);
    auto mis = at<MeasurementIncorporationStatus>();
    mis.meas_types().resize(3);
    auto assurance = at<AssuranceState>();
    assurance.assurance_state(assurance_state_enum{2});
    inputs.store(utcTime);
    inputs.store(pva);
    inputs.store(pnt);
    inputs.store(mis);
    inputs.store(assurance);
    inputs.storeReceiver(receiverAt(1000, 0, 1.0F));

    int joins = 0;
    inputs.join([&](const NavInputs::Joined& joined) {
        ++joins;
        EXPECT_EQ(joined.utcTime.gps_tow_sec(), 100);
        EXPECT_EQ(joined.pva.velocity()[0], 5.0);
        EXPECT_EQ(joined.pnt.Vert_PosError(), 20.0);
        EXPECT_EQ(joined.mis.meas_types().size(), 3U);
        EXPECT_EQ(joined.assurance.assurance_state(), assurance_state_enum{2});
        const float angle = joined.receiver.angle084;
        EXPECT_NEAR(angle, 1.0, 1e-4);
    });
    EXPECT_EQ(joins, 1);
}

TEST_F(NavInputsTest, NothingIsJoinedWithoutAnyOneOfTheSix)
{
    const ConsoleCapture console(std::cout);
    settings.m_quiet = false;
    const auto all = arrivals();
    for (std::size_t missing = 0; missing < all.size(); ++missing) {
        arriveAllBut(missing);
        EXPECT_FALSE(look()) << missing;
        EXPECT_EQ(console.text(), "");
        settings.m_quiet = true;
        all[missing]();
        EXPECT_TRUE(look()) << missing;
        settings.m_quiet = false;
    }
}

TEST_F(NavInputsTest, ANewJoinNeedsSixFreshInputs)
{
    const auto all = arrivals();
    for (std::size_t missing = 0; missing < all.size(); ++missing) {
        arriveAll();
        EXPECT_TRUE(look()) << missing;
        EXPECT_FALSE(look()) << missing;
        arriveAllBut(missing);
        EXPECT_FALSE(look()) << missing;
    }
}

TEST_F(NavInputsTest, EachInputMustBeLessThanASecondFromTheTimeMessage)
{
    const std::vector<std::function<void(std::int64_t, std::int32_t)>> others = {
        [this](auto s, auto ns) { inputs.store(at<PositionVelocityAttitude>(s, ns)); },
        [this](auto s, auto ns) { inputs.store(at<HalvexPNT>(s, ns)); },
        [this](auto s, auto ns) { inputs.store(at<MeasurementIncorporationStatus>(s, ns)); },
        [this](auto s, auto ns) { inputs.store(at<AssuranceState>(s, ns)); },
        [this](auto s, auto ns) { inputs.storeReceiver(receiverAt(s, ns)); }};
    for (const auto& put : others) {
        arriveAll();
        put(1001, 0);
        EXPECT_FALSE(look());
        put(999, 0);
        EXPECT_FALSE(look());
        put(1000, 999'999'000);
        EXPECT_TRUE(look());
        arriveAll();
        put(999, 500'000'000);
        EXPECT_TRUE(look());
    }
}

TEST_F(NavInputsTest, ARefusedReceiverFrameCostsTheJoin)
{
    arriveAll();
    auto record = receiverAt();
    record.num_bytes(100);
    inputs.storeReceiver(record);
    EXPECT_FALSE(look());
    inputs.storeReceiver(receiverAt());
    EXPECT_FALSE(look());  // the others have been used
}

TEST_F(NavInputsTest, WhatFailsLeavesTheInputsAndTheLockFree)
{
    const HardDeadline deadline;
    arriveAll();
    EXPECT_THROW(inputs.join([](const NavInputs::Joined&) { throw std::runtime_error("no luck"); }),
                 std::runtime_error);
    EXPECT_TRUE(look());
}

TEST_F(NavInputsTest, NothingIsStoredWhileAJoinIsWorkedOn)
{
    const HardDeadline deadline;
    arriveAll();
    Meanwhile arrival([&] { inputs.store(at<PositionVelocityAttitude>()); });
    inputs.join([&](const NavInputs::Joined&) { EXPECT_FALSE(arrival.isOverWithin(100ms)); });
    arrival.join();
    arriveAllBut(1);
    EXPECT_TRUE(look());  // the second came after the six were used
}

TEST_F(NavInputsTest, AJoinIsShownUnlessQuiet)
{
    arriveAll();
    inputs.store(at<PositionVelocityAttitude>(999, 750'000'000));
    inputs.store(at<HalvexPNT>(1000, 500'000'000));
    settings.m_quiet = false;
    const ConsoleCapture console(std::cout);
    EXPECT_TRUE(look());
    const std::string prefix = "OrvaneServer: attemptBlendedNavigationProcessing: ";
    EXPECT_EQ(console.text(), prefix + "Messages received: \n" +                     //
                                  prefix + "UTCTime <-> PVA     deltaTov: 0.25\n" +  //
                                  prefix + "UTCTime <-> HXPNT   deltaTov: 0.5\n" +   //
                                  prefix + "UTCTime <-> MIS     deltaTov: 0\n" +     //
                                  prefix + "UTCTime <-> Ass. St deltaTov: 0\n" +     //
                                  prefix + "UTCTime <-> 8504    deltaTov: 0\n" +     //
                                  prefix + "*** All synchronized messages received. Processing... \n");
}

TEST_F(NavInputsTest, InputsThatDoNotBelongTogetherAreShownWithoutTheProcessing)
{
    arriveAll();
    inputs.store(at<PositionVelocityAttitude>(1005));
    settings.m_quiet = false;
    const ConsoleCapture console(std::cout);
    EXPECT_FALSE(look());
    EXPECT_THAT(console.text(), testing::HasSubstr("UTCTime <-> PVA     deltaTov: 5\n"));
    EXPECT_THAT(console.text(), testing::EndsWith("UTCTime <-> 8504    deltaTov: 0\n"));
}
