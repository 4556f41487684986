#include "VICTORY/OrvaneServer/BuildInfo.h"

namespace BuildInfo {

const char* partNumber()
{
    return ORVANE_PART_NUMBER;
}

const char* makersStatement()
{
    return ORVANE_MAKERS_STATEMENT;
}

}  // namespace BuildInfo
