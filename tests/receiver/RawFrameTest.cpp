#include <gtest/gtest.h>

#include <iostream>

#include "receiver/ReceiverFixture.h"

using namespace receiver_test;

namespace {

constexpr unsigned short kSync = 0x81FF;

/** A whole frame of message 5040 with both checksums, its data words 1, 2, 3 and so on. */
Words goodFrame(unsigned short count) {
    Words frame(count + std::size_t{6});
    MakeHeader(frame.data(), 5040, count);
    for (unsigned short i = 0; i < count; ++i) {
        frame[5U + i] = static_cast<unsigned short>(i + 1);
    }
    EXPECT_TRUE(OkChecksumGPSmessage(frame.data()));
    return frame;
}

/** The result of `ChecksumsAreOkInGPSmessage`, and what it says. */
std::pair<bool, std::string> verified(const Words& frame) {
    const Captured errors(std::cerr);
    const bool ok = ChecksumsAreOkInGPSmessage(frame.data());
    return {ok, errors.text()};
}

std::pair<bool, std::string> checksummed(Words& frame) {
    const Captured errors(std::cerr);
    const bool ok = OkChecksumGPSmessage(frame.data());
    return {ok, errors.text()};
}

using Result = std::pair<bool, std::string>;

}  // namespace

TEST(Checksum, NegatesTheSumOfTheRange) {
    const Words words{1, 0xFFFF, 0x1234, 7};
    EXPECT_EQ(CalculateChecksum(words.data(), 3, 2), 0);
    EXPECT_EQ(CalculateChecksum(words.data(), 2, 2), 0xEDCC);
    EXPECT_EQ(CalculateChecksum(words.data(), 0, 3), 0xEDC5);
}

TEST(Header, WordsOfEachKind) {
    struct Case {
        unsigned short (*make)(unsigned short*, unsigned short);
        Words words;
    };
    const Case cases[] = {
        {MakeACK, {kSync, 0x13B0, 0, 0x8800, 0xE251}},
        {MakeNAK, {kSync, 0x13B0, 0, 0x8400, 0xE651}},
        {[](unsigned short* frame, unsigned short id) { return MakeHeader(frame, id, 88); },
         {kSync, 0x13B0, 88, 0x8000, 0xE9F9}},
        {[](unsigned short* frame, unsigned short id) {
             return MakeHdrSpecifyFlagWd(frame, id, 0x9000, 88);
         },
         {kSync, 0x13B0, 88, 0x9000, 0xD9F9}}};
    for (const Case& each : cases) {
        Words frame(6, 0xBEEF);
        EXPECT_EQ(each.make(frame.data(), 5040), each.words[4]);
        EXPECT_EQ(frame.back(), 0xBEEF);
        frame.pop_back();
        EXPECT_EQ(frame, each.words);
    }
}

TEST(FillingInChecksums, LimitsAndRefusals) {
    Words frame = goodFrame(2);
    EXPECT_EQ(frame, (Words{kSync, 0x13B0, 2, 0x8000, 0xEA4F, 1, 2, 0xFFFD}));

    Words noData{0x1111, 5040, 0, 0x8000, 0};
    EXPECT_EQ(checksummed(noData), Result(true, ""));
    EXPECT_EQ(noData[4], 0x5B3F);

    Words most(32506, 1);
    MakeHeader(most.data(), 5040, 32500);
    EXPECT_EQ(checksummed(most), Result(true, ""));
    EXPECT_EQ(most.back(), static_cast<unsigned short>(-32500));

    Words tooMany(32507, 1);
    MakeHeader(tooMany.data(), 5040, 32501);
    tooMany[4] = 0;
    EXPECT_EQ(checksummed(tooMany), Result(false, "Bad wdcnt (32501) checksumming Msg(5040) \n"));
    EXPECT_EQ(tooMany[4], 0x6B5C);
    EXPECT_EQ(tooMany.back(), 1);

    frame[0] = 0xABC;
    EXPECT_EQ(checksummed(frame),
              Result(false,
                     "No delsoh checksumming Msg(5040) delsoh:0ABC cnt:    2 flag:8000"
                     "  hck:6192\n"));
    EXPECT_EQ(frame.back(), 0xFFFD);
}

TEST(VerifyingChecksums, LimitOfTheWordCount) {
    EXPECT_EQ(verified(goodFrame(0)), Result(true, ""));
    EXPECT_EQ(verified(goodFrame(106)), Result(true, ""));
    EXPECT_EQ(verified(goodFrame(107)),
              Result(false, "Bad wdcnt (107) verifying checksums Msg(5040) \n"));
}

TEST(VerifyingChecksums, EveryFlippedBitIsFound) {
    const Words good = goodFrame(4);
    for (unsigned bit = 0; bit < 16 * good.size(); ++bit) {
        Words frame = good;
        frame[bit / 16] ^= static_cast<unsigned short>(1U << bit % 16);
        const unsigned sum = static_cast<unsigned short>(frame[bit / 16] - good[bit / 16]);
        const bool header = bit / 16 < 5;
        EXPECT_EQ(verified(frame),
                  Result(false, std::string("Bad ") + (header ? "header" : "data") + " chksum (" +
                                    std::to_string(sum) + ") verifying checksums Msg(" +
                                    std::to_string(frame[1]) + ") \n"));
    }
}

TEST(HexPrint, RowsOfTen) {
    const std::string header = "Header:  81FF 13B0 000C 8000 EA45; msgId: 5040 Wdcnt:   12\n";
    const std::string row = "Data:  0  0001 0002 0003 0004 0005 | 0006 0007 0008 0009 000A \n";
    const Words frame = goodFrame(12);
    const Captured out(std::cout);
    PrintMessageInHex(frame.data());
    EXPECT_EQ(out.text(), header + row + "Data: 10  000B 000C \nDataCks:  FFB2\n");

    EXPECT_EQ(FormatMessageInHex(goodFrame(5).data()),
              "Header:  81FF 13B0 0005 8000 EA4C; msgId: 5040 Wdcnt:    5\n"
              "Data:  0  0001 0002 0003 0004 0005 | \nDataCks:  FFF1\n");
    EXPECT_EQ(
        FormatMessageInHex(goodFrame(10).data()),
        "Header:  81FF 13B0 000A 8000 EA47; msgId: 5040 Wdcnt:   10\n" + row + "DataCks:  FFC9\n");
}

TEST(HexPrint, ShortFramePrintsWhatIsThere) {
    const Words frame = goodFrame(12);
    const std::string whole = FormatMessageInHex(frame.data());
    Bytes bytes(2 * frame.size() + 3, 0xEE);
    std::memcpy(bytes.data(), frame.data(), 2 * frame.size());
    for (std::size_t length = 0; length <= bytes.size(); ++length) {
        // A copy of its own, so that a read beyond it shows.
        const Bytes cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length));
        const std::string text = FormatMessageInHex(cut.data(), cut.size());
        if (length >= 2 * frame.size()) {
            EXPECT_EQ(text, whole);
            continue;
        }
        EXPECT_EQ(text.back(), '\n') << length;
        EXPECT_EQ(text.find("DataCks"), std::string::npos) << length;
    }
    EXPECT_EQ(FormatMessageInHex(bytes.data(), 5), "Header:  81FF 13B0\n");
    EXPECT_EQ(FormatMessageInHex(bytes.data(), 15),
              whole.substr(0, whole.find('\n') + 1) + "Data:  0  0001 0002 \n");
    const Captured out(std::cout);
    PrintMessageInHex(bytes.data(), 0);
    EXPECT_EQ(out.text(), "Header: \n");
}
