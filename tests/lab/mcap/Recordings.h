#ifndef TESTS_LAB_MCAP_RECORDINGS_H
#define TESTS_LAB_MCAP_RECORDINGS_H

#include "lab/mcap/Reader.h"
#include "lab/mcap/Writer.h"

#include <algorithm>
#include <string>
#include <vector>

/// Recordings in memory, and what is read of them.
namespace recordings {

struct TextOutput : mcap::Output {
    void write(mcap::Bytes bytes) override { text.append(bytes.begin(), bytes.end()); }

    std::string text;
};

/// Counts what is read, too.
struct TextSource : mcap::Source {
    explicit TextSource(std::string bytes) : text(std::move(bytes)) {}

    std::uint64_t size() const override { return text.size(); }
    void read(std::uint64_t offset, std::span<std::uint8_t> into) const override
    {
        if (offset > text.size() || into.size() > text.size() - offset) throw mcap::Malformed("ends too early");
        std::copy_n(text.begin() + static_cast<std::ptrdiff_t>(offset), into.size(), into.begin());
        bytesRead += into.size();
    }

    std::string text;
    mutable std::uint64_t bytesRead = 0;
};

/// A line for each thing that was read: "schema 1 T", "0 #7 1000 900 data".
struct Reading : mcap::RecordSink {
    void schema(const mcap::Schema& schema) override
    {
        lines.push_back("schema " + schema.name + ' ' + schema.encoding);
    }
    void channel(const mcap::Channel& channel) override
    {
        lines.push_back("channel " + channel.topic + ' ' + channel.encoding);
        topics[channel.id] = channel.topic;
    }
    void message(const mcap::Message& message) override
    {
        const std::string line = topics.at(message.channel) + " #" + std::to_string(message.sequence) + ' ' +
                                 std::to_string(message.logTime) + ' ' + std::to_string(message.publishTime) + ' ' +
                                 std::string(message.data.begin(), message.data.end());
        lines.push_back(line);
        messages.push_back(line);
    }
    void metadata(const mcap::Metadata& metadata) override
    {
        lines.push_back("metadata " + metadata.name);
        for (const auto& [key, value] : metadata.values) lines.back() += ' ' + key + '=' + value;
    }
    void attachment(const mcap::Attachment& attachment) override
    {
        lines.push_back("attachment " + attachment.name + ' ' + attachment.mediaType + ' ' +
                        std::to_string(attachment.dataSize));
    }
    void problem(std::uint64_t offset, const std::string& what) override
    {
        problems.push_back(std::to_string(offset) + ' ' + what);
    }

    std::map<std::uint16_t, std::string> topics;
    std::vector<std::string> lines, messages, problems;
};

inline Reading readingOf(const std::string& text, mcap::TimeRange range = {})
{
    Reading reading;
    mcap::scan(TextSource(text), reading, range);
    return reading;
}

/// Chunks of two messages each: topics A and B in turn, log times 1000, 1010, ...; the last chunk may have one.
inline std::string recordingOf(int messages, bool isCompressed = true)
{
    TextOutput output;
    mcap::Writer writer(output, {"test", 1U << 20, isCompressed});
    const auto schema = writer.addSchema("T", "omgidl", "struct T { long x; };");
    const std::uint16_t channels[] = {writer.addChannel(schema, "A", "cdr", {}), writer.addChannel(0, "B", "json", {})};
    for (int i = 0; i < messages; ++i) {
        const std::string data = "data" + std::to_string(i) + std::string(20, 'x');
        writer.add({channels[i % 2], static_cast<std::uint32_t>(i), 1000 + static_cast<std::uint64_t>(i) * 10,
                    900 + static_cast<std::uint64_t>(i), mcap::bytesOf(data)});
        if (i % 2 == 1) writer.endChunk();
    }
    writer.add(mcap::Metadata{"missed", {{"A", "3"}}});
    writer.close();
    return output.text;
}

}  // namespace recordings

#endif
