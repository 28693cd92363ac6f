#include "ASPN/FaultHysteresis.h"

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
    return true;
}

std::string FaultHysteresis::Check(EventTypes::eEventType& type, const std::string& file, int line,
                                   const std::string& text) {
    if (m_threshold == 0 || m_historySize == 0 || type < EventTypes::EVENT_WARNING || type > 5) {
        return text;
    }
    const std::string place = std::to_string(line);
    if (type == EventTypes::EVENT_WARNING) {
        type = record(type, file + place);
    }
    const std::string_view base = utilities::baseName(file);
    std::string stamped;
    stamped.reserve(base.size() + place.size() + text.size() + 3);
    return std::move(stamped.append(base).append(1, '[').append(place).append("]:").append(text));
}

std::deque<std::string> FaultHysteresis::historyKeys() const {
    std::deque<std::string> keys;
    const utilities::MutexLock lock(m_mutex);
    for (const fault_entry& entry : m_history) {
        keys.push_back(entry.key);
    }
    return keys;
}

/** `key` is moved into the history, and takes an evicted entry's text out of the lock with it. */
EventTypes::eEventType FaultHysteresis::record(EventTypes::eEventType type, std::string key) {
    std::string evicted;
    const utilities::MutexLock lock(m_mutex);
    const Clock::time_point now = m_now();
    service(now);
    const std::int32_t size = m_historySize;
    if (!m_history.empty() && m_history.size() >= static_cast<std::size_t>(size)) {
        evicted = std::move(m_history.front().key);
        m_history.pop_front();
    }
    const fault_entry& entry = m_history.emplace_back(fault_entry{std::move(key), now});
    return hysteresis(type, entry.key);
}

void FaultHysteresis::service(Clock::time_point now) {
    const std::chrono::milliseconds limit = std::chrono::seconds(m_maxAgeSeconds.load());
    if (limit.count() == 0) {
        return;
    }
    while (!m_history.empty() && now - m_history.front().when >= limit) {
        m_history.pop_front();
    }
}

EventTypes::eEventType FaultHysteresis::hysteresis(EventTypes::eEventType type,
                                                   const std::string& /*key*/) const {
    return type;
}
