#include "lab/ctl/FrameFields.h"

#include "ioss_mcsq/BitGroup.h"
#include "ioss_mcsq/FieldRows.h"
#include "ioss_mcsq/ThreatData.h"
#include "ioss_mcsq/ZentorM_5044_Msg.h"
#include "ioss_mcsq/ZentorM_8504_Msg.h"
#include "lab/ctl/FieldReading.h"
#include "lab/ctl/FrameDecoder.h"
#include "lab/ctl/PubRecords.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstring>
#include <span>

namespace orvanectl {

namespace {

using Frame = std::vector<std::uint8_t>;
using Block = std::span<std::uint8_t>;

class FrameSink : public IWriteByteStreams {
public:
    void write(const std::uint8_t* bytes, std::size_t length) override { frame.assign(bytes, bytes + length); }
    Frame frame;
};

/// A message whose data anybody may write.
template <std::uint16_t Words>
class OpenMessage : public GssipMessage {
public:
    OpenMessage(std::uint16_t id, std::uint16_t flags) { attachFrame(m_packed.words, Words, id, flags); }

    Block data() { return m_packed.data(); }

    Frame frame()
    {
        FrameSink sink;
        WriteMessage(&sink);
        return sink.frame;
    }

private:
    GssipFrame<Words> m_packed{};
};

template <class T>
void store(Block block, std::size_t offset, T value)
{
    std::memcpy(block.subspan(offset, sizeof value).data(), &value, sizeof value);
}

template <class T>
T read(const Json& fields, const std::string& name)
{
    T value{};
    readValue(value, fields.at(name), name, {});
    return value;
}

/// A field of a message as it stands in the record of the host.
struct Place {
    const char* name;
    FieldForm form;
    std::size_t offset;
};

/// Bits of one byte of message 8504, by the names that stand within the field.
struct GroupPlace {
    const char* field;
    std::size_t offset;
    const char* name;
    BitGroup group;
};

using Record8504 = unpacked_msg8504_t;
using enum FieldForm;

#define PLACE(form, name)                                                                                              \
    {                                                                                                                  \
#name, form, offsetof(Record8504, name)                                                                        \
    }
constexpr Place kPlaces[] = {
    PLACE(PdpD, field000), PLACE(PdpD, field008),    PLACE(TovelD, field016), PLACE(TovelD, field022),
    PLACE(PdpD, field028), PLACE(PdpD, field036),    PLACE(PdpD, field044),   PLACE(PdpF, field052),
    PLACE(PdpF, field056), PLACE(PdpF, field060),    PLACE(PdpF, field064),   PLACE(PdpF, field068),
    PLACE(PdpF, angle084), PLACE(U16, word088),      PLACE(U16, word090),     PLACE(U16, word092),
    PLACE(U16, word094),   PLACE(U16, word098),      PLACE(Byte, byte100),    PLACE(U16, word110),
    PLACE(U16, word112),   PLACE(U16, word114),      PLACE(Byte, byte116),    PLACE(Byte, byte119),
    PLACE(Byte, byte121),  PLACE(TovelF, field122),  PLACE(TovelF, field126), PLACE(Byte, byte130),
    PLACE(Byte, byte131),  PLACE(Block256, block144)};
#undef PLACE

#define GROUP(field, name, group)                                                                                      \
    {                                                                                                                  \
#field, offsetof(Record8504, field), name, msg8504::group                                                      \
    }
constexpr GroupPlace kGroups[] = {GROUP(status096, "bits0_3", kStatus096Bits0To3),
                                  GROUP(status096, "receiver_failure", kStatus096ReceiverFailure),
                                  GROUP(status096, "bit5", kStatus096Bit5),
                                  GROUP(status096, "bits6_7", kStatus096Bits6To7),
                                  GROUP(status097, "bits0_1", kStatus097Bits0To1),
                                  GROUP(status097, "bits2_7", kStatus097Bits2To7),
                                  GROUP(status101, "bit0", kStatus101Bit0),
                                  GROUP(status101, "bit1", kStatus101Bit1),
                                  GROUP(status101, "bit2", kStatus101Bit2),
                                  GROUP(status101, "bits3_7", kStatus101Bits3To7),
                                  GROUP(nibbles102, "low", kLowNibble),
                                  GROUP(nibbles102, "high", kHighNibble),
                                  GROUP(nibbles103, "low", kLowNibble),
                                  GROUP(nibbles103, "high", kHighNibble),
                                  GROUP(nibbles104, "low", kLowNibble),
                                  GROUP(nibbles104, "high", kHighNibble),
                                  GROUP(nibbles105, "low", kLowNibble),
                                  GROUP(nibbles105, "high", kHighNibble),
                                  GROUP(status117, "bit0", kStatus117Bit0),
                                  GROUP(status117, "bits1_2", kStatus117Bits1To2),
                                  GROUP(status117, "bits3_4", kStatus117Bits3To4),
                                  GROUP(status117, "bits5_6", kStatus117Bits5To6),
                                  GROUP(status117, "bit7", kStatus117Bit7),
                                  GROUP(status118, "bits0_2", kStatus118Bits0To2),
                                  GROUP(status118, "bits3_7", kStatus118Bits3To7),
                                  GROUP(status120, "bits0_1", kStatus120Bits0To1),
                                  GROUP(status120, "bit2", kStatus120Bit2),
                                  GROUP(status120, "bits3_7", kStatus120Bits3To7)};
#undef GROUP

void storePlace(Block record, const Place& place, const Json& fields)
{
    const std::string name = place.name;
    switch (place.form) {
    case PdpD:
    case TovelD:
        return store(record, place.offset, read<double>(fields, name));
    case PdpF:
    case TovelF:
        return store(record, place.offset, read<float>(fields, name));
    case U16:
        return store(record, place.offset, read<std::uint16_t>(fields, name));
    case Byte:
        return store(record, place.offset, read<std::uint8_t>(fields, name));
    case Text32:
    case Block256:
        break;
    }
    const auto bytes = read<std::vector<std::uint8_t>>(fields, name);
    const std::size_t room = recordSizeOf(place.form);
    if (bytes.size() > room)
        refuseField(name, "has " + std::to_string(bytes.size()) + " bytes; it takes " + std::to_string(room));
    std::ranges::copy(bytes, record.subspan(place.offset).begin());
}

void storeGroup(Block record, const GroupPlace& place, const Json& fields)
{
    const std::string path = std::string(place.field) + '.' + place.name;
    const std::int64_t value =
        integerOf(fields.at(place.field).at(place.name), path, 0, (1u << place.group.width) - 1u);
    record[place.offset] = withBits(record[place.offset], place.group, static_cast<std::uint8_t>(value));
}

Frame make8504(const Json& fields)
{
    ZentorM_8504_Msg message;
    const Block record(reinterpret_cast<std::uint8_t*>(&message.unpacked()), sizeof(Record8504));
    for (const Place& place : kPlaces) storePlace(record, place, fields);
    for (const GroupPlace& place : kGroups) storeGroup(record, place, fields);
    message.pack_8504();
    FrameSink sink;
    message.WriteMessage(&sink);
    return sink.frame;
}

Frame make5044(const Json& fields)
{
    constexpr FieldRow kRows[] = {{0, PdpD, offsetof(unpacked_msg5044_t, field000)},
                                  {8, U16, offsetof(unpacked_msg5044_t, warningNumber)},
                                  {10, Text32, offsetof(unpacked_msg5044_t, warningText)}};
    unpacked_msg5044_t record{};
    const auto text = read<std::array<char, sizeof record.warningText>>(fields, "warningText");
    record.field000 = read<double>(fields, "field000");
    record.warningNumber = read<std::uint16_t>(fields, "warningNumber");
    std::ranges::copy(text, record.warningText);
    OpenMessage<21> message(5044, kGssipFlagsReport);
    packRows(kRows, std::span(reinterpret_cast<const std::uint8_t*>(&record), sizeof record), message.data());
    return message.frame();
}

/// Of a number that the wire counts in steps: which step is nearest. Null counts as none.
/// @param most  of the steps
std::uint16_t stepsOf(const Json& threat, const char* name, const std::string& path, double step, unsigned most)
{
    if (threat.at(name).is_null()) return 0;
    const double steps = std::round(realOf(threat.at(name), path + name, {}) / step);
    if (!(steps >= 0 && steps <= most))
        refuseField(path + name, threat.at(name).dump() + " is out of range, 0 to " +
                                     std::to_string(static_cast<std::uint64_t>(step * most)));
    return static_cast<std::uint16_t>(steps);
}

ThreatEntry threatOf(const Json& threat, const std::string& path)
{
    const auto has = [&](const char* valid, const char* value) {
        bool isValid = false;
        readValue(isValid, threat.at(valid), path + valid, {});
        return static_cast<std::uint8_t>(isValid || !threat.at(value).is_null() ? 1 : 0);
    };
    const auto number = [&](const char* name) {
        std::int16_t value = 0;
        if (!threat.at(name).is_null()) readValue(value, threat.at(name), path + name, {});
        return value;
    };
    bool hasBearing = false;
    readValue(hasBearing, threat.at("bearing_valid"), path + "bearing_valid", {});
    ThreatEntry entry{};
    const auto state = static_cast<std::uint8_t>(integerOf(threat.at("state"), path + "state", 0, 3));
    entry.statusA = withBits(entry.statusA, {0, 2}, state);
    entry.statusA = withBits(entry.statusA, {3, 1}, has("Power_valid", "Power"));
    entry.statusA = withBits(entry.statusA, {5, 1}, has("BW_valid", "BW_hz"));
    entry.statusB = withBits(entry.statusB, {0, 1}, hasBearing ? 1 : 0);
    entry.statusB = withBits(entry.statusB, {1, 1}, has("confidence_valid", "confidence"));
    const auto confidence = stepsOf(threat, "confidence", path, 25, 15);
    entry.statusB = withBits(entry.statusB, {2, 4}, static_cast<std::uint8_t>(confidence));
    entry.Power = number("Power");
    entry.Center = stepsOf(threat, "Center_hz", path, 50'000, 65535);
    entry.BW = stepsOf(threat, "BW_hz", path, 1000, 65535);
    entry.Az = number("Az_degrees");
    entry.El = number("El_degrees");
    return entry;
}

Json noThreat()
{
    return {{"state", 0},        {"bearing_valid", false},    {"Power_valid", false},
            {"BW_valid", false}, {"confidence_valid", false}, {"Az_degrees", 0},
            {"El_degrees", 0},   {"Center_hz", 0.0},          {"BW_hz", nullptr},
            {"Power", nullptr},  {"confidence", nullptr}};
}

/// A threat with all its fields, those that are not given as in one that there is none of.
Json wholeThreat(const Json& threat, const std::string& path)
{
    Json whole = noThreat();
    if (!threat.is_object()) refuseField(path, "an object must stand here");
    std::vector<std::string> names;
    for (const auto& [name, ignored] : whole.items()) names.push_back(name);
    for (const auto& [name, value] : threat.items()) {
        if (name == "index" || name == "reported") continue;  // shown, and follow from the others
        // NOLINTNEXTLINE(performance-inefficient-string-concatenation): it ends the loop
        if (!whole.contains(name)) refuseUnknownField(path + '.' + name, name, names);
        whole[name] = value;
    }
    return whole;
}

Frame make15051(const Json& fields)
{
    constexpr std::size_t kThreats = 38;  // in the data
    OpenMessage<100> message(15051, kGssipFlagsDefault);
    const Block data = message.data();
    store(data, 0, read<double>(fields, "gpsTime"));
    store(data, 8, read<double>(fields, "lat"));
    store(data, 16, read<double>(fields, "lon"));
    store(data, 24, read<double>(fields, "alt"));
    store(data, 32, read<std::uint16_t>(fields, "Pos_Accuracy"));
    const Json& threats = fields.at("threats");
    if (!threats.is_array() || threats.size() > ThreatData::kThreats)
        refuseField("threats", "an array of 9 threats at the most must stand here");
    for (std::size_t i = 0; i < threats.size(); ++i) {
        const std::string path = "threats." + std::to_string(i);
        store(data, kThreats + i * sizeof(ThreatEntry), threatOf(wholeThreat(threats[i], path), path + '.'));
    }
    return message.frame();
}

/// What is shown of a frame of zeros, but for what follows from other fields.
Json zeros(std::uint16_t id, const Frame& frame)
{
    Json fields = decodeFrame(frame).fields.at("message");
    for (const char* derived : {"wholePart", "fractionPart", "angle084_degrees"}) fields.erase(derived);
    if (id == 15051) fields["threats"] = Json::array_t(ThreatData::kThreats, noThreat());
    return fields;
}

struct Maker {
    FrameKind kind;
    std::uint16_t id;
    Frame (*make)(const Json& fields);
};

constexpr Maker kMakers[] = {{{"5044", "ZEN_HX", "ZentorM"}, 5044, make5044},
                             {{"8504", "ZEN_HX", "ZentorM"}, 8504, make8504},
                             {{"15051", "HX_ZEN", "HalvexNavigator"}, 15051, make15051}};

Frame zeroFrame(std::uint16_t id)
{
    if (id == 5044) return OpenMessage<21>(id, kGssipFlagsReport).frame();
    if (id == 8504) return OpenMessage<200>(id, kGssipFlagsReport).frame();
    return OpenMessage<100>(id, kGssipFlagsDefault).frame();
}

}  // namespace

const FrameKind* findFrameKind(std::string_view name)
{
    const auto* const found =
        std::ranges::find_if(kMakers, [&](const Maker& maker) { return maker.kind.name == name; });
    return found == std::end(kMakers) ? nullptr : &found->kind;
}

std::vector<std::string> frameNames()
{
    std::vector<std::string> names;
    for (const Maker& maker : kMakers) names.emplace_back(maker.kind.name);
    return names;
}

std::vector<std::uint8_t> frameOf(const FrameKind& kind, const std::vector<std::string>& settings)
{
    const auto& maker = *std::ranges::find_if(kMakers, [&](const Maker& one) { return one.kind.name == kind.name; });
    Json fields = zeros(maker.id, zeroFrame(maker.id));
    for (const std::string& setting : settings) setField(fields, setting);
    return maker.make(fields);
}

std::vector<std::uint8_t> frameOfHex(const std::string& digits)
{
    std::string packed;
    std::ranges::copy_if(digits, std::back_inserter(packed),
                         [](unsigned char character) { return !std::isspace(character); });
    auto bytes = bytesFromHex(packed, "--hex");
    if (bytes.empty()) refuseField("--hex", "is empty");
    return bytes;
}

}  // namespace orvanectl
