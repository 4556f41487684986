#ifndef FACE_HX_DEVMEM_H
#define FACE_HX_DEVMEM_H

#include "face/FACE_IOSS.h"
#include "face/HX_IO_Service.h"
#include "utilities/MemoryMap.h"
#include "utilities/SharedMutex.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace FACE::IOSS {

/// Registers in physical memory. Each connection is a range of it, of which the configuration tells the parameters
/// "BaseAddress" and "Size" (bytes), modulo 2^32. Opened again, it has the range that it has in the list.
/// Parameters of a connection: 0 is the base address, 1 the size, both `ulong_value`.
///
/// A range that can't be mapped is open none the less, in the state `FAILED`, and refuses reads and writes; the reason
/// is one line on the standard error. It is mapped anew only after a close.
///
/// Any thread may call. Reads and writes run beside each other, make no allocation and, while no connection is being
/// opened, closed or configured, no system call; registers themselves have no lock. The lock of the list is a leaf.
class HX_Devmem : public HX_IO_Service<Devmem::IO_Service> {
public:
    using Memory = std::function<const MemoryDeviceFileDescriptor&()>;

    /// @param memory  where ranges are mapped from; asked for at each opening, and may throw
    explicit HX_Devmem(Memory memory = &MemoryDeviceFileDescriptor::Instance);

    /// Unmaps what is open.
    ~HX_Devmem() override;
    HX_Devmem(const HX_Devmem&) = delete;
    HX_Devmem& operator=(const HX_Devmem&) = delete;

    /// `INVALID_PARAM` for a handle beyond the list, `CONNECTION_CLOSED` for a connection that is not open.
    void Close_Connection(long long handle, RETURN_CODE_TYPE::Value& return_code) override EXCLUDES(m_mutex);

    /// One load of exactly the given width. Besides what `Close_Connection` answers, `INVALID_MODE` for a range that
    /// is not mapped; `NO_ACTION`, without an access, for a width other than 8, 16, 32 and 64 bits, or an access that
    /// does not lie within the range. Alignment is not checked.
    void Read(long long handle, long long timeout, Devmem::READ_PAYLOAD_TYPE& payload,
              RETURN_CODE_TYPE::Value& return_code) override EXCLUDES(m_mutex);

    /// One store of exactly the given width, of the low bits of the value. Answers as `Read` does.
    void Write(long long handle, long long timeout, const Devmem::WRITE_PAYLOAD_TYPE& payload,
               RETURN_CODE_TYPE::Value& return_code) override EXCLUDES(m_mutex);

    /// Changes the range of a closed connection: all of the parameters, or none. `NO_ACTION` if it is open,
    /// `INVALID_PARAM` for an unknown parameter or a value of another kind.
    void Configure_Connection_Parameters(long long handle, long long timeout,
                                         const IO_PARAMETER_TRANSACTION_TYPE& parameters,
                                         RETURN_CODE_TYPE::Value& return_code) override EXCLUDES(m_mutex);

    /// Fills in the parameters that are asked for, of an open or a closed connection. `INVALID_PARAM` if one of them
    /// is unknown; the others are filled in all the same.
    void Get_Connection_Configuration(long long handle, IO_PARAMETER_TRANSACTION_TYPE& parameters,
                                      RETURN_CODE_TYPE::Value& return_code) override EXCLUDES(m_mutex);

    /// The bus has no parameters: both answer `NO_ACTION`, to any handle.
    void Configure_Bus_Parameters(long long handle, long long timeout, const IO_PARAMETER_TRANSACTION_TYPE& parameters,
                                  RETURN_CODE_TYPE::Value& return_code) override;
    void Get_Bus_Configuration(long long handle, IO_PARAMETER_TRANSACTION_TYPE& parameters,
                               RETURN_CODE_TYPE::Value& return_code) override;

    void Get_Connection_Status(long long handle, CONNECTION_STATUS_TYPE& status,
                               RETURN_CODE_TYPE::Value& return_code) override EXCLUDES(m_mutex);

    /// Always ready, also when the connection is closed.
    void Get_Bus_Status(long long handle, BUS_STATUS_TYPE& status, RETURN_CODE_TYPE::Value& return_code) override
        EXCLUDES(m_mutex);

    /// Memory does not notify: `NO_ACTION` at best.
    void Register_Notification_Event(long long handle, IO_CallbackBase& callback,
                                     RETURN_CODE_TYPE::Value& return_code) override EXCLUDES(m_mutex);
    void Unregister_Notification_Event(long long handle, RETURN_CODE_TYPE::Value& return_code) override
        EXCLUDES(m_mutex);

private:
    struct Connection_t {
        /// Maps the range. True always: what can't be mapped is open in the state `FAILED`.
        bool open(const Memory& memory);
        bool close();

        std::string name;
        CONNECTION_STATE_TYPE::Value state = CONNECTION_STATE_TYPE::CLOSED;
        std::uint32_t baseAddress = 0;
        std::uint32_t size = 0;  // bytes
        bool isOpen = false;
        std::uint8_t* base = nullptr;
        std::unique_ptr<MemoryMap> map;
    };

    std::optional<long long> find(const std::string& name) override EXCLUDES(m_mutex);
    long long append(const std::string& name, const std::vector<std::uint64_t>& numbers) override EXCLUDES(m_mutex);
    bool open(long long handle) override EXCLUDES(m_mutex);
    bool isInList(long long handle) const REQUIRES_SHARED(m_mutex);
    RETURN_CODE_TYPE::Value findOpen(long long handle) const REQUIRES_SHARED(m_mutex);
    RETURN_CODE_TYPE::Value findRegister(long long handle, std::uint32_t offset, std::uint32_t width,
                                         std::uint8_t*& address) const REQUIRES_SHARED(m_mutex);
    Connection_t& changeableAt(long long handle) REQUIRES(m_mutex);
    const Connection_t& at(long long handle) const REQUIRES_SHARED(m_mutex);

    const Memory m_memory;
    mutable SharedMutex<LockRank::Devices> m_mutex;
    std::vector<Connection_t> m_connections GUARDED_BY(m_mutex);  // a handle is an index; entries never leave
};

}  // namespace FACE::IOSS

#endif
