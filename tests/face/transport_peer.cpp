// The other process of tests/face/TransportProcessesTest.cpp:
//
//     transport_peer echo CONFIG       sends whatever arrives on "To<Type>" back on "From<Type>", for all nine types
//     transport_peer samples CONFIG N  publishes UTCTime 1 to N (its gps_week) on "Times", and one more, 1000, whenever it
//                                      is sent SIGUSR1
//     transport_peer throws CONFIG     subscribes to UTCTime on "Times" with a callback that throws
//     transport_peer stream CONFIG N   publishes UTCTime 1 to N on "Times", as fast as it can, when it is sent SIGUSR1
//                                      and has a subscriber; then says "sent"
//
// Says "ready" when that is set up, and ends, orderly, when it is sent SIGTERM.

#include "face/HX_TSS_Listeners.h"
#include "tests/face/NineTypes.h"
#include "tests/support/Transport.h"

#include <csignal>
#include <exception>
#include <functional>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

using namespace aspn2_msgs::idl;
using FACE::RETURN_CODE_TYPE;

namespace {

void check(RETURN_CODE_TYPE::Value code)
{
    if (code != RETURN_CODE_TYPE::NO_ERROR) throw std::runtime_error("code " + std::to_string(code));
}

/// What sends back all that comes, until the callback of its connection is unregistered. It must live until then.
struct Echo {
    std::shared_ptr<void> front;
    long long id;
};

template <class T>
Echo echo(const Transport& transport, const std::string& type)
{
    const auto front = transport.typed<T>();
    const long long from = transport.connect("From" + type);
    const long long to = transport.connect("To" + type);
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
    front->Register_Sender(from, code);
    check(code);
    FACE::TSS::Details::HX_TypedTS<T>& sender = *front;
    front->Register_Callback(
        to,
        [&sender, from](long long, long long, const T& message, auto&&...) {
            long long transaction = 0;
            RETURN_CODE_TYPE::Value sent = RETURN_CODE_TYPE::TIMED_OUT;
            sender.Send_Message(from, -1, transaction, message, sent);
        },
        code);
    check(code);
    return {front, to};
}

void run(const sigset_t& signals, const std::function<void()>& onRequest)
{
    std::cout << "ready\n" << std::flush;
    for (int signal = 0; sigwait(&signals, &signal) == 0 && signal != SIGTERM;) onRequest();
}

void runEcho(const std::string& config, const sigset_t& signals)
{
    const Transport transport(config, "peer");
    std::vector<Echo> echoes;
#define ECHO(Type) echoes.push_back(echo<Type>(transport, #Type));
    FOR_EACH_OF_NINE(ECHO)
    run(signals, [] {});
    for (const Echo& one : echoes) {
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
        transport->Unregister_Callback(one.id, code);
        check(code);
    }
}

/// @param onRequest  all of them, on request; else at once, and one more on request
void runSamples(const std::string& config, int count, bool onRequest, const sigset_t& signals)
{
    const Transport transport(config, "peer");
    const auto front = transport.typed<UTCTime>();
    const long long id = transport.connect("Times");
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
    front->Register_Sender(id, code);
    check(code);
    const auto publish = [&](int number) {
        UTCTime time;
        time.gps_week(number);
        check(front->write(id, time));
    };
    const auto publishAll = [&] {
        for (int number = 1; number <= count; ++number) publish(number);
    };
    if (!onRequest) publishAll();
    run(signals, [&] {
        if (!onRequest) return publish(1000);
        if (!transport.waitForSubscribers(id)) throw std::runtime_error("no subscriber");
        publishAll();
        std::cout << "sent\n" << std::flush;
    });
}

void runThrows(const std::string& config, const sigset_t& signals)
{
    const Transport transport(config, "peer");
    const auto front = transport.typed<UTCTime>();
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
    front->Register_Callback(
        transport.connect("Times"), [](auto&&...) { throw std::runtime_error("thrown by the callback"); }, code);
    check(code);
    run(signals, [] {});
}

}  // namespace

int main(int argc, char** argv)
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);  // before there are threads, which take this over
    try {
        silenceLibrary();  // this one's output is read
        const std::string role = argc > 2 ? argv[1] : "";
        if (role == "echo")
            runEcho(argv[2], signals);
        else if (role == "samples" && argc > 3)
            runSamples(argv[2], std::stoi(argv[3]), false, signals);
        else if (role == "throws")
            runThrows(argv[2], signals);
        else if (role == "stream" && argc > 3)
            runSamples(argv[2], std::stoi(argv[3]), true, signals);
        else
            throw std::runtime_error("which role?");
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "transport_peer: " << error.what() << std::endl;
        return 1;
    }
}
