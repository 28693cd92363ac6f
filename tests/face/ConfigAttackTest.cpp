#include <algorithm>
#include <array>
#include <string>

#include "face/FaceFixture.h"
#include "face/HC_Config_Helpers.h"

namespace {

using FACE::HC_Config;
using face_test::GOOD;
using face_test::RC;

class ConfigAttack : public face_test::ConfigFixture {
protected:
    static constexpr std::array NAMES = {"A", "B", "C", "Link", "Device", "Link2", "\xff", ""};

    /** Loads `text` and uses whatever came of it to the full. True when it was taken. */
    bool attack(const std::string& text) const {
        put(text);
        const Captured console;
        HC_Config config;
        const bool taken = initialize(config) == RC::NO_ERROR;
        for (const char* name : NAMES) {
            int handle = -1;
            const RC::Value rc = codeOf(&HC_Config::Open, config, name, handle);
            if (!taken) {
                EXPECT_EQ(rc, RC::INVALID_MODE);
            } else if (rc == RC::NO_ERROR) {
                walk(config, handle);
            } else {
                EXPECT_EQ(rc, RC::INVALID_CONFIG);
            }
        }
        return taken;
    }

    /** Reads all that the handle reaches. */
    static void walk(HC_Config& config, int handle) {
        using Whence = HC_Config::WHENCE_TYPE;
        RC::Value rc = codeOf(&HC_Config::Seek, config, handle, Whence::SEEK_FROM_START, 0);
        EXPECT_EQ(rc, RC::NO_ERROR);
        while (rc == RC::NO_ERROR) {
            EXPECT_TRUE(probe(config, handle, ""));  // every container has a name
            for (const char* parameter : {"Port", "Text", "Empty", "Flag", "Quoted", "Noted"}) {
                probe(config, handle, parameter);
            }
            rc = codeOf(&HC_Config::Seek, config, handle, Whence::SEEK_FROM_CURRENT, 1);
        }
        EXPECT_EQ(rc, RC::INVALID_PARAM);
    }

    /** Size, short read and helper agree. True when the parameter is there. */
    static bool probe(HC_Config& config, int handle, const char* parameter) {
        constexpr int room = 6;
        std::array<char, room + 1> buffer{};
        buffer.fill('#');
        int size = 0;
        int copied = -1;
        const bool there =
            codeOf(&HC_Config::Get_Size, config, handle, parameter, size) == RC::NO_ERROR;
        EXPECT_EQ(there, size > 0);
        EXPECT_EQ(codeOf(&HC_Config::Read, config, handle, parameter, buffer.data(), room, copied),
                  there ? RC::NO_ERROR : RC::INVALID_PARAM);
        EXPECT_EQ(copied, std::min(size, room));
        EXPECT_EQ(buffer[room], '#');
        const std::string text =
            FACE::HC_Config_Helpers::Details::Read_Config(config, handle, parameter);
        EXPECT_EQ(text.size(), static_cast<std::size_t>(size));
        return there;
    }
};

TEST_F(ConfigAttack, EveryTruncationIsRefused) {
    ASSERT_TRUE(attack(GOOD));
    const std::size_t whole = GOOD.find_last_of('>') + 1;
    for (std::size_t length = 0; length < whole; ++length) {
        EXPECT_FALSE(attack(GOOD.substr(0, length))) << length;
    }
}

TEST_F(ConfigAttack, EveryBitFlipIsRefusedOrReadInOrder) {
    int taken = 0;
    for (std::size_t bit = 0; bit < GOOD.size() * 8; ++bit) {
        std::string text = GOOD;
        text[bit / 8] = static_cast<char>(text[bit / 8] ^ (1 << (bit % 8)));
        taken += attack(text) ? 1 : 0;
        ASSERT_FALSE(HasFailure()) << "bit " << bit;
    }
    EXPECT_GT(taken, 0);
}

TEST_F(ConfigAttack, WholeButFalseDocuments) {
    const auto repeat = [](std::string_view part, int times) {
        std::string text;
        for (; times > 0; --times) {
            text += part;
        }
        return text;
    };
    const auto rooted = [](const std::string& inner) {
        return "<HC_Configurations>" + inner + "</HC_Configurations>";
    };
    const std::string nest = "<Link><Name>";
    struct {
        const char* what;
        std::string text;
        bool taken;
    } const table[] = {
        {"empty", "", false},
        {"text only", "HC_Configurations", false},
        {"nothing but NUL", std::string(1000, '\0'), false},
        {"no containers", rooted(""), true},
        {"deep nesting", rooted(repeat(nest, 100000)), false},
        {"deep and closed", rooted(repeat("<a>", 100000) + repeat("</a>", 100000)), false},
        {"name with a child", rooted("<Link><Name><A/></Name></Link>"), true},
        {"name only white", rooted("<Link><Name>  \n</Name></Link>"), true},
        {"name empty in quotes", rooted("<Link><Name><![CDATA[]]></Name></Link>"), true},
        {"parameter with a child",
         rooted("<Link><Name>A</Name><Parameters><Port><X/>5</Port></Parameters></Link>"), true},
        {"two parameter lists",
         rooted("<Link><Name>A</Name><Parameters/><Parameters><Port>5</Port></Parameters></Link>"),
         true},
        {"name of another type", rooted("<X><Name>Link</Name></X><Link><Name>A</Name></Link>"),
         true},
        {"false entities", rooted("<Link><Name>&#0;&#x110000;&#xD800;&nbsp;&</Name></Link>"), true},
        {"huge name", rooted("<Link><Name>" + std::string(1U << 20U, 'n') + "</Name></Link>"),
         true},
        {"many containers", rooted(repeat("<Link><Name>N</Name></Link>", 2000)), true},
        {"many nameless", rooted(repeat("<Link/>", 2000)), true},
    };
    for (const auto& row : table) {
        EXPECT_EQ(attack(row.text), row.taken) << row.what;
    }
}

TEST_F(ConfigAttack, FileBeyondTheLimitIsRefusedUnread) {
    put(GOOD);
    for (const bool beyond : {false, true}) {
        std::filesystem::resize_file(m_path, HC_Config::MAX_FILE_SIZE + (beyond ? 1 : 0));
        HC_Config config;
        EXPECT_EQ(initialize(config), beyond ? RC::INVALID_CONFIG : RC::NO_ERROR);
    }
}

TEST_F(ConfigAttack, LackOfMemoryIsACode) {
    put(GOOD);
    HC_Config config;
    int handle = 0;
    int written = -1;
    std::string value(100, 'v');
    const auto withoutMemory = [&](auto operation, auto&&... arguments) {
        const NoMemory none;
        return codeOf(operation, config, arguments...);
    };
    EXPECT_EQ(withoutMemory(&HC_Config::Initialize, m_path.c_str()), RC::INVALID_CONFIG);
    ASSERT_EQ(initialize(config), RC::NO_ERROR);
    EXPECT_EQ(withoutMemory(&HC_Config::Open, "A", handle), RC::INVALID_CONFIG);
    handle = open(config, "A");
    EXPECT_EQ(withoutMemory(&HC_Config::Write, handle, "Port", value.data(), 100, written),
              RC::INVALID_CONFIG);
    EXPECT_EQ(written, 0);
    EXPECT_EQ(read(config, handle, "Port"), "0x10");
}

}  // namespace
