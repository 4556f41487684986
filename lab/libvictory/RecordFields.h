#ifndef LAB_LIBVICTORY_RECORDFIELDS_H
#define LAB_LIBVICTORY_RECORDFIELDS_H

#include "VICTORY/libvictory/victory.h"

#include <nlohmann/json.hpp>

namespace labvictory {

/// Members keep the order of the record.
using Json = nlohmann::ordered_json;

/// A record, every member by its name in the header and its unit where the name doesn't tell it (`azimuth_rad`). Of a
/// list there are the rows in use, 50 at the most whatever the count says, and the count as it stands. Reserved members
/// are left out; where one is not zero its offset is in `reservedNotZero`. Pure functions, any thread.
Json toJson(const VapntcTime& record);
Json toJson(const VapntcBlendedNavigationRecord& record);
Json toJson(const VapntcNavWarSaRecord& record);
Json toJson(const VapntcWarningMessagesRecord& record);
Json toJson(const VapntcSystemConfiguration& record);
Json toJson(const VapntcAvailableOutputs& record);
Json toJson(const VapntcAvailableSensors& record);
Json toJson(const VapntcBitResults& record);

/// A number of JSON; one that is not finite as the text "nan", "inf" or "-inf".
Json number(double value);

/// The bytes up to the first zero.
Json text(const char* characters, std::size_t size);

/// One line with its end, valid UTF-8 whatever the texts hold.
std::string lineOf(const Json& object);

}  // namespace labvictory

#endif
