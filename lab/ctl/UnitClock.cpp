#include "lab/ctl/UnitClock.h"

#include "face/HX_Config.h"
#include "platform/FpgaRegisters.h"

#include <memory>
#include <stdexcept>

namespace orvanectl {

using FACE::RETURN_CODE_TYPE;

namespace {

constexpr const char* kBlock = "TimeStamp_Interface";
constexpr long long kNoTimeout = -1;

}  // namespace

UnitClock::UnitClock(const std::string& devices) : m_file(devices)
{
    auto code = RETURN_CODE_TYPE::NO_ERROR;
    m_memory.Set_Reference("", std::make_shared<FACE::HX_Config>(), 0, code);
    m_memory.Initialize(devices.c_str(), code);
    if (code != RETURN_CODE_TYPE::NO_ERROR) throw std::runtime_error(devices + ": can't be read");
    m_memory.Open_Connection(kBlock, kNoTimeout, m_handle, code);
    if (code != RETURN_CODE_TYPE::NO_ERROR)
        throw std::runtime_error(devices + ": no " + kBlock + " with BaseAddress and Size");
    static_cast<void>(ticks());
}

std::uint64_t UnitClock::ticks()
{
    FACE::IOSS::Devmem::READ_PAYLOAD_TYPE payload;
    payload.offset = FpgaRegisters::kSystemCount.offset;
    payload.width = FpgaRegisters::kSystemCount.width;
    auto code = RETURN_CODE_TYPE::NO_ERROR;
    m_memory.Read(m_handle, kNoTimeout, payload, code);
    if (code != RETURN_CODE_TYPE::NO_ERROR)
        throw std::runtime_error(m_file + ": " + kBlock + ": the unit's time can't be read from /dev/mem");
    return payload.value;
}

}  // namespace orvanectl
