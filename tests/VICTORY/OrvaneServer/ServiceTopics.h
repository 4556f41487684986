#ifndef TESTS_VICTORY_ORVANESERVER_SERVICETOPICS_H
#define TESTS_VICTORY_ORVANESERVER_SERVICETOPICS_H

#include "tests/support/Topics.h"
#include "tests/support/Transport.h"

#include <set>
#include <string>

/// The connections of the service but for some, and with another type for one.
inline TransportConfig serviceTopicsWithout(const std::set<std::string>& missing, const std::string& mistyped = "")
{
    TransportConfig config;
    for (const auto& [name, type] : kTopics) {
        const std::string other = type == "UTCTime" ? "BitReport" : "UTCTime";
        if (!missing.contains(name)) config.connect(name, name == mistyped ? other : type);
    }
    return config;
}

#endif
