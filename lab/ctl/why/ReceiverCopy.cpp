#include "lab/ctl/why/ReceiverCopy.h"

#include <array>
#include <chrono>
#include <stdexcept>

namespace orvanectl {

namespace {

constexpr int kMostReads = 64;  // in one turn, of a writer that never pauses
constexpr std::chrono::seconds kBetweenLooks{1};

}  // namespace

ReceiverCopy::ReceiverCopy(const std::string& path, JoinDiary& diary, const std::string& own)
    : m_diary(diary), m_path(path.empty() ? own : path)
{
    if (!path.empty()) m_file.emplace(path);
}

void ReceiverCopy::take(JoinDiary::Time now)
{
    m_now = now;
    read();
    if (now >= m_nextFollow) follow(now);
}

/// Goes over to the file that stands at the path now.
void ReceiverCopy::follow(JoinDiary::Time now)
{
    const bool isFirst = m_nextFollow == JoinDiary::Time::min();
    m_nextFollow = now + kBetweenLooks;
    if (m_file && !m_file->isReplaced()) return;
    read();  // what came to the old one before the other stood there
    try {
        m_file.emplace(m_path);
    } catch (const std::runtime_error&) {
        m_file.reset();
    }
    m_cutter.reset();
    if (m_file && isFirst) m_file->skip();
    m_diary.setReceiverHeard(m_file.has_value(), now);
    read();
}

void ReceiverCopy::read()
{
    std::array<std::uint8_t, 65536> buffer;
    for (int i = 0; m_file && i < kMostReads; ++i) {
        if (m_file->isCutShort()) {
            m_cutter.reset();
            m_file->rewind();
        }
        const Bytes bytes = m_file->read(buffer);
        if (bytes.empty()) return;
        // Where the way is lost it is looked for in what comes next, as the service does.
        if (!m_cutter || m_cutter->stopped()) m_cutter.emplace(StreamFormat::Records, static_cast<StreamSink&>(*this));
        m_cutter->take(bytes);
    }
}

}  // namespace orvanectl
