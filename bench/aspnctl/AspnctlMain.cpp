/** aspnctl: watches the system's topics, sends commands, plays a sibling of the server.
 *
 *  Exit status: 0 done, 1 not answered as wanted, 2 an error, said on standard error.
 */
#include <poll.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <ctime>
#include <exception>
#include <functional>
#include <limits>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>

#include "bench/siblings/Sibling.h"
#include "bench/siblings/TopicText.h"
#include "utilities/Console.h"

namespace {

using bench::Deadline;
using bench::Sibling;
using utilities::printErrorLine;
using utilities::printLine;
using namespace std::chrono_literals;

constexpr int done = 0;
constexpr int notAnswered = 1;
constexpr int error = 2;
constexpr auto lookAround = 20ms;
constexpr auto discovery = 5s;

struct Options {
    std::string connections = "/opt/halcyrine/config/Connections.xml";
    std::string server;
    std::string command;
    double wait = 5;  // an answer may take the 3 s that pass until a lost sample is missed
    std::size_t answers = 1;
    std::string rule;
    std::string word;
    int ackAfter = -1;
    int resultAfter = -1;
    std::size_t count = std::numeric_limits<std::size_t>::max();
    double seconds = 0;
};

std::chrono::milliseconds fromSeconds(double seconds) {
    return std::chrono::ceil<std::chrono::milliseconds>(std::chrono::duration<double>(seconds));
}

/** Signals that end the tool are held back in all threads and asked for between two messages. */
class EndingSignals {
public:
    EndingSignals() {
        sigemptyset(&m_held);
        for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
            sigaddset(&m_held, number);
        }
        pthread_sigmask(SIG_BLOCK, &m_held, nullptr);
    }
    bool came() const {
        const timespec now{};
        return sigtimedwait(&m_held, nullptr, &now) > 0;
    }

private:
    sigset_t m_held{};
};

bench::Rule ruleOf(const std::string& name, int ackAfter, int resultAfter) {
    const auto delay = [](int milliseconds) {
        return milliseconds < 0 ? std::nullopt
                                : std::optional(std::chrono::milliseconds(milliseconds));
    };
    auto rule = bench::makeRule(name, {delay(ackAfter), delay(resultAfter)});
    if (!rule) {
        throw std::runtime_error("No rule \"" + name + "\"; there are\n" + bench::ruleHelp());
    }
    return *std::move(rule);
}

/** Shows what is heard until `over` holds or a signal comes. */
void showUntil(Sibling& sibling, const EndingSignals& signals, const std::function<bool()>& over,
               const std::function<void(const bench::Arrival&)>& take) {
    while (!over() && !signals.came()) {
        if (const auto arrival = sibling.next(bench::within(lookAround))) {
            printLine(bench::describe(*arrival));
            take(*arrival);
        }
    }
}

int watch(Sibling& sibling, const EndingSignals& signals, const Options& options) {
    const Deadline end = bench::within(fromSeconds(options.seconds));
    std::size_t shown = 0;
    showUntil(
        sibling, signals,
        [&] {
            return shown >= options.count ||
                   (options.seconds > 0 && std::chrono::steady_clock::now() >= end);
        },
        [&](const bench::Arrival&) { ++shown; });
    return done;
}

int send(Sibling& sibling, const EndingSignals& signals, const Options& options) {
    if (!sibling.waitForOthers(bench::within(discovery))) {
        throw std::runtime_error("Nobody else is on the topics of " + options.connections +
                                 "; does the server run, and on this DomainId and transport?");
    }
    const auto command = sibling.send(options.command);
    const Deadline end = bench::within(fromSeconds(options.wait));
    std::size_t answers = 0;
    while (answers < options.answers && !signals.came() && std::chrono::steady_clock::now() < end) {
        const auto arrival = sibling.next(std::min(end, bench::within(lookAround)));
        if (arrival && Sibling::answers(*arrival, command)) {
            printLine(bench::describe(*arrival));
            ++answers;
        }
    }
    sibling.flush();
    if (options.wait > 0 && answers < options.answers) {
        printErrorLine("aspnctl: ", answers, " of ", options.answers, " answers within ",
                       options.wait, " s");
        return notAnswered;
    }
    return done;
}

int answer(Sibling& sibling, const EndingSignals& signals, const Options& options) {
    sibling.answer(options.word, ruleOf(options.rule, options.ackAfter, options.resultAfter));
    showUntil(
        sibling, signals, [&] { return sibling.answered() >= options.count; },
        [](const bench::Arrival&) {});
    return sibling.answered() >= options.count ||
                   options.count == std::numeric_limits<std::size_t>::max()
               ? done
               : notAnswered;
}

/** Obeys one order of standard input: "send COMMAND" or "answer RULE [ACK_MS [RESULT_MS [WORD]]]".
 */
void obey(Sibling& sibling, const std::string& line) {
    std::istringstream order(line);
    std::string verb;
    order >> verb;
    if (verb == "send") {
        std::string command;
        std::getline(order >> std::ws, command);
        sibling.send(command);
    } else if (verb == "answer") {
        std::string rule;
        std::string word;
        int ackAfter = -1;
        int resultAfter = -1;
        order >> rule;
        if (order >> ackAfter && order >> resultAfter) {
            order >> word;
        }
        sibling.answer(word, ruleOf(rule, ackAfter, resultAfter));
        printLine("answering by ", rule);
    } else if (!verb.empty()) {
        printErrorLine("aspnctl: no such order: ", line);
    }
}

int play(Sibling& sibling, const EndingSignals& signals) {
    std::string orders;
    bool ended = false;
    const auto obeyWaiting = [&] {
        pollfd input{STDIN_FILENO, POLLIN, 0};
        char buffer[4096];
        while (!ended && ::poll(&input, 1, 0) == 1) {
            const auto count = ::read(STDIN_FILENO, buffer, sizeof buffer);
            ended = count <= 0;
            orders.append(buffer, static_cast<std::size_t>(std::max(count, ssize_t{0})));
        }
        for (std::size_t end = 0; (end = orders.find('\n')) != std::string::npos;) {
            try {
                obey(sibling, orders.substr(0, end));
            } catch (const std::exception& failure) {
                printErrorLine("aspnctl: ", failure.what());
            }
            orders.erase(0, end + 1);
        }
        return ended;
    };
    printLine("playing");
    showUntil(sibling, signals, obeyWaiting, [](const bench::Arrival&) {});
    return done;
}

}  // namespace

int main(int argc, char* argv[]) {
    Options options;
    CLI::App app(
        "Takes part in the system's topics as a sibling of the GPS server: watches them, sends "
        "commands, answers the server's.",
        "aspnctl");
    app.require_subcommand(1);
    app.add_option("--connections", options.connections,
                   "File of the domain and its topics; \"/opt/halcyrine/config\" lies below "
                   "HALCYRINE_ROOT")
        ->capture_default_str();
    app.add_option("--as", options.server,
                   "Name of the server to be, ZeroizeServer or SystemController unless given");

    auto* const watching =
        app.add_subcommand("watch",
                           "Shows a line for each message, from those that the writers "
                           "still keep on");
    watching->add_option("--count", options.count, "End after this many");
    watching->add_option("--seconds", options.seconds, "End after this time; 0: not before Ctrl-C")
        ->check(CLI::NonNegativeNumber);

    auto* const sending = app.add_subcommand("send", "Sends a command and shows its answers");
    sending->add_option("COMMAND", options.command, "BITSERVER_PING, START_ZEROIZE ...")
        ->required();
    sending->add_option("--wait", options.wait, "Seconds for the answers; 0: wants none")
        ->check(CLI::Range(0.0, 86400.0))
        ->capture_default_str();
    sending->add_option("--answers", options.answers, "How many are wanted")->capture_default_str();

    auto* const answering =
        app.add_subcommand("answer", "Answers the server's commands by a rule:\n" +
                                         bench::ruleHelp() + "Ends with Ctrl-C.");
    answering->add_option("RULE", options.rule)->required();
    answering->add_option("--word", options.word,
                          "Only commands of this word; else all that the GPS server sends");
    answering->add_option("--ack-after", options.ackAfter, "Milliseconds until the ACK or NACK");
    answering->add_option("--result-after", options.resultAfter,
                          "Milliseconds from the ACK to the PASS or FAIL");
    answering->add_option("--count", options.count, "End after this many commands");

    app.add_subcommand(
        "play",
        "Watches, and takes orders from standard input until it ends: \"send COMMAND\", "
        "\"answer RULE [ACK_MS [RESULT_MS [WORD]]]\"");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& failure) {
        return app.exit(failure) == 0 ? done : error;
    }
    try {
        const bool controls = sending->parsed() || watching->parsed();
        const std::string name = !options.server.empty() ? options.server
                                 : controls              ? "SystemController"
                                                         : "ZeroizeServer";
        const auto id = bench::serverIdOf(name);
        if (!id) {
            throw std::runtime_error("No server of the system is called " + name);
        }
        const EndingSignals signals;
        // An old command is not to be answered; an early answer or event is not to be missed.
        Sibling sibling(*id, options.connections,
                        answering->parsed() ? bench::Past::AsConfigured : bench::Past::Heard);
        return watching->parsed()    ? watch(sibling, signals, options)
               : sending->parsed()   ? send(sibling, signals, options)
               : answering->parsed() ? answer(sibling, signals, options)
                                     : play(sibling, signals);
    } catch (const std::exception& failure) {
        printErrorLine("aspnctl: ", failure.what());
        return error;
    }
}
