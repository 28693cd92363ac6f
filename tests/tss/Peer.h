/** The other process: starts test_tss_peer, gives it orders and reads its answers. */
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>

/** Every wait has a deadline and throws after it, so that a hang is a failure. */
class Peer {
public:
    Peer(const std::string& domain, const std::string& transport, const std::string& port = "0");
    ~Peer();
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    /** Gives an order and returns its answer. */
    std::string ask(const std::string& order);
    /** Gives an order whose answer is read later. */
    void tell(const std::string& order);
    /** The next line that the peer says. */
    std::string line();

    /** Whether a line is there to be read. */
    bool answersWithin(std::chrono::milliseconds time);

    /** Ends it as a crash does. */
    void kill();

private:
    pid_t m_process = -1;
    int m_input = -1;
    int m_output = -1;
    std::string m_unread;
};
