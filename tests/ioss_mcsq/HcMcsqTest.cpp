#include "ioss_mcsq/HC_MCSQ.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>

#include <array>
#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>

#include "ioss/ServiceTest.h"
#include "ioss_mcsq/QueueSupport.h"

namespace {

using FACE::IOSS::CONNECTION_STATUS_TYPE;
using FACE::IOSS::HC_MCSQ;
using FACE::IOSS::IO_PARAMETER_TRANSACTION_TYPE;
using Bytes = FACE::Sequence<unsigned char>;

/** Counts what it hears of each connection, and does what the test wants done. */
class Listener : public FACE::IOSS::IO_Callback {
public:
    explicit Listener(std::function<void(long long)> action) : m_action(std::move(action)) {}

    void Process_Notification_Event(long long connection,
                                    FACE::IOSS::NOTIFICATION_EVENT_TYPE::Value event) override {
        EXPECT_EQ(event, 0U);
        thread = ::gettid();
        ++heard.at(static_cast<std::size_t>(connection));
        m_action(connection);
    }

    std::array<std::atomic<int>, 4> heard{};
    std::atomic<pid_t> thread{};

private:
    std::function<void(long long)> m_action;
};

/** Counts and spoils the opening of containers. */
class WatchedConfiguration : public FACE::HC_Config {
public:
    void Open(const FACE::String& container, int& handle, R::Value& rc) override {
        ++opens;
        if (fails) {
            throw std::runtime_error("spoiled");
        }
        FACE::HC_Config::Open(container, handle, rc);
    }
    int opens = 0;
    bool fails = false;
};

/** A service over the pipes /dev/mcs0 to /dev/mcs3. */
class HcMcsq : public ServiceTest<HC_MCSQ> {
protected:
    HcMcsq() {
        for (const char* name : {"mcs0", "mcs1", "mcs2", "mcs3"}) {
            m_pipes.push_back(m_unit.makePipe(name));
        }
        std::vector<Container> channels{{"Portless", {{"Size", "3"}}}};
        for (const auto& [name, port] : {std::pair{"Zero", "0"},
                                         {"One", "01"},
                                         {"Two", "0x10002"},
                                         {"Three", "3"},
                                         {"Four", "3"},
                                         {"Sixteen", "0x10"}}) {
            channels.push_back({name, {{"Port", port}}});
        }
        make(m_unit.configure(channels), m_configuration);
    }

    ~HcMcsq() override { destroy(); }

    long long opened(const char* name) {
        EXPECT_EQ(open(name), R::NO_ERROR) << name;
        return m_connection;
    }
    Code attach(long long connection, Listener& listener) {
        return code(&HC_MCSQ::Register_Notification_Event, connection, listener);
    }
    Code detach(long long connection) {
        return code(&HC_MCSQ::Unregister_Notification_Event, connection);
    }
    Code write(long long connection, std::string_view text) {
        const Bytes payload(reinterpret_cast<const unsigned char*>(text.data()), text.size());
        return code(&HC_MCSQ::Write, connection, -1, payload);
    }
    /** What one read brings into a payload with room for `room` bytes; the code in front. */
    std::pair<Code, std::string> read(long long connection, std::uint32_t room = 100) {
        std::vector<unsigned char> store(room + 1);
        Bytes::RETURN_CODE made{};
        FACE::IOSS::MCSQ::Read_Payload payload{42, Bytes(store.data(), room, room + 1, made)};
        const Code rc = code(&HC_MCSQ::Read, connection, 0, payload);
        EXPECT_EQ(payload.time, 42);
        return {rc, std::string(payload.data.begin(), payload.data.end())};
    }

    /** The descriptor that the service reads the device by. */
    int readerOf(const char* device) {
        const std::filesystem::path file = m_unit.device(device);
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            const int descriptor = std::stoi(entry.path().filename());
            std::error_code gone;  // the listing's own descriptor
            if (std::filesystem::read_symlink(entry.path(), gone) == file &&
                (::fcntl(descriptor, F_GETFL) & O_ACCMODE) == O_RDONLY) {
                return descriptor;
            }
        }
        return -1;
    }

    TemporaryUnit m_unit;
    std::vector<int> m_pipes;
    std::shared_ptr<WatchedConfiguration> m_configuration =
        std::make_shared<WatchedConfiguration>();
    std::atomic<std::size_t> m_taken{0};  // bytes, by m_reader
    Listener m_reader{[this](long long connection) { m_taken += read(connection).second.size(); }};
};

TEST_F(HcMcsq, NamesFindTheirPorts) {
    Captured errors(std::cerr);
    for (const char* const name : {"Missing", "Portless", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(open(name), R::INVALID_CONFIG);
        EXPECT_EQ(m_connection, -1);
    }
    for (const auto& [name, port] : {std::pair{"Zero", 0}, {"One", 1}, {"Two", 2}}) {
        EXPECT_EQ(opened(name), port) << "ids count from 0";
        EXPECT_EQ(write(port, name), R::NO_ERROR);
        EXPECT_EQ(takeAll(m_pipes[static_cast<std::size_t>(port)]), name);
    }
    const int opens = m_configuration->opens;
    EXPECT_EQ(opened("One"), 1);
    EXPECT_EQ(m_configuration->opens, opens) << "a known name isn't looked up again";

    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(open("Sixteen"), R::NO_ACTION);
        EXPECT_EQ(m_connection, -1);
        EXPECT_EQ(close(3), R::CONNECTION_CLOSED) << "an entry stays behind";
    }
    const std::string line = "Unable to open output pipe file: /dev/mcs16\n";
    EXPECT_EQ(errors.text(), line + line);
    m_unit.makePipe("mcs16");
    EXPECT_EQ(opened("Sixteen"), 3);
}

TEST_F(HcMcsq, ExceptionWhileOpeningEndsAtTheInterface) {
    Captured errors(std::cerr);
    m_configuration->fails = true;
    EXPECT_EQ(open("Zero"), R::NO_ACTION);
    EXPECT_EQ(m_connection, -1);
    EXPECT_THAT(errors.text(), testing::MatchesRegex("[0-9]+: spoiled\n"));
    m_configuration->fails = false;
    EXPECT_EQ(opened("Zero"), 0);
}

TEST_F(HcMcsq, TakesOneConfigurationAndInitializesOnce) {
    expectConfiguredOnce(m_unit);
}

TEST_F(HcMcsq, EveryOperationAnswersForAnOpenAClosedAndAnUnknownConnection) {
    IO_PARAMETER_TRANSACTION_TYPE others;
    others.parameters.append({1, {}});
    others.parameters.append({0, {}});
    CONNECTION_STATUS_TYPE status;
    std::uint16_t bus = 9;
    using S = HC_MCSQ;
    const auto row = [](const auto& ask, Code whenOpen) {
        return Answers{ask, whenOpen, R::CONNECTION_CLOSED, R::INVALID_PARAM};
    };
    expectAnswers(
        "Three", {row(asking(&S::Configure_Connection_Parameters, -1, others), R::NO_ACTION),
                  row(asking(&S::Configure_Bus_Parameters, -1, others), R::NO_ACTION),
                  row(asking(&S::Get_Bus_Configuration, -1, std::ref(others)), R::NO_ACTION),
                  {asking(&S::Get_Connection_Configuration, -1, std::ref(others)), R::INVALID_PARAM,
                   R::INVALID_PARAM, R::INVALID_PARAM},
                  row(asking(&S::Get_Connection_Status, std::ref(status)), R::NO_ERROR),
                  row(asking(&S::Get_Bus_Status, std::ref(bus)), UNSET),
                  row(asking(&S::Register_Notification_Event, std::ref(m_reader)), R::NO_ERROR),
                  row(asking(&S::Unregister_Notification_Event), R::NO_ERROR),
                  row(asking(&S::Write, -1, Bytes()), R::NO_ERROR),
                  row([this](long long id) { return write(id, "x"); }, R::NO_ERROR),
                  row([this](long long id) { return read(id, 0).first; }, R::NO_ACTION),
                  row([this](long long id) { return read(id).first; }, R::NO_ERROR),
                  row(asking(&S::Close_Connection), R::NO_ERROR)});
    EXPECT_EQ(others.parameters[1].value.ushort_value(), 3) << "the walk went on";
    EXPECT_TRUE(status.available);
    EXPECT_EQ(status.state, 2U);
    EXPECT_EQ(bus, 1) << "unknown";
    const long long connection = opened("Three");
    EXPECT_EQ(code(&S::Get_Bus_Status, connection, bus), UNSET);
    EXPECT_EQ(bus, 0) << "open";
    close(connection);
    code(&S::Get_Bus_Status, connection, bus);
    EXPECT_EQ(bus, 1) << "closed";
}

TEST_F(HcMcsq, ReadTakesWhatWaitsAndFits) {
    const long long connection = opened("Zero");
    ASSERT_TRUE(put(m_pipes[0], "firstsecond"));
    using Got = std::pair<Code, std::string>;
    EXPECT_EQ(read(connection, 5), Got(R::NO_ERROR, "first")) << "no byte behind the payload's end";
    EXPECT_EQ(read(connection, 100), Got(R::NO_ERROR, "second"));
    ASSERT_TRUE(put(m_pipes[0], std::string(HC_MCSQ::MAX_READ, 'a') + "rest"));
    EXPECT_EQ(read(connection, 200000).second.size(), 0x20000U);
    EXPECT_EQ(read(connection, 200000), Got(R::NO_ERROR, "rest"));
}

TEST_F(HcMcsq, TransfersThatFailOrFallShortAreNoAction) {
    std::filesystem::remove(m_unit.device("mcs0"));
    std::filesystem::remove(m_unit.device("mcs1"));
    std::filesystem::create_symlink("/dev/full", m_unit.device("mcs0"));
    m_unit.makeSparse("mcs1", 0);
    const long long full = opened("Zero");
    const long long file = opened("One");
    EXPECT_EQ(write(full, "record"), R::NO_ACTION);
    EXPECT_EQ(read(file).first, R::NO_ACTION) << "at its end";

    // A file that may grow to four bytes takes part of a record.
    rlimit before{};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const rlimit four{4, before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &four);
    const Code shortened = write(file, "record");
    ::setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(shortened, R::NO_ACTION);
    EXPECT_EQ(read(file).second, "reco");
}

/** Shortens the wait for a full queue. */
class FullQueue : public HcMcsq {
protected:
    static constexpr int page = 4096;

    FullQueue() { ::fcntl(m_pipes[0], F_SETPIPE_SZ, page); }
    ~FullQueue() override { mcsWriterPort::writeLimit = m_before; }

    /** The code of a write of so many bytes, and how long it took. */
    std::pair<Code, std::chrono::steady_clock::duration> timedWrite(long long connection,
                                                                    std::size_t size) {
        const auto start = std::chrono::steady_clock::now();
        const Code rc = write(connection, std::string(size, 'w'));
        return {rc, std::chrono::steady_clock::now() - start};
    }

    static bool sleeps(pid_t thread) {
        std::ifstream stat("/proc/self/task/" + std::to_string(thread) + "/stat");
        std::string word;
        return stat >> word >> word >> word && word == "S";
    }

    const std::chrono::milliseconds m_before =
        std::exchange(mcsWriterPort::writeLimit, std::chrono::milliseconds(300));
};

TEST_F(FullQueue, OneWriteWaitsForAReaderThatIsGoneAndNoneUntilItIsBack) {
    const long long zero = opened("Zero");
    ASSERT_EQ(write(zero, std::string(page, 'f')), R::NO_ERROR);
    const auto [rc, took] = timedWrite(zero, 10);
    EXPECT_EQ(rc, R::NO_ACTION);
    EXPECT_GE(took, mcsWriterPort::writeLimit);
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(write(zero, "later"), R::NO_ACTION);
    }
    EXPECT_LT(timedWrite(zero, 10).second, mcsWriterPort::writeLimit);
    EXPECT_EQ(takeAll(m_pipes[0]), std::string(page, 'f')) << "of what failed nothing has gone";
    EXPECT_EQ(write(zero, "back"), R::NO_ERROR);
    EXPECT_EQ(takeAll(m_pipes[0]), "back");
    // From now on a write waits again.
    ASSERT_EQ(write(zero, std::string(page, 'f')), R::NO_ERROR);
    EXPECT_GE(timedWrite(zero, 10).second, mcsWriterPort::writeLimit);
}

TEST_F(FullQueue, AWriteGoesOnAsTheReaderMakesRoom) {
    mcsWriterPort::writeLimit = std::chrono::seconds(20);
    const long long zero = opened("Zero");
    for (const std::size_t size :
         {std::size_t{10}, std::size_t{page}, std::size_t{10 * page + 1}}) {
        ASSERT_EQ(write(zero, std::string(page, 'f')), R::NO_ERROR);
        std::string got;
        std::thread reader([&] {
            eventually([&] { return (got += takeAll(m_pipes[0])).size() == page + size; });
        });
        EXPECT_EQ(write(zero, std::string(size, 'w')), R::NO_ERROR) << size;
        reader.join();
        EXPECT_EQ(got, std::string(page, 'f') + std::string(size, 'w'));
    }
}

TEST_F(FullQueue, OnlyTheWriterWaits) {
    mcsWriterPort::writeLimit = std::chrono::seconds(20);
    const long long zero = opened("Zero");
    const long long one = opened("One");
    ASSERT_EQ(attach(one, m_reader), R::NO_ERROR);
    ASSERT_EQ(write(zero, std::string(page, 'f')), R::NO_ERROR);
    std::atomic<pid_t> thread{0};
    std::atomic<bool> done{false};
    std::thread writer([&] {
        thread = ::gettid();
        EXPECT_EQ(write(zero, "waits"), R::NO_ERROR);
        done = true;
    });
    ASSERT_TRUE(eventually([&] { return thread != 0 && sleeps(thread); }));
    put(m_pipes[1], "x");
    EXPECT_TRUE(eventually([&] { return m_reader.heard[1] == 1; }));
    EXPECT_EQ(write(one, "y"), R::NO_ERROR);
    EXPECT_EQ(opened("Two"), 2);
    EXPECT_EQ(detach(one), R::NO_ERROR);
    EXPECT_EQ(close(zero), R::NO_ERROR);
    EXPECT_FALSE(done);
    takeAll(m_pipes[0]);
    writer.join();
}

TEST_F(HcMcsq, CallbacksComeForRegisteredConnectionsAlone) {
    const long long zero = opened("Zero");
    const long long one = opened("One");
    const long long two = opened("Two");
    ASSERT_EQ(attach(zero, m_reader), R::NO_ERROR);
    ASSERT_EQ(attach(two, m_reader), R::NO_ERROR);
    ASSERT_EQ(attach(two, m_reader), R::NO_ERROR) << "again, which adds nothing";
    put(m_pipes[0], "a");
    put(m_pipes[1], "b");
    put(m_pipes[2], "c");
    EXPECT_TRUE(eventually([&] { return m_reader.heard[0] == 1 && m_reader.heard[2] == 1; }));
    EXPECT_NE(m_reader.thread, ::gettid());
    EXPECT_EQ(m_reader.heard[1], 0);
    EXPECT_EQ(read(one).second, "b");

    ASSERT_EQ(detach(two), R::NO_ERROR);
    ASSERT_EQ(detach(two), R::NO_ERROR) << "not registered any more";
    put(m_pipes[2], "d");
    put(m_pipes[0], "e");
    EXPECT_TRUE(eventually([&] { return m_reader.heard[0] == 2; }));
    EXPECT_EQ(m_reader.heard[2], 1);
    EXPECT_EQ(read(two).second, "d");
}

TEST_F(HcMcsq, ConnectionsOnOneDeviceNeverReadItEmpty) {
    const long long three = opened("Three");
    const long long four = opened("Four");
    ASSERT_NE(three, four);
    ASSERT_EQ(attach(three, m_reader), R::NO_ERROR);
    ASSERT_EQ(attach(four, m_reader), R::NO_ERROR);
    for (std::size_t sent = 1; sent <= 20; ++sent) {
        put(m_pipes[3], "record");
        // A read of nothing would hold the thread for good.
        ASSERT_TRUE(eventually([&] { return m_taken == 6 * sent; }));
    }
}

TEST_F(HcMcsq, ThreadOutlivesExceptionsAndSignals) {
    Captured errors(std::cerr);
    std::atomic<int> calls{0};
    Listener listener([&](long long connection) {
        read(connection);
        switch (++calls) {
            case 1:
                throw std::runtime_error("out of hand");
            case 2:
                throw 5;
        }
    });
    struct sigaction interrupt {};
    struct sigaction before {};
    interrupt.sa_handler = [](int) {};
    ::sigaction(SIGUSR1, &interrupt, &before);
    ASSERT_EQ(attach(opened("Zero"), listener), R::NO_ERROR);
    for (int sent = 1; sent <= 5; ++sent) {
        put(m_pipes[0], "x");
        ASSERT_TRUE(eventually([&] { return calls == sent; }));
        ::tgkill(::getpid(), listener.thread, SIGUSR1);
    }
    destroy();
    ::sigaction(SIGUSR1, &before, nullptr);
    EXPECT_THAT(errors.text(),
                testing::MatchesRegex("[0-9]+: out of hand\n[0-9]+: unknown exception\n"));
}

TEST_F(HcMcsq, RegistrationsAndTrafficMeetOnManyThreads) {
    std::array<long long, 3> ids{opened("Zero"), opened("One"), opened("Two")};
    ASSERT_EQ(attach(ids[2], m_reader), R::NO_ERROR);
    std::vector<std::thread> threads;
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back([&, id = ids.at(static_cast<std::size_t>(i))] {
            for (int round = 0; round < 50; ++round) {
                attach(id, m_reader);
                write(id, "x");
                detach(id);
            }
        });
    }
    for (int sent = 0; sent < 100; ++sent) {
        write(ids[2], "y");
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_TRUE(eventually([&] { return m_reader.heard[2] > 0; }));
    const int heard = m_reader.heard[2];
    write(ids[2], "last");
    EXPECT_TRUE(eventually([&] { return m_reader.heard[2] > heard; }));
}

TEST_F(HcMcsq, ClosingEndsTheNotifications) {
    const long long zero = opened("Zero");
    const long long one = opened("One");
    ASSERT_EQ(attach(zero, m_reader), R::NO_ERROR);
    ASSERT_EQ(attach(one, m_reader), R::NO_ERROR);
    ASSERT_EQ(close(zero), R::NO_ERROR);
    // It may get the number of the descriptor that was closed, and nobody asked to hear of it.
    ASSERT_EQ(opened("Two"), 2);
    put(m_pipes[0], "a");
    put(m_pipes[2], "b");
    put(m_pipes[1], "c");
    ASSERT_TRUE(eventually([&] { return m_reader.heard[1] == 1; }));
    EXPECT_FALSE(eventually([&] { return m_reader.heard[0] + m_reader.heard[2] > 0; },
                            2 * HC_MCSQ::POLL_PERIOD));
    ASSERT_EQ(opened("Zero"), zero);
    ASSERT_EQ(attach(zero, m_reader), R::NO_ERROR);
    EXPECT_TRUE(eventually([&] { return m_reader.heard[0] == 1; }));
}

TEST_F(HcMcsq, BrokenDescriptorNeitherSpinsNorSilencesTheOthers) {
    std::atomic<long long> busy{0};  // what the callback thread has worked so far [us]
    Listener listener([&](long long connection) {
        rusage usage{};
        ::getrusage(RUSAGE_THREAD, &usage);
        busy = (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1000000LL +
               usage.ru_utime.tv_usec + usage.ru_stime.tv_usec;
        read(connection);
    });
    ASSERT_EQ(attach(opened("Zero"), listener), R::NO_ERROR);
    ASSERT_EQ(attach(opened("One"), listener), R::NO_ERROR);
    std::array<int, 2> hungUp{};
    ASSERT_EQ(::pipe(hungUp.data()), 0);
    ::close(hungUp[1]);
    ::dup2(hungUp[0], readerOf("mcs0"));  // wakes poll whenever asked, without data
    ::close(hungUp[0]);
    put(m_pipes[1], "y");
    ASSERT_TRUE(eventually([&] { return listener.heard[1] == 1; }));
    const long long before = busy;
    EXPECT_FALSE(eventually([&] { return listener.heard[0] > 0; }, 4 * HC_MCSQ::POLL_PERIOD));
    put(m_pipes[1], "z");
    ASSERT_TRUE(eventually([&] { return listener.heard[1] == 2; }));
    EXPECT_LT(busy - before, 10000);
    destroy();
}

TEST_F(HcMcsq, ThreadEndsForGoodWithTheLastRegistration) {
    const long long zero = opened("Zero");
    ASSERT_EQ(attach(zero, m_reader), R::NO_ERROR);
    put(m_pipes[0], "x");
    ASSERT_TRUE(eventually([&] { return m_reader.heard[0] == 1; }));
    const std::string task = "/proc/self/task/" + std::to_string(m_reader.thread);
    ASSERT_TRUE(std::filesystem::exists(task));
    ASSERT_EQ(detach(zero), R::NO_ERROR);
    ASSERT_TRUE(eventually([&] { return !std::filesystem::exists(task); }));
    ASSERT_EQ(attach(zero, m_reader), R::NO_ERROR);
    put(m_pipes[0], "y");
    EXPECT_FALSE(eventually([&] { return m_reader.heard[0] > 1; }, 2 * HC_MCSQ::POLL_PERIOD));
}

TEST_F(HcMcsq, DestructionWaitsForTheCallbackUnderWay) {
    std::atomic<bool> left{false};
    std::atomic<bool> go{false};
    Listener listener(
        [&](long long /*connection*/) { left = eventually([&] { return go.load(); }); });
    ASSERT_EQ(attach(opened("Zero"), listener), R::NO_ERROR);
    put(m_pipes[0], "x");
    ASSERT_TRUE(eventually([&] { return listener.heard[0] == 1; }));
    std::thread release([&] { go = true; });
    destroy();
    EXPECT_TRUE(left);
    release.join();
}

}  // namespace
