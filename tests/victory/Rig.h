/** A VICTORY service below a root of its own, its owner and its clients. */
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "support/Eventually.h"
#include "victory/socket/Endpoint.h"
#include "victory/tools/BusClient.h"
#include "victory/victory.h"

namespace victory_test {

using nlohmann::json;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// How long to wait for what has to come. Only a fault ever waits so long.
inline constexpr std::chrono::seconds kPatience{30};
inline constexpr const char* kNever = "4294967295";

inline constexpr const char* kStatus = "GPS_RECEIVER_STATUS";
inline constexpr const char* kStatus2 = "GPS_RECEIVER_STATUS_2";
inline constexpr const char* kHealth = "GPS_RECEIVER_SATELLITE_HEALTH_STATUS";
inline constexpr const char* kHealth2 = "GPS_RECEIVER_SATELLITE_HEALTH_STATUS_2";
inline constexpr const char* kDevice = "GPS_RECEIVER_DEVICE";
inline constexpr const char* kFaults = "GPS_RECEIVER_FAULTS";

/** Something that threads wait for: a count that only grows. */
class Count {
public:
    void add() { ++m_count; }
    int value() const { return m_count; }
    /** False when it hasn't reached `count` in time. */
    bool reaches(int count, milliseconds patience = kPatience) const {
        return eventually([&] { return m_count >= count; }, patience);
    }

private:
    std::atomic<int> m_count{0};
};

/** A client that knows the lines of the bus. */
class Client : public victory::BusClient {
public:
    using BusClient::BusClient;

    json next() {
        const auto line = readLine(Clock::now() + kPatience);
        if (!line) {
            ADD_FAILURE() << (hasEnded() ? "the service hung up" : "no line came");
            return json();
        }
        EXPECT_TRUE(json::accept(*line)) << *line;
        return json::parse(*line, nullptr, false);
    }
    /** The next line for which `wanted` holds. */
    template <class Predicate>
    json nextWhere(Predicate wanted) {
        while (true) {
            json line = next();
            if (line.is_null() || wanted(line)) {
                return line;
            }
        }
    }
    json report(const std::string& name) {
        return nextWhere([&](const json& line) { return line.value("report", "") == name; });
    }
    /** The data of the next report. */
    json data(const std::string& name) { return report(name).value("data", json()); }
    json reply() {
        return nextWhere([](const json& line) { return line.contains("reply"); });
    }
    /** Sends one line and returns the reply to it. */
    json askLine(const std::string& line) {
        send(line + "\n");
        return reply();
    }
    json ask(json line) { return request(std::move(line), Clock::now() + kPatience); }
    /** True when the service hangs up in time. */
    bool seesTheEnd() {
        while (readLine(Clock::now() + kPatience)) {
        }
        return hasEnded();
    }
};

/** Below a temporary root. */
class Rig : public ::testing::Test {
protected:
    Rig() { setenv("HALCYRINE_ROOT", m_root.c_str(), 1); }
    ~Rig() override {
        unsetenv("HALCYRINE_ROOT");
        std::filesystem::remove_all(m_root);
    }
    /** Before members of tests go that callbacks use. */
    void TearDown() override { remove(); }

    static std::string serviceXml(const std::string& endpoint = victory::kDefaultEndpoint) {
        return "<VictoryService><Name>Test</Name><Endpoint>" + endpoint +
               "</Endpoint></VictoryService>";
    }
    /** A VCL with the periods of the four data items, in the order of their names above. */
    static std::string vcl(const std::array<std::string, 4>& periods = {"0", "0", "0", "0"}) {
        const char* const items[] = {kStatus, kStatus2, kHealth, kHealth2};
        std::string text = "<vcl:VCL>";
        for (std::size_t i = 0; i < periods.size(); ++i) {
            text += std::string("<Item type=\"") + items[i] +
                    "\"><Deep><Setting name=" + "\"updatePeriod\" value=\"" + periods[i] +
                    "\"/></Deep></Item>";
        }
        return text + "</vcl:VCL>";
    }
    static VgpssService* makeService(const std::string& vclText,
                                     const std::string& serviceText = serviceXml()) {
        return vgpssNewService(serviceText.c_str(), vclText.c_str(), "Maker", "Model", "Id");
    }
    void make(const std::string& vclText = vcl()) {
        service = makeService(vclText);
        ASSERT_NE(service, nullptr);
    }
    void makeAndStart(const std::string& vclText = vcl()) {
        make(vclText);
        ASSERT_EQ(vgpssStartService(service), 0);
    }
    static std::string endpoint() { return victory::resolveEndpoint(victory::kDefaultEndpoint); }
    static Client connect() { return Client(endpoint()); }
    /** A client that has had its greeting and snapshot. */
    static Client connectAndGreet() {
        Client client = connect();
        client.report(kFaults);
        return client;
    }
    void remove() { vgpssDeleteService(std::exchange(service, nullptr)); }

    const std::string& root() const { return m_root; }
    /** A file below the root; its path. */
    std::string write(const std::string& name, const std::string& text) const {
        std::string path = root() + "/" + name;
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }

    VgpssService* service = nullptr;

private:
    static std::string makeRoot() {
        std::string path = std::filesystem::temp_directory_path().string() + "/victory-XXXXXX";
        return mkdtemp(path.data()) == nullptr ? "" : path;
    }

    std::string m_root = makeRoot();
};

inline VgpscReceiverStatusData statusAt(double time) {
    VgpscReceiverStatusData record{};
    record.receiverTime = time;
    return record;
}

/** A record with the warnings first, first + 1 and so on. */
inline VgpscReceiverStatus2Data status2With(int first, unsigned count) {
    VgpscReceiverStatus2Data record{};
    record.warningCount = count;
    for (unsigned i = 0; i < count; ++i) {
        record.warnings[i].messageId = first + static_cast<int>(i);
    }
    return record;
}

inline std::vector<int> warningIds(const json& data) {
    std::vector<int> ids;
    for (const json& warning : data.value("warnings", json::array())) {
        ids.push_back(warning.value("messageId", -1));
    }
    return ids;
}

}  // namespace victory_test
