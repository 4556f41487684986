#ifndef LAB_CTL_WHY_RECEIVERCOPY_H
#define LAB_CTL_WHY_RECEIVERCOPY_H

#include "lab/ctl/StreamCutter.h"
#include "lab/ctl/why/CopiedFile.h"
#include "lab/ctl/why/JoinDiary.h"
#include "lab/unit/RecordCopy.h"

#include <optional>
#include <string>

namespace orvanectl {

/// Follows a file or a named pipe that gets what the receiver's queue gets, and enters it in a diary. A file that another
/// one takes the place of is read to its end, then the other; one that has become shorter from its start. One thread at a time.
class ReceiverCopy : private StreamSink {
public:
    /// Throws `std::runtime_error` for what can't be opened, and for a queue: who reads that takes the records from the
    /// service.
    /// @param path  empty for the copy that the lab keeps, which is looked for while there is none; what stands in one
    ///              that is found at once is passed over
    /// @param own   where that is
    ReceiverCopy(const std::string& path, JoinDiary& diary, const std::string& own = unitsim::kReceiverCopy);

    /// What has come since the last call.
    void take(JoinDiary::Time now);

private:
    void frame(std::uint64_t, Bytes) override {}
    void record(std::uint64_t, const aspn2_msgs::idl::GSSIP& record) override { m_diary.take(record, m_now); }
    void problem(std::uint64_t, const std::string&) override { m_diary.takeNoRecord(m_now); }
    void resumed(std::uint64_t, std::uint64_t) override {}

    void follow(JoinDiary::Time now);
    void read();

    JoinDiary& m_diary;
    const std::string m_path;
    std::optional<CopiedFile> m_file;
    std::optional<StreamCutter> m_cutter;
    JoinDiary::Time m_now;
    JoinDiary::Time m_nextFollow = JoinDiary::Time::min();
};

}  // namespace orvanectl

#endif
