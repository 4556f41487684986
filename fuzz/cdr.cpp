// Payloads of every type support, in either byte order, beside the code that is made from the IDL: both must take and
// refuse the same, and read and write the same.
// Input: the number of the type, then a payload.

#include "fuzz/Fuzz.h"
#include "tests/aspn2_msgs/AllRecords.h"
#include "tests/aspn2_msgs/WireBytes.h"

#include "commandPubSubTypes.h"
#include "commonPubSubTypes.h"
#include "gnssPubSubTypes.h"
#include "navigationPubSubTypes.h"

#include <fastcdr/exceptions/BadParamException.h>

namespace {

using eprosima::fastdds::dds::TopicDataType;
using eprosima::fastrtps::rtps::SerializedPayload_t;
using Bytes = std::span<const std::uint8_t>;

struct Codec {
    std::unique_ptr<AnyRecord> empty;
    std::unique_ptr<TopicDataType> support;
};

struct Type {
    Codec ours, theirs;
};

std::vector<Type> supportedTypes()
{
    std::vector<Type> types;
#define ADD_TYPE(Name)                                                                                                 \
    types.push_back(                                                                                                   \
        {{std::make_unique<RecordOf<aspn2_msgs::idl::Name>>(), std::make_unique<aspn2_msgs::idl::Name##PubSubType>()}, \
         {std::make_unique<RecordOf<generated::idl::Name>>(), std::make_unique<generated::idl::Name##PubSubType>()}});
    FOR_EACH_SUPPORTED_RECORD(ADD_TYPE)
    return types;
}

struct Outcome {
    bool isTaken = false;
    std::string record;   // on the wire, in little-endian order
    std::string payload;  // as the type support writes it

    bool operator==(const Outcome&) const = default;
};

Outcome outcomeOf(const Codec& codec, Bytes bytes)
{
    SerializedPayload_t payload(static_cast<std::uint32_t>(bytes.size()));
    payload.length = payload.max_size;
    std::copy(bytes.begin(), bytes.end(), payload.data);
    Outcome outcome;
    const auto record = codec.empty->fresh();
    try {
        outcome.isTaken = codec.support->deserialize(&payload, record->data());
    } catch (const eprosima::fastcdr::exception::BadParamException&) {
        // The generated code lets it out.
    }
    if (!outcome.isTaken) return outcome;
    outcome.record = wireOf(*record);
    SerializedPayload_t written(static_cast<std::uint32_t>(record->getCdrSerializedSize()) + 4);
    FUZZ_EXPECT(codec.support->serialize(record->data(), &written));
    outcome.payload = hexOf(reinterpret_cast<const char*>(written.data), written.length);
    return outcome;
}

/// The defect: of the byte that tells the order, only the lowest bit is looked at.
Outcome ourOutcome(const Codec& codec, Bytes bytes)
{
    std::vector<std::uint8_t> given(bytes.begin(), bytes.end());
    if (fuzz::kPlanted) given[1] &= 1;
    return outcomeOf(codec, given);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const std::vector<Type> types = supportedTypes();
    fuzz::Input input(data, size);
    const Type& type = types[input.below(types.size())];
    const Bytes payload = input.rest();
    if (payload.size() < 4) return 0;  // the generated code raises, or asks for memory, without an encapsulation
    FUZZ_EXPECT(ourOutcome(type.ours, payload) == outcomeOf(type.theirs, payload));
    return 0;
}
