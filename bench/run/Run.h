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
    /** A line for each story: its name and what it tells. */
    static std::map<std::string, std::string> stories();

    /** Raises std::runtime_error, or what is derived from it, in words for a person. */
    explicit Run(const RunOptions& options);

    /** Shows reports until the time is over, the log ends, the server dies or `stopped` holds.
     *  True when all reports that were due have come and the server ended in order. With a story:
     *  shows it to its end, true when each step of it was seen and the server ended in order. */
    bool execute(const std::function<bool()>& stopped);

private:
    using Seen = std::function<bool()>;
    /** A step of a story: what is to be seen, and whether it is now. */
    using Step = std::pair<std::string, Seen>;

    static Receiver::Source sourceOf(const RunOptions& options);
    void edit();
    void connect();
    bool serve(const std::function<bool()>& stopped);
    bool playStory(const std::function<bool()>& stopped);
    bool step(const Step& step, const std::function<bool()>& stopped);
    std::vector<Step> zeroizeStory();
    std::vector<Step> hotStartStory();
    std::vector<Step> settingsStory();
    Seen heard(const std::string& sort, const std::string& text);
    Seen asked(const std::string& what, const nlohmann::json& request, int result);
    Seen deviceShows(const std::string& key, const nlohmann::json& value);
    Seen variationReported(double degrees, unsigned source);
    bool serviceRestarts();
    bool reportsEnd();
    bool reportsGoOn();
    void showWaiting(Deadline deadline);
    void showConsole();
    void note(const nlohmann::json& line);
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
    nlohmann::json m_device;                    ///< what the bus tells of the device
    nlohmann::json m_status;                    ///< of the receiver, the newest
    std::size_t m_linesShown = 0;
    std::size_t m_topicLinesShown = 0;
};

}  // namespace bench
