#include "reliability/load/Joins.h"

#include <algorithm>
#include <cmath>

namespace {

/// Two clocks' readings of one moment may be so far apart: the bus tells whole milliseconds.
constexpr double kRounding = 1.0;  // ms

/// Inputs of a block's first and last parts may meet those of its neighbour.
constexpr int kEdge = 5;

/// Whether an epoch stands so far within its block that all inputs that are as recent are of that block too.
bool isInMiddle(std::int32_t epoch, std::int32_t blockEpochs)
{
    const std::int32_t place = epoch % blockEpochs, edge = blockEpochs / kEdge;
    return place >= edge && place < blockEpochs - edge;
}

}  // namespace

double SentTimes::of(std::int32_t epoch) const
{
    if (epoch < 0 || static_cast<std::size_t>(epoch) >= m_times.size()) return 0.0;
    return m_times[static_cast<std::size_t>(epoch)];
}

double SentTimes::behind(std::int32_t epoch) const
{
    if (epoch < -1 || static_cast<std::size_t>(epoch + 1) >= m_times.size()) return 0.0;
    const auto begin = m_times.begin() + epoch + 1;
    const auto next = std::find_if(begin, m_times.end(), [](double ms) { return ms != 0.0; });
    return next == m_times.end() ? 0.0 : *next;
}

namespace Joins {

Findings judge(std::span<const Told> told, const Sent& sent, std::int32_t blockEpochs)
{
    Findings findings;
    std::array<std::int32_t, kInputs> last{};
    for (const Told& record : told) {
        const auto& made = record.made;
        const std::array<std::int32_t, kInputs> epochs = {made.utcTime, made.pnt, made.mis, made.receiver};
        double latest = 0.0, newer = 0.0;
        for (std::size_t input = 0; input < kInputs; ++input) {
            const double at = sent[input].of(epochs[input]);
            if (at == 0.0 || at > record.at + kRounding) ++findings.neverSent;
            if (epochs[input] <= last[input]) ++findings.usedTwice;
            latest = std::max(latest, at);
            const double next = sent[input].behind(epochs[input]);
            if (next != 0.0) newer = std::max(newer, record.at - next);
        }
        last = epochs;
        findings.latency.push_back(record.at - latest);
        findings.outdated.push_back(newer);
        const std::int32_t block = made.utcTime / blockEpochs;
        const bool areOfIt =
            made.pvaBlock == block % Epochs::kPvaBlocks && made.assuranceBlock == block % Epochs::kAssuranceBlocks;
        if (isInMiddle(made.utcTime, blockEpochs) && !areOfIt) ++findings.ofAnotherBlock;
    }
    return findings;
}

}  // namespace Joins
