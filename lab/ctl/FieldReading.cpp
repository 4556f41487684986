#include "lab/ctl/FieldReading.h"

#include <charconv>

namespace orvanectl {

namespace {

/// 0 to 15; -1 for what is no hexadecimal digit.
int digitOf(char character)
{
    if (character >= '0' && character <= '9') return character - '0';
    if (character >= 'A' && character <= 'F') return character - 'A' + 10;
    if (character >= 'a' && character <= 'f') return character - 'a' + 10;
    return -1;
}

/// The byte of two digits from an index on; -1 if they are not there.
int byteAt(const std::string& text, std::size_t index)
{
    if (text.size() - index < 2) return -1;
    const int high = digitOf(text[index]), low = digitOf(text[index + 1]);
    return high < 0 || low < 0 ? -1 : 16 * high + low;
}

}  // namespace

void refuseField(const std::string& path, const std::string& what)
{
    throw FieldError(printable(path) + ": " + what);
}

std::string unprintable(const std::string& text, const std::string& path)
{
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            bytes += text[i];
            continue;
        }
        const bool isByte = i + 1 < text.size() && text[i + 1] == 'x';
        const int byte = isByte ? byteAt(text, i + 2) : -1;
        const bool isBackslash = i + 1 < text.size() && text[i + 1] == '\\';
        if (!isBackslash && byte < 0) refuseField(path, "a backslash is written as two, another byte as \\xNN");
        bytes += isBackslash ? '\\' : static_cast<char>(byte);
        i += isBackslash ? 1 : 3;
    }
    return bytes;
}

std::vector<std::uint8_t> bytesFromHex(const std::string& digits, const std::string& path)
{
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        const int byte = byteAt(digits, i);
        if (byte < 0) refuseField(path, "pairs of hexadecimal digits must stand here");
        bytes.push_back(static_cast<std::uint8_t>(byte));
    }
    return bytes;
}

std::uint32_t deviceIdOf(const Json& value)
{
    constexpr const char* kPath = "header.device_id";
    constexpr auto kMost = std::numeric_limits<std::uint32_t>::max();
    if (!value.is_string()) return static_cast<std::uint32_t>(integerOf(value, kPath, 0, kMost));
    const std::string& text = value.get_ref<const std::string&>();
    std::uint32_t id = 0;
    const bool isHexadecimal = text.starts_with("0x") && text.size() > 2;
    const char* const begin = text.data() + (isHexadecimal ? 2 : 0);
    const char* const end = text.data() + text.size();
    const auto read = std::from_chars(begin, end, id, isHexadecimal ? 16 : 10);
    if (read.ec != std::errc() || read.ptr != end) refuseField(kPath, "a number such as 0x01600000 must stand here");
    return id;
}

const std::string& textOf(const Json& value, const std::string& path)
{
    if (!value.is_string()) refuseField(path, "a text must stand here");
    return value.get_ref<const std::string&>();
}

double realOf(const Json& value, const std::string& path, const NotFinite& notFinite)
{
    const auto found = value.is_null() ? notFinite.find(path) : notFinite.end();
    if (found != notFinite.end()) return found->second;
    if (!value.is_number()) refuseField(path, "a number must stand here");
    return value.get<double>();
}

std::int64_t integerOf(const Json& value, const std::string& path, std::int64_t least, std::uint64_t most)
{
    const auto range = [&] { return std::to_string(least) + " to " + std::to_string(most); };
    if (!value.is_number_integer()) refuseField(path, "a whole number must stand here, " + range());
    const bool isPositive = value.is_number_unsigned();
    const bool fits = isPositive ? value.get<std::uint64_t>() <= most
                                 : value.get<std::int64_t>() >= least &&
                                       (value.get<std::int64_t>() < 0 || value.get<std::uint64_t>() <= most);
    if (!fits) refuseField(path, value.dump() + " is out of range, " + range());
    return isPositive ? static_cast<std::int64_t>(value.get<std::uint64_t>()) : value.get<std::int64_t>();
}

}  // namespace orvanectl
