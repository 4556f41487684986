#ifndef FACE_FACE_TSS_H
#define FACE_FACE_TSS_H

#include "face/FACE_Common.h"
#include "face/FACE_Sequence.h"
#include "face/FACE_String.h"

#include <cstdint>
#include <functional>

/// The transport services: messages of fixed types over named connections.
namespace FACE::TSS {

/// The service that owns the connections, whatever their types.
class Base {
public:
    virtual ~Base() = default;
    virtual void Initialize(const String& configuration_path, RETURN_CODE_TYPE::Value& return_code) = 0;
    virtual void Create_Connection(const String& connection_name, long long timeout, long long& connection_id,
                                   int& max_message_size, RETURN_CODE_TYPE::Value& return_code) = 0;
    virtual void Destroy_Connection(long long connection_id, RETURN_CODE_TYPE::Value& return_code) = 0;
    virtual void Unregister_Sender(long long connection_id, RETURN_CODE_TYPE::Value& return_code) = 0;
    virtual void Unregister_Callback(long long connection_id, RETURN_CODE_TYPE::Value& return_code) = 0;

protected:
    Base() = default;
    Base(const Base&) = default;
    Base& operator=(const Base&) = default;
};

/// Where a message comes from.
struct HEADER_TYPE {
    std::int64_t source_uid = 0;           ///< the entity id of the writer, 0 to 0xFFFFFFFF
    std::int64_t subscriber_uid = 0;       ///< the same of the subscriber that received the message
    std::int64_t source_timestamp_ns = 0;  ///< when it was written, by the clock of its writer; ns
};

/// What receives messages: `(connection_id, transaction_id, message, header, qos, return_code)`. The transaction id is
/// the number of the message in its writer's sequence. All references are good for the call only. The return code is
/// ignored.
template <class T>
using Read_Callback =
    std::function<void(long long connection_id, long long transaction_id, const T& message, const HEADER_TYPE& header,
                       const Sequence<QoS_Element>& qos, RETURN_CODE_TYPE::Value& return_code)>;

/// The front of the service for messages of one type.
template <class T>
class TypedTS {
public:
    virtual ~TypedTS() = default;
    virtual void Receive_Message(long long connection_id, long long timeout, long long& transaction_id, T& message,
                                 HEADER_TYPE& header, Sequence<QoS_Element>& qos,
                                 RETURN_CODE_TYPE::Value& return_code) = 0;
    virtual void Send_Message(long long connection_id, long long timeout, long long& transaction_id, const T& message,
                              RETURN_CODE_TYPE::Value& return_code) = 0;
    virtual void Register_Sender(long long connection_id, RETURN_CODE_TYPE::Value& return_code) = 0;
    virtual void Register_Callback(long long connection_id, Read_Callback<T> callback,
                                   RETURN_CODE_TYPE::Value& return_code) = 0;

protected:
    TypedTS() = default;
    TypedTS(const TypedTS&) = default;
    TypedTS& operator=(const TypedTS&) = default;
};

}  // namespace FACE::TSS

#endif
