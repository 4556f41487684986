#ifndef LAB_MCAP_BYTES_H
#define LAB_MCAP_BYTES_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

/// Numbers and texts as recordings have them: little-endian, each text and table behind its length in bytes.
namespace mcap {

using Bytes = std::span<const std::uint8_t>;
using Table = std::map<std::string, std::string>;

/// Bytes that are not what they should be.
struct Malformed : std::runtime_error {
    using std::runtime_error::runtime_error;
};

Bytes bytesOf(std::string_view text);

/// Appends. One thread at a time.
class ByteWriter {
public:
    void u8(std::uint8_t value) { number(value, 1); }
    void u16(std::uint16_t value) { number(value, 2); }
    void u32(std::uint32_t value) { number(value, 4); }
    void u64(std::uint64_t value) { number(value, 8); }
    /// Throws `Malformed` for more than 4 GiB, as the next two do.
    void text(std::string_view value);
    void table(const Table& table);
    void raw(Bytes bytes);

    /// Room for a length in bytes of what follows, which `endLength` fills in; answers its place.
    std::size_t beginLength32();
    void endLength32(std::size_t place);

    std::size_t size() const { return m_bytes.size(); }
    Bytes bytes() const { return bytesOf(m_bytes); }
    void clear() { m_bytes.clear(); }

private:
    void number(std::uint64_t value, std::size_t size);

    std::string m_bytes;
};

/// Takes one value after the other; each throws `Malformed` where the bytes end before it does. One thread at a time.
class ByteReader {
public:
    explicit ByteReader(Bytes bytes) : m_rest(bytes) {}

    std::uint8_t u8() { return static_cast<std::uint8_t>(number(1)); }
    std::uint16_t u16() { return static_cast<std::uint16_t>(number(2)); }
    std::uint32_t u32() { return static_cast<std::uint32_t>(number(4)); }
    std::uint64_t u64() { return number(8); }
    std::string text();
    Table table();
    Bytes take(std::uint64_t size);

    /// What is not taken yet.
    Bytes rest() const { return m_rest; }
    bool isAtEnd() const { return m_rest.empty(); }

private:
    std::uint64_t number(std::size_t size);

    Bytes m_rest;
};

}  // namespace mcap

#endif
