#include "ioss_mcsq/GssipMcsq.h"

#include "ASPN/HealthReporter.h"
#include "face/HX_Config.h"
#include "ioss_mcsq/GssipBytes.h"
#include "ioss_mcsq/HX_MCSQ.h"
#include "utilities/ConsoleLine.h"
#include "utilities/Shielded.h"

#include <algorithm>
#include <iostream>
#include <locale>
#include <optional>
#include <sstream>
#include <utility>

using FACE::Sequence;

namespace {

constexpr const char* kFailure = ": Process_Notification_Event(): A memory exception occurred ";

std::vector<unsigned short> numbersOf(const std::vector<std::string>& texts)
{
    std::vector<unsigned short> numbers;
    for (const std::string& text : texts) {
        std::istringstream stream(text);
        stream.imbue(std::locale::classic());
        unsigned short number = 0;
        if (stream >> number) numbers.push_back(number);
    }
    return numbers;
}

}  // namespace

GssipMcsq::GssipMcsq(const std::string& name, Service service, GssipTopicSerializer serializer)
    : m_name(name), m_serializer(std::move(serializer))
{
    Constructor({}, std::move(service));
}

GssipMcsq::GssipMcsq(const std::string& name, const std::vector<unsigned short>& filter, Service service) : m_name(name)
{
    Constructor(filter, std::move(service));
}

GssipMcsq::GssipMcsq(const std::string& name, const std::vector<std::string>& filter, Service service) : m_name(name)
{
    Constructor(numbersOf(filter), std::move(service));
}

void GssipMcsq::Constructor(const std::vector<unsigned short>& filter, Service service)
{
    m_service = service ? std::move(service) : std::make_unique<FACE::IOSS::HX_MCSQ>();
    m_filter = filter;
    const MutexLock lock(m_mutex);
    Sequence<std::uint8_t>::RETURN_CODE ignored{};
    m_readPayload = Sequence<std::uint8_t>(m_receiveArea.data(), kReceiveSize, kReceiveSize, ignored);
}

/// No lock is held meanwhile: the thread may be about to call back.
GssipMcsq::~GssipMcsq()
{
    shielded(
        [this] {
            std::map<long long, Callback> callbacks;
            {
                const MutexLock lock(m_callbackMutex);
                callbacks = m_callbacks;
            }
            for (const auto& [handle, callback] : callbacks) {
                RETURN_CODE_TYPE::Value ignored = RETURN_CODE_TYPE::NO_ERROR;
                m_service->Unregister_Notification_Event(handle, ignored);
                m_service->Close_Connection(handle, ignored);
            }
        },
        [](const char*) {});
    // Its thread ends here, before what it may use. A call-back of a connection that is registered twice may run until
    // then, and read through the pointer: `reset` would clear that first.
    m_service.get_deleter()(m_service.get());
    static_cast<void>(m_service.release());
}

void GssipMcsq::Process_Notification_Event(long long handle, FACE::IOSS::NOTIFICATION_EVENT_TYPE::Value event,
                                           RETURN_CODE_TYPE::Value&)
{
    if (event != FACE::IOSS::NOTIFICATION_EVENT_TYPE::DATA_AVAILABLE) return;
    const MutexLock lock(m_mutex);
    if (m_readPayload.capacity() >= kReceiveSize) m_readPayload.length(kReceiveSize);
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NO_ACTION;
    m_service->Read(handle, 0, m_readPayload, code);
    if (code == RETURN_CODE_TYPE::NO_ERROR) processMessage(handle);
}

void GssipMcsq::Connect_WriteOnly(const FACE::String& configuration_name, const FACE::String& connection_name,
                                  long long& handle, RETURN_CODE_TYPE::Value& return_code)
{
    handle = -1;
    return_code = RETURN_CODE_TYPE::NO_ACTION;
    m_service->Set_Reference("unused_name", std::make_shared<FACE::HX_Config>(), 0, return_code);
    if (return_code == RETURN_CODE_TYPE::INVALID_PARAM) return;
    m_service->Initialize(configuration_name, return_code);
    if (return_code != RETURN_CODE_TYPE::NO_ERROR && return_code != RETURN_CODE_TYPE::NO_ACTION) return;
    m_service->Open_Connection(connection_name, -1, handle, return_code);
}

void GssipMcsq::Connect_ReadOnly(const FACE::String& configuration_name, const FACE::String& connection_name,
                                 const Callback& callback, RETURN_CODE_TYPE::Value& return_code)
{
    long long handle = -1;
    Connect_WriteOnly(configuration_name, connection_name, handle, return_code);
    if (return_code != RETURN_CODE_TYPE::NO_ERROR) return;
    setCallback(handle, callback);
    m_service->Register_Notification_Event(handle, *this, return_code);
}

void GssipMcsq::Connect_IOWrite(const FACE::String& configuration_name, const FACE::String& connection_name,
                                long long& handle, const Callback& callback, RETURN_CODE_TYPE::Value& return_code)
{
    Connect_WriteOnly(configuration_name, connection_name, handle, return_code);
    if (return_code != RETURN_CODE_TYPE::NO_ERROR) return;
    setCallback(handle, callback);
    return_code = RETURN_CODE_TYPE::NO_ERROR;
}

bool GssipMcsq::IsInitialized(long long handle)
{
    FACE::IOSS::BUS_STATUS_TYPE status = 1;
    RETURN_CODE_TYPE::Value ignored = RETURN_CODE_TYPE::NO_ERROR;
    m_service->Get_Bus_Status(handle, status, ignored);
    return status == 0;
}

void GssipMcsq::Write(long long handle, const GSSIP& record, RETURN_CODE_TYPE::Value& return_code)
{
    if (!IsInitialized(handle)) return;
    writeToQueue(handle, record, return_code);
    callCallback(handle, record);
}

void GssipMcsq::writeToQueue(long long handle, const GSSIP& record, RETURN_CODE_TYPE::Value& return_code)
{
    if (isFiltered(record)) return;
    std::vector<std::uint8_t> bytes;
    if (!m_serializer.Serialize(record, bytes)) return;
    if (!isWritable(bytes.size())) return;
    Sequence<std::uint8_t>::RETURN_CODE ignored{};
    const auto length = static_cast<std::uint32_t>(bytes.size());
    const FACE::IOSS::MCSQ::WRITE_PAYLOAD_TYPE payload(bytes.data(), length, length, ignored);
    m_service->Write(handle, -1, payload, return_code);
}

void GssipMcsq::callCallback(long long handle, const GSSIP& record)
{
    Callback callback;
    {
        const MutexLock lock(m_callbackMutex);
        const auto found = m_callbacks.find(handle);
        if (found == m_callbacks.end()) return;
        callback = found->second;
    }
    callback(record);
}

void GssipMcsq::setCallback(long long handle, const Callback& callback)
{
    const MutexLock lock(m_callbackMutex);
    m_callbacks[handle] = callback;
}

/// Cuts what was read into records. Nothing in the stream marks the begin of a record, so there is no finding back into
/// it once the way is lost.
void GssipMcsq::processMessage(long long handle)
{
    const std::uint8_t* position = m_readPayload.buffer();
    std::int64_t remaining = m_readPayload.length();
    while (remaining > 0) {
        const std::int64_t size = deliver(handle, position, remaining);
        if (size == 0) return;
        position += size;
        remaining -= size;
    }
}

/// Hands out the record at `bytes` and gives the way to the next one; 0, and why is reported, if there is none. No
/// exception leaves it, that of a report included.
std::int64_t GssipMcsq::deliver(long long handle, const std::uint8_t* bytes, std::int64_t remaining)
{
    std::optional<std::int64_t> size;  // that the bytes tell, which may be any; none if reading them threw
    shielded(
        [&] {
            GSSIP record;
            const bool isRecord = m_serializer.Deserialize(bytes, static_cast<std::uint32_t>(remaining), record);
            size = isRecord ? std::int64_t{record.num_bytes()} + GssipTopicSerializer::kOverhead : 0;
            if (isRecord) callCallback(handle, record);
        },
        [&](const char*) { report(m_name + kFailure); });
    if (!size) return 0;
    if (*size > 0 && *size <= remaining) return *size;
    shielded(
        [&] {
            report(m_name + kFailure + "on deserialize. Max Length: " + std::to_string(kReceiveSize) +
                   " MCSQ remainder: " + std::to_string(remaining));
        },
        [](const char*) {});
    return 0;
}

void GssipMcsq::report(const std::string& text) const
{
    SEND_HEALTH_EVENT(EventTypes::EVENT_FAULT, text.c_str());
    printLine(std::cout, text);
}

bool GssipMcsq::isFiltered(const GSSIP& record) const
{
    const auto id = gssip::messageIdOf(record.data());
    return id && std::ranges::find(m_filter, *id) != m_filter.end();
}
