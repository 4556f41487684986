#include "tests/support/Inputs.h"

#include "ioss_mcsq/GssipTopicSerializer.h"
#include "tests/support/FrameBytes.h"

#include <cstring>
#include <stdexcept>

namespace {

constexpr std::uint8_t kNavigator = 96;
constexpr std::uint8_t kReceiver = 39;
constexpr std::int64_t kTime = 1000;  // s

}  // namespace

void sendFrame(const Desk& desk, unsigned queue, aspn2_msgs::idl::GSSIP record, const std::vector<std::uint8_t>& frame)
{
    record.num_bytes(static_cast<std::int32_t>(frame.size()));
    record.data(frame);
    GssipTopicSerializer serializer;
    std::vector<std::uint8_t> bytes;
    if (!serializer.Serialize(record, bytes)) throw std::runtime_error("cannot serialize a frame");
    desk.send(queue, bytes);
}

void sendReport(const Desk& desk, const aspn2_msgs::idl::GSSIP& record, const unpacked_msg8504_t& report)
{
    ZentorM_8504_Msg message;
    message.unpacked() = report;
    message.pack_8504();
    FrameBytes frame;
    message.WriteMessage(&frame);

    sendFrame(desk, 5, record, frame.data);
}

Inputs::Inputs(const Desk& desk) : m_desk(desk)
{
    const auto stamp = [](auto& record, std::uint8_t server) {
        record.header().device_id(deviceId(server));
        validAt(record, kTime);
    };
    stamp(pva, kNavigator);
    stamp(utcTime, kNavigator);
    stamp(pnt, kNavigator);
    stamp(mis, kNavigator);
    stamp(assurance, kNavigator);
    stamp(receiver, kReceiver);
}

bool Inputs::waitForService(int subscribers) const
{
    return m_pva.waitForSubscriber(subscribers) && m_utcTime.waitForSubscriber(subscribers) &&
           m_pnt.waitForSubscriber(subscribers) && m_mis.waitForSubscriber(subscribers) &&
           m_assurance.waitForSubscriber(subscribers);
}

void Inputs::sendAll() const
{
    sendPva();
    sendUtcTime();
    sendPnt();
    sendMis();
    sendAssurance();
    sendReceiver();
}

void Inputs::sendReceiver() const
{
    sendReport(m_desk, receiver, report);
}

void Inputs::addMeasurements(std::int32_t set, std::int32_t available, std::int32_t used)
{
    aspn2_msgs::idl::meas_type_set entry;
    entry.meas_set_id(set);
    entry.meas_avail(available);
    entry.meas_used(used);
    mis.meas_types().push_back(entry);
    mis.num_measurement_types(static_cast<std::int32_t>(mis.meas_types().size()));
}
