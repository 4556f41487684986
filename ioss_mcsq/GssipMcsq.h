#ifndef IOSS_MCSQ_GSSIPMCSQ_H
#define IOSS_MCSQ_GSSIPMCSQ_H

#include "face/FACE_IOSS.h"
#include "ioss_mcsq/GssipTopicSerializer.h"
#include "utilities/ThreadAnnotations.h"

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

/// GSSIP traffic on message queues: `GSSIP` records, one behind the other, each of `num_bytes` + 56 bytes. One object
/// holds any number of connections. Each record that is read goes to the call-back of its connection.
///
/// Whole records are what one read brings; nothing is kept from one read to the next. When a record can't be read, or
/// tells a length that is no way to the next, the rest of that read is dropped, with a health event of type 3 and the
/// same text on the console.
///
/// Any thread may call. Call-backs of what is read run on the one thread of the queue service, one after the other,
/// with the read lock held; the one of what is written runs on the writer's thread. A call-back may write, but must
/// neither connect nor destroy the object.
class GssipMcsq : public FACE::IOSS::MCSQ::IO_Callback {
public:
    using GSSIP = aspn2_msgs::idl::GSSIP;
    using Callback = std::function<void(const GSSIP&)>;
    using RETURN_CODE_TYPE = FACE::RETURN_CODE_TYPE;
    using Service = std::unique_ptr<FACE::IOSS::MCSQ::IO_Service>;

    /// Bytes: the size of one read.
    static constexpr std::uint32_t kReceiveSize = 131072;

    /// Whether one write may carry so many bytes.
    static constexpr bool isWritable(std::uint64_t size) { return size > 0 && size <= 4294967294; }

    /// @param name      stands in front of all messages
    /// @param filter    ids of messages that are not to be written; of texts, those that begin with a decimal number of
    ///                  16 bits count, and others are skipped
    /// @param service   null for the queue devices of the machine
    explicit GssipMcsq(const std::string& name, Service service = nullptr,
                       GssipTopicSerializer serializer = GssipTopicSerializer());
    GssipMcsq(const std::string& name, const std::vector<unsigned short>& filter, Service service = nullptr);
    GssipMcsq(const std::string& name, const std::vector<std::string>& filter, Service service = nullptr);

    /// Ends all notification, then closes.
    ~GssipMcsq() override;
    GssipMcsq(const GssipMcsq&) = delete;
    GssipMcsq& operator=(const GssipMcsq&) = delete;

    /// Reads one message of the connection and hands out its records. Events other than 0 are none of ours.
    void Process_Notification_Event(long long handle, FACE::IOSS::NOTIFICATION_EVENT_TYPE::Value event,
                                    RETURN_CODE_TYPE::Value& return_code) override EXCLUDES(m_mutex);

    /// Opens a connection. The first call that succeeds settles the configuration file for all others.
    /// The codes are those of the service's `Set_Reference`, `Initialize` and `Open_Connection`; the handle is -1 if it
    /// fails.
    void Connect_WriteOnly(const FACE::String& configuration_name, const FACE::String& connection_name,
                           long long& handle, RETURN_CODE_TYPE::Value& return_code);

    /// Opens a connection, whose records go to `callback` from then on.
    void Connect_ReadOnly(const FACE::String& configuration_name, const FACE::String& connection_name,
                          const Callback& callback, RETURN_CODE_TYPE::Value& return_code) EXCLUDES(m_callbackMutex);

    /// Opens a connection; `callback` gets what is written to it, and nothing is read.
    void Connect_IOWrite(const FACE::String& configuration_name, const FACE::String& connection_name, long long& handle,
                         const Callback& callback, RETURN_CODE_TYPE::Value& return_code) EXCLUDES(m_callbackMutex);

    bool IsInitialized(long long handle);

    /// `writeToQueue`, and then the connection's call-back, for a record that is filtered or could not be written too.
    /// Nothing, and the code as it was, for a connection that is not open.
    void Write(long long handle, const GSSIP& record, RETURN_CODE_TYPE::Value& return_code);

    /// Writes one record as one message. The code is the service's; it stays as it was if the id is filtered or the
    /// record is too large or can't be serialized. A frame without an id is not filtered.
    void writeToQueue(long long handle, const GSSIP& record, RETURN_CODE_TYPE::Value& return_code);

    /// Nothing for a connection without a call-back. Throws what the call-back throws; `std::bad_function_call` if that
    /// is an empty one.
    void callCallback(long long handle, const GSSIP& record) EXCLUDES(m_callbackMutex);

private:
    void Constructor(const std::vector<unsigned short>& filter, Service service);
    void setCallback(long long handle, const Callback& callback) EXCLUDES(m_callbackMutex);
    void processMessage(long long handle) REQUIRES(m_mutex);
    std::int64_t deliver(long long handle, const std::uint8_t* bytes, std::int64_t remaining) REQUIRES(m_mutex);
    void report(const std::string& text) const;
    bool isFiltered(const GSSIP& record) const;

    const std::string m_name;
    Service m_service;
    std::array<std::uint8_t, kReceiveSize> m_receiveArea{};
    FACE::IOSS::MCSQ::READ_PAYLOAD_TYPE m_readPayload GUARDED_BY(m_mutex);
    RankedMutex<LockRank::QueueReading>
        m_mutex;  // one read at a time; call-backs run under it, and take locks of their own
    std::map<long long, Callback> m_callbacks GUARDED_BY(m_callbackMutex);
    std::vector<unsigned short> m_filter;
    RankedMutex<LockRank::Leaf> m_callbackMutex;
    GssipTopicSerializer m_serializer;
};

#endif
