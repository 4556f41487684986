#include "lab/ctl/why/BusEntries.h"

#include <string>
#include <string_view>

namespace orvanectl {

namespace {

using Json = BusLink::Json;

bool isText(const Json& line, const char* key, std::string_view text)
{
    const auto found = line.find(key);
    return found != line.end() && found->is_string() && found->get_ref<const std::string&>() == text;
}

const Json& objectIn(const Json& line, const char* key)
{
    static const Json kNone = Json::object();
    const auto found = line.find(key);
    return found != line.end() && found->is_object() ? *found : kNone;
}

}  // namespace

void enterBusLine(JoinDiary& diary, const Json& line, JoinDiary::Time now)
{
    if (!line.is_object()) return;
    if (isText(line, "type", "service")) diary.setServiceRuns(isText(line, "event", "started"), now);
    // What is told at the start has no time: nothing was joined for it. What was told before is none of now.
    const bool isPublished = isText(line, "type", "tell") && isText(line, "tell", "blended-navigation") &&
                             !line.contains("last") && !objectIn(line, "timeOfValidity").empty();
    if (!isPublished) return;
    const Json& record = objectIn(line, "record");
    const auto time = record.find("gpsSeconds");
    if (time != record.end() && time->is_number()) diary.tell(time->get<double>(), now);
}

}  // namespace orvanectl
