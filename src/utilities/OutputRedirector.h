/** Captures what a closed library prints on the process's standard streams. */
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdio>
#include <functional>

/** Points C stdio's `stdout` and `stderr` at a function; std::cout and std::cerr stay as they are.
 *
 *  One redirection is in force at a time, whatever the number of objects. The captured stream is
 *  line-buffered: a line that fits its buffer of 16 KiB arrives whole, however many calls printed
 *  it, and what an fflush pushes out arrives at once. Prints of several threads arrive in turn.
 */
class COutputRedirector {
public:
    /** Takes a piece of text (NUL-terminated behind `size`), on the thread that printed it and with
     *  the stream locked: it must not wait for a thread that may print. Returns how many bytes it
     *  took; 0 lets the text go to the saved standard output, as all goes that it prints itself.
     */
    using Writer = std::function<int(const char* text, unsigned size)>;

    COutputRedirector() = default;
    ~COutputRedirector();
    COutputRedirector(const COutputRedirector&) = delete;
    COutputRedirector& operator=(const COutputRedirector&) = delete;

    /** True when both streams now go to `writer`. False, with nothing changed, when a redirection
     *  is in force already or the stream cannot be opened.
     */
    bool redirect(Writer writer);

    /** Ends this object's redirection, if it is in force: the rest of an unfinished line goes to
     *  the writer, and both streams are again what they were. No call of the writer runs any more
     *  when this returns. A print that began before and writes after it reaches the saved standard
     *  output.
     */
    void reset();

private:
    static std::FILE* capturedStream();
    static ssize_t file_write(void* cookie, const char* buffer, std::size_t size);
    ssize_t deliver(std::FILE* original, const char* buffer, std::size_t size);

    /** The object whose redirection is in force. Guarded, like its writer, by the mutex of the
     *  redirection.
     */
    static COutputRedirector* s_current;
    Writer m_writer;
};
