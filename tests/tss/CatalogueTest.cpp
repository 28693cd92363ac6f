/** Every type of the catalogue on a connection of its own, to another process and back. */
#include <atomic>

#include "bench/siblings/AnyTopic.h"
#include "tss/Fixture.h"
#include "tss/Peer.h"

namespace tss_tests {
namespace {

TEST(Catalogue, EveryTypeGoesToThePeerAndBack) {
    std::map<std::string, std::string> sent;
    std::map<std::string, std::string> returned;  // each type's callback fills its own entry
    {
        std::atomic<std::size_t> returns{0};
        Server server(Parameters{{"BackFillHistory", "true"}});
        ASSERT_EQ(server.start(), NO_ERROR);
        Peer peer(server.domain.at("DomainId"), "SHM");
        for (const bench::MessageType& each : bench::catalogue()) {
            const std::string type(each.name);
            SCOPED_TRACE(type);
            bench::AnyTopic back(*server.tss, type + "_back");
            back.hear(
                [&returns, &entry = returned[type], &support = back.support()](void* message) {
                    entry = payloadOf(support, message);
                    ++returns;
                });
            bench::AnyTopic out(*server.tss, type + "_out");
            void* const message = out.support().createData();
            bench::Filler filler;
            each.visit(message, filler);
            EXPECT_TRUE(out.send(message));
            sent[type] = payloadOf(out.support(), message);
            out.support().deleteData(message);
            EXPECT_EQ(
                peer.ask("mirror " + type + "_out " + type + "_back aspn2_msgs::idl::" + type),
                "mirror");
        }
        eventually([&] { return returns >= sent.size(); });
    }
    EXPECT_EQ(sent.size(), 32U);
    EXPECT_EQ(returned, sent);
}

}  // namespace
}  // namespace tss_tests
