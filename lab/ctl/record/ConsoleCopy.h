#ifndef LAB_CTL_RECORD_CONSOLECOPY_H
#define LAB_CTL_RECORD_CONSOLECOPY_H

#include "lab/ctl/record/FollowedCopy.h"

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <utility>

namespace orvanectl {

/// Cuts what was printed into lines, without their ends. One thread at a time.
class LineCutter {
public:
    using OnLine = std::function<void(const std::string& line)>;

    /// A line that is longer is several.
    static constexpr std::size_t kLongest = 65536;

    explicit LineCutter(OnLine onLine) : m_onLine(std::move(onLine)) {}

    void take(std::span<const std::uint8_t> bytes);

    /// No more follows: what has no end yet is a line.
    void end();

private:
    void handOver();

    const OnLine m_onLine;
    std::string m_held;
};

/// A file or named pipe that gets what the service prints, and those that take its place.
class ConsoleCopy {
public:
    /// Throws `std::runtime_error`, as `CopiedFile` does.
    ConsoleCopy(const std::string& path, LineCutter::OnLine onLine)
        : m_cutter(std::move(onLine)),
          m_copy(
              path, [this](std::span<const std::uint8_t> bytes) { m_cutter.take(bytes); }, [this] { m_cutter.end(); })
    {}
    ConsoleCopy(const ConsoleCopy&) = delete;
    ConsoleCopy& operator=(const ConsoleCopy&) = delete;

    /// What has come since the last call, or as much of it as one call takes: true then, since there may be more.
    bool take() { return m_copy.take(); }
    void end() { m_cutter.end(); }

private:
    LineCutter m_cutter;
    FollowedCopy m_copy;
};

}  // namespace orvanectl

#endif
