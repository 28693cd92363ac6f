#include <cstring>
#include <future>

#include "VICTORY/ConnectedServer.h"
#include "bench/DataTransfer.h"

namespace {

using bench::endOfTransfer;
using bench::startOfTransfer;
using testing::ElementsAre;
using testing::HasSubstr;
using Server = VGpsReceiverServer;
using Record = VgpscReceiverHotStartData;

bench::Bytes bytesOf(std::span<const std::uint8_t> frame) {
    return {frame.begin(), frame.end()};
}

/** A frame of that number and size; only its number is looked at. */
bench::Bytes frameOf(int number, std::size_t size) {
    bench::Bytes frame(size, 0x5A);
    frame[2] = static_cast<std::uint8_t>(number & 0xFF);
    frame[3] = static_cast<std::uint8_t>(number >> 8);
    return frame;
}

class HotStart : public ConnectedTest {
protected:
    void SetUp() override {
        ConnectedTest::SetUp();
        unit().ear->forget();
        // What is to be answered is waited for; what isn't, times out in a test of its own.
        std::ranges::for_each(m_limits, [](Limit& limit) { limit.first = patience; });
    }
    void TearDown() override {
        unit().respond("INIT_HOTSTART_FAIL");
        std::ranges::for_each(m_limits, [](Limit& limit) { limit.first = limit.second; });
    }

    /** A request on a thread of the library's, which has sent its command when this is made. */
    struct Asked {
        explicit Asked(std::function<int()> request)
            : result(std::async(std::launch::async, std::move(request))) {}
        std::future<int> result;
        const std::string sent = unit().ear->nextCommand();
    };

    /** The result of a request whose command gets these answers. */
    static int answered(std::function<int()> request, const std::vector<std::string>& answers) {
        Asked asked(std::move(request));
        std::ranges::for_each(answers, [](const auto& answer) { unit().respond(answer); });
        return asked.result.get();
    }
    static std::function<int()> port(const std::string& name) {
        return [name] { return unit().setPort(name); };
    }
    static std::function<int()> data(const Record& record) {
        return [&record] { return unit().setData(record); };
    }
    /** As if the tell callback were registered. */
    static int tell() {
        return fake::ask([](VgpssService& at) {
            Server::cbTellReceiverHotStartDataCallback(at.data, &at);
            return 0;
        });
    }

    static std::unique_ptr<Record> recordOf(std::uint32_t mode, std::uint32_t count = 0) {
        auto record = std::make_unique<Record>();
        record->hotStartMode = mode;
        record->messageCount = count;
        return record;
    }
    /** One that no queue holds. */
    static std::unique_ptr<Record> longRecord() {
        auto record = recordOf(3, 300);
        std::ranges::for_each(record->messages, [](auto& message) { message.length = 2000; });
        return record;
    }
    /** The next message on "DT_IN" is this one. */
    static void expectPlayed(std::int64_t sequence, const bench::Bytes& frame) {
        const auto message = unit().take(Channel::DtIn);
        ASSERT_TRUE(message);
        EXPECT_EQ(message->header().seq_num(), sequence);
        EXPECT_EQ(message->header().device_id(), 46);
        EXPECT_EQ(message->data(), frame);
    }
    static std::size_t recordsTold() { return fake::snapshot().hotStartData.size(); }

private:
    using Limit = std::pair<std::chrono::milliseconds&, const std::chrono::milliseconds>;
    static Limit kept(std::chrono::milliseconds& limit) { return {limit, limit}; }
    Limit m_limits[6]{kept(Server::hotStartAnswerLimit), kept(Server::warmStartAnswerLimit),
                      kept(Server::transferStartLimit),  kept(Server::transferLimit),
                      kept(Server::hotStartLimit),       kept(mcsWriterPort::writeLimit)};
};

TEST_F(HotStart, EveryPortHasItsToken) {
    for (const char* const name : {"J1COM1", "J1COM2", "J1COM3", "J2COM1", "J2COM2", "J2COM3",
                                   "J3COM1", "J3COM2", "J3COM3", "J4COM1", "J4COM2", "J4COM3"}) {
        Asked asked(port(name));
        EXPECT_EQ(asked.sent, utilities::concat("INIT_HOTSTART,", name[1], ",", name + 2, ",LNAV"));
        unit().respond("INIT_HOTSTART_ACK");
        EXPECT_EQ(asked.result.get(), 0);
        EXPECT_EQ(fake::calls().back(), std::string("TellDeviceReceiverHotStartPort ") + name);
        unit().respond("INIT_HOTSTART_PASS");
    }
}

TEST_F(HotStart, OtherNamesAreRefusedAndSendNothing) {
    for (const std::string& name :
         std::vector<std::string>{"", "j4com3", "J5COM1", "J1COM12", "J1COM", "1,COM1",
                                  std::string(256, 'J'), "J1COM1" + std::string(250, 'x')}) {
        EXPECT_EQ(unit().setPort(name), 1) << name;
    }
    EXPECT_EQ(answered(port("J1COM1"), {"INIT_HOTSTART_NACK"}), 1);
    EXPECT_EQ(unit().ear->unheard(), 0U) << "only the last has sent one";
    EXPECT_THAT(fake::calls(), ElementsAre());
}

TEST_F(HotStart, OnlyAnAcknowledgedPortIsTold) {
    Server::hotStartAnswerLimit = 100ms;
    // An end that is quicker than the client's thread changes nothing for it.
    const std::vector<std::vector<std::string>> rows{
        {"ACK"}, {"NACK"},        {"PASS"},        {"FAIL"},        {"WHAT"},
        {},      {"ACK", "PASS"}, {"ACK", "FAIL"}, {"NACK", "FAIL"}};
    for (const auto& suffixes : rows) {
        SCOPED_TRACE(testing::PrintToString(suffixes));
        fake::forget();
        auto answers = suffixes;
        for (std::string& answer : answers) {
            answer.insert(0, "INIT_HOTSTART_");
        }
        const bool starts = !suffixes.empty() && suffixes.front() == "ACK";
        Captured output(std::cout);
        EXPECT_EQ(answered(port("J2COM2"), answers), starts ? 0 : 1);
        EXPECT_EQ(fake::calls().size(), starts ? 1U : 0U);
        EXPECT_THAT(output.text(),
                    HasSubstr(": Received a setReceiverHotStartPort call : J2COM2\n"));
        if (starts) {  // else the next one finds the way free by itself
            unit().respond("INIT_HOTSTART_PASS");
        }
    }
}

TEST_F(HotStart, OnePortAtATime) {
    Asked first(port("J1COM1"));
    EXPECT_EQ(unit().setPort("J1COM2"), 1) << "while the first waits";
    unit().respond("INIT_HOTSTART_ACK");
    EXPECT_EQ(first.result.get(), 0);
    EXPECT_EQ(unit().setPort("J1COM2"), 1) << "while the first runs";
    unit().respond("INIT_HOTSTART_NACK");
    EXPECT_EQ(unit().setPort("J1COM2"), 1) << "which a late refusal does not end";
    EXPECT_EQ(unit().ear->unheard(), 0U);
}

TEST_F(HotStart, TheWatchdogFreesAPortWithoutAnEnd) {
    Server::hotStartLimit = 50ms;
    Server::hotStartAnswerLimit = 1ms;
    EXPECT_EQ(answered(port("J1COM1"), {}), 1);
    unit().respond("INIT_HOTSTART_ACK");  // too late for the client, yet it runs
    EXPECT_TRUE(eventually([] {
        unit().setPort("J1COM2");
        return unit().ear->unheard() > 0;
    }));
}

TEST_F(HotStart, SavedMessagesArePlayedByteForByteOneSetAtATime) {
    const auto record = recordOf(3, 3);
    const std::uint32_t sequences[] = {7, 7, 4000000000};
    const std::uint32_t lengths[] = {44, 2032, 0};
    for (std::size_t i = 0; i < 3; ++i) {
        VgpscHotStartMessage& message = record->messages[i];
        message.sequence = sequences[i];
        message.length = lengths[i];
        std::ranges::generate(message.bytes, [n = i]() mutable { return std::uint8_t(n += 7); });
    }
    Asked first(data(*record));
    EXPECT_EQ(first.sent, "INIT_WARMSTART");
    Captured output(std::cout);
    EXPECT_EQ(unit().setData(*record), 1);
    EXPECT_EQ(output.text(),
              "VGpsReceiverServer: Hot start in progress, not processing set hot start data\n");
    unit().respond("INIT_WARMSTART_ACK");
    EXPECT_EQ(first.result.get(), 0);
    expectPlayed(0, bytesOf(startOfTransfer));
    for (std::size_t i = 0; i < 3; ++i) {
        expectPlayed(sequences[i], bytesOf({record->messages[i].bytes, lengths[i]}));
    }
    expectPlayed(4, bytesOf(endOfTransfer));
    EXPECT_FALSE(unit().hasSent(Channel::DtIn));
    ASSERT_EQ(recordsTold(), 1U);
    EXPECT_EQ(std::memcmp(&fake::snapshot().hotStartData[0], record.get(), sizeof(Record)), 0);

    EXPECT_EQ(answered(data(*recordOf(3)), {"INIT_WARMSTART_ACK"}), 0) << "the way is free again";
    expectPlayed(0, bytesOf(startOfTransfer));
    expectPlayed(1, bytesOf(endOfTransfer));
}

TEST_F(HotStart, WithoutAnAcknowledgementNothingIsPlayed) {
    Server::warmStartAnswerLimit = 100ms;
    const auto record = recordOf(3, 1);
    for (const auto& answers : std::vector<std::vector<std::string>>{
             {"INIT_WARMSTART_NACK"}, {"INIT_WARMSTART_PASS"}, {"INIT_HOTSTART_PASS"}, {}}) {
        SCOPED_TRACE(testing::PrintToString(answers));
        EXPECT_EQ(answered(data(*record), answers), 1);
    }
    EXPECT_TRUE(unit().ear->hearsEvent("Not Sending Warmstart."));
    EXPECT_FALSE(unit().hasSent(Channel::DtIn));
    EXPECT_EQ(recordsTold(), 0U);
}

TEST_F(HotStart, ARecordThatClaimsMoreThanItHoldsIsRefusedAndOneNotForTheReceiverToldAtOnce) {
    const struct {
        std::uint32_t mode, count, length;
        const char* fault;
    } rows[] = {
        {3, 301, 0, "301 messages, at most 300"},
        {4, 0xFFFFFFFF, 0, "4294967295 messages, at most 300"},
        {3, 300, 2033, "message 300 of 2033 bytes, at most 2032"},
        {4, 1, 0xFFFFFFFF, "message 1 of 4294967295 bytes, at most 2032"},
    };
    for (const auto& row : rows) {
        const auto record = recordOf(row.mode, row.count);
        record->messages[std::clamp(row.count, 1U, 300U) - 1].length = row.length;
        Captured output(std::cout);
        EXPECT_EQ(unit().setData(*record), 1);
        EXPECT_EQ(output.text(),
                  std::string("VGpsReceiverServer: Invalid hot start data: ") + row.fault + "\n");
    }
    EXPECT_TRUE(unit().ear->hearsEvent("Invalid hot start data: message 300 of 2033 bytes"));
    EXPECT_EQ(recordsTold(), 0U);
    const auto record = recordOf(4, 299);
    record->messages[299].length = 0xFFFFFFFF;  // behind the last message it is nobody's
    EXPECT_EQ(unit().setData(*record), 0);
    EXPECT_EQ(unit().setData(*recordOf(0xFFFFFFFF)), 0);
    EXPECT_EQ(recordsTold(), 2U);
    EXPECT_EQ(unit().ear->unheard(), 0U);
}

TEST_F(HotStart, AReceiverThatDoesNotReadHoldsUpTheClientAlone) {
    mcsWriterPort::writeLimit = 500ms;
    unit().resize(Channel::DtIn, 8192);
    const auto record = longRecord();
    Asked client(data(*record));
    const auto start = std::chrono::steady_clock::now();
    unit().respond("INIT_WARMSTART_ACK");
    // While it waits, the topics' threads go their way, and so do the receiver's messages.
    unit().respond("INIT_WARMSTART_PASS");
    unit().send(Channel::TyrHc, bench::FrameBuilder(5040, 0x9000, 88).frame());
    unit().send(Channel::TyrHc, bench::FrameBuilder(8504, 0x9000, 200).frame());
    EXPECT_TRUE(eventually([] { return !fake::snapshot().status.empty(); }));
    EXPECT_EQ(client.result.get(), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 3 * mcsWriterPort::writeLimit);
    EXPECT_EQ(recordsTold(), 1U);
    EXPECT_TRUE(unit().ear->hearsEvent("Filed to send on Data Transfer In Topic"));
    expectPlayed(0, bytesOf(startOfTransfer));
    while (unit().hasSent(Channel::DtIn)) {  // raises where a record is torn
    }
    unit().resize(Channel::DtIn, 65536);
}

/** The frames that the receiver sends before the end of a transfer, and those kept of them. */
TEST_F(HotStart, ATransferKeepsWhatBelongsIntoTheRecord) {
    Captured output(std::cout);
    Asked library(tell);
    ASSERT_EQ(library.sent, "INIT_DATA_TRANSFER_OUT_LNAV");
    unit().respond("INIT_DATA_TRANSFER_OUT_LNAV_ACK");
    const auto send = [](const bench::Bytes& frame) { unit().send(Channel::DtOut, frame); };
    send(frameOf(5120, 44));  // before the start
    send(bytesOf(endOfTransfer));
    send(bytesOf(startOfTransfer));
    // Each one's place is its id on the bus.
    const int numbers[] = {5120, 5121, 5122, 5123, 5124, 5125, 5126, 5127,
                           5128, 5133, 5134, 5135, 5401, 5402, 8020};
    std::size_t size = 4;
    for (const int number : numbers) {
        send(frameOf(number, size += 2));
        send(frameOf(5129, 44));
        send(bytesOf(startOfTransfer));
        send(frameOf(number, 2033));
    }
    send(frameOf(8020, 2032));
    send(bytesOf(endOfTransfer));
    library.result.get();
    ASSERT_EQ(recordsTold(), 1U);
    const auto told = std::make_unique<Record>(fake::snapshot().hotStartData[0]);
    EXPECT_EQ(told->hotStartMode, 3U);
    ASSERT_EQ(told->messageCount, 16U);
    for (std::uint32_t i = 0; i < 15; ++i) {
        const VgpscHotStartMessage& message = told->messages[i];
        EXPECT_EQ(message.messageId, i);
        EXPECT_EQ(message.sequence, i + 1);
        EXPECT_EQ(bytesOf({message.bytes, message.length}), frameOf(numbers[i], 6 + 2 * i));
    }
    EXPECT_EQ(told->messages[15].length, 2032U);
    const std::string refusal = "VGpsReceiverServer: Refused ";
    const std::string text = output.text();
    ASSERT_NE(text.find(refusal + "15 data transfer frames longer than 2032 bytes\n"), text.npos);
    EXPECT_EQ(text.find(refusal), text.rfind(refusal)) << "said once";
    send(frameOf(5120, 44));  // behind the end: nobody's
}

TEST_F(HotStart, AFullRecordTakesNoMoreYetEnds) {
    const auto sendAll = [] {
        unit().send(Channel::DtOut, bytesOf(startOfTransfer));
        for (int i = 0; i < 302; ++i) {
            unit().send(Channel::DtOut, frameOf(5120, i < 300 ? 44 : 2040));
        }
        unit().send(Channel::DtOut, bytesOf(endOfTransfer));
    };
    Asked library(tell);
    sendAll();
    library.result.get();
    sendAll();  // which nobody asked for
    ASSERT_EQ(recordsTold(), 1U);
    EXPECT_EQ(fake::snapshot().hotStartData[0].messageCount, 300U);
}

TEST_F(HotStart, ATransferThatDoesNotComeTellsNothing) {
    Server::transferStartLimit = 100ms;
    for (const auto& answers :
         std::vector<std::vector<std::string>>{{}, {"INIT_DATA_TRANSFER_OUT_LNAV_NACK"}}) {
        unit().ear->forget();
        EXPECT_EQ(answered(tell, answers), 0);
        EXPECT_TRUE(unit().ear->hearsEvent("FAILED to receive the start of DT message"));
    }
    Server::transferStartLimit = patience;
    Server::transferLimit = 100ms;
    Asked library(tell);
    tell();  // one at a time: returns at once
    unit().send(Channel::DtOut, bytesOf(startOfTransfer));
    library.result.get();
    EXPECT_TRUE(unit().ear->hearsEvent("FAILED To Compile and Send Hotstart Data"));
    EXPECT_EQ(recordsTold(), 0U);
}

/** Requests of every kind while a sanitize begins: those under way end on the service that they
 *  came from, later ones are refused. */
TEST_F(HotStart, ASanitizeLetsEndWhatRunsAndRefusesTheRest) {
    const auto record = recordOf(3);
    freshUnit();
    unit().ear->forget();
    Asked byPort(port("J3COM1"));
    Asked byData(data(*record));
    unit().command("START_ZEROIZE");
    EXPECT_TRUE(eventually([] { return !fake::calls("DeleteService").empty(); }));
    unit().respond("INIT_WARMSTART_ACK");
    unit().respond("INIT_HOTSTART_ACK");
    EXPECT_EQ(byPort.result.get(), 0);
    EXPECT_EQ(byData.result.get(), 0);
    EXPECT_TRUE(unit().ear->hearsEvent("VgpssService started"));

    fake::forget();
    Captured output(std::cout);
    EXPECT_EQ(unit().setPort("J1COM1"), 1);
    EXPECT_EQ(unit().setData(*recordOf(4)), 1);
    fake::runCallback([](VgpssService& at) {
        EXPECT_EQ(at.setMagneticVariation(at.data, &at, 0, 1), 1);
        EXPECT_EQ(at.setMissionDuration(at.data, &at, 1), 1);
        EXPECT_EQ(at.setOperatingMode(at.data, &at, 1), 0);
        EXPECT_EQ(at.saveVclid(at.data, &at, ""), 1);
    });
    tell();
    for (const char* const what :
         {"set hot start port", "set hot start data", "set magnetic variation",
          "set mission duration", "SaveVCLID command"}) {
        EXPECT_THAT(output.text(), HasSubstr(std::string("VGpsReceiverServer: Sanitize in "
                                                         "progress, not processing ") +
                                             what + "\n"));
    }
    EXPECT_THAT(fake::calls("Tell"), ElementsAre());
    EXPECT_FALSE(unit().hasSent(Channel::HcTyr));
    EXPECT_EQ(unit().ear->unheard(), 0U);
    EXPECT_EQ(fake::snapshot().callsOnDeleted, 0);
    s_unit.reset();
}

/** The process ends under requests that nobody answers, and under a write that nobody reads. */
TEST_F(HotStart, TheEndWaitsForRequestsNoLongerThanTheyDo) {
    freshUnit();
    for (auto* const limit :
         {&Server::hotStartAnswerLimit, &Server::warmStartAnswerLimit, &Server::transferLimit}) {
        *limit = 700ms;
    }
    mcsWriterPort::writeLimit = 700ms;
    unit().resize(Channel::HcTyr, 4096);
    const auto record = recordOf(3, 300);
    Asked byPort(port("J3COM1"));
    Asked byData(data(*record));
    Asked telling(tell);
    unit().send(Channel::DtOut, bytesOf(startOfTransfer));
    std::atomic<int> written{0};
    const auto writing = std::async(std::launch::async, [&] {
        for (; written < 30; ++written) {
            fake::ask([](VgpssService& at) { return at.setMissionDuration(at.data, &at, 1); });
        }
    });
    EXPECT_TRUE(eventually([&] { return written > 10; }));
    const auto start = std::chrono::steady_clock::now();
    unit().end();
    EXPECT_LT(std::chrono::steady_clock::now() - start, 10s);
    EXPECT_EQ(byPort.result.get(), 1);
    EXPECT_EQ(byData.result.get(), 1);
    telling.result.get();
    writing.wait();
    EXPECT_EQ(recordsTold(), 0U);
    EXPECT_FALSE(unit().hasSent(Channel::DtIn));
    EXPECT_EQ(fake::snapshot().callsOnDeleted, 0);
    s_unit.reset();
}

TEST_F(HotStart, AStopEndsATransferToASlowReceiver) {
    mcsWriterPort::writeLimit = patience;
    freshUnit();
    unit().resize(Channel::DtIn, 4096);
    const auto record = longRecord();
    Asked client(data(*record));
    unit().respond("INIT_WARMSTART_ACK");
    expectPlayed(0, bytesOf(startOfTransfer));
    unit().transition(ConnectedServer::Requested::STOP);
    std::vector<std::size_t> sizes;
    while (const auto message = unit().take(Channel::DtIn)) {
        sizes.push_back(message->data().size());
        if (sizes.back() == endOfTransfer.size()) {
            break;
        }
    }
    EXPECT_LT(sizes.size(), 10U) << "the rest is left out, the end is not";
    EXPECT_EQ(client.result.get(), 1);
    EXPECT_EQ(recordsTold(), 0U);
    s_unit.reset();
}

}  // namespace
