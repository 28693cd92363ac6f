#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <random>

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
    const Tyrn_5040_Msg::unpacked_msg5040_t expected{.timeOfValidity = 1234.5,
                                                     .dateWordA = 0x1001,
                                                     .hours = 23,
                                                     .minutes = 59,
                                                     .seconds = 58,
                                                     .dateWordB = 0x2002,
                                                     .day = 31,
                                                     .month = 12,
                                                     .year = 26,
                                                     .northReference = 2,
                                                     .timeStatus = 0x1234,
                                                     .extraValueA = 0x1.2468ACp0F,
                                                     .extraUnitsA = 4,
                                                     .operatingMode = 5,
                                                     .statusWordA = 0x8001,
                                                     .statusWordB = 0x8002,
                                                     .statusWordC = -1,
                                                     .statusValueD = -1.0,
                                                     .statusWordE = 0x8005,
                                                     .missionDurationWord = 6,
                                                     .statusWordF = 7,
                                                     .northReferenceCorrection = 12.75F,
                                                     .northReferenceCorrectionUnits = 8,
                                                     .extraValueB = -3.25F,
                                                     .extraUnitsB = 3,
                                                     .extraValueC = 0.5F,
                                                     .extraUnitsC = 9,
                                                     .extraFlag = 1};
    Tyrn_5040_Msg message;
    ASSERT_TRUE(message.ok_set_5040_gpsip(frame.bytes(), frame.size()));
    message.unpack_5040();
    EXPECT_EQ(bytesOf(message.unpacked()), bytesOf(expected));
}

TEST(Tyrn5042, UnpacksKnownBytes) {
    for (const unsigned char flags : Bytes{0x02, 0xFD}) {
        Frame frame(5042, 100, kUnread);
        frame.put(0x00, kTime).put(0x60, {flags}).put(0x74, {0x34, 0x12});
        Tyrn_5042_Msg message;
        ASSERT_TRUE(message.ok_set_5042_gpsip(frame.bytes(), frame.size()));
        message.unpack_5042();
        const Tyrn_5042_Msg::unpacked_msg5042_t expected{.timeOfValidity = 1234.5,
                                                         .missionFlag = flags == 0x02,
                                                         .missionDurationRemaining = 0x1234};
        EXPECT_EQ(bytesOf(message.unpacked()), bytesOf(expected));
    }
}

TEST(Tyrn5044, UnpacksKnownBytes) {
    Frame frame(5044, 21, kUnread);
    frame.put(0x00, kTime).put(0x08, {0x3E, 0x01});
    const std::string text = "BADCFEHGJILKNMPORQTSVUXWZY1032\0!";
    frame.put(0x0A, Bytes(text.begin(), text.end()));
    frame.put(0x28, {'!', '\0'});
    Tyrn_5044_Msg message;
    ASSERT_TRUE(message.ok_set_5044_gpsip(frame.bytes(), frame.size()));
    message.unpack_5044();
    EXPECT_EQ(message.unpacked().timeOfValidity + 0, 1234.5);
    EXPECT_EQ(message.unpacked().warningNumber + 0, 0x13E);
    const auto& unpacked = message.unpacked().text;
    EXPECT_EQ(std::string(unpacked.begin(), unpacked.end()),
              std::string("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123\0!\0\0", 34));
}

TEST(TyrnSVRise, UnpacksKnownBytes) {
    Frame frame(5048, 100);
    frame.put(0x00, kTime);
    for (unsigned char slot = 0; slot < 6; ++slot) {
        Bytes bytes(32, slot);
        const Bytes words{slot, 0x01, 0x03, 0x80, 0x67, 0x01, 0xA6, 0xFF, 0xFE, 0xFF};
        std::copy(words.begin(), words.end(), bytes.begin());
        frame.put(0x08U + 32U * slot, bytes);
    }
    Tyrn_SVRise_Msg message(5048);
    ASSERT_TRUE(message.ok_set_SVRiseMsg_gpsip(frame.bytes(), frame.size()));
    message.unpack_SVRiseMsg();
    EXPECT_EQ(message.unpacked().timeOfValidity + 0, 1234.5);
    for (unsigned char slot = 0; slot < 6; ++slot) {
        Tyrn_SVRise_Msg::unpacked_svRise_t expected{
            .svNumber = static_cast<std::uint16_t>(0x100 + slot),
            .healthWord = 0x8003,
            .azimuth = 359,
            .elevation = -90,
            .slotFlagWord = 0xFFFE,
            .carried = {}};
        expected.carried.fill(slot);
        EXPECT_EQ(bytesOf(message.unpacked().slots[slot]), bytesOf(expected));
    }
}

TEST(Tyrn8040, UnpacksKnownBytes) {
    Frame frame(8040, 25, 0xA7);
    frame.put(0x00, kTime).put(0x08, {0x34, 0x12}).put(0x31, {0xB8});
    Tyrn_8040_Msg message;
    ASSERT_TRUE(message.ok_set_8040_gpsip(frame.bytes(), frame.size()));
    message.unpack_8040();
    Tyrn_8040_Msg::unpacked_msg8040_t expected{
        .timeOfValidity = 1234.5, .status2Word = 0x1234, .carried = {}};
    expected.carried.fill(0xA7);
    expected.carried[39] = 0xB8;
    EXPECT_EQ(bytesOf(message.unpacked()), bytesOf(expected));
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
    Tyrn_8504_Msg::unpacked_msg8504_t record{.timeOfValidity = 1234.5,
                                             .timeOfDay = 0x1.2468ACF13579Bp0,
                                             .extraDoubleA = 0x1.2468ACF134p0,
                                             .extraDoubleB = -3.25,
                                             .extraDoubleC = 2.0,
                                             .extraDoubleD = 4.0,
                                             .extraDoubleE = 8.0,
                                             .extraFloatA = 0x1.2468ACp0F,
                                             .extraFloatB = 2.0F,
                                             .extraFloatC = 4.0F,
                                             .extraFloatD = 8.0F,
                                             .extraFloatE = 16.0F,
                                             .magneticVariation = -3.25F,
                                             .errorWordA = 0x8001,
                                             .errorWordB = 0x8002,
                                             .errorWordC = 0x8003,
                                             .errorWordD = 0x8004,
                                             .positionQuality = 0xA,
                                             .receiverFailure = 1,
                                             .positionInvalid = 0,
                                             .extraBitsA = 2,
                                             .modeBits = 2,
                                             .extraBitsB = 0x15,
                                             .extraWordA = 0x8005,
                                             .extraByteA = 6,
                                             .extraBitsC = 1,
                                             .dateKnown = 0,
                                             .magneticVariationSource = 1,
                                             .extraBitsD = 5,
                                             .yearUnits = 6,
                                             .yearTens = 2,
                                             .yearHundreds = 0,
                                             .timeQuality = 7,
                                             .yearThousands = 2,
                                             .dayOfYearUnits = 5,
                                             .dayOfYearTens = 1,
                                             .dayOfYearHundreds = 3,
                                             .precisionWordA = 0x8007,
                                             .precisionWordB = 0x8008,
                                             .precisionWordC = 0x8009,
                                             .extraByteB = 0x0A,
                                             .extraBitsE = 1,
                                             .extraBitsF = 1,
                                             .statusBitsG = 2,
                                             .extraBitsH = 2,
                                             .extraBitsI = 1,
                                             .extraBitsJ = 6,
                                             .extraBitsK = 0x14,
                                             .extraByteC = 0x0B,
                                             .extraBitsL = 2,
                                             .extraBitsM = 1,
                                             .extraBitsN = 0x0A,
                                             .extraByteD = 0x0C,
                                             .extraValueD = 0.5F,
                                             .positionError = 0x1.2468ACp0F,
                                             .positionErrorUnits = 5,
                                             .extraBitsO = 0xD,
                                             .extraByteE = 0x0E,
                                             .channels = {},
                                             .timeOfValidityWhole = 1234.0,
                                             .timeOfValidityFraction = 0.5};
    for (unsigned char i = 0; i < 32; ++i) {
        record.channels[i] = {{i, 1, 2, 3, 4, 5, 6, static_cast<unsigned char>(255 - i)}};
    }
    return record;
}

Tyrn_8504_Msg::packed_msg8504_t packedOf(const Frame& frame) {
    Tyrn_8504_Msg::packed_msg8504_t packed;
    std::memcpy(packed.words, frame.bytes() + 10, sizeof packed);
    return packed;
}

}  // namespace

TEST(Tyrn8504, KnownBytesBothWays) {
    for (const unsigned char fill : Bytes{0x00, 0xFF}) {
        const Frame frame = known8504(fill);
        Tyrn_8504_Msg message;
        ASSERT_TRUE(message.ok_set_8504_gpsip(frame.bytes(), frame.size()));
        message.unpack_8504();
        EXPECT_EQ(bytesOf(message.unpacked()), bytesOf(known8504Record()));

        auto packed = packedOf(Frame(8504, 200, fill));
        Tyrn_8504_Msg::pack_8504(known8504Record(), packed);
        EXPECT_EQ(bytesOf(packed), bytesOf(packedOf(frame)));
    }
}

TEST(Tyrn8504, BytesOutsideTheFieldsStayWhenPacked) {
    const Frame ones = known8504(0xFF);
    const Frame zeros = known8504(0x00);
    Tyrn_8504_Msg message;
    ASSERT_TRUE(message.ok_set_8504_gpsip(ones.bytes(), ones.size()));
    message.unpack_8504();
    message.unpacked().positionError = 2.0F;
    message.pack_8504();
    Frame expected = ones;
    expected.put(0x7E, {0x82, 0, 0, 0});
    EXPECT_EQ(wordsOf(message.frame(), 412), wordsOf(expected.bytes(), 412));

    std::vector<std::size_t> unread;
    for (std::size_t i = 0; i < 400; ++i) {
        if (ones.all()[10 + i] != zeros.all()[10 + i]) {
            unread.push_back(i);
        }
    }
    EXPECT_EQ(unread.size(), 12U + 4U + 12U);  // 0x48 to 0x53, 0x6A to 0x6D, 0x84 to 0x8F
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
    Frame frame(8504, 200);
    Tyrn_8504_Msg message;
    EXPECT_FALSE(message.recieverFailureDetected());
    frame.put(0x60, {0xEF});
    ASSERT_TRUE(message.ok_set_8504_gpsip(frame.bytes(), frame.size()));
    EXPECT_FALSE(message.recieverFailureDetected());
    frame.put(0x60, {0x10});
    ASSERT_TRUE(message.ok_set_8504_gpsip(frame.bytes(), frame.size()));
    EXPECT_TRUE(message.recieverFailureDetected());
    EXPECT_FALSE(message.unpacked().receiverFailure);
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

/** One kind of message behind a common face. */
class Subject {
public:
    virtual ~Subject() = default;
    virtual GssipMessage& message() = 0;
    virtual bool take(unsigned char const* frame, unsigned bytes) = 0;
    virtual void unpack() = 0;
    virtual Bytes record() const = 0;

    Bytes frame() { return bytesOfWords(message().frame()); }
    std::size_t size() const { return m_size; }

protected:
    explicit Subject(std::size_t words) : m_size(gssip::frameBytes(words)) {}

private:
    Bytes bytesOfWords(unsigned short const* words) const {
        Bytes bytes(m_size);
        std::memcpy(bytes.data(), words, m_size);
        return bytes;
    }
    std::size_t m_size;
};

template <typename Message, typename Take, typename Unpack>
class SubjectOf : public Subject {
public:
    template <typename... Id>
    explicit SubjectOf(std::size_t words, Id... id) : Subject(words), m_message(id...) {}
    GssipMessage& message() override { return m_message; }
    bool take(unsigned char const* frame, unsigned bytes) override {
        return Take{}(m_message, frame, bytes);
    }
    void unpack() override { Unpack{}(m_message); }
    Bytes record() const override { return bytesOf(m_message.unpacked()); }

private:
    Message m_message;
};

struct Kind {
    const char* name;
    unsigned short id;
    unsigned short words;
    unsigned short flags;
    bool takesShort;
    std::function<std::unique_ptr<Subject>()> make;
};

void PrintTo(const Kind& kind, std::ostream* out) {
    *out << kind.name;
}

template <typename Message, typename Take, typename Unpack, typename... Id>
std::function<std::unique_ptr<Subject>()> maker(std::size_t words, Take, Unpack, Id... id) {
    return [=] { return std::make_unique<SubjectOf<Message, Take, Unpack>>(words, id...); };
}

#define MAKER(Message, suffix, words, ...)                                 \
    maker<Message>(                                                        \
        words,                                                             \
        [](Message& message, unsigned char const* frame, unsigned bytes) { \
            return message.ok_set_##suffix##_gpsip(frame, bytes);          \
        },                                                                 \
        [](Message& message) { message.unpack_##suffix(); } __VA_OPT__(, ) __VA_ARGS__)

constexpr unsigned short kRise1 = 5047;
constexpr unsigned short kRise2 = 5048;

const Kind kKinds[] = {
    {"M5040", 5040, 88, 0x9000, false, MAKER(Tyrn_5040_Msg, 5040, 88)},
    {"M5042", 5042, 100, 0x9000, false, MAKER(Tyrn_5042_Msg, 5042, 100)},
    {"M5044", 5044, 21, 0x9000, false, MAKER(Tyrn_5044_Msg, 5044, 21)},
    {"M5047", 5047, 100, 0x8000, false, MAKER(Tyrn_SVRise_Msg, SVRiseMsg, 100, kRise1)},
    {"M5048", 5048, 100, 0x8000, false, MAKER(Tyrn_SVRise_Msg, SVRiseMsg, 100, kRise2)},
    {"M8040", 8040, 25, 0x9000, true, MAKER(Tyrn_8040_Msg, 8040, 25)},
    {"M8504", 8504, 200, 0x9000, false, MAKER(Tyrn_8504_Msg, 8504, 200)},
};

class EveryMessage : public testing::TestWithParam<Kind> {
protected:
    const Kind& kind() const { return GetParam(); }
    std::unique_ptr<Subject> fresh() const { return kind().make(); }
    Frame frame(unsigned char fill) const { return {kind().id, kind().words, fill}; }

    bool fits(std::size_t bytes) const {
        const std::size_t whole = gssip::frameBytes(kind().words);
        return kind().takesShort ? bytes >= 12 && bytes <= whole + 1 : bytes / 2 == whole / 2;
    }

    /** The bytes of `before` with those of a frame that was taken over them. */
    static Bytes overwritten(Bytes before, const Bytes& taken) {
        const std::size_t copied = std::min(before.size(), taken.size() / 2 * 2);
        std::copy_n(taken.begin(), copied, before.begin());
        return before;
    }
};

INSTANTIATE_TEST_SUITE_P(Receiver, EveryMessage, testing::ValuesIn(kKinds),
                         [](const auto& kind) { return std::string(kind.param.name); });

}  // namespace

TEST_P(EveryMessage, StartsZeroWithItsHeader) {
    const auto subject = fresh();
    Words expected(kind().words + std::size_t{6});
    expected[0] = 0x81FF;
    expected[1] = kind().id;
    expected[2] = kind().words;
    expected[3] = kind().flags;
    EXPECT_EQ(wordsOf(subject->frame().data(), subject->size()), expected);
    EXPECT_EQ(subject->record(), Bytes(subject->record().size()));
    subject->unpack();
    EXPECT_EQ(subject->record(), Bytes(subject->record().size()));
}

TEST_P(EveryMessage, CutOrGrownFrameIsTakenOrLeavesMessageAsItWas) {
    for (std::size_t length = 0; length <= fresh()->size() + 4; ++length) {
        const auto subject = fresh();
        ASSERT_TRUE(subject->take(frame(0x3C).bytes(), frame(0x3C).size()));
        const Bytes before = subject->frame();
        // A copy of its own, so that a read beyond it shows.
        Bytes sent = frame(0xC3).all();
        sent.resize(length, 0x77);
        EXPECT_EQ(subject->take(sent.data(), static_cast<unsigned>(length)), fits(length))
            << length;
        EXPECT_EQ(subject->frame(), fits(length) ? overwritten(before, sent) : before) << length;
        subject->unpack();
    }
}

TEST_P(EveryMessage, OkSetContentWantsTheWholeFrame) {
    const std::size_t whole = fresh()->size();
    for (std::size_t length = 0; length <= whole + 4; ++length) {
        const auto subject = fresh();
        const Bytes before = subject->frame();
        Bytes sent = frame(0xC3).all();
        sent.resize(length, 0x77);
        const bool fit = length / 2 == whole / 2;
        EXPECT_EQ(subject->message().OkSetContent(sent.data(), static_cast<unsigned short>(length)),
                  fit);
        EXPECT_EQ(subject->frame(), fit ? overwritten(before, sent) : before) << length;
    }
}

TEST_P(EveryMessage, NullAndEnormousFramesAreRefused) {
    const auto subject = fresh();
    const Bytes before = subject->frame();
    const auto whole = static_cast<unsigned>(subject->size());
    EXPECT_FALSE(subject->take(nullptr, whole));
    EXPECT_FALSE(subject->message().OkSetContent(nullptr, static_cast<unsigned short>(whole)));
    for (const unsigned bytes : {whole + 0x10000U, 0x80000000U, 0xFFFFFFFFU, 0xFFFFFFFFU - whole}) {
        EXPECT_FALSE(subject->take(frame(1).bytes(), bytes)) << bytes;
    }
    EXPECT_EQ(subject->frame(), before);
}

TEST_P(EveryMessage, EveryFlippedBitArrivesAndOnlyTheIdOfMessage8040IsLookedAt) {
    const Bytes good = frame(0x5A).all();
    for (std::size_t bit = 0; bit < 8 * good.size(); ++bit) {
        Bytes sent = good;
        sent[bit / 8] ^= static_cast<unsigned char>(1U << bit % 8);
        const auto subject = fresh();
        const bool falseId = kind().takesShort && (bit / 8 == 2 || bit / 8 == 3);
        EXPECT_EQ(subject->take(sent.data(), static_cast<unsigned>(sent.size())), !falseId) << bit;
        EXPECT_EQ(subject->frame(), sent) << bit;
        subject->unpack();
    }
}

TEST_P(EveryMessage, RandomDataUnpacksTheSameFromAnyAddress) {
    const unsigned seed = std::random_device{}();
    std::mt19937 random(seed);
    for (int round = 0; round < 200; ++round) {
        Bytes sent = frame(0).all();
        std::generate(sent.begin() + 10, sent.end(),
                      [&] { return static_cast<unsigned char>(random()); });
        const auto even = fresh();
        const auto odd = fresh();
        Bytes shifted = sent;
        shifted.insert(shifted.begin(), 0);
        ASSERT_TRUE(even->take(sent.data(), static_cast<unsigned>(sent.size()))) << seed;
        ASSERT_TRUE(odd->take(shifted.data() + 1, static_cast<unsigned>(sent.size()))) << seed;
        even->unpack();
        odd->unpack();
        EXPECT_EQ(even->record(), odd->record()) << seed;
    }
}

TEST(Tyrn8504, PackAfterUnpackGivesBackWhatTheFormatsHold) {
    const unsigned seed = std::random_device{}();
    std::mt19937 random(seed);
    for (int round = 0; round < 200; ++round) {
        Tyrn_8504_Msg::packed_msg8504_t packed;
        std::generate(std::begin(packed.words), std::end(packed.words),
                      [&] { return static_cast<unsigned short>(random()); });
        Tyrn_8504_Msg::unpacked_msg8504_t record;
        Tyrn_8504_Msg::unpack_8504(packed, record);
        const Bytes before = bytesOf(packed);
        Tyrn_8504_Msg::pack_8504(record, packed);
        const Bytes after = bytesOf(packed);
        EXPECT_TRUE(std::equal(before.begin() + 0x58, before.begin() + 0x7A, after.begin() + 0x58));
        EXPECT_TRUE(std::equal(before.begin() + 0x82, before.end(), after.begin() + 0x82));
        // Once more changes nothing: what a format can't hold went the first time.
        Tyrn_8504_Msg::unpack_8504(packed, record);
        Tyrn_8504_Msg::pack_8504(record, packed);
        EXPECT_EQ(bytesOf(packed), after) << seed;
    }
}

TEST(Tyrn8040, ShortFrameLeavesTheRestZero) {
    Frame frame(8040, 14, 0x11);
    Tyrn_8040_Msg message;
    ASSERT_TRUE(message.ok_set_8040_gpsip(frame.bytes(), 40));
    message.unpack_8040();
    const auto& carried = message.unpacked().carried;
    EXPECT_EQ(carried[19], 0x11);  // 40 bytes hold 30 of data
    EXPECT_EQ(carried[20], 0);
    EXPECT_EQ(carried[39], 0);

    Frame other(5040, 25, 0x22);
    EXPECT_FALSE(message.ok_set_8040_gpsip(other.bytes(), other.size()));
    message.unpack_8040();
    EXPECT_EQ(message.unpacked().carried[39], 0x22);
}
