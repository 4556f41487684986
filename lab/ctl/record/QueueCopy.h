#ifndef LAB_CTL_RECORD_QUEUECOPY_H
#define LAB_CTL_RECORD_QUEUECOPY_H

#include "lab/ctl/StreamCutter.h"
#include "lab/ctl/record/FollowedCopy.h"

#include <functional>
#include <memory>
#include <string>

namespace orvanectl {

/// Cuts what a queue has carried into its records and what is none, without changing a byte of it: what is handed over is
/// the stream, in its order, of which no more is held than two records and the last piece. Where the way is lost it is
/// looked for in the next piece, as the service does. One thread at a time.
class QueueCutter : private StreamSink {
public:
    using OnRecord = std::function<void(Bytes record, std::int64_t number)>;
    using OnRest = std::function<void(Bytes bytes)>;

    QueueCutter(OnRecord onRecord, OnRest onRest) : m_onRecord(std::move(onRecord)), m_onRest(std::move(onRest)) {}

    void take(Bytes bytes);

    /// No more bytes follow: what is held is no record.
    void end();

private:
    void frame(std::uint64_t, Bytes) override {}
    void record(std::uint64_t offset, const aspn2_msgs::idl::GSSIP& record) override;
    void problem(std::uint64_t offset, const std::string&) override { handOverUpTo(offset); }
    void resumed(std::uint64_t, std::uint64_t) override {}

    void handOver(std::size_t size);
    void handOverUpTo(std::uint64_t offset) { handOver(static_cast<std::size_t>(offset - m_offset)); }

    const OnRecord m_onRecord;
    const OnRest m_onRest;
    std::unique_ptr<StreamCutter> m_cutter;
    std::vector<std::uint8_t> m_held;  // not handed over yet
    std::uint64_t m_offset = 0;        // of it in what this cutter was given
};

/// A file or named pipe that gets what a queue gets, and those that take its place.
class QueueCopy {
public:
    /// Throws `std::runtime_error`, as `CopiedFile` does.
    QueueCopy(const std::string& path, QueueCutter::OnRecord onRecord, QueueCutter::OnRest onRest)
        : m_cutter(std::move(onRecord), std::move(onRest)),
          m_copy(
              path, [this](Bytes bytes) { m_cutter.take(bytes); }, [this] { m_cutter.end(); })
    {}
    QueueCopy(const QueueCopy&) = delete;
    QueueCopy& operator=(const QueueCopy&) = delete;

    /// What has come since the last call, or as much of it as one call takes: true then, since there may be more.
    bool take() { return m_copy.take(); }
    void end() { m_cutter.end(); }

private:
    QueueCutter m_cutter;
    FollowedCopy m_copy;
};

}  // namespace orvanectl

#endif
