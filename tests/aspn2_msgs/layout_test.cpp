/** The bytes of each message, byte by byte, in both byte orders and at any position. */
#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>

#include "aspn2_msgs/Samples.h"

namespace {

using namespace samples;

/** Bytes with their meaning. A number is written here as a person reads it, most significant byte
 *  first, and lies on the wire in the stream's order; padding and characters lie as they are. */
struct Piece {
    const char* meaning;
    std::string_view hex;
    bool isNumber = true;
};
using Golden = std::vector<Piece>;

Piece pad(std::string_view hex) {
    return {"padding", hex, false};
}
Piece raw(const char* meaning, std::string_view hex) {
    return {meaning, hex, false};
}

Bytes bytesOf(const Golden& golden, Cdr::Endianness order) {
    Bytes bytes;
    for (const Piece& piece : golden) {
        const std::size_t begin = bytes.size();
        for (std::size_t i = 0; i < piece.hex.size(); i += 2) {
            const std::string digits(piece.hex.substr(i, 2));
            bytes.push_back(static_cast<std::uint8_t>(std::stoi(digits, nullptr, 16)));
        }
        if (piece.isNumber && order == Cdr::LITTLE_ENDIANNESS) {
            std::reverse(bytes.begin() + static_cast<std::ptrdiff_t>(begin), bytes.end());
        }
    }
    return bytes;
}

/** `tail` behind the bytes of the samples' common header. */
Golden behindHeader(const Golden& tail) {
    Golden golden{
        {"seq_num", "0102030405060708"},
        {"timestamp_arrival.sec", "1112131415161718"},
        {"timestamp_arrival.nsec", "21222324"},
        {"timestamp_arrival.time_code", "00000064"},
        {"timestamp_valid.sec", "FFFFFFFFFFFFFFFE"},
        {"timestamp_valid.nsec", "FFFFFFF8"},
        {"timestamp_valid.time_code", "00000065"},
        {"device_id", "31323334"},
    };
    golden.insert(golden.end(), tail.begin(), tail.end());
    return golden;
}

/** Both ways, both orders, in a buffer without a byte to spare that held something else before. */
template <class T>
void expectBytes(const T& value, const Golden& golden) {
    for (const Cdr::Endianness order : orders) {
        SCOPED_TRACE(order == Cdr::BIG_ENDIANNESS ? "big-endian" : "little-endian");
        const Bytes expected = bytesOf(golden, order);
        EXPECT_EQ(T::getCdrSerializedSize(value, 0), expected.size());
        Bytes bytes(expected.size(), 0xAA);
        Stream stream(bytes, order);
        value.serialize(stream.cdr);
        EXPECT_EQ(bytes, expected);
        EXPECT_EQ(stream.cdr.getSerializedDataLength(), expected.size());

        T read;
        stream.cdr.reset();
        read.deserialize(stream.cdr);
        EXPECT_EQ(read, value);
        EXPECT_EQ(stream.cdr.getSerializedDataLength(), expected.size());
    }
}

TEST(Layout, Header) {
    expectBytes(sampleHeader(), behindHeader({}));
}

TEST(Layout, LruCompSet) {
    expectBytes(sample<aspn2_msgs::idl::lru_comp_set>(),
                {{"lru_id", "41424344"}, {"component_id", "FFFFFFFB"}});
}

TEST(Layout, Gssip) {
    expectBytes(sample<aspn2_msgs::idl::GSSIP>(), behindHeader({{"num_bytes", "00000003"},
                                                                {"count of data", "00000003"},
                                                                raw("data", "A1A2A3")}));
    aspn2_msgs::idl::GSSIP empty;
    empty.header(sampleHeader());
    expectBytes(empty, behindHeader({{"num_bytes", "00000000"}, {"count of data", "00000000"}}));
}

TEST(Layout, CommandResponse) {
    expectBytes(sample<aspn2_msgs::idl::CommandResponse>(),
                behindHeader({{"commanded_device_id", "51525354"},
                              {"command_identifier", "61626364"},
                              {"command_response_type", "00000001"},
                              {"length of command_response", "00000006"},
                              raw("command_response", "415F41434B"),
                              raw("its NUL", "00")}));
}

TEST(Layout, EventLog) {
    expectBytes(sample<aspn2_msgs::idl::EventLog>(),
                behindHeader({{"event_log_type", "00000004"},
                              {"length of eventlog", "00000003"},
                              raw("eventlog", "5570"),
                              raw("its NUL", "00")}));
    aspn2_msgs::idl::EventLog empty;
    empty.header(sampleHeader());
    expectBytes(empty, behindHeader({{"event_log_type", "00000000"},
                                     {"length of eventlog", "00000001"},
                                     raw("its NUL", "00")}));
}

TEST(Layout, MaintenanceEvent) {
    const std::string description = "426164" + std::string(std::size_t{53} * 2, '0');
    expectBytes(sample<aspn2_msgs::idl::MaintenanceEvent>(),
                behindHeader({{"fault_sources[0].lru_id", "00000001"},
                              {"fault_sources[0].component_id", "00000010"},
                              {"fault_sources[1].lru_id", "00000002"},
                              {"fault_sources[1].component_id", "00000020"},
                              {"fault_sources[2].lru_id", "00000003"},
                              {"fault_sources[2].component_id", "00000030"},
                              {"fault_sources[3].lru_id", "00000004"},
                              {"fault_sources[3].component_id", "00000040"},
                              {"criticality_id", "00000071"},
                              {"category_id", "00000072"},
                              {"location_id", "00000073"},
                              {"outcome_id", "00000074"},
                              {"repeat_in_seconds", "00000075"},
                              raw("identity", "50435300000000000000000000000000"),
                              raw("description", description)}));
}

TEST(Layout, EveryKindOfField) {
    expectBytes(sample<test_idl::Everything>(), behindHeader({
                                                    {"enabled", "01"},
                                                    {"code", "7F"},
                                                    pad("0000"),
                                                    {"count", "FFFFFFFFFFFFFFFD"},
                                                    {"kind", "00000002"},
                                                    {"ratio", "3FC00000"},
                                                    {"nested.id", "0B0C0D0E"},
                                                    {"nested.up", "01"},
                                                    {"nested.warned", "00"},
                                                    pad("0000"),
                                                    {"matrix[0][0]", "3FF0000000000000"},
                                                    {"matrix[0][1]", "4000000000000000"},
                                                    {"matrix[1][0]", "BFF0000000000000"},
                                                    {"matrix[1][1]", "3FE0000000000000"},
                                                    {"both[0].channel", "00"},
                                                    pad("00000000000000"),
                                                    {"both[0].value", "0000000000000000"},
                                                    {"both[1].channel", "09"},
                                                    pad("00000000000000"),
                                                    {"both[1].value", "3FE0000000000000"},
                                                    raw("switches", "010001"),
                                                    pad("00"),
                                                    {"count of many", "00000002"},
                                                    {"many[0].id", "00000000"},
                                                    raw("many[0].up, warned", "0000"),
                                                    pad("0000"),
                                                    {"many[1].id", "0B0C0D0E"},
                                                    raw("many[1].up, warned", "0100"),
                                                    pad("0000"),
                                                    {"count of readings", "00000001"},
                                                    {"readings[0].channel", "09"},
                                                    pad("000000"),
                                                    {"readings[0].value", "3FE0000000000000"},
                                                    {"count of values", "00000001"},
                                                    pad("00000000"),
                                                    {"values[0]", "4000000000000000"},
                                                    {"count of kinds", "00000002"},
                                                    {"kinds[0]", "00000001"},
                                                    {"kinds[1]", "00000002"},
                                                    {"count of remarks", "00000001"},
                                                    {"remarks[0].time", "000000000000000A"},
                                                    {"remarks[0].level", "FFFE"},
                                                    pad("0000"),
                                                    {"length of remarks[0].text", "00000003"},
                                                    raw("remarks[0].text, NUL", "686900"),
                                                    pad("00"),
                                                    {"length of label", "00000002"},
                                                    raw("label, NUL", "7800"),
                                                    pad("000000000000"),
                                                    {"last", "0708090A0B0C0D0E"},
                                                }));
}

// An empty sequence of large elements is followed by no padding for elements that aren't there.
TEST(Layout, EmptySequenceTakesItsCountAlone) {
    test_idl::Everything value = sample<test_idl::Everything>();
    value.values().clear();
    value.kinds({test_idl::kind_all});
    Bytes expected = bytesOf({{"count of values", "00000000"},
                              {"count of kinds", "00000001"},
                              {"kinds[0]", "00000002"},
                              {"count of remarks", "00000001"},
                              {"remarks[0].time", "000000000000000A"}},
                             Cdr::DEFAULT_ENDIAN);
    const Bytes bytes = payloadBytes(value);
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), bytes.begin() + 4 + 176));
    EXPECT_EQ(bytes.size(), 4U + 232U);
}

// --- At any position of a stream, against the Cdr's own operators
// ---------------------------------

template <class T>
void writeByField(Cdr& cdr, const T& value) {
    if constexpr (std::is_enum_v<T>) {
        cdr << static_cast<std::uint32_t>(value);
    } else if constexpr (std::is_arithmetic_v<T> || std::is_same_v<T, std::string>) {
        cdr << value;
    } else if constexpr (aspn2_msgs::cdr::Structure<T>) {
        std::apply([&](const auto&... field) { (writeByField(cdr, field), ...); },
                   value.cdrFields());
    } else {
        if constexpr (!aspn2_msgs::cdr::Rule<T>::isFixed) {
            cdr << static_cast<std::uint32_t>(value.size());
        }
        for (const auto& element : value) {
            writeByField(cdr, element);
        }
    }
}

template <class T>
class AnyPosition : public testing::Test {};
using Structures =
    testing::Types<aspn2_msgs::idl::lru_comp_set, aspn2_msgs::idl::GSSIP,
                   aspn2_msgs::idl::CommandResponse, aspn2_msgs::idl::EventLog,
                   aspn2_msgs::idl::MaintenanceEvent, test_idl::reading, test_idl::Everything>;
TYPED_TEST_SUITE(AnyPosition, Structures);

TYPED_TEST(AnyPosition, EqualsFieldByField) {
    const auto value = sample<TypeParam>();
    for (std::size_t ahead = 0; ahead < 17; ++ahead) {
        for (const Cdr::Endianness order : orders) {
            SCOPED_TRACE(ahead);
            const std::int64_t marker = 0x7172737475767778;
            Bytes expected(512);
            Bytes bytes(512);
            Stream reference(expected, order);
            Stream stream(bytes, order);
            for (std::size_t i = 0; i < ahead; ++i) {
                reference.cdr << std::uint8_t{0xEE};
                stream.cdr << std::uint8_t{0xEE};
            }
            std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(ahead), bytes.end(), 0xAA);
            writeByField(reference.cdr, value);
            value.serialize(stream.cdr);
            const std::size_t end = stream.cdr.getSerializedDataLength();
            EXPECT_EQ(end, reference.cdr.getSerializedDataLength());
            EXPECT_EQ(end, ahead + TypeParam::getCdrSerializedSize(value, ahead));
            EXPECT_TRUE(std::equal(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(end),
                                   expected.begin()));

            // What comes behind is aligned as well, for writer and reader.
            reference.cdr << marker;
            stream.cdr << marker;
            EXPECT_EQ(stream.cdr.getSerializedDataLength(),
                      reference.cdr.getSerializedDataLength());
            stream.cdr.reset();
            stream.cdr.jump(ahead);
            TypeParam read;
            std::int64_t readMarker = 0;
            read.deserialize(stream.cdr);
            stream.cdr >> readMarker;
            EXPECT_EQ(read, value);
            EXPECT_EQ(readMarker, marker);
        }
    }
}

}  // namespace
