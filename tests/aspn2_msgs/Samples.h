/** One small value of each type, no two fields alike, and the ways to and from its bytes. */
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "aspn2_msgs/CommandResponsePubSubTypes.h"
#include "aspn2_msgs/EventLogPubSubTypes.h"
#include "aspn2_msgs/Everything.h"
#include "aspn2_msgs/GSSIPPubSubTypes.h"
#include "aspn2_msgs/MaintenanceEventPubSubTypes.h"
#include "aspn2_msgs/lru_comp_setPubSubTypes.h"

namespace samples {

using eprosima::fastcdr::Cdr;
using eprosima::fastcdr::FastBuffer;
using Payload = eprosima::fastrtps::rtps::SerializedPayload_t;
using Bytes = std::vector<std::uint8_t>;

inline constexpr Cdr::Endianness orders[] = {Cdr::LITTLE_ENDIANNESS, Cdr::BIG_ENDIANNESS};

/** A Cdr on memory of fixed size, which reads and writes from its begin. */
class Stream {
public:
    Stream(Bytes& memory, Cdr::Endianness order)
        : m_buffer(reinterpret_cast<char*>(memory.data()), memory.size()),
          cdr(m_buffer, order, Cdr::DDS_CDR) {}

private:
    FastBuffer m_buffer;

public:
    Cdr cdr;
};

template <class T>
T sample();

inline aspn2_msgs::idl::header sampleHeader() {
    aspn2_msgs::idl::header header;
    header.seq_num(0x0102030405060708);
    header.timestamp_arrival().sec(0x1112131415161718);
    header.timestamp_arrival().nsec(0x21222324);
    header.timestamp_arrival().time_code(100);
    header.timestamp_valid().sec(-2);
    header.timestamp_valid().nsec(-8);
    header.timestamp_valid().time_code(101);
    header.device_id(0x31323334);
    return header;
}

template <>
inline aspn2_msgs::idl::lru_comp_set sample() {
    aspn2_msgs::idl::lru_comp_set value;
    value.lru_id(0x41424344);
    value.component_id(-5);
    return value;
}

template <>
inline aspn2_msgs::idl::GSSIP sample() {
    aspn2_msgs::idl::GSSIP value;
    value.header(sampleHeader());
    value.num_bytes(3);
    value.data({0xA1, 0xA2, 0xA3});
    return value;
}

template <>
inline aspn2_msgs::idl::CommandResponse sample() {
    aspn2_msgs::idl::CommandResponse value;
    value.header(sampleHeader());
    value.commanded_device_id(0x51525354);
    value.command_identifier(0x61626364);
    value.command_response_type(aspn2_msgs::idl::COMMAND_RESPONSE_TYPE_RESPONSE);
    value.command_response("A_ACK");
    return value;
}

template <>
inline aspn2_msgs::idl::EventLog sample() {
    aspn2_msgs::idl::EventLog value;
    value.header(sampleHeader());
    value.event_log_type(aspn2_msgs::idl::EVENT_LOG_TYPE_ERROR);
    value.eventlog("Up");
    return value;
}

template <>
inline aspn2_msgs::idl::MaintenanceEvent sample() {
    aspn2_msgs::idl::MaintenanceEvent value;
    value.header(sampleHeader());
    for (int i = 0; i < 4; ++i) {
        value.fault_sources().at(static_cast<std::size_t>(i)).lru_id(i + 1);
        value.fault_sources().at(static_cast<std::size_t>(i)).component_id(0x10 * (i + 1));
    }
    value.criticality_id(0x71);
    value.category_id(0x72);
    value.location_id(0x73);
    value.outcome_id(0x74);
    value.repeat_in_seconds(0x75);
    value.identity({'P', 'C', 'S'});
    value.description({'B', 'a', 'd'});
    return value;
}

template <>
inline test_idl::reading sample() {
    test_idl::reading value;
    value.channel(9);
    value.value(0.5);
    return value;
}

template <>
inline test_idl::Everything sample() {
    test_idl::Everything value;
    test_idl::flags flags;
    flags.id(0x0B0C0D0E);
    flags.up(true);
    test_idl::remark remark;
    remark.time(0x0A);
    remark.level(-2);
    remark.text("hi");
    value.header(sampleHeader());
    value.enabled(true);
    value.code(0x7F);
    value.count(-3);
    value.kind(test_idl::kind_all);
    value.ratio(1.5F);
    value.nested(flags);
    value.matrix({{{1, 2}, {-1, 0.5}}});
    value.both().at(1) = sample<test_idl::reading>();
    value.switches({true, false, true});
    value.many({test_idl::flags(), flags});
    value.readings({sample<test_idl::reading>()});
    value.values({2});
    value.kinds({test_idl::kind_some, test_idl::kind_all});
    value.remarks({remark});
    value.label("x");
    value.last(0x0708090A0B0C0D0E);
    return value;
}

/** `value` as a payload carries it, in either byte order. */
template <class T>
Bytes payloadBytes(const T& value, Cdr::Endianness order = Cdr::DEFAULT_ENDIAN) {
    Bytes bytes(4 + T::getCdrSerializedSize(value, 0));
    Stream stream(bytes, order);
    stream.cdr.serialize_encapsulation();
    value.serialize(stream.cdr);
    return bytes;
}

/** Reads `bytes`, in memory that ends where they end, through the type support. */
template <class T>
bool decode(aspn2_msgs::PubSubType<T>& support, const Bytes& bytes, T& value) {
    Payload payload(static_cast<std::uint32_t>(bytes.size()));
    std::copy(bytes.begin(), bytes.end(), payload.data);
    payload.length = payload.max_size;
    return support.deserialize(&payload, &value);
}

}  // namespace samples
