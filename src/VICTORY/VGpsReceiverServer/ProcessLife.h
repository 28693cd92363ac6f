/** The process around the server: its signals and the pace of its main thread. */
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>

#include "face/FACE_Common.h"

/** Pause between two tries of a life-cycle step that answered IN_PROGRESS [ms]; 0 or less: none. */
extern std::int32_t transactionPollMs;
/** Pause between two looks at `exitFlag` [ms]; 0 or less: none. */
extern std::int32_t exitPollMs;

/** Set by SignalHandler, read by the main thread. Nothing else is touched in signal context. */
extern std::atomic<std::uint8_t> exitFlag;
/** The number of the signal that set `exitFlag`; of several, the newest. */
extern std::atomic<std::int32_t> exitSignal;

void SignalHandler(int signal);

/** Installs SignalHandler for every signal that ends the process in order. */
void SetupSignalHandler();

/** Sleeps the whole of `milliseconds`, whatever signals arrive meanwhile; 0 or less returns at
 *  once. */
void sleepMilliseconds(std::int32_t milliseconds);

/** Calls `step` until it answers something else than IN_PROGRESS, which is what `rc` starts with,
 *  pausing `transactionPollMs` between two tries, without a limit.
 *  @throws std::bad_function_call for an empty step, and whatever the step throws
 */
void callOnceTransactionally(const std::function<void(FACE::RETURN_CODE_TYPE::Value&)>& step,
                             FACE::RETURN_CODE_TYPE::Value& rc);
