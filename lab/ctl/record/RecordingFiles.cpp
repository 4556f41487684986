#include "lab/ctl/record/RecordingFiles.h"

#include "lab/ctl/FrameDecoder.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string_view>

namespace orvanectl {

namespace {

constexpr unsigned kLastNumber = 999'999;

struct Unit {
    std::string_view name;
    std::uint64_t bytes;
    std::uint64_t seconds;
};

constexpr Unit kUnits[] = {{"kB", 1000, 0}, {"MB", 1'000'000, 0}, {"GB", 1'000'000'000, 0},
                           {"s", 0, 1},     {"min", 0, 60},       {"h", 0, 3600}};

/// What has been added since.
mcap::Table since(const std::map<std::string, std::uint64_t>& now, const std::map<std::string, std::uint64_t>& before,
                  bool withNone)
{
    mcap::Table table;
    for (const auto& [topic, count] : now) {
        const auto known = before.find(topic);
        const std::uint64_t added = count - (known == before.end() ? 0 : std::min(known->second, count));
        if (added > 0 || withNone) table[topic] = std::to_string(added);
    }
    return table;
}

}  // namespace

SplitLimit splitLimitOf(const std::string& text)
{
    constexpr std::uint64_t kMost = 1'000'000;
    std::uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, number);
    const std::string_view rest(read.ptr, static_cast<std::size_t>(end - read.ptr));
    for (const Unit& unit : kUnits)
        if (read.ec == std::errc() && number > 0 && number <= kMost && rest == unit.name)
            return {number * unit.bytes, static_cast<double>(number * unit.seconds)};
    throw std::invalid_argument(printable(text) +
                                " is no size and no time; such are 64MB (kB, MB, GB) and 10min (s, min, h)");
}

std::string numberedFile(const std::string& path, unsigned number)
{
    char text[16];
    std::snprintf(text, sizeof text, "-%04u", number);
    const std::filesystem::path whole(path);
    const std::filesystem::path name = whole.stem().string() + text + whole.extension().string();
    return (whole.parent_path() / name).string();
}

RecordingFiles::RecordingFiles(std::string path, bool isNumbered, Begin begin)
    : m_path(std::move(path)), m_isNumbered(isNumbered), m_begin(std::move(begin))
{}

void RecordingFiles::open(Time now)
{
    m_file = m_path;
    if (m_isNumbered) do {
            if (m_number == kLastNumber) throw std::runtime_error(m_path + ": there are too many files of it");
            m_file = numberedFile(m_path, ++m_number);
        } while (std::filesystem::exists(std::filesystem::symlink_status(m_file)));
    m_output = std::make_unique<mcap::FileOutput>(m_file);
    m_recorder = m_begin(*m_output);
    m_opened = now;
    ++m_files;
}

bool RecordingFiles::isFull(const SplitLimit& limit, Time now) const
{
    // What stands first in a file may be more than that.
    const bool hasSize = m_recorder->statistics().chunks > 0 && m_recorder->size() >= limit.bytes;
    return (limit.bytes > 0 && hasSize) || (limit.seconds > 0 && seconds(now) >= limit.seconds);
}

mcap::Table RecordingFiles::missedSince(const Unheard& unheard) const
{
    return since(unheard.missed, m_before.missed, true);
}

void RecordingFiles::note(const Unheard& unheard)
{
    m_recorder->noteEarlier(since(unheard.earlier, m_before.earlier, false));
}

void RecordingFiles::settle(const Unheard& unheard)
{
    note(unheard);
    m_recorder->settle(missedSince(unheard));
}

void RecordingFiles::close(const Unheard& unheard)
{
    note(unheard);
    m_recorder->close(missedSince(unheard));
    m_output->sync();
    m_messages += m_recorder->statistics().messages;
    m_bytes += m_recorder->size();
    m_before = unheard;
    m_recorder.reset();
    m_output.reset();
}

}  // namespace orvanectl
