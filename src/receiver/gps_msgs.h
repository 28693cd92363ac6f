/** Free functions on raw GSSIP frames. All take a pointer to word 0 of a frame that is as long as
 *  its word count says; only the forms with `bytes` accept anything. Any thread.
 */
#pragma once

#include <cstddef>
#include <string>

/** The two's complement of the sum of `words[start]` to `words[end]`, both included, modulo 65536;
 *  0 when `start` > `end`. */
unsigned short CalculateChecksum(unsigned short const* words, unsigned start, unsigned end);

/** Writes the five header words. Returns word 4, the header checksum. */
unsigned short MakeHdrSpecifyFlagWd(unsigned short* frame, unsigned short id, unsigned short flags,
                                    unsigned short wordCount);

/** The header of a plain message. */
unsigned short MakeHeader(unsigned short* frame, unsigned short id, unsigned short wordCount);

/** A whole frame without data that acknowledges, or refuses, message `id`. */
unsigned short MakeACK(unsigned short* frame, unsigned short id);
unsigned short MakeNAK(unsigned short* frame, unsigned short id);

/** Fills in both checksums of a finished frame. False, with a line on the error stream and only the
 *  header checksum written: the word count is above 32500, or there are data words but no sync
 *  word. */
bool OkChecksumGPSmessage(unsigned short* frame);

/** Verifies both checksums of a received frame. False, with a line on the error stream: a wrong
 *  header checksum, a word count above 106, or a wrong data checksum. */
bool ChecksumsAreOkInGPSmessage(unsigned short const* frame);

/** The frame as lines of text, each with its end: the header, up to ten data words a row, the data
 *  checksum. The text opens with "Header:", so a lead may be put in front of it. */
std::string FormatMessageInHex(unsigned short const* frame);

/** The same of a received frame of `bytes` bytes at any address: what the word count promises but
 *  the bytes don't hold is left out, as is what follows the frame. */
std::string FormatMessageInHex(unsigned char const* frame, std::size_t bytes);

/** Writes the text of `FormatMessageInHex` to standard output in one call. */
void PrintMessageInHex(unsigned short const* frame);
void PrintMessageInHex(unsigned char const* frame, std::size_t bytes);
