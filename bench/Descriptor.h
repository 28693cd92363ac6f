/** File descriptors, and system calls that have to work. */
#pragma once

#include <cerrno>
#include <string>
#include <system_error>

#include "victory/socket/Descriptor.h"

namespace bench {

using victory::Descriptor;

/** `result` of a system call; -1 raises std::system_error with the errno and `what` was tried. */
inline int checked(int result, const std::string& what) {
    if (result == -1) {
        throw std::system_error(errno, std::generic_category(), what);
    }
    return result;
}

}  // namespace bench
