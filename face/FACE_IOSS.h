#ifndef FACE_FACE_IOSS_H
#define FACE_FACE_IOSS_H

#include "face/FACE_Common.h"
#include "face/FACE_Configuration.h"
#include "face/FACE_IO_Parameter_Value_Type.h"
#include "face/FACE_Sequence.h"
#include "face/FACE_String.h"

#include <cstdint>
#include <memory>

namespace FACE::IOSS {

/// Why a device calls back.
struct NOTIFICATION_EVENT_TYPE {
    enum Value : std::int32_t { DATA_AVAILABLE = 0 };
};

struct CONNECTION_STATE_TYPE {
    enum Value : std::int32_t {
        CLOSED = 0,
        OPENING = 1,
        OPEN = 2,
        FAILED = 4  // open, but without a device behind it
    };
};

struct CONNECTION_STATUS_TYPE {
    std::int64_t reserved = 0;  // always written 0
    std::int32_t present = 0;   // always written 1
    CONNECTION_STATE_TYPE::Value state = CONNECTION_STATE_TYPE::CLOSED;
};

/// One word of a bus: 0 is ready.
using BUS_STATUS_TYPE = std::int32_t;

/// A parameter of a connection or a bus, by the number that the bus gives it.
struct IO_PARAMETER_TYPE {
    std::uint16_t id = 0;
    IO_PARAMETER_VALUE_TYPE value;
};

using IO_PARAMETER_TRANSACTION_TYPE = Sequence<IO_PARAMETER_TYPE>;

/// Hears of events of a connection.
class IO_CallbackBase {
public:
    virtual ~IO_CallbackBase() = default;

    /// Called on a thread of the service. It must not register or unregister notifications.
    virtual void Process_Notification_Event(long long handle, NOTIFICATION_EVENT_TYPE::Value event,
                                            RETURN_CODE_TYPE::Value& return_code) = 0;
};

/// Named connections to the devices of one kind of bus. A handle is the connection's index in the order of first
/// opening; it stays good when the connection is closed, for a later opening under the same name. Time-outs are
/// accepted and ignored. Nothing throws: the answer is the return code.
template <class ReadPayload, class WritePayload>
class IO_ServiceBase {
public:
    virtual ~IO_ServiceBase() = default;

    /// Loads the configuration that was handed in. `NO_ACTION` if that is done already, `INVALID_CONFIG` if there is
    /// none or it can't be loaded; another call may then try again.
    virtual void Initialize(const String& configuration_name, RETURN_CODE_TYPE::Value& return_code) = 0;

    /// Opens the connection of that name, which the configuration describes. `NO_ERROR` and the same handle if it is
    /// open already; `INVALID_CONFIG` if the description or a key of it is missing; the handle is -1 on failure.
    virtual void Open_Connection(const String& connection_name, long long timeout, long long& handle,
                                 RETURN_CODE_TYPE::Value& return_code) = 0;
    virtual void Close_Connection(long long handle, RETURN_CODE_TYPE::Value& return_code) = 0;
    virtual void Read(long long handle, long long timeout, ReadPayload& payload,
                      RETURN_CODE_TYPE::Value& return_code) = 0;
    virtual void Write(long long handle, long long timeout, const WritePayload& payload,
                       RETURN_CODE_TYPE::Value& return_code) = 0;
    virtual void Configure_Connection_Parameters(long long handle, long long timeout,
                                                 const IO_PARAMETER_TRANSACTION_TYPE& parameters,
                                                 RETURN_CODE_TYPE::Value& return_code) = 0;
    virtual void Get_Connection_Configuration(long long handle, IO_PARAMETER_TRANSACTION_TYPE& parameters,
                                              RETURN_CODE_TYPE::Value& return_code) = 0;
    virtual void Configure_Bus_Parameters(long long handle, long long timeout,
                                          const IO_PARAMETER_TRANSACTION_TYPE& parameters,
                                          RETURN_CODE_TYPE::Value& return_code) = 0;
    virtual void Get_Bus_Configuration(long long handle, IO_PARAMETER_TRANSACTION_TYPE& parameters,
                                       RETURN_CODE_TYPE::Value& return_code) = 0;
    virtual void Get_Connection_Status(long long handle, CONNECTION_STATUS_TYPE& status,
                                       RETURN_CODE_TYPE::Value& return_code) = 0;
    virtual void Get_Bus_Status(long long handle, BUS_STATUS_TYPE& status, RETURN_CODE_TYPE::Value& return_code) = 0;

    /// The call-back is not owned; it must live until it is unregistered or the service is gone.
    virtual void Register_Notification_Event(long long handle, IO_CallbackBase& callback,
                                             RETURN_CODE_TYPE::Value& return_code) = 0;
    virtual void Unregister_Notification_Event(long long handle, RETURN_CODE_TYPE::Value& return_code) = 0;

    /// Hands in the configuration, once: `NOT_AVAILABLE` if there is one, `INVALID_PARAM` for a null pointer. The same
    /// operation as that of the configuration's injectable interface.
    virtual void Set_Reference(const String& interface_name, const std::shared_ptr<Configuration>& reference,
                               long long id, RETURN_CODE_TYPE::Value& return_code) = 0;

protected:
    IO_ServiceBase() = default;
    IO_ServiceBase(const IO_ServiceBase&) = default;
    IO_ServiceBase& operator=(const IO_ServiceBase&) = default;
};

/// Message-channel queues: a read or a write moves the bytes of one message.
namespace MCSQ {

using READ_PAYLOAD_TYPE = Sequence<std::uint8_t>;
using WRITE_PAYLOAD_TYPE = Sequence<std::uint8_t>;
using IO_Callback = IO_CallbackBase;
using IO_Service = IO_ServiceBase<READ_PAYLOAD_TYPE, WRITE_PAYLOAD_TYPE>;

}  // namespace MCSQ

/// Registers in memory: a read or a write is one access of 8, 16, 32 or 64 bits.
namespace Devmem {

struct READ_PAYLOAD_TYPE {
    std::uint64_t reserved = 0;  // a read sets it to 0
    std::uint32_t offset = 0;    // bytes from the start of the range
    std::uint32_t width = 0;     // bits
    std::uint64_t value = 0;     // zero-extended
};

struct WRITE_PAYLOAD_TYPE {
    std::uint32_t offset = 0;  // bytes from the start of the range
    std::uint32_t width = 0;   // bits
    std::uint64_t value = 0;
};

using IO_Callback = IO_CallbackBase;
using IO_Service = IO_ServiceBase<READ_PAYLOAD_TYPE, WRITE_PAYLOAD_TYPE>;

}  // namespace Devmem

}  // namespace FACE::IOSS

#endif
