#ifndef LAB_UNIT_DEVICEMAP_H
#define LAB_UNIT_DEVICEMAP_H

#include <cstdint>
#include <string>
#include <vector>

namespace unitsim {

/// A range of physical addresses.
struct RegisterBlock {
    std::string name;
    std::uint32_t base = 0;
    std::uint32_t size = 0;  // bytes
};

/// What the IO devices file of the unit says of queues and registers. One thread at a time.
///
/// What is missing or wrong throws `std::runtime_error` that names the file, the container, the key and the value.
class DeviceMap {
public:
    explicit DeviceMap(const std::string& path) : m_path(path) {}

    /// The number of a queue, from its "Port".
    std::uint16_t port(const std::string& queue) const;

    /// A register block, from its "BaseAddress" and "Size", each of which must end within 32 bits.
    RegisterBlock block(const std::string& name) const;

    /// The blocks of the PTFEs, or pulse generators, from index 0 up to the first that is missing.
    std::vector<RegisterBlock> blocks(const std::string& stem) const;

private:
    std::string m_path;
};

}  // namespace unitsim

#endif
