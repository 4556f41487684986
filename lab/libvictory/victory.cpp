// The operations of the interface are what the library shows; all else stays its own.
#pragma GCC visibility push(default)
#include "VICTORY/libvictory/victory.h"
#pragma GCC visibility pop

#include "lab/libvictory/Console.h"
#include "lab/libvictory/Descriptor.h"
#include "lab/libvictory/Library.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <string>
#include <unistd.h>

using labvictory::Callback;
using labvictory::Callbacks;
using labvictory::Descriptor;
using labvictory::Json;
using labvictory::Library;
using labvictory::Service;
using labvictory::Tell;

namespace {

constexpr int kDone = 0;
constexpr int kFailed = -1;

/// Nothing thrown leaves the library.
template <class Result, class Work>
Result guarded(const char* operation, Result otherwise, Work work) noexcept
{
    try {
        return work();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "libvictory: %s: %s\n", operation, error.what());
        return otherwise;
    }
}

/// Does something with a service; a failure when there is none.
template <class Work>
int withService(const char* operation, const VapntsService* handle, Work work) noexcept
{
    return guarded(operation, kFailed, [&] {
        const auto service = Library::instance().find(handle, operation);
        return service && work(*service) ? kDone : kFailed;
    });
}

template <class Function>
int setCallback(const char* operation, const VapntsService* handle, Callback<Function> Callbacks::*member,
                Function function, void* context) noexcept
{
    return withService(operation, handle, [&](Service& service) {
        service.set(member, Callback<Function>{function, context});
        return true;
    });
}

template <class Record>
int tellRecord(const char* operation, const VapntsService* handle, const char* name, const Record& record,
               Json content = Json::object()) noexcept
{
    return withService(operation, handle, [&](Service&) {
        content["record"] = labvictory::toJson(record);
        Library::instance().tell(name, content, std::string(reinterpret_cast<const char*>(&record), sizeof record));
        return true;
    });
}

int tellValues(const char* operation, const VapntsService* handle, const char* name, const Json& values) noexcept
{
    return withService(operation, handle, [&](Service&) {
        Library::instance().tell(name, values);
        return true;
    });
}

Json timeOfValidity(const VapntcTime* time)
{
    return {{"timeOfValidity", time ? labvictory::toJson(*time) : Json(nullptr)}};
}

std::uint32_t addFault(const char* kind, const void* service, const char* text, int acknowledged,
                       VhlthcSeverity severity, VhlthcCategory category, VhlthcAction action) noexcept
{
    if (!service || !text) return 0;
    return guarded("AddFault", std::uint32_t{0}, [&] {
        return Library::instance().addFault(kind, service, {text, acknowledged != 0, severity, category, action});
    });
}

int removeFault(const char* kind, const void* service, std::uint32_t id) noexcept
{
    return guarded("RemoveFault", kFailed,
                   [&] { return Library::instance().removeFault(kind, service, id) ? kDone : kFailed; });
}

bool readAll(const char* path, std::string& bytes, std::size_t most)
{
    const Descriptor file(::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file) return false;
    bytes.resize(most + 1);
    std::size_t size = 0;
    while (size < bytes.size()) {
        const ssize_t count = ::read(file.get(), bytes.data() + size, bytes.size() - size);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return false;
        if (count == 0) break;
        size += static_cast<std::size_t>(count);
    }
    bytes.resize(size);
    return size <= most;
}

bool writeAll(const char* path, const char* text)
{
    const Descriptor file(::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NONBLOCK, 0666));
    if (!file) return false;
    for (std::size_t left = std::strlen(text); left > 0;) {
        const ssize_t count = ::write(file.get(), text, left);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        text += count;
        left -= static_cast<std::size_t>(count);
    }
    return true;
}

}  // namespace

VapntsService* vapntsNewService(const char* configurationText, const char* vclText)
{
    return guarded("vapntsNewService", static_cast<VapntsService*>(nullptr),
                   [&] { return Library::instance().create(configurationText, vclText); });
}

int vapntsInitSaveVclidCallback(VapntsService* service, VapntsSaveVclidCallback callback, void* context)
{
    return setCallback(__func__, service, &Callbacks::saveVclid, callback, context);
}

int vapntsInitPubGroup(VapntsService* service, int group, double rate)
{
    return withService(__func__, service, [&](Service& found) { return found.initGroup(group, rate); });
}

int vapntsInitTellCallback(VapntsService* service, int group, VapntsTellCallback callback, void* context)
{
    return withService(__func__, service, [&](Service& found) {
        return found.setGroupCallback(group, {callback, context});
    });
}

int vapntsInitTellClearSystemDataCallback(VapntsService* service, VapntsTellClearSystemDataCallback callback,
                                          void* context)
{
    return setCallback(__func__, service, &Callbacks::clearSystemData, callback, context);
}

int vapntsInitTellSystemConfigurationCallback(VapntsService* service, VapntsTellSystemConfigurationCallback callback,
                                              void* context)
{
    return setCallback(__func__, service, &Callbacks::systemConfiguration, callback, context);
}

int vapntsInitTellExecuteBuiltInTestsCallback(VapntsService* service, VapntsTellExecuteBuiltInTestsCallback callback,
                                              void* context, int zero)
{
    if (zero != 0) return kFailed;
    return setCallback(__func__, service, &Callbacks::executeBuiltInTests, callback, context);
}

int vapntsInitTellGetBuiltInTestResultsCallback(VapntsService* service,
                                                VapntsTellGetBuiltInTestResultsCallback callback, void* context)
{
    return setCallback(__func__, service, &Callbacks::getBuiltInTestResults, callback, context);
}

int vapntsInitTellClearBuiltInTestResultsCallback(VapntsService* service,
                                                  VapntsTellClearBuiltInTestResultsCallback callback, void* context)
{
    return setCallback(__func__, service, &Callbacks::clearBuiltInTestResults, callback, context);
}

int vapntsStartService(VapntsService* service)
{
    return guarded(__func__, kFailed, [&] { return Library::instance().start(service) ? kDone : kFailed; });
}

void vapntsDeleteService(VapntsService* service)
{
    guarded(__func__, kFailed, [&] {
        Library::instance().remove(service);
        return kDone;
    });
}

int vapntsTellBlendedNavigationData(VapntsService* service, VapntcBlendedNavigationRecord record,
                                    const VapntcTime* time)
{
    return tellRecord(__func__, service, Tell::kBlendedNavigation, record, timeOfValidity(time));
}

int vapntsTellNavWarSaData(VapntsService* service, VapntcNavWarSaRecord record, const VapntcTime* time)
{
    return tellRecord(__func__, service, Tell::kNavWarSa, record, timeOfValidity(time));
}

int vapntsTellWarningMessagesData(VapntsService* service, VapntcWarningMessagesRecord record, const VapntcTime* time)
{
    return tellRecord(__func__, service, Tell::kWarningMessages, record, timeOfValidity(time));
}

int vapntsTellSystemConfiguration(VapntsService* service, VapntcSystemConfiguration configuration)
{
    return tellRecord(__func__, service, Tell::kSystemConfiguration, configuration);
}

int vapntsTellAvailableOutputs(VapntsService* service, VapntcAvailableOutputs outputs)
{
    return tellRecord(__func__, service, Tell::kAvailableOutputs, outputs);
}

int vapntsTellAvailableSensors(VapntsService* service, VapntcAvailableSensors sensors)
{
    return tellRecord(__func__, service, Tell::kAvailableSensors, sensors);
}

int vapntsTellClearSystemData(VapntsService* service, int result)
{
    return tellValues(__func__, service, Tell::kClearSystemData, {{"result", result}});
}

int vapntsTellExecuteBuiltInTests(VapntsService* service, double expectedSeconds, const char* id)
{
    return tellValues(
        __func__, service, Tell::kExecuteBuiltInTests,
        {{"expectedSeconds", labvictory::number(expectedSeconds)}, {"id", id ? Json(id) : Json(nullptr)}});
}

int vapntsTellGetBuiltInTestResults(VapntsService* service, VapntcBitResults results)
{
    return tellRecord(__func__, service, Tell::kBuiltInTestResults, results);
}

int vapntsTellClearBuiltInTestResults(VapntsService* service, int cleared)
{
    return tellValues(__func__, service, Tell::kClearBuiltInTestResults, {{"cleared", cleared}});
}

std::uint32_t vapntsAddFault(VapntsService* service, const char* text, int acknowledged, VhlthcSeverity severity,
                             VhlthcCategory category, VhlthcAction action)
{
    const bool isThere = withService(__func__, service, [](Service&) { return true; }) == kDone;
    return isThere ? addFault("vapnts", service, text, acknowledged, severity, category, action) : 0;
}

int vapntsRemoveFault(VapntsService* service, std::uint32_t id, VhlthcAction)
{
    return withService(__func__, service, [&](Service&) { return removeFault("vapnts", service, id) == kDone; });
}

// Services of these kinds are made by others: any handle will do.
// NOLINTBEGIN(bugprone-macro-parentheses): names and types take none
#define FAULTS_OF(kind, Service)                                                                                       \
    std::uint32_t kind##AddFault(Service* service, const char* text, int acknowledged, VhlthcSeverity severity,        \
                                 VhlthcCategory category, VhlthcAction action)                                         \
    {                                                                                                                  \
        return addFault(#kind, service, text, acknowledged, severity, category, action);                               \
    }                                                                                                                  \
    int kind##RemoveFault(Service* service, std::uint32_t id, VhlthcAction)                                            \
    {                                                                                                                  \
        return removeFault(#kind, service, id);                                                                        \
    }
// NOLINTEND(bugprone-macro-parentheses)

FAULTS_OF(vgpss, VgpssService)
FAULTS_OF(vdots, VdotsService)
FAULTS_OF(vgens, VgensService)
FAULTS_OF(voris, VorisService)
FAULTS_OF(vposs, VpossService)
#undef FAULTS_OF

int vutilReadStringFromFile(const char* path, int capacity, char* buffer)
{
    if (!path || !buffer || capacity < 1) return kFailed;
    return guarded(__func__, kFailed, [&] {
        std::string bytes;
        if (!readAll(path, bytes, static_cast<std::size_t>(capacity) - 1)) return kFailed;
        if (bytes.find('\0') != std::string::npos) return kFailed;  // the text would end there
        std::memcpy(buffer, bytes.c_str(), bytes.size() + 1);
        return kDone;
    });
}

int vutilWriteStringToFile(const char* text, const char* path)
{
    return text && path && writeAll(path, text) ? kDone : kFailed;
}
