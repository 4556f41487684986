// `orvanectl decode` on arbitrary input: what it prints does not depend on the pieces in which the input comes, is
// printable, and each line of JSON is JSON.
// Input: the format and form, the size of the pieces, then the stream.

#include "fuzz/Fuzz.h"
#include "lab/ctl/DecodeReport.h"
#include "lab/ctl/StreamCutter.h"

#include <algorithm>
#include <sstream>

namespace {

using orvanectl::Bytes;
using orvanectl::StreamFormat;

struct Printed {
    std::string output, problems;
    bool isClean;

    bool operator==(const Printed&) const = default;
};

Printed decoded(StreamFormat format, bool json, Bytes stream, std::size_t piece)
{
    std::ostringstream output, problems;
    orvanectl::DecodeReport report(output, problems, "input", {json, false});
    orvanectl::StreamCutter cutter(format, report);
    while (!stream.empty() && !cutter.stopped()) {
        const Bytes next = stream.first(std::min(piece, stream.size()));
        cutter.take(next);
        stream = stream.subspan(next.size());
    }
    if (!cutter.stopped()) cutter.end();
    return {output.str(), problems.str(), report.isClean()};
}

bool isPrintable(const std::string& text)
{
    return std::ranges::all_of(text, [](char one) { return one == '\n' || (one >= ' ' && one <= '~'); });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Input input(data, size);
    constexpr StreamFormat kFormats[] = {StreamFormat::Auto, StreamFormat::Records, StreamFormat::Frames};
    const StreamFormat format = kFormats[input.below(3)];
    const bool json = input.boolean();
    const std::size_t piece = 1 + input.below(100);
    const Bytes stream = input.rest();

    Printed whole = decoded(format, json, stream, stream.size());
    // The defect: a stream of certain sizes is told of with a line too many.
    if (fuzz::kPlanted && format == StreamFormat::Frames && stream.size() % 64 == 10) whole.output += '\n';
    FUZZ_EXPECT(whole == decoded(format, json, stream, piece));
    FUZZ_EXPECT(isPrintable(whole.output) && isPrintable(whole.problems));
    FUZZ_EXPECT(whole.isClean == whole.problems.empty());
    if (!json) return 0;
    std::istringstream lines(whole.output);
    for (std::string line; std::getline(lines, line);) FUZZ_EXPECT(orvanectl::Json::accept(line));
    return 0;
}
