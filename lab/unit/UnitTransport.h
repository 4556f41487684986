#ifndef LAB_UNIT_UNITTRANSPORT_H
#define LAB_UNIT_UNITTRANSPORT_H

#include "aspn2_msgs/AssuranceState.h"
#include "aspn2_msgs/BitReport.h"
#include "aspn2_msgs/CommandResponse.h"
#include "aspn2_msgs/HalvexPNT.h"
#include "aspn2_msgs/MeasurementIncorporationStatus.h"
#include "aspn2_msgs/PositionVelocityAttitude.h"
#include "aspn2_msgs/UTCTime.h"
#include "face/HX_TypedTS.h"
#include "lab/unit/Settings.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace unitsim {

/// The unit's side of the DDS bus: sends the navigator's topics, answers and reports, receives commands.
///
/// What can't be had throws `std::runtime_error` that names the file and the topic. `publish` may be called by any
/// thread, all else by one.
class UnitTransport {
public:
    using CommandResponse = aspn2_msgs::idl::CommandResponse;

    /// @param settings   the topics that are not enabled are not needed in the connection file
    /// @param onCommand  runs on a thread of the transport, or within `publish` of a command, for every record on the
    ///                   topic "Command"; must be quick and must not throw
    UnitTransport(const Settings& settings, std::function<void(const CommandResponse&)> onCommand);
    ~UnitTransport();
    UnitTransport(const UnitTransport&) = delete;
    UnitTransport& operator=(const UnitTransport&) = delete;

    /// False if the library does not take the record.
    bool publish(const aspn2_msgs::idl::PositionVelocityAttitude& record);
    bool publish(const aspn2_msgs::idl::UTCTime& record);
    bool publish(const aspn2_msgs::idl::HalvexPNT& record);
    bool publish(const aspn2_msgs::idl::MeasurementIncorporationStatus& record);
    bool publish(const aspn2_msgs::idl::AssuranceState& record);
    bool publish(const aspn2_msgs::idl::BitReport& record);
    bool publishResponse(const CommandResponse& record);
    bool publishCommand(const CommandResponse& record);

private:
    template <class T>
    struct Sender {
        std::shared_ptr<FACE::TSS::Details::HX_TypedTS<T>> front;
        long long connection = -1;

        bool send(const T& record);
    };

    long long connect(const std::string& topic);
    template <class T>
    void open(Sender<T>& sender, const std::string& topic);
    [[noreturn]] void refuse(const std::string& topic, const char* what, int code) const;

    std::string m_file;
    std::shared_ptr<FACE::TSS::HX_TSS> m_tss;
    Sender<aspn2_msgs::idl::PositionVelocityAttitude> m_pva;
    Sender<aspn2_msgs::idl::UTCTime> m_utcTime;
    Sender<aspn2_msgs::idl::HalvexPNT> m_pnt;
    Sender<aspn2_msgs::idl::MeasurementIncorporationStatus> m_measurements;
    Sender<aspn2_msgs::idl::AssuranceState> m_assurance;
    Sender<aspn2_msgs::idl::BitReport> m_bitReport;
    Sender<CommandResponse> m_command;
    Sender<CommandResponse> m_response;
};

}  // namespace unitsim

#endif
