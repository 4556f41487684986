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

bool areOfBlock(const Epochs::Read& made, std::int32_t block)
{
    return made.pvaBlock == block % Epochs::kPvaBlocks && made.assuranceBlock == block % Epochs::kAssuranceBlocks;
}

}  // namespace

double SentTimes::of(std::int32_t epoch) const
{
    if (epoch < 0 || static_cast<std::size_t>(epoch) >= m_times.size()) return 0.0;
    return m_times[static_cast<std::size_t>(epoch)];
}

std::int32_t SentTimes::next(std::int32_t epoch) const
{
    for (auto i = static_cast<std::size_t>(std::max(epoch, 0)) + 1; i < m_times.size(); ++i)
        if (m_times[i] != 0.0) return static_cast<std::int32_t>(i);
    return 0;
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
            const double next = sent[input].of(sent[input].next(epochs[input]));
            if (next != 0.0) newer = std::max(newer, record.at - next);
        }
        last = epochs;
        findings.latency.push_back(std::max(record.at - latest, 0.0));
        findings.outdated.push_back(newer);
        // They are sent ahead of the time, and so may be of the epoch behind its own.
        const bool areOfIt = areOfBlock(made, made.utcTime / blockEpochs) ||
                             areOfBlock(made, sent[UtcTime].next(made.utcTime) / blockEpochs);
        if (isInMiddle(made.utcTime, blockEpochs) && !areOfIt) ++findings.ofAnotherBlock;
    }
    return findings;
}

}  // namespace Joins
