#include "lab/ctl/record/ReadProgress.h"

namespace orvanectl {

void ReadProgress::read(std::uint64_t offset, std::span<std::uint8_t> into) const
{
    m_source.read(offset, into);
    if (!m_progress) return;
    const std::uint64_t size = m_source.size();
    const int percent =
        size == 0 ? 0 : static_cast<int>(100.0 * static_cast<double>(offset) / static_cast<double>(size));
    if (percent == m_percent) return;
    m_percent = percent;
    m_progress->say(m_what + ", " + std::to_string(percent) + " %");
}

}  // namespace orvanectl
