#ifndef RELIABILITY_DAY_SENTREADER_H
#define RELIABILITY_DAY_SENTREADER_H

#include "reliability/day/JoinLedger.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>

/// What unit-sim has sent, read from its log as far as it has got.
class SentReader {
public:
    explicit SentReader(std::string path) : m_path(std::move(path)) {}

    double begin = -1.0;  // time of validity of the first epoch
    std::size_t threats = 0;
    std::size_t warnings = 0;

    void readOn(JoinLedger& ledger)
    {
        if (!m_file.is_open()) m_file.open(m_path);
        std::string part;
        m_file.clear();
        while (std::getline(m_file, part)) {
            m_line += part;
            if (m_file.eof()) return;  // the rest of this line is still to come
            take(std::exchange(m_line, {}), ledger);
        }
    }

private:
    void take(const std::string& line, JoinLedger& ledger)
    {
        std::istringstream words(line);
        double sentAt = 0.0, validAt = 0.0;
        std::string what, sent;
        std::size_t all = 0, reported = 0;
        words >> sentAt >> what;
        if (what == "epoch" && words >> validAt >> sent && sent.size() == JoinLedger::kInputs) {
            std::array<bool, JoinLedger::kInputs> inputs{};
            std::transform(sent.begin(), sent.end(), inputs.begin(), [](char c) { return c == '1'; });
            if (begin < 0.0) begin = validAt;
            ledger.addSent(validAt, sentAt, inputs);
        } else if (what == "threats" && words >> all >> reported) {
            threats += reported;
        } else if (what == "warning") {
            ++warnings;
        }
    }

    std::string m_path;
    std::ifstream m_file;
    std::string m_line;
};

#endif
