#ifndef TESTS_IOSS_MCSQ_GSSIPRECORDS_H
#define TESTS_IOSS_MCSQ_GSSIPRECORDS_H

#include "ASPN/HealthReporter.h"
#include "aspn2_msgs/GSSIP.h"
#include "ioss_mcsq/GssipMcsq.h"
#include "ioss_mcsq/HX_MCSQ.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/HardDeadline.h"
#include "tests/support/QueueDevice.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <iostream>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

using aspn2_msgs::idl::GSSIP;
using Bytes = std::vector<std::uint8_t>;

/// A record that is numbered, holds `size` bytes and tells `numBytes` of them.
inline GSSIP recordOf(std::int64_t number, std::size_t size, std::int32_t numBytes)
{
    GSSIP record;
    record.header().seq_num(number);
    record.num_bytes(numBytes);
    record.data(Bytes(size, 0x5A));
    return record;
}

inline GSSIP recordOf(std::int64_t number, std::size_t size)
{
    return recordOf(number, size, static_cast<std::int32_t>(size));
}

/// Records as a queue carries them, one behind the other.
template <class... Records>
Bytes streamOf(const Records&... records)
{
    GssipTopicSerializer serializer;
    Bytes all;
    const auto add = [&](const GSSIP& record) {
        Bytes bytes;
        if (!serializer.Serialize(record, bytes)) throw std::runtime_error("no bytes");
        all.insert(all.end(), bytes.begin(), bytes.end());
    };
    (add(records), ...);
    return all;
}

/// What waits in the one health reporter, "<type>:<text>" each; taken out.
inline std::vector<std::string> healthEvents()
{
    std::vector<std::string> events;
    std::int32_t type = -1;
    std::string text;
    while (HealthReporter::Instance().queue().pop_front(type, text, std::chrono::nanoseconds(0)))
        events.push_back(std::to_string(type) + ":" + text);
    return events;
}

/// Queues 5 and 6, known as "ZEN_HX" and "HX_ZEN", and a channel with the name "Tap" on them.
struct GssipMcsqFixture : testing::Test {
    HardDeadline deadline;
    TemporaryDirectory directory;
    QueueDevice device{directory.path(), 5};
    QueueDevice second{directory.path(), 6};
    const std::string file = directory.write(
        "devices.xml", queueDevicesText({{"ZEN_HX", "5"}, {"HX_ZEN", "6"}, {"ZEN_HX2", "5"}, {"Gone", "9"}}));
    std::optional<ConsoleCapture> output{std::in_place, std::cout};
    std::mutex mutex;
    std::vector<GSSIP> records;  // as they came
    std::optional<GssipMcsq> channel{std::in_place, "Tap", newService()};

    GssipMcsqFixture() { healthEvents(); }

    void TearDown() override
    {
        channel.reset();
        output.reset();
    }

    GssipMcsq::Service newService() const
    {
        return std::make_unique<FACE::IOSS::HX_MCSQ>(QueueDevice::prefix(directory.path()));
    }

    GssipMcsq::Callback keeping()
    {
        return [this](const GSSIP& record) {
            const std::lock_guard lock(mutex);
            records.push_back(record);
        };
    }

    int connect(const char* name, const GssipMcsq::Callback& callback)
    {
        auto code = static_cast<FACE::RETURN_CODE_TYPE::Value>(77);
        channel->Connect_ReadOnly(file.c_str(), name, callback, code);
        return code;
    }

    std::size_t count()
    {
        const std::lock_guard lock(mutex);
        return records.size();
    }

    /// Waits until the record of that number is the last that came.
    bool isLast(std::int64_t number)
    {
        return eventually([&] {
            const std::lock_guard lock(mutex);
            return !records.empty() && records.back().header().seq_num() == number;
        });
    }

    std::vector<std::int64_t> numbers()
    {
        const std::lock_guard lock(mutex);
        std::vector<std::int64_t> all;
        for (const GSSIP& record : records) all.push_back(record.header().seq_num());
        return all;
    }
};

#endif
