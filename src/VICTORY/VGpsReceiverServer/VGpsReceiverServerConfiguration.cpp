#include <array>
#include <string>
#include <variant>

#include "VICTORY/VGpsReceiverServer/VGpsReceiverServer.h"
#include "face/HC_Config.h"
#include "face/HC_Config_Helpers.h"
#include "utilities/Console.h"
#include "utilities/scheduling.h"

using FACE::RETURN_CODE_TYPE;
using utilities::baseName;
using utilities::printLine;
namespace Helpers = FACE::HC_Config_Helpers;

namespace {

/** One parameter of the server's container and where it goes. */
struct Setting {
    const char* parameter;
    const char* meaning;
    std::variant<FACE::String*, bool*, unsigned short*> target;
};

void readInto(FACE::Configuration& config, int handle, const Setting& setting,
              RETURN_CODE_TYPE::Value& rc) {
    if (const auto* text = std::get_if<FACE::String*>(&setting.target)) {
        Helpers::Get_String_Parameter(config, handle, setting.parameter, **text, rc);
    } else if (const auto* flag = std::get_if<bool*>(&setting.target)) {
        Helpers::Get_Boolean_Parameter(config, handle, setting.parameter, **flag, rc);
    } else {
        auto& target = *std::get<unsigned short*>(setting.target);
        unsigned long long number = target;
        Helpers::Details::Get_Unsigned_Parameter(config, handle, setting.parameter, number, rc);
        target = static_cast<unsigned short>(number);
    }
}

}  // namespace

void VGpsReceiverServer::Configure(const FACE::String& file, ReturnCode& rc) {
    FACE::HC_Config config;
    unsigned short priority = 0;
    unsigned short cpu = 0;
    bool ok = readConfiguration(config, file, priority, cpu);
    if (m_debug) {
        printLine(m_serverName, ": configuration parameters: ", " m_debug = ", m_debug,
                  ", priority = ", priority, ", cpu = ", cpu, ", m_quiet = ", m_quiet,
                  ", m_testMode = ", m_testMode,
                  ", m_gssipSourceServerId = ", static_cast<unsigned>(m_gssipSourceServerId),
                  ", m_clearDataInProgressTimeoutSeconds = ", m_clearDataInProgressTimeoutSeconds,
                  ", m_clearDataRequestTimeoutSeconds = ", m_clearDataRequestTimeoutSeconds);
    }
    ok = ok && applyScheduling(priority, cpu);
    rc = ok ? RETURN_CODE_TYPE::NO_ERROR : RETURN_CODE_TYPE::INVALID_CONFIG;
}

bool VGpsReceiverServer::readConfiguration(FACE::Configuration& config, const FACE::String& file,
                                           unsigned short& priority, unsigned short& cpu) {
    ReturnCode rc = RETURN_CODE_TYPE::NO_ERROR;
    ReturnCode ignored = RETURN_CODE_TYPE::NO_ERROR;
    int handle = 0;
    config.Initialize(file, rc);
    if (rc == RETURN_CODE_TYPE::NO_ERROR) {
        config.Open(SYST_NAME, handle, rc);
    }
    if (rc == RETURN_CODE_TYPE::NO_ERROR) {
        GetSystemParameters(config, handle, m_systemName, m_configurationName, rc);
        config.Close(handle, ignored);
    }
    if (rc == RETURN_CODE_TYPE::NO_ERROR) {
        config.Open(m_serverName.c_str(), handle, rc);
    }
    if (rc != RETURN_CODE_TYPE::NO_ERROR) {
        return false;
    }
    unsigned short gssipSource = 0;
    unsigned short inProgressTimeout = 0;
    unsigned short requestTimeout = 0;
    GetConfigParameters(config, handle, m_connectionsFile, m_ioDevicesFile, m_debug, priority, cpu,
                        m_quiet, m_testMode, gssipSource, inProgressTimeout, requestTimeout, rc);
    if (rc != RETURN_CODE_TYPE::NO_ERROR) {
        const std::string text = m_serverName + ": GetConfigParameters error";
        HealthReporter::Instance().SendEvent(__FILE__, __LINE__, HealthReporter::EVENT_WARNING,
                                             text);
        printLine(baseName(__FILE__), ", ", "Configure", " (", __LINE__, "): ", text);
        return false;
    }
    m_gssipSourceServerId = static_cast<std::uint8_t>(gssipSource);
    m_clearDataInProgressTimeoutSeconds = inProgressTimeout;
    m_clearDataRequestTimeoutSeconds = requestTimeout;
    configureClearData();
    config.Close(handle, ignored);
    return true;
}

void VGpsReceiverServer::configureClearData() {
    m_clearData.setClearDataInProgressTimeout(m_clearDataInProgressTimeoutSeconds);
    m_clearData.setClearDataRequestTimeout(m_clearDataRequestTimeoutSeconds);
    m_clearData.m_quiet = !m_debug;
    m_clearData.setCommandResponseMessageCallback(
        [this](const std::string& text) { return sendCommandResponseMessage(text); });
    m_clearData.setSendVDBCompleteWarningCallback(
        [this](ClearDataCommand::ClearDataType type, bool pass, const std::string& text) {
            return sendVDBCompleteWarning(type, pass, text);
        });
}

void VGpsReceiverServer::GetSystemParameters(FACE::Configuration& config, int handle,
                                             FACE::String& system, FACE::String& configuration,
                                             ReturnCode& rc) {
    rc = RETURN_CODE_TYPE::NO_ERROR;
    Helpers::Get_String_Parameter(config, handle, "System", system, rc);
    Helpers::Get_String_Parameter(config, handle, "Configuration", configuration, rc);
}

void VGpsReceiverServer::GetConfigParameters(FACE::Configuration& config, int handle,
                                             FACE::String& connections, FACE::String& devices,
                                             bool& debug, unsigned short& priority,
                                             unsigned short& cpu, bool& quiet, bool& testMode,
                                             unsigned short& gssipSource,
                                             unsigned short& inProgressTimeout,
                                             unsigned short& requestTimeout, ReturnCode& rc) {
    rc = RETURN_CODE_TYPE::NO_ERROR;
    const std::array<Setting, 10> settings{{
        {"Connections", "Connections file", &connections},
        {"IODevices", "Devices file", &devices},
        {"Debug", "debug flag", &debug},
        {"PRI", "process priority", &priority},
        {"CPU", "CPU value", &cpu},
        {"PARAM_1", "quiet flag", &quiet},
        {"PARAM_2", "testMode flag", &testMode},
        {"PARAM_3", "gssip source server ID", &gssipSource},
        {"PARAM_4", "clear data (zeroize saas keys) overall completion timeout seconds",
         &inProgressTimeout},
        {"PARAM_5", "clear data (zeroize saas keys) request timeout seconds", &requestTimeout},
    }};
    for (const Setting& setting : settings) {
        readInto(config, handle, setting, rc);
        // The first failure stays in rc, so everything behind it is named too.
        if (rc != RETURN_CODE_TYPE::NO_ERROR) {
            printLine(baseName(__FILE__), " (", __LINE__,
                      ") GetConfigParameters : error or could not find setting, ",
                      setting.parameter, " (", setting.meaning, ") in configuration file!");
        }
    }
}

bool VGpsReceiverServer::applyScheduling(unsigned short priority, unsigned short cpu) const {
    const auto outcome = [](bool ok) { return ok ? "Successfully set " : "FAILED to set "; };
    bool ok = true;
    if (priority != 0) {
        const bool set = okSetRealtimeProcessPriority(static_cast<unsigned char>(priority));
        printLine(outcome(set), m_serverName, ": realtime process priority to ", priority);
        ok = set;
    }
    if (cpu != 0) {
        const bool set = okSetCpuAffinity(static_cast<unsigned char>(cpu));
        printLine(outcome(set), m_serverName, ": cpu affinity to ", cpu);
        ok = ok && set;
    }
    return ok;
}
