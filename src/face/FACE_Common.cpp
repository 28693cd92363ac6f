#include "face/FACE_Common.h"

#include <array>
#include <stdexcept>
#include <string>

#include "utilities/Console.h"

namespace FACE {

namespace {

constexpr std::array NAMES = {
    "NO_ERROR",
    "NO_ACTION",
    "NOT_AVAILABLE",
    "INVALID_PARAM",
    "INVALID_CONFIG",
    "INVALID_MODE",
    "TIMED_OUT",
    "ADDR_IN_USE",
    "PERMISSION_DENIED",
    "MESSAGE_STALE",
    "IN_PROGRESS",
    "CONNECTION_CLOSED",
    "DATA_BUFFER_TOO_SMALL",
    "DATA_OVERFLOW",
};
static_assert(NAMES.size() == RETURN_CODE_TYPE::DATA_OVERFLOW + 1);

const char* nameOf(RETURN_CODE_TYPE::Value code) noexcept {
    return code < NAMES.size() ? NAMES[code] : "RC_UNKNOWN";
}

[[noreturn]] void throw_error(const char* file, int line, const char* message,
                              RETURN_CODE_TYPE::Value code) {
    const std::string text = utilities::concat(file, '[', line, "]:", nameOf(code), ' ', message);
    utilities::printLine(text);
    throw std::runtime_error(text);
}

}  // namespace

String RETURN_CODE_TYPE::ToString(Value code) noexcept {
    String::RETURN_CODE ignored{};
    return {nameOf(code), ignored};
}

void Return_Code_Value_No_Error(const char* file, int line, const char* message,
                                RETURN_CODE_TYPE::Value code) {
    if (code != RETURN_CODE_TYPE::NO_ERROR) {
        throw_error(file, line, message, code);
    }
}

void Return_Code_Value_No_Error_No_Action(const char* file, int line, const char* message,
                                          RETURN_CODE_TYPE::Value code) {
    if (code != RETURN_CODE_TYPE::NO_ACTION) {
        Return_Code_Value_No_Error(file, line, message, code);
    }
}

}  // namespace FACE
