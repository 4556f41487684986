#ifndef UTILITIES_VERSIONSTATUS_H
#define UTILITIES_VERSIONSTATUS_H

#include <array>
#include <cstddef>
#include <string>

/// The identity of one component of the unit, and its text form: fields KEY:VALUE between commas, as in
/// "PARTNUMBERS,SW1:1.2,FW1:3.4,HWPN1:345-1290-118B,HWSN1:0042". The first colon of a field separates, so that a value
/// may hold colons, but no commas.
///
/// A getter gives the text of a value that is set, otherwise an empty text, never null; it is good until the value is
/// set again or the object ends. A setter cuts trailing whitespace, and an empty rest makes the value one that isn't
/// set. One thread at a time.
class VersionStatus {
public:
    /// Nothing is set.
    VersionStatus() = default;

    /// The one of the process, made at first use. Nothing guards it.
    static VersionStatus& Instance();

    /// Makes every value one that isn't set, and forgets that a text was decoded.
    void reset();

    /// Whether a text was decoded into the object, whatever it held.
    bool isVersionInfoSet() const { return m_isSet[VersionInfo]; }

    const char* getSoftware1Version() const { return get(Software1); }
    const char* getSoftware2Version() const { return get(Software2); }
    const char* getSoftware3Version() const { return get(Software3); }
    const char* getSoftware4Version() const { return get(Software4); }
    const char* getSoftware5Version() const { return get(Software5); }
    const char* getSoftware6Version() const { return get(Software6); }
    const char* getSoftware7Version() const { return get(Software7); }
    const char* getSoftware8Version() const { return get(Software8); }
    const char* getOs1Version() const { return get(Os1); }
    const char* getOs2Version() const { return get(Os2); }
    const char* getFirmware1Version() const { return get(Firmware1); }
    const char* getFirmware2Version() const { return get(Firmware2); }
    const char* getHardware1Version() const { return get(Hardware1); }
    const char* getHardware2Version() const { return get(Hardware2); }
    const char* getSerialNumber1() const { return get(Serial1); }
    const char* getSerialNumber2() const { return get(Serial2); }
    const char* getAntennaTable() const { return get(AntennaTable); }

    // NOLINTBEGIN(performance-unnecessary-value-param): the interface takes its texts by value.
    void setSoftware1Version(std::string value) { set(Software1, value); }
    void setSoftware2Version(std::string value) { set(Software2, value); }
    void setSoftware3Version(std::string value) { set(Software3, value); }
    void setSoftware4Version(std::string value) { set(Software4, value); }
    void setSoftware5Version(std::string value) { set(Software5, value); }
    void setSoftware6Version(std::string value) { set(Software6, value); }
    void setSoftware7Version(std::string value) { set(Software7, value); }
    void setSoftware8Version(std::string value) { set(Software8, value); }
    void setOs1Version(std::string value) { set(Os1, value); }
    void setOs2Version(std::string value) { set(Os2, value); }
    void setFirmware1Version(std::string value) { set(Firmware1, value); }
    void setFirmware2Version(std::string value) { set(Firmware2, value); }
    void setHardware1Version(std::string value) { set(Hardware1, value); }
    void setHardware2Version(std::string value) { set(Hardware2, value); }
    void setSerialNumber1(std::string value) { set(Serial1, value); }
    void setSerialNumber2(std::string value) { set(Serial2, value); }
    void setAntennaTable(std::string value) { set(AntennaTable, value); }
    // NOLINTEND(performance-unnecessary-value-param)

    /// "PARTNUMBERS", then comma, key, colon, value for each value that is set: those of unit 1, of unit 2, then the
    /// other software and the antenna table.
    std::string createMessage() const;

    /// Key, colon, value of what is software, firmware, operating system or antenna table, between commas; empty if
    /// none is set.
    std::string createSoftwareFirmwareOnlyMessage() const;

    /// Key, colon, value of the serial numbers, between commas; empty if none is set.
    std::string createSerialNumberOnlyMessage() const;

    /// Makes the object hold what a response says and nothing else. Fields without a value or with an unknown key are
    /// skipped; of fields with the same key the last counts. Throws `std::logic_error` for null.
    void decodeResponse(const char* text);

private:
    enum Field : std::size_t {
        Software1,
        Software2,
        Software3,
        Software4,
        Software5,
        Software6,
        Software7,
        Software8,
        Os1,
        Os2,
        Firmware1,
        Firmware2,
        Hardware1,
        Hardware2,
        Serial1,
        Serial2,
        AntennaTable,
        VersionInfo  // no value, only a flag
    };
    static constexpr std::size_t kValues = VersionInfo;

    struct Vocabulary;

    const char* get(Field field) const;
    void set(Field field, const std::string& value);

    std::array<std::string, kValues> m_values;
    std::array<bool, kValues + 1> m_isSet = {};
};

#endif
