#ifndef BENCH_VICTORY_ORVANESERVER_BENCHEDSERVER_H
#define BENCH_VICTORY_ORVANESERVER_BENCHEDSERVER_H

#include "aspn2_msgs/BitReport.h"
#include "aspn2_msgs/CommandResponse.h"
#include "ioss_mcsq/ZentorM_5044_Msg.h"
#include "ioss_mcsq/ZentorM_8504_Msg.h"
#include "tests/VICTORY/OrvaneServer/ServerDoor.h"

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

// A server whose handlers and joins are measured, and what it is given.

/// A running server whose bus service is started.
struct BenchedServer : ServerDoor {
    BenchedServer()
    {
        settings().m_gssipSourceServers = {39};
        bus().start(nullptr);
        builtInTests().Start();
        run();
    }
    ~BenchedServer() { bus().stop(); }
};

/// A record of the receiver with this frame.
inline aspn2_msgs::idl::GSSIP recordOf(std::vector<std::uint8_t> frame)
{
    aspn2_msgs::idl::GSSIP record;
    record.header().device_id(39 << 16);
    record.num_bytes(static_cast<std::int32_t>(frame.size()));
    record.data(std::move(frame));
    return record;
}

template <class Message>
aspn2_msgs::idl::GSSIP recordOf(Message& message)
{
    struct Bytes : IWriteByteStreams {
        void write(const std::uint8_t* bytes, std::size_t length) override { data.assign(bytes, bytes + length); }
        std::vector<std::uint8_t> data;
    } bytes;
    message.WriteMessage(&bytes);
    return recordOf(std::move(bytes.data));
}

/// A report of nine bearings, which is the dearest one.
inline aspn2_msgs::idl::GSSIP threatReport()
{
    constexpr std::size_t kFirstLine = 48, kLine = 18, kLines = 9;
    std::vector<std::uint8_t> frame = {0xFF, 0x81, 0xCB, 0x3A, 0x64, 0x00, 0x00, 0x80};
    frame.resize(212);
    for (std::size_t i = 0; i < kLines; ++i) {
        frame[kFirstLine + kLine * i] = 2;      // a line of bearing
        frame[kFirstLine + kLine * i + 1] = 1;  // with its angles
    }
    return recordOf(std::move(frame));
}

/// The six inputs of one moment.
struct Inputs {
    Inputs()
    {
        for (int id = 0; id < 12; ++id) {
            aspn2_msgs::idl::meas_type_set entry;
            entry.meas_set_id(id);
            entry.meas_avail(4);
            entry.meas_used(4);
            mis.meas_types().push_back(entry);
        }
        utcTime.gps_week(2400);
        utcTime.gps_tow_sec(100'018);
        utcTime.utc_tod_sec(13'600);

        ZentorM_8504_Msg message;
        message.pack_8504();
        receiver = recordOf(message);
    }

    void giveTo(BenchedServer& server) const
    {
        server.deliver(pva);
        server.deliver(utcTime);
        server.deliver(pnt);
        server.deliver(mis);
        server.deliver(assurance);
        server.fromReceiver(receiver);
    }

    aspn2_msgs::idl::PositionVelocityAttitude pva;
    aspn2_msgs::idl::UTCTime utcTime;
    aspn2_msgs::idl::HalvexPNT pnt;
    aspn2_msgs::idl::MeasurementIncorporationStatus mis;
    aspn2_msgs::idl::AssuranceState assurance;
    aspn2_msgs::idl::GSSIP receiver;
};

/// What else comes by the topics and the taps.
struct Others {
    Others()
    {
        report.header().device_id(32 << 16 | 1);  // a commanded test's, while none runs
        for (int i = 0; i < 10; ++i) report.bit_components().emplace_back();

        command.header().device_id(53 << 16);
        command.command_response("REQUEST_SOMETHING");

        response.header().device_id(53 << 16);
        response.commanded_device_id(52 << 16);
        response.command_response_type(aspn2_msgs::idl::command_response_type_enum{1});
        response.command_response("REQUEST_SOMETHING_PASS");
    }

    aspn2_msgs::idl::BitReport report;
    aspn2_msgs::idl::CommandResponse command;
    aspn2_msgs::idl::CommandResponse response;
    aspn2_msgs::idl::GSSIP threats = threatReport();
    ZentorM_5044_Msg warningMessage;
    aspn2_msgs::idl::GSSIP warning = recordOf(warningMessage);
};

#endif
