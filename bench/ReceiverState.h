/** What a GPS receiver knows at one moment, in plain terms. */
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace bench {

/** A satellite in the sky. */
struct Satellite {
    unsigned number = 0;  ///< 1 to 127
    int azimuth = 0;      ///< [deg] 0 to 359
    int elevation = 0;    ///< [deg] -90 to 90
    bool healthy = true;
    bool flagged = false;
};

/** States of a receiver channel, as its entry carries them. */
enum class ChannelState : std::uint8_t {
    Idle = 0,
    Searching = 1,
    Acquiring = 2,
    TrackingCode = 3,
    TrackingCarrier = 4,
    TrackingData = 5,
};

struct Channel {
    unsigned number = 0;  ///< of the satellite, 0 to 127
    ChannelState state = ChannelState::Idle;
    bool inUse = false;    ///< takes part in the fix
    unsigned signal = 0;   ///< [dB-Hz] 0 to 63
    unsigned jamming = 0;  ///< [dB] even, 0 to 126
    unsigned group = 1;    ///< 0 to 15
    unsigned mode = 0;     ///< 0 to 15
};

/** Errors of a fix. */
struct Precision {
    double east = 0;  ///< dilution, as the next two: 0 to 6553.5
    double north = 0;
    double up = 0;
    double position = 0;      ///< [m]
    unsigned horizontal = 0;  ///< [m] 0 to 65535
    unsigned vertical = 0;    ///< [m] 0 to 65535
    double time = 0;          ///< [ns] 0 to 2047, in steps of 1/32
    double velocity = 0;      ///< [cm/s] 0 to 2047, in steps of 1/32
};

struct Warning {
    unsigned number = 0;  ///< the receiver's own, 0 to 65535
    std::string text;     ///< at most 32 characters
};

struct ReceiverState {
    double timeOfValidity = 0;                           ///< [s] of the receiver's own clock
    std::optional<std::chrono::year_month_day> date;     ///< UTC, from 2000 on; empty: not known
    std::optional<std::chrono::milliseconds> timeOfDay;  ///< UTC; empty: not known
    unsigned timeQuality = 1;                            ///< 0 best to 8

    bool positionValid = false;
    bool failed = false;           ///< the receiver reports a failure of its own
    unsigned positionQuality = 1;  ///< 0 to 15
    unsigned mode = 0;             ///< of operation, 0 to 15
    Precision precision;

    std::vector<Channel> channels;      ///< the first 32 count
    std::vector<Satellite> satellites;  ///< the first 12 count

    double magneticVariation = 0;  ///< [deg] east, -180 to 180
    bool variationCalculated = true;
    std::optional<unsigned> missionDuration;  ///< what remains, 0 to 84; empty: none was set
    unsigned keyStatus = 0;                   ///< the whole status word of message 8040
    std::optional<Warning> warning;           ///< to be sent with this state
};

}  // namespace bench
