#include "ASPN/EventQueue.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "utilities/Deadline.h"

namespace ASPN2 {

namespace {

using Clock = std::chrono::steady_clock;
using utilities::MutexLock;

template <typename Items, typename Match>
void eraseFirst(Items& items, Match match) {
    const auto found = std::find_if(items.begin(), items.end(), match);
    if (found != items.end()) {
        items.erase(found);
    }
}

}  // namespace

EventQueue::EventQueue(unsigned maxEvents, int configType,
                       const std::chrono::nanoseconds& repeatPeriod)
    : m_maxEvents(maxEvents), m_configType(configType), m_repeatPeriod(repeatPeriod) {}

std::size_t EventQueue::size() const {
    const MutexLock lock(m_mutex);
    return m_events.size() + m_configs.size();
}

bool EventQueue::push_back(int type, std::string text) {
    if (m_waiting >= m_maxEvents) {
        return false;
    }
    const MutexLock lock(m_mutex);
    if (m_events.size() >= m_maxEvents) {
        return false;
    }
    enqueue({false, type, std::move(text), 0});
    return true;
}

std::uint32_t EventQueue::push_back_config(std::string text) {
    const MutexLock lock(m_mutex);
    return appendConfig(std::move(text));
}

std::uint32_t EventQueue::push_back_config(std::string text, std::uint32_t oldId) {
    const MutexLock lock(m_mutex);
    eraseConfig(oldId);
    return appendConfig(std::move(text));
}

bool EventQueue::pop_front(int& type, std::string& text, const std::chrono::nanoseconds& timeout) {
    const MutexLock lock(m_mutex);
    repeatConfigs();
    const Clock::time_point deadline = utilities::deadlineAfter(Clock::now(), timeout);
    while (m_events.empty()) {
        if (!m_condition.wait_until(m_mutex, deadline) && m_events.empty()) {
            return false;
        }
    }
    EventItem item = std::move(m_events.front());
    m_events.pop_front();
    m_waiting = m_events.size();
    type = item.type;
    if (item.isConfig) {
        text = item.text;
        m_configs.push_back({std::move(item.text), item.id,
                             utilities::deadlineAfter(Clock::now(), m_repeatPeriod)});
    } else {
        text = std::move(item.text);
    }
    return true;
}

std::uint32_t EventQueue::appendConfig(std::string text) {
    const auto id = static_cast<std::uint32_t>(std::hash<std::string>{}(text));
    enqueue({true, m_configType, std::move(text), id});
    return id;
}

void EventQueue::enqueue(EventItem item) {
    m_events.push_back(std::move(item));
    m_waiting = m_events.size();
    m_condition.notify_one();
}

void EventQueue::eraseConfig(std::uint32_t id) {
    eraseFirst(m_events, [id](const EventItem& item) { return item.isConfig && item.id == id; });
    eraseFirst(m_configs, [id](const ConfigItem& item) { return item.id == id; });
    m_waiting = m_events.size();
}

void EventQueue::repeatConfigs() {
    const Clock::time_point now = Clock::now();
    while (!m_configs.empty() && m_configs.front().repeatAt <= now) {
        ConfigItem& due = m_configs.front();
        enqueue({true, m_configType, std::move(due.text), due.id});
        m_configs.pop_front();
    }
}

}  // namespace ASPN2
