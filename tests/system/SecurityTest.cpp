#include "tests/support/Desk.h"
#include "tests/support/Inputs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;
using Ending = ChildProcess::Ending;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

constexpr const char* kNoCapability = "0000000000000000";

/// What a running service holds: memory, descriptors and capabilities.
struct SecuritySystemTest : testing::Test {
    /// Descriptors that a program which this one starts finds open.
    static std::set<int> handedOn()
    {
        std::set<int> numbers;
        for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
            const int number = std::stoi(entry.path().filename());
            if (fcntl(number, F_GETFD) == 0) numbers.insert(number);
        }
        return numbers;
    }

    /// A file of /proc about the service.
    std::ifstream about(const std::string& name) const
    {
        return std::ifstream("/proc/" + std::to_string(desk.service().id()) + "/" + name);
    }

    /// The files that the service has opened and keeps, each with its flags; neither sockets nor what it was given.
    std::multimap<std::string, unsigned> files() const
    {
        std::multimap<std::string, unsigned> found;
        for (const auto& entry : fs::directory_iterator("/proc/" + std::to_string(desk.service().id()) + "/fd")) {
            const std::string number = entry.path().filename();
            const std::string target = fs::read_symlink(entry.path());
            if (given.contains(std::stoi(number)) || !target.starts_with("/")) continue;
            std::ifstream info = about("fdinfo/" + number);
            std::string word;
            while (info >> word && word != "flags:") continue;
            info >> word;
            found.emplace(target, static_cast<unsigned>(std::stoul(word, nullptr, 8)));
        }
        return found;
    }

    /// The second word of each line about the service's UDP sockets: address and port.
    std::vector<std::string> udpAddresses() const
    {
        std::ifstream table = about("net/udp");
        std::vector<std::string> addresses;
        std::string line;
        std::getline(table, line);  // the head
        while (std::getline(table, line)) {
            std::istringstream words(line);
            std::string number, local;
            words >> number >> local;
            addresses.push_back(local.substr(0, local.find(':')));
        }
        return addresses;
    }

    static std::string capabilitiesOf(const std::string& process)
    {
        std::ifstream status("/proc/" + process + "/status");
        std::string word;
        while (status >> word && word != "CapEff:") continue;
        status >> word;
        return word;
    }

    mutable Desk desk;
    const std::set<int> given = handedOn();  // before the service is started
};

}  // namespace

TEST_F(SecuritySystemTest, NoMemoryIsWritableAndExecutable)
{
    desk.run();
    std::vector<std::string> executable;
    std::ifstream maps = about("maps");
    for (std::string line; std::getline(maps, line);) {
        const std::string rights = line.substr(line.find(' ') + 1, 4);
        if (rights[2] != 'x') continue;
        executable.push_back(rights);
        EXPECT_EQ(rights[1], '-') << line;
    }
    EXPECT_THAT(executable, Not(IsEmpty()));
}

TEST_F(SecuritySystemTest, OnlyTheDevicesStayOpen)
{
    desk.run();
    std::vector<std::string> names;
    for (const auto& [name, flags] : files()) names.push_back(name);
    // A queue has a descriptor for each direction.
    EXPECT_THAT(names, ElementsAre("/dev/mcs5", "/dev/mcs5", "/dev/mcs6", "/dev/mcs6", "/dev/mem"));
}

TEST_F(SecuritySystemTest, NoProgramThatIsStartedGetsADevice)
{
    desk.run();
    for (const auto& [name, flags] : files()) EXPECT_EQ(flags & O_CLOEXEC, unsigned{O_CLOEXEC}) << name;
}

TEST_F(SecuritySystemTest, UdpIsBoundToTheLoopbackAddressAndTheGroupOfDiscovery)
{
    desk.run();
    const std::vector<std::string> addresses = udpAddresses();
    EXPECT_THAT(addresses, Not(IsEmpty()));
    EXPECT_THAT(addresses, Each(testing::AnyOf("0100007F", "0100FFEF")));
}

TEST_F(SecuritySystemTest, ServiceNeedsNoCapability)
{
    std::vector<std::string> line;
    if (capabilitiesOf("self") != kNoCapability) line = {"/usr/bin/setpriv", "--inh-caps=-all", "--bounding-set=-all"};
    const std::vector<std::string> plain = Desk::commandLine();
    line.insert(line.end(), plain.begin(), plain.end());
    const Inputs inputs(desk);
    ChildProcess service(line);
    ASSERT_TRUE(service.waitUntilHandled(SIGINT)) << service.output() << service.errors();
    EXPECT_EQ(capabilitiesOf(std::to_string(service.id())), kNoCapability);

    Bus bus;
    ASSERT_TRUE(inputs.waitForService());
    inputs.sendAll();
    bus.awaitTell("blended-navigation", [](const Bus::Json& tell) { return !tell.at("timeOfValidity").is_null(); });
    service.send(SIGTERM);
    EXPECT_EQ(service.wait(), Ending({0, 0}));
}
