/* The unit's navigator as a DDS participant of another make, on UDP over the loopback:
 *
 *     foreign_navigator DOMAIN
 *
 * Publishes the five navigation topics ten times a second, always the same records but for their sequence numbers, and
 * ends when it is sent SIGTERM. tests/system/ForeignInputTest.cpp knows what is in them. */

#include "command.h"
#include "navigation.h"
#include "tests/face/foreign/foreign_network.h"

#include <signal.h>

#define DEVICE_ID (1 << 24 | 96 << 16)
#define VALID_SECONDS 5000
#define VALID_NANOSECONDS 500000000

static volatile sig_atomic_t s_stop = 0;

static void onSignal(int signal)
{
    (void)signal;
    s_stop = 1;
}

static dds_entity_t writerOf(dds_entity_t participant, const dds_topic_descriptor_t* type, const char* name)
{
    dds_qos_t* qos = dds_create_qos();
    dds_qset_reliability(qos, DDS_RELIABILITY_RELIABLE, DDS_SECS(10));
    dds_qset_history(qos, DDS_HISTORY_KEEP_LAST, 10);
    dds_qset_durability(qos, DDS_DURABILITY_TRANSIENT_LOCAL);
    const dds_entity_t topic = check(dds_create_topic(participant, type, name, NULL, NULL), name);
    const dds_entity_t writer = check(dds_create_writer(participant, topic, qos, NULL), name);
    dds_delete_qos(qos);
    return writer;
}

static aspn2_msgs_idl_header headerOf(long long sequence)
{
    aspn2_msgs_idl_header header = {0};
    header.seq_num = sequence;
    header.device_id = DEVICE_ID;
    header.timestamp_valid.sec = VALID_SECONDS;
    header.timestamp_valid.nsec = VALID_NANOSECONDS;
    header.timestamp_arrival = header.timestamp_valid;
    return header;
}

int main(int argc, char** argv)
{
    if (argc != 2) return 2;
    signal(SIGTERM, onSignal);
    const dds_entity_t participant = foreignParticipant(argv[1]);
    const dds_entity_t pvas =
        writerOf(participant, &aspn2_msgs_idl_PositionVelocityAttitude_desc, "PositionVelocityAttitude");
    const dds_entity_t times = writerOf(participant, &aspn2_msgs_idl_UTCTime_desc, "UTCTime");
    const dds_entity_t pnts = writerOf(participant, &aspn2_msgs_idl_HalvexPNT_desc, "HalvexPNT");
    const dds_entity_t statuses =
        writerOf(participant, &aspn2_msgs_idl_MeasurementIncorporationStatus_desc, "MeasurementIncorporationStatus");
    const dds_entity_t assurances = writerOf(participant, &aspn2_msgs_idl_AssuranceState_desc, "AssuranceState");

    for (long long sequence = 0; !s_stop; ++sequence) {
        aspn2_msgs_idl_PositionVelocityAttitude pva = {0};
        pva.header = headerOf(sequence);
        pva.position.latitude = 0.75;
        pva.position.longitude = -1.25;
        pva.position.altitude_value = 120.0;
        pva.covariance[0][0] = 25.0;
        pva.covariance[1][1] = 16.0;
        pva.covariance[2][2] = 8.0;
        check(dds_write(pvas, &pva), "PositionVelocityAttitude");

        aspn2_msgs_idl_UTCTime time = {0};
        time.header = headerOf(sequence);
        time.gps_week = 2235;
        time.gps_tow_sec = 345600;
        time.gps_tow_nsec = 500000000.0;
        time.utc_tod_sec = 86382;
        time.utc_tod_nsec = 500000000.0;
        time.covariance[0][0] = 9e-14;
        check(dds_write(times, &time), "UTCTime");

        aspn2_msgs_idl_HalvexPNT pnt = {0};
        pnt.header = headerOf(sequence);
        pnt.Horz_PosError = 4.0;
        pnt.Vert_PosError = 6.25;
        pnt.Horz_Vel_Error = 0.5;
        pnt.Vert_VelError = 0.0625;
        pnt.Roll_Error = 0.002;
        pnt.Pitch_Error = 0.003;
        pnt.Heading_Error = 0.006;
        pnt.HX_PNT_Solution_Assurance = 2;
        check(dds_write(pnts, &pnt), "HalvexPNT");

        aspn2_msgs_idl_meas_type_set sets[] = {{1, 9, 8}, {5, 1, 1}, {11, 1, 1}};
        aspn2_msgs_idl_MeasurementIncorporationStatus status = {0};
        status.header = headerOf(sequence);
        status.num_measurement_types = 3;
        status.meas_types._maximum = status.meas_types._length = 3;
        status.meas_types._buffer = sets;
        check(dds_write(statuses, &status), "MeasurementIncorporationStatus");

        aspn2_msgs_idl_AssuranceState assurance = {0};
        assurance.header = headerOf(sequence);
        assurance.assurance_state = 2;
        check(dds_write(assurances, &assurance), "AssuranceState");

        dds_sleepfor(DDS_MSECS(100));
    }
    dds_delete(participant);
    return 0;
}
