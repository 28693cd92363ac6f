/** The process-wide channel for operational events. */
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "ASPN/EventQueue.h"
#include "ASPN/EventTypes.h"

/** Takes events from any thread at any time. No call here waits: an event
 *  that finds the queue full is dropped.
 */
class HealthReporter {
public:
    using eEventType = EventTypes::eEventType;
    using enum EventTypes::eEventType;

    /** From one publication of a configuration event to the next. */
    static constexpr std::chrono::nanoseconds configRepeatDuration = std::chrono::seconds(300);

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

private:
    HealthReporter();

    ASPN2::EventQueue m_eventQueue;
};
