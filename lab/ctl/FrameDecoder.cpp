#include "lab/ctl/FrameDecoder.h"

#include "ASPN/AspnDeviceIds.h"
#include "ioss_mcsq/BitGroup.h"
#include "ioss_mcsq/ThreatData.h"
#include "ioss_mcsq/ZentorM_5044_Msg.h"
#include "ioss_mcsq/ZentorM_8504_Msg.h"
#include "lab/ctl/FieldWriting.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <numbers>
#include <string_view>

namespace orvanectl {

namespace {

std::string hex16(unsigned word)
{
    return "0x" +
           hexOf(std::array{static_cast<std::uint8_t>(word >> 8 & 0xFF), static_cast<std::uint8_t>(word & 0xFF)});
}

struct NamedGroup {
    const char* name;
    BitGroup group;
};

void writeGroups(FieldSink& sink, const char* name, std::uint8_t byte, std::initializer_list<NamedGroup> groups)
{
    sink.name(name);
    sink.beginObject();
    for (const NamedGroup& group : groups) sink.member(group.name, bitsOf(byte, group.group));
    sink.endObject();
}

void writeNibbles(FieldSink& sink, const char* name, std::uint8_t byte)
{
    writeGroups(sink, name, byte, {{"low", msg8504::kLowNibble}, {"high", msg8504::kHighNibble}});
}

/// @param frame  54 bytes, or one more
void write5044(Bytes frame, FieldSink& sink)
{
    ZentorM_5044_Msg message;
    message.ok_set_5044_gpsip(frame.data(), static_cast<std::uint32_t>(frame.size()));
    message.unpack_5044();
    const unpacked_msg5044_t& record = message.unpacked();
    sink.member("field000", double{record.field000});
    sink.member("warningNumber", std::uint16_t{record.warningNumber});
    sink.member("warningText", printable({record.warningText, sizeof(record.warningText)}));
}

/// The members are not aligned in the record, so each is taken by value.
/// @param frame  412 bytes, or one more
void write8504(Bytes frame, FieldSink& sink)
{
    using namespace msg8504;
    ZentorM_8504_Msg message;
    message.ok_set_8504_gpsip(frame.data(), static_cast<std::uint32_t>(frame.size()));
    message.unpack_8504();
    const unpacked_msg8504_t& record = message.unpacked();

    sink.member("field000", double{record.field000});
    sink.member("wholePart", double{record.wholePart});
    sink.member("fractionPart", double{record.fractionPart});
    sink.member("field008", double{record.field008});
    sink.member("field016", double{record.field016});
    sink.member("field022", double{record.field022});
    sink.member("field028", double{record.field028});
    sink.member("field036", double{record.field036});
    sink.member("field044", double{record.field044});
    sink.member("field052", double{record.field052});
    sink.member("field056", double{record.field056});
    sink.member("field060", double{record.field060});
    sink.member("field064", double{record.field064});
    sink.member("field068", double{record.field068});
    sink.member("angle084", double{record.angle084});
    sink.member("angle084_degrees", double{record.angle084} * 180.0 / std::numbers::pi);
    sink.member("word088", std::uint16_t{record.word088});
    sink.member("word090", std::uint16_t{record.word090});
    sink.member("word092", std::uint16_t{record.word092});
    sink.member("word094", std::uint16_t{record.word094});
    writeGroups(sink, "status096", record.status096,
                {{"bits0_3", kStatus096Bits0To3},
                 {"receiver_failure", kStatus096ReceiverFailure},
                 {"bit5", kStatus096Bit5},
                 {"bits6_7", kStatus096Bits6To7}});
    writeGroups(sink, "status097", record.status097,
                {{"bits0_1", kStatus097Bits0To1}, {"bits2_7", kStatus097Bits2To7}});
    sink.member("word098", std::uint16_t{record.word098});
    sink.member("byte100", std::uint8_t{record.byte100});
    writeGroups(sink, "status101", record.status101,
                {{"bit0", kStatus101Bit0},
                 {"bit1", kStatus101Bit1},
                 {"bit2", kStatus101Bit2},
                 {"bits3_7", kStatus101Bits3To7}});
    writeNibbles(sink, "nibbles102", record.nibbles102);
    writeNibbles(sink, "nibbles103", record.nibbles103);
    writeNibbles(sink, "nibbles104", record.nibbles104);
    writeNibbles(sink, "nibbles105", record.nibbles105);
    sink.member("word110", std::uint16_t{record.word110});
    sink.member("word112", std::uint16_t{record.word112});
    sink.member("word114", std::uint16_t{record.word114});
    sink.member("byte116", std::uint8_t{record.byte116});
    writeGroups(sink, "status117", record.status117,
                {{"bit0", kStatus117Bit0},
                 {"bits1_2", kStatus117Bits1To2},
                 {"bits3_4", kStatus117Bits3To4},
                 {"bits5_6", kStatus117Bits5To6},
                 {"bit7", kStatus117Bit7}});
    writeGroups(sink, "status118", record.status118,
                {{"bits0_2", kStatus118Bits0To2}, {"bits3_7", kStatus118Bits3To7}});
    sink.member("byte119", std::uint8_t{record.byte119});
    writeGroups(sink, "status120", record.status120,
                {{"bits0_1", kStatus120Bits0To1}, {"bit2", kStatus120Bit2}, {"bits3_7", kStatus120Bits3To7}});
    sink.member("byte121", std::uint8_t{record.byte121});
    sink.member("field122", double{record.field122});
    sink.member("field126", double{record.field126});
    sink.member("byte130", std::uint8_t{record.byte130});
    sink.member("byte131", std::uint8_t{record.byte131});
    sink.member("block144", hexOf(Bytes(record.block144)));
}

/// What is not valid is null, but for the bandwidth, which then has a fixed value.
void writeThreat(std::size_t index, const ThreatEntry& entry, FieldSink& sink)
{
    const auto orNull = [&](const char* name, bool isValid, auto value) {
        sink.name(name);
        if (isValid)
            sink.value(value);
        else
            sink.null();
    };
    sink.beginObject();
    sink.member("index", index);
    sink.member("reported", entry.isReported());
    sink.member("state", bitsOf(entry.statusA, {0, 2}));
    sink.member("bearing_valid", bitsOf(entry.statusB, {0, 1}) != 0);
    sink.member("Power_valid", entry.hasPower());
    sink.member("BW_valid", bitsOf(entry.statusA, {5, 1}) != 0);
    sink.member("confidence_valid", entry.hasConfidence());
    sink.member("Az_degrees", entry.Az);
    sink.member("El_degrees", entry.El);
    sink.member("Center_hz", entry.centerHz());
    sink.member("BW_hz", entry.bandwidthHz());
    orNull("Power", entry.hasPower(), std::int16_t{entry.Power});
    orNull("confidence", entry.hasConfidence(), entry.confidence());
    sink.endObject();
}

/// @param frame  212 bytes, or one more
void write15051(Bytes frame, FieldSink& sink)
{
    constexpr std::size_t kFirstEntry = 38;  // in the data
    ThreatData message;
    message.OkSetContent(frame.data(), static_cast<std::uint16_t>(frame.size()));

    sink.member("gpsTime", message.gpsTime());
    sink.member("lat", message.lat());
    sink.member("lon", message.lon());
    sink.member("alt", message.alt());
    sink.member("Pos_Accuracy", message.Pos_Accuracy());
    sink.name("threats");
    sink.beginArray();
    for (std::size_t i = 0; i < ThreatData::kThreats; ++i) {
        const Bytes entry =
            frame.subspan(kGssipHeaderBytes + kFirstEntry + i * sizeof(ThreatEntry), sizeof(ThreatEntry));
        const bool inUse = std::ranges::any_of(entry, [](std::uint8_t byte) { return byte != 0; });
        if (inUse) writeThreat(i, message.threat(i), sink);
    }
    sink.endArray();
}

Json noUnits()
{
    return nullptr;
}

Json unitsOf8504()
{
    return {{"angle084", "rad"}, {"angle084_degrees", "deg"}};
}

Json unitsOf15051()
{
    const Json threat = {{"Az_degrees", "deg"}, {"El_degrees", "deg"}, {"Center_hz", "Hz"}, {"BW_hz", "Hz"}};
    return {{"gpsTime", "s"}, {"lat", "rad"}, {"lon", "rad"}, {"alt", "m"}, {"Pos_Accuracy", "m"}, {"threats", threat}};
}

struct KnownMessage {
    std::uint16_t id;
    std::size_t words;
    void (*write)(Bytes, FieldSink&);
    Json (*units)();
};
constexpr KnownMessage kMessages[] = {
    {5044, 21, write5044, noUnits}, {8504, 200, write8504, unitsOf8504}, {15051, 100, write15051, unitsOf15051}};

/// The message that a frame has by its id and length; null if it is none that is known. That is the receivers' own test,
/// which lets an odd byte pass and does not look at the word count.
const KnownMessage* messageOf(Bytes frame)
{
    const auto* const known = std::ranges::find(kMessages, gssip::wordAt(frame, GssipWord::MsgId), &KnownMessage::id);
    if (known == std::end(kMessages)) return nullptr;
    return frame.size() / 2 == gssipFrameWords(static_cast<std::uint32_t>(known->words)) ? known : nullptr;
}

void writeWords(Bytes bytes, FieldSink& sink)
{
    sink.name("words");
    sink.beginArray();
    for (std::size_t i = 0; i < bytes.size() / 2; ++i) sink.text(hexOf(std::array{bytes[2 * i + 1], bytes[2 * i]}));
    sink.endArray();
}

/// The data of a frame: whichever of them are there, without the data checksum.
Bytes dataOf(Bytes frame)
{
    const Bytes behind = frame.subspan(kGssipHeaderBytes);
    return behind.first(std::min<std::size_t>(behind.size(), 2 * std::size_t{gssip::wordAt(frame, GssipWord::Wdcnt)}));
}

void writeFrameHeader(Bytes frame, FieldSink& sink, std::vector<std::string>& problems)
{
    const unsigned delimiter = gssip::wordAt(frame, GssipWord::Delimiter);
    const unsigned flags = gssip::wordAt(frame, GssipWord::Flags);
    sink.member("delimiter", hex16(delimiter));
    sink.member("message_id", gssip::wordAt(frame, GssipWord::MsgId));
    sink.member("word_count", gssip::wordAt(frame, GssipWord::Wdcnt));
    sink.member("flags", hex16(flags));
    if (flags == kGssipFlagsAck) sink.member("kind", "acknowledgement");
    if (flags == kGssipFlagsNak) sink.member("kind", "negative acknowledgement");
    if (delimiter != kGssipDelimiter) problems.push_back("delimiter " + hex16(delimiter) + " instead of 0x81FF");
}

/// @return "good" or "bad"
/// @param words  the last one of which is the checksum
const char* verified(const char* name, Bytes words, std::vector<std::string>& problems)
{
    const unsigned residual = gssip::residualOf(words);
    if (residual == 0) return "good";
    const unsigned stored = gssip::wordAt(words, words.size() / 2 - 1);
    problems.push_back("bad " + std::string(name) + " checksum: " + hex16(stored) + " instead of " +
                       hex16(stored + residual));
    return "bad";
}

void writeChecksums(Bytes frame, FieldSink& sink, std::vector<std::string>& problems)
{
    const std::size_t size = gssip::frameBytesOf(frame);
    sink.member("header_checksum", verified("header", frame.first(kGssipHeaderBytes), problems));
    if (frame.size() != size)
        problems.push_back("frame of " + std::to_string(frame.size()) + " bytes, its word count makes " +
                           std::to_string(size));
    const bool hasData = gssip::wordAt(frame, GssipWord::Wdcnt) != 0 && frame.size() >= size;
    sink.member("data_checksum",
                hasData ? verified("data", frame.first(size).subspan(kGssipHeaderBytes), problems) : "absent");
}

void writeContent(Bytes frame, FieldSink& sink, std::vector<std::string>& problems)
{
    const Bytes data = dataOf(frame);
    if (const KnownMessage* const known = messageOf(frame)) {
        sink.name("message");
        sink.beginObject();
        known->write(frame, sink);
        sink.endObject();
    } else if (!data.empty()) {
        writeWords(data, sink);
        const std::uint16_t id = gssip::wordAt(frame, GssipWord::MsgId);
        const auto* const other = std::ranges::find(kMessages, id, &KnownMessage::id);
        if (other != std::end(kMessages))
            problems.push_back("message " + std::to_string(id) + " has " + std::to_string(other->words) +
                               " data words, not what this frame has");
    }
}

/// The name of a system; "INVALID_SYSTEM_ID" for a number that is not assigned.
const char* systemName(unsigned id)
{
#define ORVANECTL_SYSTEM_ROW(number, symbol, name)                                                                     \
    if (id == (number)) return name;
    ASPN2_SYSTEM_IDS(ORVANECTL_SYSTEM_ROW)
#undef ORVANECTL_SYSTEM_ROW
    return "INVALID_SYSTEM_ID";
}

void writeTime(FieldSink& sink, const char* name, const aspn2_msgs::idl::timestamp& time)
{
    sink.name(name);
    sink.beginObject();
    sink.member("sec", time.sec());
    sink.member("nsec", time.nsec());
    sink.member("time_code", time.time_code());
    sink.endObject();
}

}  // namespace

std::string hexOf(Bytes bytes)
{
    constexpr const char* kDigits = "0123456789ABCDEF";
    std::string text(2 * bytes.size(), '0');
    auto digit = text.begin();
    for (const std::uint8_t byte : bytes) {
        *digit++ = kDigits[byte >> 4];
        *digit++ = kDigits[byte & 15];
    }
    return text;
}

std::string printable(std::string_view text)
{
    const std::size_t last = text.find_last_not_of('\0');
    std::string result;
    for (const char character : text.substr(0, last == std::string_view::npos ? 0 : last + 1)) {
        const auto byte = static_cast<std::uint8_t>(character);
        if (byte < 0x20 || byte > 0x7E) {
            result += "\\x" + hexOf(std::array{byte});
        } else {
            if (character == '\\') result += '\\';
            result += character;
        }
    }
    return result;
}

std::vector<std::string> writeFrame(Bytes frame, FieldSink& sink)
{
    std::vector<std::string> problems;
    if (frame.size() < kGssipHeaderBytes) {
        sink.member("bytes", hexOf(frame));
        problems.push_back("frame of " + std::to_string(frame.size()) + " bytes has no whole header");
        return problems;
    }
    sink.name("frame");
    sink.beginObject();
    writeFrameHeader(frame, sink, problems);
    writeChecksums(frame, sink, problems);
    sink.endObject();
    writeContent(frame, sink, problems);
    return problems;
}

DecodedFrame decodeFrame(Bytes frame)
{
    FieldTree tree;
    tree.beginObject();
    std::vector<std::string> problems = writeFrame(frame, tree);
    tree.endObject();
    Json units = Json::object();
    if (const KnownMessage* const known = frame.size() < kGssipHeaderBytes ? nullptr : messageOf(frame))
        units["message"] = known->units();
    return {tree.take(), std::move(problems), std::move(units)};
}

void writeHeader(const aspn2_msgs::idl::header& header, FieldSink& sink)
{
    const auto id = static_cast<std::uint32_t>(header.device_id());
    const auto server = static_cast<std::uint8_t>(id >> 16);
    std::array<char, 12> value;
    std::snprintf(value.data(), value.size(), "0x%08lX", static_cast<unsigned long>(id));

    sink.beginObject();
    sink.member("seq_num", header.seq_num());
    writeTime(sink, "timestamp_arrival", header.timestamp_arrival());
    writeTime(sink, "timestamp_valid", header.timestamp_valid());
    sink.name("device_id");
    sink.beginObject();
    sink.member("value", value.data());
    sink.member("system", id >> 24);
    sink.member("system_name", systemName(id >> 24));
    sink.member("server", server);
    sink.member("server_name", ASPN2::ServerIds::to_string(server));
    sink.member("message", id >> 8 & 0xFFu);
    sink.member("topic", id & 0xFFu);
    sink.endObject();
    sink.endObject();
}

Json decodeHeader(const aspn2_msgs::idl::header& header)
{
    FieldTree tree;
    writeHeader(header, tree);
    return tree.take();
}

}  // namespace orvanectl
