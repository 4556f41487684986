#ifndef TESTS_SUPPORT_VALUEAT_H
#define TESTS_SUPPORT_VALUEAT_H

#include <cstddef>
#include <cstdint>
#include <cstring>

/// The value at an offset of a record, as the bus library sees it.
template <class T, class Record>
T valueAt(const Record& record, std::size_t offset)
{
    T value = {};
    std::memcpy(&value, reinterpret_cast<const std::uint8_t*>(&record) + offset, sizeof value);
    return value;
}

#endif
