#include "lab/ctl/FrameFields.h"

#include "lab/ctl/FrameDecoder.h"
#include "lab/ctl/RecordTypes.h"
#include "tests/lab/ctl/Samples.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

using namespace orvanectl;

namespace {

using Settings = std::vector<std::string>;

/// What is shown of a frame that is made so; it has nothing that is wrong.
Json shown(const char* kind, const Settings& settings)
{
    const DecodedFrame decoded = decodeFrame(frameOf(*findFrameKind(kind), settings));
    EXPECT_EQ(decoded.problems, std::vector<std::string>{});
    return decoded.fields.at("message");
}

std::string errorOf(const char* kind, const Settings& settings)
{
    try {
        frameOf(*findFrameKind(kind), settings);
        return "nothing";
    } catch (const FieldError& error) {
        return error.what();
    }
}

/// Every value of an object, by its path, set to 1, or another that it can have.
void collect(const Json& value, const std::string& path, Settings& settings)
{
    if (value.is_object()) {
        for (const auto& [name, part] : value.items()) collect(part, path.empty() ? name : path + '.' + name, settings);
    } else if (value.is_string()) {
        settings.push_back(path + '=' + std::string(512, '1'));
    } else {
        settings.push_back(path + "=1");
    }
}

}  // namespace

TEST(FrameFieldsTest, AWarningHasItsNumberAndText)
{
    const auto frame = frameOf(*findFrameKind("5044"),
                               {"field000=-2.5", "warningNumber=6", "warningText=HELLO, this warning has 32 chars"});
    EXPECT_EQ(std::string(frame.begin(), frame.end()), samples::kWarning);
}

TEST(FrameFieldsTest, EveryFieldOf8504ComesBack)
{
    Json zeros = shown("8504", {});
    for (const char* derived : {"wholePart", "fractionPart", "angle084_degrees"}) zeros.erase(derived);
    Settings settings;
    collect(zeros, "", settings);
    EXPECT_EQ(settings.size(), 58u);
    const Json all = shown("8504", settings);
    for (const std::string& setting : settings) {
        const Json* value = &all;
        std::istringstream names(setting.substr(0, setting.find('=')));
        for (std::string name; std::getline(names, name, '.');) value = &value->at(name);
        if (value->is_string())
            EXPECT_EQ(*value, std::string(512, '1'));
        else
            EXPECT_EQ(*value, 1) << setting;
    }
}

TEST(FrameFieldsTest, AThreatHasItsBearingAndWhatIsSet)
{
    const Json message =
        shown("15051", {"gpsTime=100.5", "lat=0.5", "lon=-1.5", "alt=99", "Pos_Accuracy=7", "threats.1.state=2",
                        "threats.1.bearing_valid=true", "threats.1.Az_degrees=-90", "threats.1.El_degrees=5",
                        "threats.1.Center_hz=1575400000", "threats.1.BW_hz=2000000", "threats.1.Power=-3",
                        "threats.1.confidence=75"});
    EXPECT_EQ(
        message.dump(),
        R"({"gpsTime":100.5,"lat":0.5,"lon":-1.5,"alt":99.0,"Pos_Accuracy":7,"threats":[{"index":1,"reported":true,)"
        R"("state":2,"bearing_valid":true,"Power_valid":true,"BW_valid":true,"confidence_valid":true,)"
        R"("Az_degrees":-90,"El_degrees":5,"Center_hz":1575400000.0,"BW_hz":2000000.0,"Power":-3,)"
        R"("confidence":75}]})");
}

TEST(FrameFieldsTest, ThreatsAreSetWholeAsTheyAreShown)
{
    const std::string threats = R"([{"index":0,"reported":true,"state":2,"bearing_valid":true,"Power_valid":false,)"
                                R"("BW_valid":false,"confidence_valid":false,"Az_degrees":1,"El_degrees":2,)"
                                R"("Center_hz":50000.0,"BW_hz":33000000.0,"Power":null,"confidence":null}])";
    const Json once = shown("15051", {"threats=" + threats});
    EXPECT_EQ(once.at("threats").at(0).at("Az_degrees"), 1);
    EXPECT_EQ(once.at("threats").at(0).at("BW_hz"), 33000000.0);
}

TEST(FrameFieldsTest, WhatAFieldCantHaveIsRefused)
{
    EXPECT_EQ(errorOf("8504", {"angel084=1"}), "angel084: there is no such field; did you mean angle084?");
    EXPECT_EQ(errorOf("8504", {"status096.receiver_failure=2"}),
              "status096.receiver_failure: 2 is out of range, 0 to 1");
    EXPECT_EQ(errorOf("8504", {"word088=65536"}), "word088: 65536 is out of range, 0 to 65535");
    EXPECT_EQ(errorOf("8504", {"wholePart=1"}), "wholePart: there is no such field");
    EXPECT_EQ(errorOf("8504", {"block144=" + std::string(514, '0')}), "block144: has 257 bytes; it takes 256");
    EXPECT_EQ(errorOf("5044", {"warningText=" + std::string(33, 'a')}), "warningText: has 33 characters; it takes 32");
    EXPECT_EQ(errorOf("15051", {"threats.9.state=2"}), "threats.9.state: it has 9 elements, counted from 0");
    EXPECT_EQ(errorOf("15051", {"threats.0.Center_hz=4e9"}),
              "threats.0.Center_hz: 4000000000.0 is out of range, 0 to 3276750000");
    EXPECT_EQ(errorOf("15051", {"threats.0.Center_hz=-1e9"}),
              "threats.0.Center_hz: -1000000000.0 is out of range, 0 to 3276750000");
    EXPECT_EQ(errorOf("15051", {"threats.0.state=4"}), "threats.0.state: 4 is out of range, 0 to 3");
    EXPECT_EQ(errorOf("15051", {R"(threats=[{"Az":1}])"}),
              "threats.0.Az: there is no such field; did you mean Az_degrees?");
    EXPECT_EQ(errorOf("5044", {"number=6"}),
              "number: there is no such field; there are: field000, warningNumber, warningText");
    EXPECT_EQ(errorOf("15051", {"threats=7"}), "threats: an array of 9 threats at the most must stand here");
}

TEST(FrameFieldsTest, HexIsTakenAsItIs)
{
    EXPECT_EQ(frameOfHex("FF 81 38 21"), (std::vector<std::uint8_t>{0xFF, 0x81, 0x38, 0x21}));
    EXPECT_THROW(frameOfHex("FF8"), FieldError);
    EXPECT_THROW(frameOfHex(""), FieldError);
}
