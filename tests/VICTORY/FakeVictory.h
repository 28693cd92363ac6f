/** A VICTORY library that keeps what it is told, linked in place of the real one. */
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "utilities/Mutex.h"
#include "victory/victory.h"

/** What one service was told and given. The fields are read when no thread is telling. */
struct VgpssService {
    bool started = false;
    VgpssTellCallback tellCallback = nullptr;
    VgpssSaveVclidCallback saveVclid = nullptr;
    VgpssSetCommandCallback setCommand = nullptr;
    VgpssSetMagneticVariationCallback setMagneticVariation = nullptr;
    VgpssSetMissionDurationCallback setMissionDuration = nullptr;
    VgpssSetOperatingModeCallback setOperatingMode = nullptr;
    VgpssSetReceiverHotStartDataCallback setHotStartData = nullptr;
    VgpssSetReceiverHotStartPortCallback setHotStartPort = nullptr;
    void* data = nullptr;
};

namespace fake {

template <typename Record>
struct Told {
    unsigned count;
    Record record;
    std::optional<VgpscDateTime> date;
};

/** The library's memory since `reset`. */
struct Victory {
    // How it behaves.
    bool newServiceFails = false;
    bool readFails = false;
    bool writeFails = false;
    unsigned nextFault = 7;  ///< the id of the next fault; 0: it can't be raised

    // What it saw, in order: "InitPubGroup 3 1", "TellDeviceMissionDuration 7" and so on.
    std::vector<std::string> calls;
    std::string vclXml;
    std::vector<Told<VgpscReceiverStatusData>> status;
    std::vector<Told<VgpscReceiverStatus2Data>> status2;
    std::vector<Told<VgpscHealthStatusData>> health;
    std::vector<Told<VgpscHealthStatus2Data>> health2;
    std::vector<VgpscReceiverPorts> ports;
    std::vector<VgpscReceiverHotStartData> hotStartData;
    /** Calls on a handle that was deleted: each one is a fault of the server. */
    int callsOnDeleted = 0;
};

/** Forgets everything; services of before count as deleted. */
void reset();
/** The same, but for the service that stands. */
void forget();
/** Runs `use` on the memory under its lock. */
void with(const std::function<void(Victory&)>& use);
Victory snapshot();
/** The calls that begin so. */
std::vector<std::string> calls(const std::string& beginning = "");
/** Runs a callback of the standing service, if any, as a thread of the library would: deletion
 *  waits for it. */
void runCallback(const std::function<void(VgpssService&)>& callback);
/** The result of a request that the standing service's client makes; -1 when none stands. */
int ask(const std::function<int(VgpssService&)>& request);

}  // namespace fake
