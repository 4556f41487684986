#include "reliability/DatagramCounts.h"

#include <gtest/gtest.h>

#include <stdexcept>

TEST(DatagramCountsTest, NumbersStandUnderTheirNames)
{
    const auto counts = DatagramCounts::in("Tcp: RtoAlgorithm InSegs\nTcp: 1 2\n"
                                           "Udp: InDatagrams NoPorts InErrors OutDatagrams RcvbufErrors SndbufErrors\n"
                                           "Udp: 5000 7 30 5100 23 0\n"
                                           "UdpLite: InDatagrams RcvbufErrors\nUdpLite: 8 9\n");
    EXPECT_EQ(counts.received, 5000);
    EXPECT_EQ(counts.dropped, 23);
}

TEST(DatagramCountsTest, WithoutThemThereIsNoCount)
{
    EXPECT_THROW(DatagramCounts::in(""), std::runtime_error);
    EXPECT_THROW(DatagramCounts::in("Udp: InDatagrams\nUdp: 5000\n"), std::runtime_error);
    EXPECT_THROW(DatagramCounts::in("Udp: InDatagrams RcvbufErrors\n"), std::runtime_error);
}
