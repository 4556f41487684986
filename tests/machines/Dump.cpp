#include "tests/machines/Dump.h"

#include "VICTORY/OrvaneServer/BlendedNavigation.h"
#include "VICTORY/libvictory/victory.h"
#include "ioss_mcsq/ZentorM_5044_Msg.h"
#include "ioss_mcsq/ZentorM_8504_Msg.h"
#include "tests/aspn2_msgs/AllRecords.h"
#include "tests/aspn2_msgs/WireBytes.h"
#include "tests/support/ConsoleCapture.h"
#include "utilities/AngleUtility.h"
#include "utilities/GpsDateTime.h"
#include "utilities/PositionUtilities.h"
#include "utilities/Stats.h"
#include "utilities/TimeUtilities.h"
#include "utilities/VersionStatus.h"
#include "utilities/boxvehtransform.h"
#include "utilities/cvt.h"
#include "utilities/geodetic.h"
#include "utilities/round.h"

#include <array>
#include <bit>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <limits>
#include <span>

namespace {

/// A line of the dump, as `printf` has it.
[[gnu::format(printf, 2, 3)]] void line(std::string& dump, const char* format, ...)
{
    std::array<char, 400> text;
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    dump += text.data();
    dump += '\n';
}

/// FNV-1a, 64 bits: long bytes on a short line.
class Hash {
public:
    void add(const void* bytes, std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i)
            m_value = (m_value ^ static_cast<const unsigned char*>(bytes)[i]) * 0x100000001B3u;
    }
    template <class Number>
    void number(Number value)
    {
        add(&value, sizeof value);
    }
    unsigned long long value() const { return m_value; }

private:
    std::uint64_t m_value = 0xCBF29CE484222325u;
};

/// Numbers that look like chance, the same everywhere.
class Draws {
public:
    std::uint64_t next()
    {
        m_state = m_state * 6364136223846793005u + 1442695040888963407u;
        return m_state ^ (m_state >> 31);
    }
    /// At least `least`, less than `greatest`; no function of the C library comes in.
    double between(double least, double greatest)
    {
        return least + (greatest - least) * (static_cast<double>(next() >> 11) / 9007199254740992.0);
    }

private:
    std::uint64_t m_state = 1;
};

constexpr double kOddNumbers[] = {0.0,
                                  -0.0,
                                  0.5,
                                  -0.5,
                                  1.5,
                                  -1.5,
                                  2.5,
                                  -2.5,
                                  2147483646.5,
                                  2147483647.5,
                                  -2147483648.5,
                                  -2147483649.0,
                                  4294967294.5,
                                  4294967295.5,
                                  4294967296.0,
                                  1e18,
                                  -1e18,
                                  1e300,
                                  -1e300,
                                  5e-324,
                                  std::numeric_limits<double>::infinity(),
                                  -std::numeric_limits<double>::infinity(),
                                  std::numeric_limits<double>::quiet_NaN()};

#define DUMP_SIZE(Type) line(dump, "size " #Type " %u", static_cast<unsigned>(sizeof(Type)))
void sizes(std::string& dump)
{
    DUMP_SIZE(VapntcTime);
    DUMP_SIZE(VapntcMeasSource);
    DUMP_SIZE(VapntcBlendedNavigationRecord);
    DUMP_SIZE(VapntcNavWarSaThreat);
    DUMP_SIZE(VapntcNavWarSaRecord);
    DUMP_SIZE(VapntcWarningMessage);
    DUMP_SIZE(VapntcWarningMessagesRecord);
    DUMP_SIZE(VapntcComponentConfiguration);
    DUMP_SIZE(VapntcSystemConfiguration);
    DUMP_SIZE(VapntcAvailableOutputs);
    DUMP_SIZE(VapntcSensor);
    DUMP_SIZE(VapntcAvailableSensors);
    DUMP_SIZE(VapntcBitSensorResult);
    DUMP_SIZE(VapntcBitResult);
    DUMP_SIZE(VapntcBitResults);
    DUMP_SIZE(VapntcBitRequests);
    DUMP_SIZE(unpacked_msg5044_t);
    DUMP_SIZE(packed_msg5044_t);
    DUMP_SIZE(unpacked_msg8504_t);
    DUMP_SIZE(packed_msg8504_t);
}
#undef DUMP_SIZE

void recordsOfCatalogue(std::string& dump)
{
    for (const RecordCase& one : allRecords()) {
        const std::string little = wireOf(*one.numbered);
        const std::string big = wireOf(*one.numbered, Cdr::BIG_ENDIANNESS);
        Hash bytes;
        bytes.add(little.data(), little.size());
        bytes.add(big.data(), big.size());
        line(dump, "record %s bytes %u most %u hash %016llx", one.name.c_str(),
             static_cast<unsigned>(one.numbered->getCdrSerializedSize()),
             static_cast<unsigned>(one.numbered->getMaxCdrSerializedSize()), bytes.value());
    }
}

/// A frame of drawn words, unpacked and packed again. Drawn words are no fit numbers, of which some differ when they are
/// packed again; so those of the floating point are made.
void frames(std::string& dump)
{
    Draws draws;
    unpacked_msg8504_t status;
    std::memset(&status, 0, sizeof status);
    status.field000 = draws.between(0, 604800);
    status.field008 = draws.between(-90, 90);
    status.field016 = draws.between(-1e6, 1e6);
    status.field044 = draws.between(-1e-3, 1e-3);
    status.field052 = static_cast<float>(draws.between(-100, 100));
    status.angle084 = static_cast<float>(draws.between(-3, 3));
    status.word088 = 0xFEDC;
    status.status101 = 0x81;
    for (std::uint8_t& byte : status.block144) byte = static_cast<std::uint8_t>(draws.next());
    packed_msg8504_t packed{};
    ZentorM_8504_Msg::pack_8504(status, packed);
    unpacked_msg8504_t again;
    std::memset(&again, 0, sizeof again);
    ZentorM_8504_Msg::unpack_8504(packed, again);
    Hash unpackedBytes;
    unpackedBytes.add(&again, sizeof again);
    packed.words[kGssipHeaderWords + 200] = CalculateChecksum(packed.words.data(), 5, 204);
    MakeHeader(packed.words.data(), 8504, 200);
    line(dump, "frame 8504 header checksum %04x data checksum %04x unpacked %016llx", packed.words[4],
         packed.words[kGssipHeaderWords + 200], unpackedBytes.value());

    const ConsoleCapture console(std::cout);
    PrintMessageInHex(packed.words.data());
    dump += console.text();
}

void blendedNavigation(std::string& dump)
{
    using namespace aspn2_msgs::idl;
    auto utcTime = numbered<UTCTime>();
    utcTime.gps_week(2235);
    utcTime.gps_tow_sec(345678);
    utcTime.gps_tow_nsec(987654321.75);
    utcTime.utc_tod_sec(78);
    utcTime.utc_tod_nsec(987654321.75);
    utcTime.covariance()[0][0] = 4e-14;
    auto mis = numbered<MeasurementIncorporationStatus>();
    for (meas_type_set& entry : mis.meas_types()) {
        entry.meas_set_id(1);
        entry.meas_used(1);
    }
    auto pva = numbered<PositionVelocityAttitude>();
    for (std::size_t i = 0; i < 6; ++i) pva.covariance()[i][i] = 3.7 * static_cast<double>(i + 1);
    unpacked_msg8504_t receiver = {};
    receiver.angle084 = 1.25f;
    BlendedNavigation::MeasSources sources;
    sources.initMeasSourceEncoder();
    const auto record = BlendedNavigation::record(
        {utcTime, numbered<HalvexPNT>(), mis, pva, numbered<AssuranceState>(), receiver, false},
        [&](unsigned short id) { return sources.encodeVictoryMeasSource(id); });
    line(dump, "blended navigation gps seconds %a angle %a", record.gpsSeconds, record.angleDegrees);
    line(dump, "blended navigation errors %a %a %a", record.timeError, record.horizontalPositionError,
         record.verticalPositionError);
    Hash bytes;
    bytes.add(&record, sizeof record);
    line(dump, "blended navigation bytes %016llx", bytes.value());
    const VapntcTime time = BlendedNavigation::victoryTime(utcTime);
    bytes.add(&time, sizeof time);
    line(dump, "blended navigation and time %016llx", bytes.value());
}

void roundedNumbers(std::string& dump)
{
    for (const double number : kOddNumbers) {
        std::int32_t seconds = 0;
        std::int64_t nanoseconds = 0;
        ToSecondsNanoseconds(number, seconds, nanoseconds);
        line(dump, "round %a: %u %d, %d s %lld ns, fom %d %d %d", number, uround(number), iround(number), seconds,
             static_cast<long long>(nanoseconds), PositionUtilities::PosVar2Fom(number),
             PositionUtilities::PosVar2Efom(number), TimeUtilities::TimeVar2Tfom(number));
    }
}

/// Formats of the receiver: every one from drawn bits and back.
void formats(std::string& dump)
{
    Draws draws;
    Hash from, to;
    for (int i = 0; i < 2000; ++i) {
        const auto bits = std::bit_cast<std::array<std::uint16_t, 4>>(draws.next());
        from.number(CnvPdpD2PcD(bits));
        from.number(CnvPdpF2PcF({bits[0], bits[1]}));
        from.number(cnvte(bits));
        from.number(cnvts({bits[0], bits[1]}));
        TovelD tovel;
        std::memcpy(tovel.data(), bits.data(), tovel.size());
        from.number(CnvTovelD2PcD(tovel));
        double whole = 0;
        from.number(PdpD_modf(bits, whole));
        from.number(whole);
        const double number = draws.between(-1e9, 1e9);
        const PdpD pdp = cnvpcd(number);
        to.add(pdp.data(), sizeof pdp);
        const PdpF single = cnvpcs(static_cast<float>(number));
        to.add(single.data(), sizeof single);
        const TovelD written = CnvPcD2TovelE(number);
        to.add(written.data(), sizeof written);
        to.number(FromNBCD(bits[2]));
        to.number(ToNBCD(static_cast<std::uint16_t>(bits[3] % 10000)));
    }
    line(dump, "formats from the receiver %016llx to it %016llx", from.value(), to.value());
}

void times(std::string& dump)
{
    Draws draws;
    Hash dates;
    for (std::uint32_t week = 0; week < 6000; week += 7) {
        GpsDateTime time(week, static_cast<std::uint32_t>(draws.next() % 604800000u));
        GpsDateTime::CivilTimeStruct civil;
        time.ToCivilTime(civil, 18);
        dates.number(civil.year);
        dates.number(civil.month);
        dates.number(civil.day);
        dates.number(civil.hour);
        dates.number(civil.minute);
        dates.number(civil.seconds);
        dates.number(time.DayOfYear());
        const GpsDateTime back = GpsDateTime::CivilTimeToGpsDateTime(civil, 0.25, 18);
        dates.number(back.Week());
        dates.number(back.MillisecondsOfWeek());
        dates.number(back.Nanoseconds());
    }
    line(dump, "dates of %d weeks %016llx", 6000, dates.value());
}

void angles(std::string& dump)
{
    Draws draws;
    Hash turned;
    Stats stats(true, true);
    for (int i = 0; i < 2000; ++i) {
        const double angle = draws.between(-1e4, 1e4);
        turned.number(AngleUtility::NormalizeValue(angle, 360));
        turned.number(AngleUtility::NorthAzToGDIAngle(angle));
        turned.number(TimeUtilities::normalize_to_one_week(angle * 1000));
        std::array<double, 6> box;
        BoxToVeh(i % 24, box[0], box[1], box[2], box[3], box[4], box[5], angle, 2, 3, 4, 5, 6);
        turned.add(box.data(), sizeof box);
        stats.ObserveValue(angle);
    }
    line(dump, "angles %016llx, average %a deviation %a", turned.value(), stats.GetAverage(),
         stats.GetStandardDeviation());
}

/// Through functions of the C library, which may be wrong by the last bit, by each machine's own.
void places(std::string& dump)
{
    using QD_K71T_geometry::Geodetic;
    Draws draws;
    for (int i = 0; i < 12; ++i) {
        const double latitude = draws.between(-1.57, 1.57), longitude = draws.between(-3.14, 3.14);
        const auto ecef = Geodetic::ECEF_From_Geodetic(latitude, longitude, draws.between(-1000, 20000));
        const auto back = Geodetic::Geodetic_From_ECEF(ecef);
        line(dump, "place %.9g %.9g: %.4f %.4f %.4f, back %.9f %.9f %.3f, direction %.9f", latitude, longitude, ecef[0],
             ecef[1], ecef[2], back[0], back[1], back[2], DirectionRadiansFromVelocity(ecef[0], ecef[1]));
    }
}

void texts(std::string& dump)
{
    VersionStatus versions;
    versions.decodeResponse("SW1:1.2.3,SN1:\xE4\xF6\xFC,OS1:10.0");
    line(dump, "versions %s", versions.createMessage().c_str());
    for (const double number : kOddNumbers)
        line(dump, "text %s %.17g %g", std::to_string(number).c_str(), number, number);
}

}  // namespace

std::string dumpOfMachine()
{
    std::string dump;
    sizes(dump);
    recordsOfCatalogue(dump);
    frames(dump);
    blendedNavigation(dump);
    roundedNumbers(dump);
    formats(dump);
    times(dump);
    angles(dump);
    places(dump);
    texts(dump);
    return dump;
}
