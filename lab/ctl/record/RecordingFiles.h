#ifndef LAB_CTL_RECORD_RECORDINGFILES_H
#define LAB_CTL_RECORD_RECORDINGFILES_H

#include "lab/ctl/TopicStatistics.h"
#include "lab/ctl/record/Recorder.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

/// The files that a run writes, one behind the other. One thread at a time.
namespace orvanectl {

/// When a file is full; 0 is never.
struct SplitLimit {
    std::uint64_t bytes = 0;
    double seconds = 0;
};

/// Of a text such as "500kB", "64MB", "2GB", "90s", "10min" and "1h". Throws `std::invalid_argument`, which says so.
SplitLimit splitLimitOf(const std::string& text);

/// "drive.mcap" with a number: "drive-0001.mcap".
std::string numberedFile(const std::string& path, unsigned number);

/// What a run did not hear, by topic, since it began.
struct Unheard {
    std::map<std::string, std::uint64_t> missed;
    std::map<std::string, std::uint64_t> earlier;
};

/// One file at a time.
class RecordingFiles {
public:
    using Time = TopicStatistics::Time;
    using Begin = std::function<std::unique_ptr<Recorder>(mcap::Output&)>;

    /// @param path        of the file, or that each gets a number behind: the next of which there is no file yet
    /// @param begin       makes what writes into a file
    RecordingFiles(std::string path, bool isNumbered, Begin begin);

    /// Makes the next file. Throws `std::runtime_error` if it can't be had.
    void open(Time now);
    bool isOpen() const { return m_recorder != nullptr; }

    /// Of the file that is open.
    Recorder& recorder() { return *m_recorder; }
    double seconds(Time now) const { return std::chrono::duration<double>(now - m_opened).count(); }
    bool isFull(const SplitLimit& limit, Time now) const;

    /// Has what came so far stay.
    void settle(const Unheard& unheard);

    /// Closes it; what was unheard since the one before is written.
    void close(const Unheard& unheard);

    /// Of the latest.
    const std::string& file() const { return m_file; }

    /// Of all files; what is in one that is open not counted.
    unsigned files() const { return m_files; }
    std::uint64_t messages() const { return m_messages; }
    std::uint64_t bytes() const { return m_bytes; }
    std::uint64_t messagesUntilNow() const { return m_messages + (isOpen() ? m_recorder->statistics().messages : 0); }

private:
    void note(const Unheard& unheard);
    mcap::Table missedSince(const Unheard& unheard) const;

    const std::string m_path;
    const bool m_isNumbered;
    const Begin m_begin;
    unsigned m_number = 0;
    std::string m_file;
    Time m_opened;
    Unheard m_before;  // when the file before was closed
    std::unique_ptr<mcap::FileOutput> m_output;
    std::unique_ptr<Recorder> m_recorder;
    unsigned m_files = 0;
    std::uint64_t m_messages = 0;
    std::uint64_t m_bytes = 0;
};

}  // namespace orvanectl

#endif
