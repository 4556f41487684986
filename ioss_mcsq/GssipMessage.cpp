#include "ioss_mcsq/GssipMessage.h"

#include "ioss_mcsq/gps_msgs.h"

#include <algorithm>
#include <cstring>

namespace {

using namespace GssipWord;

/// Words of a frame that are not data, its data checksum among them.
constexpr std::uint64_t kWordsBesideData = kGssipHeaderWords + 1;

}  // namespace

void GssipMessage::attachFrame(std::span<std::uint16_t> storage, std::uint32_t wdcnt, std::uint16_t msgId,
                               std::uint16_t flagWord)
{
    if (storage.size() < kGssipHeaderWords) return;
    m_frame = storage.data();
    m_data = storage.data() + kGssipHeaderWords;
    m_capacity = static_cast<std::uint32_t>(storage.size());
    m_wordCount = wdcnt;
    m_msgId = msgId;
    std::ranges::fill(storage, std::uint16_t{0});
    m_frame[Delimiter] = kGssipDelimiter;
    m_frame[MsgId] = msgId;
    m_frame[Wdcnt] = static_cast<std::uint16_t>(wdcnt);
    m_frame[Flags] = flagWord;
}

bool GssipMessage::OkSetContent(const std::uint8_t* bytes, std::uint16_t length)
{
    return setContent(bytes, length);
}

bool GssipMessage::setContent(const std::uint8_t* bytes, std::size_t length)
{
    if (m_frame == nullptr || bytes == nullptr) return false;
    if (length / 2 != kWordsBesideData + m_wordCount) return false;
    if (length / 2 > m_capacity) return false;
    std::memcpy(m_frame, bytes, std::min(length, sizeof(std::uint16_t) * std::size_t{m_capacity}));
    return true;
}

void GssipMessage::debugPrintMessage() {}

bool GssipMessage::hasData() const
{
    return m_data != nullptr && m_wordCount != 0 && gssipFrameWords(m_wordCount) <= m_capacity;
}

std::uint16_t GssipMessage::checksumOfContents() const
{
    return hasData() ? CalculateChecksum(m_data, 0, m_wordCount - 1) : std::uint16_t{0};
}

std::uint16_t GssipMessage::checksumOfHeader() const
{
    return m_frame != nullptr ? CalculateChecksum(m_frame, Delimiter, HeaderChecksum) : std::uint16_t{0};
}

std::uint16_t GssipMessage::calculateHeaderChecksum() const
{
    return m_frame != nullptr ? CalculateChecksum(m_frame, Delimiter, Flags) : std::uint16_t{0};
}

void GssipMessage::setHeaderChecksum()
{
    if (m_frame != nullptr) m_frame[HeaderChecksum] = calculateHeaderChecksum();
}

void GssipMessage::insert_checksum()
{
    if (m_frame == nullptr || m_frame[Wdcnt] != m_wordCount) return;
    if (gssipFrameWords(m_wordCount) > m_capacity) return;
    m_frame[HeaderChecksum] = calculateHeaderChecksum();
    m_headerChecksumInserted = true;
    if (m_wordCount == 0) return;
    m_data[m_frame[Wdcnt]] = checksumOfContents();
    m_dataChecksumInserted = true;
}

void GssipMessage::WriteMessage(IWriteByteStreams* sink)
{
    if (sink == nullptr || m_frame == nullptr) return;
    insert_checksum();
    if (!m_headerChecksumInserted || (m_wordCount != 0 && !m_dataChecksumInserted)) return;
    const std::uint64_t words = gssipFrameWords(m_wordCount);
    if (words > m_capacity) return;
    debugPrintMessage();
    sink->write(reinterpret_cast<const std::uint8_t*>(m_frame),
                sizeof(std::uint16_t) * static_cast<std::size_t>(words));
}

void GssipMessage::clearContents()
{
    if (hasData()) std::memset(m_data, 0, sizeof(std::uint16_t) * std::size_t{m_wordCount});
}

void GssipMessage::set_gpsip_wdcnt(std::uint32_t count)
{
    if (m_frame != nullptr) m_frame[Wdcnt] = static_cast<std::uint16_t>(count);
    m_wordCount = count;
}
