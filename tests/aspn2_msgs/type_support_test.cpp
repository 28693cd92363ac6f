/** What Fast DDS and the queue's reader see of a message: its type support. */
#include <gtest/gtest.h>

#include <new>

#include "aspn2_msgs/Allocations.h"
#include "aspn2_msgs/Samples.h"
#include "tss/HC_Topic_Helpers.h"

namespace {

using namespace samples;
using namespace aspn2_msgs::idl;
using testing_heap::Allocations;

TEST(TypeSupport, NamesSizesAndPlainness) {
    struct Case {
        std::unique_ptr<eprosima::fastdds::dds::TopicDataType> support;
        const char* name;
        std::uint32_t size;
        bool isPlain;
    };
    Case cases[] = {
        {std::make_unique<GSSIPPubSubType>(), "GSSIP", 4 + 52 + 100, false},
        {std::make_unique<CommandResponsePubSubType>(), "CommandResponse", 4 + 60 + 256, false},
        {std::make_unique<EventLogPubSubType>(), "EventLog", 4 + 52 + 256, false},
        {std::make_unique<MaintenanceEventPubSubType>(), "MaintenanceEvent", 4 + 168, true},
        {std::make_unique<lru_comp_setPubSubType>(), "lru_comp_set", 4 + 8, true},
        {std::make_unique<test_idl::readingPubSubType>(), "reading", 4 + 16, true},
        {std::make_unique<test_idl::choicePubSubType>(), "choice", 4 + 8, false},
        // The sequences end at 942, 2544, 3352, 3756 and 30960, the label at 31220.
        {std::make_unique<test_idl::EverythingPubSubType>(), "Everything", 4 + 31232, false},
    };
    for (Case& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(each.support->getName(), std::string("aspn2_msgs::idl::") + each.name);
        EXPECT_EQ(each.support->m_typeSize, each.size);
        EXPECT_FALSE(each.support->m_isGetKeyDefined);
        EXPECT_EQ(each.support->is_plain(), each.isPlain);
        EXPECT_EQ(each.support->is_bounded(), each.isPlain);
        void* data = each.support->createData();
        eprosima::fastrtps::rtps::InstanceHandle_t handle;
        EXPECT_FALSE(each.support->getKey(data, &handle, true));
        EXPECT_FALSE(handle.isDefined());
        each.support->deleteData(data);
    }
    EXPECT_EQ(header::getMaxCdrSerializedSize(0), 44U);
    EXPECT_EQ(header::getMaxCdrSerializedSize(4), 48U);
    EXPECT_EQ(header::getKeyMaxCdrSerializedSize(12), 12U);
}

// Plain types come to life, zeroed, in memory that held something else; the others leave it alone.
TEST(TypeSupport, ConstructSample) {
    alignas(MaintenanceEvent) std::array<std::uint8_t, sizeof(MaintenanceEvent)> memory{};
    memory.fill(0xAA);
    const auto untouched = memory;
    EXPECT_FALSE(EventLogPubSubType().construct_sample(memory.data()));
    EXPECT_EQ(memory, untouched);
    ASSERT_TRUE(MaintenanceEventPubSubType().construct_sample(memory.data()));
    const auto& event = *std::launder(reinterpret_cast<MaintenanceEvent*>(memory.data()));
    Bytes zeros(4 + 168);
    zeros[1] = Cdr::DEFAULT_ENDIAN;
    EXPECT_EQ(payloadBytes(event), zeros);
}

TEST(TypeSupport, PayloadBothWays) {
    GSSIP value = sample<GSSIP>();
    GSSIPPubSubType support;
    const std::uint32_t size = support.getSerializedSizeProvider(&value)();
    EXPECT_EQ(size, 56U + 3U);
    Payload payload(size);
    std::fill_n(payload.data, size, std::uint8_t{0xAA});
    ASSERT_TRUE(support.serialize(&value, &payload));
    EXPECT_EQ(payload.length, size);
    EXPECT_EQ(payload.encapsulation, CDR_LE);
    EXPECT_EQ(Bytes(payload.data, payload.data + size), payloadBytes(value));
    payload.max_size = size - 1;
    EXPECT_FALSE(support.serialize(&value, &payload));

    Bytes bigEndian = payloadBytes(value, Cdr::BIG_ENDIANNESS);
    std::copy(bigEndian.begin(), bigEndian.end(), payload.data);
    payload.length = size;
    GSSIP read;
    ASSERT_TRUE(support.deserialize(&payload, &read));
    EXPECT_EQ(payload.encapsulation, CDR_BE);
    EXPECT_EQ(read, value);
}

TEST(TypeSupport, TooSmallABufferIsRefusedAtEachSize) {
    test_idl::Everything value = sample<test_idl::Everything>();
    test_idl::EverythingPubSubType support;
    const Bytes expected = payloadBytes(value);
    for (std::size_t size = 0; size <= expected.size(); ++size) {
        Payload payload(static_cast<std::uint32_t>(size));
        EXPECT_EQ(support.serialize(&value, &payload), size == expected.size()) << size;
    }
}

// The queue's reader steps from record to record by `num_bytes`.
TEST(TypeSupport, GssipRecordsLieBackToBack) {
    Bytes block;
    for (const std::size_t size : {10U, 0U, 30U}) {
        GSSIP record;
        record.num_bytes(static_cast<std::int32_t>(size));
        record.data().assign(size, static_cast<std::uint8_t>(size));
        EXPECT_EQ(GSSIP::getCdrSerializedSize(record, 4), 56 + size);
        const Bytes bytes = payloadBytes(record);
        block.insert(block.end(), bytes.begin(), bytes.end());
    }
    ASSERT_EQ(block.size(), 66U + 56U + 86U);
    GSSIPPubSubType support;
    GSSIP record;
    for (const std::size_t size : {10U, 0U, 30U}) {
        ASSERT_TRUE(decode(support, block, record));
        EXPECT_EQ(record.data(), Bytes(size, static_cast<std::uint8_t>(size)));
        block.erase(block.begin(), block.begin() + record.num_bytes() + 56);
    }
    EXPECT_TRUE(block.empty());
}

TEST(TypeSupport, KeptMessageIsReadWithoutAllocation) {
    GSSIP value = sample<GSSIP>();
    value.data().assign(356, 0x5A);
    EventLog event = sample<EventLog>();
    event.eventlog(std::string(200, 'x'));
    GSSIPPubSubType gssips;
    EventLogPubSubType events;
    Payload gssipPayload(1000);
    Payload eventPayload(1000);
    const Allocations allocations;
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(gssips.serialize(&value, &gssipPayload));
        ASSERT_TRUE(gssips.deserialize(&gssipPayload, &value));
        ASSERT_TRUE(events.serialize(&event, &eventPayload));
        ASSERT_TRUE(events.deserialize(&eventPayload, &event));
    }
    EXPECT_EQ(allocations.count(), 0U);
}

TEST(Message, IsAValue) {
    const EventLog fresh;
    EXPECT_TRUE(fresh.eventlog().empty());
    EXPECT_EQ(fresh.event_log_type(), 0U);

    EventLog event = sample<EventLog>();
    std::string text(100, 'x');
    const char* characters = text.data();
    event.eventlog(std::move(text));
    EventLog copy = event;
    EXPECT_EQ(copy, event);
    EXPECT_NE(copy.eventlog().data(), event.eventlog().data());
    const EventLog moved = std::move(event);
    EXPECT_EQ(moved.eventlog().data(), characters);

    copy.header().timestamp_valid().nsec() += 1;
    EXPECT_NE(copy, moved);
}

TEST(GetPubSubType, KnowsWholeNamesOnly) {
    using FACE::TSS::Topics::GetPubSubType;
    for (const std::string name : {"GSSIP", "CommandResponse", "EventLog", "MaintenanceEvent"}) {
        const auto support = GetPubSubType(name + "PubSubType");
        ASSERT_NE(support, nullptr) << name;
        EXPECT_EQ(support->getName(), "aspn2_msgs::idl::" + name);
        EXPECT_NE(GetPubSubType(name + "PubSubType"), support);
    }
    for (const char* unknown : {"", "GSSIP", "gssippubsubtype", "GSSIPPubSubType ",
                                "aspn2_msgs::idl::GSSIPPubSubType", "lru_comp_setPubSubType"}) {
        EXPECT_EQ(GetPubSubType(unknown), nullptr) << unknown;
    }
}

}  // namespace
