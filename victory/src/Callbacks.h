/** The callbacks of a service's owner. */
#pragma once

#include "victory/victory.h"

namespace victory {

/** A function of the owner with the data it wants back; no function means not offered. */
template <class Function>
struct Callback {
    Function function = nullptr;
    void* data = nullptr;
};

/** What answers the requests of clients. Fixed once the service has started. */
struct Callbacks {
    Callback<VgpssSaveVclidCallback> saveVclid;
    Callback<VgpssSetCommandCallback> setCommand;
    Callback<VgpssSetMagneticVariationCallback> setMagneticVariation;
    Callback<VgpssSetMissionDurationCallback> setMissionDuration;
    Callback<VgpssSetOperatingModeCallback> setOperatingMode;
    Callback<VgpssSetReceiverHotStartDataCallback> setHotStartData;
    Callback<VgpssSetReceiverHotStartPortCallback> setHotStartPort;
};

}  // namespace victory
