/** victory.h for the sources that implement it: what it declares is what the library exports. To be
 *  included before anything else of ours. */
#pragma once

#pragma GCC visibility push(default)
#include "victory/victory.h"
#pragma GCC visibility pop
