#include "ioss_mcsq/HX_MCSQ.h"

#include "ASPN/HealthReporter.h"
#include "utilities/ConsoleLine.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <iostream>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace FACE::IOSS {

namespace {

constexpr int kPollMilliseconds = 50;
constexpr std::chrono::microseconds kPause{100};               // for other threads, after a burst of input
constexpr std::chrono::milliseconds kRest{kPollMilliseconds};  // of a device that gives nothing
constexpr int kEmptyReads = 3;                                 // in a row, until a device counts as one

/// What `poll` tells of a descriptor now.
short eventsOf(int descriptor)
{
    pollfd entry{descriptor, POLLIN, 0};
    return ::poll(&entry, 1, 0) > 0 ? entry.revents : short{0};
}

void reportSilence(const std::string& devicePath, int error)
{
    const std::string text = "Nothing can be read from pipe file: " + devicePath + ": " +
                             (error == 0 ? "it has ended or hung up" : std::generic_category().message(error));
    SEND_HEALTH_EVENT(EventTypes::EVENT_FAULT, text.c_str());
    printLine(std::cerr, text);
}

void reportFailedWait(int error)
{
    const std::string text =
        "The queues are read no more, waiting for their input failed: " + std::generic_category().message(error);
    SEND_HEALTH_EVENT(EventTypes::EVENT_FAULT, text.c_str());
    printLine(std::cerr, text);
}

/// States in which a connection may be read and written.
bool isUsable(CONNECTION_STATE_TYPE::Value state)
{
    return state == CONNECTION_STATE_TYPE::OPEN || state == CONNECTION_STATE_TYPE::FAILED;
}

const std::atomic<int> kNobody = -1;  // has to be woken

/// Takes a lock that another thread holds nearly all the time: who waits for the turn gets the lock next. The event ends
/// the wait of that thread; -1 is none.
class SCOPED_CAPABILITY TurnLock {
public:
    TurnLock(RankedMutex<LockRank::QueueTurn>& turn, RankedMutex<LockRank::QueuePoll>& mutex,
             const std::atomic<int>& event) ACQUIRE(mutex)
        : m_mutex(mutex)
    {
        const MutexLock lock(turn);
        if (const int wake = event; wake != -1) static_cast<void>(::eventfd_write(wake, 1));
        m_mutex.lock();
    }
    ~TurnLock() RELEASE() { m_mutex.unlock(); }
    TurnLock(const TurnLock&) = delete;
    TurnLock& operator=(const TurnLock&) = delete;

private:
    RankedMutex<LockRank::QueuePoll>& m_mutex;
};

}  // namespace

HX_MCSQ::Connection_t::Connection_t(std::string name, std::uint16_t port, const std::string& devicePrefix)
    : m_name(std::move(name)), m_port(port), m_devicePath(devicePrefix + std::to_string(port))
{}

bool HX_MCSQ::Connection_t::open()
{
    {
        const MutexLock lock(m_mutex);
        m_state = CONNECTION_STATE_TYPE::OPENING;
        m_isOpen = false;
        m_reader.reset();
        m_writer.reset();
    }
    const auto reader = std::make_shared<mcsReaderPort>();
    const auto writer = std::make_shared<mcsWriterPort>();
    reader->set_filename(m_devicePath.c_str());
    writer->set_filename(m_devicePath.c_str());
    const bool canOpen = reader->can_open_file() != 0 && writer->can_open_file() != 0;
    if (!canOpen) return false;
    const int readerDescriptor = reader->openPort();
    const int writerDescriptor = writer->openPort();
    if (readerDescriptor == -1 || writerDescriptor == -1) return false;

    const MutexLock lock(m_mutex);
    m_reader = reader;
    m_writer = writer;
    m_state = CONNECTION_STATE_TYPE::OPEN;
    m_isOpen = true;
    return true;
}

bool HX_MCSQ::Connection_t::close()
{
    const MutexLock lock(m_mutex);
    m_state = CONNECTION_STATE_TYPE::CLOSED;
    m_isOpen = false;
    m_reader.reset();
    m_writer.reset();
    return true;
}

ssize_t HX_MCSQ::Connection_t::read(void* bytes, std::int64_t length)
{
    std::shared_ptr<mcsReaderPort> reader;
    {
        const MutexLock lock(m_mutex);
        reader = m_reader;
    }
    if (!reader || length < 1) return 0;
    const ssize_t count = reader->readFromPort(bytes, static_cast<std::size_t>(length));
    const int error = count < 0 ? errno : 0;
    if (error == EINTR || error == EAGAIN) return count;
    const MutexLock lock(m_mutex);
    if (count > 0)
        m_outcome.isGiven = true;
    else
        m_outcome = {.isGiven = m_outcome.isGiven, .isEnded = true, .error = error};
    return count;
}

HX_MCSQ::Connection_t::Outcome HX_MCSQ::Connection_t::takeOutcome()
{
    const MutexLock lock(m_mutex);
    return std::exchange(m_outcome, Outcome{});
}

ssize_t HX_MCSQ::Connection_t::write(const void* bytes, std::int64_t length)
{
    std::shared_ptr<mcsWriterPort> writer;
    {
        const MutexLock lock(m_mutex);
        writer = m_writer;
    }
    return writer && length >= 1 ? writer->writeToPort(bytes, static_cast<std::size_t>(length)) : 0;
}

bool HX_MCSQ::Connection_t::isOpen() const
{
    const MutexLock lock(m_mutex);
    return m_isOpen;
}

CONNECTION_STATE_TYPE::Value HX_MCSQ::Connection_t::state() const
{
    const MutexLock lock(m_mutex);
    return m_state;
}

int HX_MCSQ::Connection_t::readerDescriptor() const
{
    const MutexLock lock(m_mutex);
    return m_reader ? m_reader->getFileDescriptor() : -1;
}

IO_CallbackBase* HX_MCSQ::Connection_t::callback() const
{
    const MutexLock lock(m_mutex);
    return m_callback;
}

void HX_MCSQ::Connection_t::setCallback(IO_CallbackBase* callback)
{
    const MutexLock lock(m_mutex);
    m_callback = callback;
}

HX_MCSQ::HX_MCSQ(std::string devicePrefix, std::shared_ptr<ThreadPulse> pulse)
    : HX_IO_Service({"Port"}), m_devicePrefix(std::move(devicePrefix)), m_pulse(std::move(pulse))
{}

HX_MCSQ::~HX_MCSQ()
{
    m_stop = true;
    std::thread thread;
    {
        const TurnLock lock(m_turnMutex, m_pollMutex, m_wake);
        thread.swap(m_thread);
    }
    if (thread.joinable()) thread.join();
    if (m_wake != -1) ::close(m_wake);
}

void HX_MCSQ::Close_Connection(long long handle, RETURN_CODE_TYPE::Value& return_code)
{
    guarded([&] {
        Connection_t* const connection = getConnection(handle, return_code);
        if (connection && connection->close()) return_code = RETURN_CODE_TYPE::NO_ERROR;
    });
}

void HX_MCSQ::Read(long long handle, long long, MCSQ::READ_PAYLOAD_TYPE& payload, RETURN_CODE_TYPE::Value& return_code)
{
    guarded([&] {
        Connection_t* const connection = getConnection(handle, return_code);
        if (!connection || !isUsable(connection->state())) return;
        // Elements must exist before bytes are put into them; new ones are not set, so nothing is written twice.
        const std::uint32_t before = payload.length();
        const std::uint32_t room = std::min({kLargestRead, payload.capacity(), payload.bound()});
        if (before < room) payload.length(room);
        const ssize_t count = connection->read(payload.buffer(), std::min(room, payload.length()));
        const bool isRead = count >= 1 && static_cast<std::uint64_t>(count) <= payload.capacity();
        payload.length(isRead ? static_cast<std::uint32_t>(count) : before);
        return_code = count < 1 ? RETURN_CODE_TYPE::NO_ACTION : RETURN_CODE_TYPE::NO_ERROR;
    });
}

void HX_MCSQ::Write(long long handle, long long, const MCSQ::WRITE_PAYLOAD_TYPE& payload,
                    RETURN_CODE_TYPE::Value& return_code)
{
    guarded([&] {
        Connection_t* const connection = getConnection(handle, return_code);
        if (!connection) return;
        return_code = RETURN_CODE_TYPE::INVALID_MODE;
        if (!isUsable(connection->state())) return;
        const std::int64_t length = payload.length();
        const bool isWritten = connection->write(payload.buffer(), length) == length;
        return_code = isWritten ? RETURN_CODE_TYPE::NO_ERROR : RETURN_CODE_TYPE::NO_ACTION;
    });
}

void HX_MCSQ::Configure_Connection_Parameters(long long handle, long long, const IO_PARAMETER_TRANSACTION_TYPE&,
                                              RETURN_CODE_TYPE::Value& return_code)
{
    noActionIfOpen(handle, return_code);
}

void HX_MCSQ::Configure_Bus_Parameters(long long handle, long long, const IO_PARAMETER_TRANSACTION_TYPE&,
                                       RETURN_CODE_TYPE::Value& return_code)
{
    noActionIfOpen(handle, return_code);
}

void HX_MCSQ::Get_Bus_Configuration(long long handle, IO_PARAMETER_TRANSACTION_TYPE&,
                                    RETURN_CODE_TYPE::Value& return_code)
{
    noActionIfOpen(handle, return_code);
}

void HX_MCSQ::Get_Connection_Configuration(long long handle, IO_PARAMETER_TRANSACTION_TYPE& parameters,
                                           RETURN_CODE_TYPE::Value& return_code)
{
    guarded([&] {
        return_code = RETURN_CODE_TYPE::INVALID_PARAM;
        if (handle < 0 || handle >= connectionCount()) return;
        return_code = RETURN_CODE_TYPE::NO_ERROR;
        const Connection_t& connection = entryAt(handle);
        for (std::uint32_t i = 0; i < parameters.length(); ++i) {
            if (parameters[i].id == kPortParameter)
                parameters[i].value.ushort_value(connection.port());
            else
                return_code = RETURN_CODE_TYPE::INVALID_PARAM;
        }
    });
}

void HX_MCSQ::Get_Connection_Status(long long handle, CONNECTION_STATUS_TYPE& status,
                                    RETURN_CODE_TYPE::Value& return_code)
{
    guarded([&] {
        const Connection_t* const connection = getConnection(handle, return_code);
        if (!connection) return;
        status = {.reserved = 0, .present = 1, .state = connection->state()};
        return_code = RETURN_CODE_TYPE::NO_ERROR;
    });
}

void HX_MCSQ::Get_Bus_Status(long long handle, BUS_STATUS_TYPE& status, RETURN_CODE_TYPE::Value& return_code)
{
    guarded([&] {
        status = 1;
        if (!getConnection(handle, return_code)) return;
        status = 0;
        return_code = RETURN_CODE_TYPE::NO_ERROR;
    });
}

void HX_MCSQ::Register_Notification_Event(long long handle, IO_CallbackBase& callback,
                                          RETURN_CODE_TYPE::Value& return_code)
{
    guarded([&] {
        Connection_t* const connection = getConnection(handle, return_code);
        if (!connection) return;
        return_code = RETURN_CODE_TYPE::NOT_AVAILABLE;

        const TurnLock lock(m_turnMutex, m_pollMutex, m_wake);
        m_pollSet.reserve(m_registrations.size() + 2);
        m_registrations.reserve(m_registrations.size() + 1);
        if (m_stop) startThread();  // it waits for this lock
        if (m_pollSet.empty()) {
            m_wake = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
            m_pollSet.push_back({m_wake, POLLIN, 0});
        }
        m_pollSet.push_back({-1, POLLIN, 0});
        m_registrations.push_back({.handle = handle});
        connection->setCallback(&callback);
        return_code = RETURN_CODE_TYPE::NO_ERROR;
    });
}

void HX_MCSQ::Unregister_Notification_Event(long long handle, RETURN_CODE_TYPE::Value& return_code)
{
    guarded([&] {
        Connection_t* const connection = getConnection(handle, return_code);
        if (!connection) return;

        const TurnLock lock(m_turnMutex, m_pollMutex, m_wake);
        const auto entry = std::ranges::find(m_registrations, handle, &Registration::handle);
        if (entry != m_registrations.end()) {
            m_pollSet.erase(m_pollSet.begin() + 1 + (entry - m_registrations.begin()));
            m_registrations.erase(entry);
        }
        const auto other = std::ranges::find(m_registrations, handle, &Registration::handle);
        if (other == m_registrations.end()) connection->setCallback(nullptr);
        return_code = RETURN_CODE_TYPE::NO_ERROR;
    });
}

/// The open connection of a handle, or null and a return code that says why not.
HX_MCSQ::Connection_t* HX_MCSQ::getConnection(long long handle, RETURN_CODE_TYPE::Value& return_code)
{
    Connection_t* connection = nullptr;
    guarded([&] {
        if (handle < 0 || handle > connectionCount()) {
            return_code = RETURN_CODE_TYPE::INVALID_PARAM;
            return;
        }
        Connection_t& entry = entryAt(handle);  // throws for one past the last, which is deliberately told otherwise
        if (entry.isOpen())
            connection = &entry;
        else
            return_code = RETURN_CODE_TYPE::CONNECTION_CLOSED;
    });
    return connection;
}

void HX_MCSQ::noActionIfOpen(long long handle, RETURN_CODE_TYPE::Value& return_code)
{
    if (getConnection(handle, return_code)) return_code = RETURN_CODE_TYPE::NO_ACTION;
}

long long HX_MCSQ::connectionCount()
{
    const MutexLock lock(m_listMutex);
    return static_cast<long long>(m_connections.size());
}

/// Throws `std::out_of_range` past the last.
HX_MCSQ::Connection_t& HX_MCSQ::entryAt(long long index)
{
    const MutexLock lock(m_listMutex);
    return m_connections.at(static_cast<std::size_t>(index));
}

std::optional<long long> HX_MCSQ::find(const std::string& name)
{
    const MutexLock lock(m_listMutex);
    const auto found = std::ranges::find(m_connections, name, &Connection_t::name);
    if (found == m_connections.end()) return std::nullopt;
    return found - m_connections.begin();
}

long long HX_MCSQ::append(const std::string& name, const std::vector<std::uint64_t>& numbers)
{
    const MutexLock lock(m_listMutex);
    m_connections.emplace_back(name, static_cast<std::uint16_t>(numbers.at(0)), m_devicePrefix);
    return static_cast<long long>(m_connections.size()) - 1;
}

bool HX_MCSQ::open(long long handle)
{
    Connection_t& connection = entryAt(handle);
    return connection.isOpen() || connection.open();
}

void HX_MCSQ::startThread()
{
    if (m_thread.joinable()) m_thread.join();  // it has let go of the lock for good
    m_thread = std::thread([this] { pollLoop(); });
    m_stop = false;
}

void HX_MCSQ::pollLoop() noexcept
{
    bool isRunning = true;
    while (isRunning) {
        m_pulse->turn();
        guarded([&] { isRunning = pollTurn(); });
    }
}

/// Waits once; false if the thread is to end. It decides so and lets it be known under one lock, so that nobody
/// registers in between and counts on it.
bool HX_MCSQ::pollTurn()
{
    {
        const TurnLock lock(m_turnMutex, m_pollMutex, kNobody);
        const bool isWanted = !m_stop && !m_registrations.empty();
        if (isWanted) takeDescriptors();
        const int count = isWanted ? ::poll(m_pollSet.data(), m_pollSet.size(), kPollMilliseconds) : -1;
        const int error = isWanted && count < 0 ? errno : 0;
        if (!isWanted || (error != 0 && error != EINTR)) {
            m_stop = true;
            if (!isWanted) m_pulse->rest();
            if (isWanted) guarded([&] { reportFailedWait(error); });
            return false;
        }
        if (count <= 0) return true;
        eventfd_t ignored = 0;
        if (m_pollSet.front().revents != 0) static_cast<void>(::eventfd_read(m_wake, &ignored));
        notify();
    }
    std::this_thread::sleep_for(kPause);
    return true;
}

/// A registration belongs to its connection, which may have been closed, and opened anew, since the last turn; -1 is
/// waited for by nobody.
void HX_MCSQ::takeDescriptors()
{
    const auto now = std::chrono::steady_clock::now();
    for (std::size_t i = 0; i < m_registrations.size(); ++i) {
        Registration& registration = m_registrations[i];
        const int descriptor = entryAt(registration.handle).readerDescriptor();
        if (descriptor != registration.descriptor)
            registration = {.handle = registration.handle, .descriptor = descriptor};
        m_pollSet[i + 1].fd = now < registration.restsUntil ? -1 : descriptor;
    }
}

void HX_MCSQ::notify()
{
    for (std::size_t i = 0; i < m_registrations.size(); ++i)
        if (m_pollSet[i + 1].revents != 0) serve(m_registrations[i], m_pollSet[i + 1].fd);
}

/// The descriptor may be another connection's by now. And several entries may stand for one device: what the first of
/// them took is not there any more for the others. So it is looked at again. One that claims to be ready and gives
/// nothing would otherwise have the thread turn without end.
void HX_MCSQ::serve(Registration& registration, int descriptor)
{
    Connection_t& connection = entryAt(registration.handle);
    IO_CallbackBase* const callback = connection.callback();
    if (!callback || connection.readerDescriptor() != descriptor) return;
    const short events = eventsOf(descriptor);
    if (events == 0) return;

    Connection_t::Outcome outcome{.isEnded = true};
    if ((events & POLLIN) != 0) {
        connection.takeOutcome();
        RETURN_CODE_TYPE::Value ignored = RETURN_CODE_TYPE::NO_ERROR;
        callback->Process_Notification_Event(registration.handle, NOTIFICATION_EVENT_TYPE::DATA_AVAILABLE, ignored);
        outcome = connection.takeOutcome();
    }
    if (outcome.isGiven) {
        registration.emptyReads = 0;
        registration.isToldSilent = false;
        return;
    }
    if (!outcome.isEnded) return;
    // A read of a live device may once give nothing.
    const bool isGone = (events & (POLLHUP | POLLERR | POLLNVAL)) != 0;
    registration.emptyReads = std::min(registration.emptyReads + 1, kEmptyReads);
    if (!isGone && registration.emptyReads < kEmptyReads) return;
    registration.restsUntil = std::chrono::steady_clock::now() + kRest;
    if (registration.isToldSilent) return;
    reportSilence(connection.devicePath(), outcome.error);
    registration.isToldSilent = true;
}

}  // namespace FACE::IOSS
