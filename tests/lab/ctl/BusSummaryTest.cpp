#include "lab/ctl/BusLink.h"

#include <gtest/gtest.h>

using orvanectl::busSummary;
using Json = orvanectl::BusLink::Json;

TEST(BusSummaryTest, BlendedNavigationHasItsTimeMeritErrorsAndSources)
{
    const Json line = Json::parse(R"({"number":7,"tell":"blended-navigation",
        "timeOfValidity":{"year":2026,"month":3,"day":9,"hour":4,"minute":5,"seconds":6,"nanoseconds":7890123},
        "record":{"gpsSeconds":12.5,"fom":1,"efom":2,"tfom":3,"horizontalPositionError_m":1.5,
        "verticalPositionError_m":2.5,"horizontalVelocityError_m_per_s":0.25,"verticalVelocityError_m_per_s":0.5,
        "timeError_ms":0.125,"attitudeError_deg":0.75,"assuranceConfidence":90,"gpsAvailability":1,"sourceCount":2,
        "sources":[{"sourceType":14,"description":"BARO"},{"sourceType":3,"description":""}]}})");
    EXPECT_EQ(busSummary(line), "7 blended-navigation  2026-03-09 04:05:06.007  gps s 12.5  fom 1  efom 2  tfom 3"
                                "  horizontal m 1.5  vertical m 2.5  horizontal m/s 0.25  vertical m/s 0.5"
                                "  time ms 0.125  attitude deg 0.75  assurance 90  gps 1  sources 2 [14 \"BARO\"; 3]");
}

TEST(BusSummaryTest, BytesThatATerminalWouldObeyAreShownAsDigits)
{
    const Json line = Json::parse(R"({"tell":"t","what":"a\u001b]0;x\u0007","record":{"systemName":"\u009bK",
        "warnings":[{"warningId":75,"customText":"\u001b[2J"}],"components":[{"componentId":"1","name":"a\nb"}],
        "sources":[{"sourceType":3,"description":"\u007f"}]}})");
    EXPECT_EQ(busSummary(line), "t  name \\xC2\\x9BK [3 \"\\x7F\"] [75 \"\\x1B[2J\"] [1 a\\x0Ab]"
                                "  what a\\x1B]0;x\\x07");
}

TEST(BusSummaryTest, WithoutATimeThereIsNone)
{
    const Json line =
        Json::parse(R"({"number":7,"tell":"navwar-sa","timeOfValidity":null,"record":{"threatCount":0}})");
    EXPECT_EQ(busSummary(line), "7 navwar-sa  threats 0");
}
