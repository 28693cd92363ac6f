#include "bench/ServerProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>

namespace bench {
namespace {

struct Pipe {
    Descriptor reading;
    Descriptor writing;
};

Pipe makePipe() {
    int ends[2];
    checked(::pipe2(ends, O_CLOEXEC), "Can't make a pipe");
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

/** A pseudo-terminal, which is nobody's controlling terminal: we write what an operator types. */
Pipe makeTerminal() {
    Descriptor ours(
        checked(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC), "Can't make a terminal"));
    checked(::grantpt(ours.get()), "Can't make a terminal");
    checked(::unlockpt(ours.get()), "Can't make a terminal");
    char name[64];
    checked(-static_cast<int>(::ptsname_r(ours.get(), name, sizeof name) != 0),
            "Can't name a terminal");
    Descriptor theirs(
        checked(::open(name, O_RDWR | O_NOCTTY | O_CLOEXEC), "Can't open a terminal"));
    return {std::move(theirs), std::move(ours)};
}

std::vector<std::string> mergedEnvironment(const std::map<std::string, std::string>& added) {
    std::vector<std::string> all;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string_view text(*entry);
        if (!added.contains(std::string(text.substr(0, text.find('='))))) {
            all.emplace_back(text);
        }
    }
    for (const auto& [name, value] : added) {
        all.push_back(std::string(name).append("=").append(value));
    }
    return all;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result(texts.size() + 1);
    std::ranges::transform(texts, result.begin(), [](std::string& text) { return text.data(); });
    return result;
}

/** In the child, where only what is safe in a signal handler may be called. */
struct Child {
    int streams[3];
    int failure;  ///< takes the errno when the program can't be run
    pid_t parent;
    const char* program;
    char** arguments;
    char** environment;

    [[noreturn]] void run() const {
        ::setpgid(0, 0);
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() != parent) {
            ::_exit(127);
        }
        sigset_t none;
        ::sigemptyset(&none);
        ::sigprocmask(SIG_SETMASK, &none, nullptr);
        ::signal(SIGPIPE, SIG_DFL);
        for (int stream = 0; stream < 3; ++stream) {
            ::dup2(streams[stream], stream);
        }
        ::execve(program, arguments, environment);
        const int error = errno;
        [[maybe_unused]] const auto written = ::write(failure, &error, sizeof error);
        ::_exit(127);
    }
};

void killGroup(int leader) {
    // 0, 1 and -1 would stand for other processes than one of ours.
    if (leader > 1) {
        ::kill(-leader, SIGKILL);
    }
}

}  // namespace

Descriptor watchProcess(int pid) {
    // The C library's own wrapper has C++ linkage by mistake in this release.
    return Descriptor(
        checked(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)), "Can't watch the process"));
}

struct ServerProcess::Stream {
    int fd;
    bool isError;
    std::string text;  ///< what has come since the last end of line
};

ServerProcess::ServerProcess(const Command& command) {
    Pipe stop = makePipe();
    m_stopSeen = std::move(stop.reading);
    m_stop = std::move(stop.writing);
    start(command);
    m_reader = std::thread([this] { readStreams(); });
}

ServerProcess::~ServerProcess() {
    killGroup(m_pid);
    if (!m_ending) {
        ::waitpid(m_pid, nullptr, 0);
    }
    m_stop.close();
    m_reader.join();
}

void ServerProcess::start(const Command& command) {
    Pipe input = command.terminal ? makeTerminal() : makePipe();
    checked(::fcntl(input.writing.get(), F_SETFL, O_NONBLOCK), "Can't set up an input");
    Pipe output = makePipe();
    Pipe error = makePipe();
    Pipe failure = makePipe();
    std::vector<std::string> arguments = command.arguments;
    arguments.insert(arguments.begin(), command.program.string());
    std::vector<std::string> environment = mergedEnvironment(command.environment);
    const std::vector<char*> argumentPointers = pointers(arguments);
    const std::vector<char*> environmentPointers = pointers(environment);
    const Child child{{input.reading.get(), output.writing.get(), error.writing.get()},
                      failure.writing.get(),
                      ::getpid(),
                      command.program.c_str(),
                      const_cast<char**>(argumentPointers.data()),
                      const_cast<char**>(environmentPointers.data())};
    m_pid = checked(::fork(), "Can't start a process");
    if (m_pid == 0) {
        child.run();
    }
    failure.writing.close();
    int reason = 0;
    if (::read(failure.reading.get(), &reason, sizeof reason) == sizeof reason) {
        ::waitpid(m_pid, nullptr, 0);
        throw std::system_error(reason, std::generic_category(),
                                "Can't run " + command.program.string());
    }
    m_process = watchProcess(m_pid);
    m_input = std::move(input.writing);
    m_output = std::move(output.reading);
    m_error = std::move(error.reading);
}

void ServerProcess::signal(int number) const {
    ::syscall(SYS_pidfd_send_signal, m_process.get(), number, nullptr, 0);
}

std::size_t ServerProcess::type(std::string_view text) const {
    const auto count = ::write(m_input.get(), text.data(), text.size());
    if (count == -1 && errno != EAGAIN && errno != EINTR && errno != EPIPE && errno != EIO) {
        checked(-1, "Can't type");
    }
    return static_cast<std::size_t>(std::max<ssize_t>(count, 0));
}

std::optional<ServerProcess::Ending> ServerProcess::wait(Deadline deadline) {
    if (m_ending) {
        return m_ending;
    }
    pollfd ended{m_process.get(), POLLIN, 0};
    while (::poll(&ended, 1, pollTimeout(deadline)) == -1 && errno == EINTR) {
    }
    int status = 0;
    if (::waitpid(m_pid, &status, WNOHANG) != m_pid) {
        return std::nullopt;
    }
    m_ending = WIFEXITED(status) ? Ending{WEXITSTATUS(status), std::nullopt}
                                 : Ending{std::nullopt, WTERMSIG(status)};
    utilities::MutexLock lock(m_mutex);
    // A child of the program that lives on may hold the streams open.
    while (!m_closed && m_changed.wait_until(m_mutex, within(std::chrono::seconds(1)))) {
    }
    return m_ending;
}

std::vector<ServerProcess::Line> ServerProcess::lines() const {
    utilities::MutexLock lock(m_mutex);
    return m_lines;
}

std::optional<std::size_t> ServerProcess::waitForLine(std::string_view text, Deadline deadline,
                                                      std::size_t from) const {
    utilities::MutexLock lock(m_mutex);
    bool last = false;
    while (true) {
        for (; from < m_lines.size(); ++from) {
            if (m_lines[from].text.find(text) != std::string::npos) {
                return from;
            }
        }
        if (last || m_closed) {
            return std::nullopt;
        }
        last = !m_changed.wait_until(m_mutex, deadline);
    }
}

void ServerProcess::readStreams() {
    std::array<Stream, 2> streams{{{m_output.get(), false, {}}, {m_error.get(), true, {}}}};
    std::array<pollfd, 3> polled{
        {{streams[0].fd, POLLIN, 0}, {streams[1].fd, POLLIN, 0}, {m_stopSeen.get(), POLLIN, 0}}};
    while (polled[0].fd != -1 || polled[1].fd != -1) {
        if (::poll(polled.data(), polled.size(), -1) == -1) {
            continue;
        }
        for (std::size_t index = 0; index < streams.size(); ++index) {
            if (polled[index].revents == 0) {
                continue;
            }
            char buffer[4096];
            const auto count = ::read(streams[index].fd, buffer, sizeof buffer);
            const bool closed = count == 0 || (count == -1 && errno != EINTR);
            streams[index].text.append(buffer, static_cast<std::size_t>(std::max(count, 0L)));
            takeLines(streams[index], closed);
            polled[index].fd = closed ? -1 : polled[index].fd;
        }
        if (polled[2].revents != 0) {
            break;
        }
    }
    utilities::MutexLock lock(m_mutex);
    m_closed = true;
    m_changed.notify_all();
}

void ServerProcess::takeLines(Stream& stream, bool closed) {
    utilities::MutexLock lock(m_mutex);
    std::size_t start = 0;
    for (std::size_t end; (end = stream.text.find('\n', start)) != std::string::npos;
         start = end + 1) {
        m_lines.push_back({stream.isError, stream.text.substr(start, end - start)});
    }
    stream.text.erase(0, start);
    if (closed && !stream.text.empty()) {
        m_lines.push_back({stream.isError, std::exchange(stream.text, {})});
    }
    m_changed.notify_all();
}

}  // namespace bench
