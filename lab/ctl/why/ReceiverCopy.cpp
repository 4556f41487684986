#include "lab/ctl/why/ReceiverCopy.h"

#include <array>

namespace orvanectl {

namespace {

constexpr int kMostReads = 64;  // in one turn, of a writer that never pauses

}  // namespace

ReceiverCopy::ReceiverCopy(const std::string& path, JoinDiary& diary) : m_diary(diary), m_file(path) {}

void ReceiverCopy::take(JoinDiary::Time now)
{
    m_now = now;
    std::array<std::uint8_t, 65536> buffer;
    for (int i = 0; i < kMostReads; ++i) {
        const Bytes bytes = m_file.read(buffer);
        if (bytes.empty()) return;
        // Where the way is lost it is looked for in what comes next, as the service does.
        if (!m_cutter || m_cutter->stopped()) m_cutter.emplace(StreamFormat::Records, static_cast<StreamSink&>(*this));
        m_cutter->take(bytes);
    }
}

}  // namespace orvanectl
