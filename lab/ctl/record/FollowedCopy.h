#ifndef LAB_CTL_RECORD_FOLLOWEDCOPY_H
#define LAB_CTL_RECORD_FOLLOWEDCOPY_H

#include "lab/ctl/why/CopiedFile.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

namespace orvanectl {

/// A file or named pipe that gets a copy of something, and those that come behind it at its path: one that another one takes
/// the place of is read to its end, then the other. One that has become shorter has begun anew. One thread at a time.
class FollowedCopy {
public:
    using OnBytes = std::function<void(std::span<const std::uint8_t> bytes)>;
    using OnEnd = std::function<void()>;

    /// Throws `std::runtime_error`, as `CopiedFile` does.
    /// @param onEnd  what follows is of another file, or of one that has begun anew
    FollowedCopy(std::string path, OnBytes onBytes, OnEnd onEnd);

    /// What has come since the last call, or as much of it as one call takes: true then, since there may be more.
    bool take();

private:
    bool goOver();

    const std::string m_path;
    const OnBytes m_onBytes;
    const OnEnd m_onEnd;
    std::unique_ptr<CopiedFile> m_file;
};

}  // namespace orvanectl

#endif
