#include <algorithm>
#include <array>
#include <span>

#include "PCSMaintReporter/PCSMaintReporter.h"
#include "VICTORY/VGpsReceiverServer/VGpsReceiverServer.h"
#include "face/HC_Config.h"
#include "platform/FPGA.h"
#include "utilities/Console.h"

using FACE::RETURN_CODE_TYPE;

namespace {

/** What the second version text ends with. */
constexpr const char* notice = "  Part of the Halcyrine positioning, navigation and timing system.";

bool allWell(std::span<const RETURN_CODE_TYPE::Value> codes) {
    return std::ranges::all_of(
        codes, [](RETURN_CODE_TYPE::Value code) { return code == RETURN_CODE_TYPE::NO_ERROR; });
}

}  // namespace

void VGpsReceiverServer::Framework_Connect(const FACE::String& /*file*/, ReturnCode& rc) {
    const bool transport = connectTransport();
    const bool devices = connectDevices();
    if (transport && devices) {
        m_deviceIdFactory.reset(m_systemName.buffer(), m_serverId);
        m_cmdResponse.reset(m_deviceIdFactory);
        FpgaFace::Instance().InitFpga(m_devmem);
        startReporters();
        publishVersions();
    }
    // The service comes up in any case: the bus sees a unit that is there but silent.
    const bool service = InitializeVictory(nullptr);
    m_faultHelper.SetAvailableService(ServiceHandle::Use(m_vgpssService).get());
    rc = transport && devices && service ? RETURN_CODE_TYPE::NO_ERROR
                                         : RETURN_CODE_TYPE::INVALID_CONFIG;
}

bool VGpsReceiverServer::connectTransport() {
    const auto config = std::make_shared<FACE::HC_Config>();
    m_tss = std::make_shared<FACE::TSS::HC_TSS>(m_serverName);
    ReturnCode rc = RETURN_CODE_TYPE::NO_ERROR;
    m_tss->Set_Reference(FACE::String(), config, 0, rc);
    if (rc != RETURN_CODE_TYPE::NO_ERROR) {
        return false;
    }
    m_tss->Initialize(m_connectionsFile, rc);
    return rc == RETURN_CODE_TYPE::NO_ERROR && createConnections() && registerTopicCallbacks();
}

bool VGpsReceiverServer::createConnections() {
    int ignoredSize = 0;
    std::array<ReturnCode, 4> codes{};
    m_tss->Create_Connection("Command", -1, m_commandConnection, ignoredSize, codes[0]);
    m_tss->Create_Connection("Response", -1, m_responseConnection, ignoredSize, codes[1]);
    m_tss->Create_Connection("EventLog", -1, m_eventLogConnection, ignoredSize, codes[2]);
    m_tss->Create_Connection("MaintenanceEvent", -1, m_maintenanceConnection, ignoredSize,
                             codes[3]);
    if (!allWell(codes)) {
        return false;
    }
    m_commandResponseTS = std::make_shared<CommandTS>();
    m_eventLogTS = std::make_shared<EventLogTS>();
    m_maintenanceTS = std::make_shared<MaintenanceTS>();
    m_commandResponseTS->Set_Reference(FACE::String(), m_tss, 0, codes[0]);
    m_eventLogTS->Set_Reference(FACE::String(), m_tss, 0, codes[1]);
    m_maintenanceTS->Set_Reference(FACE::String(), m_tss, 0, codes[2]);
    return allWell(codes);
}

bool VGpsReceiverServer::registerTopicCallbacks() {
    using aspn2_msgs::idl::CommandResponse;
    const auto bound = [this](void (VGpsReceiverServer::*take)(const CommandResponse&)) {
        return [this, take](long long, long long, const CommandResponse& message,
                            const FACE::TSS::HEADER_TYPE&,
                            const FACE::Sequence<FACE::TSS::QoS_Element>&,
                            ReturnCode&) { (this->*take)(message); };
    };
    std::array<ReturnCode, 4> codes{};
    m_commandResponseTS->Register_Callback(m_commandConnection, bound(&VGpsReceiverServer::cbCmd),
                                           codes[0]);
    m_commandResponseTS->Register_Sender(m_commandConnection, codes[1]);
    m_commandResponseTS->Register_Callback(m_responseConnection, bound(&VGpsReceiverServer::cbRsp),
                                           codes[2]);
    m_commandResponseTS->Register_Sender(m_responseConnection, codes[3]);
    return allWell(codes);
}

void VGpsReceiverServer::startReporters() {
    HealthReporter::Instance().InitHealthReporter(m_serverName, m_deviceIdFactory, m_eventLogTS,
                                                  m_eventLogConnection);
    PCSMaintReporter::Instance().InitMaintReporter(m_serverName, m_deviceIdFactory, m_maintenanceTS,
                                                   m_maintenanceConnection);
}

void VGpsReceiverServer::publishVersions() {
    auto& health = HealthReporter::Instance();
    health.SendConfigEvent("//aspn://Zarvok/" + m_serverName + ":" + BUILD_STAMP + "/");
    const std::string parts = m_serverName + " QPN: " + "510-4417-200B" + "  " + notice;
    utilities::printLine(parts);
    health.SendConfigEvent(parts);
}

void VGpsReceiverServer::Framework_Disconnect(ReturnCode& rc) {
    m_sanitizer.stop();
    HealthReporter::Instance().DoneHealthReporter();
    PCSMaintReporter::Instance().DoneMaintReporter();
    FpgaFace::Instance().DoneFpga();
    disconnectTransport();
    vgpssDeleteService(m_vgpssService.take());
    m_victoryRunning = false;
    rc = RETURN_CODE_TYPE::NO_ERROR;
}

void VGpsReceiverServer::disconnectTransport() {
    if (!m_tss) {
        return;
    }
    ReturnCode ignored = RETURN_CODE_TYPE::NO_ERROR;
    const std::array used{m_commandConnection, m_responseConnection, m_eventLogConnection};
    for (const long long connection : used) {
        m_tss->Unregister_Callback(connection, ignored);
    }
    for (const long long connection : used) {
        m_tss->Unregister_Sender(connection, ignored);
    }
    m_tss->Unregister_Sender(m_maintenanceConnection, ignored);
    for (const long long connection : used) {
        m_tss->Destroy_Connection(connection, ignored);
    }
}

bool VGpsReceiverServer::connectDevices() {
    const auto config = std::make_shared<FACE::HC_Config>();
    m_devmem = std::make_shared<FACE::IOSS::HC_Devmem>();
    m_gssipMcsq = std::make_shared<GssipMcsq>(m_serverName);

    std::array<ReturnCode, 5> codes;
    codes.fill(RETURN_CODE_TYPE::NOT_AVAILABLE);
    m_devmem->Set_Reference(FACE::String(), config, 0, codes[0]);
    if (codes[0] != RETURN_CODE_TYPE::NO_ERROR) {
        return false;
    }
    m_devmem->Initialize(m_ioDevicesFile, codes[0]);
    m_gssipMcsq->Connect_ReadOnly(
        m_ioDevicesFile, "TYR_HC",
        [this](const aspn2_msgs::idl::GSSIP& message) { cbGssip(message); }, codes[1]);
    m_gssipMcsq->Connect_ReadOnly(
        m_ioDevicesFile, "DT_OUT",
        [this](const aspn2_msgs::idl::GSSIP& message) { cbDtOut(message); }, codes[2]);
    m_gssipMcsq->Connect_WriteOnly(m_ioDevicesFile, "HC_TYR", m_gssipWriteConnection, codes[3]);
    m_gssipMcsq->Connect_WriteOnly(m_ioDevicesFile, "DT_IN", m_dtInConnection, codes[4]);
    return allWell(codes);
}
