#include "VICTORY/OrvaneServer/BitResult/OrvaneBitResults.h"

#include "ASPN/CmdResponseStrings.h"
#include "ASPN/HealthReporter.h"
#include "VICTORY/Utilities/VictoryLibrary.h"
#include "face/FACE_Text.h"
#include "utilities/ConsoleLine.h"
#include "utilities/Shielded.h"
#include "utilities/StringUtils.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <limits>
#include <new>
#include <tuple>
#include <utility>

namespace {

using StringUtils::copyText;

constexpr std::int32_t kCommandedTestTopicId = 1;

/// Sends a health event from where it stands, and prints its text.
void report(std::int32_t type, const std::string& text, int line = __builtin_LINE())
{
    HealthReporter::Instance().SendEvent(__FILE__, line, type, text.c_str());
    printLine(std::cout, text);
}

void reportException(const char* details)
{
    report(EventTypes::EVENT_FAULT, details
                                        ? std::string("OrvaneBitResults: An exception occurred. Details: ") + details
                                        : "OrvaneBitResults: Unknown c++ exception occurred");
}

/// How many ids a request holds, whatever its count says.
int countOf(const VapntcBitRequests& requests)
{
    const int count = std::clamp<int>(requests.requestCount, 0, VAPNTC_MAX_ROWS);
    if (count != requests.requestCount)
        report(EventTypes::EVENT_FAULT, "OrvaneBitResults: Warning request count, " +
                                            std::to_string(requests.requestCount) + " is taken as " +
                                            std::to_string(count));
    return count;
}

/// An id of a request, which need not be terminated.
std::string idText(const VapntcBitRequests& requests, int index)
{
    const char(&id)[VAPNTC_TEXT_SIZE] = requests.builtInTestIds[index];
    return {id, ::strnlen(id, sizeof id)};
}

/// The number of an id, which is 0 for a text that is none; nothing for a number that no record can have.
std::optional<int> idNumber(const std::string& text)
{
    errno = 0;
    const long number = std::strtol(text.c_str(), nullptr, 10);
    if (errno == ERANGE || !std::in_range<int>(number)) return std::nullopt;
    return static_cast<int>(number);
}

/// The local time of a start, in the words of `tm` as they are: no 1900 added to the year, no 1 to the month, the day
/// of the week in the unnamed fourth field. The start counts as a point of the steady clock, although it was taken from
/// the wall clock; clients know the result, so it stays.
VapntcTime displayTime(std::uint64_t startNanoseconds, const OrvaneBitResults::Clocks& clocks)
{
    const std::uint64_t nanoseconds = startNanoseconds - static_cast<std::uint64_t>(clocks.steadyNanoseconds()) +
                                      static_cast<std::uint64_t>(clocks.systemNanoseconds());
    const auto seconds = static_cast<std::time_t>(static_cast<std::int64_t>(nanoseconds) / 1'000'000'000);
    std::tm local{};
    if (!::localtime_r(&seconds, &local)) return {};
    const auto word = [](int value) { return static_cast<std::uint32_t>(value); };
    return {word(local.tm_year), word(local.tm_mon), word(local.tm_mday), word(local.tm_wday),
            word(local.tm_hour), word(local.tm_min), word(local.tm_sec),  0};
}

/// Warnings do not count.
std::int32_t statusOf(const aspn2_msgs::idl::bit_comp_set& component)
{
    const bool isGood = component.has_communicated() && !component.error_received() && !component.critical_received();
    return isGood ? VAPNTC_BIT_STATUS_PASSED : VAPNTC_BIT_STATUS_FAILED;
}

/// Runs an operation on the object of a call-back.
template <class Operation>
void forward(void* data, const char* callback, Operation&& operation) noexcept
{
    const auto body = [&] {
        if (data) {
            operation(*static_cast<OrvaneBitResults*>(data));
            return;
        }
        report(EventTypes::EVENT_FAULT, std::string("OrvaneBitResults: instance pointer was not found in VICTORY ") +
                                            callback + ", callbackData parameter");
    };
    shielded(body, reportException);
}

}  // namespace

OrvaneBitResults::Clocks OrvaneBitResults::systemClocks()
{
    using std::chrono::duration_cast;
    using std::chrono::nanoseconds;
    return {[] { return std::time(nullptr); },
            []() -> std::int64_t {
                return duration_cast<nanoseconds>(std::chrono::steady_clock::now().time_since_epoch()).count();
            },
            []() -> std::int64_t {
                return duration_cast<nanoseconds>(std::chrono::system_clock::now().time_since_epoch()).count();
            }};
}

OrvaneBitResults::OrvaneBitResults(std::string sensorFile, Clocks clocks)
    : m_sensorFile(std::move(sensorFile)), m_clocks(clocks)
{}

void OrvaneBitResults::setCommandResponseMessageCallback(std::function<bool(const std::string&)> callback)
{
    const MutexLock lock(m_resultsMutex);
    m_sendCommand.swap(callback);
}

void OrvaneBitResults::getBitSensorServers(std::vector<SensorServer>& list)
{
    const MutexLock lock(m_resultsMutex);
    list.insert(list.end(), m_sensorServers.begin(), m_sensorServers.end());
    if (!std::ranges::all_of(list, &SensorServer::isWhole)) throw std::bad_alloc();
}

void OrvaneBitResults::ExecuteBuiltInTests(VapntsService* service)
{
    const auto body = [&] {
        if (m_started && queueTest(service)) return;
        std::ignore = VictoryLibrary::tellBuiltInTestRefused(service);
    };
    shielded(body, reportException);
}

/// Queues a test and tells it; false, and nothing told, if there is no room.
bool OrvaneBitResults::queueTest(VapntsService* service)
{
    auto result = std::make_unique<Result>();
    {
        const MutexLock lock(m_resultsMutex);
        const int id = static_cast<int>(m_results.size());
        if (id < kMaxTests) {
            const std::string text = std::to_string(id);
            copyText(result->m_vapntcBitResult.builtInTestId, text);
            m_results.insert_or_assign(id, std::move(result));
            std::ignore = VictoryLibrary::tellBuiltInTestTaken(service, m_timeoutSeconds, text);
            return true;
        }
    }
    report(EventTypes::EVENT_FAULT,
           "OrvaneBitResults: Warning, no room for another built-in test. Records kept: " + std::to_string(kMaxTests));
    return false;
}

void OrvaneBitResults::GetBuiltInTestResults(VapntsService* service, const VapntcBitRequests& requests)
{
    const auto body = [&] {
        const auto list = std::make_unique<VapntcBitResults>();
        if (m_started) copyResults(requests, countOf(requests), *list);
        std::ignore = VictoryLibrary::tell(service, *list);
    };
    shielded(body, reportException);
}

/// @param count  of the ids that are asked for; 0 for all records
void OrvaneBitResults::copyResults(const VapntcBitRequests& requests, int count, VapntcBitResults& list)
{
    const MutexLock lock(m_resultsMutex);
    if (count == 0) {
        for (const auto& [id, result] : m_results) {
            if (list.resultCount == VAPNTC_MAX_ROWS) return;
            list.results[list.resultCount++] = result->m_vapntcBitResult;
        }
    }
    for (int i = 0; i < count; ++i) {
        const std::string text = idText(requests, i);
        VapntcBitResult& row = list.results[list.resultCount++];
        if (const auto found = findResult(text); found != m_results.end()) {
            row = found->second->m_vapntcBitResult;
        } else {
            copyText(row.builtInTestId, text);
        }
    }
}

void OrvaneBitResults::ClearBuiltInTestResults(VapntsService* service, const VapntcBitRequests& requests)
{
    const auto body = [&] {
        const bool isCleared = m_started && eraseResults(requests, countOf(requests));
        std::ignore = VictoryLibrary::tellBuiltInTestsCleared(service, isCleared);
    };
    shielded(body, reportException);
}

/// Erases finished records; false if one that is asked for isn't there or isn't finished.
/// @param count  of the ids that are asked for; 0 for all records
bool OrvaneBitResults::eraseResults(const VapntcBitRequests& requests, int count)
{
    const MutexLock lock(m_resultsMutex);
    if (count == 0) std::erase_if(m_results, isFinished);
    bool isWhole = true;
    for (int i = 0; i < count; ++i) {
        const auto found = findResult(idText(requests, i));
        if (found != m_results.end() && isFinished(*found)) {
            m_results.erase(found);
        } else {
            isWhole = false;
        }
    }
    return isWhole;
}

void OrvaneBitResults::cycleCommandedBitStateMachine()
{
    if (!m_started) return;
    const std::time_t now = m_clocks.time();
    const auto elapsedSeconds =
        static_cast<std::int32_t>(static_cast<std::uint32_t>(m_lastCycleTime) - static_cast<std::uint32_t>(now));
    m_lastCycleTime = static_cast<std::int32_t>(now);

    if (const std::optional<std::int64_t> remaining = countDown(elapsedSeconds)) {
        if (m_debug) printLine(std::cout, "CBIT in-progress. m_secondsRemaining = ", *remaining);
        if (*remaining > 0) return;
        if (m_debug) printLine(std::cout, "CBIT timeout expired.");
        report(EventTypes::EVENT_OPERATION_FAILED, "OrvaneBitResults: Timeout ");
        failCurrentBit();
        return;
    }
    const std::optional<StartedTest> test = startNextTest(now);
    if (!test) return;
    if (m_debug) {
        printLine(std::cout, "CBIT started for request->m_vapntcBitResult.builtInTestId = ", test->id);
        printLine(std::cout, "sending CBIT command: ", test->command);
    }
    if (test->send && test->send(test->command)) return;
    report(EventTypes::EVENT_OPERATION_FAILED, "OrvaneBitResults: Send CBIT Cmd failed: " + test->command);
    failCurrentBit();
}

/// The seconds left to the running test; nothing if none runs. At 0 and less no report ends it any more: either it has
/// come before, and there is no time-out, or it comes too late.
/// @param elapsedSeconds  negative
std::optional<std::int64_t> OrvaneBitResults::countDown(std::int32_t elapsedSeconds)
{
    constexpr std::int64_t kMin = std::numeric_limits<std::int32_t>::min();
    constexpr std::int64_t kMax = std::numeric_limits<std::int32_t>::max();
    const MutexLock lock(m_resultsMutex);
    if (!m_bitInProgress) return std::nullopt;
    const std::int64_t remaining = std::clamp(std::int64_t{m_secondsRemaining} + elapsedSeconds, kMin, kMax);
    m_secondsRemaining = static_cast<std::int32_t>(remaining);
    m_isTimeUp = remaining <= 0;
    return remaining;
}

std::optional<OrvaneBitResults::StartedTest> OrvaneBitResults::startNextTest(std::time_t now)
{
    const MutexLock lock(m_resultsMutex);
    Result* const next = firstOfStatus(VAPNTC_BIT_STATUS_QUEUED);
    if (!next) return std::nullopt;
    VapntcBitResult& row = next->m_vapntcBitResult;
    StartedTest test{row.builtInTestId, command(), m_sendCommand};
    row.status = VAPNTC_BIT_STATUS_RUNNING;
    next->startNanoseconds = static_cast<std::uint64_t>(now) * 1'000'000'000u;
    row.startTime = displayTime(next->startNanoseconds, m_clocks);
    m_bitInProgress = true;
    m_secondsRemaining = m_timeoutSeconds;
    return test;
}

void OrvaneBitResults::failCurrentBit()
{
    const MutexLock lock(m_resultsMutex);
    m_bitInProgress = false;  // even where no record runs: a new request may have taken its place
    m_secondsRemaining = 0;
    m_isTimeUp = false;
    if (Result* const running = firstOfStatus(VAPNTC_BIT_STATUS_RUNNING)) close(*running, VAPNTC_BIT_STATUS_FAILED);
}

void OrvaneBitResults::UpdateBitReport(const aspn2_msgs::idl::BitReport& report)
{
    if (m_started) updateBitResults(report);
}

void OrvaneBitResults::updateBitResults(const aspn2_msgs::idl::BitReport& report)
{
    if ((report.header().device_id() & 0xFF) != kCommandedTestTopicId) return;
    std::string id;
    bool isWhole = true;
    {
        const MutexLock lock(m_resultsMutex);
        if (!m_bitInProgress || m_isTimeUp) return;
        Result* const running = firstOfStatus(VAPNTC_BIT_STATUS_RUNNING);
        if (!running) return;  // replaced by a new request: the time limit ends it
        id = running->m_vapntcBitResult.builtInTestId;
        m_bitInProgress = false;
        close(*running, report.bit_rollup() ? VAPNTC_BIT_STATUS_PASSED : VAPNTC_BIT_STATUS_FAILED);
        isWhole = appendSensorRows(report, running->m_vapntcBitResult);
    }
    if (m_debug) printLine(std::cout, "Received BitReport. CBIT report completed for test Id ", id);
    if (!isWhole)
        ::report(EventTypes::EVENT_FAULT, "OrvaneBitResults: Warning, more than " + std::to_string(VAPNTC_MAX_ROWS) +
                                              " sensor results for test Id " + id + ". The rest is dropped.");
}

OrvaneBitResults::Results::iterator OrvaneBitResults::findResult(const std::string& id)
{
    const std::optional<int> number = idNumber(id);
    return number ? m_results.find(*number) : m_results.end();
}

bool OrvaneBitResults::isFinished(const Results::value_type& entry)
{
    return entry.second->m_vapntcBitResult.status > VAPNTC_BIT_STATUS_RUNNING;
}

OrvaneBitResults::Result* OrvaneBitResults::firstOfStatus(std::int32_t status)
{
    const auto found = std::ranges::find_if(
        m_results, [=](const auto& entry) { return entry.second->m_vapntcBitResult.status == status; });
    return found == m_results.end() ? nullptr : found->second.get();
}

void OrvaneBitResults::close(Result& result, std::int32_t status)
{
    VapntcBitResult& row = result.m_vapntcBitResult;
    row.status = status;
    row.resultCode = status;
    copyText(row.name, m_name);
    row.namePresent = 1;
}

/// A row for each sensor of each component that is reported; false if there are more than a result takes.
bool OrvaneBitResults::appendSensorRows(const aspn2_msgs::idl::BitReport& report, VapntcBitResult& row)
{
    for (const aspn2_msgs::idl::bit_comp_set& component : report.bit_components()) {
        for (const SensorServer& server : m_sensorServers) {
            if (!server.hasComponentConfigurationId) continue;
            if (server.componentConfigurationIdNumber != component.server_id()) continue;
            if (row.sensorCount == VAPNTC_MAX_ROWS) return false;
            VapntcBitSensorResult& sensor = row.sensors[row.sensorCount++];
            copyText(sensor.sensorId, FACE::textOf(server.sensorId));
            sensor.status = statusOf(component);
        }
    }
    return true;
}

/// The command with the numbers of all sensors' components; 0 stands for a sensor without one.
std::string OrvaneBitResults::command() const
{
    std::string text = Sys::CommandString::RequestSystemCBit;
    if (m_serverCount == 0) return text;
    for (const SensorServer& server : m_sensorServers)
        text += "," + std::to_string(server.componentConfigurationIdNumber);
    return text;
}

void BuiltInTests::ExecuteBuiltInTestsCallback(void* data, VapntsService* service) noexcept
{
    forward(data, "ExecuteBuiltInTestsCallback",
            [&](OrvaneBitResults& results) { results.ExecuteBuiltInTests(service); });
}

void BuiltInTests::GetBuiltInTestResultsCallback(void* data, VapntsService* service,
                                                 VapntcBitRequests requests) noexcept
{
    forward(data, "GetBuiltInTestResultsCallback",
            [&](OrvaneBitResults& results) { results.GetBuiltInTestResults(service, requests); });
}

void BuiltInTests::ClearBuiltInTestResultsCallback(void* data, VapntsService* service,
                                                   VapntcBitRequests requests) noexcept
{
    forward(data, "ClearBuiltInTestResultsCallback",
            [&](OrvaneBitResults& results) { results.ClearBuiltInTestResults(service, requests); });
}
