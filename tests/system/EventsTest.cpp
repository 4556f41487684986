#include "tests/support/Desk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <sstream>
#include <string>
#include <vector>

using Ending = ChildProcess::Ending;
using ::testing::ElementsAre;
using ::testing::MatchesRegex;
using ::testing::StartsWith;

namespace {

/// The service, and a listener to its events from the first one on.
struct EventsTest : testing::Test {
    bool awaitLines(std::size_t count) const
    {
        return eventually([&] {
            const std::string output = echo.output();
            return static_cast<std::size_t>(std::ranges::count(output, '\n')) >= count;
        });
    }

    std::vector<std::string> lines() const
    {
        std::istringstream output(echo.output());
        std::vector<std::string> all;
        for (std::string line; std::getline(output, line);) all.push_back(line);
        return all;
    }

    Desk desk;
    ChildProcess echo{{ORVANE_CTL_BINARY, "echo", "EventLog", "MaintenanceEvent", "--backfill"}};
};

}  // namespace

TEST_F(EventsTest, TheFirstEventsAreShownInOrderWithTheRegistersTime)
{
    desk.setRegister(Desk::kSystemCount, 2 * 58982400);
    desk.run();
    ASSERT_TRUE(awaitLines(3)) << echo.output() << echo.errors();
    echo.send(SIGINT);
    EXPECT_EQ(echo.wait(), Ending({0, 0}));
    const std::string front = "EventLog  1.999999992  OrvaneServer (52)  #";
    EXPECT_THAT(lines(),
                ElementsAre(MatchesRegex("EventLog  1.999999992  OrvaneServer .52.  #0  INFORMATION  "
                                         "//aspn://Sarvent/OrvaneServer:[-0-9]+T[:0-9]+Z/"),
                            StartsWith(front + "1  INFORMATION  OrvaneServer KPN: 345-1290-118B  "),
                            front + "2  INFORMATION  OrvaneServer started successfully.",
                            MatchesRegex("orvanectl: 3 records in .* s, 0 gaps with 0 missing, 0 back, 0 lost")));
    EXPECT_EQ(echo.errors(), "");
}
