/** What the transport costs above bare Fast DDS with the same settings, measured in turns in one
 * run.
 *
 *  Usage: bench_tss [--check]     --check: exit status 1 when a figure is above its limit
 *  The other ends are further processes of this program, "peer" and "idle" their first argument.
 */
#include <fastdds/rtps/transport/UDPv4TransportDescriptor.h>
#include <fastdds/rtps/transport/shared_mem/SharedMemTransportDescriptor.h>
#include <fastrtps/Domain.h>
#include <fastrtps/attributes/ParticipantAttributes.h>
#include <fastrtps/attributes/PublisherAttributes.h>
#include <fastrtps/attributes/SubscriberAttributes.h>
#include <fastrtps/publisher/Publisher.h>
#include <fastrtps/subscriber/SampleInfo.h>
#include <fastrtps/subscriber/Subscriber.h>
#include <fastrtps/subscriber/SubscriberListener.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iomanip>
#include <iostream>
#include <limits>
#include <memory>
#include <new>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "aspn2_msgs/CommandResponsePubSubTypes.h"
#include "aspn2_msgs/EventLogPubSubTypes.h"
#include "aspn2_msgs/MaintenanceEventPubSubTypes.h"
#include "face/HC_Config.h"
#include "tss/HC_TypedTS.h"

namespace {

std::atomic<std::uint64_t> allocations{0};

}  // namespace

// Every allocation of the process passes here, the library's own too. Not inlined, as the compiler
// would then see memory of malloc, and a free of what it takes for memory of new.
[[gnu::noinline]] void* operator new(std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* const memory = std::malloc(size)) {
        return memory;
    }
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::seconds;
using Message = aspn2_msgs::idl::CommandResponse;
using Handler = std::function<void(const Message&)>;
using Code = FACE::RETURN_CODE_TYPE::Value;

constexpr int historyDepth = 16;
constexpr std::chrono::microseconds commandPeriod{100};

Message makeCommand() {
    Message message;
    message.command_response("INIT_DATA_TRANSFER_OUT_LNAV");
    return message;
}

/** One process's side of a link: sends on one topic, receives on another. */
class End {
public:
    virtual ~End() = default;
    virtual bool send(const Message& message) = 0;
};

[[noreturn]] void fail(const std::string& what) {
    std::cerr << "bench_tss: " << what << "\n";
    std::_Exit(2);
}

void require(Code rc, const char* what) {
    if (rc != FACE::RETURN_CODE_TYPE::NO_ERROR) {
        fail(what);
    }
}

/** The transport, with connections as the server has them. */
class Ours : public End {
public:
    Ours(const std::string& transport, const std::string& domain) {
        const std::filesystem::path file = std::filesystem::temp_directory_path() /
                                           ("bench_tss_" + std::to_string(::getpid()) + ".xml");
        write(file, transport, domain);
        Code rc{};
        m_tss->Set_Reference("", std::make_shared<FACE::HC_Config>(), 0, rc);
        m_tss->Initialize(file.c_str(), rc);
        require(rc, "no participant");
        int size = 0;
        for (const char* const name : {"Command", "Response", "EventLog", "MaintenanceEvent"}) {
            long long connection = -1;
            m_tss->Create_Connection(name, -1, connection, size, rc);
            require(rc, name);
        }
        std::filesystem::remove(file);
        m_typed.Set_Reference("", m_tss, 0, rc);
    }

    void open(long long sendOn, long long receiveOn, Handler handler) {
        Code rc{};
        m_sendOn = sendOn;
        m_typed.Register_Sender(sendOn, rc);
        require(rc, "no sender");
        const auto callback = [handler = std::move(handler)](
                                  long long, long long, const Message& message, const auto&,
                                  const auto&, Code&) { handler(message); };
        m_typed.Register_Callback(receiveOn, callback, rc);
        require(rc, "no callback");
    }

    /** All that the server opens. */
    void openServer() {
        open(0, 0, [](const Message&) {});
        open(1, 1, [](const Message&) {});
        Code rc{};
        m_events.Set_Reference("", m_tss, 0, rc);
        m_events.Register_Sender(2, rc);
        require(rc, "no event sender");
        m_maintenance.Set_Reference("", m_tss, 0, rc);
        m_maintenance.Register_Sender(3, rc);
        require(rc, "no maintenance sender");
    }

    bool send(const Message& message) override {
        Code rc{};
        long long transaction = 0;
        m_typed.Send_Message(m_sendOn, -1, transaction, message, rc);
        return rc == FACE::RETURN_CODE_TYPE::NO_ERROR;
    }

private:
    static void write(const std::string& path, const std::string& transport,
                      const std::string& domain) {
        std::ofstream file(path);
        file << "<HC_Configurations><Domain><Name>FastRtps</Name><Parameters><DomainId>" << domain
             << "</DomainId><HistoryDepth>" << historyDepth
             << "</HistoryDepth><UseBestEffort>false</UseBestEffort>"
                "<BackFillHistory>false</BackFillHistory><UseTransport>"
             << transport
             << "</UseTransport><TcpAddress>127.0.0.1</TcpAddress><TcpPort>5100</TcpPort>"
                "</Parameters></Domain>";
        for (const auto& [name, type] : {std::pair{"Command", "CommandResponse"},
                                         {"Response", "CommandResponse"},
                                         {"EventLog", "EventLog"},
                                         {"MaintenanceEvent", "MaintenanceEvent"}}) {
            file << "<Connection><Name>" << name
                 << "</Name><Parameters><TopicType>aspn2_msgs::idl::" << type
                 << "</TopicType><PubSubType>" << type
                 << "PubSubType</PubSubType></Parameters></Connection>";
        }
        file << "</HC_Configurations>";
    }

    std::shared_ptr<FACE::TSS::HC_TSS> m_tss = std::make_shared<FACE::TSS::HC_TSS>("bench");
    FACE::TSS::Details::HC_TypedTS<Message> m_typed;
    FACE::TSS::Details::HC_TypedTS<aspn2_msgs::idl::EventLog> m_events;
    FACE::TSS::Details::HC_TypedTS<aspn2_msgs::idl::MaintenanceEvent> m_maintenance;
    long long m_sendOn = 0;
};

/** The floor: the library with the same settings and nothing around it. */
class Bare : public End, public eprosima::fastrtps::SubscriberListener {
public:
    Bare(const std::string& transport, const std::string& domain) {
        using namespace eprosima::fastdds::rtps;
        eprosima::fastrtps::ParticipantAttributes attributes;
        attributes.domainId = static_cast<std::uint32_t>(std::stoi(domain));
        attributes.rtps.useBuiltinTransports = false;
        attributes.rtps.builtin.discovery_config.leaseDuration = {5, 0};
        if (transport == "SHM") {
            attributes.rtps.userTransports.push_back(
                std::make_shared<SharedMemTransportDescriptor>());
        } else {
            auto udp = std::make_shared<UDPv4TransportDescriptor>();
            udp->non_blocking_send = true;
            udp->interfaceWhiteList = {"127.0.0.1"};
            attributes.rtps.userTransports.push_back(udp);
        }
        m_participant = eprosima::fastrtps::Domain::createParticipant(attributes);
        if (m_participant == nullptr) {
            fail("no bare participant");
        }
    }
    ~Bare() override { eprosima::fastrtps::Domain::removeParticipant(m_participant); }
    Bare(const Bare&) = delete;
    Bare& operator=(const Bare&) = delete;

    void open(const std::string& sendOn, const std::string& receiveOn, Handler handler) {
        using eprosima::fastrtps::Domain;
        m_handler = std::move(handler);
        Domain::registerType(m_participant, &m_type);
        eprosima::fastrtps::PublisherAttributes writer;
        describe(writer, sendOn);
        writer.qos.m_durability.kind = eprosima::fastrtps::TRANSIENT_LOCAL_DURABILITY_QOS;
        m_publisher = Domain::createPublisher(m_participant, writer);
        eprosima::fastrtps::SubscriberAttributes reader;
        describe(reader, receiveOn);
        reader.qos.m_durability.kind = eprosima::fastrtps::VOLATILE_DURABILITY_QOS;
        Domain::createSubscriber(m_participant, reader, this);
    }

    bool send(const Message& message) override {
        return m_publisher->write(const_cast<Message*>(&message));
    }

    void onNewDataMessage(eprosima::fastrtps::Subscriber* subscriber) override {
        eprosima::fastrtps::SampleInfo_t info;
        if (subscriber->takeNextData(&m_sample, &info)) {
            m_handler(m_sample);
        }
    }

private:
    template <typename Attributes>
    void describe(Attributes& attributes, const std::string& topic) {
        attributes.topic.topicName = topic;
        attributes.topic.topicDataType = m_type.getName();
        attributes.topic.historyQos.depth = historyDepth;
        attributes.topic.resourceLimitsQos.max_samples = historyDepth;
        attributes.topic.resourceLimitsQos.max_instances = 1;
        attributes.topic.resourceLimitsQos.max_samples_per_instance = historyDepth;
        attributes.topic.resourceLimitsQos.allocated_samples = historyDepth;
        attributes.qos.m_reliability.kind = eprosima::fastrtps::RELIABLE_RELIABILITY_QOS;
        attributes.historyMemoryPolicy =
            eprosima::fastrtps::rtps::PREALLOCATED_WITH_REALLOC_MEMORY_MODE;
    }

    aspn2_msgs::idl::CommandResponsePubSubType m_type;
    eprosima::fastrtps::Participant* m_participant = nullptr;
    eprosima::fastrtps::Publisher* m_publisher = nullptr;
    Message m_sample;
    Handler m_handler;
};

/** `front` (the measuring process): sends on "Command", receives on "Response"; a peer the reverse.
 */
std::unique_ptr<End> makeEnd(const std::string& kind, const std::string& transport,
                             const std::string& domain, bool front, Handler handler) {
    if (kind == "ours") {
        auto end = std::make_unique<Ours>(transport, domain);
        end->open(front ? 0 : 1, front ? 1 : 0, std::move(handler));
        return end;
    }
    auto end = std::make_unique<Bare>(transport, domain);
    end->open(front ? "Command" : "Response", front ? "Response" : "Command", std::move(handler));
    return end;
}

/** A further process of this program; orders go to its input, answers come on its output. */
class Process {
public:
    explicit Process(std::vector<std::string> words) {
        std::array<int, 2> in{};
        std::array<int, 2> out{};
        if (::pipe2(in.data(), O_CLOEXEC) != 0 || ::pipe2(out.data(), O_CLOEXEC) != 0) {
            fail("no pipe");
        }
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
        words.insert(words.begin(), "bench_tss");
        std::vector<char*> arguments;
        arguments.reserve(words.size() + 1);
        for (std::string& word : words) {
            arguments.push_back(word.data());
        }
        arguments.push_back(nullptr);
        if (::posix_spawn(&m_id, "/proc/self/exe", &actions, nullptr, arguments.data(), environ) !=
            0) {
            fail("no further process");
        }
        posix_spawn_file_actions_destroy(&actions);
        ::close(in[0]);
        ::close(out[1]);
        m_input = in[1];
        m_output = out[0];
    }
    ~Process() {
        ::close(m_input);
        ::waitpid(m_id, nullptr, 0);
        ::close(m_output);
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    void tell(const std::string& order) const {
        const std::string line = order + "\n";
        if (::write(m_input, line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
            fail("the further process is gone");
        }
    }

    std::string line() const {
        std::string text;
        for (char c = 0; ::read(m_output, &c, 1) == 1 && c != '\n';) {
            text += c;
        }
        return text;
    }

private:
    pid_t m_id = -1;
    int m_input = -1;
    int m_output = -1;
};

/** A peer sends back what comes, or, told "flow <n>", n commands; tells how many of
 * them were taken and how many it has received so far.
 */
int runPeer(const std::string& kind, const std::string& transport, const std::string& domain) {
    std::atomic<End*> end{nullptr};
    std::atomic<int> received{0};
    std::atomic<bool> echoes{true};
    const auto owner = makeEnd(kind, transport, domain, false, [&](const Message& message) {
        ++received;
        if (End* const back = end; echoes && back != nullptr) {
            back->send(message);
        }
    });
    end = owner.get();
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream order(line);
        std::string verb;
        int count = 0;
        order >> verb >> count;
        echoes = verb != "quiet";
        const Message message = makeCommand();
        const auto begin = Clock::now();
        for (int i = 0; verb == "flow" && i < count; ++i) {
            std::this_thread::sleep_until(begin + commandPeriod * i);
            owner->send(message);
        }
        std::cout << received << std::endl;
    }
    return 0;
}

double cpuSeconds() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto of = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return of(usage.ru_utime) + of(usage.ru_stime);
}

long residentKb() {
    std::ifstream file("/proc/self/statm");
    long pages = 0;
    file >> pages >> pages;
    return pages * ::sysconf(_SC_PAGESIZE) / 1024;
}

constexpr seconds idleTime{10};

/** Prints percent of a core and resident memory, idle. */
int runIdle(const std::string& kind, const std::string& domain) {
    std::unique_ptr<End> end;
    if (kind == "ours") {
        auto ours = std::make_unique<Ours>("SHM", domain);
        ours->openServer();
        end = std::move(ours);
    } else {
        end = std::make_unique<Bare>("SHM", domain);
    }
    std::this_thread::sleep_for(seconds(2));  // announcements come first
    const double before = cpuSeconds();
    std::this_thread::sleep_for(idleTime);
    std::cout << (cpuSeconds() - before) / static_cast<double>(idleTime.count()) * 100.0 << " "
              << residentKb() << std::endl;
    return 0;
}

double quantile(std::vector<double> values, double part) {
    const auto nth =
        values.begin() + static_cast<std::ptrdiff_t>(part * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), nth, values.end());
    return *nth;
}

class Table {
public:
    Table() {
        std::cout << std::left << std::setw(44) << "what" << std::right << std::setw(12) << "ours"
                  << std::setw(12) << "floor" << std::setw(9) << "ratio" << std::setw(9) << "limit"
                  << "\n";
    }
    /** `limit` is of the ratio. */
    void ratio(const std::string& what, double ours, double floor, double limit) {
        print(what, ours, floor, ours / floor, ours / floor <= limit, limit);
    }
    /** Without a limit. */
    void note(const std::string& what, double ours) {
        excess(what, ours, 0, std::numeric_limits<double>::infinity());
    }
    /** `limit` is of the difference. */
    void excess(const std::string& what, double ours, double floor, double limit) {
        print(what, ours, floor, 0, ours - floor <= limit, limit);
    }
    bool isWithin() const { return m_within; }

private:
    void print(const std::string& what, double ours, double floor, double ratio, bool within,
               double limit) {
        std::cout << std::left << std::setw(44) << what << std::right << std::fixed
                  << std::setprecision(3) << std::setw(12) << ours << std::setw(12) << floor;
        if (ratio > 0) {
            std::cout << std::setw(9) << ratio;
        } else {
            std::cout << std::setw(9) << "-";
        }
        std::cout << std::setw(9);
        if (limit < std::numeric_limits<double>::infinity()) {
            std::cout << limit << (within ? "" : "  ABOVE") << std::endl;
        } else {
            std::cout << "-" << std::endl;
        }
        m_within = m_within && within;
    }
    bool m_within = true;
};

/** What was measured of one kind. */
struct Figures {
    std::vector<double> times;      ///< there and back [us]
    std::vector<double> cpu;        ///< of a received sample [us]
    std::vector<double> allocated;  ///< for a received sample
    std::vector<double> sent;       ///< allocations for a sent command
};

/** One link between this process and a peer, of one kind. */
struct Link {
    Link(const std::string& kind, const std::string& transport, int domain)
        : peer({"peer", kind, transport, std::to_string(domain)}),
          end(makeEnd(kind, transport, std::to_string(domain), true, [this](const Message&) {
              ++received;
              received.notify_one();
          })) {}

    void await(int count) const {
        for (int now = received; now < count; now = received) {
            received.wait(now);
        }
    }

    /** Sends until an answer comes. */
    void connect() {
        while (received == 0) {
            end->send(makeCommand());
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(300));  // late answers
    }

    void ping(int count, std::vector<double>& times) {
        const Message message = makeCommand();
        for (int i = 0; i < count; ++i) {
            const int before = received;
            const auto begin = Clock::now();
            end->send(message);
            await(before + 1);
            times.push_back(
                std::chrono::duration<double, std::micro>(Clock::now() - begin).count());
        }
    }

    /** The peer sends at the usual pace. */
    void flow(int count, Figures& figures) {
        const int before = received;
        const double cpuBefore = cpuSeconds();
        const std::uint64_t allocationsBefore = allocations;
        peer.tell("flow " + std::to_string(count));
        peer.line();
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        const double arrived = received - before;
        figures.cpu.push_back((cpuSeconds() - cpuBefore) * 1e6 / arrived);
        figures.allocated.push_back(static_cast<double>(allocations - allocationsBefore) / arrived);
    }

    std::atomic<int> received{0};
    Process peer;
    std::unique_ptr<End> end;
};

void countSending(Link& link, Figures& figures) {
    link.peer.tell("quiet");
    link.peer.line();
    const Message message = makeCommand();
    const std::uint64_t before = allocations;
    constexpr int count = 300;
    for (int i = 0; i < count; ++i) {
        link.end->send(message);
        std::this_thread::sleep_for(commandPeriod);
    }
    figures.sent.push_back(static_cast<double>(allocations - before) / count);
}

/** One pair of links, in turns. Where the machine happens to run their processes makes more of a
 *  difference than anything measured here, so there are many pairs; `oursFirst` changes.
 */
void measurePair(const std::string& transport, int domain, bool oursFirst, Figures& ours,
                 Figures& bare) {
    Link first(oursFirst ? "ours" : "bare", transport, domain);
    Link second(oursFirst ? "bare" : "ours", transport, domain + 1);
    const std::array<std::pair<Link*, Figures*>, 2> both{
        {{&first, oursFirst ? &ours : &bare}, {&second, oursFirst ? &bare : &ours}}};
    for (const auto& [link, figures] : both) {
        link->connect();
    }
    for (int turn = 0; turn < 300; ++turn) {
        for (const auto& [link, figures] : both) {
            link->ping(10, figures->times);
        }
    }
    for (int turn = 0; turn < 8; ++turn) {
        for (const auto& [link, figures] : both) {
            link->flow(1000, *figures);
        }
    }
    for (const auto& [link, figures] : both) {
        countSending(*link, *figures);
    }
}

void measureLink(Table& table, const std::string& transport, int domain) {
    Figures ours;
    Figures bare;
    for (int pair = 0; pair < 10; ++pair) {
        measurePair(transport, domain, pair % 2 == 0, ours, bare);
    }
    const std::string there = transport + " there and back ";
    table.ratio(there + "p50 [us]", quantile(ours.times, 0.5), quantile(bare.times, 0.5), 1.05);
    table.ratio(there + "p99 [us]", quantile(ours.times, 0.99), quantile(bare.times, 0.99), 1.2);
    table.ratio(transport + " CPU a received sample [us]", quantile(ours.cpu, 0.5),
                quantile(bare.cpu, 0.5), 1.10);
    table.excess(transport + " allocations a received sample", quantile(ours.allocated, 0.5),
                 quantile(bare.allocated, 0.5), 0.5);
    table.excess(transport + " allocations a sent command", quantile(ours.sent, 0.5),
                 quantile(bare.sent, 0.5), 0.5);
}

/** Ten thousand commands a second for ten seconds. The floor is what goes in. */
void measureLoad(Table& table, int domain) {
    Link link("ours", "SHM", domain);
    link.connect();
    link.peer.tell("quiet");
    const int before = std::stoi(link.peer.line());
    constexpr int count = 100000;
    const Message message = makeCommand();
    int taken = 0;
    const auto begin = Clock::now();
    for (int i = 0; i < count; ++i) {
        std::this_thread::sleep_until(begin + commandPeriod * i);
        taken += link.end->send(message) ? 1 : 0;
    }
    const double elapsed = std::chrono::duration<double>(Clock::now() - begin).count();
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    link.peer.tell("quiet");
    const int received = std::stoi(link.peer.line()) - before;
    table.excess("commands not taken, of 100000", count - taken, 0, 0);
    // A reader keeps its last samples alone, so a machine that is busy otherwise loses some.
    table.note("commands not received, of 100000", count - received);
    table.ratio("time for them [s]", elapsed, 10.0, 1.05);
}

void measureIdle(Table& table, int domain) {
    const Process ours({"idle", "ours", std::to_string(domain)});
    const Process bare({"idle", "bare", std::to_string(domain + 1)});
    const auto figures = [](const Process& process) {
        std::istringstream line(process.line());
        std::pair<double, double> found;
        line >> found.first >> found.second;
        return found;
    };
    const auto [oursCpu, oursKb] = figures(ours);
    const auto [bareCpu, bareKb] = figures(bare);
    table.excess("idle [% of a core]", oursCpu, 0, 0.2);
    table.excess("resident memory [KB]", oursKb, bareKb, 3072);
}

}  // namespace

int main(int count, char** arguments) {
    const std::vector<std::string> words(arguments + 1, arguments + count);
    if (words.size() == 4 && words[0] == "peer") {
        return runPeer(words[1], words[2], words[3]);
    }
    if (words.size() == 3 && words[0] == "idle") {
        return runIdle(words[1], words[2]);
    }
    // Runs side by side don't meet.
    const int domain = ::getpid() % 22 * 10 + 1;
    Table table;
    measureLink(table, "SHM", domain);
    measureLink(table, "UDP", domain + 2);
    measureLoad(table, domain + 4);
    measureIdle(table, domain + 5);
    const bool check = !words.empty() && words[0] == "--check";
    return check && !table.isWithin() ? 1 : 0;
}
