#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <string>

#include "face/FaceFixture.h"
#include "face/HC_Config_Helpers.h"
#include "utilities/Console.h"

namespace {

using FACE::HC_Config;
using face_test::RC;
namespace helpers = FACE::HC_Config_Helpers;
using Whence = HC_Config::WHENCE_TYPE;

class Config : public face_test::LoadedFixture {
protected:
    /** The name of the container reached, or the code's name in angle brackets. */
    std::string seek(int handle, Whence::Value whence, int offset) {
        const RC::Value rc = codeOf(&HC_Config::Seek, m_config, handle, whence, offset);
        return rc == RC::NO_ERROR ? read(m_config, handle, "")
                                  : '<' + std::string(RC::ToString(rc).view()) + '>';
    }
};

TEST_F(Config, OpensByNameAndByTypeWithOneHandleForEachType) {
    const int link = open(m_config, "A");
    EXPECT_EQ(open(m_config, "A"), link);
    EXPECT_EQ(read(m_config, link, "Port"), "0x10");
    EXPECT_EQ(open(m_config, "B"), link);
    EXPECT_EQ(read(m_config, link, "Port"), "010");
    const int device = open(m_config, "Device");
    EXPECT_GT(device, link);
    EXPECT_EQ(read(m_config, device, ""), "Link2");
    EXPECT_EQ(open(m_config, "B"), link);  // an open name leaves the handle where it is
    EXPECT_EQ(open(m_config, "Link"), link);
    EXPECT_EQ(read(m_config, link, ""), "A");

    for (const char* none : {"a", "Link2 ", "", static_cast<const char*>(nullptr)}) {
        int handle = -7;
        EXPECT_EQ(codeOf(&HC_Config::Open, m_config, none, handle), RC::INVALID_CONFIG);
        EXPECT_EQ(handle, -7);
    }
}

TEST_F(Config, ClosedHandleIsUnknownAndItsNumberNeverComesBack) {
    const int first = open(m_config, "A");
    HC_Config other;
    ASSERT_EQ(initialize(other), RC::NO_ERROR);
    EXPECT_EQ(codeOf(&HC_Config::Close, m_config, first), RC::NO_ERROR);
    EXPECT_EQ(codeOf(&HC_Config::Close, m_config, first), RC::INVALID_CONFIG);
    const int second = open(other, "A");
    EXPECT_GT(second, first);
    EXPECT_GT(open(m_config, "A"), second);
}

TEST_F(Config, SeekStepsAmongContainersOfTheType) {
    struct {
        const char* from;
        Whence::Value whence;
        int offset;
        const char* reached;
    } const table[] = {
        {"C", Whence::SEEK_FROM_START, 0, "A"},
        {"C", Whence::SEEK_FROM_START, 1, "B"},
        {"C", Whence::SEEK_FROM_START, -1, "<INVALID_PARAM>"},
        {"A", Whence::SEEK_FROM_CURRENT, 0, "A"},
        {"A", Whence::SEEK_FROM_CURRENT, 1, "B"},  // past the device and the nameless link
        {"A", Whence::SEEK_FROM_CURRENT, 2, "C"},
        {"A", Whence::SEEK_FROM_CURRENT, 3, "<INVALID_PARAM>"},
        {"B", Whence::SEEK_FROM_CURRENT, -1, "A"},
        {"B", Whence::SEEK_FROM_CURRENT, INT_MAX, "<INVALID_PARAM>"},
        {"B", Whence::SEEK_FROM_CURRENT, INT_MIN, "<INVALID_PARAM>"},
        {"A", Whence::SEEK_FROM_END, 0, "C"},
        {"A", Whence::SEEK_FROM_END, 1, "B"},
        {"A", Whence::SEEK_FROM_END, 2, "A"},
        {"A", Whence::SEEK_FROM_END, 3, "<INVALID_PARAM>"},
        {"A", Whence::SEEK_FROM_END, -1, "<INVALID_PARAM>"},
        {"A", static_cast<Whence::Value>(3), 0, "<INVALID_CONFIG>"},
    };
    for (const auto& row : table) {
        const int handle = open(m_config, row.from);
        const std::string reached = seek(handle, row.whence, row.offset);
        EXPECT_EQ(reached, row.reached) << row.from << row.whence << '+' << row.offset;
        const bool moved = reached[0] != '<';
        EXPECT_EQ(read(m_config, handle, ""), moved ? reached : row.from);
        if (moved) {  // the handle goes by its new name, too
            EXPECT_EQ(open(m_config, reached.c_str()), handle);
        }
    }
}

TEST_F(Config, SizeAndReadOfEachKindOfParameter) {
    const int link = open(m_config, "A");
    const int device = open(m_config, "Device");
    struct {
        const char* container;
        const char* parameter;
        const char* text;
    } const table[] = {
        {"A", "", "A"},          {"A", "Port", "0x10"},      {"A", "Text", "Tom & <Jerry>"},
        {"A", "Empty", nullptr}, {"A", "Missing", nullptr},  {"A", nullptr, nullptr},
        {"B", "Quoted", "raw"},  {"B", "Noted", "5"},        {"C", "Port", nullptr},
        {"Device", "", "Link2"}, {"Device", "Port", nullptr}};
    for (const auto& row : table) {
        const int handle = open(m_config, row.container);
        EXPECT_EQ(handle, *row.container == 'D' ? device : link);
        int size = -7;
        EXPECT_EQ(codeOf(&HC_Config::Get_Size, m_config, handle, row.parameter, size),
                  row.text != nullptr ? RC::NO_ERROR : RC::INVALID_CONFIG);
        EXPECT_EQ(size, row.text != nullptr ? static_cast<int>(std::strlen(row.text)) : -7);
        EXPECT_EQ(read(m_config, handle, row.parameter),
                  row.text != nullptr ? row.text : "<INVALID_PARAM>");
    }
}

TEST_F(Config, ReadFillsTheBufferAndNotAByteMore) {
    const int handle = open(m_config, "A");
    for (const int size : {0, 1, 4, 5, 9}) {
        std::string buffer(10, '?');
        const int expected = std::min(size, 4);
        int copied = -1;
        EXPECT_EQ(codeOf(&HC_Config::Read, m_config, handle, "Port", buffer.data(), size, copied),
                  RC::NO_ERROR);
        EXPECT_EQ(copied, expected);
        const std::string text = std::string("0x10").substr(0, static_cast<std::size_t>(expected));
        EXPECT_EQ(buffer, text + std::string(static_cast<std::size_t>(size - expected), '\0') +
                              std::string(static_cast<std::size_t>(10 - size), '?'));
    }
}

TEST_F(Config, BadBuffersAndHandlesHaveTheirCodes) {
    const int link = open(m_config, "A");
    std::array<char, 4> room{"abc"};
    struct {
        int handle;
        void* buffer;
        int size;
        RC::Value expected;
    } const table[] = {
        {link, room.data(), -1, RC::INVALID_PARAM},
        {link, room.data(), INT_MIN, RC::INVALID_PARAM},
        {link, nullptr, 4, RC::INVALID_PARAM},
        {link + 1000, room.data(), 4, RC::INVALID_CONFIG},
        {-1, room.data(), 4, RC::INVALID_CONFIG},
    };
    for (const auto& row : table) {
        int count = -1;
        EXPECT_EQ(
            codeOf(&HC_Config::Read, m_config, row.handle, "Port", row.buffer, row.size, count),
            row.expected);
        EXPECT_EQ(std::exchange(count, -1), 0);
        EXPECT_EQ(
            codeOf(&HC_Config::Write, m_config, row.handle, "Port", row.buffer, row.size, count),
            row.expected);
        EXPECT_EQ(count, 0);
    }
    EXPECT_STREQ(room.data(), "abc");
    EXPECT_EQ(read(m_config, link, "Port"), "0x10");
    EXPECT_EQ(seek(-1, Whence::SEEK_FROM_START, 0), "<INVALID_CONFIG>");
    EXPECT_EQ(file(), face_test::GOOD);
}

TEST_F(Config, InitializeFailsInOrderAndMayBeRepeated) {
    HC_Config config;
    int handle = -7;
    EXPECT_EQ(codeOf(&HC_Config::Initialize, config, FACE::String(nullptr)), RC::INVALID_PARAM);
    std::filesystem::remove(m_path);
    {
        const Captured console;
        EXPECT_EQ(initialize(config), RC::INVALID_CONFIG);
        std::filesystem::create_directory(m_path);
        EXPECT_EQ(initialize(config), RC::INVALID_CONFIG);
        std::filesystem::remove(m_path);
        EXPECT_EQ(console.text(), "");
    }
    put("<Other/>");
    {
        const Captured console;
        EXPECT_EQ(initialize(config), RC::INVALID_CONFIG);
        EXPECT_EQ(console.text(), "Configuration XML - " + m_path.string() +
                                      " Error: Unable to locate the HC_Configurations object\n");
    }
    EXPECT_EQ(codeOf(&HC_Config::Open, config, "A", handle), RC::INVALID_MODE);
    put(face_test::GOOD);
    EXPECT_EQ(initialize(config), RC::NO_ERROR);
    put("<Other/>");
    EXPECT_EQ(initialize(config), RC::NO_ERROR);  // does nothing
    EXPECT_EQ(read(config, open(config, "B"), "Port"), "010");
}

TEST_F(Config, PlatformFileIsFoundBelowTheDeviceRoot) {
    const std::filesystem::path plain = "/opt/halcyrine/config/face_test.xml";
    const std::filesystem::path below = m_directory / plain.relative_path();
    std::filesystem::create_directories(below.parent_path());
    std::filesystem::copy_file(m_path, below);
    ::setenv("HALCYRINE_ROOT", m_directory.c_str(), 1);
    HC_Config config;
    EXPECT_EQ(codeOf(&HC_Config::Initialize, config, plain.c_str()), RC::NO_ERROR);
    EXPECT_EQ(write(config, open(config, "A"), "Port", "7"), RC::NO_ERROR);
    ::unsetenv("HALCYRINE_ROOT");
    m_path = below;
    EXPECT_NE(file().find("<Port>7</Port>"), std::string::npos);
}

class Helpers : public Config {
protected:
    int m_handle = open(m_config, "A");
};

TEST_F(Helpers, ReadNumbersAndTruthValuesAndWriteTheseInCapitals) {
    struct {
        const char* text;
        unsigned long long number;
        bool truth;
    } const table[] = {
        {"TRUE", 0, true},    {"tRuE", 0, true}, {"FALSE", 0, false},
        {"1", 1, true},       {"0", 0, false},   {"0x0", 0, false},
        {"0x127", 295, true}, {"010", 8, true},  {"65536", 65536, true},
        {"yes", 0, false},    {"2x", 2, true},   {"99999999999999999999", ULLONG_MAX, true}};
    for (const auto& row : table) {
        RC::Value rc = RC::NO_ACTION;
        helpers::Set_String_Parameter(m_config, m_handle, "Port", row.text, rc);
        unsigned long long number = 99;
        bool truth = !row.truth;
        FACE::String text;
        helpers::Details::Get_Unsigned_Parameter(m_config, m_handle, "Port", number, rc);
        helpers::Get_Boolean_Parameter(m_config, m_handle, "Port", truth, rc);
        helpers::Get_String_Parameter(m_config, m_handle, "Port", text, rc);
        EXPECT_EQ(number, row.number) << row.text;
        EXPECT_EQ(truth, row.truth) << row.text;
        EXPECT_EQ(text.view(), row.text);
        EXPECT_TRUE(text.is_managed());
        EXPECT_EQ(text.bound(), text.length());
        helpers::Set_Boolean_Parameter(m_config, m_handle, "Port", row.truth, rc);
        EXPECT_EQ(read(m_config, m_handle, "Port"), row.truth ? "TRUE" : "FALSE");
        EXPECT_EQ(rc, RC::NO_ACTION);  // as the caller set it
    }
}

TEST_F(Helpers, AbsentAndEmptyLookAlikeAndLeaveTheValue) {
    for (const std::string name : {"Missing", "Empty"}) {
        const Captured console;
        FACE::String text("old");
        bool truth = true;
        unsigned long long number = 99;
        std::array<RC::Value, 5> rc{};
        const char* key = name.c_str();
        helpers::Get_String_Parameter(m_config, m_handle, key, text, rc[0]);
        helpers::Get_Boolean_Parameter(m_config, m_handle, key, truth, rc[1]);
        helpers::Details::Get_Unsigned_Parameter(m_config, m_handle, key, number, rc[2]);
        helpers::Set_String_Parameter(m_config, m_handle, key, "new", rc[3]);
        helpers::Set_Boolean_Parameter(m_config, m_handle, key, true, rc[4]);
        for (const RC::Value code : rc) {
            EXPECT_EQ(code, RC::INVALID_CONFIG);
        }
        EXPECT_STREQ(text.buffer(), "old");
        EXPECT_TRUE(truth);
        EXPECT_EQ(number, 99U);
        const std::string line = "WARNING - Parameter " + name + " not found\n";
        EXPECT_EQ(console.text(), utilities::concat(line, line, line));
    }
}

}  // namespace
