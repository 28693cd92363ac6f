/** Priority and processor of the calling thread; threads that it starts later inherit both. */
#pragma once

/** Puts the thread under SCHED_FIFO with `priority`, held to the range that the system allows.
 *  False when the system refuses.
 */
bool okSetRealtimeProcessPriority(unsigned char priority);

/** Ties the thread to processor `cpu`, counted from 1, and prints a line for every processor that
 *  it may run on afterwards. False when the system refuses, as it does a processor that is not
 *  there; the thread then runs where it ran before.
 */
bool okSetCpuAffinity(unsigned char cpu);
