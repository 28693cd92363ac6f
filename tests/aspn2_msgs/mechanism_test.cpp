/** What a message's class and its type support owe to the list of fields. */
#include <cstring>
#include <utility>

#include "aspn2_msgs/EventLogPubSubTypes.h"
#include "aspn2_msgs/Everything.h"
#include "aspn2_msgs/GSSIP.h"

namespace test_idl {

ASPN2_DEFINE_STRUCTURE(flags)
ASPN2_DEFINE_STRUCTURE(reading)
ASPN2_DEFINE_STRUCTURE(remark)
ASPN2_DEFINE_STRUCTURE(choice)
ASPN2_DEFINE_STRUCTURE(Everything)

}  // namespace test_idl

namespace {

using aspn2_msgs::idl::EventLog;
using aspn2_msgs::idl::EventLogPubSubType;
using aspn2_msgs::idl::GSSIP;
using eprosima::fastcdr::Cdr;
using eprosima::fastcdr::exception::BadParamException;
using eprosima::fastcdr::exception::NotEnoughMemoryException;
using test_idl::Everything;

/** A Cdr on memory of fixed size, which reads and writes from its begin. */
class Stream {
public:
    explicit Stream(Bytes& memory, Cdr::Endianness order = Cdr::LITTLE_ENDIANNESS)
        : m_buffer(reinterpret_cast<char*>(memory.data()), memory.size()),
          cdr(m_buffer, order, Cdr::DDS_CDR) {}

private:
    eprosima::fastcdr::FastBuffer m_buffer;

public:
    Cdr cdr;
};

template <class T>
T filled(std::size_t elements) {
    T value;
    bench::Filler filler(elements);
    bench::visitFields(value, filler);
    return value;
}
template <>
test_idl::choice filled(std::size_t elements) {
    test_idl::choice value;
    value.level(static_cast<std::int16_t>(elements - 0x100));
    value.kind(test_idl::kind_all);
    return value;
}

template <class T>
Bytes payloadOf(T value) {
    aspn2_msgs::PubSubType<T> support;
    return write(support, &value, support.getSerializedSizeProvider(&value)());
}

/** The payload of a filled `T` with the bytes from `at` on, behind the encapsulation, replaced. */
template <class T, class Value>
Bytes spoiled(std::size_t at, Value value) {
    Bytes bytes = payloadOf(filled<T>(2));
    std::memcpy(bytes.data() + encapsulation + at, &value, sizeof value);
    return bytes;
}

/** Whether the payload is taken, of which a Cdr behind its encapsulation makes the same. */
template <class T>
bool taken(const Bytes& bytes) {
    aspn2_msgs::PubSubType<T> support;
    T value;
    const bool sound = read(support, &value, bytes);
    if (bytes.size() > encapsulation && bytes[0] == 0 && bytes[1] < 4) {
        Bytes body(bytes.begin() + encapsulation, bytes.end());
        Stream stream(body, bytes[1] % 2 != 0 ? Cdr::LITTLE_ENDIANNESS : Cdr::BIG_ENDIANNESS);
        T same;
        const auto readStream = [&] { same.deserialize(stream.cdr); };
        if (sound) {
            EXPECT_NO_THROW(readStream());
            EXPECT_EQ(same, value);
        } else {
            EXPECT_ANY_THROW(readStream());
        }
    }
    return sound;
}

/** `value` behind `ahead` bytes and ahead of a marker: both ends find what lies behind it. */
template <class T>
void expectBothWays(const T& value, std::size_t ahead, Cdr::Endianness order) {
    const std::int64_t marker = 0x7172737475767778;
    Bytes bytes(512, 0xAA);
    Stream stream(bytes, order);
    stream.cdr.jump(ahead);
    value.serialize(stream.cdr);
    EXPECT_EQ(stream.cdr.getSerializedDataLength(), ahead + T::getCdrSerializedSize(value, ahead));
    stream.cdr << marker;
    stream.cdr.reset();
    stream.cdr.jump(ahead);
    T again;
    std::int64_t readMarker = 0;
    again.deserialize(stream.cdr);
    stream.cdr >> readMarker;
    EXPECT_EQ(again, value);
    EXPECT_EQ(readMarker, marker);
}

template <class T>
class AnyPosition : public testing::Test {};
using Structures = testing::Types<test_idl::choice, test_idl::reading, EventLog, Everything>;
TYPED_TEST_SUITE(AnyPosition, Structures);

// With empty texts, and with empty sequences, behind which no padding for elements may lie.
TYPED_TEST(AnyPosition, GoesThereAndBack) {
    for (std::size_t ahead = 0; ahead < 17; ++ahead) {
        SCOPED_TRACE(ahead);
        for (const TypeParam& value : {TypeParam(), filled<TypeParam>(0), filled<TypeParam>(2)}) {
            expectBothWays(value, ahead, Cdr::LITTLE_ENDIANNESS);
            expectBothWays(value, ahead, Cdr::BIG_ENDIANNESS);
        }
    }
    using aspn2_msgs::idl::header;
    EXPECT_EQ(header::getMaxCdrSerializedSize(0), 44U);
    EXPECT_EQ(header::getMaxCdrSerializedSize(4), 48U);
    EXPECT_EQ(header::getKeyMaxCdrSerializedSize(12), 12U);
    EXPECT_FALSE(aspn2_msgs::PubSubType<test_idl::choice>().is_plain());
}

TEST(Message, MovesItsTextsAndComparesAllFields) {
    EventLog event = filled<EventLog>(2);
    std::string text(100, 'x');
    const char* const characters = text.data();
    event.eventlog(std::move(text));
    EventLog copy = event;
    const EventLog moved = std::move(event);
    EXPECT_EQ(moved.eventlog().data(), characters);
    EXPECT_EQ(copy, moved);
    copy.header().timestamp_valid().nsec() += 1;
    EXPECT_NE(copy, moved);
}

// --- Bytes that no honest writer sends ---

// The first byte is 0; the second tells the byte order, and CDR or a parameter list.
TEST(Refusal, UnknownEncapsulation) {
    const Bytes little = payloadOf(filled<EventLog>(2));
    for (unsigned first = 0; first < 256; ++first) {
        for (unsigned second = 0; second < 256; ++second) {
            Bytes bytes = little;
            bytes[0] = static_cast<std::uint8_t>(first);
            bytes[1] = static_cast<std::uint8_t>(second);
            // In the other order the text's length is beyond all bounds.
            EXPECT_EQ(taken<EventLog>(bytes), first == 0 && (second == 1 || second == 3))
                << first << " " << second;
        }
    }
    for (std::size_t size = 0; size <= encapsulation; ++size) {
        EXPECT_FALSE(taken<EventLog>(
            Bytes(little.begin(), little.begin() + static_cast<std::ptrdiff_t>(size))));
    }
}

// The two ways in, through a Cdr and from a payload, agree on whatever comes.
TEST(Refusal, SameFromAStreamAndFromAPayload) {
    const Bytes whole = payloadOf(filled<Everything>(2));
    for (std::size_t size = encapsulation + 1; size < whole.size(); ++size) {
        EXPECT_FALSE(taken<Everything>(
            Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size))))
            << size;
    }
    int sound = 0;
    for (std::size_t bit = 8; bit < whole.size() * 8; ++bit) {
        Bytes bytes = whole;
        bytes[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
        sound += taken<Everything>(bytes) ? 1 : 0;
    }
    EXPECT_GT(sound, 1000);
}

TEST(Refusal, BoolOtherThanZeroAndOne_ButAnEnumerationIsKept) {
    EXPECT_TRUE(taken<Everything>(spoiled<Everything>(44, std::uint8_t{0})));
    for (const std::size_t at : {44U, 68U, 137U, 148U}) {  // a field, nested, in array and sequence
        const Bytes bytes = spoiled<Everything>(at, std::uint8_t{2});
        EXPECT_FALSE(taken<Everything>(bytes)) << at;
        Bytes body(bytes.begin() + encapsulation, bytes.end());
        Stream stream(body);
        EXPECT_THROW(Everything().deserialize(stream.cdr), BadParamException);
    }
    Everything value;
    test_idl::EverythingPubSubType support;
    EXPECT_TRUE(read(support, &value, spoiled<Everything>(56, 0xFFFFFFFEU)));
    EXPECT_EQ(static_cast<std::uint32_t>(value.kind()), 0xFFFFFFFEU);
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
    const Bytes gssip = payloadOf(filled<GSSIP>(3));
    const Bytes everything = payloadOf(filled<Everything>(2));
    for (const Case& each : std::vector<Case>{
             {"half a count", gssip, 50, 48},
             {"data short by one", gssip, 54, 48},
             {"count too large", spoiled<GSSIP>(48, 3), 54, 48},
             {"structures, count too large", spoiled<Everything>(140, 0x10000), 304, 139},
             {"large elements cut", everything, 210, 192},
             {"large elements, no room for padding", everything, 197, 192},
             {"inner string cut", everything, 250, 228},
         }) {
        SCOPED_TRACE(each.what);
        const std::uint8_t* const body = each.payload.data() + encapsulation;
        Bytes left(body, body + each.size);
        Stream stream(left);
        if (each.begin == 48) {
            EXPECT_THROW(GSSIP().deserialize(stream.cdr), NotEnoughMemoryException);
        } else {
            EXPECT_THROW(Everything().deserialize(stream.cdr), NotEnoughMemoryException);
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
    EventLogPubSubType support;
    for (const Case& each : std::vector<Case>{
             {"length 0", {0, 0, 0, 0}, ""},
             {"only a NUL", {1, 0, 0, 0, 0}, ""},
             {"no NUL", {2, 0, 0, 0, 'a', 'b'}, "ab"},
             {"NUL inside", {4, 0, 0, 0, 'a', 0, 'b', 0}, std::string("a\0b", 3)},
             {"two NULs", {3, 0, 0, 0, 'a', 0, 0}, std::string("a\0", 2)},
         }) {
        Bytes bytes = payloadOf(EventLog());
        bytes.resize(encapsulation + 48);
        bytes.insert(bytes.end(), each.tail.begin(), each.tail.end());
        EventLog event = filled<EventLog>(2);
        EXPECT_TRUE(read(support, &event, bytes)) << each.what;
        EXPECT_EQ(event.eventlog(), each.expected) << each.what;
        EXPECT_TRUE(taken<EventLog>(payloadOf(event))) << each.what;
    }
}

}  // namespace
