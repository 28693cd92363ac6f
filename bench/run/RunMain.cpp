#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <filesystem>

#include "bench/run/Run.h"
#include "bench/run/RunTopic.h"
#include "utilities/Console.h"

namespace {

constexpr int endingSignals[] = {SIGINT, SIGTERM, SIGHUP};

/** Signals that end the run are held back in all threads and asked for where the run can end. */
sigset_t holdSignals() {
    sigset_t held;
    sigemptyset(&held);
    for (const int number : endingSignals) {
        sigaddset(&held, number);
    }
    pthread_sigmask(SIG_BLOCK, &held, nullptr);
    return held;
}

int execute(const bench::RunOptions& options) {
    const sigset_t held = holdSignals();
    bench::Run run(options);
    const bool good = run.execute([&held] {
        const timespec now{};
        return sigtimedwait(&held, nullptr, &now) > 0;
    });
    return good ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

int main(int argc, char* argv[]) {
    bench::RunOptions options;
    const auto here = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    options.server = here / "VGpsReceiverServer";
    options.siblings = here / "aspnctl";

    CLI::App app(
        "Runs the server in a simulated unit, and shows what it reports on the vehicle data bus "
        "and "
        "what is said on the system's topics, a line for each. Ctrl-C ends the run. The exit "
        "status is 0 when every report that was due has come, or every step of the story.",
        "run");
    app.add_option("--seconds", options.seconds, "End after this time; 0: not before Ctrl-C")
        ->check(CLI::NonNegativeNumber);
    app.add_option("--speed", options.speed, "Seconds of the receiver in a second of ours")
        ->check(CLI::Range(0.01, 1000.0))
        ->capture_default_str();
    app.add_option("--nmea", options.nmea,
                   "Replay this NMEA 0183 log, a cycle a second, in place of the scenario")
        ->check(CLI::ExistingFile);
    app.add_option(
           "--story", options.story,
           "zeroize: a client zeroizes the receiver's keys, then the system zeroizes itself")
        ->check(CLI::IsMember({"zeroize"}))
        ->excludes("--nmea")
        ->excludes("--seconds")
        ->excludes("--speed");
    std::string topic;
    std::string hearOn;
    app.add_option("--topic", topic,
                   "Show a sample of this message type as it comes to another process, and end; "
                   "help: list the types");
    app.add_option("--hear-on", hearOn)->group("");  // the other process of --topic
    app.add_option("--server", options.server, "The server's binary")->check(CLI::ExistingFile);
    app.add_option("--set", options.settings,
                   "Change a parameter of the server, Debug=true for instance");
    app.add_flag("--console", options.console, "Show the server's own lines, too");
    app.add_flag("--test-mode", options.testMode,
                 "Start the server in test mode: keys typed here raise faults on the bus, h shows "
                 "them; includes --console");
    app.add_flag("--keep", options.keep, "Leave the device root behind");
    CLI11_PARSE(app, argc, argv);
    // A process that goes away while we write to it is one that ended, and told of as that.
    std::signal(SIGPIPE, SIG_IGN);
    try {
        return topic.empty()    ? execute(options)
               : hearOn.empty() ? bench::showTopic(topic)
                                : bench::hearTopic(topic, hearOn);
    } catch (const std::exception& error) {
        utilities::printErrorLine("run: ", error.what());
        return EXIT_FAILURE;
    }
}
