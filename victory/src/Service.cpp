#include "victory/src/Service.h"

#include <stdexcept>
#include <utility>

#include "victory/src/Complaint.h"
#include "victory/src/Requests.h"

using victory::Json;
using victory::LineSplitter;

VgpssService* VgpssService::make(const char* serviceXml, const char* vclXml, Json identity) {
    const victory::ServiceConfiguration configuration =
        victory::readServiceConfiguration(serviceXml);
    identity["service"] = configuration.name;
    auto service = std::make_shared<VgpssService>(configuration.endpoint, victory::readVcl(vclXml),
                                                  std::move(identity));
    service->m_self = service;
    return service.get();
}

VgpssService::VgpssService(const std::string& endpoint, const victory::Periods& periods,
                           Json identity)
    : told(periods),
      m_identity(std::move(identity)),
      m_bus(victory::resolveEndpoint(endpoint), told,
            [this](std::uint64_t client, LineSplitter::Line line) {
                handOn(client, std::move(line));
            }) {}

void VgpssService::start() {
    const utilities::MutexLock lock(m_lifeMutex);
    if (m_started.exchange(true)) {
        throw std::runtime_error("the service has started before");
    }
    m_workers.setOwner(weak_from_this());
    Json greeting = m_identity;
    greeting["requests"] = victory::offeredRequests(callbacks);
    try {
        m_bus.start(victory::toLine({{"hello", greeting}}), shared_from_this());
        groups.start(shared_from_this());
    } catch (...) {
        stop();
        throw;
    }
}

void VgpssService::end() {
    { const utilities::MutexLock lock(m_lifeMutex); }
    stop();
    const std::shared_ptr<VgpssService> last = std::move(m_self);
}

void VgpssService::stop() {
    groups.refuse();
    m_workers.refuse();
    groups.finish();
    m_workers.finish();
    // Last, so that requests that were under way are answered still.
    m_bus.stop();
}

bool VgpssService::maySet(const char* operation) const {
    if (m_started) {
        victory::complain(std::string(operation) + ": ignored, the service has started");
        return false;
    }
    return true;
}

/** A request becomes a task that calls the owner and answers the client. */
void VgpssService::handOn(std::uint64_t client, LineSplitter::Line line) {
    m_workers.submit([this, client, line = std::move(line)] {
        m_bus.reply(client, victory::answer(callbacks, this, line));
    });
}
