#include "lab/ctl/CommandWords.h"

#include <gtest/gtest.h>

#include <string>

using namespace orvanectl;

TEST(CommandWordsTest, NamesThatAShellWouldObeyAreNotInTheScript)
{
    CLI::App tool("", "tool");
    std::string topic, type;
    CLI::App* const echo = tool.add_subcommand("echo", "");
    echo->add_option("TOPIC", topic);
    echo->add_option("--type", type);
    const std::string script = bashCompletion(
        tool, {{"TOPIC", {"UTCTime", "$(touch x)", "`y`", "\"; z; \"", "a b", "a\nb", "hx/v1:Time_2.0-a"}},
               {"--type", {"GSSIP", "\\"}}});
    EXPECT_NE(script.find("[\"tool echo\"]=\"UTCTime hx/v1:Time_2.0-a --help --type\"\n"), std::string::npos) << script;
    EXPECT_NE(script.find("[\"tool echo --type\"]=\"GSSIP\"\n"), std::string::npos) << script;
}

TEST(CommandWordsTest, OptionsThatTakeAValueHaveARowOfTheirCommand)
{
    CLI::App tool("", "tool");
    std::string from, to, in, into;
    bool isShort = false;
    CLI::App* const cut = tool.add_subcommand("cut", "");
    cut->add_option("--from", from);
    cut->add_option("-o,--output", into);
    cut->add_flag("--short", isShort);
    tool.add_subcommand("pub", "")->add_option("--from", in);
    tool.add_subcommand("mend", "")->add_option("--from", to);
    const std::string script = bashCompletion(tool, {{"pub --from", {"Bit", "Log"}}, {"--from", {"now"}}});
    EXPECT_NE(script.find("    [\"tool cut --from\"]=\"now\"\n    [\"tool cut --output\"]=\"\"\n"
                          "    [\"tool cut -o\"]=\"\"\n    [\"tool pub --from\"]=\"Bit Log\"\n"
                          "    [\"tool mend --from\"]=\"now\"\n)\n"),
              std::string::npos)
        << script;
}
