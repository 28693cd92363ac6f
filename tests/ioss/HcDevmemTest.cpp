#include "ioss/HC_Devmem.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "face/HC_Config.h"
#include "ioss/TemporaryUnit.h"

namespace {

using FACE::IOSS::CONNECTION_STATUS_TYPE;
using FACE::IOSS::HC_Devmem;
using FACE::IOSS::IO_Callback;
using FACE::IOSS::IO_PARAMETER_TRANSACTION_TYPE;
using FACE::IOSS::IO_PARAMETER_TYPE;
using Code = FACE::RETURN_CODE_TYPE::Value;
using FACE::RETURN_CODE_TYPE;

constexpr Code UNSET = RETURN_CODE_TYPE::TIMED_OUT;
constexpr std::uint32_t PAGE = 4096;

/** The process opens /dev/mem once, so all tests share the root it lies in. */
const TemporaryUnit& unit() {
    static const TemporaryUnit instance;
    static const bool made = [] {
        instance.makeSparse("mem", 1 << 20);
        return true;
    }();
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

class NoCallback : public IO_Callback {
    void Process_Notification_Event(long long,
                                    FACE::IOSS::NOTIFICATION_EVENT_TYPE::Value) override {}
};

class HcDevmem : public testing::Test {
protected:
    HcDevmem() { unit().use(); }

    /** A service over a block at `base` of `size` bytes, ready to be opened by the name "Block". */
    void make(const std::string& base, const std::string& size) {
        m_file = unit().configure({{"Block", {{"BaseAddress", base}, {"Size", size}}},
                                   {"NoSize", {{"BaseAddress", "0"}}},
                                   {"NoBase", {{"Size", "0"}}}});
        m_service = std::make_unique<HC_Devmem>();
        EXPECT_EQ(reference(std::make_shared<FACE::HC_Config>()), RETURN_CODE_TYPE::NO_ERROR);
        EXPECT_EQ(initialize(), RETURN_CODE_TYPE::NO_ERROR);
    }
    void makeOpen(const std::string& base, const std::string& size) {
        make(base, size);
        EXPECT_EQ(open("Block"), RETURN_CODE_TYPE::NO_ERROR);
    }

    Code reference(const std::shared_ptr<FACE::Configuration>& configuration) {
        return codeOf([&](Code& rc) { m_service->Set_Reference("", configuration, 0, rc); });
    }
    Code initialize() {
        return codeOf([&](Code& rc) { m_service->Initialize(m_file.c_str(), rc); });
    }
    Code open(const char* name) {
        return codeOf([&](Code& rc) { m_service->Open_Connection(name, -1, m_connection, rc); });
    }
    Code close(long long connection) {
        return codeOf([&](Code& rc) { m_service->Close_Connection(connection, rc); });
    }
    Code read(std::uint32_t offset, std::uint32_t width) {
        m_read = {7, offset, width, 0x5555555555555555};
        return codeOf([&](Code& rc) { m_service->Read(m_connection, -1, m_read, rc); });
    }
    Code write(std::uint32_t offset, std::uint32_t width, std::uint64_t value) {
        return codeOf([&](Code& rc) {
            m_service->Write(m_connection, -1, {offset, width, value}, rc);
        });
    }
    Code configure(const IO_PARAMETER_TRANSACTION_TYPE& parameters) {
        return codeOf([&](Code& rc) {
            m_service->Configure_Connection_Parameters(m_connection, -1, parameters, rc);
        });
    }
    template <typename Call>
    static Code codeOf(const Call& call) {
        Code rc = UNSET;
        call(rc);
        return rc;
    }
    static IO_PARAMETER_TRANSACTION_TYPE ulongs(
        const std::vector<std::pair<std::uint16_t, std::uint32_t>>& values) {
        IO_PARAMETER_TRANSACTION_TYPE parameters;
        for (const auto& [id, value] : values) {
            IO_PARAMETER_TYPE entry;
            entry.id = id;
            entry.value.ulong_value(value);
            parameters.parameters.append(entry);
        }
        return parameters;
    }

    /** Base address and size, as the service tells them. */
    std::array<std::uint32_t, 2> block() {
        IO_PARAMETER_TRANSACTION_TYPE parameters = ulongs({{0, 0}, {1, 0}});
        EXPECT_EQ(codeOf([&](Code& rc) {
                      m_service->Get_Connection_Configuration(m_connection, -1, parameters, rc);
                  }),
                  RETURN_CODE_TYPE::NO_ERROR);
        return {parameters.parameters[0].value.ulong_value(),
                parameters.parameters[1].value.ulong_value()};
    }

    std::string m_file;
    std::unique_ptr<HC_Devmem> m_service;
    long long m_connection = 99;
    FACE::IOSS::Devmem::Register_Read m_read;
};

TEST_F(HcDevmem, AccessesStayWithinTheBlock) {
    struct Case {
        std::uint32_t size, offset, width;
        Code expected;
    };
    constexpr Code TAKEN = RETURN_CODE_TYPE::NO_ERROR;
    constexpr Code REFUSED = RETURN_CODE_TYPE::NO_ACTION;
    for (const Case& c : std::initializer_list<Case>{
             {16, 12, 32, TAKEN},  {16, 13, 32, REFUSED},        {16, 16, 32, REFUSED},
             {16, 8, 64, TAKEN},   {16, 9, 64, REFUSED},         {16, 15, 8, TAKEN},
             {16, 16, 8, REFUSED}, {16, 14, 16, TAKEN},          {16, 15, 16, REFUSED},
             {16, 0, 24, REFUSED}, {16, 0, 0, REFUSED},          {16, 0, 128, REFUSED},
             {16, 2, 32, REFUSED}, {16, 0xFFFFFFFF, 8, REFUSED}, {16, 0xFFFFFFFC, 32, REFUSED},
             {0, 0, 8, REFUSED},   {0, 0xFFFFFFFF, 8, REFUSED},  {0, 0xFFFFFFF8, 64, REFUSED},
             {3, 0, 32, REFUSED},  {3, 0xFFFFFFFF, 32, REFUSED}}) {
        SCOPED_TRACE(testing::Message() << c.size << ": " << c.offset << ", " << c.width);
        makeOpen("0x2000", std::to_string(c.size));
        EXPECT_EQ(write(c.offset, c.width, 0), c.expected);
        EXPECT_EQ(read(c.offset, c.width), c.expected);
        const bool taken = c.expected == TAKEN;
        EXPECT_EQ(m_read.value, taken ? 0U : 0x5555555555555555U);
        EXPECT_EQ(m_read.time, taken ? 0 : 7);
    }
}

TEST_F(HcDevmem, EachWidthMovesItsLowBitsAlone) {
    makeOpen("0x3ff8", "0x1010");
    constexpr std::uint64_t ones = ~std::uint64_t{0};
    constexpr std::uint64_t value = 0xFEDCBA9876543210;
    const std::map<std::uint32_t, std::uint64_t> low{
        {8, 0x10}, {16, 0x3210}, {32, 0x76543210}, {64, value}};
    // The second offset lies in the page behind the first, the third at the very end.
    for (const std::uint32_t offset : {0U, 8U, 0x1008U}) {
        for (const auto& [width, expected] : low) {
            SCOPED_TRACE(testing::Message() << offset << ", " << width);
            ASSERT_EQ(write(offset, 64, ones), RETURN_CODE_TYPE::NO_ERROR);
            ASSERT_EQ(write(offset, width, value), RETURN_CODE_TYPE::NO_ERROR);
            ASSERT_EQ(read(offset, width), RETURN_CODE_TYPE::NO_ERROR);
            EXPECT_EQ(m_read.value, expected);
            const std::uint64_t mask = width == 64 ? ones : (std::uint64_t{1} << width) - 1;
            EXPECT_EQ(inMemory<std::uint64_t>(0x3ff8 + offset), expected | (ones & ~mask));
        }
    }
}

TEST_F(HcDevmem, OpensANameOnceAndAgainAfterItsClose) {
    make("020000", "16");  // octal
    EXPECT_EQ(open("Missing"), RETURN_CODE_TYPE::INVALID_CONFIG);
    EXPECT_EQ(m_connection, -1);
    EXPECT_EQ(open("NoSize"), RETURN_CODE_TYPE::INVALID_CONFIG);
    EXPECT_EQ(open("NoBase"), RETURN_CODE_TYPE::INVALID_CONFIG);
    EXPECT_EQ(open(nullptr), RETURN_CODE_TYPE::INVALID_CONFIG);
    EXPECT_EQ(m_connection, -1);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(open("Block"), RETURN_CODE_TYPE::NO_ERROR);
        EXPECT_EQ(m_connection, 0);
    }
    EXPECT_EQ(block(), (std::array<std::uint32_t, 2>{0x2000, 16}));
    EXPECT_EQ(close(0), RETURN_CODE_TYPE::NO_ERROR) << "one open, whatever the number of calls";
    EXPECT_EQ(close(0), RETURN_CODE_TYPE::CONNECTION_CLOSED);
    EXPECT_EQ(read(0, 32), RETURN_CODE_TYPE::CONNECTION_CLOSED);
    EXPECT_EQ(write(0, 32, 1), RETURN_CODE_TYPE::CONNECTION_CLOSED);
    EXPECT_EQ(open("Block"), RETURN_CODE_TYPE::NO_ERROR);
    EXPECT_EQ(m_connection, 0);
    EXPECT_EQ(read(0, 32), RETURN_CODE_TYPE::NO_ERROR);
}

TEST_F(HcDevmem, BaseAndSizeChangeOnlyWhileClosedAndOnlyTogether) {
    makeOpen("0x2000", "16");
    EXPECT_EQ(configure(ulongs({{0, 0x6000}})), RETURN_CODE_TYPE::NO_ACTION);
    ASSERT_EQ(close(0), RETURN_CODE_TYPE::NO_ERROR);

    IO_PARAMETER_TRANSACTION_TYPE signedBase = ulongs({{1, 32}, {0, 0x6000}});
    signedBase.parameters[1].value.long_value(0x6000);
    EXPECT_EQ(configure(signedBase), RETURN_CODE_TYPE::INVALID_PARAM);
    EXPECT_EQ(configure(ulongs({{0, 0x6000}, {2, 5}})), RETURN_CODE_TYPE::INVALID_PARAM);
    EXPECT_EQ(block(), (std::array<std::uint32_t, 2>{0x2000, 16}));

    EXPECT_EQ(configure(ulongs({{1, 8}})), RETURN_CODE_TYPE::NO_ERROR);
    EXPECT_EQ(block(), (std::array<std::uint32_t, 2>{0x2000, 8}));
    EXPECT_EQ(configure(ulongs({{0, 0x7000}, {1, 4}, {0, 0x6000}})), RETURN_CODE_TYPE::NO_ERROR);
    EXPECT_EQ(block(), (std::array<std::uint32_t, 2>{0x6000, 4}));

    ASSERT_EQ(open("Block"), RETURN_CODE_TYPE::NO_ERROR);
    ASSERT_EQ(write(0, 32, 0xC0FFEE), RETURN_CODE_TYPE::NO_ERROR);
    EXPECT_EQ(inMemory<std::uint32_t>(0x6000), 0xC0FFEEU);
    EXPECT_EQ(write(4, 32, 1), RETURN_CODE_TYPE::NO_ACTION);
}

TEST_F(HcDevmem, EveryOperationAnswersForAnOpenAClosedAndAnUnknownConnection) {
    NoCallback callback;
    IO_PARAMETER_TRANSACTION_TYPE other = ulongs({{7, 0}, {1, 0}});
    CONNECTION_STATUS_TYPE status;
    std::uint16_t bus = 9;
    const auto call = [&](const auto& operation) {
        return [this, operation](long long id) {
            return codeOf([&](Code& rc) { operation(*m_service, id, rc); });
        };
    };
    struct Row {
        const char* name;
        std::function<Code(long long)> call;
        Code open, closed, unknown;
    };
    using R = RETURN_CODE_TYPE;
    const std::vector<Row> rows{
        {"bus parameters",
         call([&](auto& s, auto id, Code& rc) { s.Configure_Bus_Parameters(id, -1, other, rc); }),
         R::NO_ACTION, R::NO_ACTION, R::NO_ACTION},
        {"bus configuration",
         call([&](auto& s, auto id, Code& rc) { s.Get_Bus_Configuration(id, -1, other, rc); }),
         R::NO_ACTION, R::NO_ACTION, R::NO_ACTION},
        {"bus status", call([&](auto& s, auto id, Code& rc) { s.Get_Bus_Status(id, bus, rc); }),
         R::NO_ERROR, R::NO_ERROR, R::INVALID_PARAM},
        {"status",
         call([&](auto& s, auto id, Code& rc) { s.Get_Connection_Status(id, status, rc); }),
         R::NO_ERROR, R::CONNECTION_CLOSED, R::INVALID_PARAM},
        {"register",
         call([&](auto& s, auto id, Code& rc) { s.Register_Notification_Event(id, callback, rc); }),
         R::NO_ACTION, R::CONNECTION_CLOSED, R::INVALID_PARAM},
        {"unregister",
         call([&](auto& s, auto id, Code& rc) { s.Unregister_Notification_Event(id, rc); }),
         R::NO_ACTION, R::NO_ACTION, R::INVALID_PARAM},
        {"configuration, with a parameter that isn't there", call([&](auto& s, auto id, Code& rc) {
             s.Get_Connection_Configuration(id, -1, other, rc);
         }),
         R::INVALID_PARAM, R::INVALID_PARAM, R::INVALID_PARAM},
        {"read", call([&](auto& s, auto id, Code& rc) { s.Read(id, -1, m_read, rc); }), R::NO_ERROR,
         R::CONNECTION_CLOSED, R::INVALID_PARAM},
        {"write", call([&](auto& s, auto id, Code& rc) {
             s.Write(id, -1, {0, 8, 0}, rc);
         }),
         R::NO_ERROR, R::CONNECTION_CLOSED, R::INVALID_PARAM},
        {"close", call([&](auto& s, auto id, Code& rc) { s.Close_Connection(id, rc); }),
         R::NO_ERROR, R::CONNECTION_CLOSED, R::INVALID_PARAM},
    };
    m_read = {0, 0, 8, 0};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        makeOpen("0x2000", "16");
        EXPECT_EQ(row.call(0), row.open);
        static_cast<void>(close(0));
        EXPECT_EQ(row.call(0), row.closed);
        for (const long long unknown : {-1LL, 1LL, 1LL << 40, -(1LL << 62)}) {
            bus = 9;
            EXPECT_EQ(row.call(unknown), row.unknown);
            EXPECT_EQ(bus, 9);
        }
    }
    EXPECT_EQ(other.parameters[1].value.ulong_value(), 16U) << "the walk went on";
    EXPECT_TRUE(status.available);
    EXPECT_EQ(status.state, 2U);
}

TEST_F(HcDevmem, TakesOneConfigurationAndInitializesOnce) {
    m_service = std::make_unique<HC_Devmem>();
    m_file = unit().device("no-such-file");
    EXPECT_EQ(initialize(), RETURN_CODE_TYPE::INVALID_CONFIG) << "no configuration";
    EXPECT_EQ(open("Block"), RETURN_CODE_TYPE::INVALID_CONFIG);
    EXPECT_EQ(reference(nullptr), RETURN_CODE_TYPE::INVALID_PARAM);
    const auto configuration = std::make_shared<FACE::HC_Config>();
    EXPECT_EQ(reference(configuration), RETURN_CODE_TYPE::NO_ERROR);
    EXPECT_EQ(reference(configuration), RETURN_CODE_TYPE::NOT_AVAILABLE);
    EXPECT_EQ(initialize(), RETURN_CODE_TYPE::INVALID_CONFIG) << "no file";
    m_file = unit().configure({});
    EXPECT_EQ(initialize(), RETURN_CODE_TYPE::NO_ERROR);
    EXPECT_EQ(initialize(), RETURN_CODE_TYPE::NO_ACTION);

    m_service = std::make_unique<HC_Devmem>();
    EXPECT_EQ(reference(configuration), RETURN_CODE_TYPE::NO_ERROR);
    EXPECT_EQ(initialize(), RETURN_CODE_TYPE::NO_ERROR) << "initialized by another user";
}

// Base and size that would wrap in 32 bits map or fail as a whole, and spoil nothing.
TEST_F(HcDevmem, BlocksAtTheEndOfTheAddressSpaceAreOrderly) {
    for (const auto& [base, size] :
         std::vector<std::pair<std::string, std::string>>{{"0xFFFFFFFF", "0xFFFFFFFF"},
                                                          {"0xFFFFFFFF", "1"},
                                                          {"0xFFFFF000", "0x2000"},
                                                          {"0", "0xFFFFFFFF"},
                                                          {"0x1FFFFFFFFFFFFFFFFF", "-1"}}) {
        SCOPED_TRACE(base + ", " + size);
        makeOpen(base, size);
        EXPECT_EQ(read(0xFFFFFFFF, 64), RETURN_CODE_TYPE::NO_ACTION);
        EXPECT_EQ(close(0), RETURN_CODE_TYPE::NO_ERROR);
    }
}

TEST(HcDevmemMapping, CoversWholePagesUpToOneBehindTheEnd) {
    unit().use();
    struct Case {
        std::uint32_t base, size;
        std::size_t pages;
    };
    for (const Case& c : std::initializer_list<Case>{{0, 0, 1},
                                                     {0, PAGE - 1, 1},
                                                     {0, PAGE, 2},
                                                     {PAGE - 8, 16, 2},
                                                     {PAGE - 8, PAGE, 2},
                                                     {PAGE - 8, PAGE + 8, 3},
                                                     {0xFFFFFFFF, 0xFFFFFFFF, 0x100001}}) {
        const MemoryMap map(c.base, c.size);
        EXPECT_EQ(map.getLength(), c.pages * PAGE) << c.base << ", " << c.size;
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(map.getPointerToBase()) % PAGE, c.base % PAGE);
    }
}

/** Runs in a process of its own, as /dev/mem is opened once in each. Prints what a map raises. */
[[noreturn]] void mapAndExit(bool withDevice) {
    constexpr rlim_t most = 1 << 20;
    const rlimit limited{withDevice ? most : RLIM_INFINITY, RLIM_INFINITY};
    const rlimit unlimited{RLIM_INFINITY, RLIM_INFINITY};
    unit().use();
    if (!withDevice) {
        ::setenv("HALCYRINE_ROOT", "/nowhere", 1);
    }
    try {
        ::setrlimit(RLIMIT_AS, &limited);
        const MemoryMap map(0, most);
    } catch (const std::exception& error) {
        std::fputs(error.what(), stderr);
    }
    ::setrlimit(RLIMIT_AS, &unlimited);
    std::exit(3);
}

TEST(HcDevmemDeathTest, MappingThatFailsSaysWhy) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(mapAndExit(false), testing::ExitedWithCode(3),
                "^Unable to open /dev/mem file descriptor\\.$");
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    // The sanitizers' shadow memory passes any limit on the address space.
    EXPECT_EXIT(mapAndExit(true), testing::ExitedWithCode(3), "^Unable to map memory space\\.$");
#endif
}

/** Opens a block without /dev/mem, and leaves with the code that a read then gets. */
[[noreturn]] void openAndExit(const std::string& file) {
    ::setenv("HALCYRINE_ROOT", "/nowhere", 1);
    HC_Devmem service;
    Code rc = UNSET;
    service.Set_Reference("", std::make_shared<FACE::HC_Config>(), 0, rc);
    service.Initialize(file.c_str(), rc);
    long long connection = -1;
    service.Open_Connection("Block", -1, connection, rc);
    CONNECTION_STATUS_TYPE status;
    service.Get_Connection_Status(connection, status, rc);
    const bool openedButFailed = connection == 0 && rc == RETURN_CODE_TYPE::NO_ERROR &&
                                 status.available && status.state == 4;
    FACE::IOSS::Devmem::Register_Read payload{0, 0, 32, 0};
    service.Read(connection, -1, payload, rc);
    const Code readCode = rc;
    service.Write(connection, -1, {0, 32, 0}, rc);
    const Code writeCode = rc;
    service.Close_Connection(connection, rc);
    std::exit(openedButFailed && readCode == writeCode && rc == RETURN_CODE_TYPE::NO_ERROR
                  ? static_cast<int>(readCode)
                  : 99);
}

TEST(HcDevmemDeathTest, BlockThatCannotBeMappedOpensAndAnswersInvalidMode) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const std::string file = unit().configure({{"Block", {{"BaseAddress", "0"}, {"Size", "16"}}}});
    EXPECT_EXIT(openAndExit(file), testing::ExitedWithCode(RETURN_CODE_TYPE::INVALID_MODE), "");
}

TEST_F(HcDevmem, CloseWaitsForReadersOnOtherThreads) {
    makeOpen("0x2000", "16");
    ASSERT_EQ(write(8, 64, 42), RETURN_CODE_TYPE::NO_ERROR);
    std::atomic<bool> done{false};
    std::atomic<int> wrong{0};
    std::atomic<int> reads{0};
    const auto reader = [&] {
        while (!done) {
            FACE::IOSS::Devmem::Register_Read payload{0, 8, 64, 0};
            Code rc = UNSET;
            m_service->Read(0, -1, payload, rc);
            reads += rc == RETURN_CODE_TYPE::NO_ERROR ? 1 : 0;
            const bool right = (rc == RETURN_CODE_TYPE::NO_ERROR && payload.value == 42) ||
                               (rc == RETURN_CODE_TYPE::CONNECTION_CLOSED && payload.value == 0);
            wrong += right ? 0 : 1;
        }
    };
    std::thread first(reader);
    std::thread second(reader);
    for (int i = 0; i < 200; ++i) {
        const int before = reads;
        while (reads == before) {
            std::this_thread::yield();
        }
        EXPECT_EQ(close(0), RETURN_CODE_TYPE::NO_ERROR);
        EXPECT_EQ(open("Block"), RETURN_CODE_TYPE::NO_ERROR);
    }
    done = true;
    first.join();
    second.join();
    EXPECT_EQ(wrong, 0);
}

}  // namespace
