#include "lab/unit/RandomEvents.h"

#include "ioss_mcsq/ThreatData.h"
#include "lab/unit/ReceiverFrames.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <set>
#include <string>
#include <variant>
#include <vector>

using namespace unitsim;
using Kind = RandomEvents::Kind;

namespace {

std::vector<Event> drawn(std::uint64_t seed, Kind kind, double rateHz, int count)
{
    RandomEvents events(seed, kind, rateHz);
    std::vector<Event> all;
    for (int i = 0; i < count; ++i) all.push_back(events.next());
    return all;
}

bool areEqual(const std::vector<Event>& one, const std::vector<Event>& other)
{
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                      [](const Event& a, const Event& b) { return a.seconds == b.seconds && a.what == b.what; });
}

}  // namespace

TEST(RandomEventsTest, SameSeedGivesTheSame)
{
    for (const Kind kind : {Kind::Threats, Kind::Warnings}) {
        EXPECT_TRUE(areEqual(drawn(7, kind, 2.0, 50), drawn(7, kind, 2.0, 50)));
        EXPECT_FALSE(areEqual(drawn(7, kind, 2.0, 50), drawn(8, kind, 2.0, 50)));
        EXPECT_FALSE(areEqual(drawn(7, kind, 2.0, 50), drawn(7 + (std::uint64_t{1} << 32), kind, 2.0, 50)));
    }
}

TEST(RandomEventsTest, KindsComeAtMomentsOfTheirOwn)
{
    EXPECT_NE(drawn(7, Kind::Threats, 2.0, 1)[0].seconds, drawn(7, Kind::Warnings, 2.0, 1)[0].seconds);
}

TEST(RandomEventsTest, RateHoldsOnTheAverage)
{
    EXPECT_NEAR(drawn(1, Kind::Warnings, 4.0, 4000).back().seconds, 1000.0, 60.0);
    EXPECT_NEAR(drawn(1, Kind::Threats, 0.5, 4000).back().seconds, 8000.0, 480.0);
}

TEST(RandomEventsTest, TimesNeverGoBack)
{
    double last = 0.0;
    for (const Event& event : drawn(3, Kind::Warnings, 10.0, 1000)) {
        EXPECT_GE(event.seconds, last);
        last = event.seconds;
    }
}

TEST(RandomEventsTest, ReportsHaveOneToNineThreatsOfAllSorts)
{
    std::set<std::size_t> sizes;
    int reported = 0, threats = 0, withoutBearing = 0, inOtherStates = 0;
    for (const Event& event : drawn(5, Kind::Threats, 1.0, 500)) {
        const auto& report = std::get<ThreatReport>(event.what);
        sizes.insert(report.threats.size());
        ThreatData data;
        const auto frame = frame15051(GpsMoment(), Solution(), report);
        ASSERT_TRUE(data.OkSetContent(frame.data(), static_cast<std::uint16_t>(frame.size())));
        for (std::size_t i = 0; i < report.threats.size(); ++i, ++threats) {
            const ThreatEntry entry = data.threat(i);
            EXPECT_TRUE(entry.Az >= -180 && entry.Az <= 180 && entry.El >= -90 && entry.El <= 90);
            EXPECT_LE(entry.confidence(), 100U);
            reported += entry.isReported() ? 1 : 0;
            withoutBearing += report.threats[i].hasBearing ? 0 : 1;
            inOtherStates += report.threats[i].state != 2 ? 1 : 0;
        }
    }
    EXPECT_EQ(sizes, (std::set<std::size_t>{1, 2, 3, 4, 5, 6, 7, 8, 9}));
    EXPECT_GT(reported, threats / 2);
    EXPECT_GT(withoutBearing, 0);
    EXPECT_GT(inOtherStates, 0);
}

TEST(RandomEventsTest, WarningsHaveNumbersWithAndWithoutAMeaning)
{
    std::set<std::uint16_t> numbers;
    std::set<std::string> texts;
    for (const Event& event : drawn(5, Kind::Warnings, 1.0, 5000)) {
        const auto& warning = std::get<Warning>(event.what);
        EXPECT_LE(warning.text.size(), 32U);
        numbers.insert(warning.number);
        texts.insert(warning.text);
    }
    EXPECT_EQ(numbers.size(), 100U);
    EXPECT_EQ(*numbers.rbegin(), 99);
    EXPECT_EQ(texts.size(), 5U);
}
