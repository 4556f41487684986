#ifndef LAB_CTL_TOP_CANVAS_H
#define LAB_CTL_TOP_CANVAS_H

#include <string>
#include <string_view>
#include <vector>

namespace orvanectl {

/// How a cell looks. The screen decides what that is on a terminal.
enum class Style : unsigned char { Plain, Title, Heading, Selected, Good, Doubtful, Bad, Faint };

/// A screen of cells, each with a character of printable ASCII and a style. One thread at a time.
class Canvas {
public:
    /// Sizes below 1 count as 1, those above as `kMost`.
    static constexpr int kMost = 1000;

    Canvas(int width, int height);

    int width() const { return m_width; }
    int height() const { return m_height; }

    /// Writes what fits from there on; what is beyond the edges is left out. Other characters become '?'.
    void put(int row, int column, std::string_view text, Style style = Style::Plain);

    /// Gives the whole row a style.
    void paint(int row, Style style);

    /// Of a row that there is: all of its width.
    const std::string& text(int row) const { return m_texts.at(static_cast<std::size_t>(row)); }
    const std::vector<Style>& styles(int row) const { return m_styles.at(static_cast<std::size_t>(row)); }

    /// All rows, each without its trailing blanks and with an end of line.
    std::string plain() const;

private:
    int m_width;
    int m_height;
    std::vector<std::string> m_texts;
    std::vector<std::vector<Style>> m_styles;
};

}  // namespace orvanectl

#endif
