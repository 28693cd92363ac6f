/** A server in this process with the tests' own VICTORY library, fed frame by frame. */
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "VICTORY/FakeVictory.h"
#include "VICTORY/VGpsReceiverServer/VGpsReceiverServer.h"
#include "aspn2_msgs/GSSIP.h"
#include "bench/DeviceRoot.h"
#include "bench/FrameBuilder.h"
#include "support/Captured.h"

/** The size of each message [data words]. */
inline std::uint16_t wordsOf(int id) {
    return id == 5040 ? 88 : id == 5044 ? 21 : id == 8040 ? 25 : id == 8504 ? 200 : 100;
}

class ServerFixture : public testing::Test {
protected:
    using Builder = bench::FrameBuilder;
    using ReturnCode = FACE::RETURN_CODE_TYPE::Value;
    static constexpr std::uint8_t receiverId = 39;

    ServerFixture() { fake::reset(); }

    void bringUp() {
        ASSERT_TRUE(server.InitializeVictory(nullptr));
        transition(FACE::LCM::Halcyrine::RequestedState::START);
    }
    ReturnCode transition(VGpsReceiverServer::RequestedState requested) {
        ReturnCode rc{};
        server.Request_State_Transition(requested, rc);
        return rc;
    }

    /** As the unit's own file does, but for `settings`; the code of Configure. */
    ReturnCode configure(const std::map<std::string, std::string>& settings) {
        bench::DeviceRoot root;
        for (const auto& [name, value] : settings) {
            root.setParameter(bench::serverFile, "VGpsReceiverServer", name, value);
        }
        ReturnCode rc{};
        server.Configure(root.configFile(bench::serverFile).c_str(), rc);
        return rc;
    }

    /** A message of that id and time of validity, all else 0. */
    static Builder message(int id, double time) {
        return Builder(static_cast<std::uint16_t>(id), 0x9000, wordsOf(id)).pdpDouble(0, time);
    }
    void feed(const Builder& builder, std::uint8_t source = receiverId) {
        feedBytes(builder.frame(), source);
    }
    void feedBytes(const bench::Bytes& frame, std::uint8_t source = receiverId) {
        aspn2_msgs::idl::GSSIP gssip;
        gssip.header().device_id(source << 16);
        gssip.num_bytes(static_cast<std::int32_t>(frame.size()));
        gssip.data(std::vector<std::uint8_t>(frame.begin(), frame.end()));
        server.cbGssip(gssip);
    }
    /** As the library does when group 1 falls due; the record that came of it. */
    VgpscReceiverStatus2Data fetchStatus2() {
        fake::runCallback(
            [](VgpssService& service) { service.tellCallback(service.data, &service); });
        return fake::snapshot().status2.back().record;
    }
    static std::size_t statusCount() { return fake::snapshot().status.size(); }
    static std::size_t healthCount() { return fake::snapshot().health.size(); }

    VGpsReceiverServer server;
};

class RunningServer : public ServerFixture {
protected:
    void SetUp() override { bringUp(); }
};
