/** A whole unit on the bench: device root, FPGA, receiver, and the real server process. */
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "bench/BusClient.h"
#include "bench/DeviceRoot.h"
#include "bench/FpgaFile.h"
#include "bench/FrameBuilder.h"
#include "bench/FreshDomain.h"
#include "bench/ReceiverPorts.h"
#include "bench/ServerProcess.h"
#include "support/Eventually.h"

using namespace std::chrono_literals;

class Unit : public testing::Test {
protected:
    using Channel = bench::ReceiverPorts::Channel;
    using Builder = bench::FrameBuilder;
    using Ending = bench::ServerProcess::Ending;

    /** Whatever is slower than this on the slowest machine has hung. */
    static constexpr auto patience = 20s;

    Unit() : fpga(root), receiver(root) {
        root.setUpdatePeriods(0);
        root.setParameter(bench::connectionsFile, "FastRtps", "DomainId",
                          std::to_string(bench::freshDomain()));
    }

    void start() { launch({root.serverArgument()}); }
    void launch(std::vector<std::string> arguments, bool terminal = false) {
        environment["HALCYRINE_ROOT"] = root.path().string();
        m_bus.reset();
        server.emplace(bench::ServerProcess::Command{SERVER_PROGRAM, std::move(arguments),
                                                     environment, terminal});
    }
    /** Starts the server and waits until it takes traffic and signals. */
    void startAndRun() {
        start();
        ASSERT_TRUE(eventually([this] { return catches(SIGTERM); })) << output();
    }
    /** Connected and greeted: what the server tells from now on arrives. */
    bench::BusClient& bus() {
        if (!m_bus) {
            m_bus.emplace(root.busSocket(), bench::within(patience));
            m_bus->next([](const nlohmann::json& line) { return line.contains("hello"); },
                        bench::within(patience));
        }
        return *m_bus;
    }
    std::optional<Ending> waitForEnd() { return server->wait(bench::within(patience)); }

    /** Whether the process has a handler for the signal: the last step of its start. */
    bool catches(int signal) const {
        std::ifstream status("/proc/" + std::to_string(server->pid()) + "/status");
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with("SigCgt:")) {
                return (std::stoull(line.substr(7), nullptr, 16) >> (signal - 1) & 1U) != 0;
            }
        }
        return false;
    }
    /** All that the server has printed, a line a line. */
    std::string output() const {
        std::string text;
        for (const auto& line : server->lines()) {
            text += line.text + "\n";
        }
        return text;
    }
    /** How many lines hold `text`. */
    std::ptrdiff_t linesWith(const std::string& text) const {
        const auto lines = server->lines();
        return std::ranges::count_if(
            lines, [&](const auto& line) { return line.text.find(text) != std::string::npos; });
    }

    std::string fileText(const char* configFile) const {
        std::ifstream file(root.configFile(configFile));
        return {std::istreambuf_iterator<char>(file), {}};
    }

    static Builder message(int id, int words, double time) {
        return Builder(static_cast<std::uint16_t>(id), 0x9000, static_cast<std::uint16_t>(words))
            .pdpDouble(0, time);
    }
    static Builder message5040(double time) { return message(5040, 88, time); }
    static Builder message8504(double time) { return message(8504, 200, time); }
    void send(const Builder& builder) {
        ASSERT_TRUE(receiver.send(Channel::TyrHc, builder.frame(), bench::within(patience)));
    }
    void sendPair(double time) {
        send(message5040(time));
        send(message8504(time));
    }
    /** The next status report of that receiver time; those before it are passed over. */
    std::optional<nlohmann::json> statusAt(double time) {
        return bus().next(
            [time](const nlohmann::json& line) {
                return line.value("report", "") == "GPS_RECEIVER_STATUS" &&
                       line.at("data").at("receiverTime") == time;
            },
            bench::within(patience));
    }
    /** The next value that is told of the device under the key. */
    nlohmann::json told(const std::string& key) {
        const auto report = bus().next(
            [&](const nlohmann::json& line) {
                return line.value("report", "") == "GPS_RECEIVER_DEVICE" &&
                       line["data"].contains(key);
            },
            bench::within(patience));
        return report ? (*report)["data"][key] : nlohmann::json();
    }

    bench::DeviceRoot root;
    bench::FpgaFile fpga;
    bench::ReceiverPorts receiver;
    /** Of the server, beside what it inherits. */
    std::map<std::string, std::string> environment;
    std::optional<bench::ServerProcess> server;

private:
    std::optional<bench::BusClient> m_bus;
};
