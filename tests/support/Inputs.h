#ifndef TESTS_SUPPORT_INPUTS_H
#define TESTS_SUPPORT_INPUTS_H

#include "aspn2_msgs/AssuranceState.h"
#include "aspn2_msgs/GSSIP.h"
#include "aspn2_msgs/HalvexPNT.h"
#include "aspn2_msgs/MeasurementIncorporationStatus.h"
#include "aspn2_msgs/PositionVelocityAttitude.h"
#include "aspn2_msgs/UTCTime.h"
#include "ioss_mcsq/ZentorM_8504_Msg.h"
#include "tests/support/Desk.h"
#include "tests/support/Transport.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// A topic of the unit that a test publishes.
template <class T>
class Publisher {
public:
    Publisher(const Transport& transport, const std::string& name)
        : m_transport(transport), m_front(transport.typed<T>()), m_id(transport.connect(name))
    {
        auto code = FACE::RETURN_CODE_TYPE::NO_ACTION;
        m_front->Register_Sender(m_id, code);
        if (code != FACE::RETURN_CODE_TYPE::NO_ERROR) throw std::runtime_error("no publisher " + name);
    }

    bool waitForSubscriber(int count = 1) const { return m_transport.waitForSubscribers(m_id, count); }

    void send(const T& record) const
    {
        auto code = FACE::RETURN_CODE_TYPE::NO_ACTION;
        long long transaction = 0;
        m_front->Send_Message(m_id, -1, transaction, record, code);
        if (code != FACE::RETURN_CODE_TYPE::NO_ERROR) throw std::runtime_error("cannot publish");
    }

private:
    const Transport& m_transport;
    std::shared_ptr<FACE::TSS::Details::HX_TypedTS<T>> m_front;
    long long m_id;
};

/// A topic of the unit that a test subscribes to.
template <class T>
class Subscriber {
public:
    Subscriber(const Transport& transport, const std::string& name)
        : m_transport(transport), m_front(transport.typed<T>()), m_id(transport.connect(name))
    {
        auto code = FACE::RETURN_CODE_TYPE::NO_ACTION;
        m_front->Register_Callback(m_id, m_inbox.callback(), code);
        if (code != FACE::RETURN_CODE_TYPE::NO_ERROR) throw std::runtime_error("no subscriber " + name);
    }

    Inbox<T>& inbox() { return m_inbox; }
    const Inbox<T>& inbox() const { return m_inbox; }

    bool waitForPublisher(int count = 1) const { return m_transport.waitForPublishers(m_id, count); }

private:
    const Transport& m_transport;
    Inbox<T> m_inbox;
    std::shared_ptr<FACE::TSS::Details::HX_TypedTS<T>> m_front;
    long long m_id;
};

/// A device id of the unit's system.
constexpr std::int32_t deviceId(std::uint8_t server, std::uint8_t message = 0)
{
    return 1 << 24 | server << 16 | message << 8;
}

/// Sets a time of validity.
template <class Record>
void validAt(Record& record, std::int64_t seconds, std::int32_t nanoseconds = 0)
{
    record.header().timestamp_valid().sec(seconds);
    record.header().timestamp_valid().nsec(nanoseconds);
}

/// Puts a record with this frame into queue 5 or 6.
void sendFrame(const Desk& desk, unsigned queue, aspn2_msgs::idl::GSSIP record, const std::vector<std::uint8_t>& frame);

/// Puts such a record into queue 5, its frame an 8504 with this report.
void sendReport(const Desk& desk, const aspn2_msgs::idl::GSSIP& record, const unpacked_msg8504_t& report);

/// The six inputs of the blended navigation, valid at the same time, from servers that the sample configuration accepts.
/// Sends them from a participant of its own.
class Inputs {
public:
    explicit Inputs(const Desk& desk);

    /// @param subscribers  of each topic, the service's included
    bool waitForService(int subscribers = 1) const;
    void sendAll() const;
    void sendPva() const { m_pva.send(pva); }
    void sendUtcTime() const { m_utcTime.send(utcTime); }
    void sendPnt() const { m_pnt.send(pnt); }
    void sendMis() const { m_mis.send(mis); }
    void sendAssurance() const { m_assurance.send(assurance); }
    void sendReceiver() const;

    /// Adds measurements of a set to `mis`.
    void addMeasurements(std::int32_t set, std::int32_t available, std::int32_t used);

    aspn2_msgs::idl::PositionVelocityAttitude pva;
    aspn2_msgs::idl::UTCTime utcTime;
    aspn2_msgs::idl::HalvexPNT pnt;
    aspn2_msgs::idl::MeasurementIncorporationStatus mis;
    aspn2_msgs::idl::AssuranceState assurance;
    aspn2_msgs::idl::GSSIP receiver;  // but for its frame
    unpacked_msg8504_t report = {};

    const Transport& transport() const { return m_transport; }

private:
    const Desk& m_desk;
    Transport m_transport{"/opt/halvex/config/Connections.xml", "navigator"};
    Publisher<aspn2_msgs::idl::PositionVelocityAttitude> m_pva{m_transport, "PositionVelocityAttitude"};
    Publisher<aspn2_msgs::idl::UTCTime> m_utcTime{m_transport, "UTCTime"};
    Publisher<aspn2_msgs::idl::HalvexPNT> m_pnt{m_transport, "HalvexPNT"};
    Publisher<aspn2_msgs::idl::MeasurementIncorporationStatus> m_mis{m_transport, "MeasurementIncorporationStatus"};
    Publisher<aspn2_msgs::idl::AssuranceState> m_assurance{m_transport, "AssuranceState"};
};

#endif
