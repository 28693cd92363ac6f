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
    m_maxAgeSeconds = maxAgeSeconds;
    m_threshold = threshold;
    m_historySize = historySize;
    for (Share& share : m_history) {
        const utilities::MutexLock lock(share.mutex);
        share.ring.clear();
        share.oldest = 0;
        share.count = 0;
    }
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
    std::vector<fault_entry> entries;
    for (const Share& share : m_history) {
        const utilities::MutexLock lock(share.mutex);
        for (std::size_t i = 0; i < share.count; ++i) {
            entries.push_back(share.at(i));
        }
    }
    std::ranges::stable_sort(entries, {}, &fault_entry::when);
    std::deque<std::string> keys;
    const auto bound = static_cast<std::size_t>(m_historySize);
    const std::size_t tooMany = entries.size() - std::min(entries.size(), bound);
    for (std::size_t i = tooMany; i < entries.size(); ++i) {
        if (!tooOld(entries[i], entries.back().when)) {
            keys.push_back(std::move(entries[i].key));
        }
    }
    return keys;
}

FaultHysteresis::Share& FaultHysteresis::share() {
    static std::atomic<std::size_t> threads{0};
    thread_local const std::size_t mine = threads++ % shares;
    return m_history[mine];
}

EventTypes::eEventType FaultHysteresis::record(EventTypes::eEventType type, const std::string& file,
                                               const std::string& place) {
    const Clock::time_point now = m_now();
    Share& mine = share();
    const utilities::MutexLock lock(mine.mutex);
    const auto bound = static_cast<std::size_t>(m_historySize);
    if (bound == 0) {  // turned off since it was looked at
        return type;
    }
    service(mine, now);
    fault_entry& entry = mine.newest(bound);
    entry.key.assign(file).append(place);
    entry.when = now;
    return hysteresis(type, entry.key);
}

FaultHysteresis::fault_entry& FaultHysteresis::Share::newest(std::size_t bound) {
    if (count == ring.size() && count < bound) {
        std::rotate(ring.begin(), ring.begin() + static_cast<std::ptrdiff_t>(oldest), ring.end());
        oldest = 0;
        ring.resize(std::min(bound, 2 * count + 1));
    }
    if (count == ring.size()) {
        dropOldest();
    }
    return ring[(oldest + count++) % ring.size()];
}

void FaultHysteresis::Share::dropOldest() {
    oldest = (oldest + 1) % ring.size();
    --count;
}

bool FaultHysteresis::tooOld(const fault_entry& entry, Clock::time_point now) const {
    const std::chrono::milliseconds limit = std::chrono::seconds(m_maxAgeSeconds.load());
    return limit.count() != 0 && now - entry.when >= limit;
}

void FaultHysteresis::service(Share& share, Clock::time_point now) const {
    while (share.count != 0 && tooOld(share.at(0), now)) {
        share.dropOldest();
    }
}

EventTypes::eEventType FaultHysteresis::hysteresis(EventTypes::eEventType type,
                                                   const std::string& /*key*/) const {
    return type;
}
