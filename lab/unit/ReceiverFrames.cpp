#include "lab/unit/ReceiverFrames.h"

#include "ioss_mcsq/ThreatData.h"
#include "ioss_mcsq/ZentorM_8504_Msg.h"
#include "ioss_mcsq/gps_msgs.h"
#include "utilities/cvt.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <utility>

namespace unitsim {

namespace {

class ByteSink : public IWriteByteStreams {
public:
    void write(const std::uint8_t* bytes, std::size_t length) override { m_bytes.assign(bytes, bytes + length); }
    std::vector<std::uint8_t> take() { return std::move(m_bytes); }

private:
    std::vector<std::uint8_t> m_bytes;
};

std::vector<std::uint8_t> withWords(const std::vector<std::uint8_t>& frame, std::uint16_t words)
{
    std::vector<std::uint16_t> changed(static_cast<std::size_t>(gssipFrameWords(words)));
    std::memcpy(changed.data(), frame.data(), std::min(changed.size() * 2, frame.size() - 2));
    changed[GssipWord::Wdcnt] = words;
    changed[GssipWord::HeaderChecksum] = CalculateChecksum(changed.data(), 0, GssipWord::Flags);
    if (words != 0) {
        const unsigned last = static_cast<unsigned>(changed.size()) - 1;
        changed[last] = CalculateChecksum(changed.data(), kGssipHeaderWords, last - 1);
    }
    std::vector<std::uint8_t> bytes(changed.size() * 2);
    std::memcpy(bytes.data(), changed.data(), bytes.size());
    return bytes;
}

double secondsOfWeek(GpsMoment time)
{
    return static_cast<double>(time.nanosecondsOfWeek()) / 1e9;
}

/// Puts values into the data of a frame, low byte first as this machine has them, each behind the one before.
class DataWriter {
public:
    explicit DataWriter(std::span<std::uint8_t> data) : m_rest(data) {}

    template <class Value>
    void put(Value value)
    {
        std::memcpy(m_rest.first(sizeof value).data(), &value, sizeof value);
        skip(sizeof value);
    }
    void skip(std::size_t bytes) { m_rest = m_rest.subspan(bytes); }

private:
    std::span<std::uint8_t> m_rest;
};

template <std::uint16_t Words>
std::vector<std::uint8_t> finished(GssipFrame<Words>& frame, std::uint16_t message, std::uint16_t flags)
{
    MakeHdrSpecifyFlagWd(frame.words.data(), message, flags, Words);
    OkChecksumGPSmessage(frame.words.data());
    std::vector<std::uint8_t> bytes(sizeof frame.words);
    std::memcpy(bytes.data(), frame.words.data(), bytes.size());
    return bytes;
}

/// Bits 0 and 1: the state; 3: the power is valid; 5: the bandwidth is.
std::uint8_t statusAOf(const Threat& threat)
{
    return static_cast<std::uint8_t>((threat.state & 3U) | (threat.power ? 1U << 3 : 0U) |
                                     (threat.bandwidthKhz ? 1U << 5 : 0U));
}

/// Bit 0: there is a bearing; 1: the confidence is valid; 2 to 5: the confidence.
std::uint8_t statusBOf(const Threat& threat)
{
    const unsigned confidence = threat.confidenceTimes25.value_or(0);
    return static_cast<std::uint8_t>((threat.hasBearing ? 1U : 0U) | (threat.confidenceTimes25 ? 1U << 1 : 0U) |
                                     (confidence & 15U) << 2);
}

}  // namespace

std::vector<std::uint8_t> frame5044(GpsMoment time, const Warning& warning)
{
    GssipFrame<21> frame{};
    DataWriter data(frame.data());
    for (const std::uint16_t word : cnvpcd(secondsOfWeek(time))) data.put(word);
    data.put(warning.number);
    for (std::size_t i = 0; i < Warning::kLongestText; ++i) {
        const std::size_t place = i ^ 1;  // a word has its first character in the high byte
        data.put(place < warning.text.size() ? warning.text[place] : '\0');
    }
    return finished(frame, 5044, kGssipFlagsReport);
}

std::vector<std::uint8_t> frame15051(GpsMoment time, const Solution& solution, const ThreatReport& report)
{
    GssipFrame<100> frame{};
    DataWriter data(frame.data());
    data.put(secondsOfWeek(time));
    for (std::size_t axis = 0; axis < 3; ++axis) data.put(double{solution.state.position[axis]});
    const auto& error = solution.positionError;
    data.put(static_cast<std::uint16_t>(std::clamp(std::hypot(error[0], error[1], error[2]), 0.0, 65535.0)));
    data.skip(4);
    for (std::size_t i = 0; i < std::min(report.threats.size(), ThreatReport::kMost); ++i) {
        const Threat& threat = report.threats[i];
        data.put(statusAOf(threat));
        data.put(statusBOf(threat));
        data.put(threat.power.value_or(0));
        data.put(threat.center);
        data.put(threat.bandwidthKhz.value_or(0));
        data.skip(6);
        data.put(threat.azimuthDegrees);
        data.put(threat.elevationDegrees);
    }
    return finished(frame, 15051, kGssipFlagsDefault);
}

std::vector<std::uint8_t> frame8504(const Solution& solution, ReportFlags flags, std::uint16_t words)
{
    ZentorM_8504_Msg message;
    unpacked_msg8504_t& record = message.unpacked();
    record.field000 = secondsOfWeek(solution.time);
    record.angle084 = static_cast<float>(solution.state.attitude[2]);
    record.status096 = withBits(record.status096, msg8504::kStatus096ReceiverFailure, flags.receiverFailure ? 1 : 0);
    record.status101 = withBits(record.status101, msg8504::kStatus101Bit2, flags.secondStatus ? 1 : 0);
    message.pack_8504();
    ByteSink sink;
    message.WriteMessage(&sink);
    const std::vector<std::uint8_t> frame = sink.take();
    return words == 200 ? frame : withWords(frame, words);
}

aspn2_msgs::idl::GSSIP gssipRecord(std::vector<std::uint8_t> frame)
{
    aspn2_msgs::idl::GSSIP record;
    record.num_bytes(static_cast<std::int32_t>(frame.size()));
    record.data(std::move(frame));
    return record;
}

}  // namespace unitsim
