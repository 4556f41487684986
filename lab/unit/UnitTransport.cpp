#include "lab/unit/UnitTransport.h"

#include "face/HX_Config.h"

#include <stdexcept>
#include <utility>

namespace unitsim {

using namespace aspn2_msgs::idl;
using FACE::RETURN_CODE_TYPE;

template <class T>
bool UnitTransport::Sender<T>::send(const T& record)
{
    if (!front) return false;
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NO_ACTION;
    long long transaction = 0;
    front->Send_Message(connection, -1, transaction, record, code);
    return code == RETURN_CODE_TYPE::NO_ERROR;
}

UnitTransport::UnitTransport(const Settings& settings, std::function<void(const CommandResponse&)> onCommand)
    : m_file(settings.connections), m_tss(std::make_shared<FACE::TSS::HX_TSS>("unit-sim"))
{
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NO_ERROR;
    m_tss->Set_Reference("", std::make_shared<FACE::HX_Config>(), 0, code);
    m_tss->Initialize(m_file.c_str(), code);
    if (code != RETURN_CODE_TYPE::NO_ERROR)
        throw std::runtime_error(m_file + ": the transport can't be started (code " + std::to_string(code) + ")");

    const auto isEnabled = [&](Output output) { return settings.outputs[indexOf(output)].enabled; };
    const auto nameOf = [](Output output) { return std::string(kOutputNames[indexOf(output)]); };
    const auto openIfEnabled = [&](auto& sender, Output output) {
        if (isEnabled(output)) open(sender, nameOf(output));
    };
    openIfEnabled(m_pva, Output::PositionVelocityAttitude);
    openIfEnabled(m_utcTime, Output::UTCTime);
    openIfEnabled(m_pnt, Output::HalvexPNT);
    openIfEnabled(m_measurements, Output::MeasurementIncorporationStatus);
    openIfEnabled(m_assurance, Output::AssuranceState);
    open(m_bitReport, "BitReport");
    open(m_response, "Response");
    open(m_command, "Command");

    m_command.front->Register_Callback(
        m_command.connection,
        [handle = std::move(onCommand)](long long, long long, const CommandResponse& record,
                                        const FACE::TSS::HEADER_TYPE&, const FACE::Sequence<FACE::TSS::QoS_Element>&,
                                        RETURN_CODE_TYPE::Value&) { handle(record); },
        code);
    if (code != RETURN_CODE_TYPE::NO_ERROR) refuse("Command", "can't be subscribed to", code);
}

UnitTransport::~UnitTransport()
{
    RETURN_CODE_TYPE::Value ignored = RETURN_CODE_TYPE::NO_ERROR;
    m_tss->Unregister_Callback(m_command.connection, ignored);
}

void UnitTransport::refuse(const std::string& topic, const char* what, int code) const
{
    throw std::runtime_error(m_file + ": " + topic + ": " + what + " (code " + std::to_string(code) + ")");
}

long long UnitTransport::connect(const std::string& topic)
{
    long long connection = -1;
    int size = -1;
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NO_ERROR;
    m_tss->Create_Connection(topic.c_str(), -1, connection, size, code);
    if (code != RETURN_CODE_TYPE::NO_ERROR) refuse(topic, "the connection can't be made", code);
    return connection;
}

template <class T>
void UnitTransport::open(Sender<T>& sender, const std::string& topic)
{
    sender.connection = connect(topic);
    sender.front = std::make_shared<FACE::TSS::Details::HX_TypedTS<T>>();
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NO_ERROR;
    sender.front->Set_Reference("", m_tss, 0, code);
    sender.front->Register_Sender(sender.connection, code);
    if (code != RETURN_CODE_TYPE::NO_ERROR) refuse(topic, "can't be published", code);
}

bool UnitTransport::publish(const PositionVelocityAttitude& record)
{
    return m_pva.send(record);
}

bool UnitTransport::publish(const UTCTime& record)
{
    return m_utcTime.send(record);
}

bool UnitTransport::publish(const HalvexPNT& record)
{
    return m_pnt.send(record);
}

bool UnitTransport::publish(const MeasurementIncorporationStatus& record)
{
    return m_measurements.send(record);
}

bool UnitTransport::publish(const AssuranceState& record)
{
    return m_assurance.send(record);
}

bool UnitTransport::publish(const BitReport& record)
{
    return m_bitReport.send(record);
}

bool UnitTransport::publishResponse(const CommandResponse& record)
{
    return m_response.send(record);
}

bool UnitTransport::publishCommand(const CommandResponse& record)
{
    return m_command.send(record);
}

}  // namespace unitsim
