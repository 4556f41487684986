#ifndef TESTS_FACE_FOREIGN_FOREIGN_NETWORK_H
#define TESTS_FACE_FOREIGN_FOREIGN_NETWORK_H

#include <dds/dds.h>

#include <stdio.h>
#include <stdlib.h>

/* Ends the process if an entity could not be had. */
static inline dds_entity_t check(dds_entity_t entity, const char* what)
{
    if (entity < 0) {
        fprintf(stderr, "foreign peer: %s: %s\n", what, dds_strretcode(entity));
        exit(1);
    }
    return entity;
}

/* A participant on UDP over the loopback, by unicast. */
static inline dds_entity_t foreignParticipant(const char* domain)
{
    setenv("CYCLONEDDS_URI",
           "<Domain><General><Interfaces><NetworkInterface address='127.0.0.1'/></Interfaces></General>"
           "<Discovery><ParticipantIndex>auto</ParticipantIndex>"
           "<MaxAutoParticipantIndex>100</MaxAutoParticipantIndex>"
           "<Peers><Peer Address='127.0.0.1'/></Peers></Discovery></Domain>",
           1);
    return check(dds_create_participant((dds_domainid_t)strtoul(domain, NULL, 10), NULL, NULL), "participant");
}

#endif
