#include "lab/ctl/StreamCutter.h"

#include "ioss_mcsq/gps_msgs.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

namespace orvanectl {

namespace {

// Encapsulation, header, num_bytes and the count of data.
constexpr std::size_t kRecordOverhead = 56;
constexpr std::size_t kNumBytesOffset = 48;
constexpr std::size_t kCountOffset = 52;

template <class... Numbers>
std::string textOf(const char* format, Numbers... numbers)
{
    std::array<char, 160> text;
    std::snprintf(text.data(), text.size(), format, numbers...);
    return text.data();
}

/// @param bytes  not empty
std::string firstBytes(Bytes bytes)
{
    if (bytes.size() == 1) return textOf("byte %02X", unsigned{bytes[0]});
    return textOf("bytes %02X %02X", unsigned{bytes[0]}, unsigned{bytes[1]});
}

/// Two bytes that say in what order a record is written.
bool beginsWithEncapsulation(Bytes bytes)
{
    return bytes[0] == 0 && (bytes.size() < 2 || bytes[1] <= 1);
}

bool beginsWithDelimiter(Bytes bytes)
{
    return bytes[0] == (kGssipDelimiter & 0xFF) && (bytes.size() < 2 || bytes[1] == kGssipDelimiter >> 8);
}

/// In the order that the encapsulation of the record tells.
std::uint32_t number32(Bytes record, std::size_t offset)
{
    const bool bigEndian = record[1] == 0;
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < 4; ++i) number = number << 8 | record[offset + (bigEndian ? i : 3 - i)];
    return number;
}

/// Where the first header begins.
std::optional<std::size_t> findHeader(Bytes bytes)
{
    for (auto from = bytes.begin(); bytes.end() - from >= static_cast<std::ptrdiff_t>(kGssipHeaderBytes); ++from) {
        from = std::find(from, bytes.end(), std::uint8_t{0xFF});
        if (from == bytes.end()) break;
        const auto place = static_cast<std::size_t>(from - bytes.begin());
        if (gssip::beginsWithHeader(bytes.subspan(place))) return place;
    }
    return std::nullopt;
}

/// Up to those of the words that end behind the last byte. The latest two are held, not looked up: it is done for each byte.
void extendSums(std::vector<std::uint16_t>& sums, Bytes bytes)
{
    std::size_t end = std::max<std::size_t>(sums.size(), 2);  // no word ends before
    sums.resize(bytes.size() + 1);
    if (end >= sums.size()) return;
    std::uint16_t beforeLast = sums[end - 2], last = sums[end - 1];
    for (; end < sums.size(); ++end) {
        const unsigned sum = unsigned{beforeLast} + gssip::wordAt(bytes.subspan(end - 2, 2), 0);
        beforeLast = last;
        last = sums[end] = static_cast<std::uint16_t>(sum);
    }
}

bool readRecord(aspn2_msgs::idl::GSSIPPubSubType& type, Bytes bytes, aspn2_msgs::idl::GSSIP& record)
{
    aspn2_msgs::idl::GSSIPPubSubType::SerializedPayload_t payload(static_cast<std::uint32_t>(bytes.size()));
    std::memcpy(payload.data, bytes.data(), bytes.size());
    payload.length = static_cast<std::uint32_t>(bytes.size());
    return type.deserialize(&payload, &record);
}

}  // namespace

void StreamCutter::take(Bytes bytes)
{
    if (m_stopped || m_ended) return;
    if (2 * m_position >= m_bytes.size()) {  // seldom enough that each byte is moved once or so
        m_bytes.erase(m_bytes.begin(), m_bytes.begin() + static_cast<std::ptrdiff_t>(m_position));
        m_sums.erase(m_sums.begin(), m_sums.begin() + static_cast<std::ptrdiff_t>(m_position));
        m_position = 0;
    }
    m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
    extendSums(m_sums, m_bytes);
    cut();
}

void StreamCutter::end()
{
    m_ended = true;
    cut();
}

void StreamCutter::cut()
{
    while (!m_stopped && !rest().empty() && step()) {
    }
}

/// False if that is all that can be done with the bytes that are there. Every true has moved the position on, decided
/// the format, or begun a search.
bool StreamCutter::step()
{
    switch (m_format) {
    case StreamFormat::Auto:
        return decideFormat();
    case StreamFormat::Records:
        return stepRecords();
    case StreamFormat::Frames:
        return m_lostAt ? search() : stepFrames();
    }
    return false;
}

bool StreamCutter::decideFormat()
{
    if (rest().size() < 2 && !m_ended) return false;
    if (beginsWithEncapsulation(rest())) {
        m_format = StreamFormat::Records;
    } else if (beginsWithDelimiter(rest())) {
        m_format = StreamFormat::Frames;
    } else {
        return giveUp("neither a record (00 00 or 00 01) nor a frame (FF 81) begins here: " + firstBytes(rest()));
    }
    return true;
}

bool StreamCutter::stepRecords()
{
    const Bytes bytes = rest();
    if (bytes.size() < 2 && !m_ended) return false;
    if (!beginsWithEncapsulation(bytes)) return giveUp("no record begins here: " + firstBytes(bytes));
    if (bytes.size() < kRecordOverhead)
        return waitOr(textOf("record cut short: %zu bytes of at least %zu", bytes.size(), kRecordOverhead));

    const auto numBytes = static_cast<std::int32_t>(number32(bytes, kNumBytesOffset));
    if (numBytes < 0) return giveUp(textOf("num_bytes of the record is negative: %d", numBytes));
    const auto dataBytes = static_cast<std::size_t>(numBytes);
    if (dataBytes > gssip::kLargestFrameBytes)
        return giveUp(
            textOf("num_bytes of the record is %zu, the largest frame has %zu", dataBytes, gssip::kLargestFrameBytes));
    const std::size_t size = kRecordOverhead + dataBytes;
    if (bytes.size() < size) return waitOr(textOf("record cut short: %zu of %zu bytes", bytes.size(), size));

    const std::uint32_t count = number32(bytes, kCountOffset);
    if (count != dataBytes) {
        m_sink.problem(m_offset, textOf("num_bytes of the record is %zu, its data count %lu", dataBytes,
                                        static_cast<unsigned long>(count)));
    } else if (readRecord(m_type, bytes.first(size), m_record)) {
        m_sink.record(m_offset, m_record);
    } else {
        m_sink.problem(m_offset, "record that cannot be read");
    }
    skip(size);
    return true;
}

bool StreamCutter::stepFrames()
{
    const Bytes bytes = rest();
    if (bytes.size() < 2 && !m_ended) return false;
    if (!beginsWithDelimiter(bytes)) return lose("no frame begins here: " + firstBytes(bytes));
    if (bytes.size() < kGssipHeaderBytes)
        return waitOr(textOf("header cut short: %zu of %zu bytes", bytes.size(), kGssipHeaderBytes));
    if (const unsigned residual = gssip::residualOf(bytes.first(kGssipHeaderBytes)); residual != 0) {
        const unsigned stored = gssip::wordAt(bytes, GssipWord::HeaderChecksum);
        return lose(textOf("bad header checksum: 0x%04X instead of 0x%04X", stored, (stored + residual) & 0xFFFFu));
    }
    const std::size_t size = gssip::frameBytesOf(bytes);
    if (bytes.size() < size) {
        if (!m_ended) return false;
        return lose(textOf("frame cut short: %zu of %zu bytes", bytes.size(), size));
    }

    if (m_sums[m_position + size] != m_sums[m_position + kGssipHeaderBytes]) {
        // Another header may begin within and end behind.
        const std::size_t reach = size + kGssipHeaderBytes - 1;
        if (bytes.size() < reach && !m_ended) return false;
        if (const auto within = findHeader(bytes.first(std::min(bytes.size(), reach)).subspan(1)))
            return lose(textOf("frame of %zu bytes broken off after %zu, where another one begins", size, *within + 1));
    }
    m_sink.frame(m_offset, bytes.first(size));
    skip(size);
    return true;
}

bool StreamCutter::search()
{
    if (const auto place = findHeader(rest())) {
        skip(*place);
        m_sink.resumed(m_offset, m_offset - *m_lostAt);
        m_lostAt.reset();
        return true;
    }
    // What is left may be the front of a header.
    skip(rest().size() - (m_ended ? 0 : std::min(rest().size(), kGssipHeaderBytes - 1)));
    return false;
}

void StreamCutter::skip(std::size_t bytes)
{
    m_position += bytes;
    m_offset += bytes;
}

/// More bytes are needed; if none can follow, that is the problem.
bool StreamCutter::waitOr(const std::string& problem)
{
    if (!m_ended) return false;
    return giveUp(problem);
}

bool StreamCutter::giveUp(const std::string& problem)
{
    m_sink.problem(m_offset, problem);
    m_stopped = true;
    return false;
}

bool StreamCutter::lose(const std::string& problem)
{
    m_sink.problem(m_offset, problem);
    m_lostAt = m_offset;
    skip(1);
    return true;
}

}  // namespace orvanectl
