#include "face/HX_Config.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <future>
#include <iostream>
#include <iterator>
#include <limits>
#include <optional>
#include <ostream>
#include <poll.h>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <type_traits>
#include <unistd.h>
#include <vector>

using FACE::HX_Config;
using FACE::RETURN_CODE_TYPE;
using FACE::String;
using Whence = FACE::Configuration::WHENCE_TYPE;

static_assert(std::is_base_of_v<FACE::Configuration, HX_Config>);
static_assert(!std::is_copy_constructible_v<HX_Config> && !std::is_copy_assignable_v<HX_Config>);

namespace {

constexpr const char* kFile = R"(<?xml version="1.0" encoding="UTF-8"?>
<HX_Configurations xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" xsi:noNamespaceSchemaLocation="config.xsd">
    <!-- two devices with a bus between them -->
    <Device>
        <Name>A</Name>
        <Comment>not a parameter</Comment>
        <Parameters>
            <Letters>abcdef</Letters>
            <Empty></Empty>
            <Blank>   </Blank>
            <Padded>  two before, one after </Padded>
            <Entities>&lt;a&gt; &amp; &#65;&quot;</Entities>
            <Commented><!-- before -->text<!-- after --></Commented>
            <Section><![CDATA[<raw> & text]]></Section>
            <Twice>first</Twice>
            <Twice>second</Twice>
            <Nested><Inner>x</Inner></Nested>
        </Parameters>
    </Device>
    <Bus>
        <Name>C</Name>
    </Bus>
    <Device>
        <Name>B</Name>
        <Parameters>
            <Letters>ghi</Letters>
        </Parameters>
    </Device>
</HX_Configurations>
)";

RETURN_CODE_TYPE::Value initialize(HX_Config& config, const std::string& path)
{
    auto rc = RETURN_CODE_TYPE::DATA_OVERFLOW;
    config.Initialize(path.c_str(), rc);
    return rc;
}

struct Opened {
    int rc;
    int handle;
};

/// The handle is -7 if the call left it alone.
Opened open(HX_Config& config, const char* name)
{
    auto rc = RETURN_CODE_TYPE::DATA_OVERFLOW;
    int handle = -7;
    config.Open(name, handle, rc);
    return {rc, handle};
}

struct Size {
    int rc;
    int size;
    bool operator==(const Size&) const = default;
};

/// The size is -7 if the call left it alone.
Size sizeOf(HX_Config& config, int handle, const char* name)
{
    auto rc = RETURN_CODE_TYPE::DATA_OVERFLOW;
    int size = -7;
    config.Get_Size(handle, name, size, rc);
    return {rc, size};
}

struct Text {
    int rc;
    std::string text;
    bool operator==(const Text&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Text& text)
{
    return stream << text.rc << " \"" << text.text << '"';
}

std::ostream& operator<<(std::ostream& stream, const Size& size)
{
    return stream << size.rc << ' ' << size.size;
}

/// What `Read` puts into a buffer that is large enough.
Text read(HX_Config& config, int handle, const char* name)
{
    auto rc = RETURN_CODE_TYPE::DATA_OVERFLOW;
    char buffer[256];
    int count = -7;
    config.Read(handle, name, buffer, sizeof buffer, count, rc);
    return {rc, std::string(buffer, static_cast<std::size_t>(count))};
}

Size write(HX_Config& config, int handle, const char* name, std::string text)
{
    auto rc = RETURN_CODE_TYPE::DATA_OVERFLOW;
    int count = -7;
    config.Write(handle, name, text.data(), static_cast<int>(text.size()), count, rc);
    return {rc, count};
}

int seek(HX_Config& config, int handle, Whence::Value whence, int offset)
{
    auto rc = RETURN_CODE_TYPE::DATA_OVERFLOW;
    config.Seek(handle, whence, offset, rc);
    return rc;
}

int close(HX_Config& config, int handle)
{
    auto rc = RETURN_CODE_TYPE::DATA_OVERFLOW;
    config.Close(handle, rc);
    return rc;
}

/// The first value of a fresh load of a file, to see what is on disk.
Text reloaded(const std::string& path, const char* container, const char* name)
{
    HX_Config config;
    const int rc = initialize(config, path);
    if (rc != 0) return {rc, "<not loaded>"};
    return read(config, open(config, container).handle, name);
}

const char* nullText()
{
    return nullptr;
}

std::size_t openDescriptors()
{
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

/// A process that may do anything becomes one that must obey file permissions, for a scope.
class Unprivileged {
public:
    Unprivileged() : m_user(geteuid()) { change(m_user == 0 ? 65534 : m_user); }
    ~Unprivileged()
    {
        if (seteuid(m_user) != 0) std::abort();  // no other test could rely on its user
    }
    Unprivileged(const Unprivileged&) = delete;
    Unprivileged& operator=(const Unprivileged&) = delete;

private:
    static void change(uid_t user)
    {
        if (seteuid(user) != 0) throw std::runtime_error("cannot change the user");
    }
    uid_t m_user;
};

/// No file of this process grows beyond a number of bytes, for a scope: a full device.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) : m_previousHandler(std::signal(SIGXFSZ, SIG_IGN))
    {
        if (getrlimit(RLIMIT_FSIZE, &m_previous) != 0) throw std::runtime_error("cannot read the limit");
        rlimit limit = m_previous;
        limit.rlim_cur = bytes;
        if (setrlimit(RLIMIT_FSIZE, &limit) != 0) throw std::runtime_error("cannot set the limit");
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_previous);
        std::signal(SIGXFSZ, m_previousHandler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit m_previous{};
    void (*m_previousHandler)(int);
};

/// `kFile` on disk, loaded.
class HX_ConfigTest : public testing::Test {
protected:
    HX_ConfigTest() : m_path(m_directory.write("config.xml", kFile))
    {
        if (initialize(m_config, m_path) != 0) throw std::runtime_error("cannot load the sample");
    }

    TemporaryDirectory m_directory;
    std::string m_path;
    HX_Config m_config;
};

/// A file of its own content for each case.
class HX_ConfigFileTest : public testing::Test {
protected:
    int load(std::string_view content) { return initialize(m_config, m_directory.write("config.xml", content)); }

    TemporaryDirectory m_directory;
    HX_Config m_config;
};

}  // namespace

// Loading

TEST_F(HX_ConfigTest, SecondInitializeIsSilentAndLoadsNothing)
{
    const std::string other =
        m_directory.write("other.xml", "<HX_Configurations><New><Name>N</Name></New></HX_Configurations>");
    const ConsoleCapture console(std::cout);
    EXPECT_EQ(initialize(m_config, other), 0);
    EXPECT_EQ(initialize(m_config, "/no/such/file"), 0);
    EXPECT_EQ(open(m_config, "N").rc, 4);
    EXPECT_EQ(open(m_config, "A").rc, 0);
    EXPECT_EQ(console.text(), "");
}

TEST_F(HX_ConfigTest, SecondInitializeDoesNotLookAtThePath)
{
    auto rc = RETURN_CODE_TYPE::DATA_OVERFLOW;
    EXPECT_NO_THROW(m_config.Initialize(String(nullText()), rc));
    EXPECT_EQ(rc, 0);
}

TEST_F(HX_ConfigTest, SecondInitializeLeavesHandlesAndChangesAlone)
{
    const int handle = open(m_config, "A").handle;
    EXPECT_EQ(write(m_config, handle, "Letters", "new"), (Size{0, 3}));
    EXPECT_EQ(initialize(m_config, m_path), 0);
    EXPECT_EQ(read(m_config, handle, "Letters"), (Text{0, "new"}));
}

TEST_F(HX_ConfigTest, SchemaAttributeIsKept)
{
    EXPECT_EQ(m_config.schema(), "config.xsd");
}

TEST_F(HX_ConfigFileTest, SchemaIsEmptyWithoutTheAttribute)
{
    EXPECT_EQ(m_config.schema(), "");
    EXPECT_EQ(load("<HX_Configurations/>"), 0);
    EXPECT_EQ(m_config.schema(), "");
}

TEST(HX_ConfigStateTest, NullPathThrows)
{
    HX_Config config;
    auto rc = RETURN_CODE_TYPE::DATA_OVERFLOW;
    EXPECT_THROW(config.Initialize(String(nullText()), rc), std::logic_error);
    EXPECT_EQ(rc, 4);
}

TEST(HX_ConfigStateTest, OpenBeforeInitializeIsAnInvalidModeWhateverTheName)
{
    HX_Config config;
    const Opened opened = open(config, "A");
    EXPECT_EQ(opened.rc, 5);
    EXPECT_EQ(opened.handle, -7);
    EXPECT_EQ(open(config, nullptr).rc, 5);
}

TEST(HX_ConfigStateTest, OpenAfterAFailedInitializeIsAnInvalidMode)
{
    HX_Config config;
    EXPECT_EQ(initialize(config, "/no/such/file"), 4);
    EXPECT_EQ(open(config, "A").rc, 5);
}

TEST(HX_ConfigStateTest, HandlesOfAnotherObjectAreUnknown)
{
    const TemporaryDirectory directory;
    const std::string path = directory.write("config.xml", kFile);
    HX_Config one;
    HX_Config two;
    ASSERT_EQ(initialize(one, path), 0);
    ASSERT_EQ(initialize(two, path), 0);
    const int first = open(one, "A").handle;
    EXPECT_EQ(open(two, "A").handle, first + 1);
    EXPECT_EQ(open(one, "C").handle, first + 2);
    EXPECT_EQ(read(two, first, "Letters").rc, 4);
}

TEST(HX_ConfigDeathTest, FirstHandleOfAProcessIsZero)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const TemporaryDirectory directory;
    HX_Config config;
    ASSERT_EQ(initialize(config, directory.write("config.xml", kFile)), 0);
    EXPECT_EXIT(std::_Exit(open(config, "A").handle == 0 ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST(HX_ConfigStateTest, RacingInitializesLoadOneFile)
{
    const TemporaryDirectory directory;
    const std::string first =
        directory.write("first.xml", "<HX_Configurations><D><Name>first</Name></D></HX_Configurations>");
    const std::string second =
        directory.write("second.xml", "<HX_Configurations><D><Name>second</Name></D></HX_Configurations>");
    HX_Config config;
    auto other = std::async(std::launch::async, [&] { return initialize(config, second); });
    EXPECT_EQ(initialize(config, first), 0);
    EXPECT_EQ(other.get(), 0);
    EXPECT_EQ((open(config, "first").rc == 0) + (open(config, "second").rc == 0), 1);
}

// Files that are no configuration

TEST_F(HX_ConfigFileTest, MissingDocumentElementIsReported)
{
    const ConsoleCapture console(std::cout);
    EXPECT_EQ(load("<Configurations><Device><Name>A</Name></Device></Configurations>"), 4);
    EXPECT_EQ(console.flushed(), console.text());
    EXPECT_EQ(console.text(), "Configuration XML - " + (m_directory.path() / "config.xml").string() +
                                  " Error: Unable to locate the HX_Configurations object\n");
    EXPECT_EQ(open(m_config, "A").rc, 5);
}

TEST_F(HX_ConfigFileTest, MalformedFilesAreRefusedInSilence)
{
    const struct {
        const char* what;
        std::string content;
    } kCases[] = {
        {"empty", ""},
        {"blanks", " \n\t \n"},
        {"text", "HX_Configurations"},
        {"text after the element", "<HX_Configurations></HX_Configurations> text <"},
        {"wrong end mark", "<HX_Configurations><Device></HX_Configurations></Device>"},
        {"other end mark", "<HX_Configurations></hx_configurations>"},
        {"attribute without quotes", "<HX_Configurations a=1></HX_Configurations>"},
        {"open attribute", "<HX_Configurations a=\"1></HX_Configurations>"},
        {"attribute twice", "<HX_Configurations a=\"1\" a=\"2\"></HX_Configurations>"},
        {"open comment", "<HX_Configurations><!-- </HX_Configurations>"},
        {"open section", "<HX_Configurations><![CDATA[ </HX_Configurations>"},
        {"open declaration", "<?xml version=\"1.0\""},
        {"name that starts with a digit", "<HX_Configurations><1></1></HX_Configurations>"},
        {"zero byte", std::string("<HX_Configurations>\0</HX_Configurations>", 40)},
    };
    for (const auto& each : kCases) {
        const ConsoleCapture console(std::cout);
        EXPECT_EQ(load(each.content), 4) << each.what;
        EXPECT_EQ(console.text(), "") << each.what;
        EXPECT_EQ(open(m_config, "Device").rc, 5) << each.what;
    }
}

TEST_F(HX_ConfigFileTest, EveryTruncationIsRefused)
{
    const std::string whole = kFile;
    const ConsoleCapture console(std::cout);  // up to the first element there is no document element, which is told
    for (std::size_t size = 0; size + 1 < whole.size(); ++size) ASSERT_EQ(load(whole.substr(0, size)), 4) << size;
    EXPECT_EQ(load(whole.substr(0, whole.size() - 1)), 0);  // but for the last line's end nothing is missing
}

TEST_F(HX_ConfigFileTest, DeepNestingIsRefusedQuickly)
{
    std::string content = "<HX_Configurations>";
    for (int i = 0; i < 1000000; ++i) content += "<a>";
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(load(content), 4);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(150));
}

TEST_F(HX_ConfigFileTest, NestingOfUnknownChildrenIsIgnored)
{
    std::string content = "<HX_Configurations><Device><Name>A</Name>";
    for (int i = 0; i < 50; ++i) content += "<a>";
    for (int i = 0; i < 50; ++i) content += "</a>";
    content += "<Parameters><Letters>abc</Letters></Parameters></Device></HX_Configurations>";
    ASSERT_EQ(load(content), 0);
    EXPECT_EQ(read(m_config, open(m_config, "A").handle, "Letters"), (Text{0, "abc"}));
}

TEST_F(HX_ConfigFileTest, PathsThatAreNoFileAreRefusedInSilence)
{
    const ConsoleCapture console(std::cout);
    EXPECT_EQ(initialize(m_config, (m_directory.path() / "missing.xml").string()), 4);
    EXPECT_EQ(initialize(m_config, m_directory.path().string()), 4);
    EXPECT_EQ(initialize(m_config, ""), 4);
    EXPECT_EQ(initialize(m_config, "/dev/null"), 4);
    EXPECT_EQ(initialize(m_config, std::string(10000, 'x')), 4);
    EXPECT_EQ(console.text(), "");
}

TEST_F(HX_ConfigFileTest, NamedPipeWithoutAWriterIsRefusedAndDoesNotBlock)
{
    const std::string pipe = (m_directory.path() / "pipe").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(initialize(m_config, pipe), 4);
}

TEST_F(HX_ConfigFileTest, UnreadableFileIsRefused)
{
    std::filesystem::permissions(m_directory.path(), std::filesystem::perms(0755));
    const std::string path = m_directory.write("config.xml", kFile);
    std::filesystem::permissions(path, std::filesystem::perms(0200));
    const Unprivileged user;
    EXPECT_EQ(initialize(m_config, path), 4);
}

TEST_F(HX_ConfigFileTest, AnotherFileMayBeTriedAfterAFailure)
{
    EXPECT_EQ(initialize(m_config, "/no/such/file"), 4);
    EXPECT_EQ(load("<HX_Configurations"), 4);
    EXPECT_EQ(load(kFile), 0);
    EXPECT_EQ(open(m_config, "A").rc, 0);
}

TEST_F(HX_ConfigFileTest, RefusedFileIsNotTouched)
{
    const std::string path = m_directory.write("config.xml", "<HX_Configurations><Device>");
    EXPECT_EQ(initialize(m_config, path), 4);
    EXPECT_EQ(readFile(path), "<HX_Configurations><Device>");
}

TEST_F(HX_ConfigFileTest, ByteOrderMarkIsAccepted)
{
    EXPECT_EQ(load("\xEF\xBB\xBF<HX_Configurations/>"), 0);
}

TEST_F(HX_ConfigFileTest, TenMegabytesLoadQuicklyAndWhole)
{
    std::string content = "<HX_Configurations>\n";
    const std::string container = "<Device><Name>filler</Name><Parameters><A>1</A></Parameters></Device>\n";
    while (content.size() < 10 * 1024 * 1024) content += container;
    content += "<Last><Name>end</Name><Parameters><Letters>xyz</Letters></Parameters></Last></HX_Configurations>\n";
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(load(content), 0);
    EXPECT_EQ(read(m_config, open(m_config, "end").handle, "Letters"), (Text{0, "xyz"}));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(150));
}

TEST_F(HX_ConfigFileTest, TenMegabytesCutShortAreRefusedQuickly)
{
    std::string content = "<HX_Configurations>\n";
    while (content.size() < 10 * 1024 * 1024) content += "<Device><Name>filler</Name></Device>\n";
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(load(content), 4);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(150));
}

TEST_F(HX_ConfigFileTest, ValueOfTenMegabytesIsReadWhole)
{
    std::string value(10 * 1024 * 1024, 'v');
    value.back() = '!';
    ASSERT_EQ(load("<HX_Configurations><D><Name>A</Name><Parameters><P>" + value +
                   "</P></Parameters></D></HX_Configurations>"),
              0);
    const int handle = open(m_config, "A").handle;
    EXPECT_EQ(sizeOf(m_config, handle, "P"), (Size{0, 10485760}));
    std::string buffer(value.size(), '?');
    auto rc = RETURN_CODE_TYPE::DATA_OVERFLOW;
    int count = 0;
    m_config.Read(handle, "P", buffer.data(), static_cast<int>(buffer.size()), count, rc);
    EXPECT_EQ(rc, 0);
    EXPECT_TRUE(buffer == value);
}

// Opening

TEST_F(HX_ConfigTest, ContainerOpensByItsName)
{
    const Opened opened = open(m_config, "C");
    EXPECT_EQ(opened.rc, 0);
    EXPECT_EQ(read(m_config, opened.handle, "").rc, 0);
    EXPECT_EQ(read(m_config, opened.handle, "").text, "C");
}

TEST_F(HX_ConfigTest, UnknownContainerLeavesTheHandleAlone)
{
    for (const char* name : {"D", "a", "device", "A ", "", "HX_Configurations", "Name"}) {
        const Opened opened = open(m_config, name);
        EXPECT_EQ(opened.rc, 4) << name;
        EXPECT_EQ(opened.handle, -7) << name;
    }
}

TEST_F(HX_ConfigTest, NullNameThrows)
{
    auto rc = RETURN_CODE_TYPE::DATA_OVERFLOW;
    int handle = -7;
    EXPECT_THROW(m_config.Open(String(nullText()), handle, rc), std::logic_error);
    EXPECT_EQ(rc, 0);
    EXPECT_EQ(handle, -7);
}

TEST_F(HX_ConfigTest, SiblingsShareAHandleThatMoves)
{
    const int handle = open(m_config, "A").handle;
    EXPECT_EQ(open(m_config, "B").handle, handle);
    EXPECT_EQ(read(m_config, handle, "Letters"), (Text{0, "ghi"}));
    EXPECT_EQ(open(m_config, "A").handle, handle);
    EXPECT_EQ(read(m_config, handle, "Letters"), (Text{0, "abcdef"}));
    EXPECT_EQ(close(m_config, handle), 0);
    EXPECT_EQ(close(m_config, handle), 4);
}

TEST_F(HX_ConfigTest, ContainersOfOtherElementNamesGetHandlesOfTheirOwn)
{
    const int device = open(m_config, "A").handle;
    const int bus = open(m_config, "C").handle;
    EXPECT_EQ(bus, device + 1);
    EXPECT_EQ(read(m_config, device, "").text, "A");
    EXPECT_EQ(read(m_config, bus, "").text, "C");
}

TEST_F(HX_ConfigTest, ElementNameOpensTheFirstContainerOfIt)
{
    const int handle = open(m_config, "Device").handle;
    EXPECT_EQ(read(m_config, handle, "").text, "A");
}

TEST_F(HX_ConfigTest, OpeningByElementNameAgainGoesBackToTheFirst)
{
    const int handle = open(m_config, "Device").handle;
    ASSERT_EQ(seek(m_config, handle, Whence::WHENCE_CURRENT, 1), 0);
    EXPECT_EQ(open(m_config, "Device").handle, handle);
    EXPECT_EQ(read(m_config, handle, "").text, "A");
}

TEST_F(HX_ConfigTest, OpeningTheSelectedNameAgainChangesNothing)
{
    const int handle = open(m_config, "Device").handle;
    ASSERT_EQ(seek(m_config, handle, Whence::WHENCE_CURRENT, 1), 0);
    EXPECT_EQ(open(m_config, "B").handle, handle);
    EXPECT_EQ(read(m_config, handle, "Letters").text, "ghi");
}

TEST_F(HX_ConfigFileTest, OpenNameIsFoundBeforeAnEarlierContainerOfTheSameName)
{
    ASSERT_EQ(load("<HX_Configurations><D><Name>X</Name><Parameters><P>1</P></Parameters></D>"
                   "<D><Name>X</Name><Parameters><P>2</P></Parameters></D></HX_Configurations>"),
              0);
    const int handle = open(m_config, "X").handle;
    EXPECT_EQ(read(m_config, handle, "P").text, "1");
    ASSERT_EQ(seek(m_config, handle, Whence::WHENCE_CURRENT, 1), 0);
    EXPECT_EQ(open(m_config, "X").handle, handle);
    EXPECT_EQ(read(m_config, handle, "P").text, "2");
}

TEST_F(HX_ConfigFileTest, OpenKeepsTheNameOfTheContainerAndNotTheKey)
{
    ASSERT_EQ(load("<HX_Configurations><Bus><Name>A</Name></Bus>"
                   "<D><Name>A</Name><Parameters><P>1</P></Parameters></D>"
                   "<D><Name>B</Name><Parameters><P>2</P></Parameters></D></HX_Configurations>"),
              0);
    const int handle = open(m_config, "D").handle;
    EXPECT_EQ(read(m_config, handle, "P"), (Text{0, "1"}));
    for (const auto& [key, value] : {std::pair("A", "1"), {"B", "2"}, {"D", "1"}, {"A", "1"}}) {
        EXPECT_EQ(open(m_config, key).handle, handle) << key;
        EXPECT_EQ(read(m_config, handle, "P"), (Text{0, value})) << key;
    }
}

TEST_F(HX_ConfigTest, HandlesAreNotUsedAgain)
{
    const int handle = open(m_config, "A").handle;
    ASSERT_EQ(close(m_config, handle), 0);
    EXPECT_EQ(open(m_config, "A").handle, handle + 1);
}

TEST_F(HX_ConfigTest, ClosedHandleIsUnknownEverywhere)
{
    const int handle = open(m_config, "A").handle;
    ASSERT_EQ(close(m_config, handle), 0);
    for (const int unknown : {handle, -1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        EXPECT_EQ(sizeOf(m_config, unknown, "Letters"), (Size{4, -7}));
        EXPECT_EQ(read(m_config, unknown, "Letters"), (Text{4, ""}));
        EXPECT_EQ(write(m_config, unknown, "Letters", "x"), (Size{4, 0}));
        EXPECT_EQ(seek(m_config, unknown, Whence::WHENCE_BEGIN, 0), 4);
        EXPECT_EQ(close(m_config, unknown), 4);
    }
    EXPECT_EQ(readFile(m_path), kFile);
}

TEST_F(HX_ConfigFileTest, ContainersWithoutANameAreNeverFound)
{
    ASSERT_EQ(load("<HX_Configurations><Device/><Device><Name/></Device><Device><Name>  </Name></Device>"
                   "<Device><Name><![CDATA[]]></Name></Device><Device><Name><b>A</b></Name></Device>"
                   "<Device><Name>named</Name></Device></HX_Configurations>"),
              0);
    const int handle = open(m_config, "Device").handle;
    EXPECT_EQ(read(m_config, handle, "").text, "named");
    EXPECT_EQ(open(m_config, "").rc, 4);
}

TEST_F(HX_ConfigFileTest, OnlyNamelessContainersAreAsGoodAsNone)
{
    ASSERT_EQ(load("<HX_Configurations><Device><Parameters><P>1</P></Parameters></Device></HX_Configurations>"), 0);
    EXPECT_EQ(open(m_config, "Device").rc, 4);
}

TEST_F(HX_ConfigFileTest, NameTextAndElementNameCountAlikeInDocumentOrder)
{
    ASSERT_EQ(load("<HX_Configurations><Bus><Name>Device</Name></Bus><Device><Name>A</Name></Device>"
                   "</HX_Configurations>"),
              0);
    EXPECT_EQ(read(m_config, open(m_config, "Device").handle, "").text, "Device");
}

TEST_F(HX_ConfigFileTest, EmptyDocumentElementHasNoContainers)
{
    ASSERT_EQ(load("<HX_Configurations/>"), 0);
    EXPECT_EQ(open(m_config, "A").rc, 4);
}

// Reading

TEST_F(HX_ConfigTest, SizesAndTextsOfParameters)
{
    const struct {
        const char* name;
        Size size;
        Text text;
    } kCases[] = {
        {"Letters", {0, 6}, {0, "abcdef"}},
        {"", {0, 1}, {0, "A"}},
        {"Padded", {0, 24}, {0, "  two before, one after "}},
        {"Entities", {0, 8}, {0, "<a> & A\""}},
        {"Commented", {0, 4}, {0, "text"}},
        {"Section", {0, 12}, {0, "<raw> & text"}},
        {"Twice", {0, 5}, {0, "first"}},
        {"Empty", {4, -7}, {3, ""}},
        {"Blank", {4, -7}, {3, ""}},
        {"Nested", {4, -7}, {3, ""}},
        {"Missing", {4, -7}, {3, ""}},
        {"letters", {4, -7}, {3, ""}},
        {"Comment", {4, -7}, {3, ""}},
        {"Name", {4, -7}, {3, ""}},
        {"Parameters", {4, -7}, {3, ""}},
    };
    const int handle = open(m_config, "A").handle;
    for (const auto& each : kCases) {
        EXPECT_EQ(sizeOf(m_config, handle, each.name), each.size) << each.name;
        EXPECT_EQ(read(m_config, handle, each.name), each.text) << each.name;
    }
}

TEST_F(HX_ConfigTest, SizeAndTextAreThoseOfTheContainerThatIsSelectedNow)
{
    const int handle = open(m_config, "A").handle;
    EXPECT_EQ(sizeOf(m_config, handle, "Letters"), (Size{0, 6}));
    ASSERT_EQ(seek(m_config, handle, Whence::WHENCE_CURRENT, 1), 0);
    EXPECT_EQ(read(m_config, handle, "Letters"), (Text{0, "ghi"}));
    EXPECT_EQ(sizeOf(m_config, handle, "Twice"), (Size{4, -7}));
    ASSERT_EQ(open(m_config, "A").handle, handle);
    EXPECT_EQ(read(m_config, handle, "Twice"), (Text{0, "first"}));
}

TEST_F(HX_ConfigFileTest, ParameterCalledNameIsNotTheNameOfTheContainer)
{
    ASSERT_EQ(load("<HX_Configurations><D><Name>of D</Name><Parameters><Name>parameter</Name></Parameters></D>"
                   "</HX_Configurations>"),
              0);
    const int handle = open(m_config, "of D").handle;
    EXPECT_EQ(sizeOf(m_config, handle, ""), (Size{0, 4}));
    EXPECT_EQ(read(m_config, handle, "Name"), (Text{0, "parameter"}));
    EXPECT_EQ(read(m_config, handle, ""), (Text{0, "of D"}));
}

TEST_F(HX_ConfigTest, ContainerWithoutParametersHasOnlyItsName)
{
    const int handle = open(m_config, "C").handle;
    EXPECT_EQ(sizeOf(m_config, handle, "Letters"), (Size{4, -7}));
    EXPECT_EQ(read(m_config, handle, "Letters").rc, 3);
    EXPECT_EQ(write(m_config, handle, "Letters", "x"), (Size{3, 0}));
    EXPECT_EQ(read(m_config, handle, ""), (Text{0, "C"}));
}

TEST_F(HX_ConfigFileTest, LineEndsAreReadAsLineFeeds)
{
    ASSERT_EQ(load("<HX_Configurations>\r\n<D>\r\n<Name>A</Name><Parameters><P>one\r\ntwo\rthree</P></Parameters>"
                   "</D></HX_Configurations>\r\n"),
              0);
    EXPECT_EQ(read(m_config, open(m_config, "A").handle, "P"), (Text{0, "one\ntwo\nthree"}));
}

TEST_F(HX_ConfigFileTest, BytesBeyondAsciiAreReadAsTheyAre)
{
    ASSERT_EQ(load("<HX_Configurations><D><Name>\xC3\xA4</Name><Parameters><P>\xFF\x80</P></Parameters></D>"
                   "</HX_Configurations>"),
              0);
    EXPECT_EQ(read(m_config, open(m_config, "\xC3\xA4").handle, "P"), (Text{0, "\xFF\x80"}));
}

TEST_F(HX_ConfigTest, ShortBufferIsFilledWithoutATerminator)
{
    const int handle = open(m_config, "A").handle;
    char buffer[5] = {'?', '?', '?', '?', '?'};
    int count = -7;
    auto rc = RETURN_CODE_TYPE::DATA_OVERFLOW;
    m_config.Read(handle, "Letters", buffer, 4, count, rc);
    EXPECT_EQ(rc, 0);
    EXPECT_EQ(count, 4);
    EXPECT_EQ(std::string(buffer, 5), "abcd?");
}

TEST_F(HX_ConfigTest, RestOfALongBufferIsZeroed)
{
    const int handle = open(m_config, "A").handle;
    char buffer[10] = {'?', '?', '?', '?', '?', '?', '?', '?', '?', '?'};
    int count = -7;
    auto rc = RETURN_CODE_TYPE::DATA_OVERFLOW;
    m_config.Read(handle, "Letters", buffer, 9, count, rc);
    EXPECT_EQ(count, 6);
    EXPECT_EQ(std::string(buffer, 10), std::string("abcdef\0\0\0?", 10));
}

TEST_F(HX_ConfigTest, BufferIsUntouchedWhenThereIsNothingToRead)
{
    const int handle = open(m_config, "A").handle;
    char buffer[4] = "???";
    int count = -7;
    auto rc = RETURN_CODE_TYPE::DATA_OVERFLOW;
    m_config.Read(handle, "Empty", buffer, sizeof buffer, count, rc);
    EXPECT_EQ(rc, 3);
    EXPECT_EQ(count, 0);
    EXPECT_STREQ(buffer, "???");
}

TEST_F(HX_ConfigTest, BufferOfNoSizeTakesNothing)
{
    const int handle = open(m_config, "A").handle;
    char buffer[4] = "???";
    for (const int size : {0, -1, std::numeric_limits<int>::min()}) {
        for (char* const target : {buffer, static_cast<char*>(nullptr)}) {
            int count = -7;
            auto rc = RETURN_CODE_TYPE::DATA_OVERFLOW;
            m_config.Read(handle, "Letters", target, size, count, rc);
            EXPECT_EQ(rc, 0);
            EXPECT_EQ(count, 0);
        }
    }
    EXPECT_STREQ(buffer, "???");
}

TEST_F(HX_ConfigTest, ReadIntoANullBufferIsRefused)
{
    const int handle = open(m_config, "A").handle;
    int count = -7;
    auto rc = RETURN_CODE_TYPE::DATA_OVERFLOW;
    m_config.Read(handle, "Letters", nullptr, 4, count, rc);
    EXPECT_EQ(rc, 3);
    EXPECT_EQ(count, 0);
}

TEST_F(HX_ConfigTest, NullParameterNameThrowsOnAKnownHandleOnly)
{
    const int handle = open(m_config, "A").handle;
    EXPECT_THROW(sizeOf(m_config, handle, nullptr), std::logic_error);
    EXPECT_THROW(read(m_config, handle, nullptr), std::logic_error);
    EXPECT_THROW(write(m_config, handle, nullptr, "x"), std::logic_error);
    EXPECT_EQ(sizeOf(m_config, -1, nullptr), (Size{4, -7}));
    EXPECT_EQ(read(m_config, -1, nullptr).rc, 4);
    EXPECT_EQ(write(m_config, -1, nullptr, "x"), (Size{4, 0}));
}

// Writing

TEST_F(HX_ConfigTest, WrittenValueIsInMemoryAndInTheFile)
{
    const int handle = open(m_config, "A").handle;
    EXPECT_EQ(write(m_config, handle, "Letters", "new value"), (Size{0, 9}));
    EXPECT_EQ(read(m_config, handle, "Letters"), (Text{0, "new value"}));
    EXPECT_EQ(reloaded(m_path, "A", "Letters"), (Text{0, "new value"}));
    EXPECT_EQ(reloaded(m_path, "B", "Letters"), (Text{0, "ghi"}));
    EXPECT_EQ(reloaded(m_path, "A", "Padded"), (Text{0, "  two before, one after "}));
    EXPECT_EQ(reloaded(m_path, "A", "Section"), (Text{0, "<raw> & text"}));
}

TEST_F(HX_ConfigFileTest, WholeFileIsRewrittenWithOneElementALine)
{
    ASSERT_EQ(load("<?xml version=\"1.0\"?><!-- kept --><HX_Configurations a=\"&amp;\"><D><Name>A</Name>"
                   "<Parameters><P>1</P><Q/></Parameters></D></HX_Configurations>"),
              0);
    ASSERT_EQ(write(m_config, open(m_config, "A").handle, "P", "2"), (Size{0, 1}));
    EXPECT_EQ(readFile((m_directory.path() / "config.xml").string()), R"(<?xml version="1.0"?>
<!-- kept -->
<HX_Configurations a="&amp;">
    <D>
        <Name>A</Name>
        <Parameters>
            <P>2</P>
            <Q/>
        </Parameters>
    </D>
</HX_Configurations>
)");
}

TEST_F(HX_ConfigTest, WritingAgainAndAgainDoesNotLetTheFileGrow)
{
    ASSERT_EQ(write(m_config, open(m_config, "A").handle, "Commented", "same"), (Size{0, 4}));
    const std::string once = readFile(m_path);
    HX_Config config;
    ASSERT_EQ(initialize(config, m_path), 0);
    ASSERT_EQ(write(config, open(config, "A").handle, "Commented", "same"), (Size{0, 4}));
    EXPECT_EQ(readFile(m_path), once);
}

TEST_F(HX_ConfigTest, ShorterDocumentLeavesNoTailOfTheLongerOne)
{
    const int handle = open(m_config, "A").handle;
    ASSERT_EQ(write(m_config, handle, "Letters", std::string(20000, 'x')), (Size{0, 20000}));
    ASSERT_EQ(write(m_config, handle, "Letters", "y"), (Size{0, 1}));
    EXPECT_EQ(reloaded(m_path, "A", "Letters"), (Text{0, "y"}));
}

TEST_F(HX_ConfigTest, MarkupInAValueIsEscapedAndReadBack)
{
    const int handle = open(m_config, "A").handle;
    EXPECT_EQ(write(m_config, handle, "Letters", "</Letters> & \"<x>\" ]]>"), (Size{0, 22}));
    EXPECT_EQ(reloaded(m_path, "A", "Letters"), (Text{0, "</Letters> & \"<x>\" ]]>"}));
}

TEST_F(HX_ConfigTest, CharacterSectionTakesMarkupAndItsOwnEndMark)
{
    const int handle = open(m_config, "A").handle;
    EXPECT_EQ(write(m_config, handle, "Section", "<b> & c"), (Size{0, 7}));
    EXPECT_EQ(reloaded(m_path, "A", "Section"), (Text{0, "<b> & c"}));
    EXPECT_EQ(write(m_config, handle, "Section", "a]]>b<c"), (Size{0, 7}));
    EXPECT_EQ(reloaded(m_path, "A", "Section"), (Text{0, "a]]>b<c"}));
}

TEST_F(HX_ConfigTest, CommentBeforeTheTextIsKeptAndTheOldTextIsNot)
{
    const int handle = open(m_config, "A").handle;
    EXPECT_EQ(write(m_config, handle, "Commented", "changed"), (Size{0, 7}));
    EXPECT_EQ(reloaded(m_path, "A", "Commented"), (Text{0, "changed"}));
    EXPECT_NE(readFile(m_path).find("<!-- before -->changed<!-- after --></Commented>"), std::string::npos);
}

TEST_F(HX_ConfigTest, OnlyParametersWithATextCanBeWritten)
{
    const int handle = open(m_config, "A").handle;
    for (const char* name : {"Empty", "Blank", "Nested", "Missing", "Comment", "Name", ""})
        EXPECT_EQ(write(m_config, handle, name, "x"), (Size{3, 0})) << name;
    EXPECT_EQ(readFile(m_path), kFile);
    EXPECT_EQ(read(m_config, handle, ""), (Text{0, "A"}));
}

TEST_F(HX_ConfigTest, EmptyValueStaysReadableUntilTheFileIsLoadedAgain)
{
    const int handle = open(m_config, "A").handle;
    EXPECT_EQ(write(m_config, handle, "Letters", ""), (Size{0, 0}));
    EXPECT_EQ(sizeOf(m_config, handle, "Letters"), (Size{0, 0}));
    EXPECT_EQ(read(m_config, handle, "Letters"), (Text{0, ""}));
    EXPECT_EQ(reloaded(m_path, "A", "Letters"), (Text{3, ""}));
    EXPECT_EQ(write(m_config, handle, "Letters", "back"), (Size{0, 4}));
    EXPECT_EQ(reloaded(m_path, "A", "Letters"), (Text{0, "back"}));
}

TEST_F(HX_ConfigTest, ValueEndsAtAZeroByteButAllBytesCount)
{
    const int handle = open(m_config, "A").handle;
    EXPECT_EQ(write(m_config, handle, "Letters", std::string("ab\0cd", 5)), (Size{0, 5}));
    EXPECT_EQ(read(m_config, handle, "Letters"), (Text{0, "ab"}));
    EXPECT_EQ(reloaded(m_path, "A", "Letters"), (Text{0, "ab"}));
}

TEST_F(HX_ConfigTest, UnusableValuesThrowAndChangeNothing)
{
    const int handle = open(m_config, "A").handle;
    auto rc = RETURN_CODE_TYPE::DATA_OVERFLOW;
    int count = -7;
    char value[] = "value";
    EXPECT_THROW(m_config.Write(handle, "Letters", nullptr, 1, count, rc), std::logic_error);
    EXPECT_THROW(m_config.Write(handle, "Missing", nullptr, 1, count, rc), std::logic_error);
    EXPECT_THROW(m_config.Write(handle, "Letters", value, -1, count, rc), std::length_error);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(read(m_config, handle, "Letters"), (Text{0, "abcdef"}));
    EXPECT_EQ(readFile(m_path), kFile);
}

TEST_F(HX_ConfigTest, NullBufferWithoutASizeIsAnEmptyValue)
{
    const int handle = open(m_config, "A").handle;
    auto rc = RETURN_CODE_TYPE::DATA_OVERFLOW;
    int count = -7;
    m_config.Write(handle, "Letters", nullptr, 0, count, rc);
    EXPECT_EQ(rc, 0);
    EXPECT_EQ(sizeOf(m_config, handle, "Letters"), (Size{0, 0}));
}

TEST_F(HX_ConfigTest, FileIsMadeAgainWithModeSixFourFour)
{
    const int handle = open(m_config, "A").handle;
    std::filesystem::remove(m_path);
    const mode_t previous = umask(0);
    const Size written = write(m_config, handle, "Letters", "new");
    umask(previous);
    EXPECT_EQ(written, (Size{0, 3}));
    struct stat status {};
    ASSERT_EQ(stat(m_path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0644u);
    EXPECT_EQ(reloaded(m_path, "A", "Letters"), (Text{0, "new"}));
}

TEST_F(HX_ConfigTest, ReadOnlyFileKeepsItsTextWhileMemoryChanges)
{
    const int handle = open(m_config, "A").handle;
    std::filesystem::permissions(m_directory.path(), std::filesystem::perms(0755));
    std::filesystem::permissions(m_path, std::filesystem::perms(0444));
    Size written{};
    {
        const Unprivileged user;
        written = write(m_config, handle, "Letters", "new");
    }
    EXPECT_EQ(written, (Size{1, 0}));
    EXPECT_EQ(read(m_config, handle, "Letters"), (Text{0, "new"}));
    EXPECT_EQ(readFile(m_path), kFile);
}

TEST_F(HX_ConfigTest, RemovedDirectoryFailsTheSave)
{
    const int handle = open(m_config, "A").handle;
    std::filesystem::remove_all(m_directory.path());
    EXPECT_EQ(write(m_config, handle, "Letters", "new"), (Size{1, 0}));
    EXPECT_EQ(read(m_config, handle, "Letters"), (Text{0, "new"}));
}

TEST_F(HX_ConfigTest, DirectoryInPlaceOfTheFileFailsTheSave)
{
    const int handle = open(m_config, "A").handle;
    std::filesystem::remove(m_path);
    std::filesystem::create_directory(m_path);
    EXPECT_EQ(write(m_config, handle, "Letters", "new"), (Size{1, 0}));
    EXPECT_EQ(read(m_config, handle, "Letters"), (Text{0, "new"}));
}

TEST_F(HX_ConfigTest, FullDeviceFailsTheSaveOfASmallDocument)
{
    const int handle = open(m_config, "A").handle;
    Size written{};
    {
        const FileSizeLimit limit(100);
        written = write(m_config, handle, "Letters", "new");
    }
    EXPECT_EQ(written, (Size{1, 0}));
    EXPECT_EQ(read(m_config, handle, "Letters"), (Text{0, "new"}));
    EXPECT_LE(std::filesystem::file_size(m_path), 100u);
}

TEST_F(HX_ConfigTest, FullDeviceFailsTheSaveOfALargeDocument)
{
    const int handle = open(m_config, "A").handle;
    Size written{};
    {
        const FileSizeLimit limit(10000);
        written = write(m_config, handle, "Letters", std::string(500000, 'x'));
    }
    EXPECT_EQ(written, (Size{1, 0}));
    EXPECT_EQ(sizeOf(m_config, handle, "Letters"), (Size{0, 500000}));
}

TEST_F(HX_ConfigTest, DeviceThatTakesNothingFailsTheSave)
{
    const int handle = open(m_config, "A").handle;
    std::filesystem::remove(m_path);
    std::filesystem::create_symlink("/dev/full", m_path);
    EXPECT_EQ(write(m_config, handle, "Letters", "new"), (Size{1, 0}));
}

TEST_F(HX_ConfigTest, WriteAfterAFailedOneSavesBothValues)
{
    const int handle = open(m_config, "A").handle;
    {
        const FileSizeLimit limit(10);
        write(m_config, handle, "Letters", "failed first");
    }
    EXPECT_EQ(write(m_config, handle, "Twice", "second try"), (Size{0, 10}));
    EXPECT_EQ(reloaded(m_path, "A", "Letters"), (Text{0, "failed first"}));
    EXPECT_EQ(reloaded(m_path, "A", "Twice"), (Text{0, "second try"}));
}

TEST_F(HX_ConfigTest, NoDescriptorIsLeftOpen)
{
    const int handle = open(m_config, "A").handle;
    const std::size_t before = openDescriptors();
    for (int i = 0; i < 20; ++i) {
        write(m_config, handle, "Letters", "good");
        const FileSizeLimit limit(10);
        write(m_config, handle, "Letters", "bad");
    }
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(HX_ConfigTest, ReaderThatHoldsTheFileOpenSeesTheNewText)
{
    const int handle = open(m_config, "A").handle;
    const int reader = ::open(m_path.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    EXPECT_EQ(write(m_config, handle, "Letters", "rewritten in place"), (Size{0, 18}));
    std::string content(8192, '\0');
    const ssize_t count = pread(reader, content.data(), content.size(), 0);
    ::close(reader);
    ASSERT_GT(count, 0);
    EXPECT_NE(content.find("<Letters>rewritten in place</Letters>"), std::string::npos);
}

TEST_F(HX_ConfigTest, ConcurrentReaderGetsAWholeFileOrNoneAndDoesNotFailTheWriter)
{
    const int handle = open(m_config, "A").handle;
    std::atomic<bool> done = false;
    std::atomic<int> loads = 0;
    std::promise<void> reading;
    auto reader = std::async(std::launch::async, [&] {
        const ConsoleCapture console(std::cout);  // an empty moment of the file is no document
        reading.set_value();
        bool whole = true;
        while (!done || loads == 0) {
            HX_Config config;
            if (initialize(config, m_path) == 0) {
                const Text letters = read(config, open(config, "A").handle, "Letters");
                whole = whole && letters.rc == 0 &&
                        (letters.text == "abcdef" || letters.text == "value" || letters.text == "the last one");
            }
            ++loads;
        }
        return whole;
    });
    reading.get_future().wait();
    for (int i = 0; i < 200; ++i) EXPECT_EQ(write(m_config, handle, "Letters", "value"), (Size{0, 5}));
    EXPECT_EQ(write(m_config, handle, "Letters", "the last one"), (Size{0, 12}));
    done = true;
    EXPECT_TRUE(reader.get());
    EXPECT_EQ(reloaded(m_path, "A", "Letters"), (Text{0, "the last one"}));
}

namespace {

/// The flags of this process's descriptor that writes to a file; nothing if there is none.
std::optional<long> flagsOfWriter(const std::string& path)
{
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        if (std::filesystem::read_symlink(entry.path(), error) != path) continue;
        const std::string info = readFile("/proc/self/fdinfo/" + entry.path().filename().string());
        const long flags = std::strtol(info.c_str() + info.find("flags:") + 6, nullptr, 8);
        if ((flags & O_ACCMODE) == O_WRONLY) return flags;
    }
    return std::nullopt;
}

}  // namespace

/// The file becomes a pipe that takes less than the document: the save stands still until it is read out.
class HX_ConfigHeldSaveTest : public HX_ConfigTest {
protected:
    HX_ConfigHeldSaveTest()
    {
        std::filesystem::remove(m_path);
        if (mkfifo(m_path.c_str(), 0600) != 0) throw std::runtime_error("cannot make a pipe");
        m_handle = open(m_config, "A").handle;
        m_writer = std::async(std::launch::async,
                              [this] { return write(m_config, m_handle, "Letters", std::string(1000000, 'x')); });
        m_reader = ::open(m_path.c_str(), O_RDONLY | O_CLOEXEC);
        pollfd waiting{m_reader, POLLIN, 0};
        if (poll(&waiting, 1, 60000) != 1) throw std::runtime_error("nothing was written");
    }
    ~HX_ConfigHeldSaveTest() override { ::close(m_reader); }

    /// Reads the pipe to its end, which lets the save end too.
    std::string drain() const
    {
        std::string content;
        char part[65536];
        for (ssize_t count = 0; (count = ::read(m_reader, part, sizeof part)) > 0;)
            content.append(part, static_cast<std::size_t>(count));
        return content;
    }

    int m_handle = -1;
    std::future<Size> m_writer;
    int m_reader = -1;
};

TEST_F(HX_ConfigHeldSaveTest, FileIsWrittenSynchronously)
{
    const std::optional<long> flags = flagsOfWriter(m_path);
    const std::string content = drain();
    EXPECT_EQ(m_writer.get(), (Size{0, 1000000}));
    ASSERT_TRUE(flags.has_value());
    EXPECT_EQ(*flags & O_SYNC, O_SYNC);
    EXPECT_EQ(content.substr(content.size() - 21), "</HX_Configurations>\n");
}

TEST_F(HX_ConfigHeldSaveTest, SaveHoldsTheMutex)
{
    std::promise<void> calling;
    auto other = std::async(std::launch::async, [this, &calling] {
        calling.set_value();
        return m_config.schema();
    });
    calling.get_future().wait();
    EXPECT_EQ(other.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout);
    drain();
    EXPECT_EQ(m_writer.get(), (Size{0, 1000000}));
    other.get();
}

TEST_F(HX_ConfigHeldSaveTest, SecondInitializeDoesNotWaitForASave)
{
    auto other = std::async(std::launch::async, [this] { return initialize(m_config, m_path); });
    EXPECT_EQ(other.get(), 0);
    drain();
    EXPECT_EQ(m_writer.get(), (Size{0, 1000000}));
}

// Stepping

namespace {

/// Devices with others between, before and behind them; one of them has no name.
constexpr const char* kStepping = R"(<HX_Configurations>
    <Bus><Name>X</Name></Bus>
    <Device><Name>1</Name></Device>
    <Bus><Name>Y</Name></Bus>
    <Bus><Name>Z</Name></Bus>
    <Device><Name>2</Name></Device>
    <Device><Parameters><P>nameless</P></Parameters></Device>
    <Device><Name>4</Name></Device>
    <Bus><Name>V</Name></Bus>
</HX_Configurations>
)";

constexpr int kLowest = std::numeric_limits<int>::min();
constexpr int kHighest = std::numeric_limits<int>::max();

}  // namespace

TEST_F(HX_ConfigFileTest, SeekTable)
{
    const struct {
        const char* from;
        Whence::Value whence;
        int offset;
        int rc;
        const char* at;  // the selection afterwards; empty for the one without a name
    } kCases[] = {
        {"2", Whence::WHENCE_BEGIN, 0, 0, "1"},
        {"2", Whence::WHENCE_BEGIN, 1, 0, "2"},
        {"2", Whence::WHENCE_BEGIN, 2, 0, ""},
        {"2", Whence::WHENCE_BEGIN, 3, 0, "4"},
        {"2", Whence::WHENCE_BEGIN, 4, 3, "2"},
        {"2", Whence::WHENCE_BEGIN, -1, 3, "2"},
        {"2", Whence::WHENCE_BEGIN, kLowest, 3, "2"},
        {"2", Whence::WHENCE_BEGIN, kHighest, 3, "2"},
        {"1", Whence::WHENCE_CURRENT, 0, 0, "1"},
        {"1", Whence::WHENCE_CURRENT, 1, 0, "2"},
        {"2", Whence::WHENCE_CURRENT, 1, 0, ""},
        {"2", Whence::WHENCE_CURRENT, 2, 0, "4"},
        {"4", Whence::WHENCE_CURRENT, 1, 3, "4"},
        {"4", Whence::WHENCE_CURRENT, -1, 0, ""},
        {"4", Whence::WHENCE_CURRENT, -2, 0, "2"},
        {"4", Whence::WHENCE_CURRENT, -3, 0, "1"},
        {"4", Whence::WHENCE_CURRENT, -4, 3, "4"},
        {"4", Whence::WHENCE_CURRENT, kLowest, 3, "4"},
        {"1", Whence::WHENCE_CURRENT, kHighest, 3, "1"},
        {"2", Whence::WHENCE_END, 0, 0, "4"},
        {"2", Whence::WHENCE_END, 1, 0, ""},
        {"2", Whence::WHENCE_END, 2, 0, "2"},
        {"2", Whence::WHENCE_END, 3, 0, "1"},
        {"2", Whence::WHENCE_END, 4, 3, "2"},
        {"2", Whence::WHENCE_END, -1, 3, "2"},
        {"2", Whence::WHENCE_END, kLowest, 3, "2"},
        {"2", Whence::WHENCE_END, kHighest, 3, "2"},
        {"2", static_cast<Whence::Value>(3), 0, 4, "2"},
        {"2", static_cast<Whence::Value>(-1), 0, 4, "2"},
        {"2", static_cast<Whence::Value>(kLowest), 1, 4, "2"},
    };
    ASSERT_EQ(load(kStepping), 0);
    for (const auto& each : kCases) {
        const int handle = open(m_config, each.from).handle;
        const auto what = testing::Message() << each.from << ' ' << each.whence << ' ' << each.offset;
        EXPECT_EQ(seek(m_config, handle, each.whence, each.offset), each.rc) << what;
        EXPECT_EQ(read(m_config, handle, "").text, each.at) << what;
        close(m_config, handle);
    }
}

TEST_F(HX_ConfigFileTest, ContainerWithoutANameIsSteppedToAndRead)
{
    ASSERT_EQ(load(kStepping), 0);
    const int handle = open(m_config, "2").handle;
    ASSERT_EQ(seek(m_config, handle, Whence::WHENCE_CURRENT, 1), 0);
    EXPECT_EQ(read(m_config, handle, "P"), (Text{0, "nameless"}));
    EXPECT_EQ(sizeOf(m_config, handle, ""), (Size{4, -7}));
    EXPECT_EQ(read(m_config, handle, ""), (Text{3, ""}));
}

TEST_F(HX_ConfigFileTest, OpenOfAnEmptyNameFindsTheSetThatHasNone)
{
    ASSERT_EQ(load(kStepping), 0);
    const int handle = open(m_config, "2").handle;
    EXPECT_EQ(open(m_config, "").rc, 4);
    ASSERT_EQ(seek(m_config, handle, Whence::WHENCE_CURRENT, 1), 0);
    EXPECT_EQ(open(m_config, "").rc, 0);
    EXPECT_EQ(open(m_config, "").handle, handle);
}

TEST_F(HX_ConfigFileTest, HandlesOfInstancesInTwoThreadsAreAllDistinct)
{
    const std::string path = m_directory.write("config.xml", kStepping);
    const auto handles = [&path] {
        std::vector<int> all;
        HX_Config config;
        if (initialize(config, path) != 0) return all;
        for (int i = 0; i < 1000; ++i) {
            all.push_back(open(config, "1").handle);
            close(config, all.back());
        }
        return all;
    };
    auto other = std::async(std::launch::async, handles);
    std::vector<int> all = handles();
    std::ranges::copy(other.get(), std::back_inserter(all));
    ASSERT_EQ(all.size(), 2000u);
    EXPECT_EQ(std::set<int>(all.begin(), all.end()).size(), 2000u);
}

TEST_F(HX_ConfigFileTest, EndLooksForNamedContainersOnlyAndMayStepBeyondThem)
{
    ASSERT_EQ(load("<HX_Configurations><D><Name>1</Name></D><D><Parameters><P>tail</P></Parameters></D>"
                   "</HX_Configurations>"),
              0);
    const int handle = open(m_config, "D").handle;
    EXPECT_EQ(seek(m_config, handle, Whence::WHENCE_END, 0), 0);
    EXPECT_EQ(read(m_config, handle, "").text, "1");
    EXPECT_EQ(seek(m_config, handle, Whence::WHENCE_END, -1), 0);
    EXPECT_EQ(read(m_config, handle, "P").text, "tail");
}

TEST_F(HX_ConfigFileTest, ContainerNamedLikeTheTypeIsAStartOfBeginAndEnd)
{
    ASSERT_EQ(load("<HX_Configurations><Bus><Name>D</Name></Bus><D><Name>1</Name></D><D><Name>2</Name></D>"
                   "<Bus><Name>D</Name></Bus></HX_Configurations>"),
              0);
    const int handle = open(m_config, "1").handle;
    EXPECT_EQ(seek(m_config, handle, Whence::WHENCE_BEGIN, 0), 0);
    EXPECT_EQ(read(m_config, handle, "").text, "D");
    EXPECT_EQ(seek(m_config, handle, Whence::WHENCE_BEGIN, 1), 0);
    EXPECT_EQ(read(m_config, handle, "").text, "1");
    EXPECT_EQ(seek(m_config, handle, Whence::WHENCE_END, 1), 0);
    EXPECT_EQ(read(m_config, handle, "").text, "2");
    EXPECT_EQ(seek(m_config, handle, Whence::WHENCE_END, 3), 3);
}

TEST_F(HX_ConfigTest, SeekTakesTheNameAlong)
{
    const int handle = open(m_config, "A").handle;
    ASSERT_EQ(seek(m_config, handle, Whence::WHENCE_CURRENT, 1), 0);
    EXPECT_EQ(open(m_config, "A").handle, handle);  // no set is called A any more, so this one is moved back
    EXPECT_EQ(read(m_config, handle, "Letters").text, "abcdef");
}

TEST_F(HX_ConfigTest, SteppingUntilItFailsListsAllOfAType)
{
    const int handle = open(m_config, "Device").handle;
    std::vector<std::string> names{read(m_config, handle, "").text};
    while (seek(m_config, handle, Whence::WHENCE_CURRENT, 1) == 0) names.push_back(read(m_config, handle, "").text);
    EXPECT_EQ(names, (std::vector<std::string>{"A", "B"}));
}
