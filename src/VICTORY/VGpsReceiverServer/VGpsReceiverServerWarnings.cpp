#include <algorithm>
#include <cstring>

#include "VICTORY/VGpsReceiverServer/VGpsReceiverServer.h"
#include "utilities/Console.h"

using utilities::baseName;
using utilities::printLine;

namespace {

/** Receiver warning numbers that map to VICTORY codes in step; all others are custom warnings. */
struct WarningRange {
    std::uint16_t firstNumber;
    std::uint16_t lastNumber;
    VgpscWarningMessage firstCode;
};

constexpr WarningRange warningRanges[] = {
    {1, 5, 0},    {7, 23, 5},   {27, 28, 22}, {34, 47, 24},
    {50, 63, 40}, {67, 71, 54}, {79, 79, 59}, {81, 81, 61},
};

}  // namespace

consteval std::array<VgpscWarningMessage, VGpsReceiverServer::warningNumbers>
VGpsReceiverServer::initWarningIdEncoder() {
    std::array<VgpscWarningMessage, warningNumbers> codes{};
    codes.fill(customWarning);
    for (const WarningRange& range : warningRanges) {
        for (std::uint16_t number = range.firstNumber; number <= range.lastNumber; ++number) {
            codes[number] = range.firstCode + number - range.firstNumber;
        }
    }
    return codes;
}

constexpr std::array<VgpscWarningMessage, VGpsReceiverServer::warningNumbers>
    VGpsReceiverServer::m_warningIds = VGpsReceiverServer::initWarningIdEncoder();

VgpscWarningMessage VGpsReceiverServer::encodeVictoryWarningId(std::uint16_t number) {
    return number < m_warningIds.size() ? m_warningIds[number] : customWarning;
}

template <typename Body>
bool VGpsReceiverServer::guardWarning(Body body) {
    try {
        return body();
    } catch (const std::exception& exception) {
        report(m_serverName + ": An exception occurred. Details: " + exception.what());
    } catch (...) {
        report(m_serverName + ": Unknown c++ exception occurred");
    }
    return false;
}

bool VGpsReceiverServer::appendVDBWarning(const VgpscReceiverWarningMessage& warning) {
    return guardWarning([&] {
        if (m_debug && warning.hasCustomText != 0) {
            printLine(baseName(__FILE__), " (", __LINE__, ") ", "appendVDBWarning", " : ",
                      m_serverName, ": Sending VDB GPS warning message ID ", warning.messageId,
                      ", custom message: ", warning.customText);
        }
        const utilities::MutexLock lock(m_vdbWarningMutex);
        m_vdbWarnings.push(warning);
        return true;
    });
}

bool VGpsReceiverServer::sendVDBcustomWarning(const std::string& text) {
    return guardWarning([&] {
        if (m_debug) {
            printLine(baseName(__FILE__), " (", __LINE__, ") ", "sendVDBcustomWarning", " : ",
                      text);
        }
        return appendVDBWarning(makeWarning(customWarning, text));
    });
}

VgpscReceiverWarningMessage VGpsReceiverServer::makeWarning(VgpscWarningMessage messageId,
                                                            std::string_view text) {
    VgpscReceiverWarningMessage warning{};
    warning.messageId = messageId;
    warning.hasCustomText = 1;
    const std::size_t length = std::min(text.size(), sizeof warning.customText - 1);
    std::memcpy(warning.customText, text.data(), length);
    return warning;
}

bool VGpsReceiverServer::sendVDBCompleteWarning(ClearDataCommand::ClearDataType type, bool pass,
                                                const std::string& text) {
    return guardWarning([&] { return queueCompleteWarning(type, pass, text); });
}

bool VGpsReceiverServer::queueCompleteWarning(ClearDataCommand::ClearDataType type, bool pass,
                                              const std::string& text) {
    if (m_debug) {
        printLine(m_serverName, ": eClearType: ", ClearDataCommand::clearRequestCommand(type),
                  ", pass = ", pass, ", text = ", text);
    }
    switch (type) {
        case ClearDataCommand::ClearDataCvZeroize:
            return appendVDBWarning(makeWarning(pass ? zeroizePassed : zeroizeFailed, text));
        case ClearDataCommand::ClearDataZeroize:
        case ClearDataCommand::ClearDataDestroy:
            return false;
        default:
            break;
    }
    const std::string unknown =
        utilities::concat(m_serverName, ": Unknown eClearType: ", static_cast<int>(type));
    HealthReporter::Instance().SendEvent(__FILE__, __LINE__, HealthReporter::EVENT_WARNING,
                                         unknown);
    if (m_debug) {
        printLine(unknown);
    }
    return false;
}
