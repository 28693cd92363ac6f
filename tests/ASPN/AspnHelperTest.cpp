#include "ASPN/AspnHelper.h"

#include <gtest/gtest.h>

#include <limits>

#include "ASPN/AspnDeviceIds.h"

namespace {

namespace idl = aspn2_msgs::idl;
using ASPN2::timestamp;

constexpr std::int64_t farthest = std::numeric_limits<std::int64_t>::max();

timestamp stampOf(const idl::timestamp& message) {
    return {message.sec(), message.nsec(), message.time_code()};
}

TEST(TimeCodes, TicksBecomeAStampWithTheProcessesTimeCode) {
    struct Case {
        std::uint64_t ticks;
        std::int64_t sec;
        std::int32_t nsec;
    };
    auto& code = ASPN2::TimeCodeHelper::Instance();
    EXPECT_EQ(code.getTimeCode(), 100);
    for (const Case& c :
         {Case{0, 0, -8},
          {1, 0, 8},
          {58982399, 0, 999999975},
          {58982400, 0, 999999992},
          {58982401, 1, 8},
          {118059162071741, 2001599, 834386876},  // the last whose product fits 64 bits
          {std::numeric_limits<std::uint64_t>::max(), 312749974122, 951111086}}) {
        for (const int timeCode : {101, 100}) {
            timeCode == 101 ? code.setSimMode() : code.setLiveMode();
            const timestamp expected{c.sec, c.nsec, timeCode};
            const timestamp untouched{5, 6, 7};
            const auto expect = [&](auto set, const timestamp& arrival, const timestamp& valid) {
                ASPN2::header memory{1, untouched, untouched, 2};
                idl::header message;
                ASPN2::copyHeader_fromTo(memory, message);
                const ASPN2::header result{1, arrival, valid, 2};
                set(c.ticks, memory);
                EXPECT_EQ(memory, result) << c.ticks;
                set(c.ticks, message);
                ASPN2::copyHeader_fromTo(message, memory);
                EXPECT_EQ(memory, result) << c.ticks;
            };
            expect([](auto t, auto& to) { ASPN2::setToV_fromFpgaTicks(t, to); }, untouched,
                   expected);
            expect([](auto t, auto& to) { ASPN2::setToA_fromFpgaTicks(t, to); }, expected,
                   untouched);
            expect([](auto t, auto& to) { ASPN2::setToVandToA_fromFpgaTicks(t, to); }, expected,
                   expected);
        }
    }
}

TEST(TimeCodes, NanosecondsBecomeAStampAndComeBack) {
    struct Case {
        std::int64_t nanoseconds, sec;
        std::int32_t nsec;
    };
    const Case cases[] = {
        {0, 0, 0},   {999999999, 0, 999999999}, {1000000000, 1, 0},
        {-1, 0, -1}, {-1000000001, -1, -1},     {farthest, 9223372036, 854775807}};
    for (const Case& c : cases) {
        idl::header message;
        ASPN2::setToV_fromNSec(std::chrono::nanoseconds(c.nanoseconds), message);
        EXPECT_EQ(stampOf(message.timestamp_valid()), (timestamp{c.sec, c.nsec, 100}));
        EXPECT_EQ(stampOf(message.timestamp_arrival()), timestamp{});
        ASPN2::setToVandToA_fromNSec(std::chrono::nanoseconds(c.nanoseconds), message);
        EXPECT_EQ(message.timestamp_arrival(), message.timestamp_valid());
        EXPECT_EQ(ASPN2::getNSec_fromToA(message).count(), c.nanoseconds);
    }
    idl::header message;
    message.timestamp_arrival().sec(farthest);
    EXPECT_EQ(ASPN2::getNSec_fromToA(message), std::chrono::nanoseconds::max());
    message.timestamp_arrival().sec(-farthest);
    EXPECT_EQ(ASPN2::getNSec_fromToA(message), std::chrono::nanoseconds::min());
}

TEST(TimeCodes, DifferenceOfValidityIsSignedAndDefinedForAnyStamps) {
    struct Case {
        timestamp a, b;
        double delta;
    };
    for (const Case& c : {Case{{5, 0, 0}, {3, 500000000, 0}, 1.5},
                          {{3, 1, 0}, {3, 0, 0}, 1e-9},
                          {{farthest, 0, 0}, {farthest - 1, 0, 0}, 1.0},
                          {{farthest, 0, 0}, {-farthest, 0, 0}, 18446744073709551616.0},
                          {{0, 2147483647, 0}, {0, -2147483647, 0}, 4294967294e-9}}) {
        const ASPN2::header a{0, {}, c.a, 0};
        const ASPN2::header b{0, {}, c.b, 0};
        idl::header messageA;
        idl::header messageB;
        ASPN2::copyHeader_fromTo(a, messageA);
        ASPN2::copyHeader_fromTo(b, messageB);
        EXPECT_DOUBLE_EQ(ASPN2::deltaTov(a, b), c.delta);
        EXPECT_EQ(ASPN2::deltaTov(b, a), -ASPN2::deltaTov(a, b));
        EXPECT_EQ(ASPN2::deltaTov(messageA, messageB), ASPN2::deltaTov(a, b));
    }
}

TEST(TimeCodes, StampsCopyBothWays) {
    const ASPN2::header memory{-1, {2, 3, 4}, {5, 6, 7}, -8};
    idl::header message;
    message.seq_num(10);
    message.device_id(11);
    ASPN2::setToVandToA_fromTo(memory, message);
    EXPECT_EQ(stampOf(message.timestamp_arrival()), memory.timestamp_arrival);
    EXPECT_EQ(stampOf(message.timestamp_valid()), memory.timestamp_valid);
    EXPECT_EQ(message.seq_num(), 10);
    EXPECT_EQ(message.device_id(), 11);

    ASPN2::header stamps{20, {}, {}, 21};
    ASPN2::setToVandToA_fromTo(message, stamps);
    EXPECT_EQ(stamps, (ASPN2::header{20, {2, 3, 4}, {5, 6, 7}, 21}));
}

TEST(DeviceIds, SystemAndServerStandInTheUpperBytes) {
    using ASPN2::DeviceIdFactory;
    EXPECT_EQ(DeviceIdFactory().makeDeviceId(1, 2), 0x00000102U);
    EXPECT_EQ(DeviceIdFactory("ORDA", 46).makeDeviceId(0, 0), 0x012E0000U);
    EXPECT_EQ(DeviceIdFactory("ORDA", 46).makeDeviceId(2, 0), 0x012E0200U);
    EXPECT_EQ(DeviceIdFactory(0xFE, 0xDC).makeDeviceId(0xBA, 0x98), 0xFEDCBA98U);
    DeviceIdFactory factory("ELKA", 1);
    factory.reset("unheard of", 46);
    EXPECT_EQ(factory.makeDeviceId(59, 1), 0x002E3B01U);
    for (const char* unknown : {static_cast<const char*>(nullptr), "", "ORD", "ORDA ", "orda"}) {
        EXPECT_EQ(ASPN2::SystemIds::from_string(unknown), 0);
    }
    EXPECT_EQ(ASPN2::SystemIds::from_string("ZarvokPlus"), 3);
}

TEST(DeviceIds, NamesOfServersAndComponents) {
    const std::string invalid = "INVALID_SERVER_ID";
    int named = 0;
    for (int id = 0; id < 256; ++id) {
        named += ASPN2::ServerIds::to_string(static_cast<unsigned char>(id)) == invalid ? 0 : 1;
    }
    EXPECT_EQ(named, 40);
    for (const auto& [id, name] : {std::pair{0, "INVALID_SERVER_ID"},
                                   {1, "Gateway"},
                                   {16, "MSDUI"},
                                   {39, "Tyrn"},
                                   {43, "INVALID_SERVER_ID"},
                                   {46, "VGpsReceiverServer"},
                                   {50, "TyrnDt"},
                                   {54, "MaintLogServer"},
                                   {97, "pilServer"},
                                   {113, "AtpServer"},
                                   {125, "VGenericEndNodeServer"},
                                   {255, "INVALID_SERVER_ID"}}) {
        EXPECT_STREQ(ASPN2::ServerIds::to_string(static_cast<unsigned char>(id)), name);
    }
    const std::tuple<unsigned char, unsigned char, const char*> components[] = {
        {53, 0, "Halcyrine"}, {49, 0, "PNT-D"},  {38, 0, "ALTNAV"},
        {39, 0, "GPS"},       {47, 0, "KETHSW"}, {46, 0, "INVALID_SERVER_ID"},
        {46, 1, "Zarvok"},    {0, 2, "KETH"},    {53, 3, "INVALID_SERVER_ID"}};
    for (const auto& [server, unit, name] : components) {
        EXPECT_STREQ(ASPN2::Components::to_component(server, unit), name);
    }
}

}  // namespace
