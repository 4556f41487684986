#include "face/FACE_Common.h"

#include <iostream>
#include <stdexcept>
#include <string>

namespace FACE {

namespace {

constexpr const char* kNames[] = {
    "NO_ERROR",     "NO_ACTION",         "NOT_AVAILABLE",         "INVALID_PARAM",     "INVALID_CONFIG",
    "INVALID_MODE", "TIMED_OUT",         "ADDR_IN_USE",           "PERMISSION_DENIED", "MESSAGE_STALE",
    "IN_PROGRESS",  "CONNECTION_CLOSED", "DATA_BUFFER_TOO_SMALL", "DATA_OVERFLOW"};
static_assert(std::size(kNames) == RETURN_CODE_TYPE::DATA_OVERFLOW + 1);

const char* nameOf(RETURN_CODE_TYPE::Value value)
{
    const auto number = static_cast<std::uint32_t>(value);  // a negative one is beyond the table too
    return number < std::size(kNames) ? kNames[number] : "RC_UNKNOWN";
}

[[noreturn]] void fail(const char* file, int line, const char* text, RETURN_CODE_TYPE::Value value)
{
    std::string message(file ? file : "");
    message.append("[").append(std::to_string(line)).append("]:");
    message.append(nameOf(value)).append(" ").append(text ? text : "");
    std::cout << message + "\n" << std::flush;
    throw std::runtime_error(message);
}

}  // namespace

String RETURN_CODE_TYPE::ToString(Value value)
{
    String::RETURN_CODE copied = String::NO_ERROR;
    return String(nameOf(value), copied);
}

void Return_Code_Value_No_Error(const char* file, int line, const char* text, RETURN_CODE_TYPE::Value value)
{
    if (value != RETURN_CODE_TYPE::NO_ERROR) fail(file, line, text, value);
}

void Return_Code_Value_No_Error_No_Action(const char* file, int line, const char* text, RETURN_CODE_TYPE::Value value)
{
    if (value > RETURN_CODE_TYPE::NO_ACTION) fail(file, line, text, value);
}

}  // namespace FACE
