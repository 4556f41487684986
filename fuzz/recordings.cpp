// Recordings of arbitrary bytes: what the reader tells stays within the file, a part of the time has just the messages of
// it, and a repaired recording is whole, gives what was read before, and has a summary that tells of all of it.
// Input: what stands behind the first bytes of a recording, which are put in front of it.

#include "fuzz/Fuzz.h"
#include "lab/mcap/Copy.h"
#include "lab/mcap/Reader.h"

#include <algorithm>
#include <map>
#include <string>
#include <vector>

namespace {

struct TextOutput : mcap::Output {
    void write(mcap::Bytes bytes) override { text.append(bytes.begin(), bytes.end()); }

    std::string text;
};

struct TextSource : mcap::Source {
    explicit TextSource(const std::string& bytes) : text(bytes) {}

    std::uint64_t size() const override { return text.size(); }
    void read(std::uint64_t offset, std::span<std::uint8_t> into) const override
    {
        FUZZ_EXPECT(offset <= text.size() && into.size() <= text.size() - offset);
        std::copy_n(text.begin() + static_cast<std::ptrdiff_t>(offset), into.size(), into.begin());
    }

    const std::string& text;
};

struct Read {
    std::vector<std::string> channels;
    std::vector<std::string> messages;
    std::vector<std::uint64_t> times;  // of these
    std::vector<mcap::Metadata> metadata;
    std::vector<std::string> attachments;

    bool operator==(const Read&) const = default;
};

/// Numbers of channels and schemas are left out, since a copy has its own.
class Reading : public mcap::RecordSink {
public:
    Reading(const TextSource& source, bool isOfARepair) : m_source(source), m_isOfARepair(isOfARepair) {}

    void schema(const mcap::Schema& schema) override
    {
        FUZZ_EXPECT(schema.id != 0 && m_schemas.emplace(schema.id, schema).second);
    }

    void channel(const mcap::Channel& channel) override
    {
        mcap::ByteWriter bytes;
        mcap::Channel numberless = channel;
        numberless.id = numberless.schema = 0;
        mcap::write(bytes, numberless);
        if (channel.schema != 0) {
            mcap::Schema schema = m_schemas.at(channel.schema);
            schema.id = 0;
            mcap::write(bytes, schema);
        }
        read.channels.emplace_back(bytes.bytes().begin(), bytes.bytes().end());
        FUZZ_EXPECT(m_channels.emplace(channel.id, read.channels.back()).second);
    }

    void message(const mcap::Message& message) override
    {
        // The defect: a repaired recording lacks what was sent by a clock that is wrong by centuries.
        if (fuzz::kPlanted && m_isOfARepair && message.publishTime >> 63U != 0) return;
        mcap::ByteWriter bytes;
        mcap::Message numberless = message;
        numberless.channel = 0;
        mcap::write(bytes, numberless);
        bytes.text(m_channels.at(message.channel));
        read.messages.emplace_back(bytes.bytes().begin(), bytes.bytes().end());
        read.times.push_back(message.logTime);
    }

    void metadata(const mcap::Metadata& metadata) override { read.metadata.push_back(metadata); }

    void attachment(const mcap::Attachment& attachment) override
    {
        std::vector<std::uint8_t> bytes(static_cast<std::size_t>(attachment.length));
        m_source.read(attachment.offset, bytes);
        read.attachments.emplace_back(bytes.begin(), bytes.end());
    }

    void problem(std::uint64_t offset, const std::string& what) override
    {
        FUZZ_EXPECT(offset <= m_source.size() && !what.empty());
        ++problems;
    }

    Read read;
    std::uint64_t problems = 0;

private:
    const TextSource& m_source;
    const bool m_isOfARepair;
    std::map<std::uint16_t, mcap::Schema> m_schemas;
    std::map<std::uint16_t, std::string> m_channels;
};

void expectItsMessages(const TextSource& source, const Read& whole, mcap::TimeRange range)
{
    Reading part(source, false);
    mcap::scan(source, part, range);
    std::vector<std::string> expected;
    for (std::size_t i = 0; i < whole.messages.size(); ++i)
        if (range.contains(whole.times[i])) expected.push_back(whole.messages[i]);
    FUZZ_EXPECT(part.read.messages == expected);
}

/// @param before  of what it was made of
void expectRepaired(const std::string& text, const Read& before)
{
    const TextSource source(text);
    Reading reading(source, true);
    const mcap::ScanResult result = mcap::scan(source, reading);
    FUZZ_EXPECT(result.isRecording && result.isClosed && reading.problems == 0);
    FUZZ_EXPECT(reading.read == before);
    const auto summary = mcap::readSummary(source);
    FUZZ_EXPECT(summary && mcap::isComplete(*summary) && summary->statistics->messages == before.messages.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::string text(mcap::kMagic.begin(), mcap::kMagic.end());
    text.append(data, data + size);
    const TextSource source(text);
    Reading reading(source, false);
    const mcap::ScanResult result = mcap::scan(source, reading);
    FUZZ_EXPECT(result.isRecording && result.end <= text.size());
    FUZZ_EXPECT(reading.read.attachments.size() <= result.attachments);
    if (!reading.read.times.empty())
        expectItsMessages(source, reading.read, {reading.read.times.front(), reading.read.times.back()});

    // What others have written there may be anything.
    if (const auto summary = mcap::readSummary(source)) mcap::isComplete(*summary);

    TextOutput repaired;
    const mcap::CopyResult copied = mcap::copy(source, repaired, {});
    FUZZ_EXPECT(copied.problems == reading.problems);
    expectRepaired(repaired.text, reading.read);
    return 0;
}
