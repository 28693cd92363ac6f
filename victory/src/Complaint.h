/** What the library says on standard error. */
#pragma once

#include <string>
#include <string_view>

namespace victory {

/** Writes one whole line to C stdio's stderr, in one call. Any thread; holds no lock. */
void complain(const std::string& text);

/** Says that a client's request could not be read, in the words that bus maintenance looks for. */
void complainOfSender(const std::string& text);

/** Text of a stranger, fit for a line of ours: at most 64 characters, printable ASCII. */
std::string printable(std::string_view text);

}  // namespace victory
