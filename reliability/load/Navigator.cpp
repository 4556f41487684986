#include "reliability/load/Navigator.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <functional>
#include <stdexcept>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr double kLate = 0.1;  // s

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

void Navigator::send(std::int32_t epoch, double rate)
{
    sendQueue(epoch, rate);
    sendTopics(epoch, rate);
}

std::int32_t Navigator::flood(double rate, Seconds time)
{
    const auto last = static_cast<std::int32_t>(rate * time.count());
    if (last > Epochs::kMost) throw std::logic_error("there are not so many epochs");
    m_sent = std::make_unique<Joins::Sent>();

    const auto begin = Clock::now();
    std::int32_t queued = 0;
    std::exception_ptr failure;
    std::thread queue([&] {
        try {
            queued = pace(rate, time, begin, last, [&](std::int32_t epoch) { sendQueue(epoch, rate); });
        } catch (...) {
            failure = std::current_exception();
        }
    });
    std::int32_t published = 0;
    try {
        published = pace(rate, time, begin, last, [&](std::int32_t epoch) { sendTopics(epoch, rate); });
    } catch (...) {
        queue.join();
        throw;
    }
    queue.join();
    if (failure) std::rethrow_exception(failure);
    m_flooded = std::min(queued, published);
    return last;
}
