#include "bench/run/Run.h"

#include <csignal>
#include <fstream>
#include <stdexcept>

#include "bench/FreshDomain.h"
#include "bench/Nmea.h"
#include "bench/Scenario.h"
#include "utilities/Console.h"
#include "victory/tools/ReportText.h"

namespace bench {
namespace {

using utilities::concat;
using utilities::printErrorLine;
using utilities::printLine;
using namespace std::chrono_literals;

constexpr auto startPatience = 20s;
constexpr auto stopPatience = 10s;
constexpr auto restPatience = 3s;  // for reports on their way when the receiver stops
constexpr auto lookAround = 50ms;
constexpr std::size_t lastLines = 15;

std::string words(const ServerProcess::Ending& ending) {
    return ending.status ? concat("with exit status ", *ending.status)
                         : concat("by signal ", ending.signal.value_or(0));
}

}  // namespace

Run::Run(const RunOptions& options) : m_options(options), m_source(sourceOf(options)) {
    if (options.keep) {
        m_root.keep();
    }
    printLine("Device root: ", m_root.path().string());
    edit();
    m_fpga.emplace(m_root);
    m_ports.emplace(m_root);
    m_siblings.emplace(m_root, options.siblings, freshDomain());
    m_siblings->answer("pass");
    m_server.emplace(ServerProcess::Command{options.server,
                                            {DeviceRoot::serverArgument()},
                                            {{"HALCYRINE_ROOT", m_root.path().string()}},
                                            options.testMode});
    if (options.testMode) {
        m_keyboard.emplace();
        printLine("Test mode: keys go to the server, h shows them");
    }
}

Receiver::Source Run::sourceOf(const RunOptions& options) {
    if (options.nmea.empty()) {
        return [](std::size_t cycle) { return scenarioAt(cycle); };
    }
    std::ifstream input(options.nmea, std::ios::binary);
    if (!input) {
        throw std::runtime_error("Can't read " + options.nmea);
    }
    NmeaLog log = readNmea(input);
    printLine(options.nmea, ": ", log.states.size(), " cycles in ", log.counts.lines, " lines, ",
              log.counts.unreadable, " unreadable, ", log.counts.passedOver, " passed over, ",
              log.counts.satellitesLeftOut, " satellites left out");
    if (log.states.empty()) {
        throw std::runtime_error("No NMEA 0183 sentences that tell a receiver's state in " +
                                 options.nmea);
    }
    return [states = std::move(log.states)](std::size_t cycle) {
        return cycle < states.size() ? std::optional(states[cycle]) : std::nullopt;
    };
}

void Run::edit() {
    if (m_options.testMode || m_options.story == "settings") {
        m_root.setParameter(serverFile, "VGpsReceiverServer", "PARAM_2", "true");
    }
    for (const std::string& setting : m_options.settings) {
        const std::size_t sign = setting.find('=');
        if (sign == std::string::npos || sign == 0) {
            throw std::runtime_error("No NAME=VALUE: " + setting);
        }
        m_root.setParameter(serverFile, "VGpsReceiverServer", setting.substr(0, sign),
                            setting.substr(sign + 1));
    }
    if (m_options.speed > 1) {
        m_root.setUpdatePeriods(0);  // so that no report is held back
    }
}

bool Run::execute(const std::function<bool()>& stopped) {
    connect();
    const auto period = std::chrono::nanoseconds(std::llround(1e9 / m_options.speed));
    m_receiver.emplace(*m_ports, m_source, period);
    if (m_options.story.empty()) {
        return serve(stopped);
    }
    const bool seen = playStory(stopped);
    m_receiver->stop();
    const bool ended = endServer();
    printLine(seen && ended ? "The story was seen to its end" : "THE STORY WAS NOT SEEN WHOLE");
    return seen && ended;
}

bool Run::serve(const std::function<bool()>& stopped) {
    const Deadline start = std::chrono::steady_clock::now();
    bool died = false;
    bool over = false;
    while (!died && !over && !stopped()) {
        showWaiting(within(lookAround));
        died = m_server->wait(within(0ms)).has_value();
        const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
        over = m_receiver->tally().finished ||
               (m_options.seconds > 0 && passed.count() >= m_options.seconds);
    }
    m_receiver->stop();
    if (died) {
        tellEnding("while it was serving");
    } else {
        waitForTheRest();
    }
    const bool ended = !died && endServer();
    const Receiver::Tally sent = m_receiver->tally();
    printLine("Summary");
    for (const std::string& line : m_tally.summary(sent)) {
        printLine(line);
    }
    const bool silenced = m_server->waitForLine("Tell disabled for", within(0ms)).has_value();
    const bool complete = m_tally.complete(sent);
    printLine(complete   ? "  nothing was lost"
              : silenced ? "  reports were silenced by a key"
                         : "  SOMETHING WAS LOST");
    return (complete || silenced) && ended;
}

/** Waits for the bus, as long as the server lives. */
void Run::connect() {
    const Deadline deadline = within(startPatience);
    while (!m_bus) {
        try {
            m_bus.emplace(m_root.busSocket(), within(lookAround));
        } catch (const std::system_error&) {
            if (m_server->wait(within(0ms))) {
                tellEnding("before it offered its service");
                throw std::runtime_error("The server did not start");
            }
            if (std::chrono::steady_clock::now() >= deadline) {
                throw;
            }
        }
        showConsole();
    }
}

void Run::showWaiting(Deadline deadline) {
    const auto any = [](const nlohmann::json&) { return true; };
    while (const auto line = m_bus->next(any, deadline)) {
        m_tally.take(*line);
        note(*line);
        printLine(victory::describe(*line).value_or("unknown line: " + line->dump()));
    }
    passKeys();
    showConsole();
    showTopics();
}

/** Counts the report and each of its warnings, and keeps what stories look at. */
void Run::note(const nlohmann::json& line) {
    if (!line.contains("report")) {
        return;
    }
    const nlohmann::json& data = line["data"];
    ++m_seen[line["report"].get<std::string>()];
    if (line["report"] == "GPS_RECEIVER_DEVICE") {
        m_device.update(data);
    } else if (line["report"] == "GPS_RECEIVER_STATUS") {
        m_status = data;
    }
    if (data.contains("warnings")) {
        for (const nlohmann::json& warning : data["warnings"]) {
            ++m_seen["warning " + warning["messageId"].dump()];
        }
    }
}

void Run::passKeys() {
    if (!m_keyboard) {
        return;
    }
    if (m_keys.empty()) {
        m_keys = m_keyboard->take();
    }
    m_keys.erase(0, m_server->type(m_keys));
}

void Run::showTopics() {
    const auto lines = m_siblings->process().lines();
    for (; m_topicLinesShown < lines.size(); ++m_topicLinesShown) {
        printLine("  topics| ", lines[m_topicLinesShown].text);
    }
}

void Run::showConsole() {
    if (!m_options.console && !m_options.testMode) {
        return;
    }
    const auto lines = m_server->lines();
    for (; m_linesShown < lines.size(); ++m_linesShown) {
        const std::string& text = lines[m_linesShown].text;
        // A backspace in front takes back the echo of a key, which nobody sees here.
        printLine("  server| ", text.substr(text.starts_with('\b') ? 1 : 0));
    }
}

void Run::waitForTheRest() {
    const Deadline deadline = within(restPatience);
    while (m_tally.missing(m_receiver->tally()) != 0 &&
           std::chrono::steady_clock::now() < deadline) {
        showWaiting(within(lookAround));
    }
}

bool Run::endServer() {
    m_server->signal(SIGTERM);
    const auto ending = m_server->wait(within(stopPatience));
    showWaiting(within(lookAround));
    if (!ending) {
        printErrorLine("The server has not ended ", stopPatience.count(),
                       " s after it was asked to. It is killed now.");
    } else if (ending->status != 0) {
        tellEnding("when it was asked to stop");
    }
    return ending && ending->status == 0;
}

void Run::tellEnding(const char* when) {
    const auto ending = m_server->wait(within(0ms));
    const auto lines = m_server->lines();
    printErrorLine("The server ended ", ending ? words(*ending) : "", " ", when,
                   lines.empty() ? ". It printed nothing." : ". Its last lines:");
    for (std::size_t at = lines.size() - std::min(lines.size(), lastLines); at < lines.size();
         ++at) {
        printErrorLine("  ", lines[at].text);
    }
    printErrorLine(
        "See what it complains of, or run again with --keep --console --set Debug=true "
        "and look at its files in the device root.");
}

}  // namespace bench
