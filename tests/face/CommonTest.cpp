#include "face/FACE_Common.h"

#include <stdexcept>
#include <string>

#include "face/FaceFixture.h"

namespace {

using face_test::RC;
using Guard = void (*)(const char*, int, const char*, RC::Value);

/** What the guard throws; empty when it returns. */
std::string thrownBy(Guard guard, RC::Value code) {
    try {
        guard("dir/server", 116, "Initialize() failed", code);
        return {};
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

TEST(ReturnCode, EachHasItsNumberAndName) {
    std::string names;
    for (std::uint32_t code = 0; code <= 14; ++code) {
        names.append(RC::ToString(static_cast<RC::Value>(code)).view()).append(" ");
    }
    EXPECT_EQ(
        names,
        "NO_ERROR NO_ACTION NOT_AVAILABLE INVALID_PARAM INVALID_CONFIG INVALID_MODE TIMED_OUT "
        "ADDR_IN_USE PERMISSION_DENIED MESSAGE_STALE IN_PROGRESS CONNECTION_CLOSED "
        "DATA_BUFFER_TOO_SMALL DATA_OVERFLOW RC_UNKNOWN ");
    EXPECT_STREQ(RC::ToString(static_cast<RC::Value>(0xFFFFFFFFU)).buffer(), "RC_UNKNOWN");
    EXPECT_TRUE(RC::ToString(RC::TIMED_OUT).is_managed());
}

TEST(Guards, RaiseAndPrintEveryCodeButTheirOwn) {
    const Guard strict = FACE::Return_Code_Value_No_Error;
    const Guard lenient = FACE::Return_Code_Value_No_Error_No_Action;
    const std::string config = "dir/server[116]:INVALID_CONFIG Initialize() failed";
    struct {
        Guard guard;
        RC::Value code;
        std::string text;
    } const table[] = {
        {strict, RC::NO_ERROR, ""},
        {lenient, RC::NO_ERROR, ""},
        {lenient, RC::NO_ACTION, ""},
        {strict, RC::NO_ACTION, "dir/server[116]:NO_ACTION Initialize() failed"},
        {strict, RC::INVALID_CONFIG, config},
        {lenient, RC::INVALID_CONFIG, config},
        {lenient, static_cast<RC::Value>(14), "dir/server[116]:RC_UNKNOWN Initialize() failed"},
    };
    for (const auto& row : table) {
        const Captured console;
        EXPECT_EQ(thrownBy(row.guard, row.code), row.text);
        EXPECT_EQ(console.text(), row.text.empty() ? "" : row.text + '\n');
    }
}

}  // namespace
