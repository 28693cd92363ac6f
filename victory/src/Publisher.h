/** What is told becomes lines of the bus. */
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <tuple>

#include "victory/src/Configuration.h"
#include "victory/src/DeviceData.h"
#include "victory/src/Faults.h"
#include "victory/src/ReportQueue.h"
#include "victory/src/Waker.h"

namespace victory {

/** All that the owner tells, on its way to the bus thread. Told on any thread; whoever has told
 *  raises the waker. */
struct Tellings {
    explicit Tellings(const Periods& periods)
        : status(periods[STATUS]),
          status2(periods[STATUS_2]),
          health(periods[HEALTH]),
          health2(periods[HEALTH_2]) {}

    ReportQueue<VgpscReceiverStatusData> status;
    ReportQueue<VgpscReceiverStatus2Data> status2;
    ReportQueue<VgpscHealthStatusData> health;
    ReportQueue<VgpscHealthStatus2Data> health2;
    DeviceData device;
    Faults faults;
    Waker waker;
};

/** Makes the lines of the bus and knows when they are due. Belongs to the bus thread. */
class Publisher {
public:
    using Clock = std::chrono::steady_clock;
    using Send = std::function<void(std::string line)>;

    explicit Publisher(Tellings& told);

    /** Periods count from `now`. */
    void start(Clock::time_point now);
    /** Sends what is due. */
    void publish(Clock::time_point now, const Send& send);
    /** When something told falls due; nothing told, nothing due. */
    std::optional<Clock::time_point> nextDue() const;
    /** Sends what a new client has to know: device data and faults, as last published. */
    void sendSnapshot(const Send& send) const;

private:
    /** The publications of one data item. */
    template <class Record>
    struct Stream {
        const char* name;
        ReportQueue<Record>* queue;
        Clock::time_point due{};
        std::uint64_t sequence = 0;
        typename ReportQueue<Record>::Entry entry{};  // the one being published

        void publish(Clock::time_point now, const Send& send);
    };

    std::string deviceLine(const Json& data) const;
    std::string faultsLine() const;

    Tellings& m_told;
    std::tuple<Stream<VgpscReceiverStatusData>, Stream<VgpscReceiverStatus2Data>,
               Stream<VgpscHealthStatusData>, Stream<VgpscHealthStatus2Data>>
        m_streams;
    std::uint64_t m_deviceSequence = 0;
    std::uint64_t m_faultsSequence = 0;
};

}  // namespace victory
