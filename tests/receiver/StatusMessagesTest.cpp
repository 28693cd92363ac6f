#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "receiver/ReceiverFixture.h"
#include "receiver/Tyrn5040Msg.h"
#include "receiver/Tyrn5042Msg.h"
#include "receiver/Tyrn5044Msg.h"
#include "receiver/Tyrn8040Msg.h"
#include "receiver/Tyrn8504Msg.h"
#include "receiver/TyrnSVRiseMsg.h"

using namespace receiver_test;

namespace {

/** Bytes that a message doesn't read hold this, so that reading one of their bits shows. */
constexpr unsigned char kUnread = 0xFF;

const Bytes kTime{0x9A, 0x45, 0x00, 0x50, 0, 0, 0, 0};  // PDP double 1234.5

/** A message behind a common face. */
struct Subject {
    std::shared_ptr<GssipMessage> message;
    std::function<bool(unsigned char const*, unsigned)> take;
    std::function<void()> unpack;
    std::function<Bytes()> record;

    std::size_t size() const { return gssip::frameBytes(message->wordCount()); }
    Bytes frame() const {
        const auto* first = reinterpret_cast<unsigned char const*>(message->frame());
        return {first, first + size()};
    }
};

struct Kind {
    const char* name;
    unsigned short id;
    unsigned short words;
    unsigned short flags;
    bool takesShort;
    Subject (*make)();
};

void PrintTo(const Kind& kind, std::ostream* out) {
    *out << kind.name;
}

#define MAKER(Message, suffix)                                                               \
    [] {                                                                                     \
        auto it = std::make_shared<Message>();                                               \
        return Subject{                                                                      \
            it, [it](auto* frame, auto n) { return it->ok_set_##suffix##_gpsip(frame, n); }, \
            [it] { it->unpack_##suffix(); }, [it] { return bytesOf(it->unpacked()); }};      \
    }

template <unsigned short kId>
struct Rise : Tyrn_SVRise_Msg {
    Rise() : Tyrn_SVRise_Msg(kId) {}
};

const Kind kKinds[] = {
    {"M5040", 5040, 88, 0x9000, false, MAKER(Tyrn_5040_Msg, 5040)},
    {"M5042", 5042, 100, 0x9000, false, MAKER(Tyrn_5042_Msg, 5042)},
    {"M5044", 5044, 21, 0x9000, false, MAKER(Tyrn_5044_Msg, 5044)},
    {"M5047", 5047, 100, 0x8000, false, MAKER(Rise<5047>, SVRiseMsg)},
    {"M5048", 5048, 100, 0x8000, false, MAKER(Rise<5048>, SVRiseMsg)},
    {"M8040", 8040, 25, 0x9000, true, MAKER(Tyrn_8040_Msg, 8040)},
    {"M8504", 8504, 200, 0x9000, false, MAKER(Tyrn_8504_Msg, 8504)},
};

/** The record that the message of `kind` makes of a frame. */
Bytes unpacked(const char* kind, const Frame& frame) {
    const auto* found = std::find_if(std::begin(kKinds), std::end(kKinds), [&](const Kind& each) {
        return each.name == std::string(kind);
    });
    const Subject subject = found->make();
    EXPECT_TRUE(subject.take(frame.bytes(), frame.size()));
    subject.unpack();
    return subject.record();
}

}  // namespace

// ---- Known bytes ---------------------------------------------------------------------------

TEST(Tyrn5040, UnpacksKnownBytes) {
    Frame frame(5040, 88, kUnread);
    frame.put(0x00, kTime)
        .put(0x24, {0x01, 0x10, 23, 0, 59, 0, 58, 0, 0x02, 0x20, 31, 0, 12, 0, 26, 0})
        .put(0x42, {0xF2, 0xFF})
        .put(0x48, {0x82, 0x00, 0x00, 0xD0})  // Caps float -3.25
        .put(0x4C, {0xF3, 0xFF})
        .put(0x54, {0x34, 0x12})
        .put(0x58, {0x81, 0x56, 0x34, 0x12})  // 0x1.2468ACp0
        .put(0x5C, {0xF4, 0xFF})
        .put(0x62, {0xF5, 0xFF})
        .put(0x7A, {0x01, 0x00})
        .put(0x8E, {0x01, 0x80, 0x02, 0x80, 0xFF, 0xFF, 0x9C, 0xFF, 0x05, 0x80, 0x06, 0x00})
        .put(0x9A, {0xF7, 0xFF})
        .put(0x9C, {0x84, 0x00, 0x00, 0x4C})  // 12.75
        .put(0xA0, {0xF8, 0xFF})
        .put(0xA4, {0x80, 0x00, 0x00, 0x00})  // 0.5
        .put(0xA8, {0xF9, 0xFF});
    // clang-format off
    const Tyrn_5040_Msg::unpacked_msg5040_t expected{
        .timeOfValidity = 1234.5, .dateWordA = 0x1001, .hours = 23, .minutes = 59, .seconds = 58,
        .dateWordB = 0x2002, .day = 31, .month = 12, .year = 26, .northReference = 2,
        .timeStatus = 0x1234, .extraValueA = 0x1.2468ACp0F, .extraUnitsA = 4, .operatingMode = 5,
        .statusWordA = 0x8001, .statusWordB = 0x8002, .statusWordC = -1, .statusValueD = -1.0,
        .statusWordE = 0x8005, .missionDurationWord = 6, .statusWordF = 7,
        .northReferenceCorrection = 12.75F, .northReferenceCorrectionUnits = 8,
        .extraValueB = -3.25F, .extraUnitsB = 3, .extraValueC = 0.5F, .extraUnitsC = 9,
        .extraFlag = 1};
    // clang-format on
    EXPECT_EQ(unpacked("M5040", frame), bytesOf(expected));
}

TEST(Tyrn5042, UnpacksKnownBytes) {
    for (const unsigned char flags : Bytes{0x02, 0xFD}) {
        const Frame frame =
            Frame(5042, 100, kUnread).put(0x00, kTime).put(0x60, {flags}).put(0x74, {0x34, 0x12});
        const Tyrn_5042_Msg::unpacked_msg5042_t expected{1234.5, flags == 0x02, 0x1234};
        EXPECT_EQ(unpacked("M5042", frame), bytesOf(expected));
    }
}

TEST(Tyrn5044, UnpacksKnownBytes) {
    const std::string pairs = "BADCFEHGJILKNMPORQTSVUXWZY1032";
    const Frame frame = Frame(5044, 21, kUnread)
                            .put(0x00, kTime)
                            .put(0x08, {0x3E, 0x01})
                            .put(0x0A, Bytes(pairs.begin(), pairs.end()))
                            .put(0x28, {'!', 0});
    Tyrn_5044_Msg::unpacked_msg5044_t expected{1234.5, 0x13E, {"ABCDEFGHIJKLMNOPQRSTUVWXYZ0123"}};
    expected.text[31] = '!';
    EXPECT_EQ(unpacked("M5044", frame), bytesOf(expected));
}

TEST(TyrnSVRise, UnpacksKnownBytes) {
    Frame frame = Frame(5048, 100).put(0x00, kTime);
    Tyrn_SVRise_Msg::unpacked_SVRise_msg_t expected{1234.5, {}};
    for (unsigned char i = 0; i < 6; ++i) {
        frame.put(0x08U + 32U * i, Bytes(32, i))
            .put(0x08U + 32U * i, {i, 0x01, 0x03, 0x80, 0x67, 0x01, 0xA6, 0xFF, 0xFE, 0xFF});
        expected.slots[i] = {static_cast<std::uint16_t>(0x100 + i), 0x8003, 359, -90, 0xFFFE, {}};
        expected.slots[i].carried.fill(i);
    }
    EXPECT_EQ(unpacked("M5047", frame), bytesOf(expected));
}

TEST(Tyrn8040, UnpacksKnownBytesAndZerosBehindAShortFrame) {
    const Frame frame =
        Frame(8040, 25, 0xA7).put(0x00, kTime).put(0x08, {0x34, 0x12}).put(0x31, {0xB8});
    Tyrn_8040_Msg::unpacked_msg8040_t expected{1234.5, 0x1234, {}};
    expected.carried.fill(0xA7);
    expected.carried[39] = 0xB8;
    EXPECT_EQ(unpacked("M8040", frame), bytesOf(expected));

    const Frame shortFrame = Frame(8040, 14, 0xA7).put(0x00, kTime).put(0x08, {0x34, 0x12});
    // Its data checksum, 0xA7 too, lies where a whole frame has more data.
    std::fill(expected.carried.begin() + 20, expected.carried.end(), std::uint8_t{0});
    EXPECT_EQ(unpacked("M8040", shortFrame), bytesOf(expected));
}

namespace {

/** Message 8504 with every field that is read at a value of its own, the rest `fill`. */
Frame known8504(unsigned char fill) {
    Frame frame(8504, 200, fill);
    frame.put(0x00, kTime)
        .put(0x08, {0x92, 0x40, 0x56, 0x34, 0x9A, 0x78, 0xD8, 0xBC})  // 0x1.2468ACF13579Bp0
        .put(0x10, {0x81, 0x9A, 0x78, 0x56, 0x34, 0x12})              // 0x1.2468ACF134p0
        .put(0x16, {0x82, 0x00, 0x00, 0x00, 0x00, 0xD0})              // -3.25
        .put(0x1C, {0x00, 0x41, 0, 0, 0, 0, 0, 0})                    // 2, and so on doubling
        .put(0x24, {0x80, 0x41, 0, 0, 0, 0, 0, 0})
        .put(0x2C, {0x00, 0x42, 0, 0, 0, 0, 0, 0})
        .put(0x34, {0x92, 0x40, 0x56, 0x34})  // 0x1.2468ACp0
        .put(0x38, {0x00, 0x41, 0, 0})
        .put(0x3C, {0x80, 0x41, 0, 0})
        .put(0x40, {0x00, 0x42, 0, 0})
        .put(0x44, {0x80, 0x42, 0, 0})
        .put(0x54, {0x50, 0xC1, 0, 0})  // -3.25
        .put(0x58, {0x01, 0x80, 0x02, 0x80, 0x03, 0x80, 0x04, 0x80})
        .put(0x60, {0x9A, 0x56, 0x05, 0x80, 0x06, 0x2D})
        .put(0x66, {0x26, 0x70, 0x52, 0x31})
        .put(0x6E, {0x07, 0x80, 0x08, 0x80, 0x09, 0x80})
        .put(0x74, {0x0A, 0xD3, 0xA6, 0x0B, 0x56, 0x0C})
        .put(0x7A, {0x80, 0, 0, 0})           // 0.5
        .put(0x7E, {0x81, 0x56, 0x34, 0x12})  // 0x1.2468ACp0
        .put(0x82, {0xD5, 0x0E});
    for (unsigned char i = 0; i < 32; ++i) {
        frame.put(0x90U + 8U * i, {i, 1, 2, 3, 4, 5, 6, static_cast<unsigned char>(255 - i)});
    }
    return frame;
}

Tyrn_8504_Msg::unpacked_msg8504_t known8504Record() {
    // clang-format off
    Tyrn_8504_Msg::unpacked_msg8504_t record{
        .timeOfValidity = 1234.5, .timeOfDay = 0x1.2468ACF13579Bp0,
        .extraDoubleA = 0x1.2468ACF134p0, .extraDoubleB = -3.25, .extraDoubleC = 2.0,
        .extraDoubleD = 4.0, .extraDoubleE = 8.0,
        .extraFloatA = 0x1.2468ACp0F, .extraFloatB = 2.0F, .extraFloatC = 4.0F,
        .extraFloatD = 8.0F, .extraFloatE = 16.0F, .magneticVariation = -3.25F,
        .errorWordA = 0x8001, .errorWordB = 0x8002, .errorWordC = 0x8003, .errorWordD = 0x8004,
        .positionQuality = 0xA, .receiverFailure = 1, .positionInvalid = 0, .extraBitsA = 2,
        .modeBits = 2, .extraBitsB = 0x15, .extraWordA = 0x8005, .extraByteA = 6,
        .extraBitsC = 1, .dateKnown = 0, .magneticVariationSource = 1, .extraBitsD = 5,
        .yearUnits = 6, .yearTens = 2, .yearHundreds = 0, .timeQuality = 7, .yearThousands = 2,
        .dayOfYearUnits = 5, .dayOfYearTens = 1, .dayOfYearHundreds = 3,
        .precisionWordA = 0x8007, .precisionWordB = 0x8008, .precisionWordC = 0x8009,
        .extraByteB = 0x0A, .extraBitsE = 1, .extraBitsF = 1, .statusBitsG = 2, .extraBitsH = 2,
        .extraBitsI = 1, .extraBitsJ = 6, .extraBitsK = 0x14, .extraByteC = 0x0B,
        .extraBitsL = 2, .extraBitsM = 1, .extraBitsN = 0x0A, .extraByteD = 0x0C,
        .extraValueD = 0.5F, .positionError = 0x1.2468ACp0F, .positionErrorUnits = 5,
        .extraBitsO = 0xD, .extraByteE = 0x0E, .channels = {},
        .timeOfValidityWhole = 1234.0, .timeOfValidityFraction = 0.5};
    // clang-format on
    for (unsigned char i = 0; i < 32; ++i) {
        record.channels[i] = {{i, 1, 2, 3, 4, 5, 6, static_cast<unsigned char>(255 - i)}};
    }
    return record;
}

}  // namespace

TEST(Tyrn8504, KnownBytesBothWaysAndUnreadBytesStay) {
    for (const unsigned char fill : Bytes{0x00, 0xFF}) {
        const Frame frame = known8504(fill);
        Tyrn_8504_Msg message;
        ASSERT_TRUE(message.ok_set_8504_gpsip(frame.bytes(), frame.size()));
        message.unpack_8504();
        EXPECT_EQ(bytesOf(message.unpacked()), bytesOf(known8504Record()));

        ASSERT_TRUE(message.ok_set_8504_gpsip(Frame(8504, 200, fill).bytes(), frame.size()));
        message.unpacked() = known8504Record();
        message.pack_8504();
        EXPECT_EQ(wordsOf(message.frame(), 412), wordsOf(frame.bytes(), 412));
    }
}

TEST(Tyrn8504, ChannelFieldsThatCrossBytes) {
    constexpr Tyrn_8504_Msg::msg_8504_status_type channel{
        {0xA5, 0xC3, 0x87, 0xFD, 0x7F, 0xF9, 0x00, 0xE6}};
    EXPECT_EQ(channel.channelByte(), 0xA5U);
    EXPECT_EQ(channel.svNumber(), 0x43U);
    EXPECT_TRUE(channel.inUse());
    EXPECT_EQ(channel.state(), 7U);
    EXPECT_EQ(channel.groupField(), 0xBU);
    EXPECT_EQ(channel.plainTerm(), 0x3FU);
    EXPECT_EQ(channel.doubledTerm(), 0x25U);
    EXPECT_EQ(channel.modeNibble(), 6U);
}

TEST(Tyrn8504, FailureIsReadFromTheFrameAndCopied) {
    Tyrn_8504_Msg message;
    EXPECT_FALSE(message.recieverFailureDetected());
    for (const unsigned char others : Bytes{0xEF, 0x10}) {
        const Frame frame = Frame(8504, 200).put(0x60, {others});
        ASSERT_TRUE(message.ok_set_8504_gpsip(frame.bytes(), frame.size()));
        EXPECT_EQ(message.recieverFailureDetected(), others == 0x10);
        EXPECT_FALSE(message.unpacked().receiverFailure);
    }
    message.unpack_8504();
    EXPECT_TRUE(message.recieverFailureDetected());

    Tyrn_8504_Msg copy;
    copy.copy_all(message);
    EXPECT_EQ(bytesOf(copy.unpacked()), bytesOf(message.unpacked()));
    EXPECT_EQ(wordsOf(copy.frame(), 412), wordsOf(message.frame(), 412));
    copy.clearContents();
    EXPECT_TRUE(message.recieverFailureDetected());
}

// ---- Every message under attack --------------------------------------------------------------

namespace {

class EveryMessage : public testing::TestWithParam<Kind> {
protected:
    const Kind& kind() const { return GetParam(); }
    std::size_t whole() const { return gssip::frameBytes(kind().words); }
    Frame frame(unsigned char fill) const { return {kind().id, kind().words, fill}; }

    /** A frame of `length` bytes, a copy of its own, so that a read beyond it shows. */
    Bytes cutOrGrown(std::size_t length) const {
        Bytes bytes = frame(0xC3).copy();
        bytes.resize(length, 0x77);
        bytes.shrink_to_fit();
        return bytes;
    }

    /** A message that holds another frame already. */
    Subject used() const {
        Subject subject = kind().make();
        EXPECT_TRUE(subject.take(frame(0x3C).bytes(), frame(0x3C).size()));
        return subject;
    }

    /** The bytes of `before`, with those of a frame that was taken over them. */
    static Bytes overwritten(Bytes before, const Bytes& taken) {
        std::copy_n(taken.begin(), std::min(before.size(), taken.size()), before.begin());
        return before;
    }
};

INSTANTIATE_TEST_SUITE_P(Receiver, EveryMessage, testing::ValuesIn(kKinds),
                         [](const auto& kind) { return std::string(kind.param.name); });

}  // namespace

TEST_P(EveryMessage, StartsZeroWithItsHeader) {
    const Subject subject = kind().make();
    Words expected{0x81FF, kind().id, kind().words, kind().flags};
    expected.resize(whole() / 2);
    EXPECT_EQ(wordsOf(subject.frame().data(), whole()), expected);
    EXPECT_EQ(subject.record(), Bytes(subject.record().size()));
    subject.unpack();
    EXPECT_EQ(subject.record(), Bytes(subject.record().size()));
}

TEST_P(EveryMessage, CutOrGrownFrameIsTakenOrLeavesMessageAsItWas) {
    for (std::size_t length = 0; length <= whole() + 4; ++length) {
        const Subject subject = used();
        const Bytes before = subject.frame();
        const Bytes record = subject.record();
        const Bytes sent = cutOrGrown(length);
        const bool exact = length / 2 == whole() / 2;
        EXPECT_EQ(subject.message->OkSetContent(sent.data(), static_cast<unsigned short>(length)),
                  exact);
        EXPECT_EQ(subject.frame(), exact ? overwritten(before, sent) : before) << length;

        const bool fits = exact || (kind().takesShort && length >= 12 && length < whole());
        EXPECT_EQ(subject.take(sent.data(), static_cast<unsigned>(length)), fits) << length;
        EXPECT_EQ(subject.frame(), fits ? overwritten(before, sent) : before) << length;
        EXPECT_EQ(subject.record(), record) << length;  // which lies right behind the frame
    }
}

TEST_P(EveryMessage, NullAndEnormousFramesAreRefused) {
    const Subject subject = used();
    const Bytes before = subject.frame();
    const auto bytes = static_cast<unsigned>(whole());
    EXPECT_FALSE(subject.take(nullptr, bytes));
    EXPECT_FALSE(subject.message->OkSetContent(nullptr, static_cast<unsigned short>(bytes)));
    for (const unsigned huge : {bytes + 0x10000U, 0x80000000U, 0xFFFFFFFFU, 0xFFFFFFFFU - bytes}) {
        EXPECT_FALSE(subject.take(before.data(), huge)) << huge;
    }
    EXPECT_EQ(subject.frame(), before);
}

TEST_P(EveryMessage, FlippedBitArrivesAndOnlyTheIdOfMessage8040IsLookedAt) {
    const Subject subject = used();
    for (std::size_t bit = 0; bit < 8 * whole(); ++bit) {
        Bytes sent = frame(0x5A).copy();
        sent[bit / 8] ^= static_cast<unsigned char>(1U << bit % 8);
        const bool falseId = kind().takesShort && (bit / 8 == 2 || bit / 8 == 3);
        EXPECT_EQ(subject.take(sent.data(), static_cast<unsigned>(sent.size())), !falseId) << bit;
        EXPECT_EQ(subject.frame(), sent) << bit;
        subject.unpack();
    }
}
