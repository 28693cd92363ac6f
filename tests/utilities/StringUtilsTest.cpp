#include "utilities/StringUtils.h"

#include <gtest/gtest.h>

namespace {

using Texts = std::vector<std::string>;

TEST(StringUtils, TrimCutsTheSixBlanksAndNoOthers) {
    struct Case {
        std::string text, left, right, both;
    };
    const std::string nuls("\0a\0", 3);
    for (const Case& c : {Case{"", "", "", ""},
                          {" \n\r\t\f\v", "", "", ""},
                          {"a b", "a b", "a b", "a b"},
                          {"\v a\t\n", "a\t\n", "\v a", "a"},
                          {nuls, nuls, nuls, nuls},
                          {"\xA0 x", "\xA0 x", "\xA0 x", "\xA0 x"}}) {
        EXPECT_EQ(StringUtils::ltrim(c.text), c.left);
        EXPECT_EQ(StringUtils::rtrim(c.text), c.right);
        EXPECT_EQ(StringUtils::trim(c.text), c.both);
    }
}

TEST(StringUtils, ReplaceOverwritesEveryOneOfTheCharacters) {
    struct Case {
        const char *text, *chars, *result;
    };
    for (const Case& c : {Case{"a,b;;c", ",;", "a_b__c"},
                          {"", ",", ""},
                          {"abc", "", "abc"},
                          {";;", ";", "__"},
                          {"tail;", ";", "tail_"}}) {
        std::string text(c.text);
        StringUtils::cstr_replace(text.data(), c.chars, '_');
        EXPECT_EQ(text, c.result);
    }
    char same[] = "a,b";
    StringUtils::cstr_replace(same, ",", ',');  // ends although the replacement is one of them
    EXPECT_STREQ(same, "a,b");
}

TEST(StringUtils, ProtectedCopyFillsAndEndsItsBuffer) {
    struct Case {
        const char* src;
        std::size_t size;
        std::string buffer;
    };
    using namespace std::string_literals;
    for (const Case& c : {Case{"abc", 6, "abc\0\0\0##"s},
                          {"abcdef", 6, "abcde\0##"s},
                          {"abcdef", 1, "\0#######"s},
                          {"", 2, "\0\0######"s},
                          {"abc", 0, "########"s}}) {
        std::string buffer(8, '#');
        EXPECT_EQ(StringUtils::strncpy_prot(buffer.data(), c.src, c.size), buffer.data());
        EXPECT_EQ(buffer, c.buffer) << c.src << " in " << c.size;
    }
}

TEST(StringUtils, ChunksAreAppendedInOrder) {
    EXPECT_EQ(StringUtils::splitToChunks("abcde", 2), (Texts{"ab", "cd", "e"}));
    EXPECT_EQ(StringUtils::splitToChunks("abcd", 2), (Texts{"ab", "cd"}));
    EXPECT_EQ(StringUtils::splitToChunks("abc", 0xFFFFFFFF), Texts{"abc"});
    EXPECT_EQ(StringUtils::splitToChunks("ab", 0), (Texts{"a", "b"}));
    Texts out{"before"};
    StringUtils::splitToChunks("", 3, out);
    StringUtils::splitToChunks("abcd", 3, out);
    EXPECT_EQ(out, (Texts{"before", "abc", "d"}));
}

TEST(StringUtils, SplitReadsTokensAsLines_AndJoinPutsThemTogether) {
    struct Case {
        std::string text;
        Texts tokens;
        std::string joined;
    };
    for (const Case& c : {Case{"", {}, ""},
                          {",", {""}, ""},
                          {"a", {"a"}, "a"},
                          {"a,", {"a"}, "a"},
                          {",a", {"", "a"}, ",a"},
                          {"a,,b", {"a", "", "b"}, "a,,b"},
                          {"a,b,,", {"a", "b", ""}, "a,b,"}}) {
        EXPECT_EQ(StringUtils::split(c.text, ','), c.tokens) << c.text;
        EXPECT_EQ(StringUtils::join(c.tokens, ','), c.joined) << c.text;
    }
}

}  // namespace
