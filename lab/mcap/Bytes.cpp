#include "lab/mcap/Bytes.h"

#include <limits>

namespace mcap {

namespace {

std::uint32_t length32(std::size_t size)
{
    if (size > std::numeric_limits<std::uint32_t>::max()) throw Malformed("is too long to be written");
    return static_cast<std::uint32_t>(size);
}

}  // namespace

Bytes bytesOf(std::string_view text)
{
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

void ByteWriter::number(std::uint64_t value, std::size_t size)
{
    for (std::size_t i = 0; i < size; ++i) m_bytes.push_back(static_cast<char>(value >> (8 * i) & 0xFF));
}

void ByteWriter::text(std::string_view value)
{
    u32(length32(value.size()));
    m_bytes += value;
}

void ByteWriter::table(const Table& table)
{
    const std::size_t place = beginLength32();
    for (const auto& [key, value] : table) {
        text(key);
        text(value);
    }
    endLength32(place);
}

void ByteWriter::raw(Bytes bytes)
{
    m_bytes.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

std::size_t ByteWriter::beginLength32()
{
    const std::size_t place = m_bytes.size();
    u32(0);
    return place;
}

void ByteWriter::endLength32(std::size_t place)
{
    const std::uint32_t length = length32(m_bytes.size() - place - 4);
    for (std::size_t i = 0; i < 4; ++i) m_bytes[place + i] = static_cast<char>(length >> (8 * i) & 0xFF);
}

std::uint64_t ByteReader::number(std::size_t size)
{
    const Bytes bytes = take(size);
    std::uint64_t value = 0;
    for (std::size_t i = size; i > 0; --i) value = value << 8 | bytes[i - 1];
    return value;
}

Bytes ByteReader::take(std::uint64_t size)
{
    if (size > m_rest.size()) throw Malformed("ends too early");
    const Bytes taken = m_rest.first(static_cast<std::size_t>(size));
    m_rest = m_rest.subspan(taken.size());
    return taken;
}

std::string ByteReader::text()
{
    const Bytes bytes = take(u32());
    return {bytes.begin(), bytes.end()};
}

Table ByteReader::table()
{
    ByteReader entries(take(u32()));
    Table table;
    while (!entries.isAtEnd()) {
        std::string key = entries.text();
        table[std::move(key)] = entries.text();
    }
    return table;
}

}  // namespace mcap
