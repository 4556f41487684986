#include "lab/ctl/top/TopLayout.h"
#include "tests/lab/ctl/Manual.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

using namespace orvanectl;

namespace {

TopicRow topic(const std::string& name, std::optional<double> rate, std::optional<double> age, std::uint64_t gaps,
               const std::string& sources)
{
    TopicRow row;
    row.name = name;
    row.rateHz = rate;
    if (rate) row.jitterSeconds = 0.0021;
    row.ageSeconds = age;
    row.records = age ? 12 : 0;
    row.gaps = gaps;
    row.missing = 3 * gaps;
    row.publishers = 1;
    row.sources = sources;
    return row;
}

TopView sample()
{
    TopView view;
    view.seconds = 83.4;
    view.process = ProcessRow{4711, 3.21, 43'008, 27, 0};
    view.clearData = "SYSTEM_ZEROIZE_PASS 3 s ago";
    view.builtInTest = "0 passed 5 s ago";
    view.topics = {topic("BitReport", {}, {}, 0, "-"), topic("Command", {}, 7.25, 0, "OrvaneServer (52)"),
                   topic("UTCTime", 1.001, 0.24, 1, "MasterClock (37)"),
                   topic("MeasurementIncorporationStatus", 0.998, 0.2, 0, "HalvexNavigator (96)"),
                   topic("EventLog", 10.1, 0.0, 0, "OrvaneServer (52), SystemController (53)")};
    view.inputs = {{"UTCTime", 0.24, 0.0},   {"PosVelAtt", 0.2, -0.5}, {"HalvexPNT", 0.2, -1.2},
                   {"MeasStatus", 0.2, 0.1}, {"Assurance", {}, {}},    {"8504/queue", 0.3, {}}};
    view.bus = "service 1 started";
    view.groups = {{"blended-navigation", {}, 80, "16:34:57"},
                   {"warning-messages", 3, 81, "16:34:58"},
                   {"navwar-sa", 0, 0, ""},
                   {"execute-built-in-tests", {}, 1, "16:30:02"}};
    view.join = "join rate 0.93 (56 of 60): 3 x HalvexPNT 1.2 s late, 1 x no 8504";
    view.queues = {{"ZEN_HX", "/dev/mcs5", true, 80, 80, 0, 0.3, "OrvaneServer r, unit-sim rw", 0},
                   {"HX_ZEN", "/dev/mcs6", false, 0, 0, {}, {}, "", 0}};
    view.events = {"60.083 OrvaneServer (52) INFORMATION one", "60.184 OrvaneServer (52) INFORMATION two"};
    return view;
}

/// The screen after these keys.
Canvas shown(const TopView& view, const std::vector<Key>& keys, int width, int height,
             const std::vector<std::string>& fields = {})
{
    TopUi ui(view.topics.size());
    for (const Key key : keys) EXPECT_TRUE(ui.take(key, view.topics));
    return layOut(view, ui, fields, width, height);
}

std::vector<std::string> namesIn(const TopUi& ui, const std::vector<TopicRow>& rows)
{
    std::vector<std::string> names;
    for (const std::size_t index : ui.order(rows)) names.push_back(rows[index].name);
    return names;
}

}  // namespace

TEST(TopLayoutTest, EightyByTwentyFourHasAll)
{
    EXPECT_EQ(shown(sample(), {}, 80, 24).plain(),
              R"(orvanectl top 1:23  OrvaneServer 4711  CPU 3.2 %  42.0 MiB  27 threads    h help
clear data: SYSTEM_ZEROIZE_PASS 3 s ago  |  built-in test: 0 passed 5 s ago
TOPIC                          RATE Hz JITTER s  AGE s  GAPS FROM
BitReport                            -        -      -     0 -
Command                              -        -    7.2     0 OrvaneServer (52)
UTCTime                          1.001    0.002    0.2     1 MasterClock (37)
MeasurementIncorporationStatus   0.998    0.002    0.2     0 HalvexNavigator (9~
EventLog                        10.100    0.002    0.0     0 OrvaneServer (52),~
INPUT      AGE s OFFSET s -1    0    +1 BUS service 1 started     COUNT LAST UTC
UTCTime      0.2   +0.000 ......|...... blended-navigation           80 16:34:57
PosVelAtt    0.2   -0.500 ...#==|...... warning-messages [3]         81 16:34:58
HalvexPNT    0.2   -1.200 <=====|...... navwar-sa [0]                 0        -
MeasStatus   0.2   +0.100 ......|#..... execute-built-in-tests        1 16:30:02
Assurance      -        -
8504/queue   0.3        -
join rate 0.93 (56 of 60): 3 x HalvexPNT 1.2 s late, 1 x no 8504
ZEN_HX /dev/mcs5  written 80  taken 80  waiting 0 B  faults 0  OrvaneServer r, ~
HX_ZEN /dev/mcs6  can't be watched
60.083 OrvaneServer (52) INFORMATION one
60.184 OrvaneServer (52) INFORMATION two




)");
}

TEST(TopLayoutTest, AWideWindowHasMoreColumnsAndLongerBars)
{
    EXPECT_EQ(
        shown(sample(), {}, 120, 20).plain(),
        R"(orvanectl top 1:23  OrvaneServer 4711  CPU 3.2 %  42.0 MiB  27 threads                                            h help
clear data: SYSTEM_ZEROIZE_PASS 3 s ago  |  built-in test: 0 passed 5 s ago
TOPIC                          RATE Hz JITTER s  AGE s  GAPS  MISSING  BACK  LOST  RECORDS  PUBS FROM
BitReport                            -        -      -     0        0     0     0        0     1 -
Command                              -        -    7.2     0        0     0     0       12     1 OrvaneServer (52)
UTCTime                          1.001    0.002    0.2     1        3     0     0       12     1 MasterClock (37)
MeasurementIncorporationStatus   0.998    0.002    0.2     0        0     0     0       12     1 HalvexNavigator (96)
EventLog                        10.100    0.002    0.0     0        0     0     0       12     1 OrvaneServer (52), Sys~
INPUT      AGE s OFFSET s -1              0              +1 BUS service 1 started                         COUNT LAST UTC
UTCTime      0.2   +0.000 ................|................ blended-navigation                               80 16:34:57
PosVelAtt    0.2   -0.500 ........#=======|................ warning-messages [3]                             81 16:34:58
HalvexPNT    0.2   -1.200 <===============|................ navwar-sa [0]                                     0        -
MeasStatus   0.2   +0.100 ................|=#.............. execute-built-in-tests                            1 16:30:02
Assurance      -        -
8504/queue   0.3        -
join rate 0.93 (56 of 60): 3 x HalvexPNT 1.2 s late, 1 x no 8504
ZEN_HX /dev/mcs5  written 80  taken 80  waiting 0 B  faults 0  OrvaneServer r, unit-sim rw
HX_ZEN /dev/mcs6  can't be watched
60.083 OrvaneServer (52) INFORMATION one
60.184 OrvaneServer (52) INFORMATION two
)");
}

TEST(TopLayoutTest, WhereTopicsHaveNoRoomTheMarkedOneIsShown)
{
    EXPECT_EQ(shown(sample(), {Key::Down, Key::Down, Key::Down}, 62, 17).plain(),
              R"(orvanectl top 1:23  OrvaneServer 4711  CPU 3.2 %  42.0  h help
clear data: SYSTEM_ZEROIZE_PAS~  |  built-in test: 0 passed 5~
TOPIC                       RATE Hz JITTER s  AGE~    2-4 of 5
Command                           -        -    7.2     0 Orv~
UTCTime                       1.001    0.002    0.2     1 Mas~
MeasurementIncorporationSt~   0.998    0.002    0.2     0 Hal~
INPUT      AGE s OFFSET s -1    0    +1 BUS se~ COUNT LAST UTC
UTCTime      0.2   +0.000 ......|...... blende~    80 16:34:57
PosVelAtt    0.2   -0.500 ...#==|...... warnin~    81 16:34:58
HalvexPNT    0.2   -1.200 <=====|...... navwar~     0        -
MeasStatus   0.2   +0.100 ......|#..... execut~     1 16:30:02
Assurance      -        -
8504/queue   0.3        -
join rate 0.93 (56 of 60): 3 x HalvexPNT 1.2 s late, 1 x no 8~
ZEN_HX /dev/mcs5  written 80  taken 80  waiting 0 B  faults 0~
HX_ZEN /dev/mcs6  can't be watched
60.184 OrvaneServer (52) INFORMATION two
)");
}

TEST(TopLayoutTest, GroupsWithoutRoomAreScrolled)
{
    TopView view = sample();
    for (const char* const name : {"five", "six", "seven"}) view.groups.push_back({name, {}, 1, "16:30:03"});
    const auto line = [&](int height, int number, const std::vector<Key>& keys = {}) {
        std::string screen = shown(view, keys, 80, height).plain();
        for (int i = 0; i < number; ++i) screen.erase(0, screen.find('\n') + 1);
        return screen.substr(0, screen.find('\n'));
    };
    EXPECT_EQ(line(19, 13), "Assurance      -        -               five                          1 16:30:03");
    EXPECT_EQ(line(19, 14), "8504/queue   0.3        -               1-5 of 7, PgUp PgDn");
    const std::vector<Key> down = {Key::PageDown, Key::PageDown};
    EXPECT_EQ(line(19, 13, down), "Assurance      -        -               seven                         1 16:30:03");
    EXPECT_EQ(line(19, 14, down), "8504/queue   0.3        -               3-7 of 7, PgUp PgDn");
    EXPECT_EQ(groupLinesOf(view, 19), 5);
    EXPECT_EQ(groupLinesOf(view, 20), 7);
    EXPECT_EQ(line(20, 15), "                                        seven                         1 16:30:03");
}

TEST(TopLayoutTest, AWindowThatIsTooSmallSaysWhatItTakes)
{
    EXPECT_EQ(shown(sample(), {}, 59, 24).plain().substr(0, 32), "orvanectl top: at least\n60 x 17\n");
    EXPECT_EQ(shown(sample(), {}, 80, 16).plain().substr(0, 32), "orvanectl top: at least\n60 x 17\n");
    EXPECT_EQ(shown(sample(), {}, 1, 1).plain(), "o\n");
}

TEST(TopLayoutTest, EverySizeIsDrawn)
{
    const TopView view = sample();
    for (const Key page : {Key::None, Key::Fields, Key::Help})
        for (int width = -1; width < 130; width += 3)
            for (int height = -1; height < 40; ++height)
                EXPECT_EQ(shown(view, {page}, width, height, {"a", "b"}).width(), std::max(width, 1));
    EXPECT_EQ(shown(TopView(), {}, 80, 24).height(), 24);
    EXPECT_EQ(shown(TopView(), {Key::Fields, Key::Down}, 80, 24).height(), 24);
}

TEST(TopLayoutTest, WhatIsWrongHasAStyle)
{
    const Canvas canvas = shown(sample(), {}, 80, 24);
    EXPECT_EQ(canvas.styles(0)[0], Style::Title);
    EXPECT_EQ(canvas.styles(3)[0], Style::Selected);
    EXPECT_EQ(canvas.styles(4)[0], Style::Plain);
    EXPECT_EQ(canvas.styles(5)[0], Style::Doubtful);   // UTCTime, with gaps
    EXPECT_EQ(canvas.styles(10)[35], Style::Good);     // PosVelAtt, half a second
    EXPECT_EQ(canvas.styles(11)[35], Style::Bad);      // HalvexPNT, more than one
    EXPECT_EQ(canvas.styles(17)[0], Style::Doubtful);  // HX_ZEN, not there
}

TEST(TopLayoutTest, StatesThatAreTooLongShareTheLine)
{
    TopView view = sample();
    view.clearData = std::string(80, 'c');
    EXPECT_EQ(shown(view, {}, 80, 24).text(1),
              "clear data: ccccccccccccccccccccccccccccccc~  |  built-in test: 0 passed 5 s ago");
    view.builtInTest = std::string(80, 'b');
    EXPECT_EQ(shown(view, {}, 80, 24).text(1),
              "clear data: ccccccccccccccccccccccccccc~  |  built-in test: bbbbbbbbbbbbbbbbbbb~");
}

TEST(TopLayoutTest, APauseIsTold)
{
    EXPECT_TRUE(shown(sample(), {Key::Pause}, 80, 24).text(0).ends_with("  PAUSED"));
    EXPECT_TRUE(shown(sample(), {Key::Pause, Key::Pause}, 80, 24).text(0).ends_with("  h help"));
}

TEST(TopLayoutTest, FieldsOfTheMarkedTopicFillThePage)
{
    const std::vector<std::string> fields = {"one", "two", "three", "four"};
    EXPECT_EQ(shown(sample(), {Key::Down, Key::Fields, Key::Down}, 80, 5, fields).plain(),
              R"(orvanectl top 1:23  OrvaneServer 4711  CPU 3.2 %  42.0 MiB  27 threads    h help
Command   (Esc leaves, up and down scroll)
two
three
four
)");
    EXPECT_EQ(
        shown(sample(), {Key::Fields}, 80, 4).plain().substr(shown(sample(), {Key::Fields}, 80, 4).plain().find("no")),
        "no record came yet\n\n");
}

TEST(TopLayoutTest, HelpListsTheKeysAndAnyKeyLeavesIt)
{
    EXPECT_NE(shown(sample(), {Key::Help}, 80, 24).plain().find("\nq        quit\n"), std::string::npos);
    EXPECT_EQ(shown(sample(), {Key::Help}, 80, 24).plain().find('~'), std::string::npos);  // nothing is cut
    for (const Key key : {Key::None, Key::Pause, Key::Help, Key::Back})
        EXPECT_EQ(shown(sample(), {Key::Help, key}, 80, 24).plain(), shown(sample(), {}, 80, 24).plain());
}

TEST(TopLayoutTest, ThePageHasTheHelpAsItIs)
{
    const std::string help = shown(sample(), {Key::Help}, 80, 24).plain();
    const std::size_t keys = help.find("\nq        quit\n"), end = help.find_last_not_of('\n') + 1;
    ASSERT_LT(keys, end);
    EXPECT_NE(manual("orvanectl-top").find(help.substr(keys, end - keys) + "\n```\n"), std::string::npos)
        << help.substr(keys, end - keys);
}

TEST(TopLayoutTest, TheSmallestWindowHasAllOfTheHelp)
{
    const std::string help = shown(sample(), {Key::Help}, 80, 17).plain();
    EXPECT_NE(help.find("\n[ ]      scroll the names of the bus"), std::string::npos) << help;
    EXPECT_NE(help.find("\nfaults   events of the service"), std::string::npos) << help;
}

TEST(TopLayoutTest, RefusalsAreToldWhereTheyAreHeard)
{
    TopView view = sample();
    view.queues[0].refused = 3;
    EXPECT_TRUE(shown(view, {}, 80, 24)
                    .text(16)
                    .starts_with("ZEN_HX /dev/mcs5  written 80  taken 80  waiting 0 B  refused 3  faults 0  "));
}

TEST(TopLayoutTest, ABarShowsHowFarAnOffsetIs)
{
    const std::pair<double, const char*> rows[] = {{0.0, ".....|....."},   {0.05, ".....|....."}, {0.2, ".....|#...."},
                                                   {0.6, ".....|==#.."},   {-0.4, "...#=|....."}, {0.99, ".....|====#"},
                                                   {1.0, ".....|====>"},   {-1.0, "<====|....."}, {7.0, ".....|====>"},
                                                   {-1e300, "<====|....."}};
    for (const auto& [seconds, bar] : rows) EXPECT_EQ(offsetBar(seconds, 11), bar) << seconds;
    EXPECT_EQ(offsetBar(std::numeric_limits<double>::quiet_NaN(), 5), "..|..");
    EXPECT_EQ(offsetBar(std::numeric_limits<double>::infinity(), 5), "..|=>");
}

TEST(TopUiTest, SortGoesRoundAndReverseTurnsItOver)
{
    const std::vector<TopicRow> rows = sample().topics;
    TopUi ui(rows.size());
    using Names = std::vector<std::string>;
    const Names byFile = {"BitReport", "Command", "UTCTime", "MeasurementIncorporationStatus", "EventLog"};
    EXPECT_EQ(namesIn(ui, rows), byFile);
    ui.take(Key::Sort, rows);
    EXPECT_EQ(namesIn(ui, rows),
              Names({"BitReport", "Command", "EventLog", "MeasurementIncorporationStatus", "UTCTime"}));
    ui.take(Key::Sort, rows);
    EXPECT_EQ(namesIn(ui, rows),
              Names({"EventLog", "UTCTime", "MeasurementIncorporationStatus", "BitReport", "Command"}));
    ui.take(Key::Sort, rows);
    EXPECT_EQ(namesIn(ui, rows),
              Names({"BitReport", "Command", "UTCTime", "MeasurementIncorporationStatus", "EventLog"}));
    ui.take(Key::Sort, rows);
    EXPECT_EQ(namesIn(ui, rows)[0], "UTCTime");
    ui.take(Key::Sort, rows);
    EXPECT_EQ(namesIn(ui, rows), byFile);
    ui.take(Key::Reverse, rows);
    EXPECT_EQ(namesIn(ui, rows), Names(byFile.rbegin(), byFile.rend()));
}

TEST(TopUiTest, TheMarkStaysAtItsTopicAndWithinTheList)
{
    const std::vector<TopicRow> rows = sample().topics;
    TopUi ui(rows.size());
    ui.take(Key::Up, rows);
    EXPECT_EQ(ui.marked(), 0U);
    for (int i = 0; i < 9; ++i) ui.take(Key::Down, rows);
    EXPECT_EQ(ui.marked(), 4U);
    ui.take(Key::Sort, rows);
    EXPECT_EQ(ui.marked(), 4U);
    ui.take(Key::Down, rows);  // by name EventLog is in front of MeasurementIncorporationStatus
    EXPECT_EQ(ui.marked(), 3U);
}

TEST(TopUiTest, FieldsScrollWithinTheirLines)
{
    const std::vector<TopicRow> rows = sample().topics;
    TopUi ui(rows.size());
    ui.take(Key::Fields, rows);
    ui.take(Key::Up, rows);
    EXPECT_EQ(ui.firstLine(), 0U);
    for (int i = 0; i < 5; ++i) ui.take(Key::Down, rows);
    ui.limitFirstLine(2);
    EXPECT_EQ(ui.firstLine(), 2U);
    EXPECT_EQ(ui.marked(), 0U);
    ui.take(Key::Back, rows);
    EXPECT_EQ(ui.page(), TopUi::Page::Overview);
}

TEST(TopUiTest, NamesOfTheBusScrollWithinTheirList)
{
    TopUi ui(5);
    ui.take(Key::PageUp, sample().topics);
    EXPECT_EQ(ui.firstGroup(), 0U);
    for (int i = 0; i < 5; ++i) ui.take(Key::PageDown, sample().topics);
    ui.limitFirstGroup(6);
    EXPECT_EQ(ui.firstGroup(), 6U);
    ui.take(Key::PageUp, sample().topics);
    EXPECT_EQ(ui.firstGroup(), 2U);
    EXPECT_EQ(ui.firstLine(), 0U);
}

TEST(TopUiTest, QuitLeavesFromAnyPage)
{
    for (const Key page : {Key::None, Key::Fields, Key::Help}) {
        TopUi ui(5);
        ui.take(page, sample().topics);
        EXPECT_FALSE(ui.take(Key::Quit, sample().topics));
    }
}

TEST(CanvasTest, WhatIsBeyondTheEdgesIsLeftOut)
{
    Canvas canvas(5, 2);
    canvas.put(0, 3, "abc");
    canvas.put(1, -1, "xyz");
    canvas.put(2, 0, "no");
    canvas.put(-1, 0, "no");
    canvas.put(1, 4, "\x1B");
    EXPECT_EQ(canvas.plain(), "   ab\nyz  ?\n");
}
