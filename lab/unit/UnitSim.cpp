#include "lab/unit/UnitSim.h"

#include "ASPN/AspnDeviceIds.h"
#include "ASPN/AspnHelper.h"
#include "ASPN/CmdResponseStrings.h"
#include "lab/unit/Radio.h"
#include "lab/unit/ReceiverFrames.h"
#include "lab/unit/Records.h"
#include "utilities/ConsoleLine.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <numbers>
#include <type_traits>

namespace unitsim {

using namespace std::chrono;

namespace {

constexpr const char* kFlags[] = {"PostComplete", "SystemStarted", "FirstBbitDone"};

nanoseconds nanosecondsOf(double time)
{
    return nanoseconds(std::llround(time * 1e9));
}

/// Whether anything is sent to a queue, or may be later.
bool feedsQueues(const Settings& settings)
{
    const auto isFrame = [](const Event& event) {
        return std::holds_alternative<ThreatReport>(event.what) || std::holds_alternative<Warning>(event.what);
    };
    return !settings.control.empty() || settings.outputs[indexOf(Output::Report8504)].enabled ||
           settings.threatRateHz > 0.0 || settings.warningRateHz > 0.0 || !settings.world.jammers.empty() ||
           std::any_of(settings.events.begin(), settings.events.end(), isFrame);
}

std::int64_t utcNow()
{
    return duration_cast<seconds>(system_clock::now().time_since_epoch()).count();
}

std::unique_ptr<RegisterFile> openRegisters(const Settings& settings)
{
    if (!settings.registers) return nullptr;
    auto registers = std::make_unique<RegisterFile>(settings.memory, DeviceMap(settings.devices));
    FpgaIdentity identity;
    identity.clockRate = settings.clockRate;
    registers->identify(identity);
    return registers;
}

/// The unit's clock goes on where it was, unless it is younger than that.
std::uint64_t firstTicks(const Settings& settings, const RegisterFile* registers)
{
    const auto uptime = static_cast<std::uint64_t>(settings.uptimeSeconds * double{SystemClock::kTicksPerSecond});
    return registers ? std::max(uptime, registers->systemCount()) : uptime;
}

}  // namespace

UnitSim::UnitSim(const Settings& settings)
    : m_settings(settings), m_registers(openRegisters(settings)), m_start(Clock::now()),
      m_startTime(GpsMoment::fromUtcSeconds(settings.utcSeconds.value_or(utcNow()))),
      m_clock(firstTicks(settings, m_registers.get()), m_start),
      m_navigation(settings.seed, [this](double time) { return vehicleAt(time); }), m_planned(m_start)
{
    for (std::size_t i = 0; i < kOutputs; ++i) m_inputs.emplace_back(settings.seed, static_cast<Output>(i));
    m_qualities.fill(1.0);
    if (m_registers)
        m_count = std::make_unique<RunningCount>(*m_registers, m_clock, nanosecondsOf(settings.countStepSeconds));
    m_solution.state = vehicleAt(0.0);
    if (settings.threatRateHz > 0.0)
        m_randomThreats.emplace(settings.seed, RandomEvents::Kind::Threats, settings.threatRateHz);
    if (settings.warningRateHz > 0.0)
        m_randomWarnings.emplace(settings.seed, RandomEvents::Kind::Warnings, settings.warningRateHz);
    if (!settings.receiverCopy.empty()) m_receiverCopy.emplace(settings.receiverCopy);
    if (feedsQueues(settings)) {
        const DeviceMap devices(settings.devices);
        const auto open = [&](const char* queue) {
            return std::make_unique<QueueFeeder>(settings.queuePrefix + std::to_string(devices.port(queue)));
        };
        m_feeder = open("ZEN_HX");
        if (m_receiverCopy)
            m_feeder->setCopy([this](std::span<const std::uint8_t> record) { m_receiverCopy->append(record); });
        m_otherFeeder = open("HX_ZEN");
    }
    if (settings.flags) removeFlags();
    if (!settings.log.empty()) m_log.emplace(settings.log, m_start);
    m_transport =
        std::make_unique<UnitTransport>(settings, [this](const CommandResponse& command) { receive(command); });
}

UnitSim::~UnitSim()
{
    m_transport.reset();
    if (m_settings.flags) removeFlags();
}

void UnitSim::removeFlags() const
{
    std::error_code ignored;
    for (const char* flag : kFlags) std::filesystem::remove(m_settings.flagDirectory + "/" + flag, ignored);
}

template <class... Parts>
void UnitSim::say(const Parts&... parts) const
{
    if (!m_settings.quiet) printLine(std::cout, "unit-sim: ", parts...);
}

void UnitSim::stop()
{
    {
        const MutexLock lock(m_mutex);
        m_stop = true;
    }
    m_wake.notify_all();
}

Totals UnitSim::totals() const
{
    Totals totals = m_totals;
    if (m_feeder) totals.dropped = m_feeder->dropped() + m_otherFeeder->dropped();
    return totals;
}

void UnitSim::receive(const CommandResponse& command)
{
    {
        const MutexLock lock(m_mutex);
        m_inbox.commands.push_back({command, Clock::now()});
    }
    m_wake.notify_all();
}

void UnitSim::order(const Event& event)
{
    {
        const MutexLock lock(m_mutex);
        m_inbox.orders.push_back(event);
    }
    m_wake.notify_all();
}

void UnitSim::take(const Event& order)
{
    if (order.seconds <= elapsedSeconds())
        happen(order);
    else
        at(order.seconds, [this, order] { happen(order); });
}

void UnitSim::run()
{
    if (m_settings.flags) planFlags();
    planEvents();
    if (m_settings.durationSeconds) at(*m_settings.durationSeconds, [this] { stop(); });
    at(0.0, [this] { epoch(0); });
    while (const auto turn = nextTurn()) {
        for (const Event& order : turn->orders) take(order);
        for (const Received& command : turn->commands) planAnswers(command);
        runDue();
    }
}

/// Waits for an order, for a command or for what is due next; none when it is time to end.
std::optional<UnitSim::Turn> UnitSim::nextTurn()
{
    MutexLock lock(m_mutex);
    while (!m_stop && m_inbox.orders.empty() && m_inbox.commands.empty() && Clock::now() < m_agenda.begin()->first)
        m_wake.wait_until(m_mutex, m_agenda.begin()->first);
    if (m_stop) return std::nullopt;
    return std::exchange(m_inbox, {});
}

void UnitSim::runDue()
{
    // One a turn: commands are never kept waiting, and what an action plans is in its place even when all of it is late.
    const auto first = m_agenda.begin();
    if (first == m_agenda.end() || first->first > Clock::now()) return;
    m_planned = first->first;
    const std::function<void()> action = std::move(first->second);
    m_agenda.erase(first);
    action();
}

/// What is told of the present moment.
UnitSim::Clock::time_point UnitSim::now() const
{
    return m_settings.repeatable ? m_planned : Clock::now();
}

VehicleState UnitSim::vehicleAt(double time) const
{
    return m_settings.world.drive ? m_settings.world.drive->at(time) : Course::at(time);
}

UnitSim::Clock::time_point UnitSim::after(double time) const
{
    return m_start + nanosecondsOf(time);
}

void UnitSim::at(double time, std::function<void()> action)
{
    m_agenda.emplace(after(time), std::move(action));
}

void UnitSim::planFlags()
{
    at(0.0, [this] { std::ofstream(m_settings.flagDirectory + "/SystemStarted"); });
    if (!m_settings.postAfterSeconds) return;
    at(*m_settings.postAfterSeconds, [this] {
        Sys::announceFirstBbitDone(m_settings.flagDirectory);
        Sys::announcePostComplete(m_settings.flagDirectory);
        say("the self test is complete");
    });
}

std::uint32_t UnitSim::deviceId(std::uint8_t server, std::uint8_t message, std::uint8_t topic) const
{
    return ASPN2::DeviceIdFactory(m_settings.system.c_str(), server).makeDeviceId(message, topic);
}

ASPN2::CmdResponse& UnitSim::speaker(std::uint8_t server)
{
    return m_speakers.try_emplace(server, ASPN2::DeviceIdFactory(m_settings.system.c_str(), server)).first->second;
}

void UnitSim::planAnswers(const Received& received)
{
    if (received.command.command_response_type() != 0) return;
    ++m_totals.commands;
    if (m_log) m_log->heard(received.command.command_response());
    const std::vector<PlannedAnswer> answers = answersTo(received.command.command_response(), m_settings);
    say("command ", received.command.command_response(), ": ", answers.size(),
        answers.size() == 1 ? " answer" : " answers");
    const auto own = m_ownCommands.find(received.command.command_identifier());
    const bool isOwn = own != m_ownCommands.end() && received.command.header().device_id() == m_ownDevice;
    const Clock::time_point when = isOwn ? own->second : received.when;
    for (const PlannedAnswer& planned : answers)
        m_agenda.emplace(when + nanosecondsOf(planned.delaySeconds),
                         [this, command = received.command, planned] { answer(command, planned); });
}

void UnitSim::answer(const CommandResponse& command, const PlannedAnswer& planned)
{
    const std::uint64_t ticks = m_clock.ticksAt(now());
    bool taken = false;
    if (planned.kind == PlannedAnswer::Kind::BitReport) {
        auto report = bitReport(planned, m_settings.findings);
        stamp(report.header(), m_reports++, deviceId(planned.server, 0, planned.topic), ticks, ticks);
        taken = m_transport->publish(report);
    } else {
        CommandResponse response = speaker(planned.server).makeResponse(command, planned.text);
        ASPN2::setToVandToA_fromFpgaTicks(ticks, response.header());
        ASPN2::CmdResponse::setTopicId(response, planned.topic);
        taken = m_transport->publishResponse(response);
    }
    ++(taken ? m_totals.answers : m_totals.refused);
    if (m_log) m_log->answer(ASPN2::ServerIds::to_string(planned.server), planned);
    say(ASPN2::ServerIds::to_string(planned.server), " answers ",
        planned.kind == PlannedAnswer::Kind::BitReport ? "with a BitReport" : planned.text);
}

void UnitSim::planEvents()
{
    for (const Event& event : m_settings.events) at(event.seconds, [this, event] { happen(event); });
    if (m_randomThreats) planRandomEvent(*m_randomThreats);
    if (m_randomWarnings) planRandomEvent(*m_randomWarnings);
    if (!m_settings.world.jammers.empty()) planLook(0);
}

void UnitSim::planRandomEvent(RandomEvents& events)
{
    const Event event = events.next();
    at(event.seconds, [this, &events, event] {
        happen(event);
        planRandomEvent(events);
    });
}

void UnitSim::happen(const Event& event)
{
    std::visit([&](const auto& what) { happen(what, event.seconds); }, event.what);
}

GpsMoment UnitSim::momentAt(double time) const
{
    return {m_startTime.nanoseconds + nanosecondsOf(time).count()};
}

void UnitSim::stampFrame(aspn2_msgs::idl::GSSIP& record, std::int64_t sequence, std::uint8_t server, double time) const
{
    stamp(record.header(), sequence, deviceId(server, 0, 0), m_clock.ticksAt(after(time)), m_clock.ticksAt(now()));
}

void UnitSim::happen(const ThreatReport& report, double time)
{
    auto record = gssipRecord(frame15051(momentAt(time), m_solution, report));
    stampFrame(record, static_cast<std::int64_t>(m_totals.threats++), m_settings.threatServer, time);
    m_otherFeeder->send(record);
    if (m_log) m_log->threats(report);
    say("sends a threat report, lines of bearing: ", report.threats.size());
}

void UnitSim::happen(const Warning& warning, double time)
{
    auto record = gssipRecord(frame5044(momentAt(time), warning));
    stampFrame(record, static_cast<std::int64_t>(m_totals.warnings++), m_settings.warningServer, time);
    m_feeder->send(record);
    if (m_log) m_log->warning(warning);
    say("sends the warning ", warning.number, warning.text.empty() ? "" : " ", warning.text);
}

void UnitSim::happen(const SendCommand& sent, double)
{
    CommandResponse command = speaker(servers::kSystemController).makeCommand(sent.text);
    ASPN2::setToVandToA_fromFpgaTicks(m_clock.ticksAt(now()), command.header());
    if (m_settings.repeatable) {
        m_ownCommands[command.command_identifier()] = now();
        m_ownDevice = command.header().device_id();
    }
    if (m_log) m_log->command(sent.text);
    say("sends the command ", sent.text);
    if (!m_transport->publishCommand(command)) ++m_totals.refused;
}

void UnitSim::happen(const Answers& answers, double)
{
    m_settings.answers = answers;
    say("answers differently from now on");
}

void UnitSim::happen(const SetFinding& change, double)
{
    m_settings.findings[change.server] = change.finding;
    say("built-in tests find server ", change.server, change.finding == Finding::Good ? " good" : " not good",
        " from now on");
}

void UnitSim::happen(const SetSilence& change, double)
{
    if (change.silent)
        m_settings.silentComponents.insert(change.component);
    else
        m_settings.silentComponents.erase(change.component);
    if (m_log) m_log->silence(change.component, change.silent);
    say(change.component, change.silent ? " keeps" : " tells", " its part numbers from now on");
}

void UnitSim::happen(const SetGps& change, double)
{
    m_gpsLost = change.lost;
}

void UnitSim::happen(const SetFault& change, double)
{
    m_inputs[indexOf(change.output)].set(change.fault);
    say(kShortOutputNames[indexOf(change.output)],
        change.fault.kind == Fault::Kind::None ? " is sound from now on" : " has a fault from now on");
}

void UnitSim::happen(const SetQuality& change, double)
{
    m_qualities[static_cast<std::size_t>(change.source)] = change.factor;
    say("errors have another size from now on");
}

/// The sensor looks a quarter of a second behind each full one, away from the epochs of most rates.
void UnitSim::planLook(std::int64_t number)
{
    const double time = static_cast<double>(number) + 0.25;
    at(time, [this, number, time] {
        const ThreatReport report = m_sensor.look(m_settings.world, time, vehicleAt(time).position);
        if (!report.threats.empty()) happen(report, time);
        planLook(number + 1);
    });
}

bool UnitSim::isDue(Output output, double time) const
{
    const OutputSettings& settings = m_settings.outputs[indexOf(output)];
    return settings.enabled && !anyHolds(settings.mutes, time);
}

template <class Record>
void UnitSim::stampAs(Output output, Record& record, double time)
{
    const OutputSettings& settings = m_settings.outputs[indexOf(output)];
    const std::uint64_t epochTicks = m_clock.ticksAt(after(time));
    const std::int64_t valid =
        static_cast<std::int64_t>(epochTicks) + SystemClock::ticksIn(nanosecondsOf(settings.offsetSeconds));
    stamp(record.header(), m_sequences[indexOf(output)]++, deviceId(settings.server, 0, 0),
          static_cast<std::uint64_t>(std::max<std::int64_t>(valid, 0)), m_clock.ticksAt(now()));
}

/// What its fault makes of a record.
template <class Record>
void UnitSim::spoil(Output output, Record& record)
{
    FaultyInput& input = m_inputs[indexOf(output)];
    std::optional<Record>& last = std::get<std::optional<Record>>(m_last);
    if (input.is(Fault::Kind::Stuck) && last) record = *last;
    if (input.is(Fault::Kind::Garbage)) scramble(record, input.random());
    if constexpr (std::is_same_v<Record, aspn2_msgs::idl::MeasurementIncorporationStatus>)
        if (input.is(Fault::Kind::Wrong)) useNothing(record);
    last = record;
}

/// @return whether it was sent with its epoch
template <class Record>
bool UnitSim::publish(Output output, Record record, double time)
{
    if (!isDue(output, time) || m_inputs[indexOf(output)].skipsEpoch()) return false;
    spoil(output, record);
    const double delay = m_inputs[indexOf(output)].delaySeconds();
    if (delay == 0.0) return send(output, std::move(record), time);
    at(time + delay, [this, output, record, time] { send(output, record, time); });
    return false;
}

template <class Record>
bool UnitSim::send(Output output, Record record, double time)
{
    stampAs(output, record, time);
    bool isTaken = true;
    if constexpr (std::is_same_v<Record, aspn2_msgs::idl::GSSIP>)
        m_feeder->send(record);
    else
        isTaken = m_transport->publish(record);
    ++(isTaken ? m_totals.sent[indexOf(output)] : m_totals.refused);
    return isTaken;
}

/// The solution as an output tells it: with its quality, and its fault.
Solution UnitSim::solutionFor(Output output) const
{
    Solution solution = m_solution;
    if (output == Output::PositionVelocityAttitude)
        solution = scaled(solution, qualityOf(SetQuality::Source::PositionVelocityAttitude));
    else if (output == Output::UTCTime)
        solution = scaled(solution, qualityOf(SetQuality::Source::UTCTime));
    else if (output == Output::HalvexPNT)
        solution = scaled(solution, qualityOf(SetQuality::Source::HalvexPNT));
    const FaultyInput& input = m_inputs[indexOf(output)];
    return input.is(Fault::Kind::Wrong) ? wrongSolution(solution, output, input.fault().amount) : solution;
}

void UnitSim::epoch(std::int64_t number)
{
    const double time = static_cast<double>(number) / m_settings.rateHz;
    const bool wasLost = m_solution.gpsLost;
    const double dbHz = disturbedDbHz(jamDbm(m_settings.world, time, vehicleAt(time).position));
    const bool isLost = m_reception.update(dbHz) || m_gpsLost || anyHolds(m_settings.gpsLost, time);
    m_solution =
        m_navigation.solve(time, momentAt(time), isLost, noiseFactor(dbHz) * qualityOf(SetQuality::Source::Gps));
    const Solution& solution = m_solution;
    if (solution.gpsLost != wasLost) {
        if (m_log) m_log->gps(solution.gpsLost);
        say(solution.gpsLost ? "GPS is lost" : "GPS is back");
    }
    const std::uint32_t assurance = assuranceOf(solution, m_settings.assurance);
    const FaultyInput& told = m_inputs[indexOf(Output::AssuranceState)];
    const std::uint32_t toldAssurance =
        told.is(Fault::Kind::Wrong) ? static_cast<std::uint32_t>(told.fault().amount) : assurance;

    const std::array<bool, kOutputs> sent = {
        publish(Output::PositionVelocityAttitude,
                positionVelocityAttitude(solutionFor(Output::PositionVelocityAttitude)), time),
        publish(Output::UTCTime, utcTime(solutionFor(Output::UTCTime)), time),
        publish(Output::HalvexPNT, halvexPnt(solutionFor(Output::HalvexPNT), assurance), time),
        publish(Output::MeasurementIncorporationStatus, measurementStatus(solution, m_settings.measurementEntries),
                time),
        publish(Output::AssuranceState, assuranceState(toldAssurance), time),
        publish(Output::Report8504,
                gssipRecord(frame8504(solutionFor(Output::Report8504),
                                      {m_settings.receiverFailure, m_settings.receiverStatus}, m_settings.reportWords)),
                time)};
    if (m_log) m_log->epoch(momentAt(time), sent);

    if (m_settings.verbose) {
        constexpr double kDegrees = 180.0 / std::numbers::pi;
        const VehicleState& state = solution.state;
        std::ostringstream line;
        line << std::fixed << std::setprecision(1) << time << " s: " << std::setprecision(6)
             << state.position[0] * kDegrees << " " << state.position[1] * kDegrees << std::setprecision(1) << " "
             << state.position[2] << " m, " << std::hypot(state.velocity[0], state.velocity[1]) << " m/s, heading "
             << state.attitude[2] * kDegrees << (solution.gpsLost ? ", no GPS" : "");
        printLine(std::cout, "unit-sim: ", line.str());
    }
    planEpochAfter(number);
}

void UnitSim::planEpochAfter(std::int64_t number)
{
    const double elapsed = duration<double>(Clock::now() - m_start).count();
    const std::int64_t present = static_cast<std::int64_t>(elapsed * m_settings.rateHz);
    const std::int64_t next = m_settings.repeatable ? number + 1 : std::max(number + 1, present);
    m_totals.skipped += static_cast<std::uint64_t>(next - number - 1);
    at(static_cast<double>(next) / m_settings.rateHz, [this, next] { epoch(next); });
}

}  // namespace unitsim
