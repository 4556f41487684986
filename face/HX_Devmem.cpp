#include "face/HX_Devmem.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace FACE::IOSS {

namespace {

constexpr std::uint16_t kBaseAddressId = 0;
constexpr std::uint16_t kSizeId = 1;

/// Accesses to registers. Each is one load or store of its width, wherever it points: the sanitizers must not look at
/// alignment, nor at threads, since nothing but the hardware orders them.
#define ORVANE_REGISTER_ACCESS __attribute__((no_sanitize("alignment"), no_sanitize("thread")))

void fullBarrier()
{
    __sync_synchronize();
}

template <class Word>
ORVANE_REGISTER_ACCESS std::uint64_t load(const std::uint8_t* address)
{
    fullBarrier();
    const Word value = *reinterpret_cast<const volatile Word*>(address);
    fullBarrier();
    return value;
}

template <class Word>
ORVANE_REGISTER_ACCESS void store(std::uint8_t* address, std::uint64_t value)
{
    fullBarrier();
    *reinterpret_cast<volatile Word*>(address) = static_cast<Word>(value);
    fullBarrier();
}

// Two words must not be torn apart: on the 32-bit ARM the atomic load is one exclusive doubleword load, and the plain
// store one doubleword store, where an atomic store would be a loop that loads first.
static_assert(std::atomic<std::uint64_t>::is_always_lock_free);

template <>
ORVANE_REGISTER_ACCESS std::uint64_t load<std::uint64_t>(const std::uint8_t* address)
{
    const std::uint64_t value =
        __atomic_load_n(reinterpret_cast<const volatile std::uint64_t*>(address), __ATOMIC_RELAXED);
    fullBarrier();
    return value;
}

template <>
ORVANE_REGISTER_ACCESS void store<std::uint64_t>(std::uint8_t* address, std::uint64_t value)
{
    *reinterpret_cast<volatile std::uint64_t*>(address) = value;
}

}  // namespace

HX_Devmem::HX_Devmem(Memory memory) : HX_IO_Service({"BaseAddress", "Size"}), m_memory(std::move(memory)) {}

HX_Devmem::~HX_Devmem() = default;

std::optional<long long> HX_Devmem::find(const std::string& name)
{
    const SharedLock lock(m_mutex);
    const auto found = std::ranges::find(m_connections, name, &Connection_t::name);
    if (found == m_connections.end()) return std::nullopt;
    return found - m_connections.begin();
}

long long HX_Devmem::append(const std::string& name, const std::vector<std::uint64_t>& numbers)
{
    Connection_t connection;
    connection.name = name;
    connection.baseAddress = static_cast<std::uint32_t>(numbers.at(0));
    connection.size = static_cast<std::uint32_t>(numbers.at(1));
    const ExclusiveLock lock(m_mutex);
    m_connections.push_back(std::move(connection));
    return static_cast<long long>(m_connections.size()) - 1;
}

bool HX_Devmem::open(long long handle)
{
    const ExclusiveLock lock(m_mutex);
    Connection_t& connection = changeableAt(handle);
    return connection.isOpen || connection.open(m_memory);
}

void HX_Devmem::Close_Connection(long long handle, RETURN_CODE_TYPE::Value& return_code)
{
    const ExclusiveLock lock(m_mutex);
    return_code = findOpen(handle);
    if (return_code == RETURN_CODE_TYPE::NO_ERROR) changeableAt(handle).close();
}

void HX_Devmem::Read(long long handle, long long /*timeout*/, Devmem::READ_PAYLOAD_TYPE& payload,
                     RETURN_CODE_TYPE::Value& return_code)
{
    payload.reserved = 0;
    const SharedLock lock(m_mutex);
    std::uint8_t* address = nullptr;
    return_code = findRegister(handle, payload.offset, payload.width, address);
    if (return_code != RETURN_CODE_TYPE::NO_ERROR) return;
    switch (payload.width) {
    case 8:
        payload.value = load<std::uint8_t>(address);
        break;
    case 16:
        payload.value = load<std::uint16_t>(address);
        break;
    case 32:
        payload.value = load<std::uint32_t>(address);
        break;
    default:
        payload.value = load<std::uint64_t>(address);
    }
}

void HX_Devmem::Write(long long handle, long long /*timeout*/, const Devmem::WRITE_PAYLOAD_TYPE& payload,
                      RETURN_CODE_TYPE::Value& return_code)
{
    const SharedLock lock(m_mutex);
    std::uint8_t* address = nullptr;
    return_code = findRegister(handle, payload.offset, payload.width, address);
    if (return_code != RETURN_CODE_TYPE::NO_ERROR) return;
    switch (payload.width) {
    case 8:
        store<std::uint8_t>(address, payload.value);
        break;
    case 16:
        store<std::uint16_t>(address, payload.value);
        break;
    case 32:
        store<std::uint32_t>(address, payload.value);
        break;
    default:
        store<std::uint64_t>(address, payload.value);
    }
}

void HX_Devmem::Configure_Connection_Parameters(long long handle, long long /*timeout*/,
                                                const IO_PARAMETER_TRANSACTION_TYPE& parameters,
                                                RETURN_CODE_TYPE::Value& return_code)
{
    const ExclusiveLock lock(m_mutex);
    return_code = RETURN_CODE_TYPE::INVALID_PARAM;
    if (!isInList(handle)) return;
    Connection_t& connection = changeableAt(handle);
    return_code = RETURN_CODE_TYPE::NO_ACTION;
    if (connection.isOpen) return;

    std::uint32_t range[] = {connection.baseAddress, connection.size};
    return_code = RETURN_CODE_TYPE::NO_ERROR;
    for (std::uint32_t i = 0; i < parameters.length(); ++i) {
        const IO_PARAMETER_TYPE& parameter = parameters[i];
        if (parameter.id > kSizeId) {
            return_code = RETURN_CODE_TYPE::INVALID_PARAM;
            return;
        }
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NO_ERROR;
        parameter.value.ulong_value(range[parameter.id], code);
        if (code != RETURN_CODE_TYPE::NO_ERROR) return_code = RETURN_CODE_TYPE::INVALID_PARAM;
    }
    if (return_code != RETURN_CODE_TYPE::NO_ERROR) return;
    connection.baseAddress = range[kBaseAddressId];
    connection.size = range[kSizeId];
}

void HX_Devmem::Get_Connection_Configuration(long long handle, IO_PARAMETER_TRANSACTION_TYPE& parameters,
                                             RETURN_CODE_TYPE::Value& return_code)
{
    const SharedLock lock(m_mutex);
    return_code = RETURN_CODE_TYPE::INVALID_PARAM;
    if (!isInList(handle)) return;
    const Connection_t& connection = at(handle);
    return_code = RETURN_CODE_TYPE::NO_ERROR;
    for (std::uint32_t i = 0; i < parameters.length(); ++i) {
        IO_PARAMETER_TYPE& parameter = parameters[i];
        if (parameter.id == kBaseAddressId)
            parameter.value.ulong_value(connection.baseAddress);
        else if (parameter.id == kSizeId)
            parameter.value.ulong_value(connection.size);
        else
            return_code = RETURN_CODE_TYPE::INVALID_PARAM;
    }
}

void HX_Devmem::Configure_Bus_Parameters(long long /*handle*/, long long /*timeout*/,
                                         const IO_PARAMETER_TRANSACTION_TYPE& /*parameters*/,
                                         RETURN_CODE_TYPE::Value& return_code)
{
    return_code = RETURN_CODE_TYPE::NO_ACTION;
}

void HX_Devmem::Get_Bus_Configuration(long long /*handle*/, IO_PARAMETER_TRANSACTION_TYPE& /*parameters*/,
                                      RETURN_CODE_TYPE::Value& return_code)
{
    return_code = RETURN_CODE_TYPE::NO_ACTION;
}

void HX_Devmem::Get_Connection_Status(long long handle, CONNECTION_STATUS_TYPE& status,
                                      RETURN_CODE_TYPE::Value& return_code)
{
    const SharedLock lock(m_mutex);
    return_code = findOpen(handle);
    if (return_code == RETURN_CODE_TYPE::NO_ERROR) status = {0, 1, at(handle).state};
}

void HX_Devmem::Get_Bus_Status(long long handle, BUS_STATUS_TYPE& status, RETURN_CODE_TYPE::Value& return_code)
{
    const SharedLock lock(m_mutex);
    return_code = RETURN_CODE_TYPE::INVALID_PARAM;
    if (!isInList(handle)) return;
    status = 0;
    return_code = RETURN_CODE_TYPE::NO_ERROR;
}

void HX_Devmem::Register_Notification_Event(long long handle, IO_CallbackBase& /*callback*/,
                                            RETURN_CODE_TYPE::Value& return_code)
{
    const SharedLock lock(m_mutex);
    return_code = findOpen(handle);
    if (return_code == RETURN_CODE_TYPE::NO_ERROR) return_code = RETURN_CODE_TYPE::NO_ACTION;
}

void HX_Devmem::Unregister_Notification_Event(long long handle, RETURN_CODE_TYPE::Value& return_code)
{
    const SharedLock lock(m_mutex);
    return_code = isInList(handle) ? RETURN_CODE_TYPE::NO_ACTION : RETURN_CODE_TYPE::INVALID_PARAM;
}

bool HX_Devmem::isInList(long long handle) const
{
    return handle >= 0 && std::cmp_less(handle, m_connections.size());
}

RETURN_CODE_TYPE::Value HX_Devmem::findOpen(long long handle) const
{
    if (!isInList(handle)) return RETURN_CODE_TYPE::INVALID_PARAM;
    return at(handle).isOpen ? RETURN_CODE_TYPE::NO_ERROR : RETURN_CODE_TYPE::CONNECTION_CLOSED;
}

RETURN_CODE_TYPE::Value HX_Devmem::findRegister(long long handle, std::uint32_t offset, std::uint32_t width,
                                                std::uint8_t*& address) const
{
    const RETURN_CODE_TYPE::Value code = findOpen(handle);
    if (code != RETURN_CODE_TYPE::NO_ERROR) return code;
    const Connection_t& connection = at(handle);
    if (connection.state != CONNECTION_STATE_TYPE::OPEN) return RETURN_CODE_TYPE::INVALID_MODE;
    if (width != 8 && width != 16 && width != 32 && width != 64) return RETURN_CODE_TYPE::NO_ACTION;
    const std::uint32_t bytes = width / 8;
    if (bytes > connection.size || offset > connection.size - bytes) return RETURN_CODE_TYPE::NO_ACTION;
    address = connection.base + offset;
    return RETURN_CODE_TYPE::NO_ERROR;
}

HX_Devmem::Connection_t& HX_Devmem::changeableAt(long long handle)
{
    return m_connections[static_cast<std::size_t>(handle)];
}

const HX_Devmem::Connection_t& HX_Devmem::at(long long handle) const
{
    return m_connections[static_cast<std::size_t>(handle)];
}

bool HX_Devmem::Connection_t::open(const Memory& memory)
{
    state = CONNECTION_STATE_TYPE::OPENING;
    isOpen = true;
    guarded([&] {
        map = std::make_unique<MemoryMap>(baseAddress, size, memory());
        base = map->getPointerToBase();
    });
    state = map ? CONNECTION_STATE_TYPE::OPEN : CONNECTION_STATE_TYPE::FAILED;
    return true;
}

bool HX_Devmem::Connection_t::close()
{
    map.reset();
    state = CONNECTION_STATE_TYPE::CLOSED;
    base = nullptr;
    isOpen = false;
    return true;
}

}  // namespace FACE::IOSS
