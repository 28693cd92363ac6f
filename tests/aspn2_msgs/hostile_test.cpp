/** Bytes that no honest writer sends: a refusal, no crash, no memory taken on their word. */
#include <gtest/gtest.h>

#include "aspn2_msgs/Allocations.h"
#include "aspn2_msgs/Samples.h"

namespace {

using namespace samples;
using eprosima::fastcdr::exception::BadParamException;
using eprosima::fastcdr::exception::NotEnoughMemoryException;
using testing_heap::Allocations;

/** Decodes `bytes`. No allocation may be out of proportion to them, and what is taken must go out
 *  and come in again as the same bytes. Returns whether they were taken. */
template <class T>
bool attack(const Bytes& bytes) {
    aspn2_msgs::PubSubType<T> support;
    T value;
    const Allocations allocations;
    const bool taken = decode(support, bytes, value);
    EXPECT_LE(allocations.largest(), bytes.size() * 8 + 64);
    if (taken) {
        const Bytes again = payloadBytes(value);
        T second;
        EXPECT_TRUE(decode(support, again, second));
        EXPECT_EQ(payloadBytes(second), again);
    }
    return taken;
}

template <class T>
class Hostile : public testing::Test {};
using Messages =
    testing::Types<aspn2_msgs::idl::lru_comp_set, aspn2_msgs::idl::GSSIP,
                   aspn2_msgs::idl::CommandResponse, aspn2_msgs::idl::EventLog,
                   aspn2_msgs::idl::MaintenanceEvent, test_idl::reading, test_idl::Everything>;
TYPED_TEST_SUITE(Hostile, Messages);

TYPED_TEST(Hostile, EachTruncationIsRefused) {
    for (const Cdr::Endianness order : orders) {
        const Bytes whole = payloadBytes(sample<TypeParam>(), order);
        EXPECT_TRUE(attack<TypeParam>(whole));
        for (std::size_t size = 0; size < whole.size(); ++size) {
            EXPECT_FALSE(attack<TypeParam>(
                Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size))))
                << size;
        }
    }
}

TYPED_TEST(Hostile, EachBitFlipIsSurvived) {
    for (const Cdr::Endianness order : orders) {
        Bytes bytes = payloadBytes(sample<TypeParam>(), order);
        for (std::size_t bit = 0; bit < bytes.size() * 8; ++bit) {
            const auto mask = static_cast<std::uint8_t>(1U << (bit % 8));
            bytes[bit / 8] ^= mask;
            attack<TypeParam>(bytes);
            bytes[bit / 8] ^= mask;
        }
    }
}

TYPED_TEST(Hostile, AbsurdNumbersAnywhereAreSurvived) {
    const Bytes whole = payloadBytes(sample<TypeParam>());
    for (const std::uint32_t absurd :
         {0xFFFFFFFFU, 0xFFFFFFFEU, 0x80000000U, 0x7FFFFFFFU, 0x20000001U, 0x10000U, 0U,
          static_cast<std::uint32_t>(whole.size())}) {
        for (std::size_t at = 4; at + sizeof(absurd) <= whole.size(); ++at) {
            Bytes bytes = whole;
            std::memcpy(bytes.data() + at, &absurd, sizeof(absurd));
            attack<TypeParam>(bytes);
        }
    }
}

// --- Causes of refusal, one by one
// ------------------------------------------------------------------

/** The sample's payload with `size` of its bytes from `at` on (behind the encapsulation) replaced.
 */
template <class T, class Value>
Bytes spoiled(std::size_t at, Value value) {
    Bytes bytes = payloadBytes(sample<T>());
    std::memcpy(bytes.data() + 4 + at, &value, sizeof(value));
    return bytes;
}

TEST(Refusal, CountOrLengthBeyondTheEnd) {
    using namespace aspn2_msgs::idl;
    for (const std::uint32_t more : {1U, 1000U, 0xFFFFFFF0U}) {
        EXPECT_FALSE(attack<GSSIP>(spoiled<GSSIP>(48, 3 + more)));
        EXPECT_FALSE(attack<CommandResponse>(spoiled<CommandResponse>(56, 6 + more)));
        EXPECT_FALSE(attack<EventLog>(spoiled<EventLog>(48, 3 + more)));
    }
}

TEST(Refusal, BoolOtherThanZeroAndOne) {
    EXPECT_TRUE(attack<test_idl::Everything>(spoiled<test_idl::Everything>(44, std::uint8_t{0})));
    for (const std::size_t at :
         {44U, 68U, 137U, 148U}) {  // a field, nested, in arrays, in a sequence
        const Bytes bytes = spoiled<test_idl::Everything>(at, std::uint8_t{2});
        EXPECT_FALSE(attack<test_idl::Everything>(bytes)) << at;
        Bytes body(bytes.begin() + 4, bytes.end());
        Stream stream(body, Cdr::DEFAULT_ENDIAN);
        test_idl::Everything value;
        EXPECT_THROW(value.deserialize(stream.cdr), BadParamException);
    }
}

TEST(Refusal, UnknownEncapsulation) {
    Bytes bytes = payloadBytes(sample<aspn2_msgs::idl::EventLog>());
    bytes[1] = 0x09;
    EXPECT_FALSE(attack<aspn2_msgs::idl::EventLog>(bytes));
    bytes[0] = 0xFF;
    EXPECT_FALSE(attack<aspn2_msgs::idl::EventLog>(bytes));
    aspn2_msgs::idl::EventLog value;
    aspn2_msgs::idl::EventLogPubSubType support;
    Payload nothing;
    EXPECT_FALSE(support.deserialize(&nothing, &value));
}

// A sequence that runs past the end leaves the stream where it began, padding and count included;
// so does the outer one when an inner one does.
TEST(Refusal, SequencePastTheEndLeavesTheStreamAtItsBegin) {
    struct Case {
        const char* what;
        Bytes payload;
        std::size_t size;  // of the body that is left
        std::size_t begin;
    };
    using aspn2_msgs::idl::GSSIP;
    using test_idl::Everything;
    const Bytes gssip = payloadBytes(sample<GSSIP>());
    const Bytes everything = payloadBytes(sample<Everything>());
    const Case cases[] = {
        {"no count", gssip, 48, 48},
        {"half a count", gssip, 50, 48},
        {"no data", gssip, 52, 48},
        {"data short by one", gssip, 54, 48},
        {"count too large", spoiled<GSSIP>(48, 4), 55, 48},
        {"structures cut", everything, 157, 139},
        {"structures, count too large", spoiled<Everything>(140, 0x10000), 248, 139},
        {"large elements cut", everything, 191, 176},
        {"large elements, no room for padding", everything, 181, 176},
        {"inner string cut", everything, 225, 204},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.what);
        Bytes body(each.payload.begin() + 4,
                   each.payload.begin() + 4 + static_cast<std::ptrdiff_t>(each.size));
        Stream stream(body, Cdr::DEFAULT_ENDIAN);
        GSSIP frame;
        Everything all;
        if (each.begin == 48) {
            EXPECT_THROW(frame.deserialize(stream.cdr), NotEnoughMemoryException);
        } else {
            EXPECT_THROW(all.deserialize(stream.cdr), NotEnoughMemoryException);
        }
        EXPECT_EQ(stream.cdr.getSerializedDataLength(), each.begin);
    }
}

TEST(Tolerance, StringsOfOtherWriters) {
    struct Case {
        const char* what;
        Bytes tail;  // length and characters, little-endian
        std::string expected;
    };
    const Case cases[] = {
        {"length 0", {0, 0, 0, 0}, ""},
        {"only a NUL", {1, 0, 0, 0, 0}, ""},
        {"no NUL", {2, 0, 0, 0, 'a', 'b'}, "ab"},
        {"NUL inside", {4, 0, 0, 0, 'a', 0, 'b', 0}, std::string("a\0b", 3)},
        {"two NULs", {3, 0, 0, 0, 'a', 0, 0}, std::string("a\0", 2)},
    };
    aspn2_msgs::idl::EventLogPubSubType support;
    for (const Case& each : cases) {
        Bytes bytes = payloadBytes(aspn2_msgs::idl::EventLog(), Cdr::LITTLE_ENDIANNESS);
        bytes.resize(4 + 48);
        bytes.insert(bytes.end(), each.tail.begin(), each.tail.end());
        aspn2_msgs::idl::EventLog event;
        event.eventlog("what was there before");
        EXPECT_TRUE(decode(support, bytes, event)) << each.what;
        EXPECT_EQ(event.eventlog(), each.expected) << each.what;
        EXPECT_TRUE(attack<aspn2_msgs::idl::EventLog>(bytes)) << each.what;
    }
}

}  // namespace
