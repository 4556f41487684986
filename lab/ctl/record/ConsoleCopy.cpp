#include "lab/ctl/record/ConsoleCopy.h"

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

}  // namespace orvanectl
