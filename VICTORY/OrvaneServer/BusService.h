#ifndef VICTORY_ORVANESERVER_BUSSERVICE_H
#define VICTORY_ORVANESERVER_BUSSERVICE_H

#include "VICTORY/OrvaneServer/ServerSettings.h"
#include "VICTORY/libvictory/victory.h"
#include "utilities/SharedMutex.h"
#include "utilities/ThreadAnnotations.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <string>

/// The life of the bus library's service, which is made of two texts:
///
///     none --start--> started --stop--> none        restart: started, or none, --> none --> started
///
/// Any thread may call. Starts and ends follow each other under the life cycle's lock, which is held over all that the
/// library and the owner do meanwhile, and while the end waits for the library's call-backs: none of these may start,
/// stop or restart. Whoever calls the service from outside its call-backs does so through `whileStarted` or
/// `whileHeld`. The lock of the VCL file comes behind that of the life cycle; only the reading and writing of the file
/// happens under it, so that a call-back may save while the service is being ended.
class BusService {
public:
    /// What the owner does at a start, within the life cycle's lock. What it throws fails the start.
    struct Owner {
        std::function<void()> redirectOutput;       ///< at each start, also of a service that runs
        std::function<bool()> prepare;              ///< before a service is made; its answer is that of the start
        std::function<void(VapntsService*)> equip;  ///< call-backs and first data of a service that is not started yet
    };

    /// @param settings  must outlive this
    BusService(const ServerSettings& settings, Owner owner);
    BusService(const BusService&) = delete;
    BusService& operator=(const BusService&) = delete;

    /// Starts the service, with the VCL text or, for null, with that of the file. False, with an event, if there is
    /// none then; else the answer of the owner's preparation. True at once if it runs already.
    bool start(const char* vclText) EXCLUDES(m_lifeCycleMutex, m_serviceGate, m_vclFileMutex);

    /// Ends the service, and waits for its call-backs; false if it doesn't run.
    bool stop() EXCLUDES(m_lifeCycleMutex, m_serviceGate);

    /// Ends the service, if it runs, and starts it with another period of Blended Navigation and NavWar awareness, in
    /// ms. The VCL file stays as it is. False, with nothing done but a console line, for less than 1000; else true, also
    /// when the start fails, as an event tells then.
    bool restart(unsigned long periodMs) EXCLUDES(m_lifeCycleMutex, m_serviceGate, m_vclFileMutex);

    /// Replaces the VCL file; false if it stays, or for null. A call-back of the library may call this.
    bool saveVcl(const char* vclText) EXCLUDES(m_vclFileMutex);

    bool isStarted() const { return m_victoryStarted; }

    /// The latest service, null until the first start. It is not cleared by the end.
    VapntsService* service() const { return m_service; }

    /// Counts the starts.
    std::uint32_t generation() const { return m_victoryGeneration; }

    /// Calls `call` with the service, and lets nobody end it meanwhile; false, and no call, if it doesn't run.
    template <class Call>
    bool whileStarted(Call&& call) EXCLUDES(m_serviceGate)
    {
        const SharedLock gate(m_serviceGate);
        if (!m_victoryStarted) return false;
        call(m_service.load());
        return true;
    }

    /// The same with null for a service that doesn't run.
    template <class Call>
    void whileHeld(Call&& call) EXCLUDES(m_serviceGate)
    {
        const SharedLock gate(m_serviceGate);
        call(m_victoryStarted ? m_service.load() : nullptr);
    }

private:
    /// As `start`, `stop` and the start of a library's service in them: whether they have done it.
    bool startVictory(const char* vclText) REQUIRES(m_lifeCycleMutex) EXCLUDES(m_serviceGate, m_vclFileMutex);
    bool shutdownVictory() REQUIRES(m_lifeCycleMutex) EXCLUDES(m_serviceGate);
    bool startService(const char* vclText) REQUIRES(m_lifeCycleMutex) EXCLUDES(m_vclFileMutex);

    /// Makes the service of its texts; null, as the library's answer is, if they can't be read.
    VapntsService* makeService(const char* vclText) REQUIRES(m_lifeCycleMutex) EXCLUDES(m_vclFileMutex);

    /// The text of the VCL file with another period.
    std::string vclTextWithPeriod(unsigned long periodMs) EXCLUDES(m_vclFileMutex);

    void discardService() REQUIRES(m_lifeCycleMutex) EXCLUDES(m_serviceGate);
    void deleteService(const char* caller) REQUIRES(m_lifeCycleMutex) EXCLUDES(m_serviceGate);

    const ServerSettings& m_settings;
    const Owner m_owner;

    RankedMutex<LockRank::LifeCycle>
        m_lifeCycleMutex;  // never in a call-back of the library: the end of the service waits for those
    SharedMutex<LockRank::Gate> m_serviceGate;
    RankedMutex<LockRank::VclFile> m_vclFileMutex;
    std::atomic<VapntsService*> m_service = nullptr;
    std::atomic<bool> m_victoryStarted = false;
    bool m_hasService GUARDED_BY(m_lifeCycleMutex) = false;  // m_service is made, and not deleted yet
    std::atomic<std::uint32_t> m_victoryGeneration = 0;

    // The texts stay as they are until the service that was made of them has been deleted.
    std::array<char, 65536> m_victoryConfigurationText GUARDED_BY(m_lifeCycleMutex) = {};
    std::array<char, 65536> m_vclText GUARDED_BY(m_lifeCycleMutex) = {};
    std::string m_updatedVclText GUARDED_BY(m_lifeCycleMutex);  // that the service was restarted with
};

#endif
