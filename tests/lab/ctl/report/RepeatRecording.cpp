// Makes a long recording of a short one: what it has is repeated, with its times moved, until SECONDS are full.
// repeat-recording FILE OUT SECONDS
#include "aspn2_msgs/UTCTime.h"
#include "lab/ctl/record/RecordPayload.h"
#include "lab/ctl/record/Recorder.h"
#include "lab/mcap/Reader.h"
#include "lab/mcap/Writer.h"

#include <cstdlib>
#include <exception>
#include <iostream>
#include <map>
#include <string>
#include <vector>

using namespace orvanectl;

namespace {

constexpr std::uint64_t kSecond = 1'000'000'000;

/// All of a recording in memory.
struct Whole : mcap::RecordSink {
    struct Kept {
        mcap::Message message;
        std::vector<std::uint8_t> data;
    };

    void schema(const mcap::Schema& schema) override { schemas[schema.id] = schema; }
    void channel(const mcap::Channel& channel) override { channels[channel.id] = channel; }
    void message(const mcap::Message& message) override
    {
        messages.push_back({message, {message.data.begin(), message.data.end()}});
    }

    std::map<std::uint16_t, mcap::Schema> schemas;
    std::map<std::uint16_t, mcap::Channel> channels;
    std::vector<Kept> messages;
};

std::vector<std::uint8_t> moved(const Whole::Kept& kept, const mcap::Channel& channel, const RecordType* type,
                                std::int64_t seconds, std::int64_t records)
{
    if (channel.encoding == recording::kJson) {
        Json line = Json::parse(kept.data);
        if (line.contains("at_ms")) line["at_ms"] = line["at_ms"].get<std::int64_t>() + seconds * 1000;
        if (line.contains("record") && line["record"].is_object() && line["record"].contains("gpsSeconds"))
            line["record"]["gpsSeconds"] = line["record"]["gpsSeconds"].get<double>() + static_cast<double>(seconds);
        const std::string text = line.dump();
        return {text.begin(), text.end()};
    }
    const RecordPointer record = type ? type->make() : nullptr;
    if (!record || !readPayload(*type, kept.data, record.get())) return kept.data;
    auto& header = type->headerIn(record.get());
    header.timestamp_valid().sec(header.timestamp_valid().sec() + seconds);
    header.seq_num(header.seq_num() + records);
    if (type->name == "UTCTime") {
        auto& time = *static_cast<aspn2_msgs::idl::UTCTime*>(record.get());
        time.gps_tow_sec(time.gps_tow_sec() + static_cast<std::int32_t>(seconds));
    }
    return payloadOf(*type, record.get());
}

void repeat(const std::string& from, const std::string& to, std::uint64_t seconds)
{
    Whole whole;
    mcap::scan(mcap::FileSource(from), whole);
    if (whole.messages.empty()) throw std::runtime_error(from + ": has no messages");
    const std::uint64_t start = whole.messages.front().message.logTime;
    const std::uint64_t period = (whole.messages.back().message.logTime - start) / kSecond;  // s
    if (period == 0) throw std::runtime_error(from + ": is too short");

    mcap::FileOutput output(to);
    mcap::Writer writer(output, {});
    std::map<std::uint16_t, std::uint16_t> schemas, channels;
    std::map<std::uint16_t, std::int64_t> counts;
    std::map<std::uint16_t, const RecordType*> types;
    for (const auto& [id, schema] : whole.schemas)
        schemas[id] = writer.addSchema(schema.name, schema.encoding, schema.text);
    for (const auto& [id, channel] : whole.channels) {
        channels[id] = writer.addChannel(schemas[channel.schema], channel.topic, channel.encoding, channel.metadata);
        types[id] = findRecordType(whole.schemas[channel.schema].name);
    }
    const auto isWithin = [&](const Whole::Kept& kept) { return kept.message.logTime - start < period * kSecond; };
    for (const auto& kept : whole.messages) counts[kept.message.channel] += isWithin(kept) ? 1 : 0;
    for (std::uint64_t turn = 0; turn * period < seconds; ++turn) {
        const std::uint64_t later = turn * period;
        for (const Whole::Kept& kept : whole.messages) {
            if (!isWithin(kept)) continue;
            mcap::Message message = kept.message;
            const auto data =
                moved(kept, whole.channels[message.channel], types[message.channel], static_cast<std::int64_t>(later),
                      static_cast<std::int64_t>(turn) * counts[message.channel]);
            message.channel = channels[message.channel];
            message.logTime += later * kSecond;
            message.publishTime += later * kSecond;
            message.data = data;
            writer.add(message);
            if (writer.held() > (1U << 20)) writer.endChunk();
        }
    }
    writer.close();
}

}  // namespace

int main(int argc, char** argv)
{
    try {
        if (argc != 4) throw std::runtime_error("repeat-recording FILE OUT SECONDS");
        repeat(argv[1], argv[2], std::strtoull(argv[3], nullptr, 10));
        return 0;
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
