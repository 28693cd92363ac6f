#include "victory/src/Publisher.h"

#include <algorithm>

#include "victory/src/RecordJson.h"

namespace victory {

namespace {

// A teller that never pauses must not keep the bus thread from its clients.
constexpr int kMostAtOnce = 64;

Json report(const char* name, std::uint64_t sequence) {
    return {{"report", name}, {"sequence", sequence}};
}

}  // namespace

template <class Record>
void Publisher::Stream<Record>::publish(Clock::time_point now, const Send& send) {
    for (int i = 0; i < kMostAtOnce && due <= now && queue->take(entry); ++i) {
        if (queue->period().count() != 0) {
            due = now + queue->period();
        }
        Json line = report(name, ++sequence);
        if (const std::uint64_t dropped = queue->dropped(); dropped != 0) {
            line["dropped"] = dropped;
        }
        Json data = encode(entry.record, entry.entries);
        if (entry.date) {
            data["dateTime"] = encode(*entry.date);
        }
        line["data"] = std::move(data);
        send(toLine(line));
    }
}

Publisher::Publisher(Tellings& told)
    : m_told(told),
      m_streams({kDataItems[STATUS], &told.status}, {kDataItems[STATUS_2], &told.status2},
                {kDataItems[HEALTH], &told.health}, {kDataItems[HEALTH_2], &told.health2}) {}

void Publisher::start(Clock::time_point now) {
    std::apply([now](auto&... stream) { ((stream.due = now + stream.queue->period()), ...); },
               m_streams);
}

void Publisher::publish(Clock::time_point now, const Send& send) {
    const Json changes = m_told.device.takeChanges();
    if (!changes.empty()) {
        ++m_deviceSequence;
        send(deviceLine(changes));
    }
    if (m_told.faults.takeChange()) {
        ++m_faultsSequence;
        send(faultsLine());
    }
    std::apply([&](auto&... stream) { (stream.publish(now, send), ...); }, m_streams);
}

std::optional<Publisher::Clock::time_point> Publisher::nextDue() const {
    std::optional<Clock::time_point> next;
    const auto consider = [&next](const auto& stream) {
        if (!stream.queue->isEmpty()) {
            next = std::min(next.value_or(stream.due), stream.due);
        }
    };
    std::apply([&](const auto&... stream) { (consider(stream), ...); }, m_streams);
    return next;
}

void Publisher::sendSnapshot(const Send& send) const {
    send(deviceLine(m_told.device.known()));
    send(faultsLine());
}

std::string Publisher::deviceLine(const Json& data) const {
    Json line = report("GPS_RECEIVER_DEVICE", m_deviceSequence);
    line["data"] = data;
    return toLine(line);
}

std::string Publisher::faultsLine() const {
    Json line = report("GPS_RECEIVER_FAULTS", m_faultsSequence);
    line["data"] = m_told.faults.known();
    return toLine(line);
}

}  // namespace victory
