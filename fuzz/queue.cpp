// Reads from a queue, through the cutter of records to the call-back, beside a plain cutter over the code that is made
// from the IDL: the same records must come, and one line for each read that can't be followed to its end.
// Input: reads, each as its length in two bytes and its bytes.

#include "fuzz/Fuzz.h"
#include "ioss_mcsq/GssipMcsq.h"

#include "commandPubSubTypes.h"

#include <fastcdr/exceptions/BadParamException.h>

#include <memory>
#include <optional>
#include <vector>

namespace {

using FACE::RETURN_CODE_TYPE;
using namespace FACE::IOSS;
using Bytes = std::span<const std::uint8_t>;
using Code = RETURN_CODE_TYPE::Value;

constexpr long long kHandle = 7;

/// A queue whose next message is `message`.
class Queue : public MCSQ::IO_Service {
public:
    explicit Queue(const Bytes& message) : m_message(message) {}

    void Read(long long, long long, MCSQ::READ_PAYLOAD_TYPE& payload, Code& code) override
    {
        payload.length(static_cast<std::uint32_t>(m_message.size()));
        std::copy(m_message.begin(), m_message.end(), payload.buffer());
        code = m_message.empty() ? RETURN_CODE_TYPE::NO_ACTION : RETURN_CODE_TYPE::NO_ERROR;
    }
    void Open_Connection(const FACE::String&, long long, long long& handle, Code& code) override
    {
        handle = kHandle;
        code = RETURN_CODE_TYPE::NO_ERROR;
    }
    void Initialize(const FACE::String&, Code& code) override { code = RETURN_CODE_TYPE::NO_ERROR; }
    void Close_Connection(long long, Code& code) override { code = RETURN_CODE_TYPE::NO_ERROR; }
    void Write(long long, long long, const MCSQ::WRITE_PAYLOAD_TYPE&, Code&) override {}
    void Configure_Connection_Parameters(long long, long long, const IO_PARAMETER_TRANSACTION_TYPE&, Code&) override {}
    void Get_Connection_Configuration(long long, IO_PARAMETER_TRANSACTION_TYPE&, Code&) override {}
    void Configure_Bus_Parameters(long long, long long, const IO_PARAMETER_TRANSACTION_TYPE&, Code&) override {}
    void Get_Bus_Configuration(long long, IO_PARAMETER_TRANSACTION_TYPE&, Code&) override {}
    void Get_Connection_Status(long long, CONNECTION_STATUS_TYPE&, Code&) override {}
    void Get_Bus_Status(long long, BUS_STATUS_TYPE&, Code&) override {}
    void Register_Notification_Event(long long, IO_CallbackBase&, Code& code) override
    {
        code = RETURN_CODE_TYPE::NO_ERROR;
    }
    void Unregister_Notification_Event(long long, Code&) override {}
    void Set_Reference(const FACE::String&, const std::shared_ptr<FACE::Configuration>&, long long, Code& code) override
    {
        code = RETURN_CODE_TYPE::NO_ERROR;
    }

private:
    const Bytes& m_message;
};

/// What of a record tells it from others.
struct Seen {
    std::int64_t sequence;
    std::int32_t length;
    std::vector<std::uint8_t> data;

    bool operator==(const Seen&) const = default;
};

std::optional<generated::idl::GSSIP> recordAt(Bytes bytes)
{
    using eprosima::fastrtps::rtps::SerializedPayload_t;
    if (bytes.size() < 4) return std::nullopt;
    SerializedPayload_t payload(static_cast<std::uint32_t>(bytes.size()));
    payload.length = payload.max_size;
    std::copy(bytes.begin(), bytes.end(), payload.data);
    static generated::idl::GSSIPPubSubType& support = *new generated::idl::GSSIPPubSubType;
    generated::idl::GSSIP record;
    try {
        if (support.deserialize(&payload, &record)) return record;
    } catch (const eprosima::fastcdr::exception::BadParamException&) {
        // no encapsulation
    }
    return std::nullopt;
}

/// @return false if the way is lost before the end
bool cut(Bytes bytes, std::vector<Seen>& seen)
{
    while (!bytes.empty()) {
        const auto record = recordAt(bytes);
        if (!record) return false;
        seen.push_back({record->header().seq_num(), record->num_bytes(), record->data()});
        const std::int64_t size = 56 + std::int64_t{record->num_bytes()};
        if (size <= 0 || size > static_cast<std::int64_t>(bytes.size())) return false;
        bytes = bytes.subspan(static_cast<std::size_t>(size));
    }
    return true;
}

/// A cutter over one queue. One for all inputs, as it keeps nothing from one read to the next.
struct Tap {
    Bytes message;
    std::vector<Seen> seen;
    GssipMcsq queue{"Tap", std::make_unique<Queue>(message)};

    Tap()
    {
        Code code = RETURN_CODE_TYPE::NOT_AVAILABLE;
        queue.Connect_ReadOnly(
            "file", "ZEN_HX",
            [this](const GssipMcsq::GSSIP& record) {
                // The defect: a record whose length says 255 is not handed out.
                if (fuzz::kPlanted && record.num_bytes() == 255) return;
                seen.push_back({record.header().seq_num(), record.num_bytes(), record.data()});
            },
            code);
        FUZZ_EXPECT(code == RETURN_CODE_TYPE::NO_ERROR);
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    auto& console = fuzz::QuietConsole::instance();
    static Tap& tap = *new Tap;
    fuzz::Input input(data, size);
    while (!input.isEmpty()) {
        tap.message = input.take(input.number<std::uint16_t>());
        tap.seen.clear();
        const std::size_t linesBefore = console.lines();
        Code code = RETURN_CODE_TYPE::NO_ERROR;
        tap.queue.Process_Notification_Event(kHandle, NOTIFICATION_EVENT_TYPE::DATA_AVAILABLE, code);
        std::vector<Seen> expected;
        const bool isWhole = cut(tap.message, expected);
        FUZZ_EXPECT(tap.seen == expected);
        FUZZ_EXPECT(console.lines() - linesBefore == (isWhole ? 0u : 1u));
    }
    return 0;
}
