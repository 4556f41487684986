#ifndef LAB_CTL_PUBRECORDS_H
#define LAB_CTL_PUBRECORDS_H

#include "lab/ctl/ConnectionFile.h"
#include "lab/ctl/RecordTypes.h"

#include <optional>
#include <string>
#include <vector>

/// Records to be published, from what a person types and from lines of JSON. Pure functions, any thread.
namespace orvanectl {

/// A record, and what of its header is known already.
struct PubRecord {
    std::string topic;
    const RecordType* type = nullptr;
    RecordPointer record;

    /// What of the header was given, and goes out as it is.
    struct Given {
        bool number = false, arrival = false, valid = false, device = false;
    } given;

    /// The time of validity in seconds; 0 where there is none.
    double validSeconds() const;
};

/// A record of zeros with some fields set: "gps_week=2445", "covariance.0.1=0.5", "header.seq_num=7". A value is JSON, or a
/// text without quotes. Throws `FieldError`, also for a path that the record has not; an element of a sequence can't be
/// set, but the whole sequence.
PubRecord recordOf(const WatchedTopic& topic, const std::vector<std::string>& settings);

/// Throws `FieldError` for a field that there is not: with the one that was probably meant, or all if they are few.
[[noreturn]] void refuseUnknownField(const std::string& path, const std::string& name,
                                     const std::vector<std::string>& names);

/// Sets what stands in `fields` under the path of a FIELD=VALUE as above. Throws the same.
void setField(Json& fields, const std::string& setting);

/// What a line of `orvanectl echo --json` shows, the header included; none if the line is not a record's. Throws
/// `FieldError`; the topic's type is that of the line.
std::optional<PubRecord> recordOfLine(const std::string& line);

}  // namespace orvanectl

#endif
