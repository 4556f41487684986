#include "PCSMaintReporter/PCSMaintReporter.h"

#include "ASPN/AspnDeviceIds.h"
#include "ASPN/AspnHelper.h"
#include "aspn2_msgs/MaintenanceEvent.h"
#include "face/HX_TypedTS.h"
#include "utilities/ConsoleLine.h"
#include "utilities/Shielded.h"
#include "utilities/StringUtils.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <utility>

using FACE::RETURN_CODE_TYPE;

namespace {

constexpr std::uint8_t kMaintenanceEventMessage = 59;
constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;
constexpr std::size_t kMostRecords = 9;
constexpr unsigned kPrefixAndPiece = 52;
constexpr const char* kDefaultPrefix = "Evt";

/// The location and the fault sources (LRU, component) of the servers from `first` to `last`.
struct DefaultRow {
    std::uint8_t first, last, location;
    std::int32_t sources[4][2];
};
constexpr DefaultRow kDefaults[] = {{1, 1, 1, {{1, 0}}},
                                    {32, 32, 1, {{1, 0}}},
                                    {33, 34, 1, {{1, 5}}},
                                    {35, 35, 1, {{1, 9}}},
                                    {36, 36, 1, {{1, 10}}},
                                    {37, 37, 1, {{1, 0}}},
                                    {38, 38, 1, {{1, 3}}},
                                    {39, 39, 4, {{1, 4}, {2, 14}, {2, 16}}},
                                    {40, 40, 1, {{1, 0}}},
                                    {41, 42, 16, {{3, 16}, {3, 17}, {1, 17}, {1, 1}}},
                                    {44, 46, 1, {{1, 8}}},
                                    {47, 47, 14, {{2, 15}, {2, 14}, {2, 13}, {2, 16}}},
                                    {48, 48, 1, {{1, 6}}},
                                    {49, 49, 1, {{1, 2}}},
                                    {50, 50, 4, {{1, 4}, {2, 14}, {2, 16}}},
                                    {51, 51, 1, {{1, 0}}},
                                    {52, 52, 1, {{1, 8}}},
                                    {53, 54, 1, {{1, 0}}},
                                    {80, 80, 4, {{1, 4}, {2, 14}, {2, 16}}},
                                    {96, 97, 0, {{1, 1}}},
                                    {125, 125, 1, {{1, 8}}}};
static_assert(std::ranges::is_sorted(kDefaults, {}, &DefaultRow::first));

/// As much of a text as leaves one zero, and zeros behind it.
template <std::size_t Size>
void copyText(const std::string& text, std::array<char, Size>& field)
{
    field.fill('\0');
    text.copy(field.data(), Size - 1);
}

/// A sum that wraps.
std::int64_t wrappingSum(std::int64_t a, std::int64_t b)
{
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) + static_cast<std::uint64_t>(b));
}

std::int64_t wrappingDifference(std::int64_t a, std::int64_t b)
{
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) - static_cast<std::uint64_t>(b));
}

std::int64_t nanosecondsOf(PCSMaintReporter::Clock::time_point time)
{
    return std::chrono::nanoseconds(time.time_since_epoch()).count();
}

template <class... Parts>
void printFrom(int line, const char* function, const Parts&... parts)
{
    printLine(std::cout, "PCSMaintReporter.cpp(", line, ") ", function, parts...);
}

/// Has the reporter of the process let go of the transport at the process's exit. What is made later dies earlier, so
/// call this once the transport exists.
void releaseAtExit()
{
    [[maybe_unused]] static const int registered =
        std::atexit([] { PCSMaintReporter::Instance().DoneMaintReporter(); });
}

}  // namespace

PCSMaintReporter& PCSMaintReporter::Instance()
{
    static PCSMaintReporter& instance = *new PCSMaintReporter;
    return instance;
}

PCSMaintReporter::PCSMaintReporter(FaultHysteresis& hysteresis, Clock::time_point (*now)(), int faultSpanSeconds)
    : m_hysteresis(hysteresis), m_now(now), m_faultSpanSeconds(faultSpanSeconds)
{}

void PCSMaintReporter::InitMaintReporter(const std::string& name, const ASPN2::DeviceIdFactory& deviceIdFactory,
                                         const std::shared_ptr<Transport>& transport, long long handle)
{
    const std::string call = "InitMaintReporter(" + name + ")";
    if (!transport) throw std::runtime_error(call + " called with an empty eventLogTypedTS.");
    if (m_initialized.exchange(true))
        throw std::runtime_error(call + " called on an already initialized PCSMaintReporter.");

    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NOT_AVAILABLE;
    transport->Register_Sender(handle, code);
    FACE::Return_Code_Value_No_Error_No_Action(__FILE__, __LINE__, (call + " unable to register sender.").c_str(),
                                               code);
    {
        const MutexLock lock(m_mutex);
        m_outlet = {name, deviceIdFactory.makeDeviceId(kMaintenanceEventMessage, 0), transport, handle};
        m_sequenceNumber = 0;
    }
    releaseAtExit();
    initFaultHysteresisOrExit(m_hysteresis, m_faultSpanSeconds);
}

void PCSMaintReporter::DoneMaintReporter()
{
    m_initialized = false;
    std::shared_ptr<Transport> transport;  // whose end may wait for a callback that sends: not under the lock
    const MutexLock lock(m_mutex);
    transport.swap(m_outlet.transport);
    m_outlet.handle = -1;
}

void PCSMaintReporter::SetTimeOffset(std::chrono::nanoseconds now)
{
    m_timeOffset = wrappingDifference(nanosecondsOf(m_now()), now.count());
}

void PCSMaintReporter::SetAspnTimeOffset(std::int64_t seconds, std::int64_t nanoseconds)
{
    const std::uint64_t product = static_cast<std::uint64_t>(seconds) * std::uint64_t{kNanosecondsPerSecond};
    SetTimeOffset(std::chrono::nanoseconds(wrappingSum(static_cast<std::int64_t>(product), nanoseconds)));
}

std::chrono::nanoseconds PCSMaintReporter::GetTime() const
{
    return std::chrono::nanoseconds(wrappingDifference(nanosecondsOf(m_now()), m_timeOffset));
}

PCSMaintReporter::Particulars PCSMaintReporter::particularsOf(eCrit criticality, eOutcome outcome,
                                                              std::uint8_t location, eCat category, eLru lru1,
                                                              eCmpo comp1, eLru lru2, eCmpo comp2, eLru lru3,
                                                              eCmpo comp3, eLru lru4, eCmpo comp4,
                                                              std::int32_t repeatSeconds)
{
    return {criticality,  outcome, location, category, {{{lru1, comp1}, {lru2, comp2}, {lru3, comp3}, {lru4, comp4}}},
            repeatSeconds};
}

void PCSMaintReporter::sendMaintenanceEvent(const std::string& description, const std::string& identity,
                                            eCrit criticality, eOutcome outcome, std::uint8_t location, eCat category,
                                            eLru lru1, eCmpo comp1, eLru lru2, eCmpo comp2, eLru lru3, eCmpo comp3,
                                            eLru lru4, eCmpo comp4, std::int32_t repeatSeconds)
{
    MaintenanceEvent record;
    buildMaintenanceEvent(record, description, identity,
                          particularsOf(criticality, outcome, location, category, lru1, comp1, lru2, comp2, lru3, comp3,
                                        lru4, comp4, repeatSeconds));
    publishMaintenanceEvent(record);
}

void PCSMaintReporter::sendLongDescriptionMultiMaintenanceEvent(const std::string& description,
                                                                const std::string& identity, eCrit criticality,
                                                                eOutcome outcome, std::uint8_t location, eCat category,
                                                                eLru lru1, eCmpo comp1, eLru lru2, eCmpo comp2,
                                                                eLru lru3, eCmpo comp3, eLru lru4, eCmpo comp4,
                                                                std::int32_t repeatSeconds, const char* prefix)
{
    std::vector<MaintenanceEvent> records;
    buildMultiMaintenanceEventVectorFromLongDescription(description, identity,
                                                        particularsOf(criticality, outcome, location, category, lru1,
                                                                      comp1, lru2, comp2, lru3, comp3, lru4, comp4,
                                                                      repeatSeconds),
                                                        records, prefix);
    for (MaintenanceEvent& record : records) {
        printFrom(__LINE__, __func__, ": Sending maintenance event: ", record.description().data());
        publishMaintenanceEvent(record);
    }
}

void PCSMaintReporter::buildMaintenanceEvent(MaintenanceEvent& record, const std::string& description,
                                             const std::string& identity, const Particulars& particulars)
{
    copyText(description, record.description());
    copyText(identity, record.identity());
    record.category_id(particulars.category);
    record.repeat_in_seconds(particulars.repeatSeconds);
    record.location_id(particulars.location);
    for (std::size_t i = 0; i < particulars.faultSources.size(); ++i) {
        record.fault_sources()[i].lru_id(particulars.faultSources[i].lru);
        record.fault_sources()[i].component_id(particulars.faultSources[i].component);
    }
    record.criticality_id(particulars.criticality);
    record.outcome_id(particulars.outcome);
}

void PCSMaintReporter::buildMultiMaintenanceEventVectorFromLongDescription(const std::string& description,
                                                                           const std::string& identity,
                                                                           const Particulars& particulars,
                                                                           std::vector<MaintenanceEvent>& records,
                                                                           const char* prefix)
{
    const std::string label = prefix ? prefix : kDefaultPrefix;
    const unsigned pieceSize =
        label.size() < kPrefixAndPiece ? kPrefixAndPiece - static_cast<unsigned>(label.size()) : 0;
    const std::vector<std::string> pieces = StringUtils::splitToChunks(description, pieceSize);
    for (std::size_t i = 0; i < std::min(pieces.size(), kMostRecords); ++i) {
        const std::string number = pieces.size() > 1 ? "_" + std::to_string(i + 1) : "";
        buildMaintenanceEvent(records.emplace_back(), label + number + ":" + pieces[i], identity, particulars);
    }
}

void PCSMaintReporter::publishMaintenanceEvent(MaintenanceEvent& record)
{
    if (!m_initialized) {
        printFrom(__LINE__, __func__, ": PCSMaintReporter not initialized! Cannat send MaintenanceEvent.");
        return;
    }
    const std::chrono::nanoseconds time = GetTime();
    const Outlet outlet = this->outlet();
    record.header().device_id(static_cast<std::int32_t>(outlet.deviceId));
    ASPN2::setToVandToA_fromNSec(time, record.header());
    record.header().seq_num(static_cast<std::int64_t>(m_sequenceNumber++));

    bool isWritten = false;
    shielded(
        [&] {
            isWritten =
                outlet.transport && outlet.transport->write(outlet.handle, record) == RETURN_CODE_TYPE::NO_ERROR;
        },
        [](const char*) {});
    if (!isWritten) printLine(std::cout, "!!!!!! ", outlet.name, " MaintReporter could not publish event");
}

PCSMaintReporter::Outlet PCSMaintReporter::outlet()
{
    const MutexLock lock(m_mutex);
    return m_outlet;
}

std::uint8_t PCSMaintReporter::getDefaultLruSubForServerID(std::uint32_t serverId, eLru& lru1, eCmpo& comp1, eLru& lru2,
                                                           eCmpo& comp2, eLru& lru3, eCmpo& comp3, eLru& lru4,
                                                           eCmpo& comp4)
{
    constexpr DefaultRow kNone{};
    const auto* const found = std::ranges::find_if(
        kDefaults, [serverId](const DefaultRow& row) { return row.first <= serverId && serverId <= row.last; });
    const DefaultRow& row = found != std::end(kDefaults) ? *found : kNone;
    eLru* const lrus[] = {&lru1, &lru2, &lru3, &lru4};
    eCmpo* const components[] = {&comp1, &comp2, &comp3, &comp4};
    for (std::size_t i = 0; i < std::size(row.sources); ++i) {
        *lrus[i] = eLru{row.sources[i][0]};
        *components[i] = eCmpo{row.sources[i][1]};
    }
    return row.location;
}
