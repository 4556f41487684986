#ifndef VICTORY_ORVANESERVER_PARTNUMBERS_H
#define VICTORY_ORVANESERVER_PARTNUMBERS_H

#include "VICTORY/OrvaneServer/BusService.h"
#include "VICTORY/OrvaneServer/ServerSettings.h"
#include "VICTORY/libvictory/victory.h"
#include "utilities/ThreadAnnotations.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <string>

/// The part numbers of the unit's services, which are asked for until all have answered, and the configuration record
/// that is told to the bus as they arrive. Any thread but where an operation says otherwise.
///
/// The lock of the configuration is held while the record is told, through the gate of the bus service: call nothing
/// here with that gate held. The lock of the waiters is a leaf. Never both.
class PartNumbers {
public:
    using Clock = std::chrono::steady_clock;

    /// Publishes a command; false if it can't be published. No lock is held.
    using Send = std::function<bool(const std::string& command)>;

    static constexpr int kConfigurationWaitSeconds = 12;

    /// @param settings, service  must outlive this
    PartNumbers(const ServerSettings& settings, BusService& service, Clock::time_point (*steadyNow)() = &Clock::now);

    /// One turn of the exchange; one thread at a time.
    /// @param isPostComplete  the unit's power-on self test is over
    void processPartNumbers(bool isPostComplete, const Send& send)
        EXCLUDES(m_apntConfigurationMutex, m_partNumberMutex);

    /// Takes an answer: enters it, tells the record, and notes that its service has answered.
    void handlePartNumberResponses(const std::string& text, const unsigned char& serverId, unsigned char topicId)
        EXCLUDES(m_apntConfigurationMutex);

    /// Waits until all have answered, and that has been told; false if the time is up before.
    bool waitForPartNumberResponses(int seconds) EXCLUDES(m_partNumberMutex);

    /// What a client's request for the configuration does: it waits, and says so if that was not long enough. The
    /// record is told as it is collected, so there is nothing to tell here.
    void awaitSystemConfiguration(int seconds = kConfigurationWaitSeconds) EXCLUDES(m_partNumberMutex);

    /// Tells a service that is not started yet the record under its provisional name.
    void tellProvisionalConfiguration(VapntsService* service) EXCLUDES(m_apntConfigurationMutex);

    /// Tells an empty record, and takes back a request that is due. The record itself keeps its rows.
    void wipeConfiguration() EXCLUDES(m_apntConfigurationMutex);

private:
    void sendRequest(const Send& send);
    void askAgain();
    void countResponses() EXCLUDES(m_apntConfigurationMutex, m_partNumberMutex);
    void tellCompleteConfiguration() EXCLUDES(m_apntConfigurationMutex, m_partNumberMutex);
    void tellSystemConfiguration() REQUIRES(m_apntConfigurationMutex);
    void clearApntConfiguration() REQUIRES(m_apntConfigurationMutex);
    void enter(const std::string& text, const std::string& id, const std::string& name, bool isSensorService,
               const std::string& topicId) REQUIRES(m_apntConfigurationMutex);
    void printAndSendOnDebug(const std::string& text, int line = __builtin_LINE()) const;

    const ServerSettings& m_settings;
    BusService& m_service;
    Clock::time_point (*const m_steadyNow)();
    std::atomic<bool> m_requestPartNumbers = true;
    Clock::time_point m_lastPartNumberRequest = m_steadyNow();  // of the thread that takes the turns

    RankedMutex<LockRank::Configuration> m_apntConfigurationMutex;
    std::map<std::string, bool> m_partNumberResponses GUARDED_BY(m_apntConfigurationMutex);  // by component
    VapntcSystemConfiguration m_systemConfiguration GUARDED_BY(m_apntConfigurationMutex) = {};

    RankedMutex<LockRank::PartNumbers> m_partNumberMutex;
    std::condition_variable_any m_partNumbersArrived;
    std::atomic<bool> m_partNumbersComplete = false;  // set under m_partNumberMutex
};

#endif
