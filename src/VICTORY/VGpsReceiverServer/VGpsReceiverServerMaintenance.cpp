#include <string_view>

#include "PCSMaintReporter/PCSMaintReporter.h"
#include "VICTORY/VGpsReceiverServer/VGpsReceiverServer.h"
#include "utilities/Console.h"

namespace {

/** What the library says of a message that its sender got wrong. */
constexpr std::string_view senderFault = "SOAP 1.2 fault SOAP-ENV:Sender";

}  // namespace

void VGpsReceiverServer::captureLibraryOutput() {
    // An exception would make the redirector drop the text: 0 lets it go to the console.
    m_outputRedirector.redirect([this](const char* text, unsigned length) {
        try {
            return static_cast<int>(logMaintenanceEvent(text, length));
        } catch (...) {
            return 0;
        }
    });
}

unsigned int VGpsReceiverServer::logMaintenanceEvent(char const* text, unsigned int length) {
    if (text == nullptr) {
        return 0;
    }
    const std::string_view printed(text, length);
    if (m_debug) {
        utilities::printLine(utilities::baseName(__FILE__), " (", __LINE__, ") ",
                             "logMaintenanceEvent", ": ", m_serverName, " SOAP Error: ", printed);
    }
    if (printed.find(senderFault) == std::string_view::npos) {
        return 0;
    }
    using Maint = PCSMaintReporter;
    constexpr Maint::eLru noLru{0};
    constexpr Maint::eCmpo noComponent{0};
    Maint::Instance().sendLongDescriptionMultiMaintenanceEvent(
        std::string(printed), ASPN2::ServerIds::to_string(m_serverId), Maint::eCrit{3},
        Maint::eOutcome{3}, m_serverId, Maint::eCat{11}, Maint::eLru{1}, Maint::eCmpo{1}, noLru,
        noComponent, noLru, noComponent, noLru, noComponent, 0, "SOAP");
    return length;
}
