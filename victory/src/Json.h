/** JSON as the bus speaks it. */
#pragma once

#include <cstddef>
#include <cstring>
#include <nlohmann/json.hpp>
#include <string>

namespace victory {

/** Keys stay in the order of the records. */
using Json = nlohmann::ordered_json;

/** One line of the bus, its end included. Bytes that are no UTF-8 are replaced, never refused; a
 *  number that isn't finite becomes null. */
inline std::string toLine(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

/** The text in a fixed array, which may lack its NUL. */
template <std::size_t N>
std::string textOf(const char (&array)[N]) {
    return {array, ::strnlen(array, N)};
}

}  // namespace victory
