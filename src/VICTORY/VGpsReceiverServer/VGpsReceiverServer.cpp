#include "VICTORY/VGpsReceiverServer/VGpsReceiverServer.h"

#include "PCSMaintReporter/PCSMaintReporter.h"
#include "platform/FPGA.h"
#include "utilities/Console.h"

using FACE::RETURN_CODE_TYPE;
using ReportedStates = FACE::LCM::Halcyrine::ReportedState;
using RequestedStates = FACE::LCM::Halcyrine::RequestedState;
using utilities::printLine;

VGpsReceiverServer::VGpsReceiverServer()
    : m_serverName(ASPN2::ServerIds::to_string(m_serverId)),
      m_deviceId(m_deviceIdFactory.makeDeviceId(ASPN2::MessageKinds::GSSIP, 0)),
      m_faultHelper(m_serverName),
      m_clearData(m_serverName) {}

VGpsReceiverServer::~VGpsReceiverServer() {
    // Callbacks of topics, queue and service reach into this object, and the publisher uses its
    // transport: all of them end before any member goes.
    Stop();
    m_sanitizer.stop();
    HealthReporter::Instance().DoneHealthReporter();
    PCSMaintReporter::Instance().DoneMaintReporter();
    FpgaFace::Instance().DoneFpga();
    disconnectTransport();
    vgpssDeleteService(m_vgpssService.take());
    m_gssipMcsq.reset();
}

void VGpsReceiverServer::Initialize(ReturnCode& rc) {
    rc = RETURN_CODE_TYPE::NO_ACTION;
}

void VGpsReceiverServer::Finalize(ReturnCode& rc) {
    rc = RETURN_CODE_TYPE::NO_ACTION;
}

void VGpsReceiverServer::Query_State(ReportedState& state, ReturnCode& rc) {
    state = m_state;
    rc = RETURN_CODE_TYPE::NO_ERROR;
}

void VGpsReceiverServer::Request_State_Transition(RequestedState requested, ReturnCode& rc) {
    auto& health = HealthReporter::Instance();
    const ReportedState state = m_state;
    if (requested == RequestedStates::START && state == ReportedStates::STOPPED) {
        Start();
        health.SendEvent(__FILE__, __LINE__, HealthReporter::EVENT_INFO,
                         m_serverName + " started successfully.");
        m_state = ReportedStates::RUNNING;
        rc = RETURN_CODE_TYPE::NO_ERROR;
        return;
    }
    if (requested == RequestedStates::STOP && state == ReportedStates::RUNNING) {
        Stop();
        health.SendEvent(__FILE__, __LINE__, HealthReporter::EVENT_INFO,
                         m_serverName + " stopped successfully.");
        m_state = ReportedStates::STOPPED;
        rc = RETURN_CODE_TYPE::NO_ERROR;
        return;
    }
    rc = RETURN_CODE_TYPE::NOT_AVAILABLE;
}

void VGpsReceiverServer::Start() {
    Stop();
    if (m_testMode) {
        m_faultTestStop = false;
        m_faultTestThread = std::thread([this] { faultTestThreadFunction(); });
    }
    if (m_debug) {
        printLine(m_serverName, ": ", "Start",
                  m_testMode ? " : Fault test thread started."
                             : " : Fault test mode not enabled, not starting fault test thread ");
    }
}

void VGpsReceiverServer::Stop() {
    if (!m_testMode || !m_faultTestThread.joinable()) {
        return;
    }
    m_faultTestStop = true;
    m_faultTestThread.join();
    if (m_debug) {
        printLine(m_serverName, ": ", "Stop", " : Fault test thread stopped.");
    }
}

void VGpsReceiverServer::report(const std::string& text, HealthReporter::eEventType type,
                                utilities::SourcePlace place) {
    HealthReporter::Instance().SendEvent(place.file, place.line, type, text);
    printLine(text);
}

void VGpsReceiverServer::reportException(const char* operation, const char* separator,
                                         const std::string& text, utilities::SourcePlace place) {
    HealthReporter::Instance().SendEvent(place.file, place.line, HealthReporter::EVENT_WARNING,
                                         text);
    printLine(utilities::baseName(place.file), " (", place.line, ") ", operation, separator, text);
}
