#include "tss/Peer.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <stdexcept>

namespace {

constexpr std::chrono::seconds deadline{20};

std::string peerProgram() {
    return std::filesystem::read_symlink("/proc/self/exe").replace_filename("test_tss_peer");
}

}  // namespace

Peer::Peer(const std::string& domain, const std::string& transport, const std::string& port) {
    std::array<int, 2> in{};
    std::array<int, 2> out{};
    if (::pipe2(in.data(), O_CLOEXEC) != 0 || ::pipe2(out.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe to the peer");
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    std::array<std::string, 4> words{peerProgram(), domain, transport, port};
    std::array<char*, 5> arguments{words[0].data(), words[1].data(), words[2].data(),
                                   words[3].data(), nullptr};
    const int failed =
        ::posix_spawn(&m_process, words[0].c_str(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(in[0]);
    ::close(out[1]);
    m_input = in[1];
    m_output = out[0];
    if (failed != 0 || line() != "ready") {
        throw std::runtime_error("no peer");
    }
}

Peer::~Peer() {
    ::close(m_input);
    // Its output ends with it; a peer that hangs is killed.
    pollfd waiting{m_output, 0, 0};
    ::poll(&waiting, 1, 2000);
    kill();
    ::close(m_output);
}

void Peer::kill() {
    if (m_process > 0) {
        ::kill(m_process, SIGKILL);
        ::waitpid(m_process, nullptr, 0);
        m_process = -1;
    }
}

std::string Peer::ask(const std::string& order) {
    tell(order);
    return line();
}

void Peer::tell(const std::string& order) {
    const std::string text = order + "\n";
    for (std::size_t sent = 0; sent < text.size();) {
        const ssize_t count = ::write(m_input, text.data() + sent, text.size() - sent);
        if (count <= 0) {
            throw std::runtime_error("the peer is gone");
        }
        sent += static_cast<std::size_t>(count);
    }
}

std::string Peer::line() {
    std::size_t end = 0;
    while ((end = m_unread.find('\n')) == std::string::npos) {
        std::array<char, 65536> bytes{};
        ssize_t count = 0;
        if (!answersWithin(deadline) ||
            (count = ::read(m_output, bytes.data(), bytes.size())) <= 0) {
            throw std::runtime_error("the peer says nothing; last: " + m_unread);
        }
        m_unread.append(bytes.data(), static_cast<std::size_t>(count));
    }
    std::string said = m_unread.substr(0, end);
    m_unread.erase(0, end + 1);
    return said;
}

bool Peer::answersWithin(std::chrono::milliseconds time) {
    pollfd waiting{m_output, POLLIN, 0};
    return m_unread.find('\n') != std::string::npos ||
           ::poll(&waiting, 1, static_cast<int>(time.count())) == 1;
}
