/** Lines of the VICTORY bus in words that a person reads. */
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace victory {

/** One line of text, without its end, for a line of the bus: greeting, report, or reply.
 *
 *  Nothing for a line that is none of these. Fields that are missing or of another type are left
 *  out, so it takes whatever a bus may send.
 */
std::optional<std::string> describe(const nlohmann::json& line);

}  // namespace victory
