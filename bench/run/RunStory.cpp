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

}  // namespace

bool Run::playZeroize(const std::function<bool()>& stopped) {
    const auto heard = [this](const char* sort, const char* text) {
        return [this, sort, text] { return m_siblings->count(sort, text) > 0; };
    };
    const char* const command = "command VGpsReceiverServer";
    const char* const response = "response ZeroizeServer to VGpsReceiverServer";
    const std::pair<const char*, Seen> steps[] = {
        {"the siblings and the server have met",
         [&] { return m_siblings->join(within(pingPause)); }},
        {"the receiver's status is reported", [&] { return m_seen[statusReport] > 0; }},
        {"a client's zeroize is accepted, result 0", [&] { return zeroizeByClient(0); }},
        {"the server has passed it on to its siblings", heard(command, " TYRN_CV_ZEROIZE")},
        {"the sibling that holds the keys has said ACK", heard(response, " TYRN_CV_ZEROIZE_ACK")},
        {"and then PASS", heard(response, " TYRN_CV_ZEROIZE_PASS")},
        {"the client reads that the keys are zeroized, warning 2",
         [&] { return m_seen["warning 2"] > 0; }},
        {"a sibling starts the zeroize of the whole system, and the bus service starts anew",
         [&] {
             m_siblings->send("START_ZEROIZE");
             return serviceRestarts();
         }},
        {"the receiver goes on, and its reports have ended", [&] { return reportsEnd(); }},
        {"a client's zeroize is refused now, result 1", [&] { return zeroizeByClient(1); }},
    };
    for (const auto& [what, seen] : steps) {
        if (!step(what, seen, stopped)) {
            return false;
        }
    }
    return true;
}

/** Shows what comes until `seen` holds, and says so. */
bool Run::step(const std::string& what, const Seen& seen, const std::function<bool()>& stopped) {
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

bool Run::zeroizeByClient(int result) {
    const nlohmann::json request{{"request", "command"},
                                 {"commands", {{{"name", 0}, {"type", 1}}}}};
    const auto reply = m_bus->request(request, within(stepPatience));
    printLine("  client| zeroize: ", reply ? reply->dump() : "no reply");
    return reply && reply->value("result", -1) == result;
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
