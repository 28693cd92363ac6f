/** The receiver's status messages, from a ReceiverState. */
#pragma once

#include <cstdint>
#include <vector>

#include "bench/FrameBuilder.h"
#include "bench/ReceiverState.h"

namespace bench {

Bytes frame5040(const ReceiverState& state);
Bytes frame5042(const ReceiverState& state);
Bytes frame5044(const ReceiverState& state, const Warning& warning);
/** Satellites 1 to 6 and 7 to 12 of the state. */
Bytes frame5047(const ReceiverState& state);
Bytes frame5048(const ReceiverState& state);
Bytes frame8040(const ReceiverState& state);
Bytes frame8504(const ReceiverState& state);

/** One cycle of the receiver in the order it sends: 5040, 8504, 8040, 5047, 5048, 5042 when a
 *  mission duration is set, and 5044 when there is a warning. */
std::vector<Bytes> cycleFrames(const ReceiverState& state);

}  // namespace bench
