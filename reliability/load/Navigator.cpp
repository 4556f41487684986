#include "reliability/load/Navigator.h"

#include "lab/unit/ReceiverFrames.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <exception>
#include <functional>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr double kLate = 0.1;  // s

constexpr unsigned kFromReceiver = 5, kToReceiver = 6;
constexpr std::uint16_t kCustomWarning = 100;
constexpr std::string_view kWarningText = "warning ";
constexpr double kHzPerThreat = 50'000;  // that one of the numbers of a frequency stands for
constexpr std::int32_t kMostThreats = 65'535;

template <class Record>
void validAtEpoch(Record& record, std::int32_t epoch, double rate)
{
    const double seconds = epoch / rate;
    const auto whole = static_cast<std::int64_t>(seconds);
    validAt(record, whole, static_cast<std::int32_t>((seconds - static_cast<double>(whole)) * 1e9));
}

/// Calls `send` for the epochs from 1 on, at a rate, until the time is over.
/// @return how many it was called for
std::int32_t pace(double rate, Seconds time, Clock::time_point begin, std::int32_t last,
                  const std::function<void(std::int32_t)>& send)
{
    std::int32_t epoch = 0, count = 0;
    while (++epoch <= last) {
        const auto due = begin + std::chrono::duration_cast<Clock::duration>(Seconds((epoch - 1) / rate));
        std::this_thread::sleep_until(due);
        const double late = Seconds(Clock::now() - due).count();
        if (Clock::now() - begin > time) break;
        if (late > kLate) epoch = std::min(last, epoch + static_cast<std::int32_t>(late * rate));
        send(epoch);
        ++count;
    }
    return count;
}

}  // namespace

double Navigator::wallClockMs()
{
    return std::chrono::duration<double, std::milli>(std::chrono::system_clock::now().time_since_epoch()).count();
}

void Navigator::note(Joins::Input input, std::int32_t epoch)
{
    (*m_sent)[input].note(epoch, wallClockMs());
}

void Navigator::sendTopics(std::int32_t epoch, double rate)
{
    const std::int32_t block = epoch / std::max(blockEpochs(rate), 1);
    Epochs::writeBlock(m_inputs.pva, block);
    Epochs::writeBlock(m_inputs.assurance, block);
    Epochs::write(m_inputs.pnt, epoch);
    Epochs::write(m_inputs.mis, epoch);
    Epochs::write(m_inputs.utcTime, epoch);
    validAtEpoch(m_inputs.pva, epoch, rate);
    validAtEpoch(m_inputs.assurance, epoch, rate);
    validAtEpoch(m_inputs.pnt, epoch, rate);
    validAtEpoch(m_inputs.mis, epoch, rate);
    validAtEpoch(m_inputs.utcTime, epoch, rate);

    m_inputs.sendPva();
    m_inputs.sendAssurance();
    note(Joins::Pnt, epoch);
    m_inputs.sendPnt();
    note(Joins::Mis, epoch);
    m_inputs.sendMis();
    note(Joins::UtcTime, epoch);
    m_inputs.sendUtcTime();
}

void Navigator::sendQueue(std::int32_t epoch, double rate)
{
    Epochs::write(m_inputs.report, epoch);
    validAtEpoch(m_inputs.receiver, epoch, rate);
    note(Joins::Receiver, epoch);
    m_inputs.sendReceiver();
}

void Navigator::sendWarning(std::int32_t number)
{
    unitsim::Warning warning{kCustomWarning, std::string(kWarningText) + std::to_string(number)};
    m_sentWarnings.note(number, wallClockMs());
    sendFrame(m_desk, kFromReceiver, m_inputs.receiver, unitsim::frame5044({}, warning));
}

void Navigator::sendThreat(std::int32_t number)
{
    unitsim::Threat threat;
    threat.center = static_cast<std::uint16_t>(number);
    m_sentThreats.note(number, wallClockMs());
    sendFrame(m_desk, kToReceiver, m_inputs.receiver, unitsim::frame15051({}, {}, {{threat}}));
}

std::int32_t Navigator::warningOf(const std::string& text)
{
    std::int32_t number = 0;
    if (!text.starts_with(kWarningText)) return 0;
    std::from_chars(text.data() + kWarningText.size(), text.data() + text.size(), number);
    return number;
}

std::int32_t Navigator::threatOf(double frequency)
{
    const double number = frequency / kHzPerThreat;
    return number >= 1.0 && number <= kMostThreats ? static_cast<std::int32_t>(std::lround(number)) : 0;
}

void Navigator::send(std::int32_t epoch, double rate)
{
    sendQueue(epoch, rate);
    sendTopics(epoch, rate);
}

std::int32_t Navigator::flood(double rate, Seconds time)
{
    const auto last = static_cast<std::int32_t>(rate * time.count());
    if (last > std::min(Epochs::kMost, kMostThreats)) throw std::logic_error("there are not so many epochs");
    m_sent = std::make_unique<Joins::Sent>();

    m_sentWarnings = {}, m_sentThreats = {};

    struct Sender {
        std::function<void(std::int32_t)> send;
        std::int32_t count = 0;
        std::exception_ptr failure;
    };
    std::array<Sender, 4> senders = {Sender{[&](std::int32_t epoch) { sendTopics(epoch, rate); }, 0, {}},
                                     Sender{[&](std::int32_t epoch) { sendQueue(epoch, rate); }, 0, {}},
                                     Sender{[&](std::int32_t number) { sendWarning(number); }, 0, {}},
                                     Sender{[&](std::int32_t number) { sendThreat(number); }, 0, {}}};
    const auto begin = Clock::now();
    {
        std::vector<std::jthread> threads;
        for (Sender& sender : senders) {
            threads.emplace_back([&sender, rate, time, begin, last] {
                try {
                    sender.count = pace(rate, time, begin, last, sender.send);
                } catch (...) {
                    sender.failure = std::current_exception();
                }
            });
        }
    }
    for (const Sender& sender : senders)
        if (sender.failure) std::rethrow_exception(sender.failure);
    m_flooded = std::min(senders[0].count, senders[1].count);
    m_floodedWarnings = senders[2].count;
    m_floodedThreats = senders[3].count;
    return last;
}
