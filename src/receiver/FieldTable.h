/** A message described once: a table of its fields, from which unpack and pack follow. The table is
 *  a type, so it costs nothing at run time, and a field outside the message or two fields with a
 *  bit in common don't compile.
 *
 *  A source file names its unpacked record `Record` and lists the fields with the macros below:
 *
 *      constexpr auto kFields = wire::table<packed_t>(WIRE_FIELD(0x00, PdpDouble, timeOfValidity),
 *                                                     WIRE_BITS(0x42, 0, 4, northReference));
 *      kFields.unpack(packed, record);
 */
#pragma once

#include <array>
#include <cstddef>

#include "receiver/WireFormats.h"

namespace wire {

/** The place of one value: byte `kOffset` of the data, and a format. */
template <std::size_t kOffset, typename Format>
struct Slot {
    static constexpr std::size_t kBegin = 8 * kOffset + Format::kFirstBit;
    static constexpr std::size_t kEnd = kBegin + Format::kBits;

    static typename Format::Value read(unsigned char const* data) {
        return Format::read(data + kOffset);
    }
    static void write(unsigned char* data, const typename Format::Value& value) {
        Format::write(data + kOffset, value);
    }
};

/** Every slot lies within a message of `kDataBytes`, and no two claim the same bit. */
template <std::size_t kDataBytes, typename... Slots>
consteval bool areSound() {
    constexpr std::array kBegins{Slots::kBegin...};
    constexpr std::array kEnds{Slots::kEnd...};
    for (std::size_t i = 0; i < kBegins.size(); ++i) {
        if (kEnds[i] > 8 * kDataBytes) {
            return false;
        }
        for (std::size_t k = 0; k < i; ++k) {
            if (kBegins[i] < kEnds[k] && kBegins[k] < kEnds[i]) {
                return false;
            }
        }
    }
    return true;
}

/** A slot and the member of the record that holds its value. Members of a packed record, bit fields
 *  among them, can't be bound to references, so two functions without state stand for one. */
template <typename Slot, typename Get, typename Set>
struct Field : Slot {
    template <typename Record>
    static void unpack(unsigned char const* data, Record& record) {
        Set{}(record, Slot::read(data));
    }
    template <typename Record>
    static void pack(const Record& record, unsigned char* data) {
        Slot::write(data, Get{}(record));
    }
};

template <typename Slot, typename Get, typename Set>
constexpr Field<Slot, Get, Set> field(Get, Set) {
    return {};
}

template <typename Packed, typename... Fields>
struct FieldTable {
    static_assert(areSound<sizeof(Packed), Fields...>());

    template <typename Record>
    void unpack(const Packed& packed, Record& record) const {
        (Fields::unpack(packed.bytes(), record), ...);
    }
    /** Bits that no field claims stay as they are. */
    template <typename Record>
    void pack(const Record& record, Packed& packed) const {
        (Fields::pack(record, packed.bytes()), ...);
    }
};

template <typename Packed, typename... Fields>
constexpr FieldTable<Packed, Fields...> table(Fields...) {
    return {};
}

}  // namespace wire

/** One value at byte `offset`, in the format named. */
#define WIRE_FIELD(offset, format, member)                  \
    wire::field<wire::Slot<(offset), wire::format>>(        \
        [](const Record& record) { return record.member; }, \
        [](Record& record, const auto& value) { record.member = value; })

/** `count` bits of byte `offset`, from bit `first` on. */
#define WIRE_BITS(offset, first, count, member)                      \
    wire::field<wire::Slot<(offset), wire::Bits<(first), (count)>>>( \
        [](const Record& record) { return record.member; },          \
        [](Record& record, unsigned value) { record.member = value & ((1U << (count)) - 1); })

/** Bytes that go into the record as they stand. */
#define WIRE_BYTES(offset, member) WIRE_FIELD(offset, Plain<decltype(Record::member)>, member)
