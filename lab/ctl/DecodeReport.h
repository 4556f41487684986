#ifndef LAB_CTL_DECODEREPORT_H
#define LAB_CTL_DECODEREPORT_H

#include "lab/ctl/FieldSink.h"
#include "lab/ctl/FrameDecoder.h"
#include "lab/ctl/StreamCutter.h"

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace orvanectl {

class Progress;

/// Prints what is found in a stream: a paragraph or a line of JSON for each frame, and a line for each problem. What is
/// printed is flushed before a problem; else the caller does that when nothing more is there, so that a reader can follow.
/// One thread at a time.
class DecodeReport : public StreamSink {
public:
    struct Style {
        bool json = false;
        bool colour = false;
        Progress* progress = nullptr;  ///< makes room for problems
    };

    /// @param input  the stream's name in the problems
    DecodeReport(std::ostream& output, std::ostream& problems, std::string input, Style style)
        : m_output(output), m_problems(problems), m_input(std::move(input)), m_style(style)
    {}

    void frame(std::uint64_t offset, Bytes bytes) override;
    void record(std::uint64_t offset, const aspn2_msgs::idl::GSSIP& record) override;
    void problem(std::uint64_t offset, const std::string& what) override;
    void resumed(std::uint64_t offset, std::uint64_t skippedBytes) override;

    /// Everything so far could be decoded and had right checksums.
    bool isClean() const { return m_clean; }

private:
    /// @param record  that the frame came in; null if it came alone
    void print(std::uint64_t offset, const aspn2_msgs::idl::GSSIP* record, Bytes frame);
    std::vector<std::string> printLine(std::uint64_t offset, const aspn2_msgs::idl::GSSIP* record, Bytes frame);
    std::vector<std::string> printParagraph(std::uint64_t offset, const aspn2_msgs::idl::GSSIP* record, Bytes frame);
    void complain(std::uint64_t offset, const std::string& text);

    std::ostream& m_output;
    std::ostream& m_problems;
    const std::string m_input;
    const Style m_style;
    JsonLine m_line;
    bool m_clean = true;
};

}  // namespace orvanectl

#endif
