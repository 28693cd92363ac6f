#include <gmock/gmock.h>

#include <iostream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "ASPN/HealthReporter.h"
#include "utilities/Mutex.h"

namespace {

using aspn2_msgs::idl::EventLog;
using FACE::RETURN_CODE_TYPE;
using namespace std::chrono_literals;

/** A transport that keeps what it is given. */
class KeptEvents : public HealthReporter::EventLogTS {
public:
    void Receive_Message(long long, long long, long long&, EventLog&, FACE::TSS::HEADER_TYPE&,
                         FACE::Sequence<FACE::TSS::QoS_Element>&,
                         RETURN_CODE_TYPE::Value&) override {}
    void Register_Callback(long long, FACE::TSS::Read_Callback<EventLog>,
                           RETURN_CODE_TYPE::Value&) override {}
    void Register_Sender(long long, RETURN_CODE_TYPE::Value& rc) override { rc = senderCode; }
    void Send_Message(long long, long long, long long&, const EventLog& event,
                      RETURN_CODE_TYPE::Value& rc) override {
        const utilities::MutexLock lock(m_mutex);
        m_events.push_back(event);
        m_changed.notify_all();
        rc = sendCode;
    }
    std::vector<EventLog> waitFor(std::size_t count) {
        const auto deadline = std::chrono::steady_clock::now() + 20s;
        const utilities::MutexLock lock(m_mutex);
        while (m_events.size() < count && m_changed.wait_until(m_mutex, deadline)) {
        }
        return m_events;
    }
    RETURN_CODE_TYPE::Value senderCode = RETURN_CODE_TYPE::NO_ERROR;
    RETURN_CODE_TYPE::Value sendCode = RETURN_CODE_TYPE::NO_ERROR;

private:
    utilities::Mutex m_mutex;
    utilities::Condition m_changed;
    std::vector<EventLog> m_events GUARDED_BY(m_mutex);
};

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

    std::ostringstream text;
    auto* const previous = std::cout.rdbuf(text.rdbuf());
    transport->sendCode = RETURN_CODE_TYPE::DATA_OVERFLOW;
    reporter.SendEvent("/a/b/x", 42, HealthReporter::EVENT_WARNING, "lost");
    reporter.DoneHealthReporter();
    std::cout.rdbuf(previous);
    EXPECT_THAT(text.str(),
                testing::HasSubstr("!!!!!! Server HealthReporter could not publish event type/info "
                                   "= 3/x[42]:lost\n"));
    EXPECT_EQ(transport.use_count(), 1) << "the transport is let go";
}

}  // namespace
