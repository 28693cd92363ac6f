#include "system/SiblingUnit.h"

namespace {

using Maintenance = SiblingUnit;

TEST_F(Maintenance, WhatTheBusCannotReadReachesTheMaintainer) {
    startAndJoin();
    const std::size_t from = siblings->end();
    const auto reply = bus().request({{"request", "no such thing"}}, bench::within(patience));
    ASSERT_TRUE(reply && reply->contains("error")) << output();
    const std::string codes = " (criticality 3, category 11, location 46, outcome 3, LRU 1/1)";
    const std::string sort = "maintenance VGpsReceiverServer VGpsReceiverSer: SOAP_";
    EXPECT_TRUE(heard(sort, "1:SOAP 1.2 fault SOAP-ENV:Sender: request there is" + codes, from));
    EXPECT_TRUE(heard(sort, "2: no request \"no such thing\"\\x0A" + codes, from));
    EXPECT_EQ(linesWith("SOAP 1.2 fault"), 1) << "the fault itself is no line of the console";
}

TEST_F(Maintenance, AStormOfBadRequestsIsSurvived) {
    startAndJoin();
    constexpr int storm = 3000;
    std::string lines;
    for (int i = 0; i < storm; ++i) {
        lines += "{\"request\":\"" + std::string(static_cast<std::size_t>(i % 70), 'x') + "\"}\n";
    }
    bus().sendRaw(lines);
    EXPECT_TRUE(eventually([this] { return linesWith("event: SOAP_1:") >= storm; })) << output();
    sendPair(1);
    EXPECT_TRUE(statusAt(1)) << "the server goes on";
}

}  // namespace
