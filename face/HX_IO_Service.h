#ifndef FACE_HX_IO_SERVICE_H
#define FACE_HX_IO_SERVICE_H

#include "face/FACE_Configuration.h"
#include "face/FACE_IOSS.h"
#include "face/FACE_Injectable.h"
#include "utilities/Shielded.h"
#include "utilities/ThreadAnnotations.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace FACE::IOSS {

/// One line on the standard error: the number and the text of an exception.
/// @param what  null for an exception that has no text
void reportException(int line, const char* what);

/// Runs an operation of a service so that no exception leaves it: that is told in one line.
/// @param line  the caller's
template <class Body>
void guarded(Body&& body, int line = __builtin_LINE()) noexcept
{
    shielded(std::forward<Body>(body), [line](const char* what) { reportException(line, what); });
}

/// What the services of all buses do alike: they take their configuration, and open connections that it describes. A
/// connection's record has numbers, one for each key; they may be decimal, hexadecimal (0x20) or octal (040), and what
/// begins with no number is 0.
///
/// Any thread may call. The lock comes before those of the service and that of the configuration.
template <class Service>
class HX_IO_Service : public Service, public Configuration_Injectable::Injectable {
public:
    ~HX_IO_Service() override = default;
    HX_IO_Service(const HX_IO_Service&) = delete;
    HX_IO_Service& operator=(const HX_IO_Service&) = delete;

    void Set_Reference(const String& interface_name, const std::shared_ptr<Configuration>& reference, long long id,
                       RETURN_CODE_TYPE::Value& return_code) override EXCLUDES(m_openMutex);
    void Initialize(const String& configuration_name, RETURN_CODE_TYPE::Value& return_code) override
        EXCLUDES(m_openMutex);

    /// `NO_ACTION` if the connection can't be opened: it is known from then on, closed.
    void Open_Connection(const String& connection_name, long long timeout, long long& handle,
                         RETURN_CODE_TYPE::Value& return_code) override EXCLUDES(m_openMutex);

protected:
    /// @param keys  texts that stay; each must be there, and not empty
    explicit HX_IO_Service(std::vector<const char*> keys) : m_keys(std::move(keys)) {}

    // The list of connections is the service's. These are called by one thread at a time.

    /// The handle of the connection of that name.
    virtual std::optional<long long> find(const std::string& name) = 0;

    /// Adds a connection, closed, and gives its handle.
    /// @param numbers  of the keys, in their order
    virtual long long append(const std::string& name, const std::vector<std::uint64_t>& numbers) = 0;

    /// True if the connection is open at the end.
    virtual bool open(long long handle) = 0;

private:
    std::optional<std::vector<std::uint64_t>> described(const String& connection_name) REQUIRES(m_openMutex);

    const std::vector<const char*> m_keys;
    RankedMutex<LockRank::DeviceOpening> m_openMutex;  // one thread reads the configuration and opens
    bool m_initialized GUARDED_BY(m_openMutex) = false;
    std::shared_ptr<Configuration> m_configuration GUARDED_BY(m_openMutex);
};

extern template class HX_IO_Service<MCSQ::IO_Service>;
extern template class HX_IO_Service<Devmem::IO_Service>;

}  // namespace FACE::IOSS

#endif
