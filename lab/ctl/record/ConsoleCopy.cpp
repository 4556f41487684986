#include "lab/ctl/record/ConsoleCopy.h"

#include <array>

namespace orvanectl {

void LineCutter::take(std::span<const std::uint8_t> bytes)
{
    for (const std::uint8_t byte : bytes) {
        if (byte == '\n') {
            handOver();
            continue;
        }
        if (m_held.size() == kLongest) handOver();
        m_held += static_cast<char>(byte);
    }
}

void LineCutter::handOver()
{
    m_onLine(m_held);
    m_held.clear();
}

void LineCutter::end()
{
    if (!m_held.empty()) handOver();
}

bool ConsoleCopy::take()
{
    constexpr int kMostReads = 64;  // in one turn, of a writer that never pauses
    std::array<std::uint8_t, 65536> buffer;
    for (int i = 0; i < kMostReads; ++i) {
        const auto bytes = m_file.read(buffer);
        if (bytes.empty()) return false;
        m_cutter.take(bytes);
    }
    return true;
}

}  // namespace orvanectl
