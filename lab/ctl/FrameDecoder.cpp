#include "lab/ctl/FrameDecoder.h"

#include "ASPN/AspnDeviceIds.h"
#include "ioss_mcsq/BitGroup.h"
#include "ioss_mcsq/ThreatData.h"
#include "ioss_mcsq/ZentorM_5044_Msg.h"
#include "ioss_mcsq/ZentorM_8504_Msg.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <numbers>
#include <string_view>

namespace orvanectl {

namespace {

std::string hex16(unsigned word)
{
    std::array<char, 8> text;
    std::snprintf(text.data(), text.size(), "0x%04X", word & 0xFFFFu);
    return text.data();
}

struct NamedGroup {
    const char* name;
    BitGroup group;
};

Json groupsOf(std::uint8_t byte, std::initializer_list<NamedGroup> groups)
{
    Json fields = Json::object();
    for (const NamedGroup& group : groups) fields[group.name] = bitsOf(byte, group.group);
    return fields;
}

Json nibblesOf(std::uint8_t byte)
{
    return groupsOf(byte, {{"low", msg8504::kLowNibble}, {"high", msg8504::kHighNibble}});
}

/// @param frame  54 bytes, or one more
Json decode5044(Bytes frame)
{
    ZentorM_5044_Msg message;
    message.ok_set_5044_gpsip(frame.data(), static_cast<std::uint32_t>(frame.size()));
    message.unpack_5044();
    const unpacked_msg5044_t& record = message.unpacked();
    return {{"field000", double{record.field000}},
            {"warningNumber", std::uint16_t{record.warningNumber}},
            {"warningText", printable({record.warningText, sizeof(record.warningText)})}};
}

/// The members are not aligned in the record, so each is taken by value.
/// @param frame  412 bytes, or one more
Json decode8504(Bytes frame)
{
    using namespace msg8504;
    ZentorM_8504_Msg message;
    message.ok_set_8504_gpsip(frame.data(), static_cast<std::uint32_t>(frame.size()));
    message.unpack_8504();
    const unpacked_msg8504_t& record = message.unpacked();

    Json fields = Json::object();
    fields["field000"] = double{record.field000};
    fields["wholePart"] = double{record.wholePart};
    fields["fractionPart"] = double{record.fractionPart};
    fields["field008"] = double{record.field008};
    fields["field016"] = double{record.field016};
    fields["field022"] = double{record.field022};
    fields["field028"] = double{record.field028};
    fields["field036"] = double{record.field036};
    fields["field044"] = double{record.field044};
    fields["field052"] = double{record.field052};
    fields["field056"] = double{record.field056};
    fields["field060"] = double{record.field060};
    fields["field064"] = double{record.field064};
    fields["field068"] = double{record.field068};
    fields["angle084"] = double{record.angle084};
    fields["angle084_degrees"] = double{record.angle084} * 180.0 / std::numbers::pi;
    fields["word088"] = std::uint16_t{record.word088};
    fields["word090"] = std::uint16_t{record.word090};
    fields["word092"] = std::uint16_t{record.word092};
    fields["word094"] = std::uint16_t{record.word094};
    fields["status096"] = groupsOf(record.status096, {{"bits0_3", kStatus096Bits0To3},
                                                      {"receiver_failure", kStatus096ReceiverFailure},
                                                      {"bit5", kStatus096Bit5},
                                                      {"bits6_7", kStatus096Bits6To7}});
    fields["status097"] =
        groupsOf(record.status097, {{"bits0_1", kStatus097Bits0To1}, {"bits2_7", kStatus097Bits2To7}});
    fields["word098"] = std::uint16_t{record.word098};
    fields["byte100"] = std::uint8_t{record.byte100};
    fields["status101"] = groupsOf(record.status101, {{"bit0", kStatus101Bit0},
                                                      {"bit1", kStatus101Bit1},
                                                      {"bit2", kStatus101Bit2},
                                                      {"bits3_7", kStatus101Bits3To7}});
    fields["nibbles102"] = nibblesOf(record.nibbles102);
    fields["nibbles103"] = nibblesOf(record.nibbles103);
    fields["nibbles104"] = nibblesOf(record.nibbles104);
    fields["nibbles105"] = nibblesOf(record.nibbles105);
    fields["word110"] = std::uint16_t{record.word110};
    fields["word112"] = std::uint16_t{record.word112};
    fields["word114"] = std::uint16_t{record.word114};
    fields["byte116"] = std::uint8_t{record.byte116};
    fields["status117"] = groupsOf(record.status117, {{"bit0", kStatus117Bit0},
                                                      {"bits1_2", kStatus117Bits1To2},
                                                      {"bits3_4", kStatus117Bits3To4},
                                                      {"bits5_6", kStatus117Bits5To6},
                                                      {"bit7", kStatus117Bit7}});
    fields["status118"] =
        groupsOf(record.status118, {{"bits0_2", kStatus118Bits0To2}, {"bits3_7", kStatus118Bits3To7}});
    fields["byte119"] = std::uint8_t{record.byte119};
    fields["status120"] = groupsOf(
        record.status120, {{"bits0_1", kStatus120Bits0To1}, {"bit2", kStatus120Bit2}, {"bits3_7", kStatus120Bits3To7}});
    fields["byte121"] = std::uint8_t{record.byte121};
    fields["field122"] = double{record.field122};
    fields["field126"] = double{record.field126};
    fields["byte130"] = std::uint8_t{record.byte130};
    fields["byte131"] = std::uint8_t{record.byte131};
    fields["block144"] = hexOf(Bytes(record.block144));
    return fields;
}

/// What is not valid is null, but for the bandwidth, which then has a fixed value.
Json decodeThreat(std::size_t index, const ThreatEntry& entry)
{
    Json fields = Json::object();
    fields["index"] = index;
    fields["reported"] = entry.isReported();
    fields["state"] = bitsOf(entry.statusA, {0, 2});
    fields["bearing_valid"] = bitsOf(entry.statusB, {0, 1}) != 0;
    fields["Power_valid"] = entry.hasPower();
    fields["BW_valid"] = bitsOf(entry.statusA, {5, 1}) != 0;
    fields["confidence_valid"] = entry.hasConfidence();
    fields["Az_degrees"] = entry.Az;
    fields["El_degrees"] = entry.El;
    fields["Center_hz"] = entry.centerHz();
    fields["BW_hz"] = entry.bandwidthHz();
    fields["Power"] = entry.hasPower() ? Json(entry.Power) : Json();
    fields["confidence"] = entry.hasConfidence() ? Json(entry.confidence()) : Json();
    return fields;
}

/// @param frame  212 bytes, or one more
Json decode15051(Bytes frame)
{
    constexpr std::size_t kFirstEntry = 38;  // in the data
    ThreatData message;
    message.OkSetContent(frame.data(), static_cast<std::uint16_t>(frame.size()));

    Json fields = Json::object();
    fields["gpsTime"] = message.gpsTime();
    fields["lat"] = message.lat();
    fields["lon"] = message.lon();
    fields["alt"] = message.alt();
    fields["Pos_Accuracy"] = message.Pos_Accuracy();
    fields["threats"] = Json::array();
    for (std::size_t i = 0; i < ThreatData::kThreats; ++i) {
        const Bytes entry =
            frame.subspan(kGssipHeaderBytes + kFirstEntry + i * sizeof(ThreatEntry), sizeof(ThreatEntry));
        const bool inUse = std::ranges::any_of(entry, [](std::uint8_t byte) { return byte != 0; });
        if (inUse) fields["threats"].push_back(decodeThreat(i, message.threat(i)));
    }
    return fields;
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
    Json (*decode)(Bytes);
    Json (*units)();
};
constexpr KnownMessage kMessages[] = {
    {5044, 21, decode5044, noUnits}, {8504, 200, decode8504, unitsOf8504}, {15051, 100, decode15051, unitsOf15051}};

Json wordsOf(Bytes bytes)
{
    Json words = Json::array();
    for (std::size_t i = 0; i < bytes.size() / 2; ++i)
        words.push_back(hexOf(std::array{bytes[2 * i + 1], bytes[2 * i]}));
    return words;
}

/// The data of a frame: whichever of them are there, without the data checksum.
Bytes dataOf(Bytes frame)
{
    const Bytes behind = frame.subspan(kGssipHeaderBytes);
    return behind.first(std::min<std::size_t>(behind.size(), 2 * std::size_t{gssip::wordAt(frame, GssipWord::Wdcnt)}));
}

void decodeFrameHeader(Bytes frame, DecodedFrame& decoded)
{
    const unsigned delimiter = gssip::wordAt(frame, GssipWord::Delimiter);
    const unsigned flags = gssip::wordAt(frame, GssipWord::Flags);
    Json& fields = decoded.fields["frame"];
    fields["delimiter"] = hex16(delimiter);
    fields["message_id"] = gssip::wordAt(frame, GssipWord::MsgId);
    fields["word_count"] = gssip::wordAt(frame, GssipWord::Wdcnt);
    fields["flags"] = hex16(flags);
    if (flags == kGssipFlagsAck) fields["kind"] = "acknowledgement";
    if (flags == kGssipFlagsNak) fields["kind"] = "negative acknowledgement";
    if (delimiter != kGssipDelimiter)
        decoded.problems.push_back("delimiter " + hex16(delimiter) + " instead of 0x81FF");
}

/// @return "good" or "bad"
/// @param words  the last one of which is the checksum
const char* verified(const char* name, Bytes words, DecodedFrame& decoded)
{
    const unsigned residual = gssip::residualOf(words);
    if (residual == 0) return "good";
    const unsigned stored = gssip::wordAt(words, words.size() / 2 - 1);
    decoded.problems.push_back("bad " + std::string(name) + " checksum: " + hex16(stored) + " instead of " +
                               hex16(stored + residual));
    return "bad";
}

void verifyChecksums(Bytes frame, DecodedFrame& decoded)
{
    Json& fields = decoded.fields["frame"];
    const std::size_t size = gssip::frameBytesOf(frame);
    fields["header_checksum"] = verified("header", frame.first(kGssipHeaderBytes), decoded);
    if (frame.size() != size)
        decoded.problems.push_back("frame of " + std::to_string(frame.size()) + " bytes, its word count makes " +
                                   std::to_string(size));
    const bool hasData = gssip::wordAt(frame, GssipWord::Wdcnt) != 0 && frame.size() >= size;
    fields["data_checksum"] =
        hasData ? verified("data", frame.first(size).subspan(kGssipHeaderBytes), decoded) : "absent";
}

void decodeContent(Bytes frame, DecodedFrame& decoded)
{
    const std::uint16_t id = gssip::wordAt(frame, GssipWord::MsgId);
    const Bytes data = dataOf(frame);
    const auto* const known = std::ranges::find(kMessages, id, &KnownMessage::id);
    const bool isKnown = known != std::end(kMessages);
    // The receivers' own test, which lets an odd byte pass and does not look at the word count.
    if (isKnown && frame.size() / 2 == gssipFrameWords(static_cast<std::uint32_t>(known->words))) {
        decoded.fields["message"] = known->decode(frame);
        decoded.units["message"] = known->units();
    } else if (!data.empty()) {
        decoded.fields["words"] = wordsOf(data);
        if (isKnown)
            decoded.problems.push_back("message " + std::to_string(id) + " has " + std::to_string(known->words) +
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

Json decodeTime(const aspn2_msgs::idl::timestamp& time)
{
    return {{"sec", time.sec()}, {"nsec", time.nsec()}, {"time_code", time.time_code()}};
}

}  // namespace

std::string hexOf(Bytes bytes)
{
    constexpr const char* kDigits = "0123456789ABCDEF";
    std::string text;
    text.reserve(2 * bytes.size());
    for (const std::uint8_t byte : bytes) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
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

DecodedFrame decodeFrame(Bytes frame)
{
    DecodedFrame decoded{Json::object(), {}, Json::object()};
    if (frame.size() < kGssipHeaderBytes) {
        decoded.fields["bytes"] = hexOf(frame);
        decoded.problems.push_back("frame of " + std::to_string(frame.size()) + " bytes has no whole header");
        return decoded;
    }
    decodeFrameHeader(frame, decoded);
    verifyChecksums(frame, decoded);
    decodeContent(frame, decoded);
    return decoded;
}

Json decodeHeader(const aspn2_msgs::idl::header& header)
{
    const auto id = static_cast<std::uint32_t>(header.device_id());
    const auto server = static_cast<std::uint8_t>(id >> 16);
    std::array<char, 12> value;
    std::snprintf(value.data(), value.size(), "0x%08lX", static_cast<unsigned long>(id));

    Json fields = Json::object();
    fields["seq_num"] = header.seq_num();
    fields["timestamp_arrival"] = decodeTime(header.timestamp_arrival());
    fields["timestamp_valid"] = decodeTime(header.timestamp_valid());
    fields["device_id"] = {{"value", value.data()},
                           {"system", id >> 24},
                           {"system_name", systemName(id >> 24)},
                           {"server", server},
                           {"server_name", ASPN2::ServerIds::to_string(server)},
                           {"message", id >> 8 & 0xFFu},
                           {"topic", id & 0xFFu}};
    return fields;
}

}  // namespace orvanectl
