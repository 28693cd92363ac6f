#include <cmath>

#include "ASPN/AspnHelper.h"
#include "VICTORY/VGpsReceiverServer/VGpsReceiverServer.h"
#include "platform/FPGA.h"
#include "receiver/GssipFrame.h"
#include "receiver/Tyrn5042Msg.h"
#include "receiver/Tyrn5044Msg.h"
#include "receiver/gps_msgs.h"
#include "utilities/Console.h"

using FACE::RETURN_CODE_TYPE;
using utilities::printLine;

struct VGpsReceiverServer::Handler {
    std::uint16_t messageId;
    void (VGpsReceiverServer::*handle)(Frame);
};

constexpr std::array<VGpsReceiverServer::Handler, 7> VGpsReceiverServer::s_handlers{{
    {5040, &VGpsReceiverServer::handle5040},
    {5042, &VGpsReceiverServer::handle5042},
    {5044, &VGpsReceiverServer::handle5044},
    {5047, &VGpsReceiverServer::handle5047},
    {5048, &VGpsReceiverServer::handle5048},
    {8040, &VGpsReceiverServer::handle8040},
    {8504, &VGpsReceiverServer::handle8504},
}};

void VGpsReceiverServer::cbGssip(const aspn2_msgs::idl::GSSIP& message) {
    try {
        dispatch(message);
    } catch (const std::exception& exception) {
        reportException("cbGssip", ": ",
                        m_serverName + ": An exception occurred. Details: " + exception.what());
    } catch (...) {
        reportException("cbGssip", " :", m_serverName + ": Unknown c++ exception in cbGssip");
    }
}

void VGpsReceiverServer::dispatch(const aspn2_msgs::idl::GSSIP& message) {
    if (m_state != FACE::LCM::Halcyrine::ReportedState::RUNNING) {
        return;
    }
    if (m_gssipSourceServerId != 0 &&
        ASPN2::serverIdOf(message.header().device_id()) != m_gssipSourceServerId) {
        return;
    }
    const Frame frame{message.data().data(), static_cast<unsigned int>(message.data().size())};
    if (!m_quiet) {
        utilities::writeOut(utilities::concat(m_serverName, ": ", "cbGssip") +
                            FormatMessageInHex(frame.data, frame.bytes));
    }
    if (!m_vgpssService.isSet() || frame.bytes < shortestFrame) {
        return;
    }
    const std::uint16_t id = gssip::wordAt(frame.data, gssip::kIdIndex);
    for (const Handler& handler : s_handlers) {
        if (handler.messageId == id) {
            (this->*handler.handle)(frame);
            return;
        }
    }
}

void VGpsReceiverServer::handle5040(Frame frame) {
    Tyrn_5040_Msg message;
    if (!message.ok_set_5040_gpsip(frame.data, frame.bytes)) {
        return;
    }
    message.unpack_5040();
    {
        const utilities::MutexLock lock(m_receiverDataMutex);
        m_msg5040 = message.unpacked();
        m_have5040 = true;
        if (m_msg5040.missionDurationWord != 0) {
            m_missionDurationValid = true;
        }
    }
    checkStatus();
}

void VGpsReceiverServer::handle8504(Frame frame) {
    Tyrn_8504_Msg message;
    if (!message.ok_set_8504_gpsip(frame.data, frame.bytes)) {
        return;
    }
    message.unpack_8504();
    {
        const utilities::MutexLock lock(m_receiverDataMutex);
        m_msg8504 = message.unpacked();
        m_have8504Status = true;
        m_have8504Health = true;
    }
    checkStatus();
    checkHealth();
}

void VGpsReceiverServer::handle8040(Frame frame) {
    Tyrn_8040_Msg message;
    if (!message.ok_set_8040_gpsip(frame.data, frame.bytes)) {
        return;
    }
    message.unpack_8040();
    const utilities::MutexLock lock(m_vdbWarningMutex);
    m_msg8040 = message.unpacked();
}

void VGpsReceiverServer::handle5047(Frame frame) {
    handleRise(5047, frame, &VGpsReceiverServer::m_msg5047, m_have5047);
}

void VGpsReceiverServer::handle5048(Frame frame) {
    handleRise(5048, frame, &VGpsReceiverServer::m_msg5048, m_have5048);
}

void VGpsReceiverServer::handleRise(std::uint16_t id, Frame frame,
                                    RiseRecord VGpsReceiverServer::*cache,
                                    std::atomic<bool>& have) {
    Tyrn_SVRise_Msg message(id);
    if (!message.ok_set_SVRiseMsg_gpsip(frame.data, frame.bytes)) {
        return;
    }
    message.unpack_SVRiseMsg();
    {
        const utilities::MutexLock lock(m_receiverDataMutex);
        this->*cache = message.unpacked();
        have = true;
    }
    checkHealth();
}

void VGpsReceiverServer::checkStatus() {
    if (!m_have8504Status || !m_have5040) {
        return;
    }
    const utilities::MutexLock lock(m_receiverDataMutex);
    const double delta = std::fabs(m_msg5040.timeOfValidity - m_msg8504.timeOfValidity);
    if (!m_quiet) {
        printLine(m_serverName, ": ", "cbGssip", ": Victory GpsReceiverStatus Messages received: ");
        printLine(m_serverName, ": ", "cbGssip", ": 5040 - 8504            deltaTov: ", delta);
    }
    if (delta < sameMomentSeconds) {
        encodeVictoryGpsReceiverStatus(m_msg5040, m_msg8504);
        m_have5040 = false;
        m_have8504Status = false;
    }
}

void VGpsReceiverServer::checkHealth() {
    if (!m_have5047 || !m_have5048 || !m_have8504Health) {
        return;
    }
    const utilities::MutexLock lock(m_receiverDataMutex);
    const double delta5047 = std::fabs(m_msg5047.timeOfValidity - m_msg8504.timeOfValidity);
    const double delta5048 = std::fabs(m_msg5048.timeOfValidity - m_msg8504.timeOfValidity);
    if (!m_quiet) {
        printLine(m_serverName, ": ", "cbGssip",
                  ": Victory Gps SV Health Status Messages received: ");
        printLine(m_serverName, ": ", "cbGssip", ": 5047 - 8504            deltaTov: ", delta5047);
        printLine(m_serverName, ": ", "cbGssip", ": 5048 - 8504            deltaTov: ", delta5048);
    }
    if (delta5047 < sameMomentSeconds && delta5048 < sameMomentSeconds) {
        encodeVictoryGpsSVHealthStatus(m_msg5047, m_msg5048, m_msg8504);
        m_have8504Health = false;
        m_have5048 = false;
        m_have5047 = false;
    }
}

void VGpsReceiverServer::handleBlock5042(const unsigned char* frame, unsigned int bytes) {
    Tyrn_5042_Msg message;
    if (!message.ok_set_5042_gpsip(frame, bytes)) {
        return;
    }
    message.unpack_5042();
    const std::uint16_t remaining = message.unpacked().missionDurationRemaining;
    // One report after a set from the bus is passed over: it still holds the old value.
    if (m_skipMissionDuration.exchange(false)) {
        if (!m_quiet) {
            printLine(m_serverName, ": Skipping receiver mission duration remaining of ",
                      remaining);
        }
        return;
    }
    if (!m_missionDurationValid) {
        return;
    }
    if (!m_quiet) {
        printLine(m_serverName, ": Mission Duration Remaining ", remaining);
    }
    m_missionDuration = remaining;
    if (const ServiceHandle::Use service(m_vgpssService); service) {
        vgpssTellDeviceMissionDuration(service.get(), remaining);
    }
}

void VGpsReceiverServer::handleBlock5044(const unsigned char* frame, unsigned int bytes) {
    Tyrn_5044_Msg message;
    if (!message.ok_set_5044_gpsip(frame, bytes)) {
        return;
    }
    message.unpack_5044();
    const auto& unpacked = message.unpacked();
    const VgpscWarningMessage messageId = encodeVictoryWarningId(unpacked.warningNumber);
    if (messageId == customWarning) {
        appendVDBWarning(makeWarning(messageId, unpacked.text.data()));
        return;
    }
    VgpscReceiverWarningMessage warning{};
    warning.messageId = messageId;
    appendVDBWarning(warning);
}

int VGpsReceiverServer::publishGSSIPmessage(GssipMessage* message, int bytes) {
    if (message == nullptr) {
        return 0;
    }
    if (!m_quiet) {
        printLine(m_serverName, ", ", "publishGSSIPmessage", ": publishing message ID ",
                  message->msgId(), " of ", bytes, " bytes, seq# ", m_gssipSeqNum.load(),
                  " to GSSIP topic.");
    }
    message->WriteMessage(this);
    return 1;
}

int VGpsReceiverServer::WriteBytes(const void* bytes, unsigned int length) {
    aspn2_msgs::idl::GSSIP message;
    message.header().device_id(static_cast<std::int32_t>(m_deviceId));
    ASPN2::setToVandToA_fromFpgaTicks(FpgaFace::Instance().fpga_get_SystemCount(),
                                      message.header());
    const std::int64_t sequence = m_gssipSeqNum.fetch_add(1);
    message.header().seq_num(sequence);
    const auto* first = static_cast<const unsigned char*>(bytes);
    message.data().assign(first, first + length);
    message.num_bytes(static_cast<std::int32_t>(length));

    if (writeToReceiver(m_gssipWriteConnection, message) != RETURN_CODE_TYPE::NO_ERROR) {
        const std::uint32_t errors = ++m_gssipPublishErrors;
        HealthReporter::Instance().SendEvent(
            __FILE__, __LINE__, HealthReporter::EVENT_WARNING,
            utilities::concat(m_serverName, ": ", "WriteBytes", "() GSSIP PUBLISH ERROR (", errors,
                              ")", ", TOV = ", message.header().timestamp_valid().sec(),
                              ", SeqNum = ", sequence));
    }
    return 0;
}

VGpsReceiverServer::ReturnCode VGpsReceiverServer::writeToReceiver(
    long long connection, const aspn2_msgs::idl::GSSIP& message) {
    ReturnCode rc = RETURN_CODE_TYPE::NO_ACTION;
    // There is no adapter when the devices were never connected, and the bus may ask even then.
    if (m_gssipMcsq) {
        m_gssipMcsq->Write(connection, message, rc);
    }
    return rc;
}
