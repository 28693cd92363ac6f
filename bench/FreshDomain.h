/** DDS domains for runs side by side. */
#pragma once

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <deque>
#include <stdexcept>

#include "bench/Descriptor.h"

namespace bench {

/** A domain that no other process has from here. It stays this process's own until sixteen more
 *  have been asked for. One thread at a time.
 *
 *  A domain is claimed by a name that the kernel frees with the process, so nothing is left behind.
 *  Raises std::runtime_error when all are taken.
 */
inline unsigned freshDomain() {
    constexpr unsigned domains = 200;  // above these the ports meet those that systems hand out
    constexpr std::size_t kept = 16;
    static std::deque<Descriptor> claims;
    static unsigned next = static_cast<unsigned>(::getpid()) * 13U;
    for (unsigned i = 0; i < domains; ++i) {
        const unsigned domain = next++ % domains + 1;
        sockaddr_un name{};
        name.sun_family = AF_UNIX;
        std::snprintf(name.sun_path + 1, sizeof name.sun_path - 1, "dds-domain-%03u", domain);
        Descriptor claim(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        if (::bind(claim.get(), reinterpret_cast<const sockaddr*>(&name), sizeof name) == 0) {
            claims.push_back(std::move(claim));
            if (claims.size() > kept) {
                claims.pop_front();
            }
            return domain;
        }
    }
    throw std::runtime_error("No DDS domain is free");
}

}  // namespace bench
