#include "VICTORY/OrvaneServer/TopicWiring.h"

#include "VICTORY/OrvaneServer/Reports.h"
#include "aspn2_msgs/CommandResponse.h"
#include "face/HX_Config.h"
#include "utilities/ConsoleLine.h"

#include <algorithm>
#include <iostream>
#include <sstream>

using FACE::RETURN_CODE_TYPE;

namespace {

constexpr long long kNoTimeout = -1;

/// A result that says so unless an operation sets it.
constexpr auto kUntried = RETURN_CODE_TYPE::NO_ACTION;

struct ConnectionRow {
    const char* name;
    bool isTold;  // when it can't be made
};

/// In the order of `TopicWiring::Topic`.
constexpr std::array<ConnectionRow, 10> kConnections = {{{"BitReport", true},
                                                         {"Command", true},
                                                         {"Response", true},
                                                         {"PositionVelocityAttitude", true},
                                                         {"UTCTime", true},
                                                         {"HalvexPNT", true},
                                                         {"MeasurementIncorporationStatus", true},
                                                         {"AssuranceState", true},
                                                         {"EventLog", true},
                                                         {"MaintenanceEvent", false}}};

static_assert(kConnections.size() == static_cast<std::size_t>(TopicWiring::Topic::MaintenanceEvent) + 1);

/// In the order of the registrations.
constexpr std::array<const char*, 10> kLabels = {
    "bit_rcv = ", "cmdRsp_rcv = ",  "cmdRsp_rcv2 = ", "rsp_rcv = ",   "rsp_rcv2 = ",
    "pva_rcv = ", "utcTime_rcv = ", "MIS_rcv = ",     "hxPNT_rcv = ", "AssuranceState_rcv = "};
using Results = std::array<RETURN_CODE_TYPE::Value, kLabels.size()>;

bool areGood(const Results& results)
{
    return std::ranges::all_of(results, [](auto result) { return result == RETURN_CODE_TYPE::NO_ERROR; });
}

/// The results stand in one line, deliberately without anything between them.
void print(const Results& results)
{
    std::ostringstream line;
    for (std::size_t i = 0; i < results.size(); ++i) line << kLabels[i] << results[i];
    printLine(std::cout, "Error from Register_Callback or Register_Sender calls:\n", line.str());
}

template <class Message>
FACE::TSS::Read_Callback<Message> callTo(const TopicHandlers::Handler<Message>& handler)
{
    return [handler](long long, long long, const Message& message, const FACE::TSS::HEADER_TYPE&,
                     const FACE::Sequence<FACE::TSS::QoS_Element>&, RETURN_CODE_TYPE::Value&) { handler(message); };
}

}  // namespace

RETURN_CODE_TYPE::Value TopicWiring::connect(const TopicHandlers& handlers)
{
    auto code = RETURN_CODE_TYPE::NO_ERROR;
    const auto configuration = std::make_shared<FACE::HX_Config>();
    m_tss = std::make_shared<FACE::TSS::HX_TSS>(m_settings.m_serverName);
    m_tss->Set_Reference(FACE::String(), configuration, 0, code);
    if (code == RETURN_CODE_TYPE::NO_ERROR) m_tss->Initialize(m_settings.m_connectionsFile, code);
    if (code == RETURN_CODE_TYPE::NO_ERROR) createConnections(code);
    if (code == RETURN_CODE_TYPE::NO_ERROR) {
        makeTransports();
        registerCallbacks(handlers, code);
    }
    return code;
}

void TopicWiring::createConnections(RETURN_CODE_TYPE::Value& code)
{
    bool isComplete = true;
    for (std::size_t i = 0; i < kConnections.size(); ++i) {
        const auto& row = kConnections[i];
        auto result = kUntried;
        int maxMessageSize = -1;
        m_tss->Create_Connection(FACE::String(row.name), kNoTimeout, m_ids[i], maxMessageSize, result);
        if (result == RETURN_CODE_TYPE::NO_ERROR) continue;
        isComplete = false;
        if (row.isTold)
            printLine(std::cout, Reports::location(), "Framework_Connect: Error connecting to ", row.name, "Topic");
    }
    if (!isComplete) code = RETURN_CODE_TYPE::INVALID_CONFIG;
}

void TopicWiring::makeTransports()
{
    auto make = [this]<class T>(Transport<T>& transport) {
        transport = std::make_shared<FACE::TSS::Details::HX_TypedTS<T>>();
        auto ignored = RETURN_CODE_TYPE::NO_ERROR;
        transport->Set_Reference(FACE::String(), m_tss, 0, ignored);
    };
    std::apply([&](auto&... transports) { (make(transports), ...); }, m_transports);
}

void TopicWiring::registerCallbacks(const TopicHandlers& handlers, RETURN_CODE_TYPE::Value& code)
{
    Results results;
    results.fill(kUntried);
    auto next = results.begin();
    auto receive = [&]<class T>(Topic topic, const std::function<void(const T&)>& handler) {
        transport<T>()->Register_Callback(id(topic), callTo<T>(handler), *next++);
    };
    const auto sendOn = [&](Topic topic) {
        transport<aspn2_msgs::idl::CommandResponse>()->Register_Sender(id(topic), *next++);
    };
    receive(Topic::BitReport, handlers.bitReport);
    receive(Topic::Command, handlers.command);
    sendOn(Topic::Command);
    receive(Topic::Response, handlers.response);
    sendOn(Topic::Response);
    receive(Topic::PositionVelocityAttitude, handlers.pva);
    receive(Topic::UTCTime, handlers.utcTime);
    receive(Topic::MeasurementIncorporationStatus, handlers.mis);
    receive(Topic::HalvexPNT, handlers.halvexPNT);
    receive(Topic::AssuranceState, handlers.assuranceState);

    if (areGood(results)) return;
    print(results);
    code = RETURN_CODE_TYPE::INVALID_CONFIG;
}

void TopicWiring::disconnect()
{
    if (!m_tss) return;
    // What was never registered is harmless to end.
    auto ignored = RETURN_CODE_TYPE::NO_ERROR;
    for (const long long id : m_ids) m_tss->Unregister_Callback(id, ignored);
    for (const long long id : m_ids) m_tss->Unregister_Sender(id, ignored);
    for (const long long id : m_ids) m_tss->Destroy_Connection(id, ignored);
}

bool TopicWiring::send(Topic topic, const aspn2_msgs::idl::CommandResponse& message)
{
    auto rc = RETURN_CODE_TYPE::NOT_AVAILABLE;
    if (const auto& sender = transport<aspn2_msgs::idl::CommandResponse>()) {
        long long transaction = 0;
        sender->Send_Message(id(topic), -1, transaction, message, rc);
    }
    if (rc == RETURN_CODE_TYPE::NO_ERROR) return true;
    Reports::sendEvent(EventTypes::EVENT_FAULT, m_settings.m_serverName +
                                                    ": Could not publish CommandResponse for TOV = " +
                                                    std::to_string(message.header().timestamp_valid().sec()) + ", " +
                                                    message.command_response());
    return false;
}
