#include "tests/ioss_mcsq/GssipRecords.h"
#include "tests/support/FailingAllocation.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <streambuf>
#include <vector>

using FACE::RETURN_CODE_TYPE;

namespace {

/// A queue from which every read takes 200 bytes that are no record.
class Noise : public FACE::IOSS::HX_MCSQ {
    void Read(long long, long long, FACE::IOSS::MCSQ::READ_PAYLOAD_TYPE& payload,
              RETURN_CODE_TYPE::Value& code) override
    {
        payload.length(200);
        std::fill_n(payload.buffer(), 200, std::uint8_t{0xFF});
        code = RETURN_CODE_TYPE::NO_ERROR;
    }
};

/// Keeps nothing of what a stream is given, and so takes no memory.
class Nowhere : public std::streambuf {
public:
    explicit Nowhere(std::ostream& stream) : m_stream(stream), m_previous(stream.rdbuf(this)) {}
    ~Nowhere() override { m_stream.rdbuf(m_previous); }
    Nowhere(const Nowhere&) = delete;
    Nowhere& operator=(const Nowhere&) = delete;

private:
    int_type overflow(int_type character) override { return traits_type::not_eof(character); }

    std::ostream& m_stream;
    std::streambuf* m_previous;
};

struct Outcome {
    bool isThrown = false;
    std::size_t refused = 0;
};

/// Has the channel read while it is granted so many requests for memory, and no more.
Outcome readWith(GssipMcsq& channel, std::size_t granted)
{
    Outcome outcome;
    const FailingAllocation failing(granted);
    try {
        RETURN_CODE_TYPE::Value ignored = RETURN_CODE_TYPE::NO_ACTION;
        channel.Process_Notification_Event(0, FACE::IOSS::NOTIFICATION_EVENT_TYPE::DATA_AVAILABLE, ignored);
    } catch (...) {
        outcome.isThrown = true;
    }
    outcome.refused = failing.refused();
    return outcome;
}

/// While it is set, this thread gets no cleared memory, which is what the library takes for the bytes of a record.
constinit thread_local bool hasNoClearedMemory = false;

}  // namespace

extern "C" {
void* __real_calloc(std::size_t count, std::size_t size);

void* __wrap_calloc(std::size_t count, std::size_t size)
{
    return hasNoClearedMemory ? nullptr : __real_calloc(count, size);
}
}

TEST(GssipMcsqMemoryTest, WhatAReportThrowsStaysInside)
{
    const Nowhere nowhere(std::cout);
    GssipMcsq channel("Tap", std::make_unique<Noise>());
    healthEvents();
    std::size_t granted = 0;
    for (Outcome outcome = readWith(channel, 0); outcome.refused > 0; outcome = readWith(channel, ++granted)) {
        ASSERT_FALSE(outcome.isThrown) << granted;
        healthEvents();
    }
    EXPECT_GT(granted, 3U);
    EXPECT_EQ(healthEvents().size(), 1U);
}

TEST(GssipMcsqMemoryTest, SerializingWithoutMemoryThrowsAndTheBytesStay)
{
    GssipTopicSerializer serializer;
    std::vector<std::uint8_t> bytes = {1, 2, 3};
    bool isThrown = false;
    hasNoClearedMemory = true;
    try {
        serializer.Serialize({}, bytes);
    } catch (const std::bad_alloc&) {
        isThrown = true;
    }
    hasNoClearedMemory = false;
    EXPECT_TRUE(isThrown);
    EXPECT_EQ(bytes, (std::vector<std::uint8_t>{1, 2, 3}));
}
