#include "VICTORY/Utilities/VictoryLibrary.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <initializer_list>
#include <limits>
#include <sys/stat.h>
#include <sys/types.h>
#include <system_error>
#include <unistd.h>

namespace VictoryLibrary {

namespace {

constexpr Answer kSuccess{0};

/// The first failure among answers, which a braced list calls for in the order of its text.
Answer firstFailure(std::initializer_list<int> answers)
{
    for (const int number : answers)
        if (const Answer answer(number); !answer.isSuccess()) return answer;
    return kSuccess;
}

/// How faults of a kind of service are raised and removed.
template <class Service>
struct Faults;

template <>
struct Faults<VpossService> {
    static constexpr auto add = &vpossAddFault;
    static constexpr auto remove = &vpossRemoveFault;
};

template <>
struct Faults<VorisService> {
    static constexpr auto add = &vorisAddFault;
    static constexpr auto remove = &vorisRemoveFault;
};

template <>
struct Faults<VdotsService> {
    static constexpr auto add = &vdotsAddFault;
    static constexpr auto remove = &vdotsRemoveFault;
};

template <>
struct Faults<VgpssService> {
    static constexpr auto add = &vgpssAddFault;
    static constexpr auto remove = &vgpssRemoveFault;
};

template <>
struct Faults<VgensService> {
    static constexpr auto add = &vgensAddFault;
    static constexpr auto remove = &vgensRemoveFault;
};

template <>
struct Faults<VapntsService> {
    static constexpr auto add = &vapntsAddFault;
    static constexpr auto remove = &vapntsRemoveFault;
};

/// An empty file beside another one, with its owner and mode. It goes with this object, unless it has taken the other's
/// place.
class Replacement {
public:
    /// @param path  without a link in it
    explicit Replacement(const std::filesystem::path& path) : m_old(path), m_new(path.string() + ".replacement")
    {
        struct stat old = {};
        if (::stat(m_old.c_str(), &old) != 0 || !S_ISREG(old.st_mode)) return;
        ::unlink(m_new.c_str());  // one that a power failure has left
        m_file = ::open(m_new.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
        if (m_file < 0) {
            m_isDiskFull = errno == ENOSPC || errno == EDQUOT;
            return;
        }
        m_isAlike = giveTo(old.st_uid, old.st_gid) && ::fchmod(m_file, old.st_mode & 07777) == 0;
    }
    ~Replacement()
    {
        if (m_file < 0) return;
        ::close(m_file);
        if (!m_hasTakenPlace) ::unlink(m_new.c_str());
    }
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    bool isDiskFull() const { return m_isDiskFull; }
    bool isUsable() const { return m_file >= 0 && m_isAlike; }
    std::string path() const { return m_new.string(); }

    /// Has what was written to it reach the disk. A file system that has no such order does without.
    bool synchronize() const
    {
        if (::fsync(m_file) == 0) return true;
        return errno == EINVAL || errno == ENOSYS || errno == ENOTSUP || errno == EROFS;
    }

    /// False with `errno` if it can't.
    bool takePlace()
    {
        m_hasTakenPlace = std::rename(m_new.c_str(), m_old.c_str()) == 0;
        if (!m_hasTakenPlace) return false;
        const int folder = ::open(m_old.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (folder >= 0) {
            ::fsync(folder);
            ::close(folder);
        }
        return true;
    }

private:
    /// Changes the owner only if it is another one: a service manager may refuse the call altogether.
    bool giveTo(uid_t user, gid_t group) const
    {
        struct stat made = {};
        if (::fstat(m_file, &made) == 0 && made.st_uid == user && made.st_gid == group) return true;
        return ::fchown(m_file, user, group) == 0;
    }

    const std::filesystem::path m_old;
    const std::filesystem::path m_new;
    int m_file = -1;
    bool m_isDiskFull = false;
    bool m_isAlike = false;
    bool m_hasTakenPlace = false;
};

}  // namespace

VapntsService* newService(const char* configurationText, const char* vclText)
{
    return vapntsNewService(configurationText, vclText);
}

Answer setUp(VapntsService* service, const ServiceCallbacks& callbacks, void* context, double publicationRate)
{
    return firstFailure(
        {vapntsInitSaveVclidCallback(service, callbacks.saveVclid, context),
         vapntsInitPubGroup(service, VAPNTS_PUB_GROUP_BLENDED_NAVIGATION, publicationRate),
         vapntsInitPubGroup(service, VAPNTS_PUB_GROUP_WARNING_MESSAGES, publicationRate),
         vapntsInitPubGroup(service, VAPNTS_PUB_GROUP_NAVWAR_SA, publicationRate),
         vapntsInitTellCallback(service, VAPNTS_PUB_GROUP_NAVWAR_SA, callbacks.tellNavWarSa, context),
         vapntsInitTellCallback(service, VAPNTS_PUB_GROUP_WARNING_MESSAGES, callbacks.tellWarningMessages, context),
         vapntsInitTellClearSystemDataCallback(service, callbacks.clearSystemData, context),
         vapntsInitTellSystemConfigurationCallback(service, callbacks.tellSystemConfiguration, context)});
}

Answer setUpBuiltInTests(VapntsService* service, const BuiltInTestCallbacks& callbacks, void* context)
{
    return firstFailure({vapntsInitTellExecuteBuiltInTestsCallback(service, callbacks.execute, context, 0),
                         vapntsInitTellGetBuiltInTestResultsCallback(service, callbacks.getResults, context),
                         vapntsInitTellClearBuiltInTestResultsCallback(service, callbacks.clearResults, context)});
}

Answer startService(VapntsService* service)
{
    return Answer(vapntsStartService(service));
}

void deleteService(VapntsService* service)
{
    vapntsDeleteService(service);
}

Answer tell(VapntsService* service, const VapntcBlendedNavigationRecord& record, const VapntcTime* time)
{
    return Answer(vapntsTellBlendedNavigationData(service, record, time));
}

Answer tell(VapntsService* service, const VapntcNavWarSaRecord& record, const VapntcTime* time)
{
    return Answer(vapntsTellNavWarSaData(service, record, time));
}

Answer tell(VapntsService* service, const VapntcWarningMessagesRecord& record, const VapntcTime* time)
{
    return Answer(vapntsTellWarningMessagesData(service, record, time));
}

Answer tell(VapntsService* service, const VapntcSystemConfiguration& configuration)
{
    return Answer(vapntsTellSystemConfiguration(service, configuration));
}

Answer tell(VapntsService* service, const VapntcAvailableOutputs& outputs)
{
    return Answer(vapntsTellAvailableOutputs(service, outputs));
}

Answer tell(VapntsService* service, const VapntcAvailableSensors& sensors)
{
    return Answer(vapntsTellAvailableSensors(service, sensors));
}

Answer tell(VapntsService* service, const VapntcBitResults& results)
{
    return Answer(vapntsTellGetBuiltInTestResults(service, results));
}

Answer tellClearRequestTaken(VapntsService* service)
{
    return Answer(vapntsTellClearSystemData(service, 0));
}

Answer tellBuiltInTestTaken(VapntsService* service, double expectedSeconds, const std::string& id)
{
    return Answer(vapntsTellExecuteBuiltInTests(service, expectedSeconds, id.c_str()));
}

Answer tellBuiltInTestRefused(VapntsService* service)
{
    return Answer(vapntsTellExecuteBuiltInTests(service, 0.0, ""));
}

Answer tellBuiltInTestsCleared(VapntsService* service, bool areCleared)
{
    return Answer(vapntsTellClearBuiltInTestResults(service, areCleared));
}

std::uint32_t addFault(const FaultService& service, const Fault& fault)
{
    return std::visit(
        [&]<class Service>(Service* handle) {
            return Faults<Service>::add(handle, fault.text, fault.isAcknowledged, fault.severity, fault.category,
                                        fault.action);
        },
        service);
}

Answer removeFault(const FaultService& service, std::uint32_t id, VhlthcAction action)
{
    return std::visit(
        [&]<class Service>(Service* handle) { return Answer(Faults<Service>::remove(handle, id, action)); }, service);
}

Answer readTextFile(const std::string& path, std::span<char> buffer)
{
    constexpr std::size_t kMost = std::numeric_limits<int>::max();
    return Answer(
        vutilReadStringFromFile(path.c_str(), static_cast<int>(std::min(buffer.size(), kMost)), buffer.data()));
}

Answer writeTextFile(const char* text, const std::string& path)
{
    return Answer(vutilWriteStringToFile(text, path.c_str()));
}

Answer replaceTextFile(const char* text, const std::string& path)
{
    constexpr Answer kOldStays{1};
    std::error_code error;
    const auto target = std::filesystem::canonical(path, error);
    if (error == std::errc::no_such_file_or_directory) return writeTextFile(text, path);
    if (error) return kOldStays;
    Replacement replacement(target);
    if (replacement.isDiskFull()) return kOldStays;  // to write in place would begin by emptying the file
    if (!replacement.isUsable()) return writeTextFile(text, path);
    const auto answer = writeTextFile(text, replacement.path());
    if (!answer.isSuccess()) return answer;
    if (!replacement.synchronize()) return kOldStays;
    if (replacement.takePlace()) return kSuccess;
    // Where it can never take the place, such as that of a file that is mounted by itself. Else the disk has failed.
    const bool isForbidden = errno == EBUSY || errno == EXDEV || errno == EPERM || errno == EACCES || errno == EROFS;
    return isForbidden ? writeTextFile(text, path) : kOldStays;
}

}  // namespace VictoryLibrary
