/** Counts what the whole test program allocates with new. */
#pragma once

/** Allocations so far, of all threads. */
long allocations();
