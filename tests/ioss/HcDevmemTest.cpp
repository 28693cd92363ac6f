#include "ioss/HC_Devmem.h"

#include <sys/resource.h>

#include <array>
#include <atomic>
#include <iostream>
#include <stdexcept>
#include <thread>

#include "ioss/ServiceTest.h"

namespace {

using FACE::IOSS::CONNECTION_STATUS_TYPE;
using FACE::IOSS::HC_Devmem;
using FACE::IOSS::IO_PARAMETER_TRANSACTION_TYPE;
using FACE::IOSS::Devmem::Register_Read;
using FACE::IOSS::Devmem::Register_Write;
using Block = std::array<std::uint32_t, 2>;  // base address, size

constexpr std::uint32_t PAGE = 4096;

/** The process opens /dev/mem once, so all tests share the root it lies in. */
const TemporaryUnit& unit() {
    static const TemporaryUnit instance;
    static const bool made = (instance.makeSparse("mem", 1 << 20), true);
    static_cast<void>(made);
    return instance;
}

template <typename T>
T inMemory(std::uint64_t address) {
    std::ifstream file(unit().device("mem"), std::ios::binary);
    file.seekg(static_cast<std::streamoff>(address));
    T value{};
    file.read(reinterpret_cast<char*>(&value), sizeof(value));
    return value;
}

IO_PARAMETER_TRANSACTION_TYPE ulongs(
    std::initializer_list<std::pair<std::uint16_t, std::uint32_t>> values) {
    IO_PARAMETER_TRANSACTION_TYPE parameters;
    for (const auto& [id, value] : values) {
        parameters.parameters.append({id, {}});
        parameters.parameters[parameters.parameters.length() - 1].value.ulong_value(value);
    }
    return parameters;
}

class HcDevmem : public ServiceTest<HC_Devmem> {
protected:
    HcDevmem() { unit().use(); }

    void makeOpen(const std::string& base, const std::string& size) {
        make(unit().configure({{"Block", {{"BaseAddress", base}, {"Size", size}}},
                               {"NoSize", {{"BaseAddress", "0"}}},
                               {"NoBase", {{"Size", "0"}}}}));
        EXPECT_EQ(open("Block"), R::NO_ERROR);
    }
    Code read(std::uint32_t offset, std::uint32_t width) {
        m_read = {7, offset, width, 0x5555555555555555};
        return code(&HC_Devmem::Read, m_connection, -1, m_read);
    }
    Code write(std::uint32_t offset, std::uint32_t width, std::uint64_t value) {
        return code(&HC_Devmem::Write, m_connection, -1, Register_Write{offset, width, value});
    }
    Code configure(const IO_PARAMETER_TRANSACTION_TYPE& parameters) {
        return code(&HC_Devmem::Configure_Connection_Parameters, m_connection, -1, parameters);
    }
    Block block() {
        IO_PARAMETER_TRANSACTION_TYPE all = ulongs({{0, 0}, {1, 0}});
        EXPECT_EQ(code(&HC_Devmem::Get_Connection_Configuration, m_connection, -1, all),
                  R::NO_ERROR);
        return {all.parameters[0].value.ulong_value(), all.parameters[1].value.ulong_value()};
    }

    Register_Read m_read;
};

TEST_F(HcDevmem, AccessesStayWithinTheBlock) {
    constexpr std::uint32_t wraps = 0xFFFFFFF8;
    using Accesses = std::vector<std::pair<std::uint32_t, std::uint32_t>>;  // offset, width
    const Accesses outOf16{{13, 32},    {16, 32},       {9, 64}, {16, 8}, {15, 16}, {2, 32},
                           {wraps, 32}, {wraps + 7, 8}, {0, 24}, {0, 0},  {0, 128}};
    const std::tuple<const char*, Accesses, Accesses> rows[] = {
        {"16", {{12, 32}, {8, 64}, {15, 8}, {14, 16}}, outOf16},
        {"3", {{2, 8}, {0, 16}}, {{0, 32}, {wraps, 32}, {wraps + 7, 32}}},
        {"0", {}, {{0, 8}, {wraps + 7, 8}, {wraps, 64}}}};
    for (const auto& [blockSize, taken, refused] : rows) {
        makeOpen("0x2000", blockSize);
        const std::string& size = blockSize;  // a lambda can't take the binding itself
        const auto expect = [&](const Accesses& accesses, Code code, const Register_Read& got) {
            for (const auto& [offset, width] : accesses) {
                EXPECT_EQ(write(offset, width, code == R::NO_ERROR ? 0 : 1), code) << offset;
                EXPECT_EQ(read(offset, width), code) << size << ": " << offset;
                EXPECT_EQ(m_read.value, got.value);
                EXPECT_EQ(m_read.time, got.time);
            }
        };
        expect(taken, R::NO_ERROR, {0, 0, 0, 0});
        expect(refused, R::NO_ACTION, {7, 0, 0, 0x5555555555555555});
    }
}

TEST_F(HcDevmem, EachWidthMovesItsLowBitsAlone) {
    makeOpen("0x3ff8", "0x1010");
    constexpr std::uint64_t ones = ~std::uint64_t{0};
    constexpr std::uint64_t value = 0xFEDCBA9876543210;
    // The second offset lies in the page behind the first, the third at the very end.
    for (const std::uint32_t offset : {0U, 8U, 0x1008U}) {
        for (const std::uint32_t width : {8U, 16U, 32U, 64U}) {
            const std::uint64_t mask = ones >> (64 - width);
            ASSERT_EQ(write(offset, 64, ones), R::NO_ERROR);
            ASSERT_EQ(write(offset, width, value), R::NO_ERROR);
            ASSERT_EQ(read(offset, width), R::NO_ERROR);
            EXPECT_EQ(m_read.value, value & mask) << offset << ", " << width;
            EXPECT_EQ(inMemory<std::uint64_t>(0x3ff8 + offset), (value & mask) | ~mask);
        }
    }
}

TEST_F(HcDevmem, OpensANameOnceAndAgainAfterItsClose) {
    makeOpen("020000", "16");  // octal
    for (const char* const name :
         {"Missing", "NoSize", "NoBase", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(open(name), R::INVALID_CONFIG);
        EXPECT_EQ(m_connection, -1);
    }
    EXPECT_EQ(open("Block"), R::NO_ERROR);
    EXPECT_EQ(m_connection, 0);
    EXPECT_EQ(block(), (Block{0x2000, 16}));
    EXPECT_EQ(close(0), R::NO_ERROR) << "one open, whatever the number of calls";
    EXPECT_EQ(close(0), R::CONNECTION_CLOSED);
    EXPECT_EQ(open("Block"), R::NO_ERROR);
    EXPECT_EQ(m_connection, 0);
    EXPECT_EQ(read(0, 32), R::NO_ERROR);
}

TEST_F(HcDevmem, BaseAndSizeChangeOnlyWhileClosedAndOnlyTogether) {
    makeOpen("0x2000", "16");
    EXPECT_EQ(configure(ulongs({{0, 0x6000}})), R::NO_ACTION);
    ASSERT_EQ(close(0), R::NO_ERROR);
    IO_PARAMETER_TRANSACTION_TYPE ofAnotherType = ulongs({{1, 32}, {0, 0x6000}});
    ofAnotherType.parameters[1].value.long_value(0x6000);
    EXPECT_EQ(configure(ofAnotherType), R::INVALID_PARAM);
    EXPECT_EQ(configure(ulongs({{0, 0x6000}, {2, 5}})), R::INVALID_PARAM);
    EXPECT_EQ(block(), (Block{0x2000, 16}));
    EXPECT_EQ(configure(ulongs({{1, 8}})), R::NO_ERROR);
    EXPECT_EQ(block(), (Block{0x2000, 8}));
    EXPECT_EQ(configure(ulongs({{0, 0x7000}, {1, 4}, {0, 0x6000}})), R::NO_ERROR);
    ASSERT_EQ(open("Block"), R::NO_ERROR);
    ASSERT_EQ(write(0, 32, 0xC0FFEE), R::NO_ERROR);
    EXPECT_EQ(inMemory<std::uint32_t>(0x6000), 0xC0FFEEU);
    EXPECT_EQ(write(4, 32, 1), R::NO_ACTION);
}

TEST_F(HcDevmem, EveryOperationAnswersForAnOpenAClosedAndAnUnknownConnection) {
    class : public FACE::IOSS::IO_Callback {
        void Process_Notification_Event(long long,
                                        FACE::IOSS::NOTIFICATION_EVENT_TYPE::Value) override {}
    } callback;
    IO_PARAMETER_TRANSACTION_TYPE others = ulongs({{7, 0}, {1, 0}});
    CONNECTION_STATUS_TYPE status;
    std::uint16_t bus = 9;
    Register_Read payload{0, 0, 8, 0};
    using S = HC_Devmem;
    makeOpen("0x2000", "16");
    expectAnswers(
        "Block",
        {{asking(&S::Configure_Bus_Parameters, -1, others), R::NO_ACTION, R::NO_ACTION,
          R::NO_ACTION},
         {asking(&S::Get_Bus_Configuration, -1, std::ref(others)), R::NO_ACTION, R::NO_ACTION,
          R::NO_ACTION},
         {asking(&S::Get_Bus_Status, std::ref(bus)), R::NO_ERROR, R::NO_ERROR, R::INVALID_PARAM},
         {asking(&S::Get_Connection_Status, std::ref(status)), R::NO_ERROR, R::CONNECTION_CLOSED,
          R::INVALID_PARAM},
         {asking(&S::Register_Notification_Event, std::ref(callback)), R::NO_ACTION,
          R::CONNECTION_CLOSED, R::INVALID_PARAM},
         {asking(&S::Unregister_Notification_Event), R::NO_ACTION, R::NO_ACTION, R::INVALID_PARAM},
         {asking(&S::Get_Connection_Configuration, -1, std::ref(others)), R::INVALID_PARAM,
          R::INVALID_PARAM, R::INVALID_PARAM},
         {asking(&S::Read, -1, std::ref(payload)), R::NO_ERROR, R::CONNECTION_CLOSED,
          R::INVALID_PARAM},
         {asking(&S::Write, -1, Register_Write{0, 8, 0}), R::NO_ERROR, R::CONNECTION_CLOSED,
          R::INVALID_PARAM},
         {asking(&S::Close_Connection), R::NO_ERROR, R::CONNECTION_CLOSED, R::INVALID_PARAM}});
    EXPECT_EQ(others.parameters[1].value.ulong_value(), 16U) << "the walk went on";
    EXPECT_TRUE(status.available);
    EXPECT_EQ(status.state, 2U);
    EXPECT_EQ(bus, 0);
}

TEST_F(HcDevmem, TakesOneConfigurationAndInitializesOnce) {
    expectConfiguredOnce(unit());
}

// Base and size whose sum would wrap in 32 bits.
TEST_F(HcDevmem, BlocksAtTheEndOfTheAddressSpaceAreOrderly) {
    for (const auto& [base, size] : {std::pair{"0xFFFFFFFF", "0xFFFFFFFF"},
                                     {"0xFFFFF000", "0x2000"},
                                     {"0x1FFFFFFFFFFFFFFFFF", "-1"}}) {
        makeOpen(base, size);
        EXPECT_EQ(read(0xFFFFFFFF, 64), R::NO_ACTION) << base << ", " << size;
        EXPECT_EQ(close(0), R::NO_ERROR);
    }
}

TEST_F(HcDevmem, MappingCoversWholePagesUpToOneBehindTheEnd) {
    for (const auto& [base, size, pages] :
         std::vector<std::tuple<std::uint32_t, std::uint32_t, std::size_t>>{
             {0, 0, 1},
             {0, PAGE - 1, 1},
             {0, PAGE, 2},
             {PAGE - 8, 16, 2},
             {PAGE - 8, PAGE + 8, 3},
             {0xFFFFFFFF, 0xFFFFFFFF, 0x100001}}) {
        const MemoryMap map(base, size);
        EXPECT_EQ(map.getLength(), pages * PAGE) << base << ", " << size;
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(map.getPointerToBase()) % PAGE, base % PAGE);
    }
}

/** The tests below run in a process of their own each, as /dev/mem is opened once in each. */
class HcDevmemDeathTest : public HcDevmem {
protected:
    HcDevmemDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

    /** Prints what a map raises, with no more than `memory` of address space to be had. */
    [[noreturn]] static void mapWithin(rlim_t memory) {
        const rlimit limited{memory, RLIM_INFINITY};
        const rlimit unlimited{RLIM_INFINITY, RLIM_INFINITY};
        try {
            ::setrlimit(RLIMIT_AS, &limited);
            const MemoryMap map(0, 1 << 20);
        } catch (const std::runtime_error& error) {
            ::setrlimit(RLIMIT_AS, &unlimited);
            std::cerr << error.what();
        }
        std::exit(3);
    }
};

TEST_F(HcDevmemDeathTest, MappingThatFailsSaysWhy) {
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    // The sanitizers' shadow memory passes any limit on the address space.
    EXPECT_EXIT(mapWithin(1 << 20), testing::ExitedWithCode(3), "^Unable to map memory space\\.$");
#endif
    ::setenv("HALCYRINE_ROOT", "/nowhere", 1);
    EXPECT_EXIT(mapWithin(RLIM_INFINITY), testing::ExitedWithCode(3),
                "^Unable to open /dev/mem file descriptor\\.$");
}

TEST_F(HcDevmemDeathTest, BlockThatCannotBeMappedOpensAndAnswersInvalidMode) {
    const auto codes = [this] {
        ::setenv("HALCYRINE_ROOT", "/nowhere", 1);
        makeOpen("0", "16");
        CONNECTION_STATUS_TYPE status;
        const Code known = code(&HC_Devmem::Get_Connection_Status, m_connection, status);
        std::cerr << m_connection << known << status.state << read(0, 32) << write(0, 32, 0)
                  << close(0) << read(0, 32);
        std::exit(3);
    };
    EXPECT_EXIT(codes(), testing::ExitedWithCode(3), "^00455011$");
}

TEST_F(HcDevmem, CloseWaitsForReadersOnOtherThreads) {
    makeOpen("0x2000", "16");
    ASSERT_EQ(write(8, 64, 42), R::NO_ERROR);
    std::atomic<bool> done{false};
    std::atomic<int> wrong{0};
    std::atomic<int> reads{0};
    const auto reader = [&] {
        while (!done) {
            Register_Read payload{0, 8, 64, 0};
            const bool taken = code(&HC_Devmem::Read, 0, -1, payload) == R::NO_ERROR;
            reads += taken ? 1 : 0;
            wrong += payload.value == (taken ? 42U : 0U) ? 0 : 1;
        }
    };
    std::vector<std::jthread> readers;
    readers.emplace_back(reader);
    readers.emplace_back(reader);
    for (int i = 0; i < 50; ++i) {
        const int before = reads;
        while (reads == before) {
            std::this_thread::yield();
        }
        EXPECT_EQ(close(0), R::NO_ERROR);
        EXPECT_EQ(open("Block"), R::NO_ERROR);
    }
    done = true;
    readers.clear();
    EXPECT_EQ(wrong, 0);
}

}  // namespace
