#include <cmath>

#include "VICTORY/VGpsReceiverServer/VGpsReceiverServer.h"
#include "VICTORY/VGpsReceiverServer/VictoryCallback.h"
#include "receiver/Tyrn5402Msg.h"
#include "receiver/TyrnUnitSetupMsg.h"
#include "utilities/Console.h"

using utilities::concat;
using utilities::printLine;

namespace {

/** Sources of a magnetic variation. */
constexpr VgpscMagneticVariation localSource = 0;
constexpr VgpscMagneticVariation calculatedSource = 1;

/** Lengths that the lines about the two messages show [bytes]. */
constexpr int printedSetupBytes = 232;
constexpr int printedDurationBytes = 168;

}  // namespace

void VGpsReceiverServer::registerSettings(VgpssService* service) {
    if (m_debug) {
        printLine("Enabling interfaces for setting magvar, mission duration and op mode");
    }
    vgpssInitSetMagneticVariationCallback(service, cbSetMagneticVariationCallback, this);
    vgpssInitSetMissionDurationCallback(service, cbSetMissionDurationCallback, this);
    vgpssInitSetOperatingModeCallback(service, cbSetOperatingModeCallback, this);
}

int VGpsReceiverServer::cbSetMagneticVariationCallback(void* data, VgpssService* service,
                                                       VgpscMagneticVariation source,
                                                       double variation) {
    return guardCallback(data, 1, [&](VGpsReceiverServer& server) {
        return server.refuseInSanitize("set magnetic variation")
                   ? 1
                   : server.setMagneticVariationCallbackMethod(service, source, variation);
    });
}

int VGpsReceiverServer::setMagneticVariationCallbackMethod(VgpssService* service,
                                                           VgpscMagneticVariation source,
                                                           double variation) {
    if (!m_quiet) {
        printLine("Received a setMagneticVariation call: ", "variation=", variation, " ",
                  "type=", source);
    }
    if (source != calculatedSource && !std::isfinite(variation)) {
        report(concat(m_serverName, ": Invalid Magnetic Variation: ", variation));
        return 1;
    }
    TyrnUnitSetupMsg message;
    int result = 0;
    if (source == calculatedSource) {
        message.setMagVarType(e5330_MagVarType::Calculated);
        variation = m_magneticVariation;
        if (!m_quiet) {
            printLine(": magvar = (calculated)");
            printLine(" Replaced magvar variance with ", variation);
        }
    } else if (source == localSource) {
        if (!m_quiet) {
            printLine(": magvar = (local)");
        }
        message.setMagVarType(e5330_MagVarType::Local);
        message.setMagVariation(variation, e5330_MagVarUnits::Degrees);
    } else {
        report(concat(m_serverName, ": Invalid Magnetic Variation type code: ", source));
        result = 1;
    }
    m_skipReceiverMagVar = true;
    vgpssTellDeviceMagneticVariation(service, source, variation);
    return publishGSSIPmessage(&message, printedSetupBytes) == 0 ? 1 : result;
}

int VGpsReceiverServer::cbSetMissionDurationCallback(void* data, VgpssService* service,
                                                     unsigned duration) {
    return guardCallback(data, 1, [&](VGpsReceiverServer& server) {
        return server.refuseInSanitize("set mission duration")
                   ? 1
                   : server.setMissionDurationCallbackMethod(service, duration);
    });
}

int VGpsReceiverServer::setMissionDurationCallbackMethod(VgpssService* service, unsigned duration) {
    if (!m_quiet) {
        printLine("Received a setMissionDuration call: duration=", duration);
    }
    Tyrn_5402_Msg message;
    if (!message.setMissionDuration(duration)) {
        report(concat(m_serverName, ": Invalid Mission Duration: ", duration));
        return 1;
    }
    m_skipMissionDuration = true;
    m_missionDurationValid = true;
    m_missionDuration = static_cast<std::uint16_t>(duration);
    vgpssTellDeviceMissionDuration(service, duration);
    publishGSSIPmessage(&message, printedDurationBytes);
    return 0;
}

int VGpsReceiverServer::cbSetOperatingModeCallback(void* data, VgpssService* /*service*/,
                                                   VgpscOperatingMode /*mode*/) {
    return guardCallback(data, 1, [](VGpsReceiverServer& server) {
        if (!server.m_quiet) {
            printLine(": Received a setOperatingMode call (does nothing): ");
        }
        return 0;
    });
}
