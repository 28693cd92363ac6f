/** `./run --topic`, as a person calls it. */
#include <gmock/gmock.h>

#include "bench/ServerProcess.h"

namespace bench {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::SizeIs;

/** What it printed, and its exit status. */
std::pair<std::vector<std::string>, std::optional<int>> show(const std::string& topic) {
    ServerProcess process({BENCH_RUN, {"--topic", topic}, {}});
    const auto ending = process.wait(within(60s));
    std::vector<std::string> texts;
    for (const ServerProcess::Line& line : process.lines()) {
        texts.push_back(line.text);
    }
    return {texts, ending ? ending->status : std::nullopt};
}

TEST(RunTopic, ShowsTheFieldsAsAnotherProcessHasReceivedThem) {
    const auto [lines, status] = show("GNSS");
    EXPECT_EQ(status, 0);
    EXPECT_THAT(lines, Contains(R"(  header {"seq_num":1,"timestamp_arrival":{"sec":2,"nsec":3,)"
                                R"("time_code":4},"timestamp_valid":{"sec":5,"nsec":6,)"
                                R"("time_code":7},"device_id":8})"));
    EXPECT_THAT(lines, Contains("  seconds_of_week 10.25"));
    EXPECT_THAT(lines, Contains("  num_measurements 14"));
    EXPECT_THAT(lines, Contains(R"(    1 {"prn":24,"satellite_system":25,"type":26,"band":27,)"
                                R"("attrib":28,"observation":29.25,"LLI":30,)"
                                R"("signal_strength":31,"lock_count":32})"));
    EXPECT_EQ(lines.back(), "It is what was sent");
}

TEST(RunTopic, ListsTheTypesForHelpAndForAWrongName) {
    for (const auto& [topic, expected] : {std::pair{"help", 0}, {"Altitud", 1}}) {
        const auto [lines, status] = show(topic);
        EXPECT_EQ(status, expected);
        EXPECT_THAT(lines, SizeIs(33));
        EXPECT_THAT(lines, Contains("  Altitude"));
        EXPECT_THAT(lines, Contains("  Velocity3D"));
        EXPECT_EQ(lines.front().find("\"Altitud\"") != std::string::npos, expected == 1);
    }
}

}  // namespace
}  // namespace bench
