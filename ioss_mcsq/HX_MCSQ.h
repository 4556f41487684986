#ifndef IOSS_MCSQ_HX_MCSQ_H
#define IOSS_MCSQ_HX_MCSQ_H

#include "face/FACE_IOSS.h"
#include "face/HX_IO_Service.h"
#include "ioss_mcsq/mcsQport.h"
#include "utilities/ThreadAnnotations.h"
#include "utilities/ThreadPulse.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <poll.h>
#include <string>
#include <sys/types.h>
#include <thread>
#include <vector>

namespace FACE::IOSS {

/// Named connections to message queues: character devices of which one read or write moves one message. The key "Port"
/// of a connection's configuration is the number of its device, cut to 16 bits.
///
/// Any thread may call. An exception does not leave an operation: its text and a source line number go to standard
/// error, and the return code stays as it was by then. A handle that equals the number of connections ends the same
/// way, but for `Get_Connection_Configuration`, which refuses it as any other.
///
/// One thread, which runs while connections are registered for notification, waits for input on all of them. It calls
/// back with the poll lock held, so a call-back must neither register nor unregister. Whoever does waits for it, as
/// long as call-backs take. When `Unregister_Notification_Event` returns, none runs, and none will unless
/// the connection is registered more than once. Unregister before closing.
///
/// When that wait itself fails the thread ends, and an event and a line on standard error tell so; the next registration
/// starts it anew.
///
/// A call-back is made only if a read would not wait; reading elsewhere from a connection that is registered, or from
/// its device, breaks that. A device that has hung up, or that claims to be ready and gives nothing three times in a
/// row, is left alone for 50 ms each time, which delays no other; a health event of type 3, and the same text on
/// standard error, say so once until it gives something again.
class HX_MCSQ : public HX_IO_Service<MCSQ::IO_Service> {
public:
    /// The most that one read takes.
    static constexpr std::uint32_t kLargestRead = 131072;

    /// What `Get_Connection_Configuration` knows: the device's number, as `ushort_value`.
    static constexpr std::uint16_t kPortParameter = 0;

    static constexpr const char* kDevicePrefix = "/dev/mcs";

    /// @param devicePrefix  what stands before the number in the path of a device
    /// @param pulse         of the thread, which turns some twenty times a second; one that has ended because its wait
    ///                      failed does not rest
    explicit HX_MCSQ(std::string devicePrefix = kDevicePrefix,
                     std::shared_ptr<ThreadPulse> pulse = std::make_shared<ThreadPulse>());
    ~HX_MCSQ() override;
    HX_MCSQ(const HX_MCSQ&) = delete;
    HX_MCSQ& operator=(const HX_MCSQ&) = delete;

    void Close_Connection(long long handle, RETURN_CODE_TYPE::Value& return_code) override EXCLUDES(m_listMutex);

    /// Reads one message, as much of it as the payload has capacity for, and makes that the payload's length.
    /// `NO_ACTION` if nothing came.
    void Read(long long handle, long long timeout, MCSQ::READ_PAYLOAD_TYPE& payload,
              RETURN_CODE_TYPE::Value& return_code) override EXCLUDES(m_listMutex);

    /// Writes one message; `NO_ACTION` if not all of it was taken.
    void Write(long long handle, long long timeout, const MCSQ::WRITE_PAYLOAD_TYPE& payload,
               RETURN_CODE_TYPE::Value& return_code) override EXCLUDES(m_listMutex);

    /// A queue has nothing to configure: `NO_ACTION` for an open connection. So for the bus, in both directions.
    void Configure_Connection_Parameters(long long handle, long long timeout,
                                         const IO_PARAMETER_TRANSACTION_TYPE& parameters,
                                         RETURN_CODE_TYPE::Value& return_code) override;
    void Configure_Bus_Parameters(long long handle, long long timeout, const IO_PARAMETER_TRANSACTION_TYPE& parameters,
                                  RETURN_CODE_TYPE::Value& return_code) override;
    void Get_Bus_Configuration(long long handle, IO_PARAMETER_TRANSACTION_TYPE& parameters,
                               RETURN_CODE_TYPE::Value& return_code) override;

    /// Fills in every entry that is known, also of a closed connection; `INVALID_PARAM` if one isn't.
    void Get_Connection_Configuration(long long handle, IO_PARAMETER_TRANSACTION_TYPE& parameters,
                                      RETURN_CODE_TYPE::Value& return_code) override EXCLUDES(m_listMutex);
    void Get_Connection_Status(long long handle, CONNECTION_STATUS_TYPE& status,
                               RETURN_CODE_TYPE::Value& return_code) override EXCLUDES(m_listMutex);

    /// 0 if the connection is open, else 1.
    void Get_Bus_Status(long long handle, BUS_STATUS_TYPE& status, RETURN_CODE_TYPE::Value& return_code) override
        EXCLUDES(m_listMutex);

    /// `NOT_AVAILABLE`, and nothing changed, without memory or a thread for it. The registration outlives a close: it
    /// is served again when the connection has been opened anew.
    void Register_Notification_Event(long long handle, IO_CallbackBase& callback,
                                     RETURN_CODE_TYPE::Value& return_code) override EXCLUDES(m_pollMutex, m_listMutex);

    /// Takes back one registration, and forgets the call-back with the last one. `NO_ERROR` also if there is none.
    void Unregister_Notification_Event(long long handle, RETURN_CODE_TYPE::Value& return_code) override
        EXCLUDES(m_pollMutex, m_listMutex);

    /// One connection: both directions of one device. It stays where it is made. Any thread may call, but one at a time
    /// may open; the lock is a leaf, and is not held while a device is opened, read or written. A transfer that is
    /// under way keeps the device open when the connection is closed.
    class Connection_t {
    public:
        Connection_t(std::string name, std::uint16_t port, const std::string& devicePrefix);
        Connection_t(const Connection_t&) = delete;
        Connection_t& operator=(const Connection_t&) = delete;

        const std::string& name() const { return m_name; }
        std::uint16_t port() const { return m_port; }
        const std::string& devicePath() const { return m_devicePath; }

        /// Opens both directions anew. If that fails the connection is closed, and its state stays at being opened.
        bool open() EXCLUDES(m_mutex);

        /// Always true.
        bool close() EXCLUDES(m_mutex);

        /// One transfer of the port; 0 for a length under 1 or a closed connection.
        ssize_t read(void* bytes, std::int64_t length) EXCLUDES(m_mutex);

        /// What the latest reads of the device came to, as told since the last call of this.
        struct Outcome {
            bool isGiven = false;  ///< something was read
            bool isEnded = false;  ///< nothing was: `error` tells why, 0 for the end of what the device has
            int error = 0;
        };
        Outcome takeOutcome() EXCLUDES(m_mutex);
        ssize_t write(const void* bytes, std::int64_t length) EXCLUDES(m_mutex);

        bool isOpen() const EXCLUDES(m_mutex);
        CONNECTION_STATE_TYPE::Value state() const EXCLUDES(m_mutex);

        /// -1 if closed.
        int readerDescriptor() const EXCLUDES(m_mutex);
        IO_CallbackBase* callback() const EXCLUDES(m_mutex);
        void setCallback(IO_CallbackBase* callback) EXCLUDES(m_mutex);

    private:
        const std::string m_name;
        const std::uint16_t m_port;
        const std::string m_devicePath;  // the ports point to it
        mutable RankedMutex<LockRank::Leaf> m_mutex;
        std::shared_ptr<mcsReaderPort> m_reader GUARDED_BY(m_mutex);
        std::shared_ptr<mcsWriterPort> m_writer GUARDED_BY(m_mutex);
        Outcome m_outcome GUARDED_BY(m_mutex);
        bool m_isOpen GUARDED_BY(m_mutex) = false;
        IO_CallbackBase* m_callback GUARDED_BY(m_mutex) = nullptr;  // not owned
        CONNECTION_STATE_TYPE::Value m_state GUARDED_BY(m_mutex) = CONNECTION_STATE_TYPE::CLOSED;
    };

private:
    Connection_t* getConnection(long long handle, RETURN_CODE_TYPE::Value& return_code) EXCLUDES(m_listMutex);
    void noActionIfOpen(long long handle, RETURN_CODE_TYPE::Value& return_code);
    long long connectionCount() EXCLUDES(m_listMutex);
    Connection_t& entryAt(long long index) EXCLUDES(m_listMutex);
    std::optional<long long> find(const std::string& name) override EXCLUDES(m_listMutex);
    long long append(const std::string& name, const std::vector<std::uint64_t>& numbers) override EXCLUDES(m_listMutex);
    bool open(long long handle) override EXCLUDES(m_listMutex);

    /// A connection that is registered.
    struct Registration {
        long long handle;
        int descriptor = -1;                                    // of the device; all below is of this one
        std::chrono::steady_clock::time_point restsUntil = {};  // not looked at before
        int emptyReads = 0;                                     // in a row
        bool isToldSilent = false;
    };

    void startThread() REQUIRES(m_pollMutex);
    void pollLoop() noexcept EXCLUDES(m_pollMutex);
    bool pollTurn() EXCLUDES(m_pollMutex);
    void takeDescriptors() REQUIRES(m_pollMutex) EXCLUDES(m_listMutex);
    void notify() REQUIRES(m_pollMutex) EXCLUDES(m_listMutex);
    void serve(Registration& registration, int descriptor) REQUIRES(m_pollMutex) EXCLUDES(m_listMutex);

    const std::string m_devicePrefix;
    const std::shared_ptr<ThreadPulse> m_pulse;
    std::deque<Connection_t> m_connections GUARDED_BY(m_listMutex);  // entries neither move nor leave
    RankedMutex<LockRank::Devices> m_listMutex;                      // for fetching an entry
    RankedMutex<LockRank::QueueTurn>
        m_turnMutex;  // taken just to take m_pollMutex, so that the thread, which lets go of it for a moment only,
                      // does not keep others out
    RankedMutex<LockRank::QueuePoll> m_pollMutex;           // call-backs run under it, and take locks of their own
    std::vector<pollfd> m_pollSet GUARDED_BY(m_pollMutex);  // `m_wake` first, once there was a registration
    std::vector<Registration> m_registrations GUARDED_BY(m_pollMutex);  // one for each entry behind it
    std::thread m_thread GUARDED_BY(m_pollMutex);
    std::atomic<bool> m_stop = true;  // set under m_pollMutex by the thread as it leaves; by the destructor without it
    std::atomic<int> m_wake = -1;     // an event, written by who wants the lock, that ends the thread's wait; -1: none
};

}  // namespace FACE::IOSS

#endif
