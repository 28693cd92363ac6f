#include <gtest/gtest.h>

#include "receiver/ReceiverFixture.h"

using namespace receiver_test;

namespace {

/** A message of three data words. */
class ThreeWords : public GssipMessage {
public:
    ThreeWords() { adopt(m_buffer, 1234, gssip::kTypedFlags); }
    void debugPrintMessage() override { ++shown; }

    Words words() const { return wordsOf(&m_buffer, sizeof m_buffer); }
    void setWord(std::size_t index, unsigned short value) { m_frame[index] = value; }
    void forget() { m_wdcnt = 2; }

    int shown = 0;

private:
    GssipFrame<gssip::DataWords<3>> m_buffer{};
};

const Words kNew{0x81FF, 1234, 3, 0x9000, 0, 0, 0, 0, 0};

}  // namespace

TEST(GssipMessage, WritesWithBothChecksumsAndFewerWordsWhenTold) {
    ThreeWords message;
    Sink sink;
    EXPECT_EQ(message.words(), kNew);
    EXPECT_EQ(message.msgId(), 1234);
    EXPECT_EQ(message.calculateHeaderChecksum(), 0xE92C);
    EXPECT_EQ(message.checksumOfHeader(), 0xE92C);
    message.setWord(5, 1);
    message.setWord(7, 0x8000);
    EXPECT_EQ(message.checksumOfContents(), 0x7FFF);
    message.WriteMessage(&sink);
    EXPECT_EQ(message.checksumOfHeader(), 0);
    message.WriteMessage(nullptr);
    EXPECT_EQ(message.shown, 1);

    message.clearContents();
    EXPECT_EQ(message.words(), (Words{0x81FF, 1234, 3, 0x9000, 0xE92C, 0, 0, 0, 0x7FFF}));
    message.set_gpsip_wdcnt(4);  // beyond the buffer: changes nothing
    EXPECT_EQ(message.wordCount(), 3U);
    message.setWord(6, 9);
    for (const auto count : std::initializer_list<unsigned short>{0, 1}) {
        message.set_gpsip_wdcnt(count);
        EXPECT_EQ(message.checksumOfContents(), 0);
        message.WriteMessage(&sink);
    }
    EXPECT_EQ(sink.frames,
              (std::vector<Words>{{0x81FF, 1234, 3, 0x9000, 0xE92C, 1, 0, 0x8000, 0x7FFF},
                                  {0x81FF, 1234, 0, 0x9000, 0xE92F},
                                  {0x81FF, 1234, 1, 0x9000, 0xE92E, 0, 0}}));
}

TEST(GssipMessage, CountThatDiffersFromTheHeaderWritesNothing) {
    ThreeWords fresh;
    Sink sink;
    fresh.forget();
    fresh.WriteMessage(&sink);
    EXPECT_EQ(fresh.words(), kNew);

    ThreeWords writtenBefore;
    writtenBefore.WriteMessage(&sink);
    writtenBefore.setWord(2, 2);
    writtenBefore.WriteMessage(&sink);
    EXPECT_EQ(sink.frames.size(), 1U);
    EXPECT_EQ(fresh.shown + writtenBefore.shown, 1);
}

TEST(GssipMessage, WithoutABufferDoesNothing) {
    GssipMessage message;
    Sink sink;
    const Bytes bytes(40);
    for (unsigned short length = 0; length < 40; ++length) {
        EXPECT_FALSE(message.OkSetContent(bytes.data(), length)) << length;
    }
    message.set_gpsip_wdcnt(5);
    message.setHeaderChecksum();
    message.insert_checksum();
    message.clearContents();
    message.debugPrintMessage();
    message.WriteMessage(&sink);
    EXPECT_TRUE(sink.frames.empty());
    EXPECT_EQ(message.checksumOfContents(), 0);
    EXPECT_EQ(message.checksumOfHeader(), 0);
    EXPECT_EQ(message.frame(), nullptr);
    EXPECT_EQ(message.wordCount(), 5U);
}
