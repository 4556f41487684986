#include "face/HX_TypedTS.h"

#include "aspn2_msgs/AssuranceState.h"
#include "aspn2_msgs/BitReport.h"
#include "aspn2_msgs/CommandResponse.h"
#include "aspn2_msgs/EventLog.h"
#include "aspn2_msgs/HalvexPNT.h"
#include "aspn2_msgs/MaintenanceEvent.h"
#include "aspn2_msgs/MeasurementIncorporationStatus.h"
#include "aspn2_msgs/PositionVelocityAttitude.h"
#include "aspn2_msgs/TypeSupport.h"
#include "aspn2_msgs/UTCTime.h"
#include "face/HX_TSS_Listeners.h"
#include "utilities/ConsoleLine.h"

#include <atomic>
#include <iostream>
#include <stdexcept>

namespace FACE::TSS::Details {

namespace {

/// The code that an operation answers, or the one for what it throws.
template <class Operation>
RETURN_CODE_TYPE::Value codeOf(Operation operation)
{
    try {
        return operation();
    } catch (const std::out_of_range&) {
        return RETURN_CODE_TYPE::INVALID_PARAM;
    } catch (const std::exception& error) {
        printLine(std::cerr, error.what());
        return RETURN_CODE_TYPE::CONNECTION_CLOSED;
    } catch (...) {
        return RETURN_CODE_TYPE::NO_ACTION;
    }
}

template <class T>
bool isTypeOf(const HX_TSS::TopicDataType& type)
{
    return dynamic_cast<const aspn2_msgs::idl::TypeSupport<T>*>(&type) != nullptr;
}

}  // namespace

template <class T>
void HX_TypedTS<T>::Set_Reference(const String&, const std::shared_ptr<Base>& reference, long long,
                                  RETURN_CODE_TYPE::Value& return_code)
{
    return_code = RETURN_CODE_TYPE::NOT_AVAILABLE;
    if (m_tss) return;
    m_tss = std::dynamic_pointer_cast<HX_TSS>(reference);
    return_code = m_tss ? RETURN_CODE_TYPE::NO_ERROR : RETURN_CODE_TYPE::INVALID_PARAM;
}

template <class T>
void HX_TypedTS<T>::Receive_Message(long long, long long, long long&, T&, HEADER_TYPE&, Sequence<QoS_Element>&,
                                    RETURN_CODE_TYPE::Value&)
{
    throw std::runtime_error("HX_TypedTS::Receive_Message() is not supported.");
}

template <class T>
void HX_TypedTS<T>::Send_Message(long long connection_id, long long, long long&, const T& message,
                                 RETURN_CODE_TYPE::Value& return_code)
{
    return_code = codeOf([&] { return write(connection_id, message); });
}

template <class T>
RETURN_CODE_TYPE::Value HX_TypedTS<T>::write(long long connection_id, const T& message)
{
    if (!m_tss || !m_tss->isInitialized()) return RETURN_CODE_TYPE::NOT_AVAILABLE;
    return m_tss->write(HX_TSS::keyOf(connection_id), &message, isTypeOf<T>);
}

template <class T>
void HX_TypedTS<T>::Register_Sender(long long connection_id, RETURN_CODE_TYPE::Value& return_code)
{
    return_code = codeOf([&] {
        if (!m_tss || !m_tss->isInitialized()) return RETURN_CODE_TYPE::NOT_AVAILABLE;
        Connection_t& connection = m_tss->connectionMap_mutex_at(HX_TSS::keyOf(connection_id));
        if (connection.isPublisher()) return RETURN_CODE_TYPE::NO_ACTION;
        m_tss->requireType(connection, isTypeOf<T>, "publisher");
        m_tss->registerPublisher(connection);
        return RETURN_CODE_TYPE::NO_ERROR;
    });
}

template <class T>
void HX_TypedTS<T>::Register_Callback(long long connection_id, Read_Callback<T> callback,
                                      RETURN_CODE_TYPE::Value& return_code)
{
    static std::atomic<int> subscriber_entry = 0;  // successes of this type, for a debugger
    return_code = codeOf([&] {
        if (!m_tss || !m_tss->isInitialized()) return RETURN_CODE_TYPE::NOT_AVAILABLE;
        Connection_t& connection = m_tss->connectionMap_mutex_at(HX_TSS::keyOf(connection_id));
        if (connection.isSubscriber()) return RETURN_CODE_TYPE::NO_ACTION;
        registerSubscriberTyped(connection_id, connection, callback);
        ++subscriber_entry;
        return RETURN_CODE_TYPE::NO_ERROR;
    });
}

template <class T>
void HX_TypedTS<T>::registerSubscriberTyped(long long connection_id, Connection_t& connection,
                                            const Read_Callback<T>& callback)
{
    m_tss->requireType(connection, isTypeOf<T>, "subscriber");
    m_tss->registerSubscriber(connection, std::make_unique<Listeners::SubscriberListenerTyped<T>>(
                                              m_tss->participantName(), connection_id, callback));
}

template class HX_TypedTS<aspn2_msgs::idl::AssuranceState>;
template class HX_TypedTS<aspn2_msgs::idl::BitReport>;
template class HX_TypedTS<aspn2_msgs::idl::CommandResponse>;
template class HX_TypedTS<aspn2_msgs::idl::EventLog>;
template class HX_TypedTS<aspn2_msgs::idl::HalvexPNT>;
template class HX_TypedTS<aspn2_msgs::idl::MaintenanceEvent>;
template class HX_TypedTS<aspn2_msgs::idl::MeasurementIncorporationStatus>;
template class HX_TypedTS<aspn2_msgs::idl::PositionVelocityAttitude>;
template class HX_TypedTS<aspn2_msgs::idl::UTCTime>;

}  // namespace FACE::TSS::Details
