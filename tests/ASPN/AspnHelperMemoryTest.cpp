#include "ASPN/AspnHelper.h"
#include "tests/support/FailingAllocation.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>

TEST(AspnHelperMemoryTest, NoHelperAllocates)
{
    using namespace ASPN2;
    aspn2_msgs::idl::header wire, otherWire;
    header host{}, otherHost{};
    double distance = 0;
    std::size_t refused = 1;
    {
        const FailingAllocation memory;
        TimeCodeHelper::Instance().setSimMode();
        setToV_fromNSec(std::chrono::seconds(1), wire);
        setToVandToA_fromNSec(std::chrono::seconds(1), wire);
        setToV_fromFpgaTicks(58'982'400, wire);
        setToV_fromFpgaTicks(58'982'400, host);
        setToA_fromFpgaTicks(58'982'400, wire);
        setToA_fromFpgaTicks(58'982'400, host);
        setToVandToA_fromFpgaTicks(58'982'400, wire);
        setToVandToA_fromFpgaTicks(58'982'400, host);
        setToVandToA_fromTo(host, otherWire);
        setToVandToA_fromTo(wire, otherHost);
        copyHeader_fromTo(host, otherWire);
        copyHeader_fromTo(wire, otherHost);
        distance = deltaTov(wire, otherWire) + deltaTov(host, otherHost);
        distance += static_cast<double>(getNSec_fromToA(otherWire).count());
        refused = memory.refused();
    }
    EXPECT_EQ(refused, 0u);
    EXPECT_EQ(distance, 999'999'992.0);
    EXPECT_EQ(otherHost.tov_time_code, 101);
}
