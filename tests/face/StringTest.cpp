#include "face/FACE_String.h"

#include <array>
#include <string>

#include "face/FaceFixture.h"

namespace {

using FACE::String;

constexpr std::uint32_t MOST = 0xFFFFFFFEU;
const std::string LONG(100, 'x');

void expectInvalid(const String& text) {
    EXPECT_FALSE(text.is_valid());
    EXPECT_FALSE(text.is_managed());
    EXPECT_FALSE(text.is_bounded());
    EXPECT_EQ(text.bound() + text.length() + text.capacity(), 0U);
    EXPECT_EQ(text.buffer(), nullptr);
    EXPECT_EQ(text.view(), "");
    EXPECT_EQ(text[0], '\0');
    EXPECT_EQ(text[7], '\0');
}

TEST(String, BoundOfManagedStringDecidesValidity) {
    for (const auto& [bound, valid] :
         {std::pair{0U, false}, {1U, true}, {MOST, true}, {String::UNBOUNDED, false}}) {
        String::RETURN_CODE rc{};
        const String text(bound, rc);
        EXPECT_EQ(rc, valid ? String::NO_ERROR : String::PRECONDITION_VIOLATED) << bound;
        EXPECT_EQ(text.bound(), valid ? bound : 0U);
        EXPECT_EQ(text.is_managed(), valid);
        EXPECT_EQ(text.is_bounded(), valid);
    }
    const String unbounded;
    EXPECT_TRUE(unbounded.is_managed());
    EXPECT_FALSE(unbounded.is_bounded());
    EXPECT_EQ(unbounded.bound(), String::UNBOUNDED);
    EXPECT_STREQ(unbounded.buffer(), "");
}

TEST(String, ManagedCopyOfText) {
    std::string source = "abc";
    String::RETURN_CODE rc{};
    const String copy(source.c_str(), rc);
    source[0] = 'X';
    EXPECT_EQ(rc, String::NO_ERROR);
    EXPECT_TRUE(copy.is_managed());
    EXPECT_EQ(copy.bound(), 3U);
    EXPECT_STREQ(copy.buffer(), "abc");

    expectInvalid(String(static_cast<const char*>(nullptr), rc));
    EXPECT_EQ(rc, String::PRECONDITION_VIOLATED);

    const NoMemory none;
    const String failed(LONG.c_str(), rc);
    EXPECT_FALSE(failed.is_valid());
    EXPECT_EQ(rc, String::INSUFFICIENT_MEMORY);
}

TEST(String, BufferFormChecksItsArguments) {
    std::array<char, 8> room{};
    struct {
        char* buffer;
        std::uint32_t length, bound;
        bool valid;
    } const table[] = {
        {room.data(), 2, 7, true},    {room.data(), 7, 7, true},
        {nullptr, 0, 7, false},       {room.data(), 0, 0, false},
        {room.data(), 2, 1, false},   {room.data(), 0, 0xFFFFFFFFU, false},
        {room.data(), 0, MOST, true},
    };
    for (const auto& row : table) {
        room.fill('#');
        String::RETURN_CODE rc{};
        const String text(row.buffer, row.length, row.bound, rc);
        EXPECT_EQ(rc, row.valid ? String::NO_ERROR : String::PRECONDITION_VIOLATED);
        EXPECT_EQ(text.length(), row.valid ? row.length : 0U);
        EXPECT_EQ(text.capacity(), row.valid ? row.bound : 0U);
        EXPECT_FALSE(text.is_managed());
        EXPECT_EQ(room[row.length], row.valid ? '\0' : '#');
    }
}

TEST(String, ViewTakesNoMemoryAndIsFull) {
    const char* literal = "a literal longer than any store within the string itself";
    const NoMemory none;
    String view(literal);
    EXPECT_EQ(view.buffer(), literal);
    EXPECT_FALSE(view.is_managed());
    EXPECT_EQ(view.bound(), view.length());
    EXPECT_EQ(view.append('x'), String::INSUFFICIENT_BOUND);
    EXPECT_EQ(view.append(""), String::NO_ERROR);
    expectInvalid(String(nullptr));
}

TEST(String, AppendStopsAtTheBoundInBothModes) {
    std::array<char, 4> room{};
    String::RETURN_CODE rc{};
    String managed(3, rc);
    String external(room.data(), 0, 3, rc);
    for (String* text : {&managed, &external}) {
        EXPECT_EQ(text->append("ab"), String::NO_ERROR);
        EXPECT_EQ(text->append(*text), String::INSUFFICIENT_BOUND);
        EXPECT_EQ(text->append('c'), String::NO_ERROR);
        EXPECT_EQ(text->append('d'), String::INSUFFICIENT_BOUND);
        EXPECT_EQ(text->append(""), String::NO_ERROR);
        EXPECT_EQ(text->append(String(nullptr)), String::PRECONDITION_VIOLATED);
        EXPECT_STREQ(text->buffer(), "abc");
        text->clear();
        EXPECT_EQ(text->length(), 0U);
        EXPECT_EQ(text->append('z'), String::NO_ERROR);
        EXPECT_STREQ(text->buffer(), "z");
    }
    String invalid(nullptr);
    invalid.clear();
    EXPECT_EQ(invalid.append('x'), String::PRECONDITION_VIOLATED);
}

TEST(String, AppendOfItselfDoublesAndWithoutMemoryChangesNothing) {
    std::array<char, 9> room{"abcd"};
    String::RETURN_CODE rc{};
    String external(room.data(), 4, 8, rc);
    String managed;
    managed.append("abcd");
    for (String* text : {&managed, &external}) {
        EXPECT_EQ(text->append(*text), String::NO_ERROR);
        EXPECT_STREQ(text->buffer(), "abcdabcd");
    }
    const NoMemory none;
    EXPECT_EQ(managed.append(LONG.c_str()), String::INSUFFICIENT_MEMORY);
    EXPECT_STREQ(managed.buffer(), "abcdabcd");
}

TEST(String, CopyAndAssignmentLeaveTheExternalBuffer) {
    std::array<char, 8> room{"abc"};
    String::RETURN_CODE rc{};
    String external(room.data(), 3, 7, rc);
    const String copy(external);
    room[0] = 'X';
    EXPECT_TRUE(copy.is_managed());
    EXPECT_EQ(copy.bound(), 7U);
    EXPECT_STREQ(copy.buffer(), "abc");

    external = String("new text");
    EXPECT_TRUE(external.is_managed());
    EXPECT_EQ(external.bound(), 8U);
    EXPECT_STREQ(external.buffer(), "new text");
    EXPECT_STREQ(room.data(), "Xbc");

    String self(room.data(), 3, 7, rc);
    const String& same = self;
    self = same;
    EXPECT_TRUE(self.is_managed());
    EXPECT_STREQ(self.buffer(), "Xbc");
}

TEST(String, FailedAssignmentInvalidates) {
    String text("abc");
    text = String(nullptr);
    expectInvalid(text);
    text = "again";  // and a good one mends it
    EXPECT_STREQ(text.buffer(), "again");
    const NoMemory none;
    text = LONG.c_str();
    EXPECT_FALSE(text.is_valid());
    EXPECT_FALSE(String(LONG.c_str()).is_managed());
}

TEST(String, IndexPastTheEndIsTheNul) {
    std::array<char, 8> room{"abcXYZ"};
    String::RETURN_CODE rc{};
    String external(room.data(), 3, 7, rc);
    String managed(external);
    for (String* text : {&managed, &external}) {
        (*text)[1] = 'B';
        EXPECT_STREQ(text->buffer(), "aBc");
        EXPECT_EQ((*text)[3], '\0');
        EXPECT_EQ(&(*text)[4], text->buffer() + 3);
        EXPECT_EQ(&std::as_const(*text)[0xFFFFFFFFU], text->buffer() + 3);
    }
}

}  // namespace
