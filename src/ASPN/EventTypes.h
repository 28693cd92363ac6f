/** The numbering of events, that of `event_log_type` in the event log's message. */
#pragma once

#include <cstdint>

struct EventTypes {
    /** Any value of 0 to 5 may be sent; these three are. */
    enum eEventType : std::int32_t {
        EVENT_INFO = 2,     ///< Normal progress.
        EVENT_WARNING = 3,  ///< Refused requests, exceptions caught in callbacks.
        EVENT_ERROR = 4     ///< Failures of an operation.
    };
};
