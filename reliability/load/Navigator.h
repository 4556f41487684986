#ifndef RELIABILITY_LOAD_NAVIGATOR_H
#define RELIABILITY_LOAD_NAVIGATOR_H

#include "reliability/load/Joins.h"
#include "tests/support/Inputs.h"

#include <chrono>
#include <cstdint>
#include <memory>

/// Sends the six inputs as numbered epochs, and notes when. One thread, but for the two of `flood`.
class Navigator {
public:
    /// The part of time whose number position and assurance carry.
    static constexpr std::chrono::milliseconds kBlock{250};

    explicit Navigator(const Desk& desk) : m_inputs(desk) {}

    bool waitForService() const { return m_inputs.waitForService(); }

    /// Sends an epoch once. Numbers rise.
    /// @param rate  epochs a second: what times of validity and blocks go by
    void send(std::int32_t epoch, double rate);

    /// Sends epochs at a rate for a time, those of the topics and those of the queue by a thread each. Neither waits for
    /// the other; one that is late catches up, and leaves epochs out when it is more than a tenth of a second late.
    /// @return the last epoch
    std::int32_t flood(double rate, std::chrono::duration<double> time);

    /// Of the last `flood`: epochs that were sent, of the input that had the fewest.
    std::int32_t flooded() const { return m_flooded; }

    const Joins::Sent& sent() const { return *m_sent; }

    /// What the bus tells its times by.
    static double wallClockMs();

    static std::int32_t blockEpochs(double rate) { return static_cast<std::int32_t>(rate * 0.25); }

private:
    void sendTopics(std::int32_t epoch, double rate);
    void sendQueue(std::int32_t epoch, double rate);
    void note(Joins::Input input, std::int32_t epoch);

    Inputs m_inputs;
    std::unique_ptr<Joins::Sent> m_sent = std::make_unique<Joins::Sent>();
    std::int32_t m_flooded = 0;
};

#endif
