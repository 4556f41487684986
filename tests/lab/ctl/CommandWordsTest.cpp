#include "lab/ctl/CommandWords.h"

#include <gtest/gtest.h>

#include <string>

using namespace orvanectl;

TEST(CommandWordsTest, NamesThatAShellWouldObeyAreNotInTheScript)
{
    CLI::App tool("", "tool");
    std::string topic;
    tool.add_subcommand("echo", "")->add_option("TOPIC", topic);
    const std::string script = bashCompletion(
        tool, {{"TOPIC", {"UTCTime", "$(touch x)", "`y`", "\"; z; \"", "a b", "a\nb", "hx/v1:Time_2.0-a"}},
               {"--type", {"GSSIP", "\\"}}});
    EXPECT_NE(script.find("[\"tool echo\"]=\"UTCTime hx/v1:Time_2.0-a --help\"\n"), std::string::npos) << script;
    EXPECT_NE(script.find("[\"--type\"]=\"GSSIP\"\n"), std::string::npos) << script;
}
