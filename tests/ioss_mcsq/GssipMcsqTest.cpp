#include "ioss_mcsq/GssipMcsq.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <filesystem>
#include <initializer_list>
#include <iostream>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "ASPN/FaultHysteresis.h"
#include "ioss/TemporaryUnit.h"
#include "ioss_mcsq/GssipTopicSerializer.h"
#include "ioss_mcsq/QueueSupport.h"
#include "support/Allocations.h"
#include "support/CodeOf.h"

namespace {

using aspn2_msgs::idl::GSSIP;
using R = FACE::RETURN_CODE_TYPE;
using Code = R::Value;

constexpr Code UNSET = R::TIMED_OUT;

/** Where the parts of a record lie. */
constexpr std::size_t SEQUENCE_NUMBER = 4;
constexpr std::size_t NUM_BYTES = 48;
constexpr std::size_t COUNT = 52;

GSSIP messageOf(std::size_t length, int id = 5040, long long number = 0) {
    GSSIP message;
    message.header().seq_num(number);
    message.num_bytes(static_cast<std::int32_t>(length));
    message.data().assign(length, 0xA5);
    if (const auto word = static_cast<std::uint16_t>(id); length >= 4) {
        std::memcpy(message.data().data() + 2, &word, sizeof(word));
    }
    return message;
}

std::string bytesOf(const GSSIP& message) {
    std::vector<unsigned char> bytes;
    EXPECT_TRUE(GssipTopicSerializer::Serialize(message, bytes));
    return {bytes.begin(), bytes.end()};
}

/** A record of `length` data bytes, told apart by its sequence number. */
std::string record(std::size_t length, long long number = 0) {
    return bytesOf(messageOf(length, 5040, number));
}

template <typename T>
std::string with(std::string bytes, std::size_t at, T value) {
    std::memcpy(bytes.data() + at, &value, sizeof(value));
    return bytes;
}

TEST(GssipTopicSerializer, RecordsTakeFiftySixBytesAndTheirData) {
    for (const std::size_t length : {0U, 1U, 10U, 20U, 100U, 5000U}) {
        const GSSIP message = messageOf(length, 5040, 7);
        EXPECT_EQ(GssipTopicSerializer::GetSerializedSize(&message), 56 + length);
        std::string bytes = bytesOf(message);
        ASSERT_EQ(bytes.size(), 56 + length);
        const int whole = static_cast<int>(bytes.size());
        bytes += "behind";
        GSSIP got;
        auto* const data = reinterpret_cast<unsigned char*>(bytes.data());
        for (const int enough : {whole, whole + 6}) {
            EXPECT_TRUE(GssipTopicSerializer::Deserialize(data, enough, &got));
            EXPECT_EQ(got, message);
        }
        for (const int less : {0, 3, 4, 55, whole - 1, -1, std::numeric_limits<int>::min()}) {
            EXPECT_FALSE(GssipTopicSerializer::Deserialize(data, less, &got)) << less;
        }
    }
}

/** Four channels over pipes: "IN" and "IN_TOO" are heard by the test, "OUT" and "ECHO" written. */
class GssipMcsqTest : public testing::Test {
protected:
    GssipMcsqTest() {
        const std::vector<const char*> names{"IN", "IN_TOO", "OUT", "ECHO"};
        std::vector<Container> channels;
        for (std::size_t i = 0; i < names.size(); ++i) {
            m_pipes.push_back(m_unit.makePipe("mcs" + std::to_string(i)));
            channels.push_back({names[i], {{"Port", std::to_string(i)}}});
        }
        channels.push_back({"DEAF", {{"Port", "77"}}});
        m_file = m_unit.configure(channels);
        FaultHysteresis::Instance().OkInitFaultHysteresis(0, 1000, 1000);
    }
    ~GssipMcsqTest() override { m_adapter.reset(); }

    Code hear(const char* channel, GssipMcsq::Callback callback) {
        return codeOf(&GssipMcsq::Connect_ReadOnly, *m_adapter, m_file.c_str(), channel,
                      std::move(callback));
    }
    /** Hears "IN" and keeps the sequence numbers of what arrives. */
    void hearNumbers() {
        m_numbers.reserve(10000);
        ASSERT_EQ(hear("IN",
                       [this](const GSSIP& message) {
                           m_numbers.push_back(message.header().seq_num());
                           m_heard = m_numbers.size();
                       }),
                  R::NO_ERROR);
    }
    long long connect(const char* channel) {
        long long connection = -1;
        EXPECT_EQ(
            codeOf(&GssipMcsq::Connect_WriteOnly, *m_adapter, m_file.c_str(), channel, connection),
            R::NO_ERROR);
        return connection;
    }
    Code write(long long connection, const GSSIP& message) {
        return codeOf(&GssipMcsq::Write, *m_adapter, connection, message);
    }
    bool hears(std::size_t count) {
        return eventually([&] { return m_heard == count; });
    }
    bool prints(const std::string& text) {
        return eventually([&] { return m_console.text() == text; });
    }
    static std::string deserializeReport(std::size_t remainder) {
        return "unit: Process_Notification_Event(): A memory exception occurred on deserialize. "
               "Max Length: 131072 MCSQ remainder: " +
               std::to_string(remainder) + "\n";
    }

    Captured m_console{std::cout};
    TemporaryUnit m_unit;
    std::vector<int> m_pipes;
    std::string m_file;
    std::unique_ptr<GssipMcsq> m_adapter = std::make_unique<GssipMcsq>("unit");
    std::vector<long long> m_numbers;
    std::atomic<std::size_t> m_heard{0};
};

TEST_F(GssipMcsqTest, RecordsOfABlockArriveInOrderExceptThoseWithoutAnId) {
    hearNumbers();
    std::string block;
    for (const auto& [length, number] : std::initializer_list<std::pair<std::size_t, long long>>{
             {10, 1}, {0, 2}, {30, 3}, {1, 4}, {3, 5}, {4, 6}, {2, 7}, {5000, 8}}) {
        block += record(length, number);
    }
    put(m_pipes[0], block);
    ASSERT_TRUE(hears(4));
    EXPECT_EQ(m_numbers, (std::vector<long long>{1, 3, 6, 8}));
    EXPECT_EQ(m_console.text(), "");
}

// Behind a record that fails nothing can be trusted: one report, and the block ends.
TEST_F(GssipMcsqTest, FalseRecordEndsItsBlockWithOneReport) {
    constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
    const std::string good = record(20, 1);
    std::vector<std::string> falseRecords{
        with(good, COUNT, std::uint32_t{21 + 76}), with(good, COUNT, ~std::uint32_t{0}),
        with(good, COUNT, std::uint32_t{19}),      with(good, COUNT, std::uint32_t{0}),
        with(good, 0, std::uint32_t{0xFFFFFFFF}),  std::string(76, '\xFF')};
    for (const std::int32_t length : {-1, -56, -57, -20, 0, 19, 21, 76, 131072, least, most}) {
        falseRecords.push_back(with(good, NUM_BYTES, length));
    }
    for (std::string& record : falseRecords) {
        record += good;
    }
    for (std::size_t length = 1; length < good.size(); ++length) {
        falseRecords.push_back(good.substr(0, length));
    }
    hearNumbers();
    std::string expected;
    for (std::size_t i = 0; i < falseRecords.size(); ++i) {
        SCOPED_TRACE(i);
        put(m_pipes[0], record(10, 2) + falseRecords[i]);
        expected += deserializeReport(falseRecords[i].size());
        ASSERT_TRUE(prints(expected)) << m_console.text();
        ASSERT_EQ(m_heard, i + 1) << "what stood in front, and nothing behind";
    }
    EXPECT_EQ(FaultHysteresis::Instance().historyKeys().size(), falseRecords.size());
    EXPECT_THAT(FaultHysteresis::Instance().historyKeys().front(),
                testing::HasSubstr("src/ioss_mcsq/GssipMcsq.cpp"));
    put(m_pipes[0], good);
    EXPECT_TRUE(hears(falseRecords.size() + 1)) << "the next block is read as ever";
}

TEST_F(GssipMcsqTest, RecordOfTheOtherByteOrderIsRead) {
    hearNumbers();
    std::string other = record(4, 0x0102030405060708);
    const auto reverse = [&](std::size_t at, std::ptrdiff_t size) {
        const auto first = other.begin() + static_cast<std::ptrdiff_t>(at);
        std::reverse(first, first + size);
    };
    other[1] = static_cast<char>(other[1] ^ 1);
    reverse(SEQUENCE_NUMBER, 8);
    reverse(NUM_BYTES, 4);
    reverse(COUNT, 4);
    put(m_pipes[0], other + record(4, 9));
    ASSERT_TRUE(hears(2));
    EXPECT_EQ(m_numbers, (std::vector<long long>{0x0102030405060708, 9}));
}

TEST_F(GssipMcsqTest, BlocksUpToTheWholeBufferAreTakenInOneRead) {
    hearNumbers();
    std::string small;
    while (small.size() + 64 <= GssipMcsq::MAX_BLOCK) {
        small += record(8, static_cast<long long>(small.size()));
    }
    ASSERT_EQ(small.size(), GssipMcsq::MAX_BLOCK);
    ASSERT_TRUE(put(m_pipes[0], small + record(8, -1)));
    ASSERT_TRUE(hears(2049));
    EXPECT_EQ(m_numbers.back(), -1);

    const std::string largest = record(GssipMcsq::MAX_BLOCK - 56, 5);
    put(m_pipes[0], largest + record(8, 6));
    ASSERT_TRUE(hears(2051));
    EXPECT_EQ(m_console.text(), "");

    // One byte more comes in two reads, of which neither is a record.
    put(m_pipes[0], record(GssipMcsq::MAX_BLOCK - 55));
    ASSERT_TRUE(prints(deserializeReport(GssipMcsq::MAX_BLOCK) + deserializeReport(1)));
    EXPECT_EQ(m_heard, 2051U);
}

TEST_F(GssipMcsqTest, CallbackThatThrowsCostsNoOtherRecord) {
    ASSERT_EQ(hear("IN",
                   [this](const GSSIP& message) {
                       ++m_heard;
                       if (message.header().seq_num() == 1) {
                           throw std::runtime_error("details");
                       }
                       if (message.header().seq_num() == 2) {
                           throw 5;
                       }
                   }),
              R::NO_ERROR);
    put(m_pipes[0], record(10, 1) + record(20, 2) + record(30, 3));
    ASSERT_TRUE(hears(3));
    const std::string report = "unit: Process_Notification_Event(): A memory exception occurred \n";
    EXPECT_EQ(m_console.text(), report + report);
    EXPECT_EQ(FaultHysteresis::Instance().historyKeys().size(), 2U);
    put(m_pipes[0], record(10, 4));
    EXPECT_TRUE(hears(4));
}

TEST_F(GssipMcsqTest, EachChannelHasItsCallbackAndMayBeAnsweredFromIt) {
    const long long out = connect("OUT");
    ASSERT_EQ(hear("IN",
                   [&](const GSSIP& message) {
                       EXPECT_EQ(write(out, message), R::NO_ERROR);
                       ++m_heard;
                   }),
              R::NO_ERROR);
    ASSERT_EQ(hear("IN_TOO", [&](const GSSIP&) { m_heard += 100; }), R::NO_ERROR);
    GSSIP whole = messageOf(300, 5048, 77);
    whole.header().device_id(-5);
    put(m_pipes[0], bytesOf(whole));
    put(m_pipes[1], record(10, 2));
    ASSERT_TRUE(hears(101));
    EXPECT_EQ(takeAll(m_pipes[2]), bytesOf(whole));
}

TEST_F(GssipMcsqTest, WriteTellsTheDevicesAnswerAndNothingElse) {
    m_adapter = std::make_unique<GssipMcsq>("unit", std::vector<unsigned short>{6000, 1});
    std::vector<long long> echoed;
    long long echo = -1;
    const auto keep = [&](const GSSIP& message) { echoed.push_back(message.header().seq_num()); };
    ASSERT_EQ(codeOf(&GssipMcsq::Connect_IOWrite, *m_adapter, m_file.c_str(), "ECHO", echo, keep),
              R::NO_ERROR);
    GSSIP misleading = messageOf(20, 5040, 4);
    misleading.num_bytes(19);
    const std::pair<GSSIP, bool> rows[] = {{messageOf(20, 5040, 1), true},
                                           {messageOf(20, 6000, 2), false},
                                           {messageOf(3, 0, 3), true},
                                           {misleading, false},
                                           {messageOf(20, 1, 5), false}};
    for (const auto& [message, goesOut] : rows) {
        EXPECT_EQ(write(echo, message), goesOut ? R::NO_ERROR : UNSET);
        EXPECT_EQ(takeAll(m_pipes[3]), goesOut ? bytesOf(message) : "");
        EXPECT_EQ(echoed.back(), message.header().seq_num()) << "written or not";
    }
    const std::size_t echoes = echoed.size();
    for (const long long closed : {-1LL, 1LL, 50LL}) {
        EXPECT_FALSE(m_adapter->IsInitialized(closed));
        EXPECT_EQ(write(closed, messageOf(20)), UNSET);
    }
    EXPECT_EQ(echoed.size(), echoes);

    std::filesystem::remove(m_unit.device("mcs2"));
    std::filesystem::create_symlink("/dev/full", m_unit.device("mcs2"));
    EXPECT_EQ(write(connect("OUT"), messageOf(20)), R::NO_ACTION);
}

TEST_F(GssipMcsqTest, FilterTextsAreNumbersOrPassedOver) {
    m_adapter = std::make_unique<GssipMcsq>(
        "unit", std::vector<std::string>{"6000", "", "word", "99999", "-", " 7", "0x10"});
    const long long out = connect("OUT");
    for (const int id : {6000, 7, 0, 34463, 16, 65535}) {
        EXPECT_EQ(write(out, messageOf(4, id)), id <= 7 || id == 6000 ? UNSET : R::NO_ERROR) << id;
    }
}

TEST_F(GssipMcsqTest, ConnectingTellsWhatIsMissing) {
    Captured errors(std::cerr);
    const std::string file = std::exchange(m_file, m_unit.device("no-such-file"));
    EXPECT_EQ(hear("IN", nullptr), R::INVALID_CONFIG);
    m_file = file;
    EXPECT_EQ(hear("ABSENT", nullptr), R::INVALID_CONFIG);
    EXPECT_EQ(hear("DEAF", nullptr), R::NO_ACTION);
    EXPECT_EQ(errors.text(), "Unable to open output pipe file: /dev/mcs77\n");
    m_file = m_unit.device("no-such-file");
    hearNumbers();  // by the file that was read before
    EXPECT_TRUE(m_adapter->IsInitialized(connect("OUT")));
    put(m_pipes[0], record(10));
    EXPECT_TRUE(hears(1));
}

TEST_F(GssipMcsqTest, DestructionUnderTrafficIsOrderly) {
    for (int round = 0; round < 20; ++round) {
        m_heard = 0;
        m_adapter = std::make_unique<GssipMcsq>("unit");
        ASSERT_EQ(hear("IN", [&](const GSSIP&) { ++m_heard; }), R::NO_ERROR);
        for (int i = 0; i < 50; ++i) {
            put(m_pipes[0], record(10));
        }
        ASSERT_TRUE(eventually([&] { return m_heard > 0; }));
        m_adapter.reset();
        const std::size_t heard = m_heard;
        put(m_pipes[0], record(10));
        EXPECT_EQ(m_heard, heard);
        takeAll(m_pipes[0]);
    }
}

TEST_F(GssipMcsqTest, RecordsAllocateNothingOnceWarm) {
    hearNumbers();
    const std::string burst = record(600, 1) + record(4, 2) + record(0, 3) + record(600, 4);
    put(m_pipes[0], burst);
    ASSERT_TRUE(hears(3));
    const std::size_t before = Allocations::ofTheProcess();
    for (std::size_t i = 1; i <= 50; ++i) {
        put(m_pipes[0], burst);
        while (m_heard != 3 * (i + 1)) {
            std::this_thread::yield();
        }
    }
    EXPECT_EQ(Allocations::ofTheProcess() - before, 0U);
}

}  // namespace
