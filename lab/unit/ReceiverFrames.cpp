#include "lab/unit/ReceiverFrames.h"

#include "ioss_mcsq/ZentorM_8504_Msg.h"
#include "ioss_mcsq/gps_msgs.h"

#include <algorithm>
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

}  // namespace

std::vector<std::uint8_t> frame8504(const Solution& solution, ReportFlags flags, std::uint16_t words)
{
    ZentorM_8504_Msg message;
    unpacked_msg8504_t& record = message.unpacked();
    record.field000 = static_cast<double>(solution.time.nanosecondsOfWeek()) / 1e9;
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
