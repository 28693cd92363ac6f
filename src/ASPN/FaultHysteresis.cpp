#include "ASPN/FaultHysteresis.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "utilities/Console.h"

FaultHysteresis& FaultHysteresis::Instance() {
    static FaultHysteresis instance;
    return instance;
}

bool FaultHysteresis::OkInitFaultHysteresis(int maxAgeSeconds, int threshold, int historySize) {
    if (maxAgeSeconds < 0 || threshold < 0 || historySize < 0) {
        return false;
    }
    const utilities::MutexLock lock(m_mutex);
    m_maxAgeSeconds = maxAgeSeconds;
    m_threshold = threshold;
    m_historySize = historySize;
    m_history.clear();
    m_oldest = 0;
    m_count = 0;
    return true;
}

std::string FaultHysteresis::Check(EventTypes::eEventType& type, const std::string& file, int line,
                                   const std::string& text) {
    if (m_threshold == 0 || m_historySize == 0 || type < EventTypes::EVENT_WARNING || type > 5) {
        return text;
    }
    const std::string place = std::to_string(line);
    if (type == EventTypes::EVENT_WARNING) {
        type = record(type, file, place);
    }
    const std::string_view base = utilities::baseName(file);
    std::string stamped;
    stamped.reserve(base.size() + place.size() + text.size() + 3);
    return std::move(stamped.append(base).append(1, '[').append(place).append("]:").append(text));
}

std::deque<std::string> FaultHysteresis::historyKeys() const {
    std::deque<std::string> keys;
    const utilities::MutexLock lock(m_mutex);
    for (std::size_t i = 0; i < m_count; ++i) {
        keys.push_back(m_history[(m_oldest + i) % m_history.size()].key);
    }
    return keys;
}

EventTypes::eEventType FaultHysteresis::record(EventTypes::eEventType type, const std::string& file,
                                               const std::string& place) {
    const Clock::time_point now = m_now();
    const utilities::MutexLock lock(m_mutex);
    if (m_historySize == 0) {  // turned off since it was looked at
        return type;
    }
    service(now);
    fault_entry& entry = newest();
    entry.key.assign(file).append(place);
    entry.when = now;
    return hysteresis(type, entry.key);
}

FaultHysteresis::fault_entry& FaultHysteresis::newest() {
    const auto bound = static_cast<std::size_t>(m_historySize);
    if (m_count == m_history.size() && m_count < bound) {
        const auto oldest = m_history.begin() + static_cast<std::ptrdiff_t>(m_oldest);
        std::rotate(m_history.begin(), oldest, m_history.end());
        m_oldest = 0;
        m_history.resize(std::min(bound, 2 * m_count + 1));
    }
    if (m_count == m_history.size()) {
        dropOldest();
    }
    return m_history[(m_oldest + m_count++) % m_history.size()];
}

void FaultHysteresis::dropOldest() {
    m_oldest = (m_oldest + 1) % m_history.size();
    --m_count;
}

void FaultHysteresis::service(Clock::time_point now) {
    const std::chrono::milliseconds limit = std::chrono::seconds(m_maxAgeSeconds.load());
    if (limit.count() == 0) {
        return;
    }
    while (m_count != 0 && now - m_history[m_oldest].when >= limit) {
        dropOldest();
    }
}

EventTypes::eEventType FaultHysteresis::hysteresis(EventTypes::eEventType type,
                                                   const std::string& /*key*/) const {
    return type;
}
