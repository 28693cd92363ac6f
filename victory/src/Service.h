/** A VICTORY GPS receiver service: what a handle stands for. */
#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "utilities/Mutex.h"
#include "victory/src/Bus.h"
#include "victory/src/Callbacks.h"
#include "victory/src/Configuration.h"
#include "victory/src/Json.h"
#include "victory/src/PublishGroups.h"
#include "victory/src/Publisher.h"
#include "victory/src/Workers.h"
#include "victory/victory.h"

/** One service with all its threads:
 *
 *  | Thread          | Number                    | Runs                                     |
 *  |-----------------|---------------------------|------------------------------------------|
 *  | victory-bus     | one                       | socket, clients, publication             |
 *  | victory-group   | one a group with callback | tell callbacks                           |
 *  | victory-request | one a request under way   | set, save and command callbacks          |
 *
 *  Every thread shares the ownership of the service, so a callback that ends the service that calls
 *  it returns into living memory. No lock is held through a callback, and no thread holds two.
 */
struct VgpssService : public std::enable_shared_from_this<VgpssService> {
public:
    /** A service that owns itself until `end`; listens at once, accepts from `start` on. Throws
     *  std::runtime_error with the reason. */
    static VgpssService* make(const char* serviceXml, const char* vclXml, victory::Json identity);

    VgpssService(const std::string& endpoint, const victory::Periods& periods,
                 victory::Json identity);

    /** Throws std::runtime_error when started before, std::system_error for want of threads; then
     *  nothing runs. */
    void start() EXCLUDES(m_lifeMutex);
    /** Ends the service: no callback begins any more, those under way have returned save the one
     *  that calls this, clients are disconnected and the endpoint is free. The handle is invalid
     *  afterwards. */
    void end() EXCLUDES(m_lifeMutex);

    /** False, with a word on standard error, once the service has started: settings are fixed then
     *  and read without a lock. */
    bool maySet(const char* operation) const;

    victory::Callbacks callbacks;
    victory::PublishGroups groups;
    victory::Tellings told;

private:
    void stop();
    void handOn(std::uint64_t client, victory::LineSplitter::Line line);

    const victory::Json m_identity;
    victory::Workers m_workers;
    victory::Bus m_bus;
    std::atomic<bool> m_started{false};
    utilities::Mutex m_lifeMutex;  // an end that comes during the start waits for it
    std::shared_ptr<VgpssService> m_self;
};
