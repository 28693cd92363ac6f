/** The siblings of the server, in a process of their own. */
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "bench/Deadline.h"
#include "bench/DeviceRoot.h"
#include "bench/ServerProcess.h"

namespace bench {

/** aspnctl at play on the topics of a unit, with its lines in our hands. One thread at a time. */
class SiblingProcess {
public:
    /** Moves the unit to the domain, so make it before the server starts. Unlike the server the
     *  siblings hear what was sent before they came: no event of the server's start is missed.
     *  Raises what ServerProcess and DeviceRoot raise. */
    SiblingProcess(DeviceRoot& root, const std::filesystem::path& program, unsigned domain);
    /** Ends the process in order. */
    ~SiblingProcess();
    SiblingProcess(const SiblingProcess&) = delete;
    SiblingProcess& operator=(const SiblingProcess&) = delete;

    /** Pings until the server answers: from then on nothing between the two gets lost. */
    bool join(Deadline deadline);
    /** Commands from now on are answered so: "RULE [ACK_MS [RESULT_MS [WORD]]]". Raises
     *  std::runtime_error when that is no rule. */
    void answer(const std::string& rule);
    void send(const std::string& command);

    /** Where the next line will stand. */
    std::size_t end() const { return m_process.lines().size(); }
    /** Waits for a line, from the line `from` on, that is for one a message of that sort
     *  ("command VGpsReceiverServer" for instance) and ends with the text. */
    bool hear(const std::string& sort, const std::string& text, Deadline deadline,
              std::size_t from = 0) const;
    /** How many such lines there are now. */
    std::size_t count(const std::string& sort, const std::string& text, std::size_t from = 0) const;

    ServerProcess& process() { return m_process; }

private:
    static ServerProcess::Command commandFor(DeviceRoot& root, const std::filesystem::path& program,
                                             unsigned domain);

    ServerProcess m_process;
};

}  // namespace bench
