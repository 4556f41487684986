#ifndef LAB_CTL_RECORD_RECORDINGCSV_H
#define LAB_CTL_RECORD_RECORDINGCSV_H

#include <ostream>
#include <string>
#include <vector>

namespace orvanectl {

struct CsvOptions {
    std::string file;

    /// A channel, or one and the way to a field of its records, such as "EventLog.header.seq_num". What has fields within
    /// it stands for all of them; a sequence is one column of JSON unless an element is named, by its number from 0.
    std::vector<std::string> fields;
};

/// Prints a table of comma-separated values: a line of names, and one for each message of these channels, as they stand
/// in the recording. Its time, and the seconds since the first message of the recording, come first; what the message has
/// not is empty. Answers what could not be read of the recording, as a text, which is empty if it is whole.
/// Throws `std::runtime_error`, and `UnknownName` for a channel or field that the recording has not.
std::string printCsv(const CsvOptions& options, std::ostream& output);

}  // namespace orvanectl

#endif
