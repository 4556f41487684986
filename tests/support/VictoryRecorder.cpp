#include "tests/support/VictoryRecorder.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <type_traits>

struct VapntsService {
    char anything;
};
struct VgpssService {
    char anything;
};
struct VdotsService {
    char anything;
};
struct VgensService {
    char anything;
};
struct VorisService {
    char anything;
};
struct VpossService {
    char anything;
};

namespace {

std::atomic<VictoryRecorder*> s_current = nullptr;
VgpssService s_gpss;
VdotsService s_dots;
VgensService s_gens;
VorisService s_oris;
VpossService s_poss;

/// How an argument is kept: numbers wide, texts and records as copies.
template <class Argument>
std::any kept(const Argument& argument)
{
    if constexpr (std::is_same_v<Argument, const char*>) {
        return std::string(argument ? argument : "<null>");
    } else if constexpr (std::is_same_v<Argument, const VapntcTime*>) {
        return argument ? std::make_shared<const VapntcTime>(*argument) : std::shared_ptr<const VapntcTime>();
    } else if constexpr (std::is_integral_v<Argument>) {
        return static_cast<std::int64_t>(argument);
    } else if constexpr (std::is_floating_point_v<Argument>) {
        return static_cast<double>(argument);
    } else if constexpr (std::is_pointer_v<Argument>) {
        return static_cast<const void*>(argument);
    } else {
        return std::make_shared<const Argument>(argument);
    }
}

template <class... Arguments>
VictoryRecorder::Call callOf(const char* operation, const void* service, const Arguments&... arguments)
{
    VictoryRecorder::Call call;
    call.operation = operation;
    call.service = service;
    (call.arguments.push_back(kept(arguments)), ...);
    return call;
}

template <class... Arguments>
int record(const char* operation, const void* service, const Arguments&... arguments)
{
    return static_cast<int>(VictoryRecorder::current().record(callOf(operation, service, arguments...)));
}

void setCallback(const std::function<void(VictoryRecorder::Registrations&)>& change)
{
    VictoryRecorder::current().setCallback(change);
}

}  // namespace

VictoryRecorder::VictoryRecorder()
{
    VictoryRecorder* none = nullptr;
    if (!s_current.compare_exchange_strong(none, this)) throw std::logic_error("there is a VictoryRecorder already");
}

VictoryRecorder::~VictoryRecorder()
{
    s_current = nullptr;
}

VictoryRecorder& VictoryRecorder::current()
{
    VictoryRecorder* const recorder = s_current;
    if (!recorder) throw std::logic_error("a bus operation without a VictoryRecorder");
    return *recorder;
}

std::vector<VictoryRecorder::Call> VictoryRecorder::calls() const
{
    const std::lock_guard lock(m_mutex);
    return m_calls;
}

std::vector<VictoryRecorder::Call> VictoryRecorder::calls(const std::string& operation) const
{
    std::vector<Call> found = calls();
    std::erase_if(found, [&](const Call& call) { return call.operation != operation; });
    return found;
}

std::vector<std::string> VictoryRecorder::operations() const
{
    std::vector<std::string> names;
    for (const Call& call : calls()) names.push_back(call.operation);
    return names;
}

std::size_t VictoryRecorder::count(const std::string& operation) const
{
    return calls(operation).size();
}

VictoryRecorder::Call VictoryRecorder::last(const std::string& operation) const
{
    const std::vector<Call> found = calls(operation);
    if (found.empty()) throw std::out_of_range("no call of " + operation);
    return found.back();
}

bool VictoryRecorder::waitForCalls(const std::string& operation, std::size_t count,
                                   std::chrono::milliseconds limit) const
{
    const auto enough = [&] {
        const auto found = std::ranges::count(m_calls, operation, &Call::operation);
        return static_cast<std::size_t>(found) >= count;
    };
    std::unique_lock lock(m_mutex);
    return m_called.wait_for(lock, limit, enough);
}

std::vector<std::string> VictoryRecorder::usesOfDeletedServices() const
{
    const std::lock_guard lock(m_mutex);
    return m_usesOfDeleted;
}

void VictoryRecorder::forgetCalls()
{
    const std::lock_guard lock(m_mutex);
    m_calls.clear();
}

void VictoryRecorder::answer(const std::string& operation, std::int64_t result)
{
    const std::lock_guard lock(m_mutex);
    m_answers[operation] = result;
}

void VictoryRecorder::onCall(const std::string& operation, std::function<void()> action)
{
    const std::lock_guard lock(m_mutex);
    m_actions[operation] = std::move(action);
}

void VictoryRecorder::setFile(const std::string& path, const std::string& text)
{
    const std::lock_guard lock(m_mutex);
    m_files[path] = text;
}

void VictoryRecorder::writeFile(const std::string& path, const std::string& text)
{
    setFile(path, text);
    if (std::filesystem::is_regular_file(path)) std::ofstream(path, std::ios::binary) << text;
}

std::string VictoryRecorder::file(const std::string& path) const
{
    const std::lock_guard lock(m_mutex);
    return m_files.at(path);
}

VapntsService* VictoryRecorder::newService()
{
    const std::lock_guard lock(m_mutex);
    return m_services.emplace_back(std::make_unique<VapntsService>()).get();
}

VgpssService* VictoryRecorder::gpss()
{
    return &s_gpss;
}

VdotsService* VictoryRecorder::dots()
{
    return &s_dots;
}

VgensService* VictoryRecorder::gens()
{
    return &s_gens;
}

VorisService* VictoryRecorder::oris()
{
    return &s_oris;
}

VpossService* VictoryRecorder::poss()
{
    return &s_poss;
}

template <class Callback>
VictoryRecorder::Registration<Callback>
VictoryRecorder::registered(const std::function<Registration<Callback>(const Registrations&)>& which) const
{
    const std::lock_guard lock(m_mutex);
    const Registration<Callback> found = which(m_registrations);
    if (!found.callback) throw std::logic_error("no such call-back has been set");
    if (std::ranges::count(m_deleted, found.service) > 0) throw std::logic_error("the service has been deleted");
    return found;
}

int VictoryRecorder::fireSaveVclid(const char* vclText)
{
    const auto set = registered<VapntsSaveVclidCallback>([](const Registrations& all) { return all.saveVclid; });
    return set.callback(set.context, set.service, vclText);
}

void VictoryRecorder::fireTell(int group)
{
    const auto set = registered<VapntsTellCallback>([=](const Registrations& all) {
        const auto found = all.tell.find(group);
        return found == all.tell.end() ? Registration<VapntsTellCallback>() : found->second;
    });
    set.callback(set.context, set.service);
}

int VictoryRecorder::fireClearSystemData(VapntcSystemData* data)
{
    const auto set =
        registered<VapntsTellClearSystemDataCallback>([](const Registrations& all) { return all.clearSystemData; });
    return set.callback(set.context, set.service, data);
}

void VictoryRecorder::fireSystemConfiguration()
{
    const auto set = registered<VapntsTellSystemConfigurationCallback>(
        [](const Registrations& all) { return all.systemConfiguration; });
    set.callback(set.context, set.service);
}

void VictoryRecorder::fireExecuteBuiltInTests()
{
    const auto set = registered<VapntsTellExecuteBuiltInTestsCallback>(
        [](const Registrations& all) { return all.executeBuiltInTests; });
    set.callback(set.context, set.service);
}

void VictoryRecorder::fireGetBuiltInTestResults(const VapntcBitRequests& requests)
{
    const auto set = registered<VapntsTellGetBuiltInTestResultsCallback>(
        [](const Registrations& all) { return all.getBuiltInTestResults; });
    set.callback(set.context, set.service, requests);
}

void VictoryRecorder::fireClearBuiltInTestResults(const VapntcBitRequests& requests)
{
    const auto set = registered<VapntsTellClearBuiltInTestResultsCallback>(
        [](const Registrations& all) { return all.clearBuiltInTestResults; });
    set.callback(set.context, set.service, requests);
}

bool VictoryRecorder::hasTellCallback(int group) const
{
    const std::lock_guard lock(m_mutex);
    return m_registrations.tell.contains(group);
}

std::int64_t VictoryRecorder::record(Call call, std::int64_t usualResult)
{
    std::function<void()> action;
    std::int64_t result = usualResult;
    {
        const std::lock_guard lock(m_mutex);
        if (std::ranges::count(m_deleted, call.service) > 0) m_usesOfDeleted.push_back(call.operation);
        if (const auto found = m_actions.find(call.operation); found != m_actions.end()) action = found->second;
        if (const auto found = m_answers.find(call.operation); found != m_answers.end()) result = found->second;
        m_calls.push_back(std::move(call));
        m_called.notify_all();
    }
    if (action) action();
    return result;
}

std::uint32_t VictoryRecorder::recordAddFault(Call call)
{
    std::uint32_t id = 0;
    {
        const std::lock_guard lock(m_mutex);
        id = m_nextFault++;
    }
    return static_cast<std::uint32_t>(record(std::move(call), id));
}

void VictoryRecorder::setCallback(const std::function<void(Registrations&)>& change)
{
    const std::lock_guard lock(m_mutex);
    change(m_registrations);
}

void VictoryRecorder::markDeleted(const void* service)
{
    const std::lock_guard lock(m_mutex);
    if (service) m_deleted.push_back(service);
}

int VictoryRecorder::readFile(const std::string& path, int capacity, char* buffer) const
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_files.find(path);
    if (found == m_files.end() || capacity <= 0) return 1;
    const std::string& text = found->second;
    if (text.size() >= static_cast<std::size_t>(capacity)) return 1;
    std::memcpy(buffer, text.c_str(), text.size() + 1);
    return 0;
}

VapntsService* vapntsNewService(const char* configurationText, const char* vclText)
{
    VictoryRecorder& recorder = VictoryRecorder::current();
    if (recorder.record(callOf("vapntsNewService", nullptr, configurationText, vclText), 1) == 0) return nullptr;
    return recorder.newService();
}

int vapntsInitSaveVclidCallback(VapntsService* service, VapntsSaveVclidCallback callback, void* context)
{
    setCallback([=](auto& all) { all.saveVclid = {callback, context, service}; });
    return record("vapntsInitSaveVclidCallback", service, context);
}

int vapntsInitPubGroup(VapntsService* service, int group, double rate)
{
    return record("vapntsInitPubGroup", service, group, rate);
}

int vapntsInitTellCallback(VapntsService* service, int group, VapntsTellCallback callback, void* context)
{
    setCallback([=](auto& all) { all.tell[group] = {callback, context, service}; });
    return record("vapntsInitTellCallback", service, group, context);
}

int vapntsInitTellClearSystemDataCallback(VapntsService* service, VapntsTellClearSystemDataCallback callback,
                                          void* context)
{
    setCallback([=](auto& all) { all.clearSystemData = {callback, context, service}; });
    return record("vapntsInitTellClearSystemDataCallback", service, context);
}

int vapntsInitTellSystemConfigurationCallback(VapntsService* service, VapntsTellSystemConfigurationCallback callback,
                                              void* context)
{
    setCallback([=](auto& all) { all.systemConfiguration = {callback, context, service}; });
    return record("vapntsInitTellSystemConfigurationCallback", service, context);
}

int vapntsInitTellExecuteBuiltInTestsCallback(VapntsService* service, VapntsTellExecuteBuiltInTestsCallback callback,
                                              void* context, int zero)
{
    setCallback([=](auto& all) { all.executeBuiltInTests = {callback, context, service}; });
    return record("vapntsInitTellExecuteBuiltInTestsCallback", service, context, zero);
}

int vapntsInitTellGetBuiltInTestResultsCallback(VapntsService* service,
                                                VapntsTellGetBuiltInTestResultsCallback callback, void* context)
{
    setCallback([=](auto& all) { all.getBuiltInTestResults = {callback, context, service}; });
    return record("vapntsInitTellGetBuiltInTestResultsCallback", service, context);
}

int vapntsInitTellClearBuiltInTestResultsCallback(VapntsService* service,
                                                  VapntsTellClearBuiltInTestResultsCallback callback, void* context)
{
    setCallback([=](auto& all) { all.clearBuiltInTestResults = {callback, context, service}; });
    return record("vapntsInitTellClearBuiltInTestResultsCallback", service, context);
}

int vapntsStartService(VapntsService* service)
{
    return record("vapntsStartService", service);
}

void vapntsDeleteService(VapntsService* service)
{
    record("vapntsDeleteService", service);
    VictoryRecorder::current().markDeleted(service);
}

int vapntsTellBlendedNavigationData(VapntsService* service, VapntcBlendedNavigationRecord data, const VapntcTime* time)
{
    return record("vapntsTellBlendedNavigationData", service, data, time);
}

int vapntsTellNavWarSaData(VapntsService* service, VapntcNavWarSaRecord data, const VapntcTime* time)
{
    return record("vapntsTellNavWarSaData", service, data, time);
}

int vapntsTellWarningMessagesData(VapntsService* service, VapntcWarningMessagesRecord data, const VapntcTime* time)
{
    return record("vapntsTellWarningMessagesData", service, data, time);
}

int vapntsTellSystemConfiguration(VapntsService* service, VapntcSystemConfiguration configuration)
{
    return record("vapntsTellSystemConfiguration", service, configuration);
}

int vapntsTellAvailableOutputs(VapntsService* service, VapntcAvailableOutputs outputs)
{
    return record("vapntsTellAvailableOutputs", service, outputs);
}

int vapntsTellAvailableSensors(VapntsService* service, VapntcAvailableSensors sensors)
{
    return record("vapntsTellAvailableSensors", service, sensors);
}

int vapntsTellClearSystemData(VapntsService* service, int result)
{
    return record("vapntsTellClearSystemData", service, result);
}

int vapntsTellExecuteBuiltInTests(VapntsService* service, double expectedSeconds, const char* id)
{
    return record("vapntsTellExecuteBuiltInTests", service, expectedSeconds, id);
}

int vapntsTellGetBuiltInTestResults(VapntsService* service, VapntcBitResults results)
{
    return record("vapntsTellGetBuiltInTestResults", service, results);
}

int vapntsTellClearBuiltInTestResults(VapntsService* service, int cleared)
{
    return record("vapntsTellClearBuiltInTestResults", service, cleared);
}

// The library's fault operations are the same for each kind of service.
#define VICTORY_RECORDER_FAULTS(kind, Service)                                                                         \
    uint32_t kind##AddFault(Service* service, const char* text, int acknowledged, VhlthcSeverity severity,             \
                            VhlthcCategory category, VhlthcAction action)                                              \
    {                                                                                                                  \
        return VictoryRecorder::current().recordAddFault(                                                              \
            callOf(#kind "AddFault", service, text, acknowledged, severity, category, action));                        \
    }                                                                                                                  \
    int kind##RemoveFault(Service* service, uint32_t id, VhlthcAction action)                                          \
    {                                                                                                                  \
        return record(#kind "RemoveFault", service, id, action);                                                       \
    }

VICTORY_RECORDER_FAULTS(vapnts, VapntsService)
VICTORY_RECORDER_FAULTS(vgpss, VgpssService)
VICTORY_RECORDER_FAULTS(vdots, VdotsService)
VICTORY_RECORDER_FAULTS(vgens, VgensService)
VICTORY_RECORDER_FAULTS(voris, VorisService)
VICTORY_RECORDER_FAULTS(vposs, VpossService)

int vutilReadStringFromFile(const char* path, int capacity, char* buffer)
{
    VictoryRecorder& recorder = VictoryRecorder::current();
    const std::int64_t scripted = recorder.record(callOf("vutilReadStringFromFile", nullptr, path, capacity, buffer));
    return scripted != 0 ? static_cast<int>(scripted) : recorder.readFile(path, capacity, buffer);
}

int vutilWriteStringToFile(const char* text, const char* path)
{
    VictoryRecorder& recorder = VictoryRecorder::current();
    const int result = static_cast<int>(recorder.record(callOf("vutilWriteStringToFile", nullptr, text, path)));
    if (result == 0) recorder.writeFile(path, text);
    return result;
}
