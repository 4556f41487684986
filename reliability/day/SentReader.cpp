#include "reliability/day/SentReader.h"

#include <algorithm>
#include <array>
#include <sstream>

namespace {

constexpr std::size_t kMeasurementStatus = 3;  // of the inputs

}  // namespace

void SentReader::readOn(Ledgers& ledgers)
{
    if (!m_file.is_open()) m_file.open(m_path);
    std::string part;
    m_file.clear();
    while (std::getline(m_file, part)) {
        m_line += part;
        if (m_file.eof()) return;  // the rest of this line is still to come
        take(std::exchange(m_line, {}), ledgers);
    }
}

void SentReader::take(const std::string& line, Ledgers& ledgers)
{
    std::istringstream words(line);
    double sentAt = 0.0, validAt = 0.0;
    std::string what, text;
    std::size_t all = 0, reported = 0;
    words >> sentAt >> what;
    if (what == "epoch" && words >> validAt >> text && text.size() == JoinLedger::kInputs) {
        std::array<bool, JoinLedger::kInputs> inputs{};
        std::transform(text.begin(), text.end(), inputs.begin(), [](char c) { return c == '1'; });
        if (begin < 0.0) begin = validAt;
        last = validAt;
        ledgers.joins.addSent(validAt, sentAt, inputs);
        if (inputs[kMeasurementStatus]) ledgers.gps.addStatus(sentAt, m_isGpsLost);
    } else if (what == "threats" && words >> all >> reported) {
        threats += reported;
        ledgers.threats.addSent(sentAt, reported);
    } else if (what == "warning") {
        ++warnings;
        ledgers.warnings.addSent(sentAt);
    } else if (what == "gps" && words >> text) {
        m_isGpsLost = text == "lost";
    } else if ((what == "silent" || what == "speaking") && words >> text) {
        ledgers.partNumbers.addSilence(text, what == "silent");
    } else if (what == "heard" && words >> text && text == "REQUEST_PARTNUMBERS") {
        ledgers.partNumbers.addRequest(sentAt);
    }
}
