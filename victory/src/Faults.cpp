#include "victory/src/Faults.h"

#include <utility>

namespace victory {

namespace {

constexpr std::size_t kMaximumFaults = 256;

Json encode(const Fault& fault) {
    return {{"id", fault.id},
            {"text", fault.text},
            {"acknowledged", fault.acknowledged},
            {"severity", fault.severity},
            {"category", fault.category},
            {"action", fault.action}};
}

}  // namespace

unsigned Faults::add(Fault fault) {
    const utilities::MutexLock lock(m_mutex);
    if (m_faults.size() >= kMaximumFaults) {
        return 0;
    }
    fault.id = ++m_lastId;
    m_faults.push_back(std::move(fault));
    m_changed = true;
    return m_lastId;
}

void Faults::remove(unsigned id) {
    const utilities::MutexLock lock(m_mutex);
    m_changed |= std::erase_if(m_faults, [id](const Fault& fault) { return fault.id == id; }) > 0;
}

bool Faults::takeChange() {
    const utilities::MutexLock lock(m_mutex);
    if (!std::exchange(m_changed, false)) {
        return false;
    }
    Json list = Json::array();
    for (const Fault& fault : m_faults) {
        list.push_back(encode(fault));
    }
    m_known["faults"] = std::move(list);
    return true;
}

}  // namespace victory
