/** The server's process and the bus client, against stand-ins. */
#include <gmock/gmock.h>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <csignal>
#include <cstring>

#include "bench/BusClient.h"
#include "bench/DeviceRoot.h"
#include "bench/ServerProcess.h"

namespace bench {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;
using Ending = ServerProcess::Ending;

ServerProcess::Command shell(const std::string& script) {
    return {"/bin/sh", {"-c", script}, {}};
}

std::vector<std::string> textsOf(const ServerProcess& process) {
    std::vector<std::string> texts;
    for (const auto& line : process.lines()) {
        texts.push_back((line.isError ? "!" : "") + line.text);
    }
    return texts;
}

TEST(ServerProcess, TellsHowTheProgramEnded) {
    struct Case {
        const char* script;
        Ending ending;
    };
    for (const Case& each :
         {Case{"exit 0", {0, {}}}, Case{"exit 3", {3, {}}}, Case{"kill -TERM $$", {{}, SIGTERM}}}) {
        ServerProcess process(shell(each.script));
        EXPECT_EQ(process.wait(within(10s)), each.ending) << each.script;
        EXPECT_EQ(process.wait(within(0s)), each.ending) << each.script;
    }
    EXPECT_THROW(ServerProcess({"/no/such/program", {}, {}}), std::system_error);
}

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
    EXPECT_THAT(textsOf(process),
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
        ServerProcess process(shell("trap '' TERM; sleep 1000 & echo $!; wait"));
        ASSERT_TRUE(process.waitForLine("", within(10s)));
        child = watchProcess(std::stoi(process.lines()[0].text));
    }
    EXPECT_TRUE(ended(child.get()));
}

TEST(ServerProcess, NothingOfItOutlivesAKilledOwner) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const int owner = ::fork();
    if (owner == 0) {
        const ServerProcess process({"/bin/sleep", {"1000"}, {}});
        const int pid = process.pid();
        [[maybe_unused]] const auto told = ::write(ends[1], &pid, sizeof pid);
        ::pause();
    }
    ASSERT_GT(owner, 0);
    int pid = 0;
    ASSERT_EQ(::read(ends[0], &pid, sizeof pid), static_cast<ssize_t>(sizeof pid));
    const Descriptor process = watchProcess(pid);
    ::kill(owner, SIGKILL);
    ::waitpid(owner, nullptr, 0);
    EXPECT_TRUE(ended(process.get()));
    ::close(ends[0]);
    ::close(ends[1]);
}

/** A service of one client at the socket of a device root. */
class StandInService {
public:
    StandInService() {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, m_root.busSocket().c_str(), sizeof address.sun_path - 1);
        m_listening = Descriptor(checked(::socket(AF_UNIX, SOCK_STREAM, 0), "socket"));
        checked(::bind(m_listening.get(), reinterpret_cast<sockaddr*>(&address), sizeof address),
                "bind");
        checked(::listen(m_listening.get(), 1), "listen");
    }
    std::filesystem::path socket() const { return m_root.busSocket(); }
    void accept() {
        m_client = Descriptor(checked(::accept(m_listening.get(), nullptr, nullptr), "accept"));
    }
    void say(const std::string& bytes) {
        ASSERT_EQ(::send(m_client.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(bytes.size()));
    }
    std::string hear() {
        std::string line;
        for (char character = 0;
             ::recv(m_client.get(), &character, 1, 0) == 1 && character != '\n';) {
            line += character;
        }
        return line;
    }
    void close() { m_client.close(); }

private:
    DeviceRoot m_root;
    Descriptor m_listening;
    Descriptor m_client;
};

bool any(const json& /*line*/) {
    return true;
}

TEST(BusClient, ReportsComeInOrderAndTheRestIsCounted) {
    StandInService service;
    BusClient client(service.socket(), within(10s));
    service.accept();
    service.say(R"({"hello":{}}
{"report":7}
{"report":"A","sequence":1}
{"report":"B","seq)");
    service.say(R"(uence":2}
no json
[1]
{"report":"A","sequence":3}
{"report":"A","sequence":4}
)");
    EXPECT_EQ(client.next("B", within(10s)).value()["sequence"], 2);
    EXPECT_EQ(client.next(any, within(10s)).value()["sequence"], 3);
    EXPECT_EQ(client.next([](const json& line) { return line["sequence"] > 3; }, within(10s))
                  .value()["report"],
              "A");
    EXPECT_EQ(client.unreadable(), 2U);
    EXPECT_FALSE(client.next(any, within(0s)));
    EXPECT_FALSE(client.closed());
    service.close();
    EXPECT_FALSE(client.next(any, within(1h)));
    EXPECT_TRUE(client.closed());
}

TEST(BusClient, RequestFindsItsAnswerAmongOthers) {
    StandInService service;
    BusClient client(service.socket(), within(10s));
    service.accept();
    std::thread server([&] {
        const json request = json::parse(service.hear());
        EXPECT_EQ(request["duration"], 5);
        const long long id = request["id"];
        const auto reply = [](long long to, int result) {
            return json{{"reply", to}, {"result", result}}.dump() + "\n";
        };
        service.say(reply(id + 1, 1) + "{\"report\":\"A\"}\n" + reply(id, 0));
    });
    const auto reply =
        client.request({{"request", "missionDuration"}, {"duration", 5}}, within(10s));
    server.join();
    ASSERT_TRUE(reply);
    EXPECT_EQ((*reply)["result"], 0);
    EXPECT_TRUE(client.next("A", within(0s)));
    service.close();
    EXPECT_THROW(BusClient("/no/such/place/socket", within(0s)), std::system_error);
}

}  // namespace
}  // namespace bench
