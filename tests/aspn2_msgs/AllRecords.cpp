#include "tests/aspn2_msgs/AllRecords.h"

#include <utility>

namespace {

template <class Record>
void addCase(std::vector<RecordCase>& cases, const char* name,
             std::unique_ptr<eprosima::fastdds::dds::TopicDataType> support)
{
    constexpr bool endsInText = requires(Record record)
    {
        record.command_response();
    }
    || requires(Record record)
    {
        record.eventlog();
    };
    cases.push_back({name, std::make_unique<RecordOf<Record>>(), std::make_unique<RecordOf<Record>>(numbered<Record>()),
                     std::move(support), aspn2_msgs::idl::layout::kFixed<Record>, endsInText});
}

}  // namespace

std::vector<RecordCase> supportedRecords()
{
    std::vector<RecordCase> cases;
#define ADD_SUPPORTED(Name)                                                                                            \
    addCase<aspn2_msgs::idl::Name>(cases, #Name, std::make_unique<aspn2_msgs::idl::Name##PubSubType>());
    FOR_EACH_SUPPORTED_RECORD(ADD_SUPPORTED)
#undef ADD_SUPPORTED
    return cases;
}

std::vector<RecordCase> allRecords()
{
    auto cases = supportedRecords();
#define ADD_COMMON(Name) addCase<aspn2_msgs::idl::Name>(cases, #Name, nullptr);
    FOR_EACH_COMMON_RECORD(ADD_COMMON)
#undef ADD_COMMON
    return cases;
}
