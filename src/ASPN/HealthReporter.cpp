#include "ASPN/HealthReporter.h"

#include "ASPN/FaultHysteresis.h"

namespace {

constexpr unsigned maxEvents = 10;
constexpr int lastEventType = 5;

}  // namespace

HealthReporter& HealthReporter::Instance() {
    static HealthReporter instance;
    return instance;
}

HealthReporter::HealthReporter() : m_eventQueue(maxEvents, EVENT_INFO, configRepeatDuration) {
    // Made before this object is, so that it is destroyed after it.
    FaultHysteresis::Instance();
}

void HealthReporter::SendEvent(const char* file, int line, eEventType type,
                               const std::string& text) {
    std::string stamped =
        FaultHysteresis::Instance().Check(type, file == nullptr ? "" : file, line, text);
    const bool known = type >= 0 && type <= lastEventType;
    m_eventQueue.push_back(known ? type : 0, std::move(stamped));
}

std::uint32_t HealthReporter::SendConfigEvent(const std::string& text) {
    return m_eventQueue.push_back_config(text);
}

std::uint32_t HealthReporter::ReplaceConfigEvent(const std::string& text, std::uint32_t oldId) {
    return m_eventQueue.push_back_config(text, oldId);
}
