/** Where the platform's absolute paths are opened. */
#pragma once

#include <string>
#include <string_view>

namespace utilities {

/** The path to open for `path`.
 *
 *  Paths of the platform ("/dev/mem", "/dev/mcs" and a number, all below "/opt/halcyrine/config/")
 *  lie below the directory that the environment variable HALCYRINE_ROOT names; unset or empty means
 *  "/". Any other path is returned as it is. Called where a path is opened; names, messages and
 *  fields keep the plain path.
 */
std::string resolvePath(std::string_view path);

}  // namespace utilities
