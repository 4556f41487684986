#ifndef RELIABILITY_RACES_LOADEDSERVICE_H
#define RELIABILITY_RACES_LOADEDSERVICE_H

#include "tests/support/Desk.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// One life of the service under load: the unit's simulator sends all that there is, clients of the bus ask for all that
/// there is beside each other, one comes and goes, and the end comes while they ask. For one thread.
class LoadedService {
public:
    struct Load {
        const char* name;
        std::vector<std::string> unit;  // more of the simulator's options
        int holdDeletionMs = 0;
        std::string orders = "";  // command to sanitize that is sent again and again
        std::chrono::milliseconds ordersEvery{2500};
        bool hasTester = false;  // who raises faults and takes them back without a pause
    };

    struct Outcome {
        int status = 0;  // of the service
        int signal = 0;
        std::size_t answers = 0;   // that clients got
        std::size_t tells = 0;     // that one of them heard
        std::size_t restarts = 0;  // of the library's service
        std::string errors;        // what the service wrote to its standard error
        std::string trouble;       // what a client met before the end; empty for nothing
    };

    /// @param environment  of the service: "NAME=value"
    LoadedService(const Load& load, const std::vector<std::string>& environment);

    Outcome live(std::chrono::seconds length);

private:
    void ask(const std::string& what, const std::function<Bus::Json(int)>& request);
    void comeAndGo();
    void play(std::chrono::seconds length, Outcome& outcome);
    ChildProcess::Ending end(ChildProcess& service, int signal);

    const Load& m_load;
    std::vector<std::string> m_environment;
    Desk m_desk;
    std::atomic<bool> m_isEnding = false;
    std::atomic<std::size_t> m_answers = 0;
    std::mutex m_mutex;
    std::string m_trouble;  // guarded by the mutex
    std::list<std::jthread> m_clients;
    std::jthread m_guest;
};

#endif
