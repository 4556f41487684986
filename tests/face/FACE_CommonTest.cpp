#include "face/FACE_Common.h"
#include "tests/support/ConsoleCapture.h"

#include <gtest/gtest.h>

#include <iostream>
#include <stdexcept>
#include <string>
#include <utility>

using FACE::RETURN_CODE_TYPE;

namespace {

const char* textOf(int number)
{
    static std::string text;
    text = RETURN_CODE_TYPE::ToString(static_cast<RETURN_CODE_TYPE::Value>(number)).buffer();
    return text.c_str();
}

using Check = void (*)(const char*, int, const char*, RETURN_CODE_TYPE::Value);

/// The console and exception text of a check that fails; both empty if it passed.
std::pair<std::string, std::string> outcome(Check check, int number, const char* file = "dir/Unit.cpp",
                                            const char* text = "Open() failed")
{
    const ConsoleCapture console(std::cout);
    try {
        check(file, 42, text, static_cast<RETURN_CODE_TYPE::Value>(number));
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(console.flushed(), console.text());
        return {console.text(), error.what()};
    }
    return {console.text(), ""};
}

using Texts = std::pair<std::string, std::string>;

}  // namespace

TEST(ReturnCodeTest, EveryNumberHasItsText)
{
    EXPECT_STREQ(textOf(0), "NO_ERROR");
    EXPECT_STREQ(textOf(1), "NO_ACTION");
    EXPECT_STREQ(textOf(2), "NOT_AVAILABLE");
    EXPECT_STREQ(textOf(3), "INVALID_PARAM");
    EXPECT_STREQ(textOf(4), "INVALID_CONFIG");
    EXPECT_STREQ(textOf(5), "INVALID_MODE");
    EXPECT_STREQ(textOf(6), "TIMED_OUT");
    EXPECT_STREQ(textOf(7), "ADDR_IN_USE");
    EXPECT_STREQ(textOf(8), "PERMISSION_DENIED");
    EXPECT_STREQ(textOf(9), "MESSAGE_STALE");
    EXPECT_STREQ(textOf(10), "IN_PROGRESS");
    EXPECT_STREQ(textOf(11), "CONNECTION_CLOSED");
    EXPECT_STREQ(textOf(12), "DATA_BUFFER_TOO_SMALL");
    EXPECT_STREQ(textOf(13), "DATA_OVERFLOW");
}

TEST(ReturnCodeTest, ANumberOutsideTheTableIsUnknown)
{
    EXPECT_STREQ(textOf(14), "RC_UNKNOWN");
    EXPECT_STREQ(textOf(-1), "RC_UNKNOWN");
    EXPECT_STREQ(textOf(-2147483647 - 1), "RC_UNKNOWN");
    EXPECT_STREQ(textOf(2147483647), "RC_UNKNOWN");
}

TEST(ReturnCodeTest, TheTextIsAManagedStringWithItsLengthAsBound)
{
    const FACE::String text = RETURN_CODE_TYPE::ToString(RETURN_CODE_TYPE::TIMED_OUT);
    EXPECT_TRUE(text.is_managed());
    EXPECT_EQ(text.length(), 9u);
    EXPECT_EQ(text.bound(), 9u);
}

TEST(ReturnCodeTest, ValueIsThirtyTwoBits)
{
    static_assert(sizeof(RETURN_CODE_TYPE::Value) == 4);
    static_assert(std::is_signed_v<std::underlying_type_t<RETURN_CODE_TYPE::Value>>);
    EXPECT_EQ(RETURN_CODE_TYPE::DATA_OVERFLOW, 13);
}

TEST(ReturnCodeCheckTest, NoErrorPassesOnlyZero)
{
    const Check check = FACE::Return_Code_Value_No_Error;
    EXPECT_EQ(outcome(check, 0), Texts("", ""));
    EXPECT_EQ(outcome(check, 1), Texts("dir/Unit.cpp[42]:NO_ACTION Open() failed\n",  //
                                       "dir/Unit.cpp[42]:NO_ACTION Open() failed"));
    EXPECT_EQ(outcome(check, -1).second, "dir/Unit.cpp[42]:RC_UNKNOWN Open() failed");
}

TEST(ReturnCodeCheckTest, NoErrorNoActionPassesZeroAndOne)
{
    const Check check = FACE::Return_Code_Value_No_Error_No_Action;
    EXPECT_EQ(outcome(check, 0), Texts("", ""));
    EXPECT_EQ(outcome(check, 1), Texts("", ""));
    EXPECT_EQ(outcome(check, 2),
              Texts("dir/Unit.cpp[42]:NOT_AVAILABLE Open() failed\n", "dir/Unit.cpp[42]:NOT_AVAILABLE Open() failed"));
    EXPECT_EQ(outcome(check, 14).second, "dir/Unit.cpp[42]:RC_UNKNOWN Open() failed");
}

TEST(ReturnCodeCheckTest, NoErrorNoActionComparesTheNumberSoANegativeOnePasses)
{
    EXPECT_EQ(outcome(FACE::Return_Code_Value_No_Error_No_Action, -1), Texts("", ""));
}

TEST(ReturnCodeCheckTest, NullTextsCountAsEmptyAndLeaveTheConsoleWorking)
{
    EXPECT_EQ(outcome(FACE::Return_Code_Value_No_Error, 3, nullptr, nullptr),
              Texts("[42]:INVALID_PARAM \n", "[42]:INVALID_PARAM "));
    EXPECT_TRUE(std::cout.good());
}
