#include "face/HX_Config_Helpers.h"

#include "face/HX_Config.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <iostream>
#include <stdexcept>
#include <string>

using namespace HX_Config_Helpers;
using FACE::RETURN_CODE_TYPE;
using FACE::String;

namespace {

constexpr const char* kFile = R"(<HX_Configurations>
    <Device>
        <Name>A</Name>
        <Parameters>
            <Letters>abcdef</Letters>
            <Padded> true</Padded>
            <Empty></Empty>
            <Flag>yes</Flag>
        </Parameters>
    </Device>
</HX_Configurations>
)";

const char* nullText()
{
    return nullptr;
}

class HX_Config_HelpersTest : public testing::Test {
protected:
    HX_Config_HelpersTest() : m_path(m_directory.write("config.xml", kFile))
    {
        m_config.Initialize(m_path.c_str(), m_rc);
        m_config.Open("A", m_handle, m_rc);
        if (m_rc != 0) throw std::runtime_error("cannot open the sample");
        m_rc = RETURN_CODE_TYPE::TIMED_OUT;  // a value that no helper writes
    }

    /// What the getter makes of a text; the answer and the code tell whether it was read.
    bool boolean(const char* text)
    {
        m_rc = RETURN_CODE_TYPE::TIMED_OUT;
        Set_String_Parameter(m_config, m_handle, "Flag", text, m_rc);
        bool asTrue = true;
        bool asFalse = false;
        Get_Boolean_Parameter(m_config, m_handle, "Flag", asTrue, m_rc);
        Get_Boolean_Parameter(m_config, m_handle, "Flag", asFalse, m_rc);
        EXPECT_EQ(m_rc, 6) << text;
        EXPECT_EQ(asTrue, asFalse) << text;
        return asTrue;
    }

    TemporaryDirectory m_directory;
    std::string m_path;
    FACE::HX_Config m_config;
    int m_handle = -1;
    RETURN_CODE_TYPE::Value m_rc = RETURN_CODE_TYPE::NO_ERROR;
};

/// A configuration that answers what it is told to.
class Scripted : public FACE::Configuration {
public:
    void Initialize(const String&, RETURN_CODE_TYPE::Value&) override {}
    void Open(const String&, int&, RETURN_CODE_TYPE::Value&) override {}
    void Get_Size(int, const String&, int& result, RETURN_CODE_TYPE::Value& return_code) override
    {
        result = size;
        return_code = sizeCode;
    }
    void Read(int, const String&, void* buffer, int buffer_size, int& bytes_read,
              RETURN_CODE_TYPE::Value& return_code) override
    {
        std::memset(buffer, 'r', static_cast<std::size_t>(buffer_size));
        bytes_read = count;
        return_code = readCode;
    }
    void Write(int, const String&, void*, int, int& bytes_written, RETURN_CODE_TYPE::Value& return_code) override
    {
        bytes_written = count;
        return_code = writeCode;
    }
    void Seek(int, WHENCE_TYPE::Value, int, RETURN_CODE_TYPE::Value&) override {}
    void Close(int, RETURN_CODE_TYPE::Value&) override {}

    int size = 4;
    int count = 4;
    RETURN_CODE_TYPE::Value sizeCode = RETURN_CODE_TYPE::NO_ERROR;
    RETURN_CODE_TYPE::Value readCode = RETURN_CODE_TYPE::NO_ERROR;
    RETURN_CODE_TYPE::Value writeCode = RETURN_CODE_TYPE::NO_ERROR;
};

std::string readScripted(Scripted& config)
{
    const ConsoleCapture console(std::cout);
    const std::string text = Details::Read_Config(config, 0, "Key");
    EXPECT_EQ(console.text(), text.empty() ? "WARNING - Parameter Key not found\n" : "");
    return text;
}

}  // namespace

TEST_F(HX_Config_HelpersTest, ReadConfigGivesTheTextInSilence)
{
    const ConsoleCapture console(std::cout);
    EXPECT_EQ(Details::Read_Config(m_config, m_handle, "Letters"), "abcdef");
    EXPECT_EQ(Details::Read_Config(m_config, m_handle, ""), "A");
    EXPECT_EQ(console.text(), "");
}

TEST_F(HX_Config_HelpersTest, MissingParameterIsWarnedOf)
{
    const ConsoleCapture console(std::cout);
    EXPECT_EQ(Details::Read_Config(m_config, m_handle, "Missing"), "");
    EXPECT_EQ(console.flushed(), "WARNING - Parameter Missing not found\n");
    EXPECT_EQ(console.text(), "WARNING - Parameter Missing not found\n");
}

TEST_F(HX_Config_HelpersTest, EmptyParameterIsWarnedOfToo)
{
    const ConsoleCapture console(std::cout);
    EXPECT_EQ(Details::Read_Config(m_config, m_handle, "Empty"), "");
    EXPECT_EQ(console.text(), "WARNING - Parameter Empty not found\n");
}

TEST_F(HX_Config_HelpersTest, ParameterEmptiedInMemoryIsWarnedOfToo)
{
    Set_String_Parameter(m_config, m_handle, "Letters", "", m_rc);
    EXPECT_EQ(m_rc, 6);
    const ConsoleCapture console(std::cout);
    EXPECT_EQ(Details::Read_Config(m_config, m_handle, "Letters"), "");
    EXPECT_EQ(console.text(), "WARNING - Parameter Letters not found\n");
}

TEST_F(HX_Config_HelpersTest, NullNameIsPrintedAsEmptyAndLeavesTheConsoleWorking)
{
    const ConsoleCapture console(std::cout);
    EXPECT_EQ(Details::Read_Config(m_config, -1, String(nullText())), "");
    EXPECT_EQ(console.text(), "WARNING - Parameter  not found\n");
    EXPECT_TRUE(std::cout.good());
    EXPECT_THROW(Details::Read_Config(m_config, m_handle, String(nullText())), std::logic_error);
}

TEST(HX_Config_HelpersScriptTest, AnswersThatMakeNoSenseReadAsEmpty)
{
    Scripted config;
    EXPECT_EQ(readScripted(config), "rrrr");
    config.size = -1;
    EXPECT_EQ(readScripted(config), "");
    config.size = 0;
    EXPECT_EQ(readScripted(config), "");
    config.size = 4;
    config.count = -5;
    EXPECT_EQ(readScripted(config), "");
    config.count = 1000;
    EXPECT_EQ(readScripted(config), "rrrr");
    config.count = 2;
    EXPECT_EQ(readScripted(config), "rr");
    config.readCode = RETURN_CODE_TYPE::INVALID_PARAM;
    EXPECT_EQ(readScripted(config), "");
    config.readCode = RETURN_CODE_TYPE::NO_ERROR;
    config.sizeCode = RETURN_CODE_TYPE::INVALID_CONFIG;
    EXPECT_EQ(readScripted(config), "");
}

TEST_F(HX_Config_HelpersTest, BooleanTexts)
{
    for (const char* text : {"true", "True", "TRUE", "tRuE", "1", "2", "-1", "+7", "010", "0x10", "0X1", "1abc", " 5",
                             "99999999999999999999999", "-99999999999999999999999", "4294967296"})
        EXPECT_TRUE(boolean(text)) << text;
    for (const char* text : {"false", "False", "FALSE", "0", "00", "0x0", "no", "yes", "on", "t", "truely", " true",
                             "true ", "08", "0x", "x1", "-0", "\xFF", "\xE4true"})
        EXPECT_FALSE(boolean(text)) << text;
}

TEST_F(HX_Config_HelpersTest, BooleanWithBlanksBeforeItInTheFileIsFalse)
{
    bool value = true;
    Get_Boolean_Parameter(m_config, m_handle, "Padded", value, m_rc);
    EXPECT_FALSE(value);
}

TEST_F(HX_Config_HelpersTest, MissingBooleanLeavesTheValueAndSetsTheCode)
{
    const ConsoleCapture console(std::cout);
    for (const bool before : {true, false}) {
        bool value = before;
        m_rc = RETURN_CODE_TYPE::NO_ERROR;
        Get_Boolean_Parameter(m_config, m_handle, "Empty", value, m_rc);
        EXPECT_EQ(m_rc, 4);
        EXPECT_EQ(value, before);
    }
    EXPECT_EQ(console.text(), "WARNING - Parameter Empty not found\nWARNING - Parameter Empty not found\n");
}

TEST_F(HX_Config_HelpersTest, StringIsAManagedCopyWithItsLengthAsBound)
{
    String value;
    Get_String_Parameter(m_config, m_handle, "Letters", value, m_rc);
    EXPECT_EQ(m_rc, 6);
    EXPECT_STREQ(value.buffer(), "abcdef");
    EXPECT_TRUE(value.is_managed());
    EXPECT_EQ(value.bound(), 6u);
}

TEST_F(HX_Config_HelpersTest, StringOverAnExternalBufferBecomesManaged)
{
    char buffer[9] = "previous";
    String::RETURN_CODE made = String::INVALID_VALUE;
    String value(buffer, 8, 8, made);
    Get_String_Parameter(m_config, m_handle, "Letters", value, m_rc);
    EXPECT_TRUE(value.is_managed());
    EXPECT_STREQ(value.buffer(), "abcdef");
    EXPECT_STREQ(buffer, "previous");
}

TEST_F(HX_Config_HelpersTest, MissingStringLeavesTheValueAndSetsTheCode)
{
    const ConsoleCapture console(std::cout);
    String value("before");
    Get_String_Parameter(m_config, m_handle, "Missing", value, m_rc);
    EXPECT_EQ(m_rc, 4);
    EXPECT_STREQ(value.buffer(), "before");
    EXPECT_FALSE(value.is_managed());
    EXPECT_EQ(console.text(), "WARNING - Parameter Missing not found\n");
}

TEST_F(HX_Config_HelpersTest, FailureSticksThroughARunOfReads)
{
    const ConsoleCapture console(std::cout);
    String value;
    bool flag = false;
    m_rc = RETURN_CODE_TYPE::NO_ERROR;
    Get_String_Parameter(m_config, m_handle, "Missing", value, m_rc);
    Get_String_Parameter(m_config, m_handle, "Letters", value, m_rc);
    Get_Boolean_Parameter(m_config, m_handle, "Flag", flag, m_rc);
    EXPECT_EQ(m_rc, 4);
    EXPECT_STREQ(value.buffer(), "abcdef");
}

TEST_F(HX_Config_HelpersTest, StringIsWrittenToTheFile)
{
    Set_String_Parameter(m_config, m_handle, "Letters", "changed", m_rc);
    EXPECT_EQ(m_rc, 6);
    EXPECT_NE(readFile(m_path).find("<Letters>changed</Letters>"), std::string::npos);
}

TEST_F(HX_Config_HelpersTest, BooleansAreWrittenInCapitals)
{
    Set_Boolean_Parameter(m_config, m_handle, "Flag", true, m_rc);
    EXPECT_NE(readFile(m_path).find("<Flag>TRUE</Flag>"), std::string::npos);
    Set_Boolean_Parameter(m_config, m_handle, "Flag", false, m_rc);
    EXPECT_NE(readFile(m_path).find("<Flag>FALSE</Flag>"), std::string::npos);
    EXPECT_EQ(m_rc, 6);
}

TEST_F(HX_Config_HelpersTest, ParametersWithoutATextCanNotBeSet)
{
    for (const char* name : {"Empty", "Missing", ""}) {
        m_rc = RETURN_CODE_TYPE::NO_ERROR;
        Set_String_Parameter(m_config, m_handle, name, "x", m_rc);
        EXPECT_EQ(m_rc, 4) << name;
        m_rc = RETURN_CODE_TYPE::NO_ERROR;
        Set_Boolean_Parameter(m_config, m_handle, name, true, m_rc);
        EXPECT_EQ(m_rc, 4) << name;
    }
    EXPECT_EQ(readFile(m_path), kFile);
}

TEST_F(HX_Config_HelpersTest, WriteThatCanNotBeSavedIsAFailure)
{
    std::filesystem::remove_all(m_directory.path());
    EXPECT_FALSE(Details::Write_Config(m_config, m_handle, "Letters", "new"));
    Set_String_Parameter(m_config, m_handle, "Letters", "newer", m_rc);
    EXPECT_EQ(m_rc, 4);
    EXPECT_EQ(Details::Read_Config(m_config, m_handle, "Letters"), "newer");
}

TEST(HX_Config_HelpersScriptTest, WriteNeedsNoErrorAndAllBytes)
{
    Scripted config;
    EXPECT_TRUE(Details::Write_Config(config, 0, "Key", "four"));
    EXPECT_FALSE(Details::Write_Config(config, 0, "Key", "three"));
    config.writeCode = RETURN_CODE_TYPE::NO_ACTION;
    EXPECT_FALSE(Details::Write_Config(config, 0, "Key", "four"));
}

TEST_F(HX_Config_HelpersTest, NullValueThrowsAndErasesNothing)
{
    EXPECT_THROW(Set_String_Parameter(m_config, m_handle, "Letters", String(nullText()), m_rc), std::logic_error);
    EXPECT_EQ(Details::Read_Config(m_config, m_handle, "Letters"), "abcdef");
    EXPECT_EQ(readFile(m_path), kFile);
}
