#include "nlohmann/json.hpp"
#include "tests/lab/ctl/Samples.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using namespace samples;
using Ending = ChildProcess::Ending;

namespace {

const std::string kTool = ORVANE_CTL_BINARY;

struct Finished {
    Ending ending;
    std::string output;
    std::string errors;
};

Finished run(const std::vector<std::string>& arguments)
{
    ChildProcess tool(arguments);
    const Ending ending = tool.wait();
    return {ending, tool.output(), tool.errors()};
}

/// The first of `arguments` is the script's $1; the tool is its $0.
Finished shell(const std::string& script, const std::string& argument = "")
{
    return run({"/bin/sh", "-c", script, kTool, argument});
}

struct OrvaneCtlTest : testing::Test {
    TemporaryDirectory directory;
};

}  // namespace

TEST_F(OrvaneCtlTest, HelpHasExamplesAndEndsWithZero)
{
    for (const std::vector<std::string>& arguments :
         {std::vector{kTool, "--help"s}, std::vector{kTool, "decode"s, "--help"s}}) {
        const Finished result = run(arguments);
        EXPECT_EQ(result.ending, Ending({0, 0}));
        EXPECT_NE(result.output.find("Examples:\n  orvanectl decode queue.bin"), std::string::npos) << result.output;
        EXPECT_EQ(result.errors, "");
    }
}

TEST_F(OrvaneCtlTest, VersionIsTheProjects)
{
    const Finished result = run({kTool, "--version"});
    EXPECT_EQ(result.ending, Ending({0, 0}));
    EXPECT_EQ(result.output, "orvanectl " ORVANE_VERSION "\n");
}

TEST_F(OrvaneCtlTest, WrongCommandLineEndsWithTwo)
{
    for (const char* arguments : {"", "--bogus", "bogus", "decode --bogus", "decode --format", "decode --format 1",
                                  "decode --format xml", "decode one two"}) {
        const Finished result = shell("\"$0\" " + std::string(arguments));
        EXPECT_EQ(result.ending, Ending({2, 0})) << arguments;
        EXPECT_TRUE(result.errors.starts_with("orvanectl: ")) << result.errors;
        EXPECT_EQ(result.output, "") << arguments;
    }
}

TEST_F(OrvaneCtlTest, FileThatCannotBeReadIsNamed)
{
    const std::string missing = (directory.path() / "missing.bin").string();
    Finished result = run({kTool, "decode", missing});
    EXPECT_EQ(result.ending, Ending({1, 0}));
    EXPECT_EQ(result.errors, "orvanectl: cannot read " + missing + ": No such file or directory\n");
    result = run({kTool, "decode", directory.path().string()});
    EXPECT_EQ(result.ending, Ending({1, 0}));
    EXPECT_EQ(result.errors, "orvanectl: cannot read " + directory.path().string() + ": Is a directory\n");
}

TEST_F(OrvaneCtlTest, RecordsAreDecodedInOrder)
{
    const Finished result = run({kTool, "decode", "--json", directory.write("queue.bin", kWarningRecord + kAckRecord)});
    EXPECT_EQ(result.ending, Ending({0, 0}));
    EXPECT_EQ(result.errors, "");
    const std::size_t lineEnd = result.output.find('\n');
    const auto first = nlohmann::json::parse(result.output.substr(0, lineEnd));
    const auto second = nlohmann::json::parse(result.output.substr(lineEnd + 1));
    EXPECT_EQ(first.at("record").at("device_id").at("server_name"), "ZentorM");
    EXPECT_EQ(first.at("message").at("warningText"), "HELLO, this warning has 32 chars");
    EXPECT_EQ(second.at("offset"), 110);
}

TEST_F(OrvaneCtlTest, FormatCanBeForced)
{
    const std::string noise = directory.write("noise.bin", "noise" + kAck);
    EXPECT_EQ(run({kTool, "decode", noise}).output, "");
    const Finished result = run({kTool, "decode", "--format", "frames", noise});
    EXPECT_EQ(result.ending, Ending({1, 0}));
    EXPECT_TRUE(result.output.starts_with("frame at 5: message 8504\n")) << result.output;
}

TEST_F(OrvaneCtlTest, BadChecksumEndsWithOneAndIsNotColouredInAFile)
{
    const std::string file = directory.write("frames.bin", with(kUnknown, 10, "\x02"s) + kAck);
    const Finished result = run({kTool, "decode", file});
    EXPECT_EQ(result.ending, Ending({1, 0}));
    EXPECT_NE(result.output.find("data_checksum bad\n"), std::string::npos) << result.output;
    EXPECT_NE(result.output.find("frame at 18: message 8504\n"), std::string::npos) << result.output;
    EXPECT_EQ(result.errors, "orvanectl: " + file + ": offset 0: bad data checksum: 0xD430 instead of 0xD42F\n");
}

TEST_F(OrvaneCtlTest, TruncatedRecordEndsWithOneBehindTheWholeOnes)
{
    const std::string file = directory.write("queue.bin", kAckRecord + kWarningRecord.substr(0, 100));
    const Finished result = run({kTool, "decode", file});
    EXPECT_EQ(result.ending, Ending({1, 0}));
    EXPECT_TRUE(result.output.starts_with("record at 0: message 8504\n")) << result.output;
    EXPECT_EQ(result.errors, "orvanectl: " + file + ": offset 66: record cut short: 100 of 110 bytes\n");
}

TEST_F(OrvaneCtlTest, GarbageEndsWithOne)
{
    const std::string file = directory.write("garbage.bin", "garbage");
    const Finished result = run({kTool, "decode", file});
    EXPECT_EQ(result.ending, Ending({1, 0}));
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "orvanectl: " + file +
                                 ": offset 0: neither a record (00 00 or 00 01) nor a frame (FF 81) begins here: "
                                 "bytes 67 61\n");
}

TEST_F(OrvaneCtlTest, StandardInputIsReadWithAndWithoutADash)
{
    const std::string file = directory.write("frames.bin", kAck);
    for (const char* script : {"\"$0\" decode < \"$1\"", "\"$0\" decode - < \"$1\"", "cat \"$1\" | \"$0\" decode -"}) {
        const Finished result = shell(script, file);
        EXPECT_EQ(result.ending, Ending({0, 0})) << script;
        EXPECT_TRUE(result.output.starts_with("frame at 0: message 8504\n")) << result.output;
    }
    EXPECT_EQ(shell("printf x | \"$0\" decode").errors,
              "orvanectl: standard input: offset 0: neither a record (00 00 or 00 01) nor a frame (FF 81) begins here: "
              "byte 78\n");
}

TEST_F(OrvaneCtlTest, FrameIsShownBeforeTheNextOneComes)
{
    const std::string pipe = (directory.path() / "pipe").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    ChildProcess tool({kTool, "decode", pipe});
    const int descriptor = open(pipe.c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_GE(descriptor, 0);
    ASSERT_EQ(write(descriptor, kWarning.data(), kWarning.size()), 54);
    EXPECT_TRUE(eventually([&] { return tool.output().ends_with("32 chars\n\n"); })) << tool.output();
    close(descriptor);
    EXPECT_EQ(tool.wait(), Ending({0, 0}));
}

TEST_F(OrvaneCtlTest, OutputThatCannotBeWrittenEndsWithOne)
{
    const Finished result = shell("\"$0\" decode \"$1\" > /dev/full", directory.write("frames.bin", kAck));
    EXPECT_EQ(result.ending, Ending({1, 0}));
    EXPECT_EQ(result.errors, "orvanectl: cannot write to standard output\n");
    EXPECT_EQ(shell("\"$0\" --help > /dev/full", "").ending, Ending({1, 0}));
    EXPECT_EQ(shell("\"$0\" decode --help > /dev/full", "").ending, Ending({1, 0}));
}

TEST_F(OrvaneCtlTest, ColourIsForTerminalsAndNotWithNoColor)
{
    const std::string file = directory.write("frames.bin", with(kUnknown, 10, "\x02"s));
    const std::string onTerminal = "SHELL=/bin/sh TERM=xterm script -q -e -c \"'$0' decode '$1'\" /dev/null; true";
    EXPECT_NE(shell("unset NO_COLOR; " + onTerminal, file).output.find("data_checksum \x1B[31mbad\x1B[0m"),
              std::string::npos);
    EXPECT_EQ(shell("export NO_COLOR=1; " + onTerminal, file).output.find('\x1B'), std::string::npos);
    EXPECT_EQ(run({kTool, "decode", file}).output.find('\x1B'), std::string::npos);
}

TEST_F(OrvaneCtlTest, AVerbOrAnOptionThatThereIsNotNamesTheNearest)
{
    const std::pair<const char*, const char*> rows[] = {
        {"ech", "orvanectl: no verb \"ech\"; did you mean \"echo\"? (orvanectl --help tells more)\n"},
        {"--socket /x bus",
         "orvanectl: no option \"--socket\"; there are: --help, --version (orvanectl --help tells more)\n"},
        {"bus --socket /x wath",
         "orvanectl: bus: no verb \"wath\"; did you mean \"watch\"? (orvanectl --help tells more)\n"},
        {"decode --jsn",
         "orvanectl: decode: no option \"--jsn\"; did you mean \"--json\"? (orvanectl --help tells more)\n"},
        {"decode --fromat=frames",
         "orvanectl: decode: no option \"--fromat\"; did you mean \"--format\"? (orvanectl --help tells more)\n"},
        {"xyzzy",
         "orvanectl: no verb \"xyzzy\"; there are: decode, bus, echo, hz, check, pub, seq, why, top, record, info, "
         "cut, csv, repair, play, serve, report, completion (orvanectl --help tells more)\n"},
        {"",
         "orvanectl: which verb? there are: decode, bus, echo, hz, check, pub, seq, why, top, record, info, cut, csv, "
         "repair, play, serve, report, completion (orvanectl --help tells more)\n"}};
    for (const auto& [arguments, said] : rows) {
        const Finished result = shell("\"$0\" " + std::string(arguments));
        EXPECT_EQ(result.ending, Ending({2, 0})) << arguments;
        EXPECT_EQ(result.errors, said);
    }
}

TEST_F(OrvaneCtlTest, AnOptionWithoutItsValueIsNoMissingVerb)
{
    const Finished result = shell("\"$0\" bus --socket");
    EXPECT_EQ(result.ending, Ending({2, 0}));
    EXPECT_NE(result.errors.find("--socket"), std::string::npos) << result.errors;
}

TEST_F(OrvaneCtlTest, BashCompletesVerbsOptionsTopicsTypesAndNamesOfTheBus)
{
    const auto completed = [](const std::string& words, int position) {
        const Finished result =
            run({"/bin/bash", "-c",
                 "source <(\"$0\" completion); COMP_WORDS=(" + words + "); COMP_CWORD=" + std::to_string(position) +
                     "; _orvanectl; echo \"${COMPREPLY[@]}\"",
                 kTool});
        EXPECT_EQ(result.errors, "");
        return result.output;
    };
    EXPECT_EQ(completed("orvanectl e", 1), "echo\n");
    EXPECT_EQ(completed("orvanectl bus wa", 2), "watch\n");
    EXPECT_EQ(completed("orvanectl bus --socket /tmp/bus watch --", 5), "--help --json --count\n");
    EXPECT_EQ(completed("orvanectl bus last nav", 3), "navwar-sa\n");
    EXPECT_EQ(completed("orvanectl bus watch fau", 3), "faults\n");
    EXPECT_EQ(completed("orvanectl decode frames", 2), "\n");
    EXPECT_EQ(completed("orvanectl echo UTC", 2), "UTCTime\n");
    EXPECT_EQ(completed("orvanectl pub 8", 2), "8504\n");
    EXPECT_EQ(completed("orvanectl echo 8", 2), "\n");
    EXPECT_EQ(completed("orvanectl bus watch hel", 3), "held hello\n");
    EXPECT_EQ(completed("orvanectl bus last hel", 3), "\n");
    EXPECT_EQ(completed("orvanectl bus hold-tell warn", 3), "warning-messages\n");
    EXPECT_EQ(completed("orvanectl bus clear-data cr", 3), "crypto\n");
    EXPECT_EQ(completed("orvanectl pub Frames --type AssuranceS", 4), "AssuranceState\n");
    EXPECT_EQ(completed("orvanectl pub UTCTime --from Mas", 4), "MasterClock\n");
    EXPECT_EQ(completed("orvanectl pub UTCTime --system ''", 4), "KOLT RENS SarventPlus\n");
    EXPECT_EQ(completed("orvanectl decode --format ''", 3), "auto records frames\n");
}

TEST_F(OrvaneCtlTest, BashCompletesValuesBehindAnEqualsSignAndTakesThemForNoVerbs)
{
    const std::pair<const char*, const char*> rows[] = {
        {"pub UTCTime --from = Mas", "MasterClock"},  // three words to a shell, unless it was told otherwise
        {"pub UTCTime --system =", "KOLT RENS SarventPlus"},
        {"pub UTCTime --from=Mas", "--from=MasterClock"},
        {"pub --type = UTCTime --system R", "RENS"},
        {"pub UTCTime --set gps_week = 8", ""},
        {"pub UTCTime --set gps_week =", ""},
        {"check --config = ''", ""},
        {"decode ''", ""},  // that is, files
        {"decode --format frames ''", ""},
        {"decode --j", "--json"},
        {"bus --socket watch wa", "watch"},
        {"bus --socket = watch wa", "watch"}};
    for (const auto& [words, offered] : rows) {
        const Finished result = run({"/bin/bash", "-c",
                                     "source <(\"$0\" completion); eval \"COMP_WORDS=(orvanectl $1)\"; "
                                     "COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _orvanectl; echo \"${COMPREPLY[@]}\"",
                                     kTool, words});
        EXPECT_EQ(result.output, offered + std::string("\n")) << words << result.errors;
    }
}

TEST_F(OrvaneCtlTest, BashCompletesNothingButFilesBehindAnOptionWithoutATable)
{
    const Finished result =
        run({"/bin/bash", "-c",
             "source <(\"$0\" completion); COMP_CWORD=3\n"
             "for words in 'echo --connections' 'why --for' 'bus --socket' 'cut --from' 'cut -o'; do\n"
             "    COMP_WORDS=(orvanectl $words ''); _orvanectl; echo \"${#COMPREPLY[@]}\"\n"
             "done; complete -p orvanectl",
             kTool});
    EXPECT_EQ(result.output, "0\n0\n0\n0\n0\ncomplete -o default -F _orvanectl orvanectl\n");
}

TEST_F(OrvaneCtlTest, ASignalEndsWhatStillLooksThroughARecording)
{
    // Of an attachment that takes minutes to read, and nothing behind it.
    constexpr std::uint64_t kLength = 1ULL << 36U;
    std::string front = "\x89MCAP0\r\n\x09"s;
    for (unsigned i = 0; i < 8; ++i) front += static_cast<char>(kLength >> (8 * i) & 0xFFU);
    const std::string file = directory.write("x.mcap", front);
    std::filesystem::resize_file(file, front.size() + kLength);
    for (const std::vector<std::string>& verb :
         {std::vector{kTool, "play"s, file}, std::vector{kTool, "echo"s, "EventLog"s, "--recording"s, file}}) {
        ChildProcess tool(verb);
        const std::string counts = "/proc/" + std::to_string(tool.id()) + "/io";
        EXPECT_TRUE(eventually([&] { return std::stoull(readFile(counts).substr(7)) > 16U << 20U; }));
        tool.send(SIGINT);
        EXPECT_EQ(tool.wait().signal, SIGINT) << tool.errors();
    }
}

TEST_F(OrvaneCtlTest, CheckEndsByItsVerdict)
{
    const std::string folder = (directory.path() / "config").string(), file = folder + "/OrvaneServer.xml";
    ASSERT_EQ(shell("cp -r \"" ORVANE_LAB_DIR "/config\" \"$1\"", folder).ending, Ending({0, 0}));
    Finished result = run({kTool, "check", "--config", folder});
    EXPECT_EQ(result.ending, Ending({0, 0})) << result.output;
    EXPECT_TRUE(result.output.ends_with("\norvanectl: 0 errors, 0 warnings, 1 note: the service takes this "
                                        "configuration\n"))
        << result.output;

    shell("sed -i 's/<PARAM_5>39,96/<PARAM_5>39/' \"$1\"", file);
    result = run({kTool, "check", "--config", folder});
    EXPECT_EQ(result.ending, Ending({0, 0})) << result.output;
    EXPECT_EQ(result.output, "orvanectl: 0 errors, 0 warnings: the service takes this configuration\n");

    shell("sed -i 's/<PRI>0/<PRI>x/' \"$1\"", file);
    result = run({kTool, "check", "--config", folder});
    EXPECT_EQ(result.ending, Ending({1, 0}));
    EXPECT_EQ(result.output,
              file + ":24: warning: OrvaneServer/PRI: \"x\" is not wholly a number, 0 is taken; 0 to 99 may "
                     "stand here\norvanectl: 0 errors, 1 warning: the service takes this configuration\n");

    shell("rm \"$1\"", file);
    result = run({kTool, "check", "--config", folder, "--json"});
    EXPECT_EQ(result.ending, Ending({2, 0}));
    EXPECT_TRUE(
        result.output.ends_with("{\"kind\":\"sum\",\"errors\":1,\"warnings\":0,\"notes\":0,\"starts\":false}\n"))
        << result.output;
}
