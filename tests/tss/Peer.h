/** The other process: starts test_tss_peer, gives it orders and reads its answers. */
#pragma once

#include <chrono>
#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

#include "bench/ServerProcess.h"
#include "support/Eventually.h"

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
    /** It ends with its input; one that hangs is killed. */
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
        std::string_view left = text;
        const auto typed = [&] {
            left.remove_prefix(m_process.type(left));
            return left.empty();
        };
        if (!eventually(typed)) {
            throw std::runtime_error("the peer takes no orders");
        }
    }
    /** The next line that the peer says. */
    std::string line() {
        if (!answersWithin(std::chrono::seconds(20))) {
            throw std::runtime_error("the peer says nothing");
        }
        return m_process.lines().at(m_next++).text;
    }

    /** Whether a line is there to be read. What the DDS library complains of is passed over. */
    bool answersWithin(std::chrono::milliseconds time) {
        const auto deadline = bench::within(time);
        while (m_process.waitForLine("", deadline, m_next)) {
            if (!m_process.lines().at(m_next).isError) {
                return true;
            }
            ++m_next;
        }
        return false;
    }

    /** Ends it as a crash does. */
    void kill() {
        m_process.signal(SIGKILL);
        m_process.wait(bench::within(std::chrono::seconds(20)));
    }

private:
    bench::ServerProcess m_process;
    std::size_t m_next = 0;  ///< the first line that nobody has read
};
