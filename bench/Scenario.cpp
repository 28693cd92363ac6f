#include "bench/Scenario.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <numbers>

namespace bench {
namespace {

using namespace std::chrono;
using namespace std::chrono_literals;

constexpr std::size_t dateKnown = 3;
constexpr std::size_t firstFix = 6;
constexpr std::size_t lossBegins = 30;
constexpr std::size_t lossEnds = 40;
constexpr std::size_t lossPeriod = 60;
constexpr unsigned missionDuration = 72;
constexpr std::size_t missionStep = 10;
constexpr double clockAtStart = 345580;  // [s] of the receiver's own clock
constexpr sys_time<milliseconds> start{sys_days{2024y / February / 28} + 23h + 59min + 40s};
constexpr double variation = -7.25;      // [deg]
constexpr double variationDrift = 0.01;  // [deg] a minute
constexpr unsigned warningOfFix = 6;     // a number without a code: its text goes out

/** The way of a satellite: on a circle through the sky, drawn tight so that a minute shows it. */
struct Orbit {
    unsigned number;
    double azimuth;  ///< [deg] at the start
    double turn;     ///< [deg] a cycle
    double height;   ///< [deg] the greatest elevation
    double phase;    ///< [deg] of the way between rising and setting at the start
};

constexpr std::array<Orbit, 14> orbits{{{2, 12, 0.10, 62, 40},
                                        {5, 300, -0.15, 48, 100},
                                        {6, 0, 0.20, 75, 80},
                                        {9, 141, 0.10, 35, 150},
                                        {12, 222, -0.10, 81, 60},
                                        {15, 75, 0.12, 22, 30},
                                        {17, 265, -0.20, 55, 120},
                                        {19, 180, 0.18, 68, 90},
                                        {22, 330, -0.12, 15, 160},
                                        {24, 44, 0.10, 40, 20},
                                        {25, 101, 0.15, 30, 175},
                                        {29, 198, -0.18, 51, 70},
                                        {31, 287, 0.10, 26, 200},
                                        {32, 350, -0.15, 44, 345}}};

constexpr unsigned unhealthy = 22;      // this satellite says so of itself
constexpr double advance = 0.25;        // [deg] of the way a cycle
constexpr double maskAngle = 10;        // [deg] no satellite below takes part in the fix
constexpr std::size_t satellites = 12;  // that the receiver tells of

double degreesSine(double degrees) {
    return std::sin(degrees * std::numbers::pi / 180);
}

Satellite place(const Orbit& orbit, std::size_t cycle) {
    const auto time = static_cast<double>(cycle);
    const double azimuth = std::fmod(orbit.azimuth + orbit.turn * time, 360.0);
    const double elevation = orbit.height * degreesSine(orbit.phase + advance * time);
    Satellite satellite;
    satellite.number = orbit.number;
    satellite.azimuth = (static_cast<int>(std::lround(azimuth)) + 360) % 360;
    satellite.elevation = static_cast<int>(std::lround(elevation));
    satellite.healthy = orbit.number != unhealthy;
    satellite.flagged = satellite.elevation >= maskAngle;
    return satellite;
}

bool hasFix(std::size_t cycle) {
    const std::size_t inPeriod = cycle % lossPeriod;
    return cycle >= firstFix && (inPeriod < lossBegins || inPeriod >= lossEnds);
}

Channel listen(const Satellite& satellite, bool fix) {
    Channel channel;
    channel.number = satellite.number;
    channel.inUse = fix && satellite.healthy && satellite.elevation >= maskAngle;
    channel.state = channel.inUse ? ChannelState::TrackingData
                    : fix         ? ChannelState::TrackingCode
                                  : ChannelState::Searching;
    channel.signal = fix ? 30 + static_cast<unsigned>(std::max(satellite.elevation, 0)) / 5 : 0;
    channel.jamming = 12;
    return channel;
}

Precision precisionWith(std::size_t used) {
    const double dilution = 12.0 / static_cast<double>(std::max<std::size_t>(used, 1));
    Precision precision;
    precision.east = precision.north = std::round(dilution * 10) / 10;
    precision.up = std::round(dilution * 15) / 10;
    precision.position = 5 * dilution;
    precision.horizontal = static_cast<unsigned>(std::lround(4 * dilution));
    precision.vertical = static_cast<unsigned>(std::lround(6 * dilution));
    precision.time = 20.5;
    precision.velocity = 3.25;
    return precision;
}

}  // namespace

ReceiverState scenarioAt(std::size_t cycle) {
    ReceiverState state;
    state.timeOfValidity = clockAtStart + static_cast<double>(cycle);
    if (cycle >= dateKnown) {
        const auto now = start + seconds(cycle);
        state.date = year_month_day(floor<days>(now));
        state.timeOfDay = now - floor<days>(now);
    }
    state.positionValid = hasFix(cycle);
    for (const Orbit& orbit : orbits) {
        const Satellite satellite = place(orbit, cycle);
        if (satellite.elevation >= 0 && state.satellites.size() < satellites) {
            state.satellites.push_back(satellite);
            state.channels.push_back(listen(satellite, state.positionValid));
        }
    }
    const auto used =
        static_cast<std::size_t>(std::ranges::count_if(state.channels, &Channel::inUse));
    state.precision = precisionWith(used);
    state.mode = state.positionValid ? 4 : 1;
    state.magneticVariation =
        variation + variationDrift * std::floor(static_cast<double>(cycle) / 60);
    state.missionDuration = missionDuration - static_cast<unsigned>(std::min<std::size_t>(
                                                  cycle / missionStep, missionDuration));
    state.keyStatus = 1U << 12 | 8U << 2;
    if (cycle == firstFix) {
        state.warning = Warning{warningOfFix, "FIRST FIX"};
    }
    return state;
}

}  // namespace bench
