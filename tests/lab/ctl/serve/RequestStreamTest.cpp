#include "lab/ctl/serve/RequestStream.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <unistd.h>

using orvanectl::RequestStream;

namespace {

constexpr std::chrono::milliseconds kLong{3'600'000};

struct RequestStreamTest : testing::Test {
    RequestStreamTest() { EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0); }
    ~RequestStreamTest() override
    {
        for (const int end : ends) ::close(end);
    }

    void come(const std::string& text) const
    {
        EXPECT_EQ(::write(ends[1], text.data(), text.size()), ssize_t(text.size()));
    }

    /// Up to so many bytes, one by one.
    static std::string read(RequestStream& stream, int most)
    {
        std::string text;
        for (char c = 0; most > 0 && stream.read(&c, 1) == 1; --most) text += c;
        return text;
    }

    int ends[2] = {-1, -1};
};

}  // namespace

TEST_F(RequestStreamTest, WhatComesIsReadAsFarAsItMay)
{
    RequestStream stream(ends[0], {6, kLong, kLong});
    come("abc");
    EXPECT_EQ(read(stream, 3), "abc");
    come("defgh");
    EXPECT_EQ(read(stream, 10), "def");
    EXPECT_EQ(read(stream, 1), "");
}

TEST_F(RequestStreamTest, TheTimeIsForAllOfARequest)
{
    RequestStream late(ends[0], {100, std::chrono::milliseconds(0), kLong});
    come("abc");
    EXPECT_FALSE(late.is_readable());
    EXPECT_EQ(read(late, 1), "");
    RequestStream early(ends[0], {100, std::chrono::milliseconds(1), kLong});
    while (early.is_readable()) {  // until it is over, though something is there
    }
    EXPECT_EQ(read(early, 1), "");
}

TEST_F(RequestStreamTest, AllOfAnAnswerIsWrittenOrNothingMoreIs)
{
    RequestStream hasty(ends[0], {100, kLong, std::chrono::milliseconds(1)});
    EXPECT_EQ(hasty.write("abc", 3), 3);
    const std::string large(10'000'000, 'x');
    EXPECT_EQ(hasty.write(large.data(), large.size()), -1);  // nobody reads
    EXPECT_FALSE(hasty.is_writable());
}

TEST_F(RequestStreamTest, WhoHasLeftIsNotWrittenTo)
{
    RequestStream stream(ends[0], {100, kLong, kLong});
    EXPECT_TRUE(stream.is_writable());
    ::shutdown(ends[1], SHUT_RDWR);
    EXPECT_FALSE(stream.is_writable());
    EXPECT_EQ(stream.write("abc", 3), -1);
}
