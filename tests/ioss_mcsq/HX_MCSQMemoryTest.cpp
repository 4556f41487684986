#include "face/HX_Config.h"
#include "ioss_mcsq/HX_MCSQ.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/HardDeadline.h"
#include "tests/support/ProcessState.h"
#include "tests/support/QueueDevice.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

using FACE::RETURN_CODE_TYPE;
using FACE::IOSS::HX_MCSQ;

namespace {

/// Counts, and takes what it is called for.
class Listener : public FACE::IOSS::MCSQ::IO_Callback {
public:
    explicit Listener(const QueueDevice& device) : m_device(device) {}

    std::atomic<int> calls = 0;

    void Process_Notification_Event(long long, FACE::IOSS::NOTIFICATION_EVENT_TYPE::Value,
                                    RETURN_CODE_TYPE::Value&) override
    {
        m_device.receive();
        ++calls;
    }

private:
    const QueueDevice& m_device;
};

/// With a connection open, as handle 0.
struct HX_MCSQMemoryTest : testing::Test {
    struct Outcome {
        int code = 77;
        std::size_t refused = 0;
    };

    HardDeadline deadline;
    TemporaryDirectory directory;
    QueueDevice device{directory.path(), 5};
    Listener listener{device};
    Listener second{device};
    HX_MCSQ service{QueueDevice::prefix(directory.path())};

    void SetUp() override
    {
        const std::string file = directory.write("devices.xml", queueDevicesText({{"A", "5"}}));
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NO_ACTION;
        long long handle = -1;
        service.Set_Reference("x", std::make_shared<FACE::HX_Config>(), 0, code);
        service.Initialize(file.c_str(), code);
        service.Open_Connection("A", -1, handle, code);
        ASSERT_EQ(handle, 0);
    }

    /// Registers while so many requests for memory are granted, and no more.
    Outcome registerWith(std::size_t granted, FACE::IOSS::MCSQ::IO_Callback& callback)
    {
        auto code = static_cast<RETURN_CODE_TYPE::Value>(77);
        const FailingAllocation failing(granted);
        service.Register_Notification_Event(0, callback, code);
        return {code, failing.refused()};
    }

    void send() const { device.send(std::vector<std::uint8_t>{1}); }
};

}  // namespace

TEST_F(HX_MCSQMemoryTest, WithoutMemoryTheRegistrationFailsAndStartsNoThread)
{
    const std::size_t threads = threadCount();
    std::size_t granted = 0;
    Outcome outcome = registerWith(granted, listener);
    for (; outcome.refused > 0; outcome = registerWith(++granted, listener)) {
        ASSERT_EQ(outcome.code, 2) << granted;
        ASSERT_EQ(threadCount(), threads) << granted;
    }
    EXPECT_GT(granted, 1U);
    EXPECT_EQ(outcome.code, 0);
    send();
    EXPECT_TRUE(eventually([&] { return listener.calls == 1; }));
}

TEST_F(HX_MCSQMemoryTest, AFailedRegistrationLeavesTheCallBackOfTheFormer)
{
    ASSERT_EQ(registerWith(100, listener).code, 0);
    EXPECT_EQ(registerWith(0, second).code, 2);
    send();
    EXPECT_TRUE(eventually([&] { return listener.calls == 1; }));
    EXPECT_EQ(second.calls, 0);
}
