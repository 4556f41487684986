#include "VICTORY/libvictory/victory.h"

/// The header is read by a C compiler here; what it makes of it is compared with C++.
size_t sizeInC(int record);

size_t sizeInC(int record)
{
    const size_t sizes[] = {sizeof(VapntcTime),
                            sizeof(VapntcMeasSource),
                            sizeof(VapntcBlendedNavigationRecord),
                            sizeof(VapntcNavWarSaThreat),
                            sizeof(VapntcNavWarSaRecord),
                            sizeof(VapntcWarningMessage),
                            sizeof(VapntcWarningMessagesRecord),
                            sizeof(VapntcComponentConfiguration),
                            sizeof(VapntcSystemConfiguration),
                            sizeof(VapntcSensor),
                            sizeof(VapntcAvailableSensors),
                            sizeof(VapntcAvailableOutputs),
                            sizeof(VapntcBitResult),
                            sizeof(VapntcBitResults),
                            sizeof(VapntcBitRequests)};
    return sizes[record];
}
