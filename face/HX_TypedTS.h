#ifndef FACE_HX_TYPEDTS_H
#define FACE_HX_TYPEDTS_H

#include "face/FACE_Injectable.h"
#include "face/FACE_TSS.h"
#include "face/HX_TSS.h"

#include <memory>

namespace aspn2_msgs::idl {

class AssuranceState;
class BitReport;
class CommandResponse;
class EventLog;
class HalvexPNT;
class MaintenanceEvent;
class MeasurementIncorporationStatus;
class PositionVelocityAttitude;
class UTCTime;

}  // namespace aspn2_msgs::idl

namespace FACE::TSS::Details {

/// The front of the transport for the connections that carry messages of type `T`: one of the nine above, which are
/// compiled once (face/HX_TypedTS.cpp). It keeps nothing about a connection, so one object serves several of them.
///
/// `Send_Message` and the registrations answer `NOT_AVAILABLE` as long as there is no transport, or that one is not
/// initialized, and `INVALID_PARAM` for an id without a connection, as for any `std::out_of_range`. Any other
/// `std::exception` is `CONNECTION_CLOSED` and one line on the standard error, that of a connection of another type
/// among them; anything else thrown is `NO_ACTION`. `Send_Message` and `write` may be called by any thread, the others
/// by those that may call the transport's.
template <class T>
class HX_TypedTS : public TypedTS<T>, public Base_Injectable::Injectable {
public:
    /// Throws `std::runtime_error`, always: messages come by callback only.
    void Receive_Message(long long connection_id, long long timeout, long long& transaction_id, T& message,
                         HEADER_TYPE& header, Sequence<QoS_Element>& qos,
                         RETURN_CODE_TYPE::Value& return_code) override;

    /// Publishes a message, and returns when the library has it: nothing waits here. Callbacks of this process run
    /// within this call, on this thread, so hold no lock that they take. Time-out and transaction are ignored.
    /// `NOT_AVAILABLE` without a sender, `DATA_OVERFLOW` if the library does not take the message.
    void Send_Message(long long connection_id, long long timeout, long long& transaction_id, const T& message,
                      RETURN_CODE_TYPE::Value& return_code) override;

    /// Gives the connection a publisher; `NO_ACTION` if it has one.
    void Register_Sender(long long connection_id, RETURN_CODE_TYPE::Value& return_code) override;

    /// Gives the connection a subscriber; `NO_ACTION`, and the callback before stays, if it has one. The callback runs
    /// on a thread of the library, or within a write of this process. It must be quick, and must not throw nor call
    /// the transport to register or unregister.
    void Register_Callback(long long connection_id, Read_Callback<T> callback,
                           RETURN_CODE_TYPE::Value& return_code) override;

    /// `NOT_AVAILABLE` when a transport is held already, else `INVALID_PARAM` for null and for what is no `HX_TSS`.
    void Set_Reference(const String& interface_name, const std::shared_ptr<Base>& reference, long long id,
                       RETURN_CODE_TYPE::Value& return_code) override;

    /// What `Send_Message` does, for callers that report failures themselves: what that turns into codes, but for
    /// `NOT_AVAILABLE` and `DATA_OVERFLOW`, is thrown as `HX_TSS::write` throws it.
    RETURN_CODE_TYPE::Value write(long long connection_id, const T& message);

private:
    using Connection_t = HX_TSS::Connection_t;

    void registerSubscriberTyped(long long connection_id, Connection_t& connection, const Read_Callback<T>& callback);

    std::shared_ptr<HX_TSS> m_tss;
};

extern template class HX_TypedTS<aspn2_msgs::idl::AssuranceState>;
extern template class HX_TypedTS<aspn2_msgs::idl::BitReport>;
extern template class HX_TypedTS<aspn2_msgs::idl::CommandResponse>;
extern template class HX_TypedTS<aspn2_msgs::idl::EventLog>;
extern template class HX_TypedTS<aspn2_msgs::idl::HalvexPNT>;
extern template class HX_TypedTS<aspn2_msgs::idl::MaintenanceEvent>;
extern template class HX_TypedTS<aspn2_msgs::idl::MeasurementIncorporationStatus>;
extern template class HX_TypedTS<aspn2_msgs::idl::PositionVelocityAttitude>;
extern template class HX_TypedTS<aspn2_msgs::idl::UTCTime>;

}  // namespace FACE::TSS::Details

#endif
