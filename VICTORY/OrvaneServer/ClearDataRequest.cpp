#include "VICTORY/OrvaneServer/ClearDataRequest.h"

ClearDataRequest requestOf(const VapntcSystemData* data)
{
    if (!data) return {ClearDataCommand::CLEAR_ZEROIZE, ""};
    switch (*data) {
    case VAPNTC_SYSTEM_DATA_ALL:
        return {ClearDataCommand::CLEAR_DESTROY, ""};
    case VAPNTC_SYSTEM_DATA_CRYPTO:
        return {std::nullopt, ": VAPNTC_SYSTEM_DATA_CRYPTO command is not supported from APNT."};
    case VAPNTC_SYSTEM_DATA_INVALID:
        return {ClearDataCommand::CLEAR_NONE, ": Received VAPNTC_SYSTEM_DATA_INVALID. Nothing to do."};
    }
    return {std::nullopt, ": Unknown systemDataType: " + std::to_string(*data)};
}
