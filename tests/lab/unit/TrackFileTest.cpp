#include "lab/unit/TrackFile.h"

#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <numbers>
#include <string>
#include <sys/stat.h>

using namespace unitsim;

namespace {

constexpr double kDegree = std::numbers::pi / 180.0;
constexpr const char* kGpx = R"(<?xml version="1.0"?>
<gpx version="1.1"><trk><trkseg>
<trkpt lat="39.5" lon="-76.1"><ele>92</ele><time>2026-11-22T23:59:59.5Z</time></trkpt>
<trkpt lat="39.6" lon="-76.2"><time>2026-11-23T00:00:01Z</time></trkpt>
</trkseg></trk></gpx>)";

std::string csvError(const std::string& text)
{
    try {
        trackOfCsv(text, "a.csv");
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "nothing";
}

std::string gpxError(const std::string& text)
{
    try {
        trackOfGpx(text, "a.gpx");
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "nothing";
}

}  // namespace

TEST(TrackFileTest, CsvTellsTimesAndPlaces)
{
    const auto points =
        trackOfCsv("seconds,latitude,longitude,height\n# begin\n100, 39.5,-76.1,92\r\n\n102.5,39.6,-76.2\n", "a.csv");
    ASSERT_EQ(points.size(), 2U);
    EXPECT_EQ(points[0].seconds, 0.0);
    EXPECT_EQ(points[1].seconds, 2.5);
    EXPECT_EQ(points[0].position[2], 92.0);
    EXPECT_EQ(points[1].position[0], 39.6 * kDegree);
    EXPECT_EQ(points[1].position[1], -76.2 * kDegree);
    EXPECT_EQ(points[1].position[2], 0.0);
}

TEST(TrackFileTest, WrongLineOfCsvIsNamed)
{
    EXPECT_EQ(csvError("0,39,-76\n0,39,-76\n"), "a.csv:2: '0' is no later than the point before");
    EXPECT_EQ(csvError("0,91,-76\n"), "a.csv:1: '91' is no latitude from -90 to 90");
    EXPECT_EQ(csvError("0,39,x\n"), "a.csv:1: 'x' is no longitude from -180 to 180");
    EXPECT_EQ(csvError("0,39,-76,1e9\n"), "a.csv:1: '1e9' is no height");
    EXPECT_EQ(csvError("0,39,-76,1,2\n"), "a.csv:1: '2' is one field too many");
    EXPECT_EQ(csvError("time,lat,lon\ntime,lat,lon\n"), "a.csv:2: 'time' is no number of seconds, up to 100000000");
    EXPECT_EQ(csvError("x,91,y\n0,91,x\n"), "a.csv:2: '91' is no latitude from -90 to 90");
    EXPECT_EQ(csvError("# nothing\n"), "a.csv: has no point");
}

TEST(TrackFileTest, GpxTellsTimesAndPlaces)
{
    const auto points = trackOfGpx(kGpx, "a.gpx");
    ASSERT_EQ(points.size(), 2U);
    EXPECT_EQ(points[1].seconds, 1.5);
    EXPECT_EQ(points[0].position[2], 92.0);
    EXPECT_EQ(points[1].position[0], 39.6 * kDegree);
}

TEST(TrackFileTest, WrongPointOfGpxIsNamedByItsLine)
{
    std::string text = kGpx;
    text.replace(text.find("2026-11-23"), 10, "2026-13-23");
    EXPECT_EQ(gpxError(text), "a.gpx:4: '2026-13-23T00:00:01Z' is no time such as 2026-11-22T10:00:00Z");
    EXPECT_EQ(gpxError("<gpx><trk><trkseg><trkpt lat='1' lon='2'/></trkseg></trk></gpx>"),
              "a.gpx:1: 'trkpt' needs a time");
    EXPECT_EQ(gpxError("<gpx><trk>"), "a.gpx:1: is no XML: XML_ERROR_MISMATCHED_ELEMENT");
    EXPECT_EQ(gpxError("<kml/>"), "a.gpx: has no element gpx");
}

TEST(TrackFileTest, ElementOfManyAttributesIsNotRead)
{
    const auto withAttributes = [](int count) {
        std::string text = "<gpx><!-- " + std::string(200, '=') + " --><![CDATA[" + std::string(200, '=') + "]]><trk";
        for (int i = 0; i < count; ++i) text += " a" + std::to_string(i) + "='>=='";
        return text + "/></gpx>";
    };
    EXPECT_EQ(gpxError(withAttributes(100)), "a.gpx: has no point");
    EXPECT_EQ(gpxError(withAttributes(101)), "a.gpx: an element has more than 100 attributes");
    EXPECT_EQ(gpxError("<gpx a='"), "a.gpx:1: is no XML: XML_ERROR_PARSING_ATTRIBUTE");
}

TEST(TrackFileTest, KindOfAFileIsToldByWhatStandsInIt)
{
    const TemporaryDirectory directory;
    EXPECT_EQ(readTrack(directory.write("a", kGpx)).size(), 2U);
    EXPECT_EQ(readTrack(directory.write("b", "\xEF\xBB\xBF"
                                             "0,39,-76\n"))
                  .size(),
              1U);
}

TEST(TrackFileTest, PipeIsNotWaitedFor)
{
    const TemporaryDirectory directory;
    const std::string pipe = (directory.path() / "pipe").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_THROW(readTrack(pipe), std::runtime_error);
    EXPECT_THROW(readTrack("/none"), std::runtime_error);
}
