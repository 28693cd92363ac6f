#include <algorithm>
#include <cstring>
#include <utility>

#include "ASPN/AspnHelper.h"
#include "ASPN/CmdResponseStrings.h"
#include "VICTORY/VGpsReceiverServer/HotStartTables.h"
#include "VICTORY/VGpsReceiverServer/VGpsReceiverServer.h"
#include "VICTORY/VGpsReceiverServer/VictoryCallback.h"
#include "platform/FPGA.h"
#include "receiver/GssipFrame.h"
#include "utilities/Console.h"
#include "utilities/Deadline.h"

using aspn2_msgs::idl::GSSIP;
using FACE::RETURN_CODE_TYPE;
using utilities::concat;
using utilities::MutexLock;

namespace {

/** Messages of a record in a mode from here on are not for the receiver. */
constexpr std::uint32_t firstModeNotPlayed = 4;
/** The mode of a record that the receiver gave. */
constexpr std::uint32_t collectedMode = 3;

/** Runs `body`, which throws nothing, at the end of the scope however that is left. */
template <typename Body>
class AtEnd {
public:
    explicit AtEnd(Body body) : m_body(std::move(body)) {}
    ~AtEnd() { m_body(); }
    AtEnd(const AtEnd&) = delete;
    AtEnd& operator=(const AtEnd&) = delete;

private:
    const Body m_body;
};

std::chrono::steady_clock::time_point deadlineIn(std::chrono::milliseconds limit) {
    return utilities::deadlineAfter(std::chrono::steady_clock::now(), limit);
}

void warn(const std::string& text,
          utilities::SourcePlace place = utilities::SourcePlace::current()) {
    HealthReporter::Instance().SendEvent(place.file, place.line, HealthReporter::EVENT_WARNING,
                                         text);
}

/** Why the record can't be what it says; empty when it can. */
std::string faultOf(const VgpscReceiverHotStartData& record) {
    if (record.messageCount > VGPSC_HOT_START_MESSAGES) {
        return concat(record.messageCount, " messages, at most ", int{VGPSC_HOT_START_MESSAGES});
    }
    for (std::uint32_t i = 0; i < record.messageCount; ++i) {
        if (record.messages[i].length > VGPSC_HOT_START_MESSAGE_BYTES) {
            return concat("message ", i + 1, " of ", record.messages[i].length, " bytes, at most ",
                          int{VGPSC_HOT_START_MESSAGE_BYTES});
        }
    }
    return {};
}

}  // namespace

int VGpsReceiverServer::cbSetReceiverHotStartPortCallback(void* data, VgpssService* service,
                                                          VgpscReceiverHotStartPort port) {
    return guardCallback(data, 1, [&](VGpsReceiverServer& server) {
        return server.setReceiverHotStartPortCallbackMethod(service, port);
    });
}

int VGpsReceiverServer::setReceiverHotStartPortCallbackMethod(VgpssService* service,
                                                              VgpscReceiverHotStartPort port) {
    if (refuseInSanitize("set hot start port")) {
        return 1;
    }
    const std::string_view name(port.name, strnlen(port.name, sizeof(port.name)));
    const auto row = std::ranges::find(belvoPortStrings, name);
    if (row == belvoPortStrings.end() || !beginHotStart()) {
        return 1;
    }
    const AtEnd release([this] { endHotStartRequest(); });
    const auto token =
        lutBelvoPortStrings.at(static_cast<std::size_t>(row - belvoPortStrings.begin()));
    const bool accepted =
        requestHotStart(concat(Sys::CommandString::InitHotStart, ",", token, ",LNAV"));
    if (accepted) {
        vgpssTellDeviceReceiverHotStartPort(service, port);
    }
    if (!m_quiet) {
        utilities::printLine(": Received a setReceiverHotStartPort call : ", name);
    }
    return accepted ? 0 : 1;
}

bool VGpsReceiverServer::beginHotStart() {
    const MutexLock lock(m_hotStartMutex);
    if (m_hotStartBusy || m_hotStartState != HotStartState::idle) {
        return false;
    }
    m_hotStartBusy = true;
    m_hotStartState = HotStartState::requested;
    m_hotStartResponse = false;
    m_hotStartAccepted = false;
    return true;
}

void VGpsReceiverServer::endHotStartRequest() {
    const MutexLock lock(m_hotStartMutex);
    m_hotStartBusy = false;
    if (m_hotStartState == HotStartState::requested) {
        m_hotStartState = HotStartState::idle;
    }
}

bool VGpsReceiverServer::requestHotStart(const std::string& text) {
    if (!send(m_commandConnection, m_cmdResponse.makeCommand(text))) {
        warn(m_serverName + ": Could not publish CommandResponse for " + text);
        return false;
    }
    const auto deadline = deadlineIn(hotStartAnswerLimit);
    const MutexLock lock(m_hotStartMutex);
    while (!m_hotStartResponse && m_hotStartCondition.wait_until(m_hotStartMutex, deadline)) {
    }
    return m_hotStartAccepted;
}

int VGpsReceiverServer::cbSetReceiverHotStartDataCallback(void* data, VgpssService* service,
                                                          VgpscReceiverHotStartData record) {
    return guardCallback(data, 0, [&](VGpsReceiverServer& server) {
        return server.refuseInSanitize("set hot start data")
                   ? 1
                   : server.setReceiverHotStartDataCallbackMethod(service, record);
    });
}

int VGpsReceiverServer::setReceiverHotStartDataCallbackMethod(
    VgpssService* service, const VgpscReceiverHotStartData& record) {
    if (const std::string fault = faultOf(record); !fault.empty()) {
        report(m_serverName + ": Invalid hot start data: " + fault);
        return 1;
    }
    if (record.hotStartMode < firstModeNotPlayed && !warmStart(record)) {
        return 1;
    }
    vgpssTellDeviceReceiverHotStartData(service, record);
    return 0;
}

bool VGpsReceiverServer::warmStart(const VgpscReceiverHotStartData& record) {
    if (m_warmStartBusy.exchange(true)) {
        report(m_serverName + ": Hot start in progress, not processing set hot start data");
        return false;
    }
    const AtEnd release([this] { m_warmStartBusy = false; });
    if (!requestWarmStart()) {
        warn("Not Sending Warmstart.");
        return false;
    }
    return playToReceiver(record);
}

bool VGpsReceiverServer::requestWarmStart() {
    {
        const MutexLock lock(m_warmStartMutex);
        m_warmStartResponse = false;
        m_warmStartAccepted = false;
    }
    if (!sendCommandResponseMessage(std::string(Sys::CommandString::InitWarmStart))) {
        return false;
    }
    const auto deadline = deadlineIn(warmStartAnswerLimit);
    const MutexLock lock(m_warmStartMutex);
    while (!m_warmStartResponse && m_warmStartCondition.wait_until(m_warmStartMutex, deadline)) {
    }
    return m_warmStartAccepted;
}

bool VGpsReceiverServer::playToReceiver(const VgpscReceiverHotStartData& record) {
    GSSIP message;
    message.header().device_id(m_serverId);
    ASPN2::setToVandToA_fromFpgaTicks(FpgaFace::Instance().fpga_get_SystemCount(),
                                      message.header());
    writeTransfer(message, 0, startOfTransferFrame);
    // A receiver that reads slowly must not keep the process from ending.
    std::uint32_t played = 0;
    while (played < record.messageCount &&
           m_state == FACE::LCM::Halcyrine::ReportedState::RUNNING) {
        const VgpscHotStartMessage& saved = record.messages[played++];
        writeTransfer(message, saved.sequence, {saved.bytes, saved.length});
    }
    writeTransfer(message, std::uint64_t{record.messageCount} + 1, endOfTransferFrame);
    return played == record.messageCount;
}

void VGpsReceiverServer::writeTransfer(GSSIP& message, std::uint64_t sequence,
                                       std::span<const std::uint8_t> frame) {
    message.header().seq_num(static_cast<std::int64_t>(sequence));
    message.data().assign(frame.begin(), frame.end());
    message.num_bytes(static_cast<std::int32_t>(frame.size()));
    if (writeToReceiver(m_dtInConnection, message) != RETURN_CODE_TYPE::NO_ERROR) {
        warn("Filed to send on Data Transfer In Topic");
    }
}

std::unique_ptr<VgpscReceiverHotStartData> VGpsReceiverServer::makeDefaultHotStart() {
    constexpr std::array<std::uint8_t, 10> head{0xFF, 0x81, 0x07, 0x14, 0x10,
                                                0x00, 0x00, 0x80, 0xEA, 0xE9};
    auto record = std::make_unique<VgpscReceiverHotStartData>();
    record->hotStartMode = collectedMode;
    record->messageCount = 1;
    VgpscHotStartMessage& message = record->messages[0];
    message.messageId = 7;
    message.sequence = 1;
    message.length = 44;
    std::ranges::copy(head, message.bytes);
    return record;
}

void VGpsReceiverServer::cbTellReceiverHotStartDataCallback(void* data, VgpssService* service) {
    guardCallback(data, 0, [service](VGpsReceiverServer& server) {
        if (!server.m_sanitizeInProgress) {
            server.tellReceiverHotstartData(service);
        }
        return 0;
    });
}

void VGpsReceiverServer::tellReceiverHotstartData(VgpssService* service) {
    if (!beginTransferOut()) {
        return;
    }
    const AtEnd release([this] { endTransferOut(); });
    if (!sendCommandResponseMessage(std::string(Sys::CommandString::InitDataTransferOutLNav))) {
        return;
    }
    MutexLock lock(m_dtMutex);
    if (!awaitTransfer(TransferState::collecting, transferStartLimit)) {
        warn("FAILED to receive the start of DT message");
    } else if (!awaitTransfer(TransferState::complete, transferLimit)) {
        warn("FAILED To Compile and Send Hotstart Data");
    } else {
        vgpssTellDeviceReceiverHotStartData(service, *m_hotStartData);
    }
    const unsigned refused = m_dtRefusedFrames;
    lock.unlock();  // the queue's thread may want it
    if (refused != 0) {
        report(concat(m_serverName, ": Refused ", refused, " data transfer frames longer than ",
                      int{VGPSC_HOT_START_MESSAGE_BYTES}, " bytes"));
    }
}

bool VGpsReceiverServer::beginTransferOut() {
    auto record = std::make_unique<VgpscReceiverHotStartData>();
    record->hotStartMode = collectedMode;
    const MutexLock lock(m_dtMutex);
    if (m_hotStartData) {
        return false;
    }
    m_hotStartData = std::move(record);
    m_dtRefusedFrames = 0;
    m_dtState = TransferState::requested;
    return true;
}

void VGpsReceiverServer::endTransferOut() {
    const MutexLock lock(m_dtMutex);
    m_dtState = TransferState::idle;
    m_hotStartData.reset();
}

bool VGpsReceiverServer::awaitTransfer(TransferState state, std::chrono::milliseconds limit) {
    const auto deadline = deadlineIn(limit);
    while (m_dtState < state && m_dtCondition.wait_until(m_dtMutex, deadline)) {
    }
    return m_dtState >= state;
}

void VGpsReceiverServer::cbDtOut(const GSSIP& message) {
    guardTopic("cbDtOut", ": Unknown c++ exception occurred", [&] { takeTransfer(message); });
}

void VGpsReceiverServer::takeTransfer(const GSSIP& message) {
    const std::vector<std::uint8_t>& frame = message.data();
    if (m_dtState == TransferState::idle || frame.size() < shortestFrame) {
        return;
    }
    const std::uint16_t number = gssip::wordAt(frame.data(), gssip::kIdIndex);
    {
        const MutexLock lock(m_dtMutex);
        if (m_dtState == TransferState::requested && number == startOfTransfer) {
            m_dtState = TransferState::collecting;
        } else if (m_dtState == TransferState::collecting && number == endOfTransfer) {
            m_dtState = TransferState::complete;
        } else {
            keepTransferFrame(number, frame);
            return;
        }
    }
    m_dtCondition.notify_all();
}

void VGpsReceiverServer::keepTransferFrame(std::uint16_t number,
                                           std::span<const std::uint8_t> frame) {
    const auto row = std::ranges::find(GSSIPtoVictoryMap, number, &HotStartMessageId::message);
    if (m_dtState != TransferState::collecting || row == GSSIPtoVictoryMap.end() ||
        m_hotStartData->messageCount >= VGPSC_HOT_START_MESSAGES) {
        return;
    }
    if (frame.size() > VGPSC_HOT_START_MESSAGE_BYTES) {
        ++m_dtRefusedFrames;
        return;
    }
    VgpscHotStartMessage& place = m_hotStartData->messages[m_hotStartData->messageCount++];
    place.messageId = row->id;
    place.sequence = m_hotStartData->messageCount;
    place.length = static_cast<std::uint32_t>(frame.size());
    std::ranges::copy(frame, place.bytes);
}
