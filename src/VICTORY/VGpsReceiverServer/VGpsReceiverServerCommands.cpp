#include <algorithm>
#include <array>

#include "ASPN/AspnHelper.h"
#include "ASPN/CmdResponseStrings.h"
#include "VICTORY/Utilities/VictoryXmlHelpers.h"
#include "VICTORY/VGpsReceiverServer/VGpsReceiverServer.h"
#include "VICTORY/VGpsReceiverServer/VictoryCallback.h"
#include "utilities/Console.h"
#include "utilities/DeviceRoot.h"

using ASPN2::ResponseType;
using aspn2_msgs::idl::CommandResponse;
using FACE::RETURN_CODE_TYPE;
using utilities::baseName;
using utilities::concat;
using utilities::printLine;

namespace {

/** The reports that end with a sanitize. */
constexpr std::array<const char*, 3> sanitizedReports{
    "GPS_RECEIVER_SATELLITE_HEALTH_STATUS",
    "GPS_RECEIVER_SATELLITE_HEALTH_STATUS_2",
    "GPS_RECEIVER_STATUS",
};
/** A period of 49 days: in effect, no report any more [ms]. */
constexpr unsigned long noReports = 0xFFFFFFFF;
/** The shortest period that the reports may be set to [ms]. */
constexpr unsigned long shortestPeriod = 1000;

constexpr std::int32_t zeroizeCommand = 0;

}  // namespace

struct VGpsReceiverServer::Command {
    std::string_view word;
    void (VGpsReceiverServer::*run)(const CommandResponse&);
};

constexpr std::array<VGpsReceiverServer::Command, 5> VGpsReceiverServer::s_commands{{
    {Sys::CommandString::SystemModeLive, &VGpsReceiverServer::selectLiveMode},
    {Sys::CommandString::SystemModeSim, &VGpsReceiverServer::selectSimulationMode},
    {Sys::CommandString::BitServerPing, &VGpsReceiverServer::answerPing},
    {Sys::CommandString::StartSystemZeroize, &VGpsReceiverServer::startSanitize},
    {Sys::CommandString::StartSystemDestroy, &VGpsReceiverServer::startSanitize},
}};

void VGpsReceiverServer::cbCmd(const CommandResponse& message) {
    guardTopic("cbCmd", ": Unknown c++ exception in cbCmd.", [&] {
        if (m_state != FACE::LCM::Halcyrine::ReportedState::RUNNING ||
            message.command_response_type() != aspn2_msgs::idl::COMMAND_RESPONSE_TYPE_COMMAND) {
            return;
        }
        const auto command =
            std::ranges::find(s_commands, message.command_response(), &Command::word);
        if (command != s_commands.end()) {
            (this->*command->run)(message);
        }
    });
}

void VGpsReceiverServer::selectLiveMode(const CommandResponse& command) {
    ASPN2::TimeCodeHelper::Instance().setLiveMode();
    answer(m_cmdResponse.makeResponse(command, true));
}

void VGpsReceiverServer::selectSimulationMode(const CommandResponse& command) {
    ASPN2::TimeCodeHelper::Instance().setSimMode();
    answer(m_cmdResponse.makeResponse(command, true));
}

void VGpsReceiverServer::answerPing(const CommandResponse& command) {
    answer(m_cmdResponse.makeResponse(command, m_serverName));
}

void VGpsReceiverServer::startSanitize(const CommandResponse& /*command*/) {
    m_sanitizeInProgress = true;
    m_sanitizer.request();
}

void VGpsReceiverServer::endReports() {
    guardTopic("cbCmd", ": Unknown c++ exception in cbCmd.", [&] {
        if (!updateVDMdataRate(noReports)) {
            HealthReporter::Instance().SendEvent(
                __FILE__, __LINE__, HealthReporter::EVENT_WARNING,
                m_serverName + ": Could not reduce VDM data rates during sanitize operation!");
        }
    });
}

void VGpsReceiverServer::answer(const CommandResponse& response) {
    if (!m_quiet) {
        printLine(m_serverName, ": ", "cbCmd",
                  " TOVsec = ", response.header().timestamp_valid().sec(), ", ",
                  response.command_response());
    }
    publish(m_responseConnection, response);
}

bool VGpsReceiverServer::send(long long connection, const CommandResponse& message) {
    long long transaction = 0;
    // There is no typed transport when it failed to come up, and the bus may ask even then.
    ReturnCode rc = RETURN_CODE_TYPE::NOT_AVAILABLE;
    if (m_commandResponseTS) {
        m_commandResponseTS->Send_Message(connection, -1, transaction, message, rc);
    }
    return rc == RETURN_CODE_TYPE::NO_ERROR;
}

bool VGpsReceiverServer::publish(long long connection, const CommandResponse& message) {
    if (send(connection, message)) {
        return true;
    }
    HealthReporter::Instance().SendEvent(
        __FILE__, __LINE__, HealthReporter::EVENT_WARNING,
        concat(m_serverName, ": Could not publish CommandResponse for TOV = ",
               message.header().timestamp_valid().sec(), ", ", message.command_response()));
    return false;
}

bool VGpsReceiverServer::sendCommandResponseMessage(const std::string& text) {
    return publish(m_commandConnection, m_cmdResponse.makeCommand(text));
}

struct VGpsReceiverServer::Response {
    std::string_view word;
    void (VGpsReceiverServer::*take)(ResponseType::Value);
};

constexpr std::array<VGpsReceiverServer::Response, 3> VGpsReceiverServer::s_responses{{
    {Sys::CommandString::InitWarmStart, &VGpsReceiverServer::takeWarmStartResponse},
    {Sys::CommandString::InitDataTransferOutLNav, &VGpsReceiverServer::takeDataTransferResponse},
    {Sys::CommandString::InitHotStart, &VGpsReceiverServer::takeHotStartResponse},
}};

void VGpsReceiverServer::cbRsp(const CommandResponse& message) {
    guardTopic("cbRsp", ": Unknown c++ exception occurred", [&] {
        if (m_state != FACE::LCM::Halcyrine::ReportedState::RUNNING ||
            ASPN2::serverIdOf(message.commanded_device_id()) != m_serverId ||
            message.command_response_type() != aspn2_msgs::idl::COMMAND_RESPONSE_TYPE_RESPONSE) {
            return;
        }
        takeResponse(message);
    });
}

void VGpsReceiverServer::takeResponse(const CommandResponse& message) {
    const std::string& text = message.command_response();
    if (!m_quiet) {
        printLine(baseName(__FILE__), " (", __LINE__, ") ", "cbRsp",
                  " : m_serverId = ", unsigned{m_serverId},
                  " : sourceId = ", ASPN2::serverIdOf(message.header().device_id()),
                  ", commandedId = ", ASPN2::serverIdOf(message.commanded_device_id()),
                  ", response string = ", text);
        m_clearData.dumpStateInfo();
    }
    for (const Response& response : s_responses) {
        if (text.find(response.word) != std::string::npos) {
            (this->*response.take)(ResponseType::GetResponseType(message));
            return;
        }
    }
    if (m_clearData.processClearRequestedResponse(text) ||
        m_clearData.processClearCompletedResponse(text)) {
        return;
    }
    if (m_debug) {
        printLine(baseName(__FILE__), " (", __LINE__, ") ", "cbRsp",
                  " : no processing for command, ", text);
    }
}

void VGpsReceiverServer::takeWarmStartResponse(ResponseType::Value type) {
    {
        const utilities::MutexLock lock(m_warmStartMutex);
        // The first answer decides: the end may follow before the waiter has woken.
        if (!m_warmStartResponse) {
            m_warmStartResponse = true;
            m_warmStartAccepted = type == ResponseType::Ack;
        }
    }
    m_warmStartCondition.notify_all();
}

void VGpsReceiverServer::takeDataTransferResponse(ResponseType::Value type) {
    {
        const utilities::MutexLock lock(m_dtMutex);
        if (type == ResponseType::Nack) {
            m_dtState = TransferState::idle;
        }
    }
    m_dtCondition.notify_all();
}

void VGpsReceiverServer::takeHotStartResponse(ResponseType::Value type) {
    {
        const utilities::MutexLock lock(m_hotStartMutex);
        m_hotStartResponse = true;
        switch (type) {
            case ResponseType::Ack:
                acceptHotStart();
                m_hotStartAccepted = true;
                break;
            case ResponseType::Nack:
                if (m_hotStartState == HotStartState::requested) {
                    m_hotStartState = HotStartState::idle;
                }
                break;
            case ResponseType::Pass:
            case ResponseType::Fail:
                m_hotStartState = HotStartState::idle;
                m_hotStartWatchdog.cancelWatchdog();
                break;
            case ResponseType::Unknown:
                break;
        }
    }
    m_hotStartCondition.notify_all();
}

void VGpsReceiverServer::acceptHotStart() {
    // A timer of before that is just expiring must not end what begins here.
    m_hotStartWatchdog.cancelWatchdog();
    m_hotStartState = HotStartState::accepted;
    try {
        // Without the mutex: whoever cancels the timer under it waits for this to end.
        m_hotStartWatchdog.startWatchdog(hotStartLimit,
                                         [this] { m_hotStartState = HotStartState::idle; });
    } catch (...) {
        m_hotStartState = HotStartState::idle;
        throw;
    }
}

bool VGpsReceiverServer::updateVDMdataRate(unsigned long milliseconds) {
    const std::string period = std::to_string(milliseconds);
    printLine(baseName(__FILE__), " (", __LINE__, ") ", "updateVDMdataRate",
              " : Updating VDM rate to ", period, " milliseconds.");
    if (milliseconds < shortestPeriod) {
        return false;
    }
    printLine(baseName(__FILE__), " (", __LINE__, ") ", "updateVDMdataRate", " : Restarting APNT.");
    tinyxml2::XMLDocument vcl;
    if (vcl.LoadFile(utilities::resolvePath(vclFileName).c_str()) != tinyxml2::XML_SUCCESS) {
        // A service that runs on at its old rates beats one that can't be made anew.
        return false;
    }
    for (const char* const report : sanitizedReports) {
        VICTORY::updateConfigItemInVclXml(vcl, report, "updatePeriod", period.c_str());
    }
    tinyxml2::XMLPrinter text;
    vcl.Print(&text);
    ShutdownVictory();
    InitializeVictory(text.CStr());
    return true;
}

int VGpsReceiverServer::cbSetCommandCallback(void* data, VgpssService* /*service*/,
                                             VgpsCommandData commands) {
    return guardCallback(data, 0,
                         [&](VGpsReceiverServer& server) { return server.setCommands(commands); });
}

int VGpsReceiverServer::setCommands(const VgpsCommandData& commands) {
    constexpr const char* here = "cbSetCommandCallback";
    if (m_sanitizeInProgress) {
        const std::string text =
            m_serverName + ": Sanitize in progress, not processing set command";
        HealthReporter::Instance().SendEvent(__FILE__, __LINE__, HealthReporter::EVENT_WARNING,
                                             text);
        printLine(baseName(__FILE__), " (", __LINE__, ") ", here, " : ", text);
        return 1;
    }
    const std::size_t count = std::min<std::size_t>(commands.commandCount, VGPSC_COMMANDS);
    bool done = true;
    for (std::size_t i = 0; i < count; ++i) {
        // Answers are no longer taken: each of the rest would wait in vain, and the end for it.
        if (i != 0 && m_state != FACE::LCM::Halcyrine::ReportedState::RUNNING) {
            return 1;
        }
        const VgpsCommand& command = commands.commands[i];
        if (command.commandName == zeroizeCommand && !m_quiet) {
            printLine(baseName(__FILE__), "(", __LINE__, "), ", here,
                      ": Received a ZEROIZE command.");
        }
        const std::string refusal = refusalOf(command);
        if (!refusal.empty()) {
            refuseCommand(refusal);
            done = false;
            continue;
        }
        // Waits for the answer of the server that holds the keys.
        done =
            m_clearData.processClearDataRequestType(ClearDataCommand::ClearDataCvZeroize) && done;
    }
    return done ? 0 : 1;
}

std::string VGpsReceiverServer::refusalOf(const VgpsCommand& command) const {
    if (command.commandName != zeroizeCommand) {
        return concat(m_serverName, "VDB command, commandName ", command.commandName,
                      ", is not supported from GPS Receiver service.");
    }
    switch (command.commandType) {
        case VGPSC_COMMAND_TYPE_KEYS:
            return {};
        case VGPSC_COMMAND_TYPE_MISSION_DATA_AND_KEYS:
            return m_serverName +
                   ": VGPSC_COMMAND_TYPE_MISSION_DATA_AND_KEYS command is not supported from GPS "
                   "Receiver service.";
        case VGPSC_COMMAND_TYPE_MISSION_DATA:
            return m_serverName +
                   ": VGPSC_COMMAND_TYPE_MISSION_DATA command is not supported from GPS Receiver "
                   "service.";
        default:
            return concat(m_serverName, "VDB command, commandType ", command.commandType,
                          ", is not supported from GPS Receiver service.");
    }
}

void VGpsReceiverServer::refuseCommand(const std::string& text) {
    HealthReporter::Instance().SendEvent(__FILE__, __LINE__, HealthReporter::EVENT_WARNING, text);
    if (!m_quiet) {
        printLine(baseName(__FILE__), ", ", "cbSetCommandCallback", " (", __LINE__, "): ", text);
    }
    sendVDBcustomWarning(text);
}
