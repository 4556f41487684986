#ifndef LAB_CTL_WHY_RECEIVERCOPY_H
#define LAB_CTL_WHY_RECEIVERCOPY_H

#include "lab/ctl/StreamCutter.h"
#include "lab/ctl/why/CopiedFile.h"
#include "lab/ctl/why/JoinDiary.h"

#include <optional>
#include <string>

namespace orvanectl {

/// Follows a file or a named pipe that gets what the receiver's queue gets, and enters it in a diary. One thread at a
/// time.
class ReceiverCopy : private StreamSink {
public:
    /// Throws `std::runtime_error` for what can't be opened, and for a queue: who reads that takes the records from the
    /// service.
    ReceiverCopy(const std::string& path, JoinDiary& diary);

    /// What has come since the last call.
    void take(JoinDiary::Time now);

private:
    void frame(std::uint64_t, Bytes) override {}
    void record(std::uint64_t, const aspn2_msgs::idl::GSSIP& record) override { m_diary.take(record, m_now); }
    void problem(std::uint64_t, const std::string&) override { m_diary.takeNoRecord(m_now); }
    void resumed(std::uint64_t, std::uint64_t) override {}

    JoinDiary& m_diary;
    CopiedFile m_file;
    JoinDiary::Time m_now;
    std::optional<StreamCutter> m_cutter;
};

}  // namespace orvanectl

#endif
