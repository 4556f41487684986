#include "lab/ctl/why/BusText.h"

#include <cmath>
#include <string_view>

namespace orvanectl::bus {

namespace {

constexpr std::size_t kLongestText = 300;
constexpr int kDeepest = 16;

const Json* member(const Json& object, const char* key)
{
    if (!object.is_object()) return nullptr;
    const auto found = object.find(key);
    return found == object.end() ? nullptr : &*found;
}

}  // namespace

std::string text(const Json& object, const char* key)
{
    const Json* const value = member(object, key);
    if (!value || !value->is_string()) return "";
    return printable(value->get_ref<const std::string&>().substr(0, kLongestText));
}

std::optional<double> number(const Json& object, const char* key)
{
    const Json* const value = member(object, key);
    if (!value || !value->is_number()) return std::nullopt;
    const auto number = value->get<double>();
    return std::isfinite(number) ? std::optional(number) : std::nullopt;
}

std::optional<double> number(const Json& object, const char* key, const char* validKey)
{
    const Json* const flag = member(object, validKey);
    const bool isValid = flag && ((flag->is_boolean() && flag->get<bool>()) || (flag->is_number() && *flag != 0));
    return isValid ? number(object, key) : std::nullopt;
}

std::optional<std::uint64_t> count(const Json& object, const char* key)
{
    constexpr double kMost = 9'007'199'254'740'992;  // 2^53
    const auto value = number(object, key);
    if (!value || *value < 0 || *value > kMost || *value != std::floor(*value)) return std::nullopt;
    return static_cast<std::uint64_t>(*value);
}

const Json& list(const Json& object, const char* key)
{
    static const Json kNone = Json::array();
    const Json* const value = member(object, key);
    return value && value->is_array() ? *value : kNone;
}

const Json& record(const Json& line)
{
    static const Json kNone;
    const Json* const value = member(line, "record");
    return value ? *value : kNone;
}

bool isToldNow(const Json& line, const char* tell)
{
    if (text(line, "type") != "tell" || text(line, "tell") != tell || line.contains("last")) return false;
    const Json* const time = member(line, "timeOfValidity");
    return std::string_view(tell) != "blended-navigation" || (time && time->is_object());
}

Json parsed(std::string_view line)
{
    const auto isWanted = [](int depth, Json::parse_event_t, Json&) { return depth <= kDeepest; };
    Json value = Json::parse(line, isWanted, false);
    return value.is_object() ? value : Json();
}

}  // namespace orvanectl::bus
