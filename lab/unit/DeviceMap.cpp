#include "lab/unit/DeviceMap.h"

#include "face/HX_Config.h"
#include "face/HX_Config_Helpers.h"

#include <cctype>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <stdexcept>

namespace unitsim {

using FACE::RETURN_CODE_TYPE;

namespace {

/// One container of the file, open.
class Container {
public:
    Container(const std::string& path, const std::string& name) : m_where(path + ": " + name)
    {
        RETURN_CODE_TYPE::Value rc = RETURN_CODE_TYPE::NO_ERROR;
        m_config.Initialize(path.c_str(), rc);
        if (rc != RETURN_CODE_TYPE::NO_ERROR) throw std::runtime_error(path + ": can't be read as configuration");
        m_config.Open(name.c_str(), m_handle, rc);
        m_exists = rc == RETURN_CODE_TYPE::NO_ERROR;
    }

    bool exists() const { return m_exists; }

    std::uint64_t number(const std::string& key, std::uint64_t most)
    {
        if (!m_exists) throw std::runtime_error(m_where + ": there is no such container");
        const std::string text = value(key);
        char* end = nullptr;
        errno = 0;
        const unsigned long long number = std::strtoull(text.c_str(), &end, 0);
        const bool isNumber = !text.empty() && std::isdigit(static_cast<unsigned char>(text[0])) != 0 && *end == '\0';
        if (!isNumber || errno == ERANGE || number > most)
            throw std::runtime_error(m_where + ": " + key + ": '" + text + "' is not a number from 0 to " +
                                     std::to_string(most));
        return number;
    }

private:
    std::string value(const std::string& key)
    {
        int size = 0;
        RETURN_CODE_TYPE::Value rc = RETURN_CODE_TYPE::NO_ERROR;
        m_config.Get_Size(m_handle, key.c_str(), size, rc);
        if (rc != RETURN_CODE_TYPE::NO_ERROR) throw std::runtime_error(m_where + ": " + key + " is missing");
        std::string text(static_cast<std::size_t>(size), '\0');
        int read = 0;
        m_config.Read(m_handle, key.c_str(), text.data(), size, read, rc);
        return text;
    }

    std::string m_where;
    FACE::HX_Config m_config;
    int m_handle = -1;
    bool m_exists = false;
};

RegisterBlock blockOf(Container& container, const std::string& path, const std::string& name)
{
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
    const std::uint64_t base = container.number("BaseAddress", kMost);
    const std::uint64_t size = container.number("Size", kMost);
    if (base + size > kMost + 1)
        throw std::runtime_error(path + ": " + name + ": BaseAddress and Size end beyond 32 bits");
    return {name, static_cast<std::uint32_t>(base), static_cast<std::uint32_t>(size)};
}

}  // namespace

std::uint16_t DeviceMap::port(const std::string& queue) const
{
    Container container(m_path, queue);
    return static_cast<std::uint16_t>(container.number("Port", std::numeric_limits<std::uint16_t>::max()));
}

RegisterBlock DeviceMap::block(const std::string& name) const
{
    Container container(m_path, name);
    return blockOf(container, m_path, name);
}

std::vector<RegisterBlock> DeviceMap::blocks(const std::string& stem) const
{
    std::vector<RegisterBlock> found;
    for (;;) {
        const std::string name = stem + std::to_string(found.size()) + " interface";
        Container container(m_path, name);
        if (!container.exists()) return found;
        found.push_back(blockOf(container, m_path, name));
    }
}

}  // namespace unitsim
