#include "lab/ctl/serve/ListeningSocket.h"
#include "lab/mcap/File.h"
#include "lab/mcap/Writer.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

using Ending = ChildProcess::Ending;

namespace {

/// The tool with a recording of one line of a console, which needs no unit.
struct ServeVerbTest : testing::Test {
    ServeVerbTest()
    {
        mcap::FileOutput file(recording);
        mcap::Writer writer(file, {});
        constexpr std::string_view kLine = R"({"line":"it runs"})";
        mcap::Message message{};
        message.channel = writer.addChannel(writer.addSchema("line", "jsonschema", "{}"), "console", "json", {});
        message.logTime = 1'700'000'000'000'000'000;
        message.data = {reinterpret_cast<const std::uint8_t*>(kLine.data()), kLine.size()};
        writer.add(message);
        writer.close();
    }

    Ending run(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), {ORVANE_CTL_BINARY, "serve"});
        ChildProcess tool(arguments);
        const Ending ending = tool.wait();
        output = tool.output();
        errors = tool.errors();
        return ending;
    }

    /// The recording, for a moment.
    Ending show(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.end(), {"--replay", recording, "--for", "0.001"});
        return run(arguments);
    }

    TemporaryDirectory directory;
    const std::string recording = (directory.path() / "one.mcap").string();
    std::string output;
    std::string errors;
};

}  // namespace

TEST_F(ServeVerbTest, WrongCommandLineEndsWithTwo)
{
    const std::vector<std::vector<std::string>> lines = {
        {"--bogus"},
        {"one.xml", "two.xml"},
        {"--port", "65536"},
        {"--port", "-1"},
        {"--port", "x"},
        {"--port", "80.5"},
        {"--for", "0"},
        {"--for", "nan"},
        {"--descriptor", "-1"},
        {"--descriptor", "2000000"},
        {"--descriptor", "3", "--address", "127.0.0.1"},
        {"--socket", "/tmp/bus", "--replay", recording},
        {"--address"},
        {"--name"},
        {"--replay"},
    };
    for (const auto& line : lines) {
        EXPECT_EQ(run(line), Ending({2, 0})) << line.front() << ' ' << line.back();
        EXPECT_TRUE(errors.starts_with("orvanectl: ")) << errors;
        EXPECT_EQ(output, "");
    }
}

TEST_F(ServeVerbTest, ThePagesAddressIsPrinted)
{
    EXPECT_EQ(show({"--port", "0"}), Ending({0, 0})) << errors;
    EXPECT_TRUE(output.starts_with("orvanectl: the page is at http://127.0.0.1:")) << output;
    EXPECT_TRUE(output.ends_with("/\n")) << output;
    EXPECT_EQ(show({"--port", "0", "--name", "desk.example"}), Ending({0, 0})) << errors;
}

TEST_F(ServeVerbTest, AnAddressThatIsNoneOfLoopbackIsTaken)
{
    EXPECT_EQ(show({"--port", "0", "--address", "0.0.0.0"}), Ending({0, 0})) << errors;
    EXPECT_TRUE(output.starts_with("orvanectl: the page is at http://0.0.0.0:")) << output;
}

TEST_F(ServeVerbTest, APortInUseEndsWithOneAndALine)
{
    const orvanectl::ListeningSocket other("127.0.0.1", 0);
    const std::string port = std::to_string(other.port());
    EXPECT_EQ(show({"--port", port}), Ending({1, 0}));
    EXPECT_EQ(errors, "orvanectl: cannot listen at 127.0.0.1 port " + port + ": Address already in use\n");
    EXPECT_EQ(output, "");
    EXPECT_EQ(run({"--port", port}), Ending({1, 0}));
    EXPECT_EQ(errors, "orvanectl: cannot listen at 127.0.0.1 port " + port + ": Address already in use\n");
}

TEST_F(ServeVerbTest, APlaceThatIsNoneEndsWithOneAndALine)
{
    EXPECT_EQ(show({"--address", "localhost"}), Ending({1, 0}));
    EXPECT_EQ(errors, "orvanectl: localhost: no address in numbers\n");
    // An address for documents, which no machine has.
    EXPECT_EQ(show({"--port", "0", "--address", "192.0.2.1"}), Ending({1, 0}));
    EXPECT_EQ(errors, "orvanectl: cannot listen at 192.0.2.1 port 0: Cannot assign requested address\n");
    EXPECT_EQ(show({"--descriptor", "1"}), Ending({1, 0}));
    EXPECT_EQ(errors, "orvanectl: descriptor 1 is no socket that listens\n");
    EXPECT_EQ(output, "");
}

TEST_F(ServeVerbTest, AFileThatCannotBeShownEndsWithOneAndALine)
{
    const std::string missing = (directory.path() / "missing").string();
    EXPECT_EQ(run({"--port", "0", "--replay", missing}), Ending({1, 0}));
    EXPECT_EQ(errors, "orvanectl: " + missing + ": No such file or directory\n");
    const std::string text = directory.write("text", "no recording");
    EXPECT_EQ(run({"--port", "0", "--replay", text}), Ending({1, 0}));
    EXPECT_EQ(errors, "orvanectl: " + text + ": is no recording\n");
    EXPECT_EQ(run({"--port", "0", "--replay", directory.path().string()}), Ending({1, 0}));
    EXPECT_EQ(errors, "orvanectl: " + directory.path().string() + ": is no file\n");
    // The service's settings are needed for either.
    EXPECT_EQ(run({"--port", "0", missing}), Ending({1, 0}));
    EXPECT_NE(errors.find(missing), std::string::npos) << errors;
    EXPECT_EQ(show({"--port", "0", missing}), Ending({1, 0}));
    EXPECT_NE(errors.find(missing), std::string::npos) << errors;
    EXPECT_EQ(output, "");
}
