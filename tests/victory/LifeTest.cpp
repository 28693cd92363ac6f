// The life of a service: bring-up and its refusals, groups, the end, many threads at once.
#include <atomic>
#include <cmath>
#include <limits>
#include <list>
#include <memory>
#include <thread>

#include "support/Allocations.h"
#include "victory/Rig.h"

namespace victory_test {
namespace {

using ::testing::HasSubstr;

class Life : public Rig {
protected:
    /** What vgpssNewService says when it refuses. */
    static std::string refusal(const std::string& serviceText, const std::string& vclText) {
        ::testing::internal::CaptureStderr();
        VgpssService* made = makeService(vclText, serviceText);
        EXPECT_EQ(made, nullptr) << serviceText << vclText;
        vgpssDeleteService(made);
        return ::testing::internal::GetCapturedStderr();
    }
};

// --- Bring-up -----------------------------------------------------------------------------------

TEST_F(Life, TextsThatAreNoConfigurationAreRefusedWithTheReason) {
    const std::string good = serviceXml();
    const auto period = [](const char* value) { return vcl({value, "0", "0", "0"}); };
    const struct {
        std::string service;
        std::string vcl;
        const char* reason;
    } cases[] = {
        {"", vcl(), "service configuration isn't XML"},
        {"<Service/>", vcl(), "root element \"Service\", needed is VictoryService"},
        {"<VictoryService/>", vcl(), "Endpoint needs an absolute path"},
        {"<VictoryService><Endpoint/></VictoryService>", vcl(), "Endpoint needs an absolute path"},
        {serviceXml("run/x.sock"), vcl(), "Endpoint needs an absolute path"},
        {serviceXml("/run/" + std::string(110, 'x')), vcl(), "File name too long"},
        {good, "<vcl:VCL><A></vcl:VCL>", "VCL isn't XML"},
        {good, "<VCL/>", "root element \"VCL\", needed is vcl:VCL"},
        {good, period("1s"), "line 1: updatePeriod of GPS_RECEIVER_STATUS is \"1s\""},
        {good, period(""), "milliseconds from 0 to 4294967295"},
        {good, period("-1"), "milliseconds from 0 to 4294967295"},
        {good, period("4294967296"), "milliseconds from 0 to 4294967295"},
    };
    for (const auto& c : cases) {
        const std::string said = refusal(c.service, c.vcl);
        EXPECT_THAT(said, HasSubstr(c.reason));
        EXPECT_THAT(said, ::testing::StartsWith("vgpssNewService: "));
    }
    EXPECT_EQ(vgpssNewService(nullptr, nullptr, nullptr, nullptr, nullptr), nullptr);
}

TEST_F(Life, AnEndpointInUseIsRefusedAndTheLeavingsOfADeadProcessAreReplaced) {
    make();
    EXPECT_THAT(refusal(serviceXml(), vcl()), HasSubstr("in use by another service"));
    EXPECT_EQ(vgpssStartService(service), 0);
    ::testing::internal::CaptureStderr();
    EXPECT_NE(vgpssStartService(service), 0);
    EXPECT_THAT(::testing::internal::GetCapturedStderr(), HasSubstr("has started before"));
    EXPECT_TRUE(connect().next().contains("hello")) << "the first one keeps its endpoint";
    remove();
    EXPECT_FALSE(std::filesystem::exists(endpoint()));

    {
        const victory::ListeningSocket foreign(root() + "/foreign");
        std::filesystem::rename(root() + "/foreign", endpoint());
        EXPECT_THAT(refusal(serviceXml(), vcl()), HasSubstr("in use by another process"));
    }  // the file stays, as after a crash
    ASSERT_TRUE(std::filesystem::exists(endpoint()));
    makeAndStart();
    EXPECT_TRUE(connect().next().contains("hello"));
    remove();

    std::ofstream(endpoint()) << "precious";
    EXPECT_THAT(refusal(serviceXml(), vcl()), HasSubstr("no socket"));
    EXPECT_EQ(std::filesystem::file_size(endpoint()), 8U);
}

TEST_F(Life, RootsTooLongForASocketAddressWork) {
    const std::string longRoot = root() + "/" + std::string(200, 'r') + "/" + std::string(80, 's');
    setenv("HALCYRINE_ROOT", longRoot.c_str(), 1);
    makeAndStart();
    EXPECT_THAT(endpoint(), ::testing::StartsWith(longRoot));
    EXPECT_TRUE(connect().next().contains("hello"));
    EXPECT_EQ(std::filesystem::status(endpoint()).permissions(), std::filesystem::perms(0660))
        << "others must not command";
    remove();
    EXPECT_FALSE(std::filesystem::exists(endpoint()));
}

TEST_F(Life, NothingHappensOnANullHandle) {
    EXPECT_NE(vgpssStartService(nullptr), 0);
    vgpssDeleteService(nullptr);
    vgpssInitPubGroup(nullptr, 0, 1);
    vgpssInitTellCallback(nullptr, 0, nullptr, nullptr);
    vgpssInitSetCommandCallback(nullptr, nullptr, nullptr);
    vgpssTellDeviceDatumCode(nullptr, 1, 0);
    vgpssTellStatusData(nullptr, 0, {}, nullptr);
    EXPECT_EQ(vgpssAddFault(nullptr, "x", 0, 0, 0, 0), 0U);
    vgpssRemoveFault(nullptr, 1);
}

// --- Telling --------------------------------------------------------------------------------

TEST_F(Life, TellingNeitherAllocatesNorWaitsForClients) {
    makeAndStart();
    Client stalled = connect();
    Client half = connect();
    half.send("{\"request\":");
    const auto status2 = std::make_unique<VgpscReceiverStatus2Data>(status2With(1, 50));
    const auto hotStart = std::make_unique<VgpscReceiverHotStartData>();
    ::testing::internal::CaptureStderr();
    const Clock::time_point before = Clock::now();
    {
        const Allocations allocations;
        for (int i = 0; i < 2000; ++i) {  // some 10 MB on the bus
            const VgpscDateTime date{};
            vgpssTellStatusData(service, 24, statusAt(i), &date);
            vgpssTellStatus2Data(service, *status2, nullptr);
            vgpssTellHealthStatusData(service, 12, {}, &date);
            vgpssTellHealthStatus2Data(service, 12, {}, nullptr);
            vgpssTellDeviceDatumCode(service, static_cast<unsigned>(i), 0);
            vgpssTellDeviceMaximumUserDefinedDatums(service, 2);
            vgpssTellDeviceMissionDuration(service, 84);
            vgpssTellDeviceOperatingMode(service, i % 8);
            vgpssTellDeviceMagneticVariation(service, 0, i);
        }
        vgpssTellDeviceReceiverPorts(service, {});
        vgpssTellDeviceReceiverHotStartPort(service, {"J1COM1"});
        vgpssTellDeviceReceiverHotStartData(service, *hotStart);
        EXPECT_EQ(allocations.count(), 0U);
    }
    EXPECT_LT(Clock::now() - before, kPatience / 2);
    const Allocations allocations;
    vgpssAddFault(service, "a text that no string holds within itself", 0, 0, 0, 0);
    EXPECT_NE(allocations.count(), 0U) << "the library's allocations count";
    remove();
    ::testing::internal::GetCapturedStderr();
}

// --- Groups -------------------------------------------------------------------------------------

struct Ticker {
    Count count;
    std::atomic<VgpssService*> service{nullptr};
    std::function<void()> during = [] {};

    /** Ticks with a group from its service's start on. */
    void tickWith(VgpssService* owner, int group, double periodSeconds) {
        vgpssInitPubGroup(owner, group, periodSeconds);
        vgpssInitTellCallback(owner, group, Ticker::tick, this);
    }

    static void tick(void* data, VgpssService* service) {
        Ticker& ticker = *static_cast<Ticker*>(data);
        ticker.service = service;
        ticker.count.add();
        ticker.during();
    }
};

TEST_F(Life, GroupsTickAtTheirPeriodFromTheStartOn) {
    constexpr milliseconds kPeriod{100};
    constexpr int kTicks = 8;
    make();
    Ticker steady;
    // Takes much of a period: counting from the end of each call would show in the sum.
    Count never;
    steady.during = [&] { never.reaches(1, kPeriod * 3 / 5); };
    steady.tickWith(service, 1, 0.1);
    Ticker silent;
    for (const double period : {0.0, -1.0, std::nan("")}) {
        ::testing::internal::CaptureStderr();
        vgpssInitPubGroup(service, 2, period);
        EXPECT_THAT(::testing::internal::GetCapturedStderr(), HasSubstr("above 0 s"));
    }
    vgpssInitTellCallback(service, 2, Ticker::tick, &silent);
    vgpssInitPubGroup(service, 3, 0.01);  // with nothing to call
    silent.tickWith(service, 4, std::numeric_limits<double>::infinity());
    EXPECT_FALSE(steady.count.reaches(1, 2 * kPeriod)) << "called before the start";

    const Clock::time_point before = Clock::now();
    ASSERT_EQ(vgpssStartService(service), 0);
    for (int i = 1; i <= kTicks; ++i) {
        ASSERT_TRUE(steady.count.reaches(i));
        EXPECT_GE(Clock::now() - before, i * kPeriod) << "tick " << i << " came early";
    }
    // On a busy machine a few beats fall out; a drift of 60 ms a tick would show as 420 ms.
    EXPECT_LT(Clock::now() - before, kTicks * kPeriod * 3 / 2);
    EXPECT_EQ(silent.count.value(), 0);
    EXPECT_EQ(steady.service, service);
    remove();
}

TEST_F(Life, BeatsThatALongCallCoversFallOut) {
    constexpr milliseconds kPeriod{20};
    make();
    Ticker ticker;
    Count release;
    ticker.during = [&] { release.reaches(1); };
    ticker.tickWith(service, 1, 0.02);
    ASSERT_EQ(vgpssStartService(service), 0);
    ASSERT_TRUE(ticker.count.reaches(1));
    EXPECT_FALSE(ticker.count.reaches(2, 20 * kPeriod));
    const Clock::time_point released = Clock::now();
    release.add();
    ASSERT_TRUE(ticker.count.reaches(5));
    EXPECT_GE(Clock::now() - released, 3 * kPeriod) << "caught up in a burst";
    remove();
}

// --- The end ------------------------------------------------------------------------------------

int tickDuration(void* data, VgpssService* service, unsigned /*duration*/) {
    Ticker::tick(data, service);
    return 0;
}

constexpr const char* kDuration = "{\"request\":\"missionDuration\",\"duration\":1}\n";

TEST_F(Life, DeleteWaitsForCallbacksAndNothingIsCalledAfter) {
    make();
    Ticker request;
    Ticker group;
    Count release;
    std::atomic<int> returned{0};
    request.during = group.during = [&] {
        EXPECT_TRUE(release.reaches(1));
        ++returned;
    };
    vgpssInitSetMissionDurationCallback(service, tickDuration, &request);
    group.tickWith(service, 1, 0.001);
    ASSERT_EQ(vgpssStartService(service), 0);
    Client client = connectAndGreet();
    client.send(std::string(kDuration) + kDuration);
    ASSERT_TRUE(request.count.reaches(1));
    ASSERT_TRUE(group.count.reaches(1));

    Count deleted;
    std::thread deleter([&] {
        remove();
        EXPECT_EQ(returned, 2);
        deleted.add();
    });
    EXPECT_FALSE(deleted.reaches(1, milliseconds(100)));
    release.add();
    EXPECT_TRUE(deleted.reaches(1));
    deleter.join();
    EXPECT_EQ(client.reply()["result"], 0) << "what was under way is answered";
    EXPECT_TRUE(client.seesTheEnd());
    EXPECT_FALSE(group.count.reaches(2, milliseconds(50)));
    EXPECT_EQ(request.count.value(), 1);
}

TEST_F(Life, DeleteFromWithinACallbackDoesNotWaitForThatOne) {
    struct Scene {
        Ticker ticker;
        Count deleted;
        Count release;
    };
    static std::list<Scene> scenes;  // nobody waits for such a callback: what it uses stays
    for (const bool fromGroup : {true, false}) {
        make();
        Scene& scene = scenes.emplace_back();
        scene.ticker.during = [&scene] {
            vgpssDeleteService(scene.ticker.service);
            scene.deleted.add();
            EXPECT_TRUE(scene.release.reaches(1));
        };
        if (fromGroup) {
            scene.ticker.tickWith(service, 1, 0.001);
        } else {
            vgpssInitSetMissionDurationCallback(service, tickDuration, &scene.ticker);
        }
        ASSERT_EQ(vgpssStartService(service), 0);
        if (!fromGroup) {
            connect().send(kDuration);
        }
        ASSERT_TRUE(scene.deleted.reaches(1));
        service = nullptr;
        EXPECT_FALSE(std::filesystem::exists(endpoint()));
        makeAndStart();  // the endpoint is free while that callback still runs
        EXPECT_TRUE(connect().next().contains("hello"));
        scene.release.add();
        remove();
        EXPECT_EQ(scene.ticker.count.value(), 1);
    }
}

TEST_F(Life, AServiceComesBackAtOnceAtItsEndpointWithItsNewPeriods) {
    for (int i = 0; i < 30; ++i) {
        const bool silent = i % 2 != 0;
        makeAndStart(silent ? vcl({kNever, "0", kNever, kNever}) : vcl());
        Client client = connectAndGreet();
        client.send("{\"half a");
        if (silent) {
            vgpssTellStatusData(service, 0, {}, nullptr);
            vgpssTellHealthStatusData(service, 0, {}, nullptr);
            vgpssTellHealthStatus2Data(service, 0, {}, nullptr);
        }
        vgpssTellStatus2Data(service, {}, nullptr);
        EXPECT_EQ(client.next()["report"], kStatus2);
        remove();
        EXPECT_TRUE(client.seesTheEnd());
    }
    make();  // and one that never starts goes as well
    Client client = connect();
    remove();
    EXPECT_TRUE(client.seesTheEnd());
}

TEST_F(Life, ManyThreadsAtOnce) {
    for (int round = 0; round < 3; ++round) {
        make(vcl({"0", "5", "0", "20"}));
        Ticker ticker;
        ticker.during = [&ticker] {
            vgpssTellStatus2Data(ticker.service, status2With(1, 3), nullptr);
        };
        vgpssInitSetMissionDurationCallback(service, tickDuration, &ticker);
        ticker.tickWith(service, 1, 0.002);
        ASSERT_EQ(vgpssStartService(service), 0);
        std::vector<std::thread> threads;
        for (int i = 0; i < 2; ++i) {
            threads.emplace_back([this, i] {
                for (int n = 0; n < 200; ++n) {
                    vgpssTellStatusData(service, 24, statusAt(n), nullptr);
                    vgpssTellHealthStatusData(service, 12, {}, nullptr);
                    vgpssTellHealthStatus2Data(service, 12, {}, nullptr);
                    vgpssTellDeviceMagneticVariation(service, i, n);
                    const unsigned fault = vgpssAddFault(service, "x", 0, 0, 0, 0);
                    EXPECT_NE(fault, 0U);
                    vgpssRemoveFault(service, fault);
                }
            });
            threads.emplace_back([] {
                for (int n = 0; n < 10; ++n) {
                    Client client = connect();
                    EXPECT_EQ(
                        client.ask(json{{"request", "missionDuration"}, {"duration", n}})["result"],
                        0);
                    client.send(kDuration);
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        remove();
    }
}

// --- Text files ---------------------------------------------------------------------------------

class TextFiles : public Rig {
protected:
    static std::string read(const std::string& path) {
        std::array<char, 200> buffer;
        buffer.fill('~');
        EXPECT_EQ(vutilReadStringFromFile(path.c_str(), buffer.size(), buffer.data()), 0);
        return buffer.data();
    }
};

TEST_F(TextFiles, AreReadWholeOrNotAtAll) {
    std::array<char, 8> buffer{};
    EXPECT_EQ(read(write("empty", "")), "");
    const std::string fits = write("fits", "1234567");
    EXPECT_EQ(vutilReadStringFromFile(fits.c_str(), 8, buffer.data()), 0);
    EXPECT_STREQ(buffer.data(), "1234567");
    const std::string none = root() + "/none";
    for (const auto& [path, capacity] : {std::pair{fits.c_str(), 7U},
                                         {fits.c_str(), 0U},
                                         {none.c_str(), 8U},
                                         {root().c_str(), 8U},
                                         {nullptr, 8U}}) {
        EXPECT_NE(vutilReadStringFromFile(path, capacity, buffer.data()), 0) << capacity;
    }
    EXPECT_NE(vutilReadStringFromFile(fits.c_str(), 8, nullptr), 0);
}

TEST_F(TextFiles, AreReplacedWholeOrNotAtAll) {
    const std::string path = write("file", "old");
    const std::string before = root() + "/before";
    std::filesystem::create_hard_link(path, before);
    EXPECT_EQ(vutilWriteStringToFile("new", path.c_str()), 0);
    EXPECT_EQ(read(path), "new");
    EXPECT_EQ(read(before), "old") << "a new file takes the place; nothing is written over";

    EXPECT_NE(vutilWriteStringToFile("x", (root() + "/none/file").c_str()), 0);
    EXPECT_NE(vutilWriteStringToFile(nullptr, path.c_str()), 0);
    EXPECT_NE(vutilWriteStringToFile("x", nullptr), 0);
}

}  // namespace
}  // namespace victory_test
