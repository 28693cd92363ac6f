/** Ownership of a file descriptor. */
#pragma once

#include "utilities/Descriptor.h"

namespace victory {

using utilities::Descriptor;

}  // namespace victory
