#include "PCSMaintReporter/PCSMaintReporter.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>

#include "ASPN/AspnHelper.h"
#include "ASPN/Publishing.h"
#include "face/FACE_Common.h"
#include "utilities/Console.h"
#include "utilities/StringUtils.h"

using FACE::RETURN_CODE_TYPE;
using utilities::concat;
using utilities::printLine;

namespace {

/** More pieces of one text are dropped, so that a number is always one digit. */
constexpr std::size_t maxPieces = 9;
/** What a piece has for tag and text: 55 characters less those of "_1:". */
constexpr std::size_t pieceRoom = 52;

/** As much of `text` as fits in front of a NUL, and zeros behind it. */
template <std::size_t Size>
std::array<char, Size> fixedText(std::string_view text) {
    std::array<char, Size> fixed{};
    text.copy(fixed.data(), Size - 1);
    return fixed;
}

}  // namespace

PCSMaintReporter& PCSMaintReporter::Instance() {
    static PCSMaintReporter instance;
    return instance;
}

void PCSMaintReporter::InitMaintReporter(
    const std::string& name, const ASPN2::DeviceIdFactory& factory,
    const std::shared_ptr<MaintenanceTS>& maintenanceEventTypedTS, std::int64_t connection) {
    const std::string call = "InitMaintReporter(" + name + ") ";
    if (!maintenanceEventTypedTS) {
        throw std::runtime_error(call + "called with an empty maintenanceEventTypedTS.");
    }
    const utilities::MutexLock lock(m_mutex);
    if (m_initialized.exchange(true)) {
        throw std::runtime_error(call + "called on an already initialized PCSMaintReporter.");
    }
    RETURN_CODE_TYPE::Value rc = RETURN_CODE_TYPE::NO_ERROR;
    maintenanceEventTypedTS->Register_Sender(connection, rc);
    m_initialized = rc == RETURN_CODE_TYPE::NO_ERROR || rc == RETURN_CODE_TYPE::NO_ACTION;
    FACE::Return_Code_Value_No_Error_No_Action(__FILE__, __LINE__,
                                               (call + "unable to register sender.").c_str(), rc);
    m_name = name;
    m_deviceId =
        static_cast<std::int32_t>(factory.makeDeviceId(ASPN2::MessageKinds::MaintenanceEvent, 0));
    m_seqNum = 0;
    m_maintenanceEventTypedTS = maintenanceEventTypedTS;
    m_connectionId = connection;
    ASPN2::startFaultHysteresis();
}

void PCSMaintReporter::DoneMaintReporter() {
    m_initialized = false;
    const utilities::MutexLock lock(m_mutex);
    m_maintenanceEventTypedTS.reset();
}

void PCSMaintReporter::SetTimeOffset(const std::chrono::nanoseconds& now) {
    m_timeOffset = std::chrono::steady_clock::now().time_since_epoch() - now;
}

void PCSMaintReporter::SetAspnTimeOffset(const std::int64_t& seconds,
                                         const std::int64_t& nanoseconds) {
    // Held to some 146 years, within which nothing here overflows.
    constexpr std::int64_t most = std::int64_t{1} << 62;
    std::int64_t sum = 0;
    if (__builtin_mul_overflow(seconds, 1000000000, &sum) ||
        __builtin_add_overflow(sum, nanoseconds, &sum)) {
        sum = seconds < 0 ? -most : most;
    }
    SetTimeOffset(std::chrono::nanoseconds(std::clamp(sum, -most, most)));
}

std::chrono::nanoseconds PCSMaintReporter::GetTime() const {
    return std::chrono::steady_clock::now().time_since_epoch() - m_timeOffset.load();
}

void PCSMaintReporter::buildMaintenanceEvent(MaintenanceEvent& event,
                                             const std::string& description,
                                             const std::string& identity, eCrit criticality,
                                             eOutcome outcome, unsigned char location,
                                             eCat category, eLru lru1, eCmpo cmpo1, eLru lru2,
                                             eCmpo cmpo2, eLru lru3, eCmpo cmpo3, eLru lru4,
                                             eCmpo cmpo4, int repeatInSeconds) {
    event.description(fixedText<56>(description));
    event.identity(fixedText<16>(identity));
    event.category_id(category);
    event.repeat_in_seconds(repeatInSeconds);
    event.location_id(location);
    const std::pair<eLru, eCmpo> sources[] = {
        {lru1, cmpo1}, {lru2, cmpo2}, {lru3, cmpo3}, {lru4, cmpo4}};
    for (std::size_t i = 0; i < std::size(sources); ++i) {
        event.fault_sources()[i].lru_id(sources[i].first);
        event.fault_sources()[i].component_id(sources[i].second);
    }
    event.criticality_id(criticality);
    event.outcome_id(outcome);
}

void PCSMaintReporter::publishMaintenanceEvent(MaintenanceEvent& event) {
    const utilities::MutexLock lock(m_mutex);
    if (!m_initialized || !m_maintenanceEventTypedTS) {
        printLine(utilities::baseName(__FILE__), " (", __LINE__, ") ", "publishMaintenanceEvent",
                  ": PCSMaintReporter not initialized! Cannat send MaintenanceEvent.");
        return;
    }
    event.header().device_id(m_deviceId);
    ASPN2::setToVandToA_fromNSec(GetTime(), event.header());
    event.header().seq_num(m_seqNum++);
    const bool published = ASPN2::publish(*m_maintenanceEventTypedTS, m_connectionId,
                                          [&event]() -> const MaintenanceEvent& { return event; });
    if (!published) {
        printLine("!!!!!! ", m_name, " MaintReporter could not publish event");
    }
}

void PCSMaintReporter::sendMaintenanceEvent(const std::string& description,
                                            const std::string& identity, eCrit criticality,
                                            eOutcome outcome, unsigned char location, eCat category,
                                            eLru lru1, eCmpo cmpo1, eLru lru2, eCmpo cmpo2,
                                            eLru lru3, eCmpo cmpo3, eLru lru4, eCmpo cmpo4,
                                            int repeatInSeconds) {
    MaintenanceEvent event;
    buildMaintenanceEvent(event, description, identity, criticality, outcome, location, category,
                          lru1, cmpo1, lru2, cmpo2, lru3, cmpo3, lru4, cmpo4, repeatInSeconds);
    publishMaintenanceEvent(event);
}

void PCSMaintReporter::buildMultiMaintenanceEventVectorFromLongDescription(
    const std::string& longDescription, const std::string& identity, eCrit criticality,
    eOutcome outcome, unsigned char location, eCat category, eLru lru1, eCmpo cmpo1, eLru lru2,
    eCmpo cmpo2, eLru lru3, eCmpo cmpo3, eLru lru4, eCmpo cmpo4, int repeatInSeconds,
    std::vector<MaintenanceEvent>& events, const char* tag) {
    const std::string name = std::string(tag == nullptr ? "Evt" : tag).substr(0, pieceRoom - 1);
    const auto pieces =
        StringUtils::splitToChunks(longDescription, static_cast<unsigned>(pieceRoom - name.size()));
    for (std::size_t i = 0; i < std::min(pieces.size(), maxPieces); ++i) {
        const std::string number = pieces.size() == 1 ? "" : concat('_', i + 1);
        buildMaintenanceEvent(events.emplace_back(), name + number + ":" + pieces[i], identity,
                              criticality, outcome, location, category, lru1, cmpo1, lru2, cmpo2,
                              lru3, cmpo3, lru4, cmpo4, repeatInSeconds);
    }
}

void PCSMaintReporter::sendLongDescriptionMultiMaintenanceEvent(
    const std::string& longDescription, const std::string& identity, eCrit criticality,
    eOutcome outcome, unsigned char location, eCat category, eLru lru1, eCmpo cmpo1, eLru lru2,
    eCmpo cmpo2, eLru lru3, eCmpo cmpo3, eLru lru4, eCmpo cmpo4, int repeatInSeconds,
    const char* tag) {
    std::vector<MaintenanceEvent> events;
    buildMultiMaintenanceEventVectorFromLongDescription(
        longDescription, identity, criticality, outcome, location, category, lru1, cmpo1, lru2,
        cmpo2, lru3, cmpo3, lru4, cmpo4, repeatInSeconds, events, tag);
    for (MaintenanceEvent& event : events) {
        printLine(": Sending maintenance event: ", event.description().data());
        publishMaintenanceEvent(event);
    }
}
