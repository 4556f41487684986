// The checker's verdict beside the service's own, on files that are damaged in every place.

#include "tests/support/ChildProcess.h"
#include "tests/support/Desk.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <functional>
#include <iterator>
#include <set>
#include <string>
#include <sys/resource.h>
#include <utility>
#include <vector>

namespace {

const std::string kFolder = "/opt/halvex/config/";

std::string readFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void writeFile(const std::string& path, const std::string& text)
{
    std::ofstream(path, std::ios::binary) << text;
}

/// A file that is not as it was.
struct Damage {
    std::string what;
    std::string text;
};

/// How many files each of the tests compares, of which there are enough together.
constexpr std::size_t kTopLevel = 168, kConnections = 200, kTransports = 43, kDevices = 158, kSensors = 161, kBus = 38,
                      kBroken = 64, kHarmless = 7, kMany = 14, kHistories = 2;
static_assert(kTopLevel + kConnections + kTransports + kDevices + kSensors + kBus + kBroken + kHarmless + kMany +
                  kHistories ==
              855);

/// What may stand as a number, a truth or a name, and mostly shouldn't.
const std::vector<std::string> kTexts = {"", " ", "-1", "x", "99999999999999999999", "0x"};

/// What is there twice: an element without elements in it, once with nothing in the first of them, once in the second; a
/// container as it is, and behind it one of the same content, but for a name of its own or, where it has none, an empty one.
std::vector<Damage> doublesOf(const std::string& place, const std::string& name, const std::string& element,
                              const std::function<std::string(const std::string&)>& replaced)
{
    if (element.find("</") == element.rfind("</")) {
        const std::string empty = '<' + name + "></" + name + '>';
        return {{place + " doubled, the first empty", replaced(empty + element)},
                {place + " doubled, the second empty", replaced(element + empty)}};
    }
    std::string other = element;
    const auto end = other.find("</Name>");
    if (end != std::string::npos)
        other.insert(end, "2");
    else
        other = '<' + name + "></" + name + '>';
    return {{place + " doubled", replaced(element + element)}, {place + " beside another", replaced(element + other)}};
}

/// Every element without elements in it, one after the other, gone and with other texts; every container gone. The first
/// element of each name doubled.
std::vector<Damage> damagesOf(const std::string& file, const std::vector<std::string>& texts)
{
    std::vector<Damage> damages;
    std::set<std::string> names;
    for (std::size_t begin = file.find('<'); begin != std::string::npos; begin = file.find('<', begin + 1)) {
        const std::size_t end = file.find('>', begin);
        if (end == std::string::npos || file[begin + 1] == '/' || file[begin + 1] == '!' || file[begin + 1] == '?')
            continue;
        const std::string name = file.substr(begin + 1, end - begin - 1);
        const std::string close = "</" + name + ">";
        const std::size_t behind = file.find(close, end);
        if (name.find(' ') != std::string::npos || behind == std::string::npos) continue;
        const std::string content = file.substr(end + 1, behind - end - 1);
        const std::string place = name + " at byte " + std::to_string(begin);
        const auto replaced = [&](const std::string& element) {
            return file.substr(0, begin) + element + file.substr(behind + close.size());
        };
        damages.push_back({place + " gone", replaced("")});
        if (names.insert(name).second)
            std::ranges::move(doublesOf(place, name, file.substr(begin, behind + close.size() - begin), replaced),
                              std::back_inserter(damages));
        if (content.find('<') != std::string::npos) continue;
        for (const std::string& text : texts)
            damages.push_back({place + " \"" + text + '"', replaced('<' + name + '>' + text + close)});
    }
    return damages;
}

/// Damages of the file as text.
std::vector<Damage> brokenOf(const std::string& file)
{
    std::vector<Damage> damages;
    for (std::size_t tenth = 0; tenth < 10; ++tenth)
        damages.push_back({"cut after tenth " + std::to_string(tenth), file.substr(0, file.size() * tenth / 10)});
    damages.push_back({"text in front", "x" + file});
    damages.push_back({"text behind", file + "x"});
    damages.push_back({"zero in the middle", file.substr(0, file.size() / 2) + '\0' + file.substr(file.size() / 2)});
    damages.push_back({"70000 blanks behind", file + std::string(70000, ' ')});
    damages.push_back({"another document", "<Other/>"});
    damages.push_back({"an unknown entity", file + "<!-- &nothing; -->"});
    return damages;
}

struct CheckVerdictTest : testing::Test {
    void TearDown() override { RecordProperty("files", std::to_string(count)); }

    Desk desk;
    std::size_t count = 0;
    std::set<std::string> seen;  // each file with its name

    /// What the checker says: whether the service would start.
    bool isAccepted(std::string& said)
    {
        ChildProcess tool({ORVANE_CTL_BINARY, "check"});
        const auto ending = tool.wait();
        said = tool.output() + tool.errors();
        EXPECT_EQ(ending.signal, 0) << said;
        return ending.status == 0 || ending.status == 1;
    }

    /// What the service says.
    bool doesStart()
    {
        ChildProcess& service = desk.start();
        const bool runs = service.waitUntilHandled(SIGINT);
        service.send(SIGKILL);
        return runs;
    }

    /// The checker and the service, on the damages of one file.
    void compare(const std::string& name, const std::vector<Damage>& damages)
    {
        const std::string path = kFolder + name, sound = readFile(path);
        for (const Damage& damage : damages) {
            EXPECT_TRUE(seen.insert(name + damage.text).second && damage.text != sound)
                << name << ": " << damage.what << ": is there already";
            writeFile(path, damage.text);
            std::string said;
            const bool isAcceptedByTool = isAccepted(said);
            EXPECT_EQ(isAcceptedByTool, doesStart()) << name << ": " << damage.what << "\n"
                                                     << said << desk.service().output() << desk.service().errors();
            ++count;
        }
        writeFile(path, sound);
    }

    void compareAll(const std::string& name, const std::vector<std::string>& texts)
    {
        const std::string file = readFile(kFolder + name);
        auto damages = damagesOf(file, texts);
        ASSERT_GT(damages.size(), 20u);
        compare(name, damages);
    }
};

}  // namespace

TEST_F(CheckVerdictTest, SoundFilesAreAccepted)
{
    std::string said;
    EXPECT_TRUE(isAccepted(said)) << said;
    EXPECT_TRUE(doesStart());
}

TEST_F(CheckVerdictTest, TopLevelFile)
{
    compareAll("OrvaneServer.xml", kTexts);
    EXPECT_EQ(count, kTopLevel);
}

TEST_F(CheckVerdictTest, Connections)
{
    compareAll("Connections.xml", {"", "x", "-1"});
    EXPECT_EQ(count, kConnections);
}

TEST_F(CheckVerdictTest, Transports)
{
    const std::string name = "Connections.xml", file = readFile(kFolder + name);
    std::vector<Damage> damages;
    const auto change = [&](const std::vector<std::pair<std::string, std::string>>& changes) {
        Damage damage{"", file};
        for (const auto& [from, to] : changes) {
            damage.what += from + " -> " + to + " ";
            const auto at = damage.text.find(from);
            ASSERT_NE(at, std::string::npos) << from;
            damage.text.replace(at, from.size(), to);
        }
        damages.push_back(damage);
    };
    for (const char* transport : {"SHM", "TCP_Client", "TCP_Server", "udp", "TCP"})
        change({{">UDP<", std::string(">") + transport + "<"}});
    for (const char* transport : {"TCP_Client", "TCP_Server"})
        for (const char* address : {"here", "1.2.3", "1.2.3.4.5", "::1", "256.0.0.1"})
            change({{">UDP<", std::string(">") + transport + "<"}, {">127.0.0.1<", std::string(">") + address + "<"}});
    for (const char* transport : {"TCP_Client", "TCP_Server"})
        for (const char* port : {"0", "65536", "70000", "-1"})
            change({{">UDP<", std::string(">") + transport + "<"}, {">7100<", std::string(">") + port + "<"}});
    for (const char* domain : {"232", "233", "0xE8", "4294967296", "4294967528", "0351", "0350"})
        change({{"<DomainId>0", std::string("<DomainId>") + domain}});
    for (const char* depth : {"1", "0", "4294967297", "-4294967295", "100"})
        change({{"<HistoryDepth>10", std::string("<HistoryDepth>") + depth}});
    change({{"<PubSubType>UTCTimePubSubType", "<PubSubType>HalvexPNTPubSubType"}});
    change({{"<PubSubType>UTCTimePubSubType", "<PubSubType>HalvexPNTPubSubType"}, {"idl::UTCTime", "idl::HalvexPNT"}});
    change({{"idl::UTCTime", "idl::HalvexPNT"}});
    change({{"<PubSubType>EventLogPubSubType", "<PubSubType>MaintenanceEventPubSubType"}});
    change({{"<PubSubType>EventLogPubSubType", "<PubSubType>MaintenanceEventPubSubType"},
            {"idl::EventLog", "idl::MaintenanceEvent"}});
    change({{"<Name>FastRtps<", "<Name>FastRpts<"}});
    change({{"<Name>FastRtps</Name>", "<Nmae>FastRtps</Nmae>"}});
    change({{"<Parameters>", "<Paramters>"}, {"</Parameters>", "</Paramters>"}});
    compare(name, damages);
    EXPECT_EQ(count, kTransports);
}

TEST_F(CheckVerdictTest, ValuesThatOnlyLookHarmless)
{
    const std::string name = "OrvaneServer.xml", file = readFile(kFolder + name);
    std::vector<Damage> damages;
    const std::pair<std::string, std::string> kChanges[] = {
        {"<PARAM_8>12,7200<", "<PARAM_8>0,0<"},   {"<PARAM_8>12,7200<", "<PARAM_8>12<"},
        {"<PARAM_8>12,7200<", "<PARAM_8>12,<"},   {"<PARAM_8>12,7200<", "<PARAM_8>,<"},
        {"<PARAM_8>12,7200<", "<PARAM_8>0,0,0<"}, {"<PARAM_9>25<", "<PARAM_9>0<"},
        {"<PARAM_5>39,96<", "<PARAM_5>0<"}};
    for (const auto& [from, to] : kChanges) {
        Damage damage{to, file};
        const auto at = damage.text.find(from);
        ASSERT_NE(at, std::string::npos) << from;
        damage.text.replace(at, from.size(), to);
        damages.push_back(damage);
    }
    compare(name, damages);
    EXPECT_EQ(count, kHarmless);
}

TEST_F(CheckVerdictTest, WhatIsTooManyOrTwiceInOneFile)
{
    const auto changed = [this](const std::string& name, const std::string& from, const std::string& to) {
        std::string text = readFile(kFolder + name);
        const auto at = text.find(from);
        ASSERT_NE(at, std::string::npos) << from;
        text.replace(at, from.size(), to);
        compare(name, {{from + " -> " + to.substr(0, 40), text}});
    };
    std::string sensors, attributes;
    for (int i = 0; i < 51; ++i) {
        const std::string id = std::to_string(i);
        sensors += "<Sensor><Name>S" + id + "</Name><Parameters><SensorId>S-" + id +
                   "</SensorId><Enabled>true</Enabled><SensorType>VAPNTC_SENSOR_TYPE_GPS</SensorType>"
                   "<HasOtherSensorType>false</HasOtherSensorType><ComponentConfigurationId>0x27"
                   "</ComponentConfigurationId><HasComponentConfigurationId>true</HasComponentConfigurationId>"
                   "</Parameters></Sensor>";
    }
    for (int i = 0; i < 1001; ++i) attributes += " a" + std::to_string(i) + "=\"\"";
    changed("HX_Sensor_Data.xml", "<Sensor>", sensors + "<Sensor>");
    changed("HX_Sensor_Data.xml", "<SensorId>ALTNAV-1<", "<SensorId>GPS-1<");
    for (const char* file : {"OrvaneServer.xml", "Connections.xml", "IODevices.xml", "HX_Sensor_Data.xml"}) {
        changed(file, "<Parameters>", "<Parameters" + attributes + ">");
        changed(file, "<Parameters>", "<Parameters a=\"\" a=\"\">");
    }
    changed("IODevices.xml", "<Port>6<", "<Port>5<");
    changed("IODevices.xml", ">0x43C10000<", ">0x43C00800<");
    changed("IODevices.xml", ">0x43C10000<", ">0x43C20000<");
    changed("IODevices.xml", ">0x43C10000<", ">0xFFFFFFF0<");
    EXPECT_EQ(count, kMany);
}

TEST_F(CheckVerdictTest, HistoriesThatNoMemoryHolds)
{
#ifdef ORVANE_SANITIZED
    GTEST_SKIP() << "a sanitizer takes more addresses than the limit leaves";
#endif
    const std::string name = "Connections.xml", file = readFile(kFolder + name);
    // Else a machine with much memory would give all of it away before it has none.
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_AS, &before), 0);
    rlimit limit = before;
    limit.rlim_cur = rlim_t{2} << 30;
    ASSERT_EQ(::setrlimit(RLIMIT_AS, &limit), 0);
    std::vector<Damage> damages;
    for (const char* depth : {"1000000000", "2147483647"}) {
        std::string text = file;
        text.replace(text.find("<HistoryDepth>10<"), 17, "<HistoryDepth>" + std::string(depth) + "<");
        damages.push_back({depth, text});
    }
    compare(name, damages);
    ASSERT_EQ(::setrlimit(RLIMIT_AS, &before), 0);
    EXPECT_EQ(count, kHistories);
}

TEST_F(CheckVerdictTest, Devices)
{
    const std::string name = "IODevices.xml";
    std::vector<Damage> damages = damagesOf(readFile(kFolder + name), {"", "x", "0x10"});
    // The clock rate is asked for where the block is said to be: what stands elsewhere is the hardware's affair.
    const std::size_t clock = readFile(kFolder + name).find("0x43C20000");
    std::erase_if(damages, [&](const Damage& damage) {
        return damage.what.starts_with("BaseAddress at byte " +
                                       std::to_string(clock - std::string("<BaseAddress>").size()) + " \"") &&
               !damage.what.ends_with("\"\"");
    });
    compare(name, damages);
    EXPECT_EQ(count, kDevices);
}

TEST_F(CheckVerdictTest, Sensors)
{
    compareAll("HX_Sensor_Data.xml", {"", "x"});
    EXPECT_EQ(count, kSensors);
}

TEST_F(CheckVerdictTest, BusFiles)
{
    compare("APNTServiceConfig_1_9.xml", brokenOf(readFile(kFolder + "APNTServiceConfig_1_9.xml")));
    const std::string name = "APNT_VCL_1_9.xml", vcl = readFile(kFolder + name);
    auto damages = brokenOf(vcl);
    for (const char* period : {"", "0", "-1", "x", "1.5", "99999999999"}) {
        std::string text = vcl;
        text.replace(text.find("\"1000\""), 6, std::string("\"") + period + '"');
        damages.push_back({std::string("period ") + period, text});
    }
    compare(name, damages);
    EXPECT_EQ(count, kBus);
}

TEST_F(CheckVerdictTest, BrokenFiles)
{
    for (const char* name : {"OrvaneServer.xml", "Connections.xml", "IODevices.xml", "HX_Sensor_Data.xml"})
        compare(name, brokenOf(readFile(kFolder + name)));
    EXPECT_EQ(count, kBroken);
}

TEST_F(CheckVerdictTest, MissingFiles)
{
    for (const char* name : {"OrvaneServer.xml", "Connections.xml", "IODevices.xml", "HX_Sensor_Data.xml",
                             "APNTServiceConfig_1_9.xml", "APNT_VCL_1_9.xml"}) {
        const std::string path = kFolder + name, sound = readFile(path);
        ASSERT_EQ(::remove(path.c_str()), 0);
        std::string said;
        EXPECT_FALSE(isAccepted(said)) << name << said;
        EXPECT_FALSE(doesStart()) << name;
        writeFile(path, sound);
    }
}
