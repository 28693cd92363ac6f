/** The process-wide sender of maintenance events, the records that a maintainer reads later. */
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ASPN/AspnDeviceIds.h"
#include "PCSMaintReporter/MaintenanceCodes.h"
#include "aspn2_msgs/MaintenanceEvent.h"
#include "tss/TypedTS.h"
#include "utilities/Mutex.h"

/** Publishes at once, on the caller's thread: no queue, no thread, no retry. Safe from any number
 * of threads; their events go out one after the other, in the order of their sequence numbers.
 *
 *  An event has room for 55 characters of description. A longer text is cut into pieces, each an
 *  event of its own: "TAG_1:...", "TAG_2:..." and so on, at most nine. Dropping each prefix through
 *  the colon gives the text again.
 */
class PCSMaintReporter {
public:
    using MaintenanceEvent = aspn2_msgs::idl::MaintenanceEvent;
    using MaintenanceTS = FACE::TSS::TypedTS<MaintenanceEvent>;
    using eCrit = ASPN2::Maintenance::Criticality::eCrit;
    using eOutcome = ASPN2::Maintenance::Outcome::eOutcome;
    using eCat = ASPN2::Maintenance::Category::eCat;
    using eLru = ASPN2::Maintenance::LRU::eLru;
    using eCmpo = ASPN2::Maintenance::Component::eCmpo;

    /** The one of the process, made at first use. */
    static PCSMaintReporter& Instance();

    /** Starts publishing on `connection`, whose sender it registers. `name` leads console lines.
     *  Main thread.
     *  @throws std::runtime_error for an empty transport, a second call, a refused sender
     */
    void InitMaintReporter(const std::string& name, const ASPN2::DeviceIdFactory& factory,
                           const std::shared_ptr<MaintenanceTS>& maintenanceEventTypedTS,
                           std::int64_t connection) EXCLUDES(m_mutex);
    /** Ends publishing, once the event under way is out, and lets the transport go. Main thread. */
    void DoneMaintReporter() EXCLUDES(m_mutex);

    /** The time of events is the steady clock's, counted from an instant of time zero: these say
     *  that it is `now` at this moment. */
    void SetTimeOffset(const std::chrono::nanoseconds& now);
    void SetAspnTimeOffset(const std::int64_t& seconds, const std::int64_t& nanoseconds);
    std::chrono::nanoseconds GetTime() const;

    /** Fills the body of `event`; its head stays as it is. Of `description` 55 characters fit, of
     *  `identity` 15; the rest is cut. The codes go in unchanged, the four pairs in their order. */
    static void buildMaintenanceEvent(MaintenanceEvent& event, const std::string& description,
                                      const std::string& identity, eCrit criticality,
                                      eOutcome outcome, unsigned char location, eCat category,
                                      eLru lru1, eCmpo cmpo1, eLru lru2, eCmpo cmpo2, eLru lru3,
                                      eCmpo cmpo3, eLru lru4, eCmpo cmpo4, int repeatInSeconds);

    /** Stamps the head of `event` and sends it. One that can't be sent is lost, with a line. */
    void publishMaintenanceEvent(MaintenanceEvent& event) EXCLUDES(m_mutex);

    /** Builds and publishes one event. */
    void sendMaintenanceEvent(const std::string& description, const std::string& identity,
                              eCrit criticality, eOutcome outcome, unsigned char location,
                              eCat category, eLru lru1, eCmpo cmpo1, eLru lru2, eCmpo cmpo2,
                              eLru lru3, eCmpo cmpo3, eLru lru4, eCmpo cmpo4, int repeatInSeconds);

    /** Appends the events of a text of any length: none of an empty one, nine at most. `tag` is
     *  shorter than 52 characters, of which the first 51 count; null stands for "Evt". */
    static void buildMultiMaintenanceEventVectorFromLongDescription(
        const std::string& longDescription, const std::string& identity, eCrit criticality,
        eOutcome outcome, unsigned char location, eCat category, eLru lru1, eCmpo cmpo1, eLru lru2,
        eCmpo cmpo2, eLru lru3, eCmpo cmpo3, eLru lru4, eCmpo cmpo4, int repeatInSeconds,
        std::vector<MaintenanceEvent>& events, const char* tag);

    /** Builds and publishes them, each with a line on the console. */
    void sendLongDescriptionMultiMaintenanceEvent(const std::string& longDescription,
                                                  const std::string& identity, eCrit criticality,
                                                  eOutcome outcome, unsigned char location,
                                                  eCat category, eLru lru1, eCmpo cmpo1, eLru lru2,
                                                  eCmpo cmpo2, eLru lru3, eCmpo cmpo3, eLru lru4,
                                                  eCmpo cmpo4, int repeatInSeconds,
                                                  const char* tag);

    /** The default fault sources of a server, all 0 for one that has none.
     *  @return a code of its own for some servers, else 0
     */
    static int getDefaultLruSubForServerID(const unsigned char& serverId, eLru& lru1, eCmpo& cmpo1,
                                           eLru& lru2, eCmpo& cmpo2, eLru& lru3, eCmpo& cmpo3,
                                           eLru& lru4, eCmpo& cmpo4);

    PCSMaintReporter(const PCSMaintReporter&) = delete;
    PCSMaintReporter& operator=(const PCSMaintReporter&) = delete;

private:
    PCSMaintReporter() = default;

    std::atomic<bool> m_initialized{false};
    /** The steady clock at the instant of time zero. */
    std::atomic<std::chrono::nanoseconds> m_timeOffset{std::chrono::nanoseconds{0}};

    /** Held through a publication. */
    utilities::Mutex m_mutex;
    std::string m_name GUARDED_BY(m_mutex);
    std::int32_t m_deviceId GUARDED_BY(m_mutex) = 0;
    std::int64_t m_seqNum GUARDED_BY(m_mutex) = 0;
    std::shared_ptr<MaintenanceTS> m_maintenanceEventTypedTS GUARDED_BY(m_mutex);
    std::int64_t m_connectionId GUARDED_BY(m_mutex) = -1;
};
