/** The other process: starts test_tss_peer, gives it orders and reads its answers. */
#pragma once

#include <stdexcept>
#include <string>

#include "bench/ServerProcess.h"

/** Every wait has a deadline and throws after it, so that a hang is a failure. */
class Peer {
public:
    Peer(const std::string& domain, const std::string& transport, const std::string& port = "0")
        : m_process(
              {std::filesystem::read_symlink("/proc/self/exe").replace_filename("test_tss_peer"),
               {domain, transport, port},
               {}}) {
        if (line() != "ready") {
            throw std::runtime_error("no peer");
        }
    }
    /** It ends with its input; a peer that hangs is killed. */
    ~Peer() {
        m_process.closeInput();
        m_process.wait(bench::within(std::chrono::seconds(2)));
    }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    /** Gives an order and returns its answer. */
    std::string ask(const std::string& order) {
        tell(order);
        return line();
    }
    /** Gives an order whose answer is read later. */
    void tell(const std::string& order) {
        const std::string text = order + "\n";
        const bench::Deadline deadline = bench::within(patience);
        for (std::size_t told = 0; told < text.size();) {
            told += m_process.type(std::string_view(text).substr(told));
            if (std::chrono::steady_clock::now() > deadline) {
                throw std::runtime_error("the peer takes no order");
            }
        }
    }
    /** The next line that the peer says. */
    std::string line() {
        if (!answersWithin(patience)) {
            throw std::runtime_error("the peer says nothing");
        }
        return m_process.lines()[m_read++].text;
    }

    /** Whether a line is there to be read. */
    bool answersWithin(std::chrono::milliseconds time) {
        return m_process.waitForLine("", bench::within(time), m_read).has_value();
    }

private:
    static constexpr std::chrono::seconds patience{20};

    bench::ServerProcess m_process;
    std::size_t m_read = 0;
};
