/** Reports that wait for their publication. */
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

#include "utilities/Mutex.h"
#include "victory/victory.h"

namespace victory {

/** Records that carry nothing a newer one lacks: `older` may be dropped. */
template <class Record>
void handOn(const Record& /*older*/, Record& /*newer*/) {}

/** Puts the warnings of `older` before those of `newer`, which keeps the newest 50: each warning is
 *  told once only. */
inline void handOn(const VgpscReceiverStatus2Data& older, VgpscReceiverStatus2Data& newer) {
    constexpr unsigned kRoom = VGPSC_WARNINGS;
    const unsigned newCount = std::min(newer.warningCount, kRoom);
    const unsigned oldCount = std::min(older.warningCount, kRoom);
    const unsigned kept = std::min(oldCount, kRoom - newCount);
    std::copy_backward(newer.warnings, newer.warnings + newCount, newer.warnings + newCount + kept);
    std::copy(older.warnings + oldCount - kept, older.warnings + oldCount, newer.warnings);
    newer.warningCount = newCount + kept;
}

/** What was told of one data item and isn't published yet, oldest first.
 *
 *  All memory is taken at construction: told on any thread, without waiting for more than the copy
 *  of a record, and without allocation; taken on the bus thread. Each published record is held for
 *  the item's period, in which the newest told wins; with no period up to 64 wait in line, and the
 *  oldest is dropped for room.
 */
template <class Record>
class ReportQueue {
public:
    struct Entry {
        Record record{};
        unsigned entries = 0; /**< array entries in use, as told */
        std::optional<VgpscDateTime> date;
    };

    explicit ReportQueue(std::chrono::milliseconds period)
        : m_period(period), m_capacity(period.count() == 0 ? 64 : 1), m_ring(m_capacity + 1) {}

    std::chrono::milliseconds period() const { return m_period; }

    void tell(const Record& record, unsigned entries, const VgpscDateTime* date) EXCLUDES(m_mutex) {
        const utilities::MutexLock lock(m_mutex);
        Entry& entry = at(m_count++);
        entry.record = record;
        entry.entries = entries;
        entry.date.reset();
        if (date != nullptr) {
            entry.date = *date;
        }
        if (m_count > m_capacity) {
            passOverOldest();
        }
    }

    bool isEmpty() const EXCLUDES(m_mutex) {
        const utilities::MutexLock lock(m_mutex);
        return m_count == 0;
    }

    /** The oldest entry into `entry`; false when there is none. */
    bool take(Entry& entry) EXCLUDES(m_mutex) {
        const utilities::MutexLock lock(m_mutex);
        if (m_count == 0) {
            return false;
        }
        entry = at(0);
        removeOldest();
        return true;
    }

    /** Records that fell out of the line, ever. */
    std::uint64_t dropped() const EXCLUDES(m_mutex) {
        const utilities::MutexLock lock(m_mutex);
        return m_dropped;
    }

private:
    Entry& at(std::size_t place) REQUIRES(m_mutex) {
        return m_ring[(m_first + place) % m_ring.size()];
    }
    void removeOldest() REQUIRES(m_mutex) {
        m_first = (m_first + 1) % m_ring.size();
        --m_count;
    }
    /** A record that a newer one replaces within its period isn't lost, it is out of date. */
    void passOverOldest() REQUIRES(m_mutex) {
        handOn(at(0).record, at(1).record);
        removeOldest();
        m_dropped += m_period.count() == 0 ? 1 : 0;
    }

    const std::chrono::milliseconds m_period;
    const std::size_t m_capacity;
    mutable utilities::Mutex m_mutex;
    // One place more than the capacity: the newest comes in before the oldest goes.
    std::vector<Entry> m_ring GUARDED_BY(m_mutex);
    std::size_t m_first GUARDED_BY(m_mutex) = 0;
    std::size_t m_count GUARDED_BY(m_mutex) = 0;
    std::uint64_t m_dropped GUARDED_BY(m_mutex) = 0;
};

}  // namespace victory
