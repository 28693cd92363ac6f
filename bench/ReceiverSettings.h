/** What the server has set of the receiver. */
#pragma once

#include <optional>

#include "bench/FrameReader.h"
#include "bench/ReceiverState.h"

namespace bench {

/** Obeys the server's messages 5330 (magnetic variation) and 5402 (mission duration), and shows
 *  from then on what was set. One thread at a time. */
class ReceiverSettings {
public:
    /** False for a message that sets nothing of these. A field counts when its selection bit is set
     *  and its value is one that there is. */
    bool obey(const FrameReader& message);
    /** Puts what was set into the state. A mission duration runs down with that of the source. */
    void apply(ReceiverState& state);

private:
    bool obeySetup(const FrameReader& message);
    bool obeyDuration(const FrameReader& message);

    bool m_local = false;
    double m_variation = 0;  ///< [deg] east
    struct Duration {
        unsigned set;
        std::optional<unsigned> source;  ///< that of the source when it was set; empty: not known
    };
    std::optional<Duration> m_duration;
    std::optional<unsigned> m_sourceDuration;
};

}  // namespace bench
