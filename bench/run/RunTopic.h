/** `./run --topic`: a sample of one of the system's message types, from one process to another. */
#pragma once

#include <string>

namespace bench {

/** Lays a unit's configuration, publishes a sample of the type in a domain of its own, and shows it
 *  as another process has received it. "help" lists the types. Returns the exit status: 0 when the
 *  sample came as it was sent. Raises std::runtime_error, or what is derived from it. */
int showTopic(const std::string& type);

/** The other process: hears one message of the type on the connections of that file and prints
 *  it. */
int hearTopic(const std::string& type, const std::string& file);

}  // namespace bench
