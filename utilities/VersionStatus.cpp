#include "utilities/VersionStatus.h"

#include "utilities/StringUtils.h"

#include <algorithm>
#include <iterator>
#include <span>
#include <stdexcept>
#include <vector>

/// The texts of the fields, and the orders in which messages hold them.
struct VersionStatus::Vocabulary {
    static constexpr const char* kPrefix = "PARTNUMBERS";
    static constexpr const char* kKeys[kValues] = {"SW1",   "SW2",   "SW3",   "SW4",   "SW5", "SW6",
                                                   "SW7",   "SW8",   "OS1",   "OS2",   "FW1", "FW2",
                                                   "HWPN1", "HWPN2", "HWSN1", "HWSN2", "AT"};

    static constexpr Field kAll[] = {Software1, Firmware1, Hardware1, Serial1,   Os1,         Software2,
                                     Firmware2, Hardware2, Serial2,   Os2,       Software3,   Software4,
                                     Software5, Software6, Software7, Software8, AntennaTable};
    static constexpr Field kSoftware[] = {Software1, Firmware1, Os1,       Software2, Firmware2, Os2,         Software3,
                                          Software4, Software5, Software6, Software7, Software8, AntennaTable};
    static constexpr Field kSerials[] = {Serial1, Serial2};

    static_assert(std::size(kAll) == kValues);

    static std::vector<std::string> fieldsOf(const VersionStatus& status, std::span<const Field> order)
    {
        std::vector<std::string> fields;
        for (const Field field : order)
            if (status.m_isSet[field]) fields.push_back(std::string(kKeys[field]) + ":" + status.m_values[field]);
        return fields;
    }
};

VersionStatus& VersionStatus::Instance()
{
    static VersionStatus instance;
    return instance;
}

void VersionStatus::reset()
{
    m_isSet.fill(false);
}

const char* VersionStatus::get(Field field) const
{
    return m_isSet[field] ? m_values[field].c_str() : "";
}

void VersionStatus::set(Field field, const std::string& value)
{
    m_values[field] = StringUtils::rtrim(value);
    m_isSet[field] = !m_values[field].empty();
}

std::string VersionStatus::createMessage() const
{
    std::vector<std::string> fields = Vocabulary::fieldsOf(*this, Vocabulary::kAll);
    fields.insert(fields.begin(), Vocabulary::kPrefix);
    return StringUtils::join(fields, ',');
}

std::string VersionStatus::createSoftwareFirmwareOnlyMessage() const
{
    return StringUtils::join(Vocabulary::fieldsOf(*this, Vocabulary::kSoftware), ',');
}

std::string VersionStatus::createSerialNumberOnlyMessage() const
{
    return StringUtils::join(Vocabulary::fieldsOf(*this, Vocabulary::kSerials), ',');
}

void VersionStatus::decodeResponse(const char* text)
{
    reset();
    // Callers print this text, which the standard library's own exception no longer has.
    if (!text) throw std::logic_error("basic_string::_M_construct null not valid");
    for (const std::string& field : StringUtils::split(text, ',')) {
        const std::size_t colon = field.find(':');
        if (colon == std::string::npos || colon + 1 == field.size()) continue;
        const auto key = std::ranges::find(Vocabulary::kKeys, field.substr(0, colon));
        if (key == std::end(Vocabulary::kKeys)) continue;
        set(static_cast<Field>(key - std::begin(Vocabulary::kKeys)), field.substr(colon + 1));
    }
    m_isSet[VersionInfo] = true;
}
