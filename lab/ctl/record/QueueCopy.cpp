#include "lab/ctl/record/QueueCopy.h"

namespace orvanectl {

namespace {

constexpr std::size_t kRecordFront = 56;  // what stands before a record's frame

}  // namespace

void QueueCutter::take(Bytes bytes)
{
    if (!m_cutter) {
        m_cutter = std::make_unique<StreamCutter>(StreamFormat::Records, static_cast<StreamSink&>(*this));
        m_offset = 0;
    }
    m_held.insert(m_held.end(), bytes.begin(), bytes.end());
    m_cutter->take(bytes);
    if (m_cutter->stopped()) end();
}

void QueueCutter::end()
{
    handOver(m_held.size());
    m_cutter.reset();
}

/// As rest.
void QueueCutter::handOver(std::size_t size)
{
    if (size > 0) m_onRest(Bytes(m_held).first(size));
    m_held.erase(m_held.begin(), m_held.begin() + static_cast<std::ptrdiff_t>(size));
    m_offset += size;
}

void QueueCutter::record(std::uint64_t offset, const aspn2_msgs::idl::GSSIP& record)
{
    handOverUpTo(offset);
    const std::size_t size = kRecordFront + record.data().size();
    m_onRecord(Bytes(m_held).first(size), record.header().seq_num());
    m_held.erase(m_held.begin(), m_held.begin() + static_cast<std::ptrdiff_t>(size));
    m_offset += size;
}

}  // namespace orvanectl
