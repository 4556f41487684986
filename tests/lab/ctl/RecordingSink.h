#ifndef TESTS_LAB_CTL_RECORDINGSINK_H
#define TESTS_LAB_CTL_RECORDINGSINK_H

#include "lab/ctl/StreamCutter.h"

#include <string>
#include <vector>

/// What was found, a line each.
struct RecordingSink : orvanectl::StreamSink {
    std::vector<std::string> lines;

    void frame(std::uint64_t offset, orvanectl::Bytes bytes) override
    {
        lines.push_back(std::to_string(offset) + " frame of " + std::to_string(bytes.size()));
    }
    void record(std::uint64_t offset, const aspn2_msgs::idl::GSSIP& record) override
    {
        lines.push_back(std::to_string(offset) + " record of " + std::to_string(record.data().size()));
    }
    void problem(std::uint64_t offset, const std::string& what) override
    {
        lines.push_back(std::to_string(offset) + " " + what);
    }
    void resumed(std::uint64_t offset, std::uint64_t skippedBytes) override
    {
        lines.push_back(std::to_string(offset) + " resumed after " + std::to_string(skippedBytes));
    }
};

#endif
