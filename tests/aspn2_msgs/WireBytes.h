#ifndef TESTS_ASPN2_MSGS_WIREBYTES_H
#define TESTS_ASPN2_MSGS_WIREBYTES_H

#include <fastcdr/Cdr.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

using eprosima::fastcdr::Cdr;
using eprosima::fastcdr::FastBuffer;

inline std::string hexOf(const char* bytes, std::size_t size)
{
    constexpr char kDigits[] = "0123456789abcdef";
    std::string hex(2 * size, '0');
    for (std::size_t i = 0; i < size; ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        hex[2 * i] = kDigits[byte >> 4];
        hex[2 * i + 1] = kDigits[byte & 15];
    }
    return hex;
}

/// Bytes from hexadecimal digits, in lower case.
inline std::vector<char> fromHex(std::string_view hex)
{
    const auto valueOf = [](char digit) { return digit <= '9' ? digit - '0' : digit - 'a' + 10; };
    std::vector<char> bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
        bytes.push_back(static_cast<char>(valueOf(hex[i]) * 16 + valueOf(hex[i + 1])));
    return bytes;
}

template <class Record>
std::size_t sizeOf(const Record& record)
{
    if constexpr (requires { Record::getCdrSerializedSize(record); })
        return Record::getCdrSerializedSize(record);
    else
        return record.getCdrSerializedSize();
}

/// The record on the wire, without encapsulation, in a zeroed buffer.
template <class Record>
std::string wireOf(const Record& record, Cdr::Endianness order = Cdr::LITTLE_ENDIANNESS)
{
    std::vector<char> bytes(sizeOf(record));
    FastBuffer buffer(bytes.data(), bytes.size());
    Cdr cdr(buffer, order, Cdr::DDS_CDR);
    record.serialize(cdr);
    return hexOf(bytes.data(), cdr.getSerializedDataLength());
}

template <class Record>
void readInto(Record& record, std::vector<char> bytes, Cdr::Endianness order = Cdr::LITTLE_ENDIANNESS)
{
    FastBuffer buffer(bytes.data(), bytes.size());
    Cdr cdr(buffer, order, Cdr::DDS_CDR);
    record.deserialize(cdr);
}

#endif
