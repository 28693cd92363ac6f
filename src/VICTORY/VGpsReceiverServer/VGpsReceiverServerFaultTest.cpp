#include "VICTORY/VGpsReceiverServer/ProcessLife.h"
#include "VICTORY/VGpsReceiverServer/VGpsReceiverServer.h"

void VGpsReceiverServer::faultTestThreadFunction() {
    const std::string caught = m_serverName + ": faultTestThreadFunction() EXCEPTION: ";
    while (!m_faultTestStop) {
        sleepMilliseconds(faultTestPollMs);
        try {
            checkForFaultTestEvents();
        } catch (const std::exception& exception) {
            report(caught + exception.what());
        } catch (...) {
            report(caught + "<unknown>");
        }
    }
}

void VGpsReceiverServer::checkForFaultTestEvents() {
    bool tellDisabled = m_tellDisabled;
    {
        const ServiceHandle::Use service(m_vgpssService);
        m_faultHelper.RenewService(service.get(), service.generation());
        m_faultHelper.ManageFaults(tellDisabled);
    }
    m_tellDisabled = tellDisabled;
}
