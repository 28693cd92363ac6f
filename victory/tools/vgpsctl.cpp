/** vgpsctl: watches the VICTORY bus and sends it requests.
 *
 *  Exit status: 0 carried out, 1 refused by the service, 2 an error, said on standard error.
 */
#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdint>
#include <fstream>
#include <functional>
#include <iostream>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>

#include "victory/socket/Endpoint.h"
#include "victory/tools/BusClient.h"
#include "victory/tools/ReportText.h"

namespace {

using nlohmann::json;
using victory::BusClient;
using Clock = std::chrono::steady_clock;

constexpr int kCarriedOut = 0;
constexpr int kRefused = 1;
constexpr int kError = 2;
constexpr std::chrono::milliseconds kReconnectPause{200};
constexpr std::chrono::hours kForever{24 * 365};

// --- Watching -----------------------------------------------------------------------------------

struct WatchOptions {
    bool asJson = false;
    std::uint64_t count = std::numeric_limits<std::uint64_t>::max();
    double seconds = 0; /**< 0 for no end */
};

/** Prints lines until `count` reports are shown or the deadline comes, over as many connections as
 *  that takes. */
class Watch {
public:
    Watch(std::string path, const WatchOptions& options)
        : m_path(std::move(path)), m_options(options), m_deadline(deadlineOf(options)) {}

    int run() {
        BusClient client(m_path);
        show(client);
        while (isWanted()) {
            std::cerr << "vgpsctl: the service has hung up; waiting for it to come back\n";
            if (reconnect(client)) {
                show(client);
            }
        }
        return kCarriedOut;
    }

private:
    static Clock::time_point deadlineOf(const WatchOptions& options) {
        const std::chrono::duration<double> wanted(options.seconds);
        return Clock::now() + (options.seconds > 0 && wanted < kForever
                                   ? std::chrono::duration_cast<Clock::duration>(wanted)
                                   : Clock::duration(kForever));
    }

    bool isWanted() const { return m_shown < m_options.count && Clock::now() < m_deadline; }

    void show(BusClient& client) {
        while (isWanted()) {
            const std::optional<std::string> line = client.readLine(m_deadline);
            if (!line) {
                return;
            }
            showLine(*line);
        }
    }

    void showLine(const std::string& line) {
        const json parsed = json::parse(line, nullptr, false);
        if (m_options.asJson) {
            std::cout << line << std::endl;
        } else {
            std::cout << victory::describe(parsed).value_or(line) << std::endl;
        }
        m_shown += parsed.is_object() && parsed.contains("report") ? 1 : 0;
    }

    bool reconnect(BusClient& client) const {
        while (isWanted()) {
            try {
                client = BusClient(m_path);
                return true;
            } catch (const std::system_error&) {
                std::this_thread::sleep_until(std::min(m_deadline, Clock::now() + kReconnectPause));
            }
        }
        return false;
    }

    const std::string m_path;
    const WatchOptions m_options;
    const Clock::time_point m_deadline;
    std::uint64_t m_shown = 0;
};

// --- Requests -----------------------------------------------------------------------------------

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    if (!file || !(text << file.rdbuf())) {
        throw std::runtime_error(path + ": can't be read; name a file that holds the text to send");
    }
    return text.str();
}

json readHotStartData(const std::string& path) {
    json request = json::parse(readFile(path), nullptr, false);
    if (!request.is_object()) {
        throw std::runtime_error(path +
                                 ": isn't a JSON object; it needs hotStartMode and messages,"
                                 " as a device report shows hotStartData");
    }
    request["request"] = "hotStartData";
    return request;
}

/** What to do about an error that the service replied. */
std::string advice(const std::string& error) {
    return error == "not offered"
               ? "not offered by the service; magvar, mission-duration and mode need its test mode"
               : error;
}

int carryOut(const std::string& path, const json& request, double timeoutSeconds) {
    BusClient client(path);
    const std::chrono::duration<double> timeout(timeoutSeconds);
    const json reply = client.request(
        request, Clock::now() + std::chrono::duration_cast<Clock::duration>(timeout));
    if (reply.contains("error")) {
        throw std::runtime_error(advice(reply.value("error", "")));
    }
    const bool carriedOut = reply.value("result", 1) == 0;
    std::cout << (carriedOut ? "carried out" : "refused by the service; see its event log")
              << std::endl;
    return carriedOut ? kCarriedOut : kRefused;
}

// --- Command line -------------------------------------------------------------------------------

/** The command line as it stands after parsing. */
struct CommandLine {
    std::string endpoint;
    double timeoutSeconds = 60;
    WatchOptions watch;
    std::int32_t commandName = 0;
    std::int32_t commandType = 1;
    double degrees = 0;
    std::uint32_t duration = 0;
    std::int32_t mode = 0;
    std::string portName;
    std::string file;
    std::function<int(const std::string& path)> action;
};

/** Makes `command` send what `compose` returns. */
void sends(CLI::App* command, CommandLine& line, std::function<json()> compose) {
    command->callback([&line, compose = std::move(compose)] {
        line.action = [&line, compose](const std::string& path) {
            return carryOut(path, compose(), line.timeoutSeconds);
        };
    });
}

json commandRequest(const CommandLine& line) {
    return {{"request", "command"},
            {"commands", json::array({{{"name", line.commandName}, {"type", line.commandType}}})}};
}

json variationRequest(int source, double degrees) {
    return {{"request", "magneticVariation"}, {"source", source}, {"degrees", degrees}};
}

void addWatch(CLI::App& app, CommandLine& line) {
    CLI::App* watch = app.add_subcommand("watch", "Show what the service publishes");
    watch->add_flag("--json", line.watch.asJson, "Lines as they come");
    watch->add_option("--count", line.watch.count, "End after so many reports")
        ->check(CLI::PositiveNumber);
    watch->add_option("--seconds", line.watch.seconds, "End after so many seconds")
        ->check(CLI::PositiveNumber);
    watch->callback([&line] {
        line.action = [&line](const std::string& path) { return Watch(path, line.watch).run(); };
    });
}

void addCommands(CLI::App& app, CommandLine& line) {
    CLI::App* zeroize = app.add_subcommand("zeroize", "Zeroize the receiver's keys");
    zeroize->add_option("--name", line.commandName, "Command name")->capture_default_str();
    zeroize->add_option("--type", line.commandType, "Command type, 1 for the keys")
        ->capture_default_str();
    sends(zeroize, line, [&line] { return commandRequest(line); });

    CLI::App* command = app.add_subcommand("command", "Send a command record of one entry");
    command->add_option("name", line.commandName, "Command name, 0 for zeroize")->required();
    command->add_option("type", line.commandType, "Command type")->required();
    sends(command, line, [&line] { return commandRequest(line); });
}

void addSettings(CLI::App& app, CommandLine& line) {
    CLI::App* variation = app.add_subcommand("magvar", "Set the magnetic variation");
    variation->require_subcommand(1);
    CLI::App* local = variation->add_subcommand("local", "Use a value");
    local->add_option("degrees", line.degrees, "Degrees")->required();
    sends(local, line, [&line] { return variationRequest(0, line.degrees); });
    CLI::App* calculated = variation->add_subcommand("calculated", "Let the receiver work it out");
    sends(calculated, line, [] { return variationRequest(1, 0.0); });

    CLI::App* duration = app.add_subcommand("mission-duration", "Set the mission duration");
    duration->add_option("duration", line.duration, "Mission duration")->required();
    sends(duration, line, [&line] {
        return json{{"request", "missionDuration"}, {"duration", line.duration}};
    });

    CLI::App* mode = app.add_subcommand("mode", "Set the operating mode");
    mode->add_option("mode", line.mode, "Operating mode")->required();
    sends(mode, line, [&line] { return json{{"request", "operatingMode"}, {"mode", line.mode}}; });
}

void addHotStart(CLI::App& app, CommandLine& line) {
    CLI::App* hotStart = app.add_subcommand("hot-start", "Hot start the receiver");
    hotStart->require_subcommand(1);
    CLI::App* port = hotStart->add_subcommand("port", "From another receiver's port");
    port->add_option("name", line.portName, "Port name, such as J1COM1")->required();
    sends(port, line, [&line] {
        return json{{"request", "hotStartPort"}, {"name", line.portName}};
    });
    CLI::App* data = hotStart->add_subcommand("data", "From saved receiver messages");
    data->add_option("file", line.file, "JSON file with hotStartMode and messages")->required();
    sends(data, line, [&line] { return readHotStartData(line.file); });
}

void addSaveVcl(CLI::App& app, CommandLine& line) {
    CLI::App* save = app.add_subcommand("save-vcl", "Replace the VCL, for the next start");
    save->add_option("file", line.file, "VCL file")->required();
    sends(save, line, [&line] {
        return json{{"request", "saveVcl"}, {"text", readFile(line.file)}};
    });
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Watches the VICTORY GPS receiver service and sends it requests", "vgpsctl");
    CommandLine line;
    app.add_option("--endpoint", line.endpoint, "Path of the service's socket, taken as it is");
    app.add_option("--timeout", line.timeoutSeconds, "Seconds to wait for a reply")
        ->capture_default_str()
        ->check(CLI::Range(0.001, 86400.0));
    app.require_subcommand(1);
    addWatch(app, line);
    addCommands(app, line);
    addSettings(app, line);
    addHotStart(app, line);
    addSaveVcl(app, line);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kCarriedOut : kError;
    }
    const std::string path =
        line.endpoint.empty() ? victory::resolveEndpoint(victory::kDefaultEndpoint) : line.endpoint;
    try {
        return line.action(path);
    } catch (const std::system_error& error) {
        std::cerr << "vgpsctl: " << error.what()
                  << "; start the service, or name its socket with --endpoint or HALCYRINE_ROOT\n";
    } catch (const std::exception& error) {
        std::cerr << "vgpsctl: " << error.what() << '\n';
    }
    return kError;
}
