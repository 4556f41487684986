// What it takes to cut what a queue brings into records and to hand them out, for script/instructions.

#include "bench/Counted.h"
#include "ioss_mcsq/GssipMcsq.h"

#include <algorithm>
#include <cstdint>
#include <iostream>
#include <memory>
#include <utility>
#include <vector>

namespace {

using FACE::RETURN_CODE_TYPE;
using namespace FACE::IOSS;

/// A queue in memory: each read brings the same message.
class SameMessage : public MCSQ::IO_Service {
public:
    using Code = RETURN_CODE_TYPE::Value;

    explicit SameMessage(std::vector<std::uint8_t> message) : m_message(std::move(message)) {}

    void Read(long long, long long, MCSQ::READ_PAYLOAD_TYPE& payload, Code& code) override
    {
        std::ranges::copy(m_message, payload.buffer());
        payload.length(static_cast<std::uint32_t>(m_message.size()));
        code = RETURN_CODE_TYPE::NO_ERROR;
    }
    void Open_Connection(const FACE::String&, long long, long long& handle, Code& code) override
    {
        handle = 0;
        code = RETURN_CODE_TYPE::NO_ERROR;
    }
    void Initialize(const FACE::String&, Code& code) override { code = RETURN_CODE_TYPE::NO_ERROR; }
    void Close_Connection(long long, Code&) override {}
    void Write(long long, long long, const MCSQ::WRITE_PAYLOAD_TYPE&, Code&) override {}
    void Configure_Connection_Parameters(long long, long long, const IO_PARAMETER_TRANSACTION_TYPE&, Code&) override {}
    void Get_Connection_Configuration(long long, IO_PARAMETER_TRANSACTION_TYPE&, Code&) override {}
    void Configure_Bus_Parameters(long long, long long, const IO_PARAMETER_TRANSACTION_TYPE&, Code&) override {}
    void Get_Bus_Configuration(long long, IO_PARAMETER_TRANSACTION_TYPE&, Code&) override {}
    void Get_Connection_Status(long long, CONNECTION_STATUS_TYPE&, Code&) override {}
    void Get_Bus_Status(long long, BUS_STATUS_TYPE& status, Code&) override { status = 0; }
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
    std::vector<std::uint8_t> m_message;
};

constexpr int kRecords = 26;  // of 156 bytes: what one message of a queue holds

std::vector<std::uint8_t> message()
{
    aspn2_msgs::idl::GSSIP record;
    record.data().resize(100, 0x5A);
    record.num_bytes(100);
    std::vector<std::uint8_t> one, all;
    GssipTopicSerializer().Serialize(record, one);
    for (int i = 0; i < kRecords; ++i) all.insert(all.end(), one.begin(), one.end());
    return all;
}

}  // namespace

int main()
{
    constexpr int kMessages = 100;
    GssipMcsq queue("queue", std::make_unique<SameMessage>(message()));
    int records = 0;
    auto code = RETURN_CODE_TYPE::NO_ACTION;
    queue.Connect_ReadOnly(
        "", "", [&](const aspn2_msgs::idl::GSSIP&) { ++records; }, code);
    counted("queue.records.26", kMessages,
            [&] { queue.Process_Notification_Event(0, NOTIFICATION_EVENT_TYPE::DATA_AVAILABLE, code); });
    if (records == 2 * kMessages * kRecords) return 0;
    std::cerr << "the queue has handed out " << records << " records\n";
    return 1;
}
