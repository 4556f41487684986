#include "lab/ctl/top/Canvas.h"

#include <algorithm>

namespace orvanectl {

Canvas::Canvas(int width, int height)
    : m_width(std::clamp(width, 1, kMost)), m_height(std::clamp(height, 1, kMost)),
      m_texts(static_cast<std::size_t>(m_height), std::string(static_cast<std::size_t>(m_width), ' ')),
      m_styles(static_cast<std::size_t>(m_height), std::vector<Style>(static_cast<std::size_t>(m_width), Style::Plain))
{}

void Canvas::put(int row, int column, std::string_view text, Style style)
{
    if (row < 0 || row >= m_height) return;
    std::string& line = m_texts[static_cast<std::size_t>(row)];
    std::vector<Style>& styles = m_styles[static_cast<std::size_t>(row)];
    for (const char character : text) {
        if (column >= m_width) return;
        if (column >= 0) {
            const bool isPrintable = character >= ' ' && character <= '~';
            line[static_cast<std::size_t>(column)] = isPrintable ? character : '?';
            styles[static_cast<std::size_t>(column)] = style;
        }
        ++column;
    }
}

void Canvas::paint(int row, Style style)
{
    if (row < 0 || row >= m_height) return;
    std::ranges::fill(m_styles[static_cast<std::size_t>(row)], style);
}

std::string Canvas::plain() const
{
    std::string all;
    for (const std::string& line : m_texts) {
        const std::size_t last = line.find_last_not_of(' ');
        all += (last == std::string::npos ? "" : line.substr(0, last + 1)) + '\n';
    }
    return all;
}

}  // namespace orvanectl
