/** Counts uses of operator new: of the program that tests/support/Allocations.cpp is linked into,
 *  and of its shared libraries.
 */
#pragma once

/** Of the whole program so far. */
long allocations();
/** Of the calling thread so far. */
long allocationsOfThread();
