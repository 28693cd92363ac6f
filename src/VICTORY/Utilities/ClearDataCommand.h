/** Carries one clear-data operation, a zeroize of the receiver's keys, at a time: request, ACK or
 *  NACK, then PASS or FAIL, under two time-outs. Knows neither topics nor the VICTORY service: both
 *  are reached through callbacks.
 */
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "ASPN/HealthReporter.h"
#include "utilities/Mutex.h"
#include "utilities/SourcePlace.h"
#include "utilities/WatchdogTimer.h"

/** Every operation ends with exactly one answer, whatever meets, unless a callback throws: of two
 * requests at once one is carried out and the other refused; of a reply and a time-out at the same
 * moment one ends the operation and the other finds it ended. What decides is one atomic word.
 *
 *  Threads: requests come on the bus's callback threads and wait there; replies on the listener
 *  thread of the system's topics; the long time-out on the watchdog's own thread.
 */
class ClearDataCommand {
public:
    enum ClearDataType : int {
        ClearDataNone = 0,
        ClearDataZeroize = 1,
        ClearDataDestroy = 2,
        ClearDataCvZeroize = 3
    };
    enum ClearDataState : int {
        ClearDataIdle = 0,
        ClearDataRequested = 1,
        ClearDataInProgress = 2
    };

    /** Sends a command text to the system; true when it went out. Called without a lock. */
    using CommandResponseMessageCallback = std::function<bool(std::string)>;
    /** Hears how an operation ended: its type, whether it passed, the words. Called with the lock
     *  of this class held by replies, so it must not call back into the class. */
    using CompleteWarningCallback = std::function<bool(ClearDataType, bool, const std::string&)>;

    explicit ClearDataCommand(std::string serverName);
    ClearDataCommand(const ClearDataCommand&) = delete;
    ClearDataCommand& operator=(const ClearDataCommand&) = delete;

    // Settings, before the first request, from one thread.

    void setCommandResponseMessageCallback(CommandResponseMessageCallback callback);
    void setSendVDBCompleteWarningCallback(CompleteWarningCallback callback);
    void setClearDataInProgressTimeout(std::int64_t seconds);
    void setClearDataRequestTimeout(std::int64_t seconds);
    /** While true, only exceptions and an ACK or NACK out of turn are printed. */
    bool m_quiet = true;

    /** Starts an operation and waits for its ACK, at most for the request time-out.
     *  @return whether it went on, or was answered before the wait began
     */
    bool processClearDataRequestType(ClearDataType type) EXCLUDES(m_mutex);
    /** Takes an ACK or NACK of the operation under way; true when it acted on the text. */
    bool processClearRequestedResponse(const std::string& response) EXCLUDES(m_mutex);
    /** Takes a PASS or FAIL of the operation under way; true when it acted on the text. */
    bool processClearCompletedResponse(const std::string& response) EXCLUDES(m_mutex);
    /** Prints the active type, unless quiet. */
    void dumpStateInfo() const;

    /** Command text of a type; empty for a type that is none. */
    static std::string_view clearRequestCommand(int type);

private:
    /** Command of each type; the word that its final reply begins with; name of each state. */
    static const std::array<std::string_view, 4> m_clearRequestCommands;
    static const std::array<std::string_view, 4> m_clearCompleteResponses;
    static const std::array<std::string_view, 3> m_clearStateNames;
    static std::string_view clearStateName(int state);

    /** The operation under way, in one word. Begins and ends by compare and swap, so that each step
     *  has one winner; becomes acknowledged under the mutex. */
    struct Operation {
        std::uint32_t number = 0;  ///< counts the operations: tells one's own from a later one
        std::uint8_t type = ClearDataNone;
        std::uint8_t state = ClearDataIdle;
        /** Somebody is reporting its end and will make it idle. */
        bool ending = false;
        std::uint8_t unused = 0;
    };
    static_assert(std::atomic<Operation>::is_always_lock_free);

    /** The right to end an operation, won or not. Gives it back when the report of the end throws:
     *  the operation then goes on as if nothing had come. */
    class Ending;

    /** What a waiting request hears. */
    struct Wait {
        bool answered = false;
        bool acknowledged = false;
    };

    bool request(ClearDataType type) EXCLUDES(m_mutex);
    /** The operation begun for `type`; none when another is under way, which `active` then is. */
    std::optional<Operation> begin(ClearDataType type, Operation& active);
    bool refuse(ClearDataType type, Operation active);
    /** Makes the machine idle after a request that never went out. @return false */
    bool abandon(Operation mine) EXCLUDES(m_mutex);
    bool waitForClearDataRequestedResponse(Operation mine) EXCLUDES(m_mutex);
    bool waitLocked(Operation mine) REQUIRES(m_mutex);
    /** @return false when the operation had its end already */
    bool endByRequestTimeout(Operation mine) REQUIRES(m_mutex);
    bool firstReply(const std::string& response) REQUIRES(m_mutex);
    void acknowledge(Operation active, std::string_view command) REQUIRES(m_mutex);
    bool endByNack(Operation active, std::string_view command) REQUIRES(m_mutex);
    bool finalReply(const std::string& response) REQUIRES(m_mutex);
    /** On the watchdog's thread, for the operation of that number. */
    void processClearDataTimeout(std::uint32_t number);
    /** Whether that operation is the one under way, and in this state. */
    bool isCurrent(Operation mine, ClearDataState state) const;

    /** Sends the event; prints the text too when not quiet, or `always`. */
    void say(HealthReporter::eEventType type, std::string_view operation, const std::string& text,
             bool always = false,
             utilities::SourcePlace place = utilities::SourcePlace::current()) const;
    void sayException(std::string_view operation, const std::string& text) const;
    /** Runs `body`; an exception is reported and gives `onException`. */
    template <typename Body>
    bool guarded(std::string_view operation, bool onException, Body body) const;

    const std::string m_serverName;
    std::int64_t m_clearDataInProgressTimeout = 0;  ///< [s]
    std::int64_t m_clearDataRequestTimeout = 0;     ///< [s]
    CommandResponseMessageCallback m_commandResponseMessageCallback;
    CompleteWarningCallback m_sendVDBCompleteWarningCallback;

    std::atomic<Operation> m_operation{};

    /** Held by the replies from start to end and by the wait except while it sleeps, so that no
     *  reply can come between the wait's test and its sleep. The time-out of the operation itself
     *  runs without it: cancelling the watchdog under it waits for that thread. */
    utilities::Mutex m_mutex;
    utilities::Condition m_condition;
    /** Of the request that waits for its answer; each answer is told to the one it is for. */
    Wait* m_wait GUARDED_BY(m_mutex) = nullptr;
    /** Started and cancelled under m_mutex. Last member: its thread ends first. */
    WatchdogTimer m_watchdog;
};
