#include "lab/ctl/serve/FrameBoard.h"

#include <algorithm>

namespace orvanectl {

void FrameBoard::publish(const Sections& sections)
{
    {
        const MutexLock lock(m_mutex);
        ++m_number;
        for (const auto& [name, json] : sections) {
            const auto found = std::ranges::find(m_sections, name, &Section::name);
            if (found == m_sections.end()) {
                m_sections.push_back({name, std::make_shared<const std::string>(json), m_number});
            } else if (*found->json != json) {
                found->json = std::make_shared<const std::string>(json);
                found->changed = m_number;
            }
        }
    }
    m_wake.notify_all();
}

std::optional<FrameBoard::Frame> FrameBoard::next(std::uint64_t seen)
{
    Frame frame{};
    std::vector<Section> changed;
    {
        const MutexLock lock(m_mutex);
        while (!m_isClosed && m_number <= seen) m_wake.wait(m_mutex);
        if (m_isClosed) return std::nullopt;
        frame.number = m_number;
        for (const Section& section : m_sections)
            if (section.changed > seen) changed.push_back(section);
    }
    for (const Section& section : changed)
        frame.text += (frame.text.empty() ? "{\"" : ",\"") + section.name + "\":" + *section.json;
    frame.text += frame.text.empty() ? "{}" : "}";
    return frame;
}

void FrameBoard::close()
{
    {
        const MutexLock lock(m_mutex);
        m_isClosed = true;
    }
    m_wake.notify_all();
}

}  // namespace orvanectl
