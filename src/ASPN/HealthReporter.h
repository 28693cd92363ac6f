/** The process-wide channel for operational events. */
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>

#include "ASPN/AspnDeviceIds.h"
#include "ASPN/EventQueue.h"
#include "ASPN/EventTypes.h"
#include "aspn2_msgs/EventLog.h"
#include "tss/TypedTS.h"

/** Takes events from any thread at any time and publishes them one by one, at most ten a second, on
 *  a thread of its own. No call that hands in an event waits: one that finds the queue full is
 *  dropped. What is handed in before InitHealthReporter waits for it.
 */
class HealthReporter {
public:
    using eEventType = EventTypes::eEventType;
    using enum EventTypes::eEventType;

    using EventLogTS = FACE::TSS::TypedTS<aspn2_msgs::idl::EventLog>;

    /** From one publication of a configuration event to the next; read at the first use of the
     *  singleton, so that a test may shorten it before. */
    static inline std::chrono::nanoseconds configRepeatDuration = std::chrono::seconds(300);
    /** How long the publisher waits for an event before it looks whether it is to end. */
    static constexpr std::chrono::nanoseconds eventQPollDuration = std::chrono::milliseconds(500);
    /** Behind each event published; a test may shorten it before InitHealthReporter. */
    static inline std::chrono::nanoseconds publishPause = std::chrono::milliseconds(100);

    /** The one of the process, made at first use. */
    static HealthReporter& Instance();

    /** Queues a plain event. `file` and `line` name the place of the call, as __FILE__ and __LINE__
     *  give it; a text of type 3, 4 or 5 gets them in front. A type outside 0 to 5 becomes 0.
     */
    void SendEvent(const char* file, int line, eEventType type, const std::string& text);

    /** Queues an event that is published again and again; returns its id. */
    std::uint32_t SendConfigEvent(const std::string& text);

    /** The same in place of the configuration event `oldId`, if there is one; returns the new id.
     */
    std::uint32_t ReplaceConfigEvent(const std::string& text, std::uint32_t oldId);

    /** Starts publishing on `connection`, whose sender it registers. `name` leads console lines.
     *  Main thread.
     *  @throws std::runtime_error for an empty transport, a second call, a refused sender
     */
    void InitHealthReporter(const std::string& name, const ASPN2::DeviceIdFactory& factory,
                            const std::shared_ptr<EventLogTS>& eventLogTypedTS,
                            std::int64_t connection);

    /** Ends the publisher, once what waits has gone out at its pace, and lets the transport go.
     *  Plain events that come meanwhile are dropped. Nothing happens when it was not started. Main
     *  thread. */
    void DoneHealthReporter();

    HealthReporter(const HealthReporter&) = delete;
    HealthReporter& operator=(const HealthReporter&) = delete;

private:
    HealthReporter();
    ~HealthReporter() { DoneHealthReporter(); }

    void pubThreadFunction();
    bool publishNext();
    void publishChange(int type, const std::string& text);

    ASPN2::EventQueue m_eventQueue;
    std::atomic<bool> m_initialized{false};
    std::atomic<bool> m_stop{false};

    // Written before the publisher starts, and then its own.
    std::string m_name;
    std::int32_t m_deviceId = 0;
    std::int64_t m_seqNum = 0;
    std::shared_ptr<EventLogTS> m_eventLogTypedTS;
    std::int64_t m_connectionId = -1;
    std::thread m_thread;
};
