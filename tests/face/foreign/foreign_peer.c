/* A DDS participant of another make, on UDP over the loopback:
 *
 *     foreign_peer DOMAIN
 *
 * Sends whatever arrives on "To<Type>" back on "From<Type>", for four types. Sent SIGUSR1, it disposes of what it has
 * sent on "FromUTCTime". Says "ready" when that is set up, and ends when it is sent SIGTERM. */

#include "command.h"
#include "navigation.h"
#include "tests/face/foreign/foreign_network.h"

#include <signal.h>
#include <stdio.h>
#include <stdlib.h>

#define COUNT_OF_TYPES 4

static volatile sig_atomic_t s_stop = 0;
static volatile sig_atomic_t s_dispose = 0;

static void onSignal(int signal)
{
    if (signal == SIGTERM)
        s_stop = 1;
    else
        s_dispose = 1;
}

struct Echo {
    const char* name;
    const dds_topic_descriptor_t* type;
    dds_entity_t reader;
    dds_entity_t writer;
};

static dds_entity_t topicOf(dds_entity_t participant, const char* prefix, const struct Echo* echo)
{
    char name[100];
    snprintf(name, sizeof name, "%s%s", prefix, echo->name);
    return check(dds_create_topic(participant, echo->type, name, NULL, NULL), name);
}

/* Sends back what is there to be read. */
static void turn(const struct Echo* echo)
{
    for (;;) {
        void* sample = NULL;
        dds_sample_info_t info;
        if (dds_take(echo->reader, &sample, &info, 1, 1) <= 0) return;
        if (info.valid_data) check(dds_write(echo->writer, sample), "write");
        dds_return_loan(echo->reader, &sample, 1);
    }
}

int main(int argc, char** argv)
{
    struct Echo echoes[COUNT_OF_TYPES] = {
        {"UTCTime", &aspn2_msgs_idl_UTCTime_desc, 0, 0},
        {"MeasurementIncorporationStatus", &aspn2_msgs_idl_MeasurementIncorporationStatus_desc, 0, 0},
        {"CommandResponse", &aspn2_msgs_idl_CommandResponse_desc, 0, 0},
        {"EventLog", &aspn2_msgs_idl_EventLog_desc, 0, 0},
    };
    if (argc != 2) return 2;
    signal(SIGTERM, onSignal);
    signal(SIGUSR1, onSignal);
    const dds_entity_t participant = foreignParticipant(argv[1]);

    dds_qos_t* qos = dds_create_qos();
    dds_qset_reliability(qos, DDS_RELIABILITY_RELIABLE, DDS_SECS(10));
    dds_qset_history(qos, DDS_HISTORY_KEEP_LAST, 10);
    for (struct Echo* echo = echoes; echo != echoes + COUNT_OF_TYPES; ++echo) {
        dds_qset_durability(qos, DDS_DURABILITY_VOLATILE);
        echo->reader = check(dds_create_reader(participant, topicOf(participant, "To", echo), qos, NULL), echo->name);
        dds_qset_durability(qos, DDS_DURABILITY_TRANSIENT_LOCAL);
        echo->writer = check(dds_create_writer(participant, topicOf(participant, "From", echo), qos, NULL), echo->name);
    }
    dds_delete_qos(qos);
    printf("ready\n");
    fflush(stdout);

    while (!s_stop) {
        for (const struct Echo* echo = echoes; echo != echoes + COUNT_OF_TYPES; ++echo) turn(echo);
        if (s_dispose) {
            const aspn2_msgs_idl_UTCTime any = {0};
            s_dispose = 0;
            check(dds_dispose(echoes[0].writer, &any), "dispose");
            printf("disposed\n");
            fflush(stdout);
        }
        dds_sleepfor(DDS_MSECS(2));
    }
    dds_delete(participant);
    return 0;
}
