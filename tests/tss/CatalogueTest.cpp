/** Every type of the catalogue on a connection of its own, to another process and back. */
#include "bench/siblings/AnyTopic.h"
#include "tss/Fixture.h"
#include "tss/Peer.h"

namespace tss_tests {
namespace {

/** The message as it travels. */
std::string payloadOf(bench::AnyTopic::Support& support, void* message) {
    eprosima::fastrtps::rtps::SerializedPayload_t payload(
        support.getSerializedSizeProvider(message)());
    EXPECT_TRUE(support.serialize(message, &payload));
    return {reinterpret_cast<const char*>(payload.data), payload.length};
}

/** What came back, by type. */
class Returns {
public:
    void add(const std::string& type, std::string payload) {
        const utilities::MutexLock lock(m_mutex);
        m_payloads[type] = std::move(payload);
    }
    std::map<std::string, std::string> payloads() const {
        const utilities::MutexLock lock(m_mutex);
        return m_payloads;
    }

private:
    mutable utilities::Mutex m_mutex;
    std::map<std::string, std::string> m_payloads GUARDED_BY(m_mutex);
};

TEST(Catalogue, EveryTypeGoesToThePeerAndBack) {
    const std::string domain = freshDomain();
    Returns returns;  // outlives the transport that fills it
    Server server({{"DomainId", domain}, {"BackFillHistory", "true"}});
    ASSERT_EQ(server.start(), RETURN_CODE_TYPE::NO_ERROR);
    Peer peer(domain, "SHM");
    std::map<std::string, std::string> sent;
    for (const bench::MessageType& each : bench::catalogue()) {
        const std::string type(each.name);
        SCOPED_TRACE(type);
        bench::AnyTopic back(*server.tss, type + "_back");
        back.hear([&returns, type, &support = back.support()](void* message) {
            returns.add(type, payloadOf(support, message));
        });
        bench::AnyTopic out(*server.tss, type + "_out");
        void* const message = out.support().createData();
        bench::Filler filler;
        each.visit(message, filler);
        EXPECT_TRUE(out.send(message));
        sent[type] = payloadOf(out.support(), message);
        out.support().deleteData(message);
        EXPECT_EQ(peer.ask("mirror " + type + "_out " + type + "_back aspn2_msgs::idl::" + type),
                  "mirror");
    }
    EXPECT_EQ(sent.size(), 32U);
    eventually([&] { return returns.payloads().size() >= sent.size(); });
    EXPECT_EQ(returns.payloads(), sent);
}

}  // namespace
}  // namespace tss_tests
