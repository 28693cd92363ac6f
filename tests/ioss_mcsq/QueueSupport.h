/** What the tests of the queue path share. */
#pragma once

#include <unistd.h>

#include <string>
#include <string_view>

#include "support/Captured.h"
#include "support/Eventually.h"

/** Puts all of `bytes` on a pipe at once; there is room for a megabyte. */
inline bool put(int pipe, std::string_view bytes) {
    return ::write(pipe, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
}

/** What waits in a pipe. */
inline std::string takeAll(int pipe) {
    std::string bytes(1 << 20, '\0');
    const ssize_t got = ::read(pipe, bytes.data(), bytes.size());
    bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return bytes;
}
