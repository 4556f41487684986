#ifndef VICTORY_ORVANESERVER_TOPICWIRING_H
#define VICTORY_ORVANESERVER_TOPICWIRING_H

#include "VICTORY/OrvaneServer/ServerSettings.h"
#include "face/FACE_Common.h"
#include "face/HX_TSS.h"
#include "face/HX_TypedTS.h"

#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <tuple>

/// What takes the messages of a topic, on threads of the transport or within a sending of this process. None may be
/// empty, and none may throw.
struct TopicHandlers {
    template <class T>
    using Handler = std::function<void(const T&)>;

    Handler<aspn2_msgs::idl::BitReport> bitReport;
    Handler<aspn2_msgs::idl::CommandResponse> command;
    Handler<aspn2_msgs::idl::CommandResponse> response;
    Handler<aspn2_msgs::idl::PositionVelocityAttitude> pva;
    Handler<aspn2_msgs::idl::UTCTime> utcTime;
    Handler<aspn2_msgs::idl::HalvexPNT> halvexPNT;
    Handler<aspn2_msgs::idl::MeasurementIncorporationStatus> mis;
    Handler<aspn2_msgs::idl::AssuranceState> assuranceState;
};

/// The ten connections of the service to the unit's transport, with one transport for each of the nine types.
///
/// `connect` and `disconnect` are the main thread's; once connected, any thread may send. There is no lock.
class TopicWiring {
public:
    /// The connections in the order of their making, which is that of their ending too.
    enum class Topic : std::size_t {
        BitReport,
        Command,
        Response,
        PositionVelocityAttitude,
        UTCTime,
        HalvexPNT,
        MeasurementIncorporationStatus,
        AssuranceState,
        EventLog,
        MaintenanceEvent,
    };

    template <class T>
    using Transport = std::shared_ptr<FACE::TSS::Details::HX_TypedTS<T>>;

    /// @param settings  must outlive this
    explicit TopicWiring(const ServerSettings& settings) : m_settings(settings) { m_ids.fill(-1); }

    /// Makes the connections that the connections file describes, and has the handlers called. What can be connected
    /// is; what can't is told on the console. There are no transports unless all connections could be made.
    FACE::RETURN_CODE_TYPE::Value connect(const TopicHandlers& handlers);

    /// Undoes `connect`, whatever became of it: no handler is called any more. The transports stay for those who share
    /// them, and send nothing.
    void disconnect();

    /// Publishes a command or a response; false, with an event, if it can't be. Handlers of this process run within
    /// this call, so hold no lock that they take.
    /// @param topic  `Command` or `Response`
    bool send(Topic topic, const aspn2_msgs::idl::CommandResponse& message);

    /// Null until the connections have been made.
    template <class T>
    const Transport<T>& transport() const
    {
        return std::get<Transport<T>>(m_transports);
    }

    /// The connection's id; -1 for one that was never made.
    long long id(Topic topic) const { return m_ids[static_cast<std::size_t>(topic)]; }

private:
    static constexpr std::size_t kTopics = 10;

    void createConnections(FACE::RETURN_CODE_TYPE::Value& code);
    void makeTransports();
    void registerCallbacks(const TopicHandlers& handlers, FACE::RETURN_CODE_TYPE::Value& code);

    const ServerSettings& m_settings;
    std::shared_ptr<FACE::TSS::HX_TSS> m_tss;
    std::tuple<Transport<aspn2_msgs::idl::BitReport>,
               Transport<aspn2_msgs::idl::CommandResponse>,  // of both commands and responses
               Transport<aspn2_msgs::idl::PositionVelocityAttitude>, Transport<aspn2_msgs::idl::UTCTime>,
               Transport<aspn2_msgs::idl::MeasurementIncorporationStatus>, Transport<aspn2_msgs::idl::HalvexPNT>,
               Transport<aspn2_msgs::idl::AssuranceState>, Transport<aspn2_msgs::idl::EventLog>,
               Transport<aspn2_msgs::idl::MaintenanceEvent>>
        m_transports;
    std::array<long long, kTopics> m_ids;
};

#endif
