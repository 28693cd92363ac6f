/** A server in this process between real queues and topics, with the tests' own VICTORY library. */
#pragma once

#include <fcntl.h>
#include <gmock/gmock.h>

#include <deque>
#include <functional>
#include <iostream>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "ASPN/HealthReporter.h"
#include "VICTORY/FakeVictory.h"
#include "VICTORY/VGpsReceiverServer/VGpsReceiverServer.h"
#include "bench/Descriptor.h"
#include "bench/DeviceRoot.h"
#include "bench/FpgaFile.h"
#include "bench/FrameBuilder.h"
#include "bench/FreshDomain.h"
#include "bench/ReceiverPorts.h"
#include "bench/siblings/SystemTopics.h"
#include "ioss_mcsq/QueueSupport.h"

using namespace std::chrono_literals;

/** Whatever is slower than this on the slowest machine has hung. */
inline constexpr auto patience = 20s;

/** Shortened before any publisher runs. */
inline const auto publishPauseBefore =
    std::exchange(HealthReporter::publishPause, std::chrono::nanoseconds(1ms));

/** Hears the server's commands and events, as a sibling of it would. */
class Ear {
public:
    /** Waits for the next command that has not been asked for yet; empty when none comes. */
    std::string nextCommand() {
        eventually([this] { return unheard() > 0; });
        const utilities::MutexLock lock(m_mutex);
        if (m_commands.empty()) {
            return {};
        }
        std::string first = std::move(m_commands.front());
        m_commands.pop_front();
        return first;
    }
    std::size_t unheard() {
        const utilities::MutexLock lock(m_mutex);
        return m_commands.size();
    }
    bool hearsEvent(const std::string& text, std::chrono::milliseconds limit = patience) {
        const auto isIt = [&](const std::string& event) { return event.find(text) != event.npos; };
        return eventually(
            [&] {
                const utilities::MutexLock lock(m_mutex);
                return std::ranges::any_of(m_events, isIt);
            },
            limit);
    }
    void forget() {
        const utilities::MutexLock lock(m_mutex);
        m_commands.clear();
        m_events.clear();
    }

private:
    void take(const bench::Arrival& arrival) {
        const utilities::MutexLock lock(m_mutex);
        if (arrival.topic == bench::Topic::Command) {
            m_commands.push_back(
                std::get<aspn2_msgs::idl::CommandResponse>(arrival.message).command_response());
        } else if (arrival.topic == bench::Topic::EventLog) {
            m_events.push_back(std::get<aspn2_msgs::idl::EventLog>(arrival.message).eventlog());
        }
    }

    utilities::Mutex m_mutex;
    std::deque<std::string> m_commands GUARDED_BY(m_mutex);
    std::vector<std::string> m_events GUARDED_BY(m_mutex);
    bench::SystemTopics m_topics{"ear", "/opt/halcyrine/config/Connections.xml",
                                 bench::Past::AsConfigured,
                                 [this](const auto& arrival) { take(arrival); }};
};

/** A unit around a server that runs, in a domain of its own and in test mode. */
class ConnectedServer {
public:
    using Channel = bench::ReceiverPorts::Channel;
    using Requested = FACE::LCM::Halcyrine::RequestedState;

    ConnectedServer() : fpga(root), receiver(root) {
        fake::reset();
        setenv("HALCYRINE_ROOT", root.path().c_str(), 1);
        root.setParameter(bench::connectionsFile, "FastRtps", "DomainId",
                          std::to_string(bench::freshDomain()));
        root.setParameter(bench::serverFile, "VGpsReceiverServer", "PARAM_1", "false");
        root.setParameter(bench::serverFile, "VGpsReceiverServer", "PARAM_2", "true");
        ear.emplace();
        FACE::RETURN_CODE_TYPE::Value rc{};
        server->Configure(bench::DeviceRoot::serverArgument().c_str(), rc);
        server->Framework_Connect("", rc);
        EXPECT_EQ(rc, FACE::RETURN_CODE_TYPE::NO_ERROR);
        // While the process's queue is full of what tests before have said, this one is dropped.
        EXPECT_TRUE(eventually([this] {
            transition(Requested::STOP);
            transition(Requested::START);
            return ear->hearsEvent("started successfully", 300ms);
        }));
    }
    ~ConnectedServer() {
        server.reset();
        ear.reset();
        unsetenv("HALCYRINE_ROOT");
    }
    ConnectedServer(const ConnectedServer&) = delete;
    ConnectedServer& operator=(const ConnectedServer&) = delete;

    void transition(Requested::Value requested) {
        FACE::RETURN_CODE_TYPE::Value rc{};
        server->Request_State_Transition(requested, rc);
    }
    /** As the process ends: waits for the callbacks under way. */
    void end() {
        transition(Requested::STOP);
        FACE::RETURN_CODE_TYPE::Value rc{};
        server->Framework_Disconnect(rc);
    }

    /** A response of a sibling, as the topic's thread brings it. */
    void respond(const std::string& text) {
        aspn2_msgs::idl::CommandResponse response;
        response.commanded_device_id(46 << 16);
        response.command_response_type(aspn2_msgs::idl::COMMAND_RESPONSE_TYPE_RESPONSE);
        response.command_response(text);
        server->cbRsp(response);
    }
    void command(const std::string& text) {
        aspn2_msgs::idl::CommandResponse command;
        command.command_response(text);
        server->cbCmd(command);
    }
    void send(Channel channel, const bench::Bytes& frame) {
        ASSERT_TRUE(receiver.send(channel, frame, bench::within(patience)));
    }
    /** What the server has sent next; empty when nothing comes. */
    std::optional<aspn2_msgs::idl::GSSIP> take(Channel channel) {
        return receiver.receive(channel, bench::within(patience));
    }
    bool hasSent(Channel channel) {
        return receiver.receive(channel, bench::within(0ms)).has_value();
    }

    /** A queue that is empty gets room for so many bytes. */
    void resize(Channel channel, int bytes) {
        const char* const name = channel == Channel::HcTyr ? "HC_TYR" : "DT_IN";
        const bench::Descriptor pipe(::open(
            root.file("/dev/mcs" + root.parameter(bench::ioDevicesFile, name, "Port")).c_str(),
            O_RDWR | O_CLOEXEC));
        EXPECT_EQ(::fcntl(pipe.get(), F_SETPIPE_SZ, bytes), bytes);
    }

    // The bus's requests, each on the caller's thread as the library would call.
    int setPort(const std::string& name) {
        VgpscReceiverHotStartPort port{};
        name.copy(port.name, sizeof(port.name));
        return fake::ask([&](VgpssService& at) { return at.setHotStartPort(at.data, &at, port); });
    }
    int setData(const VgpscReceiverHotStartData& record) {
        return fake::ask(
            [&](VgpssService& at) { return at.setHotStartData(at.data, &at, record); });
    }

    bench::DeviceRoot root;
    bench::FpgaFile fpga;
    bench::ReceiverPorts receiver;
    std::optional<Ear> ear;
    std::unique_ptr<VGpsReceiverServer> server = std::make_unique<VGpsReceiverServer>();
};

/** Tests that share one server. */
class ConnectedTest : public testing::Test {
protected:
    using Channel = ConnectedServer::Channel;

    static void TearDownTestSuite() { s_unit.reset(); }
    /** A server of which nothing has been asked yet. */
    static void freshUnit() {
        s_unit.reset();
        unit();
        fake::forget();
    }
    static ConnectedServer& unit() {
        if (!s_unit) {
            s_unit = std::make_unique<ConnectedServer>();
        }
        return *s_unit;
    }

    void SetUp() override {
        unit();
        fake::forget();
    }

    static inline std::unique_ptr<ConnectedServer> s_unit;
};
