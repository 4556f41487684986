#include "lab/ctl/DecodeFormats.h"
#include "lab/ctl/DecodeReport.h"
#include "lab/ctl/Progress.h"
#include "lab/ctl/StreamCutter.h"
#include "lab/ctl/Verb.h"
#include "lab/ctl/record/RecordingQueue.h"
#include "utilities/ConsoleLine.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace orvanectl {

namespace {

constexpr std::size_t kPiece = 131072;  // what the service asks of a queue

struct DecodeArguments {
    std::string file = "-";
    std::string format = "auto";
    std::string recording;
    std::string queue;  // of the recording
    bool json = false;
};

/// A file open for reading, or standard input for "-".
class Input {
public:
    /// Throws `std::system_error`.
    explicit Input(const std::string& file) : m_isStandard(file == "-")
    {
        if (!m_isStandard) m_descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
        if (m_descriptor < 0) throw std::system_error(errno, std::generic_category());
    }
    ~Input()
    {
        if (!m_isStandard) ::close(m_descriptor);
    }
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

    /// As many bytes as there are now, one at least unless the input has ended. Throws `std::system_error`.
    std::size_t read(std::vector<std::uint8_t>& bytes) const
    {
        for (;;) {
            const ssize_t count = ::read(m_descriptor, bytes.data(), bytes.size());
            if (count >= 0) return static_cast<std::size_t>(count);
            if (errno != EINTR) throw std::system_error(errno, std::generic_category());
        }
    }

    /// " of 12", in MiB; empty for what has no size.
    std::string sizeText() const
    {
        struct stat status {};
        if (::fstat(m_descriptor, &status) != 0 || !S_ISREG(status.st_mode)) return "";
        return " of " + std::to_string(static_cast<std::uint64_t>(status.st_size) >> 20U);
    }

private:
    bool m_isStandard;
    int m_descriptor = STDIN_FILENO;
};

StreamFormat formatOf(const std::string& name)
{
    if (name == "records") return StreamFormat::Records;
    return name == "frames" ? StreamFormat::Frames : StreamFormat::Auto;
}

bool wantsColour()
{
    const char* const noColour = std::getenv("NO_COLOR");
    const char* const terminal = std::getenv("TERM");
    return ::isatty(STDOUT_FILENO) == 1 && (!noColour || *noColour == '\0') &&
           !(terminal && std::string_view(terminal) == "dumb");
}

ExitStatus decode(const DecodeArguments& options)
{
    const std::string name = options.file == "-" ? "standard input" : options.file;
    std::optional<Progress> progress;
    if (::isatty(STDOUT_FILENO) != 1) progress.emplace(STDERR_FILENO);
    DecodeReport report(std::cout, std::cerr, name,
                        {options.json, wantsColour(), progress ? &progress.value() : nullptr});
    StreamCutter cutter(formatOf(options.format), report);
    try {
        const Input input(options.file);
        std::vector<std::uint8_t> piece(kPiece);
        std::uint64_t decoded = 0;
        if (progress) progress->say("waits for something to decode");
        while (!cutter.stopped() && std::cout) {
            const std::size_t count = input.read(piece);
            if (count == 0) break;
            cutter.take(Bytes(piece).first(count));
            std::cout.flush();  // whoever follows has what there is, before more is waited for
            decoded += count;
            if (progress) progress->say("decoded " + std::to_string(decoded >> 20U) + input.sizeText() + " MiB");
        }
    } catch (const std::system_error& error) {
        progress.reset();
        printLine(std::cerr, "orvanectl: cannot read ", name, ": ", error.code().message());
        return kFailed;
    }
    if (!cutter.stopped()) cutter.end();
    progress.reset();
    const ExitStatus status = printed();
    return report.isClean() ? status : kFailed;
}

ExitStatus decodeRecording(const DecodeArguments& options)
{
    std::optional<Progress> progress;
    if (::isatty(STDOUT_FILENO) != 1) progress.emplace(STDERR_FILENO).say("reads " + printable(options.recording));
    DecodeReport report(std::cout, std::cerr, options.recording,
                        {options.json, wantsColour(), progress ? &progress.value() : nullptr});
    readQueue(options.recording, options.queue, report);
    progress.reset();
    const ExitStatus status = printed();
    return report.isClean() ? status : kFailed;
}

constexpr const char* kDecodeExamples =
    "Examples:\n"
    "  orvanectl decode queue.bin                  a paragraph for each frame\n"
    "  orvanectl decode --json frames.bin          a line of JSON for each frame\n"
    "  orvanectl decode --format frames whole.bin  search for frames from the first byte on\n"
    "  tail -c +1 -f queue.bin | orvanectl decode  follow a file that grows\n"
    "  orvanectl decode --recording queue.mcap     the queue of a recording\n"
    "\n"
    "Exit status: 0 if everything was decoded and every checksum was right, 1 if not or if FILE\n"
    "can't be read, 2 for a wrong command line.";

}  // namespace

Verb addDecodeVerb(CLI::App& tool)
{
    const auto options = std::make_shared<DecodeArguments>();
    CLI::App* const command = tool.add_subcommand(
        "decode", "Print GSSIP queue records or bare frames decoded, with their checksums verified. What can't be "
                  "decoded is reported on standard error with its offset.");
    command->footer(kDecodeExamples);
    CLI::Option* const file =
        command->add_option("FILE", options->file, "what to read; - or none for standard input")->type_name("");
    CLI::Option* const format =
        command->add_option("--format", options->format, "auto (by the first two bytes), records or frames")
            ->check(CLI::IsMember(decodeFormats()).description(""))
            ->type_name("FORMAT");
    CLI::Option* const recording =
        command->add_option("--recording", options->recording, "reads a recording in place of FILE")
            ->excludes(file)
            ->excludes(format)
            ->type_name("FILE");
    command->add_option("--queue", options->queue, "of the recording, if that has several")
        ->needs(recording)
        ->type_name("NAME");
    command->add_flag("--json", options->json, "one JSON object a line");
    return {command, [options] {
                return ended([&] { return options->recording.empty() ? decode(*options) : decodeRecording(*options); });
            }};
}

}  // namespace orvanectl
