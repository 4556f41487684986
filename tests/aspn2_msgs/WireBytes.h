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
    std::string hex;
    for (std::size_t i = 0; i < size; ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        hex += {kDigits[byte >> 4], kDigits[byte & 15]};
    }
    return hex;
}

/// Bytes from hexadecimal digits; blanks between them are left out.
inline std::vector<char> bytesOf(std::string_view hex)
{
    std::string digits;
    for (const char digit : hex)
        if (digit != ' ') digits += digit;
    std::vector<char> bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
        bytes.push_back(static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16)));
    return bytes;
}

/// The record on the wire, without encapsulation, in a zeroed buffer.
template <class Record>
std::string wireOf(const Record& record, Cdr::Endianness order = Cdr::LITTLE_ENDIANNESS)
{
    std::vector<char> bytes(20000);
    FastBuffer buffer(bytes.data(), bytes.size());
    Cdr cdr(buffer, order, Cdr::DDS_CDR);
    record.serialize(cdr);
    return hexOf(bytes.data(), cdr.getSerializedDataLength());
}

template <class Record>
Record recordOf(std::vector<char> bytes, Cdr::Endianness order = Cdr::LITTLE_ENDIANNESS)
{
    FastBuffer buffer(bytes.data(), bytes.size());
    Cdr cdr(buffer, order, Cdr::DDS_CDR);
    Record record;
    record.deserialize(cdr);
    return record;
}

#endif
