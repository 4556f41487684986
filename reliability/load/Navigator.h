#ifndef RELIABILITY_LOAD_NAVIGATOR_H
#define RELIABILITY_LOAD_NAVIGATOR_H

#include "reliability/load/Joins.h"
#include "tests/support/Inputs.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

/// Sends the six inputs as numbered epochs, and notes when. One thread, but for those of `flood`.
class Navigator {
public:
    /// The part of time whose number position and assurance carry.
    static constexpr std::chrono::milliseconds kBlock{250};

    explicit Navigator(const Desk& desk) : m_desk(desk), m_inputs(desk) {}

    bool waitForService() const { return m_inputs.waitForService(); }

    /// Sends an epoch once. Numbers rise.
    /// @param rate  epochs a second: what times of validity and blocks go by
    void send(std::int32_t epoch, double rate);

    /// Sends epochs at a rate for a time, and as many numbered warnings (message 5044) and threats (15051) of the
    /// receiver: the topics, the inputs of the queue, the warnings and the threats by a thread each. None waits for
    /// another; one that is late catches up, and leaves numbers out when it is more than a tenth of a second late.
    /// @return the last epoch
    std::int32_t flood(double rate, std::chrono::duration<double> time);

    /// Of the last `flood`: epochs that were sent, of the input that had the fewest; warnings and threats.
    std::int32_t flooded() const { return m_flooded; }
    std::int32_t floodedWarnings() const { return m_floodedWarnings; }
    std::int32_t floodedThreats() const { return m_floodedThreats; }

    const Joins::Sent& sent() const { return *m_sent; }
    const SentTimes& sentWarnings() const { return m_sentWarnings; }
    const SentTimes& sentThreats() const { return m_sentThreats; }

    /// The number of a warning by its text, or of a threat by its frequency in Hz; 0 if it is another one.
    static std::int32_t warningOf(const std::string& text);
    static std::int32_t threatOf(double frequency);

    /// What the bus tells its times by.
    static double wallClockMs();

    static std::int32_t blockEpochs(double rate) { return static_cast<std::int32_t>(rate * 0.25); }

private:
    void sendTopics(std::int32_t epoch, double rate);
    void sendQueue(std::int32_t epoch, double rate);
    void sendWarning(std::int32_t number);
    void sendThreat(std::int32_t number);
    void note(Joins::Input input, std::int32_t epoch);

    const Desk& m_desk;
    Inputs m_inputs;
    std::unique_ptr<Joins::Sent> m_sent = std::make_unique<Joins::Sent>();
    SentTimes m_sentWarnings, m_sentThreats;
    std::int32_t m_flooded = 0, m_floodedWarnings = 0, m_floodedThreats = 0;
};

#endif
