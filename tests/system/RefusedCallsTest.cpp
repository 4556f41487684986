#include "lab/faults/FaultPage.h"
#include "tests/support/Desk.h"
#include "tests/support/Inputs.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <fstream>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

using Ending = ChildProcess::Ending;

namespace {

/// The counters and the switch of failing calls.
class Control {
public:
    Control()
    {
        const int file = open("/tmp/page", O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        void* page = MAP_FAILED;
        if (file >= 0 && ftruncate(file, sizeof(faults::FaultPage)) == 0)
            page = mmap(nullptr, sizeof(faults::FaultPage), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        close(file);
        if (page == MAP_FAILED) throw std::runtime_error("cannot map the page of failing calls");
        m_page = static_cast<faults::FaultPage*>(page);
    }
    ~Control() { munmap(m_page, sizeof *m_page); }
    Control(const Control&) = delete;
    Control& operator=(const Control&) = delete;

    void arm(bool isArmed) { m_page->isArmed = isArmed ? 1 : 0; }
    std::uint32_t failed() const { return m_page->failed; }

private:
    faults::FaultPage* m_page = nullptr;
};

/// A service of which the system refuses a call.
struct RefusedCallsSystemTest : testing::Test {
    ChildProcess& start(const std::string& plan)
    {
        std::ofstream("/tmp/plan") << "only caller OrvaneServer\nlog to /tmp/log\n" << plan;
        return desk.start({"LD_PRELOAD=" ORVANE_LAB_FAULTS_LIBRARY, "ORVANE_LAB_FAULTS=/tmp/plan"});
    }

    void expectEndInOrder()
    {
        desk.service().send(SIGTERM);
        EXPECT_EQ(desk.service().wait(), Ending({0, 0}));
    }

    Desk desk;
};

}  // namespace

TEST_F(RefusedCallsSystemTest, QueuesThatCantBeWaitedForAreToldAndTheServiceGoesOn)
{
    start("fail poll 1 on errno ENOMEM\n");
    ASSERT_TRUE(desk.service().waitUntilHandled(SIGINT));
    EXPECT_TRUE(eventually([&] {
        return desk.service().errors().find("The queues are read no more, waiting for their input failed: "
                                            "Cannot allocate memory\n") != std::string::npos;
    }));
    expectEndInOrder();
}

TEST_F(RefusedCallsSystemTest, APrintOfTheLibraryThatCantBeCapturedIsTold)
{
    start("fail fopen 2 on\n");  // the first one is that of the C library's standard error
    ASSERT_TRUE(desk.service().waitUntilHandled(SIGINT));
    EXPECT_TRUE(desk.awaitOutput("InitializeVictory : OrvaneServer Error capturing what the VICTORY library prints."));
    expectEndInOrder();
}

TEST_F(RefusedCallsSystemTest, AMessageForWhichThereIsNoMemoryIsLostAndTheNextOneIsTaken)
{
    const Inputs inputs(desk);
    Control control;
    start("control by /tmp/page\nfail malloc 1 on\n");
    ASSERT_TRUE(desk.service().waitUntilHandled(SIGINT));
    Bus bus;
    ASSERT_TRUE(inputs.waitForService());

    control.arm(true);
    inputs.sendPva();
    EXPECT_TRUE(eventually([&] { return control.failed() > 0; }));
    inputs.sendAll();
    inputs.sendReceiver();
    EXPECT_TRUE(desk.waitUntilTaken(5));
    control.arm(false);

    inputs.sendAll();
    inputs.sendReceiver();
    EXPECT_NO_THROW(bus.awaitTell("blended-navigation",
                                  [](const Bus::Json& tell) { return !tell.at("timeOfValidity").is_null(); }));
    expectEndInOrder();
}
