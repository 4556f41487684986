#ifndef TESTS_SUPPORT_CODEOF_H
#define TESTS_SUPPORT_CODEOF_H

#include "face/FACE_Common.h"

/// A code that no operation answers.
constexpr auto kUntouched = static_cast<FACE::RETURN_CODE_TYPE::Value>(77);

/// What an operation answers by the code that it is handed; `kUntouched` if it leaves that as it was.
template <class Operation>
FACE::RETURN_CODE_TYPE::Value codeOf(Operation operation)
{
    FACE::RETURN_CODE_TYPE::Value code = kUntouched;
    operation(code);
    return code;
}

#endif
