// What a write takes that nobody receives, and what it takes from a write to the return of the call-back, all on the
// writer's thread, for script/instructions: the transport beside the bare library.

#include "bench/Counted.h"
#include "bench/face/TransportSides.h"

#include <chrono>
#include <cstdio>
#include <iostream>
#include <string>
#include <thread>

namespace {

constexpr int kWrites = 200;  // more than a history holds, so that it is full when they are counted

template <class Side>
bool countSide(const std::string& which, Side& side)
{
    const std::string name = "transport." + which;
    int received = 0;
    aspn2_msgs::idl::PositionVelocityAttitude message;
    side.publish();
    counted("transport.write." + which, kWrites, [&] { side.write(message); });
    side.subscribe([&](const auto&) { ++received; });
    for (int i = 0; i < 3000 && received == 0; ++i) {
        side.write(message);
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    received = 0;
    counted(name, kWrites, [&] { side.write(message); });
    if (received == 2 * kWrites) return true;
    std::cerr << name << ": " << received << " messages were received\n";
    return false;
}

}  // namespace

int main()
{
    const std::string path = transportConnectionFile();
    bool isDone = false;
    {
        Bare bare;
        Ours ours(path);
        isDone = countSide("bare", bare) && countSide("ours", ours);
    }
    std::remove(path.c_str());
    return isDone ? 0 : 1;
}
