/** Every message type against samples that an encoder of another make has laid on the wire. */
#include <gtest/gtest.h>

#include <charconv>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <utility>

#include "aspn2_msgs/Everything.h"
#include "aspn2_msgs/bit_comp_setPubSubTypes.h"
#include "aspn2_msgs/channel_status_obsPubSubTypes.h"
#include "aspn2_msgs/gnss_obsPubSubTypes.h"
#include "aspn2_msgs/gpslos_obsPubSubTypes.h"
#include "aspn2_msgs/interference_type_setPubSubTypes.h"
#include "aspn2_msgs/key_type_setPubSubTypes.h"
#include "aspn2_msgs/lru_comp_setPubSubTypes.h"
#include "aspn2_msgs/meas_type_setPubSubTypes.h"
#include "aspn2_msgs/sv_setPubSubTypes.h"
#include "support/Allocations.h"
#include "tss/HC_Topic_Helpers.h"

namespace {

using namespace aspn2_msgs::idl;
using FACE::TSS::Topics::GetPubSubType;

constexpr std::uint8_t bigEndian = 0;
constexpr std::uint8_t littleEndian = 1;

/** A payload of hexadecimal digits. */
Bytes payloadOf(std::uint8_t order, std::string_view digits) {
    Bytes bytes{0, order, 0, 0};
    for (; digits.size() >= 2; digits.remove_prefix(2)) {
        std::from_chars(digits.data(), digits.data() + 2, bytes.emplace_back(), 16);
    }
    return bytes;
}

/** A type, and its line of golden.txt. */
struct Row {
    bench::MessageType type{};
    std::unique_ptr<eprosima::fastdds::dds::TopicDataType> support;
    std::string sort{}, plain{}, names{};
    std::uint32_t maxSize = 0;
    std::ptrdiff_t sequence = 0;  ///< where its count lies behind the encapsulation, or -1
    Bytes little{}, big{};
};

template <class... Supports>
void addNested(std::map<std::string, Row>& rows) {
    const auto add = [&rows](const bench::MessageType& type, auto support) {
        rows[std::string(type.name)] = {.type = type, .support = std::move(support)};
    };
    (add(bench::messageType<typename Supports::type>(), std::make_unique<Supports>()), ...);
}

std::map<std::string, Row> readRows() {
    std::map<std::string, Row> rows;
    for (const bench::MessageType& type : bench::catalogue()) {
        rows[std::string(type.name)] = {
            .type = type, .support = GetPubSubType(std::string(type.name) + "PubSubType")};
    }
    addNested<bit_comp_setPubSubType, channel_status_obsPubSubType, gnss_obsPubSubType,
              gpslos_obsPubSubType, interference_type_setPubSubType, key_type_setPubSubType,
              lru_comp_setPubSubType, meas_type_setPubSubType, sv_setPubSubType,
              test_idl::readingPubSubType, test_idl::EverythingPubSubType>(rows);
    std::ifstream file(GOLDEN);
    for (std::string line; std::getline(file, line);) {
        std::istringstream fields(line);
        std::string name, size, sequence, little, big;
        std::getline(fields, name, '\t');
        Row& row = rows[name];
        for (std::string* text :
             {&row.sort, &size, &row.plain, &sequence, &row.names, &little, &big}) {
            std::getline(fields, *text, '\t');
        }
        row.maxSize = static_cast<std::uint32_t>(std::stoul(size));
        row.sequence = std::stol(sequence);
        row.little = payloadOf(littleEndian, little);
        row.big = payloadOf(bigEndian, big);
    }
    return rows;
}

/** Calls `test` with each type: 32 messages, 9 nested, 2 of the tests' own. */
template <class Test>
void forEachType(Test test) {
    static const std::map<std::string, Row> rows = readRows();
    ASSERT_EQ(rows.size(), 43U);
    for (const auto& [name, row] : rows) {
        SCOPED_TRACE(name);
        ASSERT_NE(row.support, nullptr);
        ASSERT_GT(row.maxSize, 0U);
        test(row);
    }
}

/** A message of the type, gone at the end of its scope. */
class Message {
public:
    explicit Message(const Row& row) : m_row(row), m_data(row.support->createData()) {}
    ~Message() { m_row.support->deleteData(m_data); }
    Message(const Message&) = delete;
    Message& operator=(const Message&) = delete;

    void visit(bench::FieldVisitor& visitor) { m_row.type.visit(m_data, visitor); }
    void fill(std::size_t elements = 2) {
        bench::Filler filler(elements);
        visit(filler);
    }
    std::uint32_t size() { return m_row.support->getSerializedSizeProvider(m_data)(); }
    Bytes write(std::uint32_t room) { return ::write(*m_row.support, m_data, room); }
    Bytes write() { return write(size()); }
    bool read(const Bytes& bytes) { return ::read(*m_row.support, m_data, bytes); }

private:
    const Row& m_row;
    void* const m_data;
};

class Names : public bench::FieldVisitor {
public:
    void begin(std::string_view name, bool /*isList*/) override { add(name); }
    void value(std::string_view name, bench::FieldValue& /*value*/) override { add(name); }
    std::string text;

private:
    void add(std::string_view name) {
        text.append(text.empty() || name.empty() ? "" : " ").append(name);
    }
};

/** No allocation may be out of proportion to `bytes`, and what is taken of them must go out and
 *  come in again as the same bytes. Returns whether they were taken. */
bool attack(const Row& row, const Bytes& bytes) {
    Message message(row);
    const Allocations allocations;
    const bool taken = message.read(bytes);
    EXPECT_LE(allocations.largest(), bytes.size() * 8 + 64);
    if (taken) {
        Message second(row);
        const Bytes again = message.write();
        EXPECT_TRUE(second.read(again));
        EXPECT_EQ(second.write(), again);
    }
    return taken;
}

// Plain types come to life, zeroed, in memory that held something else; the others leave it alone.
TEST(Catalogue, TypeSupportFollowsFromTheFields) {
    forEachType([](const Row& row) {
        auto& support = *row.support;
        const std::string name(row.type.name);
        const bool isPlain = row.plain == "plain";
        EXPECT_EQ(GetPubSubType(name + "PubSubType") != nullptr, row.sort == "message");
        EXPECT_EQ(support.getName(), "aspn2_msgs::idl::" + name);
        EXPECT_EQ(support.m_typeSize, encapsulation + row.maxSize);
        EXPECT_EQ(support.is_plain(), isPlain);
        EXPECT_EQ(support.is_bounded(), isPlain);
        alignas(std::max_align_t) std::array<std::uint8_t, 4096> memory{};
        memory.fill(0xAA);
        const auto untouched = memory;
        EXPECT_EQ(support.construct_sample(memory.data()), isPlain);
        EXPECT_EQ(memory == untouched, !isPlain);
        if (isPlain) {
            Bytes zeros(support.m_typeSize);
            zeros[1] = littleEndian;
            EXPECT_EQ(write(support, memory.data(), support.m_typeSize), zeros);
        }
        eprosima::fastrtps::rtps::InstanceHandle_t handle;
        EXPECT_FALSE(support.m_isGetKeyDefined || support.getKey(memory.data(), &handle, true));
        EXPECT_FALSE(handle.isDefined());
    });
    for (const char* unknown : {"", "GSSIP", "gssippubsubtype", "GSSIPPubSubType ",
                                "aspn2_msgs::idl::GSSIPPubSubType", "lru_comp_setPubSubType"}) {
        EXPECT_EQ(GetPubSubType(unknown), nullptr) << unknown;
    }
}

TEST(Catalogue, LiesOnTheWireInBothOrders) {
    forEachType([](const Row& row) {
        Message message(row);
        Names names;
        message.fill();
        message.visit(names);
        EXPECT_EQ(names.text, row.names);
        EXPECT_EQ(message.size(), row.little.size());
        EXPECT_EQ(message.write(), row.little);
        for (const Bytes& bytes : {row.little, row.big}) {
            Message read(row);
            EXPECT_NE(read.write(), row.little);
            EXPECT_TRUE(read.read(bytes));
            EXPECT_EQ(read.write(), row.little);
        }
    });
}

TEST(Catalogue, WhatIsCutOrHasNoRoomIsRefusedAtEachLength) {
    forEachType([](const Row& row) {
        Message message(row);
        message.fill();
        for (const Bytes& whole : {row.little, row.big}) {
            for (std::size_t size = 0; size < whole.size(); ++size) {
                Bytes cut = whole;
                cut.resize(size);
                EXPECT_FALSE(attack(row, cut)) << size;
                EXPECT_TRUE(message.write(static_cast<std::uint32_t>(size)).empty()) << size;
            }
        }
    });
}

TEST(Catalogue, SequenceMayBeEmptyOrLongButNotLongerThanItsBytes) {
    std::size_t sequences = 0;
    forEachType([&](const Row& row) {
        if (row.sequence < 0) {
            return;
        }
        ++sequences;
        Message message(row);
        Message read(row);
        for (const std::size_t elements : {0U, 1U, 101U, 1000U}) {
            message.fill(elements);
            EXPECT_TRUE(read.read(message.write())) << elements;
            EXPECT_EQ(read.write(), message.write()) << elements;
        }
        for (const std::uint32_t absurd : {3U, 0x10000U, 0x20000001U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
            Bytes bytes = row.little;
            std::memcpy(bytes.data() + encapsulation + row.sequence, &absurd, sizeof absurd);
            EXPECT_FALSE(attack(row, bytes)) << absurd;
        }
    });
    EXPECT_EQ(sequences, 11U);
}

TEST(Catalogue, EachBitFlipAndAbsurdNumberIsSurvived) {
    forEachType([](const Row& row) {
        for (Bytes bytes : {row.little, row.big}) {
            for (std::size_t bit = 0; bit < bytes.size() * 8; ++bit) {
                const auto mask = static_cast<std::uint8_t>(1U << (bit % 8));
                bytes[bit / 8] ^= mask;
                attack(row, bytes);
                bytes[bit / 8] ^= mask;
            }
        }
        for (const std::uint32_t absurd :
             {0xFFFFFFFFU, 0xFFFFFFFEU, 0x80000000U, 0x7FFFFFFFU, 0x20000001U, 0x10000U, 0U,
              static_cast<std::uint32_t>(row.little.size())}) {
            for (std::size_t at = encapsulation; at + sizeof absurd <= row.little.size(); ++at) {
                Bytes bytes = row.little;
                std::memcpy(bytes.data() + at, &absurd, sizeof absurd);
                attack(row, bytes);
            }
        }
    });
}

}  // namespace
