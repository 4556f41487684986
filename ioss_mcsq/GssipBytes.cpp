#include "ioss_mcsq/GssipBytes.h"

#include <utility>

namespace gssip {

namespace {

constexpr std::size_t kBytesToId = 2 * std::size_t{GssipWord::MsgId} + 2;

}  // namespace

std::optional<std::uint16_t> messageIdOf(Bytes frame)
{
    if (frame.size() < kBytesToId) return std::nullopt;
    return wordAt(frame, GssipWord::MsgId);
}

std::uint16_t residualOf(Bytes bytes)
{
    unsigned sum = 0;
    for (std::size_t i = 0; i < bytes.size() / 2; ++i) sum += wordAt(bytes, i);
    return static_cast<std::uint16_t>(0u - sum);
}

bool beginsWithHeader(Bytes bytes)
{
    return bytes.size() >= kGssipHeaderBytes && wordAt(bytes, GssipWord::Delimiter) == kGssipDelimiter &&
           residualOf(bytes.first(kGssipHeaderBytes)) == 0;
}

std::size_t frameBytesOf(Bytes bytes)
{
    return 2 * static_cast<std::size_t>(gssipFrameWords(wordAt(bytes, GssipWord::Wdcnt)));
}

Bytes frameIn(Bytes data, std::int64_t length)
{
    if (std::cmp_less(length, kBytesToId) || std::cmp_greater(length, data.size())) return {};
    return data.first(static_cast<std::size_t>(length));
}

}  // namespace gssip
