/** What the messages cost on the wire, against a floor: the same structures written and read field
 *  by field, one call on the Cdr for each; and where the DDS vendor's IDL compiler is installed
 *  (Debian: fastddsgen), against its code.
 *
 *      bench_cdr            prints a table: what, ours [ns], floor [ns], ratio, limit
 *      bench_cdr --check    the same, and exits with 1 when a line is above its limit
 *
 *  Ours and the floor run in turns, and the best round of each counts, so that a busy machine slows
 *  both or neither.
 */
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>

#include "aspn2_msgs/CommandResponsePubSubTypes.h"
#include "aspn2_msgs/EventLogPubSubTypes.h"
#include "aspn2_msgs/GSSIPPubSubTypes.h"
#include "aspn2_msgs/MaintenanceEventPubSubTypes.h"

#ifdef HC_IDL_FLOOR
#include <floor.h>
#endif

// The floor lies in functions that are not inlined into each other, as generated code lies in
// sources of its own.
#define FLOOR_FUNCTION [[gnu::noinline]]

namespace floor_idl {

using eprosima::fastcdr::Cdr;

struct timestamp {
    std::int64_t sec = 0;
    std::int32_t nsec = 0, time_code = 0;

    FLOOR_FUNCTION void serialize(Cdr& cdr) const {
        cdr << sec;
        cdr << nsec;
        cdr << time_code;
    }
    FLOOR_FUNCTION void deserialize(Cdr& cdr) {
        cdr >> sec;
        cdr >> nsec;
        cdr >> time_code;
    }
};

struct header {
    std::int64_t seq_num = 0;
    timestamp timestamp_arrival, timestamp_valid;
    std::int32_t device_id = 0;

    FLOOR_FUNCTION void serialize(Cdr& cdr) const {
        cdr << seq_num;
        cdr << timestamp_arrival;
        cdr << timestamp_valid;
        cdr << device_id;
    }
    FLOOR_FUNCTION void deserialize(Cdr& cdr) {
        cdr >> seq_num;
        cdr >> timestamp_arrival;
        cdr >> timestamp_valid;
        cdr >> device_id;
    }
};

struct lru_comp_set {
    std::int32_t lru_id = 0, component_id = 0;

    FLOOR_FUNCTION void serialize(Cdr& cdr) const {
        cdr << lru_id;
        cdr << component_id;
    }
    FLOOR_FUNCTION void deserialize(Cdr& cdr) {
        cdr >> lru_id;
        cdr >> component_id;
    }
};

struct GSSIP {
    header m_header;
    std::int32_t num_bytes = 0;
    std::vector<std::uint8_t> data;

    FLOOR_FUNCTION void serialize(Cdr& cdr) const {
        cdr << m_header;
        cdr << num_bytes;
        cdr << data;
    }
    FLOOR_FUNCTION void deserialize(Cdr& cdr) {
        cdr >> m_header;
        cdr >> num_bytes;
        cdr >> data;
    }
};

struct CommandResponse {
    header m_header;
    std::int32_t commanded_device_id = 0, command_identifier = 0;
    std::uint32_t command_response_type = 0;
    std::string command_response;

    FLOOR_FUNCTION void serialize(Cdr& cdr) const {
        cdr << m_header;
        cdr << commanded_device_id;
        cdr << command_identifier;
        cdr << command_response_type;
        cdr << command_response;
    }
    FLOOR_FUNCTION void deserialize(Cdr& cdr) {
        cdr >> m_header;
        cdr >> commanded_device_id;
        cdr >> command_identifier;
        cdr >> command_response_type;
        cdr >> command_response;
    }
};

struct EventLog {
    header m_header;
    std::uint32_t event_log_type = 0;
    std::string eventlog;

    FLOOR_FUNCTION void serialize(Cdr& cdr) const {
        cdr << m_header;
        cdr << event_log_type;
        cdr << eventlog;
    }
    FLOOR_FUNCTION void deserialize(Cdr& cdr) {
        cdr >> m_header;
        cdr >> event_log_type;
        cdr >> eventlog;
    }
};

struct MaintenanceEvent {
    header m_header;
    std::array<lru_comp_set, 4> fault_sources;
    std::int32_t criticality_id = 0, category_id = 0, location_id = 0, outcome_id = 0,
                 repeat_in_seconds = 0;
    std::array<char, 16> identity{};
    std::array<char, 56> description{};

    FLOOR_FUNCTION void serialize(Cdr& cdr) const {
        cdr << m_header;
        for (const lru_comp_set& source : fault_sources) {
            cdr << source;
        }
        cdr << criticality_id;
        cdr << category_id;
        cdr << location_id;
        cdr << outcome_id;
        cdr << repeat_in_seconds;
        cdr.serializeArray(identity.data(), identity.size());
        cdr.serializeArray(description.data(), description.size());
    }
    FLOOR_FUNCTION void deserialize(Cdr& cdr) {
        cdr >> m_header;
        for (lru_comp_set& source : fault_sources) {
            cdr >> source;
        }
        cdr >> criticality_id;
        cdr >> category_id;
        cdr >> location_id;
        cdr >> outcome_id;
        cdr >> repeat_in_seconds;
        cdr.deserializeArray(identity.data(), identity.size());
        cdr.deserializeArray(description.data(), description.size());
    }
};

}  // namespace floor_idl

namespace {

using aspn2_msgs::idl::CommandResponse;
using aspn2_msgs::idl::EventLog;
using aspn2_msgs::idl::GSSIP;
using aspn2_msgs::idl::GSSIPPubSubType;
using aspn2_msgs::idl::MaintenanceEvent;
using eprosima::fastcdr::Cdr;
using eprosima::fastcdr::FastBuffer;

constexpr int rounds = 40;
constexpr int callsPerRound = 20000;
constexpr double ratioLimit = 0.8;
constexpr double decodeLimit = 60;  // [ns]

/** The time of one call of `step` in a round [ns]. */
template <class Step>
double timeOf(Step step) {
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < callsPerRound; ++i) {
        step();
        benchmark::ClobberMemory();
    }
    const std::chrono::duration<double, std::nano> time = std::chrono::steady_clock::now() - begin;
    return time.count() / callsPerRound;
}

/** The best of the rounds for each of two steps, run in turns. */
template <class Ours, class Floor>
std::pair<double, double> bestInTurns(Ours ours, Floor floor) {
    std::pair<double, double> best(std::numeric_limits<double>::max(),
                                   std::numeric_limits<double>::max());
    for (int i = 0; i < rounds; ++i) {
        best.first = std::min(best.first, timeOf(ours));
        best.second = std::min(best.second, timeOf(floor));
    }
    return best;
}

bool allWithinLimits = true;

void report(const char* what, const char* step, double ours, double floor) {
    const double ratio = ours / floor;
    const bool within = ratio <= ratioLimit;
    allWithinLimits = allWithinLimits && within;
    std::printf("%-28s%-14s%8.1f%8.1f%8.2f%8.2f%s\n", what, step, ours, floor, ratio, ratioLimit,
                within ? "" : "  ABOVE");
}

template <class Message, class Floor>
void compare(const std::string& what, const Message& sample) {
    std::array<char, 1024> bytes{};
    FastBuffer buffer(bytes.data(), bytes.size());
    Cdr cdr(buffer, Cdr::DEFAULT_ENDIAN, Cdr::DDS_CDR);
    Message message(sample);
    message.serialize(cdr);
    const std::array<char, 1024> expected = bytes;

    Floor floor;
    cdr.reset();
    floor.deserialize(cdr);
    bytes.fill(0);
    cdr.reset();
    floor.serialize(cdr);
    if (bytes != expected) {
        std::printf("%s: the floor writes other bytes\n", what.c_str());
        allWithinLimits = false;
    }

    const auto written = bestInTurns([&] { cdr.reset(), message.serialize(cdr); },
                                     [&] { cdr.reset(), floor.serialize(cdr); });
    report(what.c_str(), "serialize", written.first, written.second);
    const auto read = bestInTurns([&] { cdr.reset(), message.deserialize(cdr); },
                                  [&] { cdr.reset(), floor.deserialize(cdr); });
    report(what.c_str(), "deserialize", read.first, read.second);
}

/** A frame of the common size as it is read off a queue: one type support, one message. */
void decodeGssip(const GSSIP& sample) {
    GSSIPPubSubType support;
    GSSIPPubSubType::Payload payload(1024);
    GSSIP message(sample);
    support.serialize(&message, &payload);
    const double decode =
        bestInTurns([&] { support.deserialize(&payload, &message); }, [] {}).first;
    const double make =
        bestInTurns([] { benchmark::DoNotOptimize(GSSIPPubSubType()); }, [] {}).first;
    const bool within = decode <= decodeLimit;
    allWithinLimits = allWithinLimits && within;
    std::printf("GSSIP of %u bytes through a kept type support: %.1f ns (limit %.0f)%s\n",
                payload.length, decode, decodeLimit, within ? "" : "  ABOVE");
    std::printf("making and ending a type support: %.1f ns\n", make);
}

template <class Message>
Message stamped(Message message) {
    message.header().seq_num(77);
    message.header().timestamp_arrival().sec(1000);
    message.header().timestamp_valid().nsec(999999992);
    message.header().device_id(0x12345678);
    return message;
}

}  // namespace

int main(int argc, char** argv) {
    GSSIP gssip;
    gssip.data(std::vector<std::uint8_t>(356, 0x5A));
    gssip.num_bytes(356);
    CommandResponse command;
    command.command_response("TYRN_CV_ZEROIZE_ACK");
    EventLog event;
    event.eventlog(
        "src/VICTORY/VGpsReceiverServer/Commands.cpp[120]: VGpsReceiverServer refused it");
    const MaintenanceEvent maintenance;

    std::printf("%-42s%8s%8s%8s%8s\n", "what [ns]", "ours", "floor", "ratio", "limit");
    compare<GSSIP, floor_idl::GSSIP>("GSSIP", stamped(gssip));
    compare<CommandResponse, floor_idl::CommandResponse>("CommandResponse", stamped(command));
    compare<EventLog, floor_idl::EventLog>("EventLog", stamped(event));
    compare<MaintenanceEvent, floor_idl::MaintenanceEvent>("MaintenanceEvent",
                                                           stamped(maintenance));
#ifdef HC_IDL_FLOOR
    compare<GSSIP, generated::GSSIP>("GSSIP, generated", stamped(gssip));
    compare<CommandResponse, generated::CommandResponse>("CommandResponse, generated",
                                                         stamped(command));
    compare<EventLog, generated::EventLog>("EventLog, generated", stamped(event));
    compare<MaintenanceEvent, generated::MaintenanceEvent>("MaintenanceEvent, generated",
                                                           stamped(maintenance));
#else
    std::puts("no IDL compiler: nothing generated to compare with");
#endif
    decodeGssip(stamped(gssip));

    const bool checked = argc > 1 && std::strcmp(argv[1], "--check") == 0;
    return checked && !allWithinLimits ? 1 : 0;
}
