#include "reliability/hostile/Scene.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>

namespace {

/// Seconds that a process has been on a processor.
double processorTimeOf(pid_t process)
{
    std::ifstream stat("/proc/" + std::to_string(process) + "/stat");
    std::string text;
    std::getline(stat, text);
    std::istringstream rest(text.substr(text.rfind(')') + 2));
    std::string word;
    for (int field = 3; field < 14; ++field) rest >> word;
    double user = 0, system = 0;
    rest >> user >> system;
    return (user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

/// Share of a processor that the service takes while nothing comes, in percent.
double idleShare(Scene& scene, std::chrono::seconds time)
{
    const pid_t process = scene.desk().service().id();
    const double before = processorTimeOf(process);
    const auto start = std::chrono::steady_clock::now();
    std::this_thread::sleep_for(time);
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
    return 100 * (processorTimeOf(process) - before) / passed.count();
}

}  // namespace

void endedQueue(Report& report, bool isShort)
{
    const std::chrono::seconds time(isShort ? 1 : 20);
    if (!isShort) {
        Scene scene(report);
        scene.run();
        report.figure("ended-queue: processor, both queues in order", idleShare(scene, time), "%");
        scene.expectEndInOrder("ended-queue: queues in order");
    }
    Scene scene(report);
    std::ofstream("/tmp/ended");
    std::filesystem::create_symlink("/tmp/ended", "/dev/mcs7");
    scene.desk().replace("IODevices.xml", "<Port>6<", "<Port>7<");
    scene.run();
    report.figure("ended-queue: processor, one queue has ended", idleShare(scene, time), "%", {Goal::AtMost, 5});
    scene.expectEndInOrder("ended-queue: one has ended");
    std::filesystem::remove("/dev/mcs7");
}

/// What waits in the queues at the start is taken, whatever it is.
void fullQueues(Report& report, bool)
{
    Scene scene(report);
    Inputs inputs(scene.desk());
    std::size_t messages = 0;
    const std::vector<std::uint8_t> noise(4000, 0xA5);
    for (const char* path : {"/dev/mcs5", "/dev/mcs6"}) {
        std::ofstream queue(path, std::ios::binary);
        for (int message = 0; message < 8; ++message, ++messages) {
            queue.write(reinterpret_cast<const char*>(noise.data()), static_cast<std::streamsize>(noise.size()));
            queue.flush();
        }
    }
    scene.run();
    for (const unsigned queue : {5U, 6U})
        report.expect(scene.desk().waitUntilTaken(queue), "full-queues: what waited was not taken");
    report.figure("full-queues: messages that waited at the start", static_cast<double>(messages));
    if (inputs.waitForService()) {
        const Traffic traffic(inputs);
        report.expect(traffic.awaitJoin(), "full-queues: no join came afterwards");
    }
    scene.expectEndInOrder("full-queues");
}
