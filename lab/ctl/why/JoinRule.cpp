#include "lab/ctl/why/JoinRule.h"

#include "VICTORY/OrvaneServer/MessageSource.h"
#include "ioss_mcsq/GssipBytes.h"

namespace orvanectl {

using namespace aspn2_msgs::idl;

namespace {

ServerSettings quiet(ServerSettings settings)
{
    settings.m_quiet = true;
    return settings;
}

ServerSettings fromAnySource(ServerSettings settings)
{
    settings.m_utcSourceServerId = settings.m_pvaSourceServerId = 0;
    settings.m_fusionPNTSourceServerId = settings.m_misSourceServerId = 0;
    return quiet(std::move(settings));
}

template <class Message>
Message at(const header& time)
{
    Message message;
    message.header(time);
    return message;
}

/// A report of that time that can be unpacked.
GSSIP goodReport(const header& time)
{
    auto report = at<GSSIP>(time);
    report.data().resize(sizeof(packed_msg8504_t));
    report.num_bytes(static_cast<std::int32_t>(report.data().size()));
    return report;
}

/// @param input  the time of one of them
void storeAll(NavInputs& inputs, const header& time, const header& input, const GSSIP& receiver)
{
    inputs.store(at<UTCTime>(time));
    inputs.store(at<PositionVelocityAttitude>(time));
    inputs.store(at<HalvexPNT>(input));
    inputs.store(at<MeasurementIncorporationStatus>(time));
    inputs.store(at<AssuranceState>(time));
    inputs.storeReceiver(receiver);
}

bool isJoinedNow(NavInputs& inputs)
{
    bool isJoined = false;
    inputs.join([&](const NavInputs::Joined&) { isJoined = true; });
    return isJoined;
}

}  // namespace

JoinRule::JoinRule(const ServerSettings& settings)
    : m_settings(quiet(settings)), m_anySource(fromAnySource(settings)), m_filter(m_settings)
{}

bool JoinRule::takesReport(const GSSIP& message) const
{
    return m_settings.takesFramesOf(MessageSource::sourceOf(message));
}

bool JoinRule::isReport(const GSSIP& message)
{
    return gssip::messageIdOf(gssip::frameIn(message.data(), message.num_bytes())) == ZentorM_8504_Msg().messageId();
}

bool JoinRule::fits(const header& input, const header& time) const
{
    return joins(time, input, goodReport(time));
}

bool JoinRule::isFrame(const GSSIP& report) const
{
    return joins(report.header(), report.header(), report);
}

bool JoinRule::usesUp(const GSSIP& report) const
{
    NavInputs inputs(m_anySource);
    storeAll(inputs, report.header(), report.header(), report);
    isJoinedNow(inputs);
    inputs.storeReceiver(goodReport(report.header()));
    return !isJoinedNow(inputs);
}

bool JoinRule::joins(const header& time, const header& input, const GSSIP& receiver) const
{
    NavInputs inputs(m_anySource);
    storeAll(inputs, time, input, receiver);
    return isJoinedNow(inputs);
}

}  // namespace orvanectl
