#include "lab/ctl/why/ReceiverCopy.h"

#include "tests/lab/ctl/Samples.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

using namespace orvanectl;

namespace {

struct ReceiverCopyTest : testing::Test {
    ~ReceiverCopyTest() override { std::filesystem::remove(path); }

    void write(const std::string& bytes) const { std::ofstream(path, std::ios::app | std::ios::binary) << bytes; }

    std::string refusal(const std::string& of)
    {
        try {
            ReceiverCopy copy(of, diary);
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "";
    }

    static ServerSettings settings()
    {
        ServerSettings made;
        made.m_gssipSourceServers = {39};
        return made;
    }

    /// A record of sample 5044, made an 8504.
    static std::string report()
    {
        std::string record = samples::kRecordFront + samples::kWarning;
        record[samples::kRecordFront.size() + 2] = '\x38';
        record[samples::kRecordFront.size() + 3] = '\x21';
        return record;
    }

    std::uint64_t taken() { return diary.input(JoinInput::Receiver).taken; }

    const std::string path = testing::TempDir() + "receiver-copy-" + std::to_string(::getpid());
    JoinDiary diary{settings(), {true, true}};
    const JoinDiary::Time now = JoinDiary::Time{} + std::chrono::seconds(5);
};

}  // namespace

TEST_F(ReceiverCopyTest, WhatComesLaterIsReadLater)
{
    write(report());
    ReceiverCopy copy(path, diary);
    copy.take(now);
    EXPECT_EQ(taken(), 1u);
    write(report());
    copy.take(now);
    EXPECT_EQ(taken(), 2u);
}

TEST_F(ReceiverCopyTest, BehindWhatIsNoRecordTheNextPieceIsRead)
{
    write(std::string(70, '\xEE'));
    ReceiverCopy copy(path, diary);
    copy.take(now);
    EXPECT_EQ(diary.input(JoinInput::Receiver).arrived, now);
    EXPECT_EQ(taken(), 0u);
    write(report());
    copy.take(now);
    EXPECT_EQ(taken(), 1u);
}

TEST_F(ReceiverCopyTest, AFileThatReplacesAnotherIsReadBehindIt)
{
    write(report());
    ReceiverCopy copy(path, diary);
    copy.take(now);
    write(report());
    std::filesystem::rename(path, path + ".old");
    write(report() + report());
    copy.take(now + std::chrono::seconds(1));
    EXPECT_EQ(taken(), 4u);
    std::filesystem::remove(path + ".old");
}

TEST_F(ReceiverCopyTest, AFileThatBeginsAnewIsReadFromItsStart)
{
    write(report() + report());
    ReceiverCopy copy(path, diary);
    copy.take(now);
    std::ofstream(path, std::ios::trunc | std::ios::binary) << report();
    copy.take(now);
    EXPECT_EQ(taken(), 3u);
}

TEST_F(ReceiverCopyTest, TheLabsOwnIsHeardWhileItIsThere)
{
    JoinDiary deaf{settings(), {true, false}};
    ReceiverCopy copy("", deaf, path);
    copy.take(now);
    EXPECT_FALSE(deaf.isReceiverHeard());
    write(report());
    copy.take(now + std::chrono::seconds(1));
    EXPECT_TRUE(deaf.isReceiverHeard());
    EXPECT_EQ(deaf.input(JoinInput::Receiver).taken, 1u);
    std::filesystem::remove(path);
    copy.take(now + std::chrono::seconds(2));
    EXPECT_FALSE(deaf.isReceiverHeard());
}

TEST_F(ReceiverCopyTest, WhatStoodInTheLabsOwnBeforeIsPassedOver)
{
    write(report());
    JoinDiary deaf{settings(), {true, false}};
    ReceiverCopy copy("", deaf, path);
    copy.take(now);
    EXPECT_EQ(deaf.input(JoinInput::Receiver).taken, 0u);
    write(report());
    copy.take(now);
    EXPECT_EQ(deaf.input(JoinInput::Receiver).taken, 1u);
}

TEST_F(ReceiverCopyTest, AQueueItselfIsRefused)
{
    EXPECT_EQ(refusal("/dev/mcs5"),
              "/dev/mcs5: is a queue, and who reads it takes the records from the service; give a copy");
}

TEST_F(ReceiverCopyTest, WhatCantBeFollowedIsRefused)
{
    EXPECT_EQ(refusal("/dev/null"), "/dev/null: is neither a file nor a named pipe");
    EXPECT_EQ(refusal("/nowhere/copy"), "/nowhere/copy: No such file or directory");
}
