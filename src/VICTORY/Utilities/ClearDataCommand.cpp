#include "VICTORY/Utilities/ClearDataCommand.h"

#include <algorithm>
#include <array>
#include <utility>

#include "ASPN/CmdResponseStrings.h"
#include "utilities/Console.h"
#include "utilities/Deadline.h"

using utilities::concat;

namespace {

/** A text of a table; what the table lacks reads as `missing`. */
template <std::size_t size>
std::string_view textOf(const std::array<std::string_view, size>& table, int index,
                        std::string_view missing) {
    return index >= 0 && static_cast<std::size_t>(index) < size
               ? table[static_cast<std::size_t>(index)]
               : missing;
}

/** Any count of seconds as a period; the timers bound what the clock can't hold. */
std::chrono::seconds wholeSeconds(std::int64_t seconds) {
    constexpr std::int64_t longest =
        std::chrono::duration_cast<std::chrono::seconds>(utilities::longestPeriod).count();
    return std::chrono::seconds(std::clamp<std::int64_t>(seconds, 0, longest));
}

/** Whether `text` is `stem` with `suffix` behind it, and nothing else. */
bool isReply(std::string_view text, std::string_view stem, std::string_view suffix) {
    return text.size() == stem.size() + suffix.size() && text.starts_with(stem) &&
           text.ends_with(suffix);
}

}  // namespace

class ClearDataCommand::Ending {
public:
    /** Wins when the operation `mine` is in `state` and nobody ends it yet. */
    Ending(std::atomic<Operation>& operation, Operation mine, ClearDataState state)
        : m_operation(operation), m_held(mine) {
        Operation expected = mine;
        expected.state = static_cast<std::uint8_t>(state);
        expected.ending = false;
        m_held = expected;
        m_held.ending = true;
        m_won = m_operation.compare_exchange_strong(expected, m_held);
    }
    ~Ending() {
        if (m_won) {
            m_held.ending = false;
            m_operation = m_held;
        }
    }
    Ending(const Ending&) = delete;
    Ending& operator=(const Ending&) = delete;

    bool won() const { return m_won; }
    /** The machine is idle from here on. */
    void finish() {
        m_held.type = ClearDataNone;
        m_held.state = ClearDataIdle;
    }

private:
    std::atomic<Operation>& m_operation;
    Operation m_held;
    bool m_won = false;
};

constexpr std::array<std::string_view, 4> ClearDataCommand::m_clearRequestCommands{
    "none", Sys::CommandString::RequestZeroize, Sys::CommandString::RequestDestroy,
    Sys::CommandString::TyrnCVZeroize};
constexpr std::array<std::string_view, 4> ClearDataCommand::m_clearCompleteResponses{
    "none", Sys::ResponseString::SystemZeroize, Sys::ResponseString::SystemDestroy,
    Sys::CommandString::TyrnCVZeroize};
constexpr std::array<std::string_view, 3> ClearDataCommand::m_clearStateNames{
    "Idle", "Clear data requested", "Clear data in-progress"};

std::string_view ClearDataCommand::clearStateName(int state) {
    return textOf(m_clearStateNames, state, "unknown clear data type");
}

ClearDataCommand::ClearDataCommand(std::string serverName) : m_serverName(std::move(serverName)) {}

void ClearDataCommand::setCommandResponseMessageCallback(CommandResponseMessageCallback callback) {
    m_commandResponseMessageCallback = std::move(callback);
}

void ClearDataCommand::setSendVDBCompleteWarningCallback(CompleteWarningCallback callback) {
    m_sendVDBCompleteWarningCallback = std::move(callback);
}

void ClearDataCommand::setClearDataInProgressTimeout(std::int64_t seconds) {
    m_clearDataInProgressTimeout = seconds;
}

void ClearDataCommand::setClearDataRequestTimeout(std::int64_t seconds) {
    m_clearDataRequestTimeout = seconds;
}

std::string_view ClearDataCommand::clearRequestCommand(int type) {
    return textOf(m_clearRequestCommands, type, {});
}

void ClearDataCommand::say(HealthReporter::eEventType type, std::string_view operation,
                           const std::string& text, bool always,
                           utilities::SourcePlace place) const {
    HealthReporter::Instance().SendEvent(place.file, place.line, type, text);
    if (always || !m_quiet) {
        utilities::printLine(utilities::baseName(place.file), " (", place.line, ") ", operation,
                             " : ", text);
    }
}

void ClearDataCommand::sayException(std::string_view operation, const std::string& text) const {
    say(HealthReporter::EVENT_ERROR, operation, m_serverName + text, true);
}

template <typename Body>
bool ClearDataCommand::guarded(std::string_view operation, bool onException, Body body) const {
    try {
        return body();
    } catch (const std::exception& exception) {
        sayException(operation,
                     std::string(": An exception occurred. Details: ") + exception.what());
    } catch (...) {
        sayException(operation, ": Unknown c++ exception occurred");
    }
    return onException;
}

void ClearDataCommand::dumpStateInfo() const {
    if (!m_quiet) {
        utilities::printLine(m_serverName, ", m_eClearTypeRequested = ",
                             clearRequestCommand(m_operation.load().type));
    }
}

bool ClearDataCommand::processClearDataRequestType(ClearDataType type) {
    return guarded("processClearDataRequestType", true, [&] { return request(type); });
}

bool ClearDataCommand::request(ClearDataType type) {
    constexpr const char* here = "processClearDataRequestType";
    if (!m_quiet) {
        const Operation active = m_operation;
        utilities::printLine(m_serverName, ": eClearType = ", clearRequestCommand(type),
                             ", m_eClearTypeRequested = ", clearRequestCommand(active.type),
                             ", m_eClearDataState = ", clearStateName(active.state));
    }
    if (type == ClearDataNone) {
        say(HealthReporter::EVENT_WARNING, here,
            m_serverName + ": Error, no clear data command to execute");
        return false;
    }
    Operation active = m_operation;
    const std::optional<Operation> mine = begin(type, active);
    if (!mine) {
        return refuse(type, active);
    }
    const std::string command(clearRequestCommand(type));
    if (command.empty()) {
        say(HealthReporter::EVENT_ERROR, here,
            concat(m_serverName, ": Invalid or unknown clear command type (eClearType), ",
                   static_cast<int>(type)));
        return abandon(*mine);
    }
    say(HealthReporter::EVENT_INFO, here,
        m_serverName + ": Requesting clear data command, " + command);
    if (!m_commandResponseMessageCallback(command)) {
        say(HealthReporter::EVENT_ERROR, here,
            m_serverName + ": Send command response message failed for command, " + command);
        return abandon(*mine);
    }
    return waitForClearDataRequestedResponse(*mine);
}

std::optional<ClearDataCommand::Operation> ClearDataCommand::begin(ClearDataType type,
                                                                   Operation& active) {
    while (active.state == ClearDataIdle) {
        Operation mine{active.number + 1, static_cast<std::uint8_t>(type), ClearDataRequested};
        if (m_operation.compare_exchange_weak(active, mine)) {
            return mine;
        }
    }
    return std::nullopt;
}

bool ClearDataCommand::refuse(ClearDataType type, Operation active) {
    const std::string text = concat(
        m_serverName, ": ", clearRequestCommand(type), " ignored due to clear command, ",
        clearRequestCommand(active.type), ", already started: ", clearStateName(active.state));
    say(HealthReporter::EVENT_WARNING, "processClearDataRequestType", text);
    m_sendVDBCompleteWarningCallback(static_cast<ClearDataType>(active.type), false, text);
    return false;
}

bool ClearDataCommand::abandon(Operation mine) {
    const utilities::MutexLock lock(m_mutex);
    // A late ACK of an operation before may have met this one.
    const bool acknowledged = isCurrent(mine, ClearDataInProgress);
    Ending ending(m_operation, mine, acknowledged ? ClearDataInProgress : ClearDataRequested);
    if (acknowledged) {
        m_watchdog.cancelWatchdog();
    }
    ending.finish();
    return false;
}

bool ClearDataCommand::waitForClearDataRequestedResponse(Operation mine) {
    return guarded("waitForClearDataRequestedResponse", false, [&] {
        const utilities::MutexLock lock(m_mutex);
        return waitLocked(mine);
    });
}

bool ClearDataCommand::waitLocked(Operation mine) {
    constexpr const char* here = "waitForClearDataRequestedResponse";
    if (!isCurrent(mine, ClearDataRequested)) {
        return true;
    }
    Wait wait;
    m_wait = &wait;
    bool inTime = true;
    while (!wait.answered && inTime) {
        // A wake-up that brings no answer starts the whole period anew.
        inTime = m_condition.wait_until(
            m_mutex, utilities::deadlineAfter(std::chrono::steady_clock::now(),
                                              wholeSeconds(m_clearDataRequestTimeout)));
    }
    if (m_wait == &wait) {
        m_wait = nullptr;
    }
    if (!inTime && endByRequestTimeout(mine)) {
        return false;
    }
    const std::string command(clearRequestCommand(mine.type));
    if (!wait.acknowledged) {
        say(HealthReporter::EVENT_ERROR, here,
            m_serverName + " Request wait loop received NACK for clear data command, " + command);
        return false;
    }
    say(HealthReporter::EVENT_INFO, here,
        m_serverName +
            ": Request wait loop received ACK / successful response for clear data command, " +
            command);
    return true;
}

bool ClearDataCommand::endByRequestTimeout(Operation mine) {
    // An ACK that slipped in behind the time-out is too late: its long time-out goes with it.
    const bool acknowledged = isCurrent(mine, ClearDataInProgress);
    Ending ending(m_operation, mine, acknowledged ? ClearDataInProgress : ClearDataRequested);
    if (!ending.won()) {
        return false;
    }
    const std::string text = concat(m_serverName, ": Request wait loop for clear data command, ",
                                    clearRequestCommand(mine.type), ", timed out after ",
                                    m_clearDataRequestTimeout, " seconds.");
    m_sendVDBCompleteWarningCallback(static_cast<ClearDataType>(mine.type), false, text);
    say(HealthReporter::EVENT_ERROR, "waitForClearDataRequestedResponse", text);
    if (acknowledged) {
        m_watchdog.cancelWatchdog();
    }
    ending.finish();
    return true;
}

bool ClearDataCommand::processClearRequestedResponse(const std::string& response) {
    return guarded("processClearRequestedResponse", false, [&] {
        const utilities::MutexLock lock(m_mutex);
        return firstReply(response);
    });
}

bool ClearDataCommand::firstReply(const std::string& response) {
    const Operation active = m_operation;
    const std::string_view command = clearRequestCommand(active.type);
    const bool ack = isReply(response, command, Sys::ResponseString::Ack);
    if (!ack && !isReply(response, command, Sys::ResponseString::Nack)) {
        return false;
    }
    if (active.state != ClearDataRequested) {
        say(HealthReporter::EVENT_ERROR, "processClearRequestedResponse",
            concat(m_serverName, ": Ignoring ", response, " during state, ",
                   clearStateName(active.state)),
            true);
        return false;
    }
    if (ack) {
        acknowledge(active, command);
    } else if (!endByNack(active, command)) {
        return false;
    }
    if (m_wait != nullptr) {
        *std::exchange(m_wait, nullptr) = {.answered = true, .acknowledged = ack};
    }
    m_condition.notify_all();
    return true;
}

void ClearDataCommand::acknowledge(Operation active, std::string_view command) {
    say(HealthReporter::EVENT_INFO, "processClearRequestedResponse",
        concat(m_serverName, ": Received Ack. Clear data command, ", command, ", in-progress"));
    // In progress before the timer runs: a time-out of no length must find it so.
    Operation inProgress = active;
    inProgress.state = ClearDataInProgress;
    m_operation = inProgress;
    try {
        m_watchdog.startWatchdog(
            wholeSeconds(m_clearDataInProgressTimeout),
            [this, number = active.number] { processClearDataTimeout(number); });
    } catch (...) {
        m_operation = active;
        throw;
    }
}

bool ClearDataCommand::endByNack(Operation active, std::string_view command) {
    Ending ending(m_operation, active, ClearDataRequested);
    if (!ending.won()) {
        return false;
    }
    const std::string text =
        concat(m_serverName, ": Received Nack. Clear data request command, ", command, " failed");
    say(HealthReporter::EVENT_ERROR, "processClearRequestedResponse", text);
    m_sendVDBCompleteWarningCallback(static_cast<ClearDataType>(active.type), false, text);
    ending.finish();
    return true;
}

bool ClearDataCommand::processClearCompletedResponse(const std::string& response) {
    return guarded("processClearCompletedResponse", false, [&] {
        const utilities::MutexLock lock(m_mutex);
        return finalReply(response);
    });
}

bool ClearDataCommand::finalReply(const std::string& response) {
    const Operation active = m_operation;
    const std::string_view stem = textOf(m_clearCompleteResponses, active.type, {});
    const bool pass = isReply(response, stem, Sys::ResponseString::Pass);
    if (!pass && !isReply(response, stem, Sys::ResponseString::Fail)) {
        return false;
    }
    if (active.state != ClearDataInProgress) {
        say(HealthReporter::EVENT_ERROR, "processClearCompletedResponse",
            concat(m_serverName, ": Ignoring ", response,
                   " during state: ", clearStateName(active.state)));
        return false;
    }
    Ending ending(m_operation, active, ClearDataInProgress);
    if (!ending.won()) {
        return false;
    }
    const std::string text = concat(m_serverName, ": Clear data complete for command, ",
                                    clearRequestCommand(active.type), ". Result was ", response);
    say(HealthReporter::EVENT_INFO, "processClearCompletedResponse", text);
    m_sendVDBCompleteWarningCallback(static_cast<ClearDataType>(active.type), pass, text);
    m_watchdog.cancelWatchdog();
    ending.finish();
    return true;
}

void ClearDataCommand::processClearDataTimeout(std::uint32_t number) {
    guarded("processClearDataTimeout", false, [&] {
        Operation active = m_operation;
        if (active.number != number) {
            return false;
        }
        Ending ending(m_operation, active, ClearDataInProgress);
        if (!ending.won()) {
            return false;
        }
        m_watchdog.cancelWatchdog();
        const std::string text =
            concat(m_serverName, ": Clear data command,  ", clearRequestCommand(active.type),
                   ", timed out after ", m_clearDataInProgressTimeout, " seconds.");
        m_sendVDBCompleteWarningCallback(static_cast<ClearDataType>(active.type), false, text);
        say(HealthReporter::EVENT_ERROR, "processClearDataTimeout", text);
        ending.finish();
        return true;
    });
}

bool ClearDataCommand::isCurrent(Operation mine, ClearDataState state) const {
    const Operation now = m_operation;
    return now.number == mine.number && now.state == state;
}
