#ifndef RELIABILITY_DAY_SENTREADER_H
#define RELIABILITY_DAY_SENTREADER_H

#include "reliability/day/AnswerLedger.h"
#include "reliability/day/GpsLedger.h"
#include "reliability/day/JoinLedger.h"
#include "reliability/day/PartNumberLedger.h"
#include "reliability/day/TellLedger.h"

#include <cstddef>
#include <fstream>
#include <string>
#include <utility>

/// What is entered in from both ends: what unit-sim has sent and clients have asked for, and what was published.
struct Ledgers {
    JoinLedger joins;
    GpsLedger gps;
    PartNumberLedger partNumbers;
    TellLedger threats;
    TellLedger warnings;  // of the unit
    TellLedger clearings;
    TellLedger tests;
    AnswerLedger answers;
};

/// What unit-sim has sent, read from its log as far as it has got. One thread at a time.
class SentReader {
public:
    explicit SentReader(std::string path) : m_path(std::move(path)) {}

    double begin = -1.0;  // time of validity of the first epoch
    double last = -1.0;   // of the last one so far
    std::size_t threats = 0;
    std::size_t warnings = 0;

    void readOn(Ledgers& ledgers);

private:
    void take(const std::string& line, Ledgers& ledgers);

    std::string m_path;
    std::ifstream m_file;
    std::string m_line;
    bool m_isGpsLost = false;
};

#endif
