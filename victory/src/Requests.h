/** The requests of bus clients. */
#pragma once

#include <string>

#include "victory/socket/LineSplitter.h"
#include "victory/src/Callbacks.h"
#include "victory/src/Json.h"

namespace victory {

/** Longest request line, without its end. A full hot start record in hexadecimal takes 1.3 MB. */
inline constexpr std::size_t kMaximumRequestBytes = std::size_t{4} << 20;

/** The names of the requests that `callbacks` offer. */
Json offeredRequests(const Callbacks& callbacks);

/** Carries out one line of a client: reads it, calls the callback, returns the reply line.
 *
 *  Runs on a worker thread for as long as the callback takes, with no lock held. Nothing in the
 *  line can make it fail: what can't be read is answered with an error and said on standard error.
 */
std::string answer(const Callbacks& callbacks, VgpssService* service,
                   const LineSplitter::Line& line);

/** A reply that says why there is no result. */
std::string errorReply(const Json& id, const std::string& text);

}  // namespace victory
