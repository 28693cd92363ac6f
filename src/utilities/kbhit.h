/** Single keys of the console, without waiting for them. One thread at a time. */
#pragma once

/** How many bytes wait on standard input; 0 where that can't be known, at its end, and while this
 *  process is in the background of its terminal, where touching it would stop the process.
 *
 *  The first call in the foreground makes a terminal hand over each key as it is pressed; echo
 * stays as it is, and nothing is restored at exit.
 */
int _kbhit();  // NOLINT(bugprone-reserved-identifier)

/** The next byte of standard input as getc returns it, after _kbhit has told of one; EOF when there
 *  is none after all.
 */
int nextKey();
