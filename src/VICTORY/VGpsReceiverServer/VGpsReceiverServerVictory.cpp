#include <string_view>

#include "VICTORY/VGpsReceiverServer/HotStartTables.h"
#include "VICTORY/VGpsReceiverServer/VGpsReceiverServer.h"
#include "VICTORY/VGpsReceiverServer/VictoryCallback.h"
#include "utilities/Console.h"
#include "utilities/DeviceRoot.h"

using utilities::printLine;
using utilities::resolvePath;

namespace {

constexpr const char* maker = "Merrowin Avionics";
constexpr const char* model = "Zarvok-700";
constexpr const char* equipmentId = "Type No. 47QK-100, Part No. 510-2288-100";

/** Publish groups, in the order in which the service is given their periods. */
constexpr std::array<int, 4> publishGroups{0, 3, 1, 4};
constexpr int status2Group = 1;

constexpr unsigned maximumUserDefinedDatums = 2;

}  // namespace

bool VGpsReceiverServer::InitializeVictory(const char* text) {
    try {
        captureLibraryOutput();
        return m_victoryRunning || bringUpVictory(text);
    } catch (const std::exception& exception) {
        report(m_serverName + ": An exception occurred. Details: " + exception.what());
    } catch (...) {
        report(m_serverName + ": Unknown c++ exception occurred");
    }
    // Half made counts as not made: the next start finds the endpoint free.
    vgpssDeleteService(m_vgpssService.take());
    m_victoryRunning = false;
    return false;
}

bool VGpsReceiverServer::bringUpVictory(const char* text) {
    const auto read = [](const char* path, std::array<char, 65536>& buffer) {
        return vutilReadStringFromFile(resolvePath(path).c_str(),
                                       static_cast<unsigned>(buffer.size()), buffer.data()) == 0;
    };
    bool readable = read(configFileName, m_serviceConfigXml);
    if (text == nullptr) {
        readable = read(vclFileName, m_vclXml) && readable;
        text = m_vclXml.data();
    }
    if (!readable) {
        report(m_serverName + " Error reading VICTORY GPS Receiver configuration file.");
        return false;
    }
    VgpssService* const service =
        vgpssNewService(m_serviceConfigXml.data(), text, maker, model, equipmentId);
    m_vgpssService.set(service);
    if (service == nullptr) {
        m_victoryRunning = false;
        return false;
    }
    registerVictoryCallbacks(service);
    if (m_debug) {
        printLine(m_serverName, ": done. Starting VICTORY gps server...");
    }
    if (vgpssStartService(service) != 0) {
        m_victoryRunning = false;
        vgpssDeleteService(m_vgpssService.take());
        report(m_serverName + ": VgpssService could not be started");
        return false;
    }
    initVictoryManagementData(service);
    m_victoryRunning = true;
    const std::string started = m_serverName + ": VgpssService started";
    HealthReporter::Instance().SendEvent(__FILE__, __LINE__, HealthReporter::EVENT_INFO, started);
    if (m_debug) {
        printLine(":success!", started);
    }
    return true;
}

void VGpsReceiverServer::registerVictoryCallbacks(VgpssService* service) {
    if (m_debug) {
        printLine(m_serverName, ": Registering VICTORY functions...");
    }
    vgpssInitSaveVclidCallback(service, cbSaveVclidCallback, this);
    for (const int group : publishGroups) {
        vgpssInitPubGroup(service, group, m_publishPeriod);
    }
    vgpssInitTellCallback(service, status2Group, cbTellStatus2DataCallback, this);
    vgpssInitSetCommandCallback(service, cbSetCommandCallback, this);
    if (m_testMode) {
        registerSettings(service);
    }
    vgpssInitSetReceiverHotStartDataCallback(service, cbSetReceiverHotStartDataCallback, this);
    vgpssInitSetReceiverHotStartPortCallback(service, cbSetReceiverHotStartPortCallback, this);
}

void VGpsReceiverServer::initVictoryManagementData(VgpssService* service) {
    vgpssTellDeviceDatumCode(service, datumCode, 0);
    vgpssTellDeviceMissionDuration(service, 0);
    vgpssTellDeviceReceiverPorts(service, makeReceiverPorts());
    if (m_testMode) {
        vgpssTellDeviceReceiverHotStartData(service, *makeDefaultHotStart());
    }
    vgpssTellDeviceMaximumUserDefinedDatums(service, maximumUserDefinedDatums);
}

VgpscReceiverPorts VGpsReceiverServer::makeReceiverPorts() const {
    VgpscReceiverPorts ports{};
    for (const std::string_view name : belvoPortStrings) {
        if (ports.count == VGPSC_PORTS) {
            report(utilities::concat(m_serverName, ", Maximum count of ", int{VGPSC_PORTS},
                                     " gps ports reached. Ignoring ", name));
            continue;
        }
        if (m_debug || !m_quiet) {
            printLine(m_serverName, ": ", "initVictoryManagementData",
                      " : Configuring gps receiver port# ", ports.count, ", port name ", name);
        }
        name.copy(ports.names[ports.count++], VGPSC_PORT_NAME_BYTES - 1);
    }
    return ports;
}

bool VGpsReceiverServer::ShutdownVictory() {
    if (!m_victoryRunning) {
        return false;
    }
    vgpssDeleteService(m_vgpssService.take());
    m_victoryRunning = false;
    return true;
}

int VGpsReceiverServer::cbSaveVclidCallback(void* data, VgpssService* /*service*/,
                                            const char* vclXml) {
    return guardCallback(data, 0,
                         [&](VGpsReceiverServer& server) { return server.saveVclid(vclXml); });
}

int VGpsReceiverServer::saveVclid(const char* vclXml) {
    if (refuseInSanitize("SaveVCLID command")) {
        return 1;
    }
    if (!m_quiet) {
        printLine(": Saving VCLID file: ", vclFileName);
    }
    return vutilWriteStringToFile(vclXml, resolvePath(vclFileName).c_str()) == 0 ? 0 : 1;
}

bool VGpsReceiverServer::refuseInSanitize(const char* what, utilities::SourcePlace place) {
    if (!m_sanitizeInProgress) {
        return false;
    }
    report(m_serverName + ": Sanitize in progress, not processing " + what,
           HealthReporter::EVENT_WARNING, place);
    return true;
}
