/** The server's process under the bench. */
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "bench/Deadline.h"
#include "bench/Descriptor.h"
#include "utilities/Mutex.h"

namespace bench {

/** A descriptor that poll() finds readable once the process has ended. */
Descriptor watchProcess(int pid);

/** A program run with its standard streams in our hands.
 *
 *  The program gets a process group of its own, so that a Ctrl-C at the console reaches only the
 *  bench, and is killed when the thread that made this object ends: make it on a thread that
 *  outlives it. The destructor kills the whole group.
 */
class ServerProcess {
public:
    struct Command {
        std::filesystem::path program;
        std::vector<std::string> arguments;
        std::map<std::string, std::string> environment;  ///< added to the environment of ours
        bool terminal = false;  ///< its standard input is a terminal of its own, else a pipe
    };
    struct Line {
        bool isError;  ///< from standard error
        std::string text;
    };
    /** How the process ended: an exit status, or the signal that ended it. */
    struct Ending {
        std::optional<int> status;
        std::optional<int> signal;
        bool operator==(const Ending&) const = default;
    };

    /** Raises std::system_error when the program can't be started. */
    explicit ServerProcess(const Command& command);
    ~ServerProcess();
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;

    int pid() const { return m_pid; }
    /** Sends a signal; nothing happens when the process has ended. */
    void signal(int number) const;
    /** Writes to the program's standard input as much as that has room for, and returns how much;
     *  0 once the program has closed it. */
    std::size_t type(std::string_view text) const;
    /** The end of the program's standard input; a terminal hangs up. */
    void closeInput() { m_input.close(); }
    /** Waits for the process's end; empty when it still runs at the deadline. When it has ended,
     *  all that it printed is in `lines`. */
    std::optional<Ending> wait(Deadline deadline);

    /** All lines so far, in the order of their arrival; a last one without its end is left out
     *  until the stream closes. Safe from any thread, as is the next. */
    std::vector<Line> lines() const EXCLUDES(m_mutex);
    /** Waits for a line that holds `text`, from the line `from` on; its index, or empty when the
     *  deadline has passed or the streams have closed without it. */
    std::optional<std::size_t> waitForLine(std::string_view text, Deadline deadline,
                                           std::size_t from = 0) const EXCLUDES(m_mutex);

private:
    struct Stream;
    void start(const Command& command);
    void readStreams() EXCLUDES(m_mutex);
    void takeLines(Stream& stream, bool closed) EXCLUDES(m_mutex);

    int m_pid = -1;
    std::optional<Ending> m_ending;
    Descriptor m_process;  ///< pidfd
    Descriptor m_input;
    Descriptor m_output;
    Descriptor m_error;
    Descriptor m_stop;  ///< the reader ends when this pipe closes
    Descriptor m_stopSeen;

    mutable utilities::Mutex m_mutex;
    mutable utilities::Condition m_changed;
    std::vector<Line> m_lines GUARDED_BY(m_mutex);
    bool m_closed GUARDED_BY(m_mutex) = false;

    std::thread m_reader;
};

}  // namespace bench
