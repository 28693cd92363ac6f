/** The simulated unit: device root, queues, the server's process. */
#include <gmock/gmock.h>

#include <poll.h>
#include <sys/wait.h>
#include <csignal>

#include "bench/DeviceRoot.h"
#include "bench/Frames.h"
#include "bench/ReceiverPorts.h"
#include "bench/Scenario.h"
#include "bench/ServerProcess.h"
#include "support/Eventually.h"

namespace bench {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Channel = ReceiverPorts::Channel;
using Ending = ServerProcess::Ending;

TEST(ServerProcess, LinesArriveWithTheirStreamAndWhole) {
    ::setenv("BENCH_OTHER", "kept", 1);
    ServerProcess process(
        {"/bin/sh",
         {"-c",
          "trap 'printf last; exit 7' TERM; printf 'one\\ntw'; printf 'o\\n'; echo no >&2; "
          "read answer; echo $0 $BENCH_NAME $BENCH_OTHER $answer; while true; do sleep 0.01; done",
          "zero"},
         {{"BENCH_NAME", "value"}}});
    EXPECT_EQ(process.waitForLine("one", within(10s)), 0U);
    const auto two = process.waitForLine("two", within(10s), 1);
    ASSERT_TRUE(two);
    ASSERT_TRUE(process.waitForLine("no", within(10s)));
    EXPECT_FALSE(process.waitForLine("two", within(0s), *two + 1));
    process.type("yes\n");
    ASSERT_TRUE(process.waitForLine("zero value kept yes", within(10s)));
    EXPECT_FALSE(process.wait(within(0s)));
    process.signal(SIGTERM);
    EXPECT_EQ(process.wait(within(10s)), (Ending{7, {}}));
    std::vector<std::string> texts;
    for (const auto& line : process.lines()) {
        texts.push_back((line.isError ? "!" : "") + line.text);
    }
    EXPECT_THAT(texts,
                testing::UnorderedElementsAre("one", "two", "!no", "zero value kept yes", "last"));
    EXPECT_FALSE(process.waitForLine("never", within(1h)));
}

/** Whether the process of a pidfd has ended by the deadline. */
bool ended(int pidfd) {
    pollfd polled{pidfd, POLLIN, 0};
    return ::poll(&polled, 1, 10000) == 1;
}

TEST(ServerProcess, NothingOfItOutlivesTheObject) {
    Descriptor child;
    {
        ServerProcess process({"/bin/sh", {"-c", "trap '' TERM; sleep 1000 & echo $!; wait"}, {}});
        ASSERT_TRUE(process.waitForLine("", within(10s)));
        child = watchProcess(std::stoi(process.lines()[0].text));
    }
    EXPECT_TRUE(ended(child.get()));
}

TEST(Unit, GoesWithAKilledOwnerYetItsFilesStayWhenTheyAreKept) {
    struct Told {
        int pid;
        char path[256];
    } told{};
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const int owner = ::fork();
    if (owner == 0) {
        const DeviceRoot root;
        const ServerProcess process({"/bin/sleep", {"1000"}, {}});
        told.pid = process.pid();
        root.path().string().copy(told.path, sizeof told.path - 1);
        [[maybe_unused]] const auto written = ::write(ends[1], &told, sizeof told);
        ::pause();
    }
    ASSERT_GT(owner, 0);
    ASSERT_EQ(::read(ends[0], &told, sizeof told), static_cast<ssize_t>(sizeof told));
    const Descriptor process = watchProcess(told.pid);
    EXPECT_TRUE(fs::exists(told.path));
    ::kill(owner, SIGKILL);
    ::waitpid(owner, nullptr, 0);
    ::close(ends[0]);
    ::close(ends[1]);
    EXPECT_TRUE(ended(process.get()));
    EXPECT_TRUE(eventually([&] { return !fs::exists(told.path); })) << told.path;

    fs::path kept;
    {
        DeviceRoot root;
        root.keep();
        kept = root.path();
    }
    EXPECT_TRUE(fs::exists(kept / "dev/mem"));
    fs::remove_all(kept);
}

TEST(ReceiverPorts, FullQueueIsToldAndKeepsWholeRecords) {
    const DeviceRoot root;
    ReceiverPorts ports(root);
    const Bytes frame = frame8504(scenarioAt(0));
    std::size_t sent = 0;
    while (ports.send(Channel::DtIn, frame, within(0ms))) {
        ASSERT_LT(++sent, 100000U);
    }
    EXPECT_GE(sent, 65536 / (frame.size() + 56) / 2);
    for (std::size_t index = 0; index < sent; ++index) {
        ASSERT_TRUE(ports.receive(Channel::DtIn, within(5s)));
    }

    // A record in two pieces waits for its end; one that claims too much is dropped.
    const Bytes record = ports.record(frame);
    ports.sendRaw(Channel::DtIn, std::span(record).first(100));
    EXPECT_FALSE(ports.receive(Channel::DtIn, within(0ms)));
    ports.sendRaw(Channel::DtIn, std::span(record).subspan(100));
    EXPECT_TRUE(ports.receive(Channel::DtIn, within(5s)));
    ports.sendRaw(Channel::DtIn, Bytes(56, 0xFF));
    EXPECT_THROW(ports.receive(Channel::DtIn, within(5s)), std::runtime_error);
    ports.send(Channel::DtIn, frame);
    EXPECT_EQ(ports.receive(Channel::DtIn, within(5s))->data(), frame);
}

}  // namespace
}  // namespace bench
