#include "face/FACE_Text.h"

#include <gtest/gtest.h>

TEST(TextTest, AStringThatIsNotValidPrintsAsEmpty)
{
    EXPECT_EQ(FACE::textOf(FACE::String(static_cast<const char*>(nullptr))), "");
}

TEST(TextTest, AValidStringPrintsWhole)
{
    EXPECT_EQ(FACE::textOf("abc"), "abc");
    EXPECT_EQ(FACE::textOf(FACE::String()), "");
    FACE::String text;
    text.append('a');
    text.append('\0');
    text.append('b');
    EXPECT_EQ(FACE::textOf(text), std::string("a\0b", 3));
}
