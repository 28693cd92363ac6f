/** One run of the unit on the bench. */
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "bench/BusClient.h"
#include "bench/DeviceRoot.h"
#include "bench/FpgaFile.h"
#include "bench/Keyboard.h"
#include "bench/Receiver.h"
#include "bench/ReceiverPorts.h"
#include "bench/RunTally.h"
#include "bench/ServerProcess.h"
#include "bench/SiblingProcess.h"

namespace bench {

struct RunOptions {
    std::filesystem::path server;       ///< the server's binary
    std::filesystem::path siblings;     ///< aspnctl
    std::string story;                  ///< played in place of a run without an end; or empty
    std::string nmea;                   ///< log to replay; empty: the scenario
    double speed = 1;                   ///< receiver's seconds in one of ours
    double seconds = 0;                 ///< of ours, until the run ends; 0: until stopped
    bool keep = false;                  ///< the device root stays
    bool console = false;               ///< the server's own lines are shown
    bool testMode = false;              ///< of the server, which gets the keys typed here
    std::vector<std::string> settings;  ///< NAME=VALUE, parameters of the server's container
};

/** Lays a device root, starts what surrounds the server and the server itself, and shows what
 *  arrives on the bus and on the system's topics. Made, used and destroyed on the main thread. */
class Run {
public:
    /** Raises std::runtime_error, or what is derived from it, in words for a person. */
    explicit Run(const RunOptions& options);

    /** Shows reports until the time is over, the log ends, the server dies or `stopped` holds.
     *  True when all reports that were due have come and the server ended in order. With a story:
     *  shows it to its end, true when each step of it was seen and the server ended in order. */
    bool execute(const std::function<bool()>& stopped);

private:
    using Seen = std::function<bool()>;

    static Receiver::Source sourceOf(const RunOptions& options);
    void edit();
    void connect();
    bool serve(const std::function<bool()>& stopped);
    bool playZeroize(const std::function<bool()>& stopped);
    bool step(const std::string& what, const Seen& seen, const std::function<bool()>& stopped);
    bool zeroizeByClient(int result);
    bool serviceRestarts();
    bool reportsEnd();
    void showWaiting(Deadline deadline);
    void showConsole();
    void passKeys();
    void showTopics();
    void waitForTheRest();
    bool endServer();
    void tellEnding(const char* when);

    const RunOptions m_options;
    Receiver::Source m_source;
    DeviceRoot m_root;
    std::optional<FpgaFile> m_fpga;
    std::optional<ReceiverPorts> m_ports;
    std::optional<SiblingProcess> m_siblings;
    std::optional<Keyboard> m_keyboard;
    std::string m_keys;  ///< typed, and not yet taken by the server
    std::optional<ServerProcess> m_server;
    std::optional<BusClient> m_bus;
    std::optional<Receiver> m_receiver;
    RunTally m_tally;
    std::map<std::string, std::size_t> m_seen;  ///< bus reports so far, and warnings by "warning N"
    std::size_t m_linesShown = 0;
    std::size_t m_topicLinesShown = 0;
};

}  // namespace bench
