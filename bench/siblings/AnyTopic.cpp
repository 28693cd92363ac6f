#include "bench/siblings/AnyTopic.h"

#include <fastrtps/publisher/Publisher.h>

#include <memory>
#include <stdexcept>
#include <utility>

namespace bench {
namespace {

using FACE::TSS::HC_TSS;

class Listener : public FACE::TSS::Listeners::SubscriberListenerBase {
public:
    Listener(const std::string& name, AnyTopic::Support& support, AnyTopic::Take take)
        : SubscriberListenerBase(name), m_support(support), m_take(std::move(take)) {
        gate().open();
    }

    void onNewDataMessage(eprosima::fastrtps::Subscriber* subscriber) override {
        const FACE::TSS::Gate::Pass pass(gate());
        if (!pass) {
            return;
        }
        const auto destroy = [this](void* message) { m_support.deleteData(message); };
        const std::unique_ptr<void, decltype(destroy)> message(m_support.createData(), destroy);
        eprosima::fastrtps::SampleInfo_t info;
        if (subscriber->takeNextData(message.get(), &info) &&
            info.sampleKind == eprosima::fastrtps::rtps::ALIVE) {
            m_take(message.get());
        }
    }

private:
    AnyTopic::Support& m_support;
    const AnyTopic::Take m_take;
};

HC_TSS::Connection_t& open(HC_TSS& transport, const std::string& name) {
    long long connection = -1;
    int ignored = 0;
    FACE::RETURN_CODE_TYPE::Value code{};
    transport.Create_Connection(name.c_str(), -1, connection, ignored, code);
    if (code != FACE::RETURN_CODE_TYPE::NO_ERROR) {
        throw std::runtime_error("Can't open the topic " + name + ", code " + std::to_string(code));
    }
    return transport.connectionMap_mutex_at(HC_TSS::mapKey(connection));
}

}  // namespace

AnyTopic::AnyTopic(HC_TSS& transport, const std::string& name)
    : m_transport(transport), m_connection(open(transport, name)) {}

void AnyTopic::hear(Take take) {
    m_transport.registerSubscriber(
        m_connection, std::make_unique<Listener>(m_transport.name(), support(), std::move(take)));
}

bool AnyTopic::send(void* message) {
    if (!m_connection.isPublisher()) {
        m_transport.registerPublisher(m_connection);
    }
    return m_connection.publisher->write(message);
}

}  // namespace bench
