#include "lab/ctl/check/Checks.h"
#include "platform/FpgaRegisters.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <sys/stat.h>
#include <unistd.h>

namespace orvanectl {

namespace {

using FpgaRegisters::Block;
using Kind = KeyRule::Kind;

constexpr KeyRule kQueueKeys[] = {{"Port", Kind::Number, 0, 65535, "the number of the queue; 5 is /dev/mcs5"}};
constexpr KeyRule kBlockKeys[] = {
    {"BaseAddress", Kind::Number, 0, 0xFFFFFFFF, "the physical address of the registers"},
    {"Size", Kind::Number, 1, 0xFFFFFFFF, "how many bytes the registers take"},
};

constexpr std::uint32_t kRegisterBytes = 4;
constexpr const char* kNotAligned = " is no multiple of 4, which the registers are aligned to";

constexpr const char* kQueues[] = {"ZEN_HX", "HX_ZEN"};

/// A register block of the service, and the bytes that are read in it: at the start, and ever.
struct NeededBlock {
    const char* name;
    std::uint32_t atStart;
    std::uint32_t ever;
};

constexpr std::uint32_t endOf(const FpgaRegisters::Register& entry, std::uint32_t lastIndex = 0)
{
    return entry.offset + entry.stride * lastIndex + entry.width / 8;
}

constexpr NeededBlock kBlocks[] = {
    {"Processor_Interface", 0, endOf(FpgaRegisters::kRevision)},
    {"Peripheral_Interface", 0, endOf(FpgaRegisters::kPeriphControl)},
    {"TimeStamp_Interface", endOf(FpgaRegisters::kPeriphs), endOf(FpgaRegisters::kSystemCount)},
    {"PpsSlave_Interface", 0, endOf(FpgaRegisters::kPpsSlaveControl, 8)},
    {"PtpClock_Interface", 0, endOf(FpgaRegisters::kPtpClockControl, 29)},
};
static_assert(endOf(FpgaRegisters::kPeriphs) == 40 && endOf(FpgaRegisters::kSystemCount) == 136);

constexpr std::uint32_t kPtfeBytes = endOf(FpgaRegisters::kPtfeSetup288);
constexpr std::uint32_t kPulseGenBytes = endOf(FpgaRegisters::kPulseExtPhase);

/// A range of addresses that a container describes.
struct Range {
    std::uint64_t begin;
    std::uint64_t end;  // behind the last byte
    const ConfigContainer* container;
};

std::uint32_t numberOf(const ConfigContainer& container, const char* key)
{
    return static_cast<std::uint32_t>(std::strtoull(container.textOf(key).c_str(), nullptr, 0));
}

void checkQueue(const ConfigText& text, const char* name, bool looksAtMachine, Findings& findings)
{
    const ConfigContainer* const queue = text.find(name);
    if (!queue) {
        std::vector<std::string> names;
        for (const ConfigContainer& container : text.containers) names.push_back(container.name);
        return findings.fail(0, name, "the queue is missing" + suggestion(name, names));
    }
    checkKeys(*queue, kQueueKeys, findings);
    const ConfigKey* const port = queue->find("Port");
    if (!looksAtMachine || !port || port->text.empty()) return;
    const std::string device = "/dev/mcs" + std::to_string(static_cast<std::uint16_t>(numberOf(*queue, "Port")));
    if (::access(device.c_str(), R_OK | W_OK) != 0)
        findings.fail(port->line, queue->name + "/Port", device + " can't be read and written on this machine");
}

/// @param atStart  bytes that are read at the start, without which the service ends
/// @param missing  what a missing key is
void checkBlock(const ConfigContainer& block, std::uint32_t atStart, std::uint32_t ever, Findings& findings,
                Severity missing = Severity::Error)
{
    checkKeys(block, kBlockKeys, findings, missing);
    if (block.textOf("BaseAddress").empty() || block.textOf("Size").empty()) return;
    const std::uint64_t base = numberOf(block, "BaseAddress"), size = numberOf(block, "Size");
    const int line = block.find("Size")->line;
    const std::string place = block.name + "/Size";
    if (size < atStart)
        findings.fail(line, place,
                      std::to_string(size) + " bytes are too few; the service reads " + std::to_string(atStart) +
                          " of them at its start");
    else if (size < ever)
        findings.warn(line, place,
                      std::to_string(size) + " bytes are too few for registers that reach to byte " +
                          std::to_string(ever));
    else if (size % kRegisterBytes != 0)
        findings.warn(line, place, block.textOf("Size") + kNotAligned);
    if (base % kRegisterBytes != 0)
        findings.warn(block.find("BaseAddress")->line, block.name + "/BaseAddress",
                      block.textOf("BaseAddress") + kNotAligned);
    if (base + size > std::uint64_t{1} << 32)
        findings.warn(line, place,
                      "the block ends beyond the address space of 32 bits; its end is to be 0x100000000 at the most");
}

void checkOverlaps(const ConfigText& text, Findings& findings)
{
    std::vector<Range> ranges;
    for (const ConfigContainer& container : text.containers) {
        if (container.name.empty() || container.textOf("BaseAddress").empty() || container.textOf("Size").empty())
            continue;
        const std::uint64_t begin = numberOf(container, "BaseAddress");
        ranges.push_back({begin, begin + numberOf(container, "Size"), &container});
    }
    std::ranges::stable_sort(ranges, {}, &Range::begin);
    const Range* widest = nullptr;
    for (const Range& range : ranges) {
        if (widest && range.begin < widest->end && range.end > range.begin)
            findings.warn(range.container->line, range.container->name,
                          "the block overlaps " + widest->container->name + " of line " +
                              std::to_string(widest->container->line) + "; each has addresses of its own");
        if (!widest || range.end > widest->end) widest = &range;
    }
}

void checkPorts(const ConfigText& text, Findings& findings)
{
    std::map<std::uint16_t, const ConfigContainer*> ports;
    for (const ConfigContainer& container : text.containers) {
        const ConfigKey* const key = container.find("Port");
        if (container.name.empty() || !key || key->text.empty()) continue;
        const auto port = static_cast<std::uint16_t>(numberOf(container, "Port"));
        const auto [first, isNew] = ports.try_emplace(port, &container);
        if (!isNew)
            findings.warn(key->line, container.name + "/Port",
                          std::to_string(port) + " is the port of " + first->second->name +
                              ", too; each queue has its own");
    }
}

/// Blocks of which there is one for each index, as many as the hardware tells: whether one that can't be opened keeps
/// the service from starting is known to nobody but it.
/// @return how many there are from the first one on
std::size_t checkNumbered(const ConfigText& text, const std::string& stem, std::uint32_t bytes, Findings& findings)
{
    std::size_t present = 0;
    while (const ConfigContainer* const block = text.find(stem + std::to_string(present) + " interface")) {
        checkBlock(*block, 0, bytes, findings, Severity::Warning);
        ++present;
    }
    for (const ConfigContainer& container : text.containers) {
        if (!container.name.starts_with(stem) || !container.name.ends_with(" interface")) continue;
        const std::string index = container.name.substr(stem.size(), container.name.size() - stem.size() - 10);
        char* end = nullptr;
        const unsigned long long number = std::strtoull(index.c_str(), &end, 10);
        const bool isIndex = !index.empty() && *end == '\0' && std::to_string(number) == index;
        if (!isIndex || number >= present)
            findings.warn(container.line, container.name,
                          "there is no " + stem + std::to_string(present) +
                              " interface, so that this one is never opened");
    }
    return present;
}

}  // namespace

void checkDevices(const std::string& path, bool looksAtMachine, Findings& findings)
{
    const auto text = readConfigText(path, findings);
    if (!text) return;
    for (const char* queue : kQueues) checkQueue(*text, queue, looksAtMachine, findings);
    checkPorts(*text, findings);
    for (const NeededBlock& needed : kBlocks) {
        if (const ConfigContainer* const block = text->find(needed.name)) {
            checkBlock(*block, needed.atStart, needed.ever, findings);
            continue;
        }
        std::vector<std::string> names;
        for (const ConfigContainer& container : text->containers) names.push_back(container.name);
        findings.fail(0, needed.name, "the register block is missing" + suggestion(needed.name, names));
    }
    const std::size_t ptfes = checkNumbered(*text, "Ptfe_Interface", kPtfeBytes, findings);
    const std::size_t pulseGens = checkNumbered(*text, "PulseGen_Interface", kPulseGenBytes, findings);
    if (ptfes != pulseGens)
        findings.warn(0, "Ptfe_Interface",
                      "there are " + std::to_string(ptfes) + " of these and " + std::to_string(pulseGens) +
                          " of PulseGen_Interface; the service opens as many of both as the FPGA has of the first");
    if (looksAtMachine && ::access("/dev/mem", R_OK | W_OK) != 0)
        findings.fail(0, "/dev/mem", "can't be read and written on this machine, so that there are no registers");
    checkOverlaps(*text, findings);
}

}  // namespace orvanectl
