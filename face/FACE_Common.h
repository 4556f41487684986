#ifndef FACE_FACE_COMMON_H
#define FACE_FACE_COMMON_H

#include "face/FACE_String.h"

#include <cstdint>

namespace FACE {

/// The status of every service operation.
class RETURN_CODE_TYPE {
public:
    enum Value : std::int32_t {
        NO_ERROR = 0,
        NO_ACTION = 1,
        NOT_AVAILABLE = 2,
        INVALID_PARAM = 3,
        INVALID_CONFIG = 4,
        INVALID_MODE = 5,
        TIMED_OUT = 6,
        ADDR_IN_USE = 7,
        PERMISSION_DENIED = 8,
        MESSAGE_STALE = 9,
        IN_PROGRESS = 10,
        CONNECTION_CLOSED = 11,
        DATA_BUFFER_TOO_SMALL = 12,
        DATA_OVERFLOW = 13
    };

    /// The name of a code; "RC_UNKNOWN" for a number that is none.
    static String ToString(Value value);
};

/// Checks a status. On any value but `NO_ERROR`, prints "<file>[<line>]:<CODE> <text>" as one line to the standard
/// output and throws the same text as `std::runtime_error`. A null `file` or `text` counts as empty.
void Return_Code_Value_No_Error(const char* file, int line, const char* text, RETURN_CODE_TYPE::Value value);

/// As `Return_Code_Value_No_Error`, and `NO_ACTION` passes too: for operations that may have been done already.
/// The test is on the number: what is greater than 1 fails.
void Return_Code_Value_No_Error_No_Action(const char* file, int line, const char* text, RETURN_CODE_TYPE::Value value);

}  // namespace FACE

#endif
