#include <algorithm>
#include <cmath>

#include "bench/Frames.h"
#include "bench/Scenario.h"
#include "bench/run/Run.h"
#include "utilities/Console.h"

namespace bench {
namespace {

using utilities::printErrorLine;
using utilities::printLine;
using namespace std::chrono_literals;

constexpr auto stepPatience = 20s;
constexpr auto lookAround = 50ms;
constexpr auto pingPause = 300ms;
constexpr auto quietTime = 3s;  // three cycles of the receiver
constexpr const char* statusReport = "GPS_RECEIVER_STATUS";
constexpr const char* command = "command VGpsReceiverServer";
constexpr const char* response = "response ZeroizeServer to VGpsReceiverServer";

/** Sources of a magnetic variation. */
constexpr unsigned localSource = 0;
constexpr unsigned calculatedSource = 1;

using Json = nlohmann::json;

std::string hexadecimal(const Bytes& bytes) {
    std::string text;
    for (const unsigned byte : bytes) {
        text += "0123456789abcdef"[byte >> 4];
        text += "0123456789abcdef"[byte & 0xF];
    }
    return text;
}

Json hotStartRequest(const std::vector<Bytes>& messages) {
    Json request{{"request", "hotStartData"}, {"hotStartMode", 3}, {"messages", Json::array()}};
    for (const Bytes& message : messages) {
        request["messages"].push_back({{"messageId", 7},
                                       {"sequence", request["messages"].size() + 1},
                                       {"bytes", hexadecimal(message)}});
    }
    return request;
}

}  // namespace

std::map<std::string, std::string> Run::stories() {
    return {
        {"zeroize", "a client zeroizes the receiver's keys, then the system zeroizes itself"},
        {"hotstart", "clients hot start the receiver from a port and from saved messages"},
        {"settings", "clients set magnetic variation, mission duration and operating mode"},
    };
}

bool Run::playStory(const std::function<bool()>& stopped) {
    std::vector<Step> steps{
        {"the siblings and the server have met",
         [this] { return m_siblings->join(within(pingPause)); }},
        {"the receiver's status is reported", [this] { return m_seen[statusReport] > 0; }}};
    const std::vector<Step> story = m_options.story == "zeroize"    ? zeroizeStory()
                                    : m_options.story == "hotstart" ? hotStartStory()
                                                                    : settingsStory();
    steps.insert(steps.end(), story.begin(), story.end());
    return std::ranges::all_of(steps, [&](const Step& each) { return step(each, stopped); });
}

/** Shows what comes until the step is seen, and says so. */
bool Run::step(const Step& step, const std::function<bool()>& stopped) {
    const auto& [what, seen] = step;
    const Deadline deadline = within(stepPatience);
    while (!seen()) {
        showWaiting(within(lookAround));
        if (stopped() || std::chrono::steady_clock::now() >= deadline) {
            printErrorLine("NOT SEEN: ", what);
            return false;
        }
        if (m_server->wait(within(0ms))) {
            tellEnding("in the middle of the story");
            return false;
        }
    }
    showWaiting(within(lookAround));
    printLine("SEEN: ", what);
    return true;
}

std::vector<Run::Step> Run::zeroizeStory() {
    const Json zeroize{{"request", "command"}, {"commands", {{{"name", 0}, {"type", 1}}}}};
    return {
        {"a client's zeroize is accepted, result 0", asked("zeroize", zeroize, 0)},
        {"the server has passed it on to its siblings", heard(command, " TYRN_CV_ZEROIZE")},
        {"the sibling that holds the keys has said ACK", heard(response, " TYRN_CV_ZEROIZE_ACK")},
        {"and then PASS", heard(response, " TYRN_CV_ZEROIZE_PASS")},
        {"the client reads that the keys are zeroized, warning 2",
         [this] { return m_seen["warning 2"] > 0; }},
        {"a sibling starts the zeroize of the whole system, and the bus service starts anew",
         [this] {
             m_siblings->send("START_ZEROIZE");
             return serviceRestarts();
         }},
        {"the receiver goes on, and its reports have ended", [this] { return reportsEnd(); }},
        {"a client's zeroize is refused now, result 1", asked("zeroize", zeroize, 1)},
    };
}

std::vector<Run::Step> Run::hotStartStory() {
    const std::vector<Bytes> saved{frame8040(scenarioAt(1)), frame8504(scenarioAt(2)),
                                   frame5042(scenarioAt(3))};
    const Json port{{"request", "hotStartPort"}, {"name", "J4COM3"}};
    const Json data = hotStartRequest(saved);
    const auto transfers = [this] { return m_receiver->tally().transfers; };
    return {
        {"hot starts will take their time, three seconds from ACK to PASS",
         [this] {
             m_siblings->answer("pass 0 3000 INIT_HOTSTART");
             return true;
         }},
        {"a client's hot start from port J4COM3 is accepted, result 0",
         asked("hot start from J4COM3", port, 0)},
        {"the server has passed it on to its siblings",
         heard(command, " INIT_HOTSTART,4,COM3,LNAV")},
        {"the bus tells the port", deviceShows("hotStartPort", "J4COM3")},
        {"a second one meanwhile is refused, result 1", asked("hot start from J4COM3", port, 1)},
        {"the first has ended, PASS", heard(response, " INIT_HOTSTART_PASS")},
        {"from a port that there is not, it is refused, result 1",
         asked("hot start from J9COM9", {{"request", "hotStartPort"}, {"name", "J9COM9"}}, 1)},
        {"the siblings accept a hot start from three saved messages, result 0",
         asked("hot start from saved messages", data, 0)},
        {"the receiver has taken the three, as they were saved",
         [this, saved, transfers] {
             return transfers() == 1 && m_receiver->lastTransfer() == saved;
         }},
        {"the bus tells the saved messages",
         [this] {
             const auto told = m_device.find("hotStartData");
             return told != m_device.end() && told->is_object() && (*told)["messages"].size() == 3;
         }},
        {"when the siblings say NACK it is refused, result 1",
         [this, refused = asked("hot start from saved messages", data, 1)] {
             m_siblings->answer("nack 0 0 INIT_WARMSTART");
             return refused();
         }},
        {"and the receiver gets nothing", [transfers] { return transfers() == 1; }},
        {"the receiver plays a transfer that nobody asked for",
         [this, saved, asked = false]() mutable {
             if (!std::exchange(asked, true)) {
                 m_receiver->transferOut(saved);
             }
             return m_receiver->tally().transfersOut == 1;
         }},
        {"the server passes it over, and its reports go on", [this] { return reportsGoOn(); }},
    };
}

std::vector<Run::Step> Run::settingsStory() {
    const auto variation = [](int source, double degrees) {
        return Json{{"request", "magneticVariation"}, {"source", source}, {"degrees", degrees}};
    };
    const auto duration = [](unsigned value) {
        return Json{{"request", "missionDuration"}, {"duration", value}};
    };
    const auto settings = [this](std::size_t count) {
        return [this, count] { return m_receiver->tally().settings == count; };
    };
    const double own = 360 + scenarioAt(0).magneticVariation;
    return {
        {"the receiver works out its magnetic variation", variationReported(own, calculatedSource)},
        {"a client sets one of 12.5 degrees, result 0",
         asked("magnetic variation 12.5, local", variation(0, 12.5), 0)},
        {"the receiver has obeyed", settings(1)},
        {"its next reports show 12.5 degrees, local", variationReported(12.5, localSource)},
        {"a client lets the receiver work it out again, result 0",
         asked("magnetic variation calculated", variation(1, 0), 0)},
        {"the receiver has obeyed", settings(2)},
        {"its next reports show its own again", variationReported(own, calculatedSource)},
        {"a client sets a mission duration of 40, result 0",
         asked("mission duration 40", duration(40), 0)},
        {"the receiver has obeyed", settings(3)},
        {"its next message shows the mission duration running down from 40",
         deviceShows("missionDuration", 39)},
        {"a mission duration of 85 is refused, result 1",
         asked("mission duration 85", duration(85), 1)},
        {"a client sets the operating mode, result 0, which changes nothing",
         asked("operating mode 3", {{"request", "operatingMode"}, {"mode", 3}}, 0)},
        {"the receiver was not told of the last two, and its reports go on",
         [this] { return m_receiver->tally().settings == 3 && reportsGoOn(); }},
    };
}

Run::Seen Run::heard(const std::string& sort, const std::string& text) {
    return [this, sort, text] { return m_siblings->count(sort, text) > 0; };
}

/** Asks once, when it is first looked at. */
Run::Seen Run::asked(const std::string& what, const Json& request, int result) {
    return [this, what, request, result, reply = Json()]() mutable {
        if (reply.is_null()) {
            reply = m_bus->request(request, within(stepPatience)).value_or(Json::object());
            printLine("  client| ", what, ": ", reply.empty() ? "no reply" : reply.dump());
        }
        return reply.value("result", -1) == result;
    };
}

Run::Seen Run::deviceShows(const std::string& key, const Json& value) {
    return [this, key, value] { return m_device.contains(key) && m_device[key] == value; };
}

/** In the status reports and in what is told of the device. */
Run::Seen Run::variationReported(double degrees, unsigned source) {
    return [this, degrees, source] {
        const auto isNear = [&](const Json& value) {
            return value.is_number() && std::abs(value.get<double>() - degrees) < 0.05;
        };
        const Json device = m_device.value("magneticVariation", Json::object());
        return isNear(m_status.value("magneticVariation", Json())) &&
               m_status.value("magneticVariationSource", Json()) == source &&
               isNear(device.value("degrees", Json())) && device.value("source", Json()) == source;
    };
}

/** The bus hangs up, and is there again. */
bool Run::serviceRestarts() {
    const Deadline deadline = within(stepPatience);
    while (!m_bus->closed()) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        showWaiting(within(lookAround));
    }
    showWaiting(within(0ms));
    m_bus.reset();
    connect();
    return true;
}

bool Run::reportsGoOn() {
    const std::size_t reports = m_seen[statusReport];
    for (const Deadline end = within(quietTime);
         m_seen[statusReport] < reports + 2 && std::chrono::steady_clock::now() < end;) {
        showWaiting(within(lookAround));
    }
    return m_seen[statusReport] >= reports + 2;
}

bool Run::reportsEnd() {
    const std::size_t reports = m_seen[statusReport];
    const std::size_t cycles = m_receiver->tally().cycles.size();
    const std::size_t others = m_seen["GPS_RECEIVER_STATUS_2"];
    for (const Deadline end = within(quietTime); std::chrono::steady_clock::now() < end;) {
        showWaiting(within(lookAround));
    }
    return m_seen[statusReport] == reports && m_receiver->tally().cycles.size() > cycles + 1 &&
           m_seen["GPS_RECEIVER_STATUS_2"] > others;
}

}  // namespace bench
