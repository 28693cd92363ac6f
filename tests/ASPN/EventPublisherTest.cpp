#include <gmock/gmock.h>

#include <memory>
#include <stdexcept>
#include <vector>

#include "ASPN/HealthReporter.h"
#include "support/Captured.h"
#include "support/KeptRecords.h"

namespace {

using aspn2_msgs::idl::EventLog;
using FACE::RETURN_CODE_TYPE;
using namespace std::chrono_literals;

using KeptEvents = KeptRecords<EventLog>;

/** One test, since the reporter is the process's own: its whole life from start to end. */
TEST(EventPublisher, PublishesInOrderAndEndsWithAnEmptyQueue) {
    HealthReporter::configRepeatDuration = 300ms;
    auto& reporter = HealthReporter::Instance();
    const ASPN2::DeviceIdFactory factory("ORDA", 46);
    const auto transport = std::make_shared<KeptEvents>();
    const auto init = [&](const std::shared_ptr<KeptEvents>& ts) {
        reporter.InitHealthReporter("Server", factory, ts, 3);
    };
    EXPECT_THROW(init(nullptr), std::runtime_error);

    reporter.SendConfigEvent("version");
    reporter.SendEvent("/a/b/x", 42, HealthReporter::EVENT_INFO, "before");
    init(transport);
    EXPECT_THROW(init(transport), std::runtime_error) << "the first stays in force";
    reporter.SendEvent("/a/b/x", 42, static_cast<HealthReporter::eEventType>(9), "nine");
    reporter.SendEvent("/a/b/x", 42, static_cast<HealthReporter::eEventType>(-1), "negative");

    const std::vector<EventLog> events = transport->waitFor(5);
    ASSERT_GE(events.size(), 5U);
    const std::pair<const char*, unsigned> expected[] = {
        {"version", 2}, {"before", 2}, {"nine", 0}, {"negative", 0}};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(events[i].eventlog(), expected[i].first);
        EXPECT_EQ(events[i].event_log_type(), expected[i].second);
        EXPECT_EQ(events[i].header().seq_num(), static_cast<std::int64_t>(i));
        EXPECT_EQ(events[i].header().device_id(), 0x012E0100);
    }
    EXPECT_EQ(events[4].eventlog(), "version") << "repeated for those who join late";

    const Captured output;
    transport->sendCode = RETURN_CODE_TYPE::DATA_OVERFLOW;
    reporter.SendEvent("/a/b/x", 42, HealthReporter::EVENT_WARNING, "lost");
    reporter.DoneHealthReporter();
    EXPECT_THAT(output.text(),
                testing::HasSubstr("!!!!!! Server HealthReporter could not publish event type/info "
                                   "= 3/x[42]:lost\n"));
    EXPECT_EQ(transport.use_count(), 1) << "the transport is let go";
}

}  // namespace
