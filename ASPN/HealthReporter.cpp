#include "ASPN/HealthReporter.h"

#include "ASPN/AspnDeviceIds.h"
#include "ASPN/AspnHelper.h"
#include "aspn2_msgs/EventLog.h"
#include "face/HX_TypedTS.h"
#include "platform/FPGA.h"
#include "utilities/ConsoleLine.h"
#include "utilities/Shielded.h"
#include "utilities/SleepFully.h"

#include <cstdlib>
#include <iostream>
#include <optional>
#include <stdexcept>

using FACE::RETURN_CODE_TYPE;

namespace {

constexpr std::uint8_t kEventLogMessage = 1;

/// Has the publisher of the process end, and let go of the transport, at the process's exit. What is made later dies
/// earlier, so call this once the transport exists.
void stopAtExit()
{
    [[maybe_unused]] static const int registered = std::atexit([] { HealthReporter::Instance().DoneHealthReporter(); });
}

}  // namespace

HealthReporter& HealthReporter::Instance()
{
    static HealthReporter& instance = *new HealthReporter;
    return instance;
}

HealthReporter::HealthReporter(FaultHysteresis& hysteresis, ASPN2::EventQueue::Clock::time_point (*now)(),
                               const Times& times, int faultSpanSeconds)
    : m_hysteresis(hysteresis), m_times(times), m_faultSpanSeconds(faultSpanSeconds),
      m_queue(kEventQueueLimit, EventTypes::EVENT_INFORMATION, times.repeat, now)
{}

HealthReporter::~HealthReporter()
{
    DoneHealthReporter();
}

void HealthReporter::InitHealthReporter(const std::string& name, const ASPN2::DeviceIdFactory& deviceIdFactory,
                                        const std::shared_ptr<Transport>& transport, long long handle)
{
    const std::string call = "InitHealthReporter(" + name + ")";
    if (!transport) throw std::runtime_error(call + " called with an empty eventLogTypedTS.");
    if (m_initialized.exchange(true))
        throw std::runtime_error(call + " called on an already initialized HealthReporter.");

    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NOT_AVAILABLE;
    transport->Register_Sender(handle, code);
    FACE::Return_Code_Value_No_Error_No_Action(__FILE__, __LINE__, (call + " unable to register sender.").c_str(),
                                               code);
    m_name = name;
    m_deviceId = deviceIdFactory.makeDeviceId(kEventLogMessage, 0);
    m_sequenceNumber = 0;
    m_transport = transport;
    m_handle = handle;

    stopAtExit();
    m_stop = false;
    m_publisherThread = std::thread([this] { publisherThreadFunction(); });
    initFaultHysteresisOrExit(m_hysteresis, m_faultSpanSeconds);
}

void HealthReporter::DoneHealthReporter()
{
    if (m_publisherThread.joinable()) {
        m_stop = true;
        m_queue.letWait(false);  // behind the stop: a wait that ends by it finds the stop set
        m_publisherThread.join();
        m_queue.letWait(true);
    }
    m_transport.reset();
    m_handle = -1;
    m_initialized = false;
}

void HealthReporter::publisherThreadFunction() noexcept
{
    std::optional<std::size_t> left;  // events to publish, from the stop on: senders may well be faster than this
    while (left != 0u) {
        m_pulse.turn();
        if (!left && m_stop) left = m_queue.size() + kEventQueueLimit;
        const bool isIdle = !publishNext();
        // What was sent between the end of the wait and the stop is there by now.
        if (isIdle && m_stop && m_queue.size() == 0) break;
        if (left) --*left;
    }
    m_pulse.rest();
}

/// False if there was nothing to publish. A failure counts as an event, lest it comes again at once.
bool HealthReporter::publishNext() noexcept
{
    bool isIdle = false;
    shielded(
        [&] {
            std::int32_t type = 0;
            std::string text;
            isIdle = !m_queue.pop_front(type, text, m_times.poll);
            if (!isIdle) publishChange(type, text);
        },
        [&](const char* details) {
            if (details)
                printLine(std::cout, "!!!!!! ", m_name, " HealthReporter caught exception: ", details);
            else
                printLine(std::cout, "!!!!!! ", m_name, " HealthReporter caught UNKNOWN exception");
        });
    if (!isIdle) sleepFully(m_times.pause);
    return !isIdle;
}

void HealthReporter::publishChange(std::int32_t type, const std::string& text)
{
    aspn2_msgs::idl::EventLog record;
    record.header().device_id(static_cast<std::int32_t>(m_deviceId));
    ASPN2::setToVandToA_fromFpgaTicks(FpgaFace::Instance().fpga_get_SystemCount(), record.header());
    record.header().seq_num(static_cast<std::int64_t>(m_sequenceNumber++));
    record.event_log_type(static_cast<aspn2_msgs::idl::event_log_type_enum>(type));
    record.eventlog(text);
    if (!write(record))
        printLine(std::cout, "!!!!!! ", m_name, " HealthReporter could not publish event type/info = ", type, "/",
                  text);
}

bool HealthReporter::write(const aspn2_msgs::idl::EventLog& record) const noexcept
{
    bool isWritten = false;
    shielded([&] { isWritten = m_transport && m_transport->write(m_handle, record) == RETURN_CODE_TYPE::NO_ERROR; },
             [](const char* details) { printLine(std::cerr, details ? details : "unknown exception"); });
    return isWritten;
}

void HealthReporter::SendEvent(const char* file, int line, std::int32_t type, const char* text)
{
    std::int32_t typeToSend = type;
    const std::string textToSend = m_hysteresis.Check(typeToSend, file, line, text ? text : "");
    const bool isKnown = typeToSend >= EventTypes::EVENT_GENERAL && typeToSend <= EventTypes::EVENT_SEVERE;
    m_queue.push_back(isKnown ? typeToSend : EventTypes::EVENT_GENERAL, textToSend);
}

std::size_t HealthReporter::SendConfigEvent(const std::string& text)
{
    return m_queue.push_back_config(text);
}

std::size_t HealthReporter::ReplaceConfigEvent(const std::string& text, std::size_t hash)
{
    return m_queue.push_back_config(text, hash);
}
