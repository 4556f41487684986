#include "face/HX_IO_Service.h"

#include "face/FACE_Text.h"
#include "face/HX_Config_Helpers.h"
#include "utilities/ConsoleLine.h"

#include <cstdlib>
#include <iostream>

namespace FACE::IOSS {

namespace {

/// Closes a handle of the configuration with its scope.
class OpenRecord {
public:
    OpenRecord(Configuration& configuration, int handle) : m_configuration(configuration), m_handle(handle) {}
    ~OpenRecord()
    {
        RETURN_CODE_TYPE::Value ignored = RETURN_CODE_TYPE::NO_ERROR;
        guarded([&] { m_configuration.Close(m_handle, ignored); });
    }
    OpenRecord(const OpenRecord&) = delete;
    OpenRecord& operator=(const OpenRecord&) = delete;

private:
    Configuration& m_configuration;
    const int m_handle;
};

}  // namespace

void reportException(int line, const char* what)
{
    printLine(std::cerr, line, ' ', what ? what : "unknown exception");
}

template <class Service>
void HX_IO_Service<Service>::Set_Reference(const String& /*interface_name*/,
                                           const std::shared_ptr<Configuration>& reference, long long /*id*/,
                                           RETURN_CODE_TYPE::Value& return_code)
{
    const MutexLock lock(m_openMutex);
    return_code = RETURN_CODE_TYPE::NOT_AVAILABLE;
    if (m_configuration) return;
    return_code = RETURN_CODE_TYPE::INVALID_PARAM;
    if (!reference) return;
    m_configuration = reference;
    return_code = RETURN_CODE_TYPE::NO_ERROR;
}

template <class Service>
void HX_IO_Service<Service>::Initialize(const String& configuration_name, RETURN_CODE_TYPE::Value& return_code)
{
    return_code = RETURN_CODE_TYPE::INVALID_CONFIG;
    guarded([&] {
        const MutexLock lock(m_openMutex);
        if (!m_configuration) return;
        if (m_initialized) {
            return_code = RETURN_CODE_TYPE::NO_ACTION;
            return;
        }
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::INVALID_CONFIG;
        m_configuration->Initialize(configuration_name, code);
        if (code > RETURN_CODE_TYPE::NO_ACTION) return;
        m_initialized = true;
        return_code = RETURN_CODE_TYPE::NO_ERROR;
    });
}

template <class Service>
void HX_IO_Service<Service>::Open_Connection(const String& connection_name, long long /*timeout*/, long long& handle,
                                             RETURN_CODE_TYPE::Value& return_code)
{
    handle = -1;
    return_code = RETURN_CODE_TYPE::INVALID_CONFIG;
    guarded([&] {
        const MutexLock lock(m_openMutex);
        const std::string name = textOf(connection_name);
        std::optional<long long> index = find(name);
        if (!index) {
            const auto numbers = described(connection_name);
            if (!numbers) return;
            index = append(name, *numbers);
        }
        return_code = RETURN_CODE_TYPE::NO_ACTION;
        if (!open(*index)) return;
        handle = *index;
        return_code = RETURN_CODE_TYPE::NO_ERROR;
    });
}

/// The numbers of a connection's record; none if that or one of them is missing. All keys are looked at, since each
/// that is missing is told.
template <class Service>
std::optional<std::vector<std::uint64_t>> HX_IO_Service<Service>::described(const String& connection_name)
{
    if (!m_configuration) return std::nullopt;
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::INVALID_CONFIG;
    int record = -1;
    m_configuration->Open(connection_name, record, code);
    if (code != RETURN_CODE_TYPE::NO_ERROR) return std::nullopt;
    const OpenRecord closing(*m_configuration, record);
    std::vector<std::uint64_t> numbers;
    for (const char* key : m_keys) {
        const std::string text = HX_Config_Helpers::Details::Read_Config(*m_configuration, record, key);
        if (!text.empty()) numbers.push_back(std::strtoull(text.c_str(), nullptr, 0));
    }
    if (numbers.size() != m_keys.size()) return std::nullopt;
    return numbers;
}

template class HX_IO_Service<MCSQ::IO_Service>;
template class HX_IO_Service<Devmem::IO_Service>;

}  // namespace FACE::IOSS
