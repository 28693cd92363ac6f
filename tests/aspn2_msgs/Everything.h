/** A message with every kind of field that a list may name, in an order that needs padding at each
 *  turn: what the mechanism does for it, it does for any message. And the ways to and from bytes.
 */
#pragma once

#include <gtest/gtest.h>

#include <algorithm>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "aspn2_msgs/Message.h"
#include "aspn2_msgs/PubSubType.h"
#include "aspn2_msgs/header.h"
#include "bench/siblings/Catalogue.h"

#define ASPN2_FIELDS_flags(FIELD) \
    FIELD(id, std::int32_t)       \
    FIELD(up, bool)               \
    FIELD(warned, bool)

// Its first field is smaller than its largest, so its layout depends on where it begins.
#define ASPN2_FIELDS_reading(FIELD) \
    FIELD(channel, std::uint8_t)    \
    FIELD(value, double)

#define ASPN2_FIELDS_remark(FIELD) \
    FIELD(time, std::int64_t)      \
    FIELD(level, std::uint8_t)     \
    FIELD(text, std::string)

// Of fixed size, and yet not plain.
#define ASPN2_FIELDS_choice(FIELD) \
    FIELD(level, std::int16_t)     \
    FIELD(kind, kind_enum)

#define ASPN2_FIELDS_Everything(FIELD)                  \
    FIELD(header, test_idl::aspn2_header)               \
    FIELD(enabled, bool)                                \
    FIELD(code, std::uint8_t)                           \
    FIELD(count, std::int64_t)                          \
    FIELD(kind, kind_enum)                              \
    FIELD(ratio, float)                                 \
    FIELD(nested, flags)                                \
    FIELD(matrix, std::array<std::array<double, 2>, 2>) \
    FIELD(both, std::array<reading, 2>)                 \
    FIELD(switches, std::array<bool, 3>)                \
    FIELD(many, std::vector<flags>)                     \
    FIELD(readings, std::vector<reading>)               \
    FIELD(values, std::vector<double>)                  \
    FIELD(kinds, std::vector<kind_enum>)                \
    FIELD(remarks, std::vector<remark>)                 \
    FIELD(label, std::string)                           \
    FIELD(last, std::int64_t)

namespace test_idl {

using aspn2_header = aspn2_msgs::idl::header;

enum kind_enum : std::uint32_t { kind_none, kind_some, kind_all };

ASPN2_DECLARE_STRUCTURE(flags)
ASPN2_DECLARE_STRUCTURE(reading)
ASPN2_DECLARE_STRUCTURE(remark)
ASPN2_DECLARE_STRUCTURE(choice)
ASPN2_DECLARE_STRUCTURE(Everything)

ASPN2_DECLARE_PUBSUBTYPE(Everything)
ASPN2_DECLARE_PUBSUBTYPE(reading)

}  // namespace test_idl

using Bytes = std::vector<std::uint8_t>;
using Support = aspn2_msgs::AnyPubSubType;
using Payload = Support::Payload;

inline constexpr std::size_t encapsulation = Support::encapsulationSize;

/** `message` as a payload of `room` bytes carries it; nothing when it has no room. */
inline Bytes write(eprosima::fastdds::dds::TopicDataType& support, void* message,
                   std::uint32_t room) {
    Payload payload(room);
    std::fill_n(payload.data, room, std::uint8_t{0xAA});
    const bool fits = support.serialize(message, &payload);
    EXPECT_TRUE(!fits || payload.encapsulation == CDR_LE);
    return fits ? Bytes(payload.data, payload.data + payload.length) : Bytes();
}

/** Reads `bytes`, in memory that ends where they end. */
inline bool read(eprosima::fastdds::dds::TopicDataType& support, void* message,
                 const Bytes& bytes) {
    Payload payload(static_cast<std::uint32_t>(bytes.size()));
    std::copy(bytes.begin(), bytes.end(), payload.data);
    payload.length = payload.max_size;
    const bool sound = support.deserialize(&payload, message);
    EXPECT_TRUE(!sound || payload.encapsulation == bytes[1] % 2);
    return sound;
}
