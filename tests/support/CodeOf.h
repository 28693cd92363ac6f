#pragma once

#include <functional>
#include <utility>

#include "face/FACE_Common.h"

/** The code that `operation` of a service ends with; TIMED_OUT, which none of them gives, when it
 *  left the code alone.
 */
template <typename Operation, typename Service, typename... Arguments>
FACE::RETURN_CODE_TYPE::Value codeOf(Operation operation, Service& service,
                                     Arguments&&... arguments) {
    auto rc = FACE::RETURN_CODE_TYPE::TIMED_OUT;
    std::invoke(operation, service, std::forward<Arguments>(arguments)..., rc);
    return rc;
}
