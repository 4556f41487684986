#ifndef LAB_CTL_RECORD_READPROGRESS_H
#define LAB_CTL_RECORD_READPROGRESS_H

#include "lab/ctl/Progress.h"
#include "lab/mcap/File.h"

#include <chrono>
#include <optional>
#include <string>
#include <unistd.h>
#include <utility>

namespace orvanectl {

/// A source whose reading is told on the terminal, with how far it is, once it takes long. One thread at a time.
class ReadProgress : public mcap::Source {
public:
    /// @param source  outlives this object
    /// @param what    is done, such as "reads drive.mcap"
    explicit ReadProgress(const mcap::Source& source, std::string what, int terminal = STDERR_FILENO,
                          std::chrono::milliseconds after = std::chrono::seconds(2))
        : m_source(source), m_what(std::move(what)), m_progress(std::in_place, terminal, after)
    {}

    std::uint64_t size() const override { return m_source.size(); }
    void read(std::uint64_t offset, std::span<std::uint8_t> into) const override;

    /// Tells no more from here on.
    void hide() { m_progress.reset(); }

private:
    const mcap::Source& m_source;
    const std::string m_what;
    mutable int m_percent = -1;  // as told
    mutable std::optional<Progress> m_progress;
};

}  // namespace orvanectl

#endif
