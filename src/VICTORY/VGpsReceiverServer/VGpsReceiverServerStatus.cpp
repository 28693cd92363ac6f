#include <cmath>
#include <numbers>

#include "VICTORY/VGpsReceiverServer/VGpsReceiverServer.h"
#include "VICTORY/VGpsReceiverServer/VictoryCallback.h"
#include "utilities/AngleUtilities.h"
#include "utilities/Console.h"

using utilities::printLine;

namespace {

/** Both quality codes while the position is invalid. */
constexpr std::uint32_t noQuality = 9;
/** The largest value of an operating mode, and of `statusWordF`, that means something. */
constexpr std::uint16_t largestCode = 7;
constexpr std::uint16_t largestNorthReference = 2;
constexpr std::uint32_t noStatusBitsG = 3;

/** What a channel's state, 0 to 15, comes to. */
struct ChannelState {
    std::uint32_t stateClass;
    bool hasClass;
    std::uint32_t stateCode;
    std::uint32_t activity;
};

constexpr std::array<ChannelState, 16> channelStates = [] {
    std::array<ChannelState, 16> states{};
    states.fill({3, true, 4, 2});
    states[0] = {0, false, 4, 0};
    states[1] = {3, true, 4, 1};
    states[2] = {0, false, 3, 1};
    states[3] = {0, true, 0, 1};
    states[4] = {1, true, 1, 1};
    states[5] = {2, true, 2, 1};
    states[6] = {2, true, 2, 1};
    return states;
}();

/** Sets a field and its present word. */
template <typename Field, typename Value>
void put(Field& field, std::uint32_t& present, Value value) {
    field = static_cast<Field>(value);
    present = 1;
}

/** The same where `condition` holds; else both stay 0. */
template <typename Field, typename Value>
void putIf(bool condition, Field& field, std::uint32_t& present, Value value) {
    if (condition) {
        put(field, present, value);
    }
}

bool positionValid(const Tyrn_8504_Msg::unpacked_msg8504_t& msg8504) {
    return !msg8504.positionInvalid;
}

void putStatusWords(const Tyrn_5040_Msg::unpacked_msg5040_t& msg5040,
                    VgpscReceiverStatusData& status) {
    put(status.statusWordA, status.statusWordAPresent, msg5040.statusWordA);
    put(status.statusWordB, status.statusWordBPresent, msg5040.statusWordB);
    putIf(msg5040.statusWordC >= 0, status.statusWordC, status.statusWordCPresent,
          msg5040.statusWordC);
    put(status.statusValueD, status.statusValueDPresent, msg5040.statusValueD);
    put(status.statusWordE, status.statusWordEPresent, msg5040.statusWordE);
    putIf(msg5040.statusWordF <= largestCode, status.statusWordF, status.statusWordFPresent,
          msg5040.statusWordF);
}

void putNorthReference(const Tyrn_5040_Msg::unpacked_msg5040_t& msg5040,
                       VgpscReceiverStatusData& status) {
    if (msg5040.timeStatus == 0) {
        return;
    }
    putIf(msg5040.northReference <= largestNorthReference, status.northReference,
          status.northReferencePresent, msg5040.northReference);
    put(status.northReferenceCorrection, status.northReferenceCorrectionPresent,
        static_cast<double>(msg5040.northReferenceCorrection) *
            VGpsReceiverServer::northRefCorrectionUnitsConvert(
                msg5040.northReferenceCorrectionUnits));
}

/** Fills in a record that is all zero; in place, as 24 of them make most of a status record. */
inline void putChannel(const Tyrn_8504_Msg::msg_8504_status_type& channel,
                       VgpscReceiverChannelData& data) {
    const ChannelState& state = channelStates[channel.state()];
    data.svNumber = channel.svNumber();
    putIf(state.hasClass, data.stateClass, data.stateClassPresent, state.stateClass);
    put(data.activity, data.activityPresent, state.activity);
    put(data.doubledTerm, data.doubledTermPresent, 2 * channel.doubledTerm());
    data.plainTerm = channel.plainTerm();
    data.channelByte = channel.channelByte();
    data.stateCode = state.stateCode;
    put(data.inUse, data.inUsePresent, channel.inUse());
    const unsigned group = channel.groupField();
    put(data.groupClass, data.groupClassPresent, group == 1 ? 0U : group == 2 ? 1U : 2U);
    data.modeNibble = channel.modeNibble() <= largestCode ? channel.modeNibble() : 0;
}

/** Looks at every channel of the message, also at those that the record has no room for. */
void putChannelFlags(const Tyrn_8504_Msg::unpacked_msg8504_t& msg8504,
                     VgpscReceiverStatusData& status) {
    put(status.noChannelInState2, status.noChannelInState2Present, 1);
    put(status.noChannelInState2Or3, status.noChannelInState2Or3Present, 1);
    for (const auto& channel : msg8504.channels) {
        if (!channel.inUse()) {
            continue;
        }
        if (channel.state() == 2) {
            status.noChannelInState2 = 0;
        }
        if (channel.state() == 2 || channel.state() == 3) {
            status.noChannelInState2Or3 = 0;
        }
    }
}

void putModeFlags(unsigned modeBits, VgpscReceiverStatusData& status) {
    put(status.modeFlagA, status.modeFlagAPresent, modeBits == 0);
    put(status.modeFlagB, status.modeFlagBPresent, modeBits == 1);
    put(status.modeFlagC, status.modeFlagCPresent, modeBits == 2);
}

/** The errors of a valid position. */
void putErrors(const Tyrn_8504_Msg::unpacked_msg8504_t& msg8504, VgpscReceiverStatusData& status) {
    constexpr double errorUnit = 0.03125;
    const double a = msg8504.precisionWordA / 10.0;
    const double b = msg8504.precisionWordB / 10.0;
    const double c = msg8504.precisionWordC / 10.0;
    put(status.precisionTotal, status.precisionTotalPresent, std::sqrt(a * a + b * b + c * c));
    put(status.precisionA, status.precisionAPresent, a);
    put(status.precisionB, status.precisionBPresent, b);
    put(status.precisionC, status.precisionCPresent, c);
    put(status.positionError, status.positionErrorPresent,
        static_cast<double>(msg8504.positionError) *
            VGpsReceiverServer::positionErrorUnitsConvert(msg8504.positionErrorUnits));
    status.errorValueA = msg8504.errorWordA;
    status.errorValueB = msg8504.errorWordB;
    put(status.errorValueC, status.errorValueCPresent, msg8504.errorWordC * errorUnit);
    put(status.errorValueD, status.errorValueDPresent, msg8504.errorWordD * errorUnit);
}

std::uint32_t status2CodeOf(std::uint16_t word) {
    const unsigned kind = (word >> 12) & 3U;
    if (kind == 2) {
        return 6;
    }
    if ((word & 1U) != 0) {
        return 2;
    }
    return kind == 1 ? 5 : 1;
}

}  // namespace

double VGpsReceiverServer::northRefCorrectionUnitsConvert(std::uint16_t units) {
    switch (units) {
        case 0:
            return 0.05625;
        case 2:
            return 0.05714285714285714;
        default:
            return 1.0;
    }
}

double VGpsReceiverServer::positionErrorUnitsConvert(std::uint16_t units) {
    constexpr std::array metres{1.0, 0.3048, 0.9144, 1000.0, 1609.344, 1852.0};
    return units < metres.size() ? metres[units] : 1.0;
}

VgpscReceiverChannelData VGpsReceiverServer::encodeVictoryChannelStatus(
    const Tyrn_8504_Msg::msg_8504_status_type& channel) {
    VgpscReceiverChannelData data{};
    putChannel(channel, data);
    return data;
}

VgpscReceiverStatusData VGpsReceiverServer::makeReceiverStatus(
    const Tyrn_5040_Msg::unpacked_msg5040_t& msg5040,
    const Tyrn_8504_Msg::unpacked_msg8504_t& msg8504) {
    const bool valid = positionValid(msg8504);
    VgpscReceiverStatusData status{};
    status.receiverTime = msg8504.timeOfValidity;
    status.positionQuality = valid ? msg8504.positionQuality : noQuality;
    status.timeQuality = valid ? msg8504.timeQuality : noQuality;
    put(status.timeStatus, status.timeStatusPresent, msg5040.timeStatus);
    putIf(msg5040.operatingMode <= largestCode, status.operatingMode, status.operatingModePresent,
          msg5040.operatingMode);
    for (std::size_t i = 0; i < VGPSC_CHANNELS; ++i) {
        putChannel(msg8504.channels[i], status.channels[i]);
    }
    status.channelCount = VGPSC_CHANNELS;
    putStatusWords(msg5040, status);
    putNorthReference(msg5040, status);
    putIf(msg8504.statusBitsG != noStatusBitsG, status.statusBitsG, status.statusBitsGPresent,
          msg8504.statusBitsG);
    put(status.datumCode, status.datumCodePresent, datumCode);
    const double degrees =
        static_cast<double>(msg8504.magneticVariation) * 180.0 / std::numbers::pi;
    put(status.magneticVariation, status.magneticVariationPresent,
        AngleUtility::NormalizeValue(degrees, 360.0));
    put(status.magneticVariationSource, status.magneticVariationSourcePresent,
        msg8504.magneticVariationSource);
    put(status.positionValid, status.positionValidPresent, valid);
    putModeFlags(msg8504.modeBits, status);
    putChannelFlags(msg8504, status);
    status.reservedBPresent = 1;
    if (valid) {
        putErrors(msg8504, status);
    }
    return status;
}

VgpscDateTime VGpsReceiverServer::makeDateTime(const Tyrn_5040_Msg::unpacked_msg5040_t& msg5040) {
    VgpscDateTime date{};
    date.year = msg5040.year + 2000U;
    date.month = msg5040.month;
    date.day = msg5040.day;
    date.hours = msg5040.hours;
    date.minutes = msg5040.minutes;
    date.seconds = msg5040.seconds;
    return date;
}

void VGpsReceiverServer::encodeVictoryGpsReceiverStatus(
    const Tyrn_5040_Msg::unpacked_msg5040_t& msg5040,
    const Tyrn_8504_Msg::unpacked_msg8504_t& msg8504) {
    if (!m_quiet) {
        printLine(m_serverName, ": ", "encodeVictoryGpsReceiverStatus",
                  ": Processing data and sending a Victory update.\n");
    }
    const VgpscReceiverStatusData status = makeReceiverStatus(msg5040, msg8504);
    m_magneticVariation = status.magneticVariation;
    const ServiceHandle::Use service(m_vgpssService);
    if (!service) {
        return;
    }
    vgpssTellDeviceOperatingMode(service.get(), status.operatingModePresent != 0
                                                    ? static_cast<int>(status.operatingMode)
                                                    : -1);
    tellMagneticVariation(service.get(), status.magneticVariationSource, status.magneticVariation);
    const VgpscDateTime date = makeDateTime(msg5040);
    if (!m_tellDisabled) {
        vgpssTellStatusData(service.get(), VGPSC_CHANNELS, status,
                            msg5040.timeStatus != 0 ? &date : nullptr);
    }
}

void VGpsReceiverServer::tellMagneticVariation(VgpssService* service, std::uint32_t source,
                                               double degrees) {
    const char* const word = source == 1 ? "CALC " : "LOCAL ";
    // One report after a set from the bus is passed over: it still holds the old value.
    if (m_skipReceiverMagVar.exchange(false)) {
        if (!m_quiet) {
            printLine(m_serverName, ": Skipping receiver magvar of ", word, degrees);
        }
        return;
    }
    vgpssTellDeviceMagneticVariation(service, static_cast<VgpscMagneticVariation>(source), degrees);
    if (!m_quiet) {
        printLine(m_serverName, ": magvar = ", word, degrees);
    }
}

VgpscReceiverStatus2Data VGpsReceiverServer::makeReceiverStatus2(
    const Tyrn_8040_Msg::unpacked_msg8040_t& msg8040) {
    VgpscReceiverStatus2Data status{};
    status.receiverTime = msg8040.timeOfValidity;
    put(status.status2Value, status.status2ValuePresent, (msg8040.status2Word >> 2) & 0x3FFU);
    put(status.status2Code, status.status2CodePresent, status2CodeOf(msg8040.status2Word));
    return status;
}

void VGpsReceiverServer::cbTellStatus2DataCallback(void* data, VgpssService* service) {
    guardCallback(data, 0, [service](VGpsReceiverServer& server) {
        server.tellStatus2Data(service);
        return 0;
    });
}

void VGpsReceiverServer::tellStatus2Data(VgpssService* service) {
    const utilities::MutexLock lock(m_vdbWarningMutex);
    VgpscReceiverStatus2Data status = makeReceiverStatus2(m_msg8040);
    status.missionDuration = m_missionDuration;
    status.missionDurationPresent = m_missionDurationValid ? 1 : 0;
    status.warningCount = static_cast<std::uint32_t>(m_vdbWarnings.drainInto(status.warnings));
    vgpssTellStatus2Data(service, status, nullptr);
}
