#ifndef LAB_CTL_FIELDREADING_H
#define LAB_CTL_FIELDREADING_H

#include "lab/ctl/FieldTexts.h"
#include "lab/ctl/RecordTypes.h"
#include "lab/text/NearestWord.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

/// Fields of records from JSON, the way back from what `RecordType::fieldsOf` shows. Pure functions, any thread. All throw
/// `FieldError`, which names the field by its path.
namespace orvanectl {

/// More elements of a sequence than any record has use for.
inline constexpr std::size_t kMostElements = 65536;

[[noreturn]] void refuseField(const std::string& path, const std::string& what);

/// The bytes of a `printable` text.
std::string unprintable(const std::string& text, const std::string& path);

/// Bytes from pairs of hexadecimal digits.
std::vector<std::uint8_t> bytesFromHex(const std::string& digits, const std::string& path);

/// A device id from a number or from a text such as "0x01340100".
std::uint32_t deviceIdOf(const Json& value);

const std::string& textOf(const Json& value, const std::string& path);
double realOf(const Json& value, const std::string& path, const NotFinite& notFinite);
std::int64_t integerOf(const Json& value, const std::string& path, std::int64_t least, std::uint64_t most);

template <class Record>
void readFields(Record& record, const Json& fields, const std::string& path, const NotFinite& notFinite);

template <class T>
void readValue(T& field, const Json& value, const std::string& path, const NotFinite& notFinite)
{
    if constexpr (std::is_enum_v<T>) {
        using Number = std::underlying_type_t<T>;
        field = static_cast<T>(
            integerOf(value, path, std::numeric_limits<Number>::min(), std::numeric_limits<Number>::max()));
    } else if constexpr (std::is_same_v<T, bool>) {
        if (!value.is_boolean()) refuseField(path, "true or false must stand here");
        field = value.template get<bool>();
    } else if constexpr (std::is_floating_point_v<T>) {
        const double number = realOf(value, path, notFinite);
        if (std::isfinite(number) && !std::isfinite(static_cast<T>(number)))
            refuseField(path, value.dump() + " is too large");
        field = static_cast<T>(number);
    } else if constexpr (std::is_arithmetic_v<T>) {
        field = static_cast<T>(integerOf(value, path, std::numeric_limits<T>::min(),
                                         static_cast<std::uint64_t>(std::numeric_limits<T>::max())));
    } else if constexpr (layout::kIsText<T>) {
        field = unprintable(textOf(value, path), path);
    } else if constexpr (kIsCharacters<T>) {
        const std::string text = unprintable(textOf(value, path), path);
        if (text.size() > field.size())
            refuseField(path,
                        "has " + std::to_string(text.size()) + " characters; it takes " + std::to_string(field.size()));
        field.fill('\0');
        text.copy(field.data(), text.size());
    } else if constexpr (std::is_same_v<T, std::vector<std::uint8_t>>) {
        field = bytesFromHex(textOf(value, path), path);
    } else if constexpr (layout::kIsArray<T> || layout::kIsSequence<T>) {
        if (!value.is_array()) refuseField(path, "an array must stand here");
        if constexpr (layout::kIsSequence<T>) {
            if (value.size() > kMostElements) refuseField(path, "has more than 65536 elements");
            field.resize(value.size());
        } else if (value.size() != field.size()) {
            refuseField(path, "has " + std::to_string(value.size()) + " elements; it must have " +
                                  std::to_string(field.size()));
        }
        for (std::size_t i = 0; i < field.size(); ++i)
            readValue(field[i], value[i], path + '.' + std::to_string(i), notFinite);
    } else {
        readFields(field, value, path, notFinite);
    }
}

template <class Record>
void readFields(Record& record, const Json& fields, const std::string& path, const NotFinite& notFinite)
{
    if (!fields.is_object()) refuseField(path, "an object must stand here");
    std::vector<std::string> names;
    for (const FieldText& text : FieldTexts<Record>::all)
        if (std::string_view(text.name) != "header") names.emplace_back(text.name);
    for (const auto& [name, value] : fields.items())
        if (std::ranges::find(names, name) == names.end()) {
            const std::string nearest = labtext::nearestWord(name, names);
            // NOLINTNEXTLINE(performance-inefficient-string-concatenation): it ends the loop
            refuseField(path + '.' + name, nearest.empty() ? "there is no such field"
                                                           : "there is no such field; did you mean " + nearest + '?');
        }
    const FieldText* text = FieldTexts<Record>::all;
    auto read = [&]<class T>(T& field) {
        if constexpr (!std::is_same_v<T, header>)
            if (const auto value = fields.find(text->name); value != fields.end())
                readValue(field, *value, path + '.' + text->name, notFinite);
        ++text;
    };
    layout::Access::eachField(record, read);
}

}  // namespace orvanectl

#endif
