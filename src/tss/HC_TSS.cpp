#include "tss/HC_TSS.h"

#include <fastrtps/Domain.h>
#include <fastrtps/attributes/PublisherAttributes.h>
#include <fastrtps/attributes/SubscriberAttributes.h>

#include <exception>
#include <stdexcept>
#include <utility>

#include "face/HC_Config_Helpers.h"
#include "tss/HC_Topic_Helpers.h"
#include "utilities/Console.h"

namespace FACE::TSS {

namespace {

using eprosima::fastrtps::PublisherAttributes;
using eprosima::fastrtps::SubscriberAttributes;

constexpr const char* DOMAIN_CONTAINER = "FastRtps";

/** What a history may hold [samples]. The library makes room for all of them at once, so that an
 *  absurd depth would cost the machine its memory.
 */
constexpr std::int32_t MAX_HISTORY_DEPTH = 65536;

constexpr std::uint32_t NO_CONNECTION = 0xFFFFFFFFU;

/** Closes the handle of a configuration at the end of its scope. */
class Open_Handle {
public:
    Open_Handle(Configuration& configuration, int handle)
        : m_configuration(configuration), m_handle(handle) {}
    ~Open_Handle() {
        RETURN_CODE_TYPE::Value ignored{};
        m_configuration.Close(m_handle, ignored);
    }
    Open_Handle(const Open_Handle&) = delete;
    Open_Handle& operator=(const Open_Handle&) = delete;

private:
    Configuration& m_configuration;
    const int m_handle;
};

/** Says on the console what is wrong. */
template <typename Attributes>
bool isAcceptable(const Attributes& attributes) {
    const std::int32_t depth = attributes.topic.historyQos.depth;
    if (depth > MAX_HISTORY_DEPTH) {
        utilities::printErrorLine("HistoryDepth ", depth, " is above ", MAX_HISTORY_DEPTH);
        return false;
    }
    return attributes.topic.checkQos() && attributes.qos.checkQos();
}

}  // namespace

void HC_TSS::Connection_t::setPublisher(Publisher_Listener listener, Publisher* made) {
    publisher = made;
    publisherListener = std::move(listener);
}

void HC_TSS::Connection_t::setSubscriber(Subscriber_Listener listener, Subscriber* made) {
    subscriber = made;
    subscriberListener = std::move(listener);
}

HC_TSS::HC_TSS(const std::string& name) : m_name(name) {}

// The participant ends before the listeners and type supports that it uses. No lock is held while
// callbacks come to their end: they may look a connection up.
HC_TSS::~HC_TSS() {
    if (!m_initialized) {
        return;
    }
    for (const auto& [id, connection] : connectionMap) {
        if (connection.isSubscriber()) {
            connection.subscriberListener->waitUntilSilent();
        }
    }
    eprosima::fastrtps::Domain::removeParticipant(m_participant);
}

void HC_TSS::Set_Reference(const String& /*interface_name*/,
                           const std::shared_ptr<Configuration>& reference, long long /*id*/,
                           RETURN_CODE_TYPE::Value& rc) {
    if (m_configuration) {
        rc = RETURN_CODE_TYPE::NOT_AVAILABLE;
        return;
    }
    if (!reference) {
        rc = RETURN_CODE_TYPE::INVALID_PARAM;
        return;
    }
    m_configuration = reference;
    rc = RETURN_CODE_TYPE::NO_ERROR;
}

void HC_TSS::Initialize(const String& file, RETURN_CODE_TYPE::Value& rc) {
    if (m_initialized) {
        rc = RETURN_CODE_TYPE::NO_ACTION;
        return;
    }
    rc = RETURN_CODE_TYPE::NOT_AVAILABLE;
    int handle = 0;
    if (!m_configuration || !openDomain(file, handle)) {
        return;
    }
    const Open_Handle open(*m_configuration, handle);
    rc = RETURN_CODE_TYPE::NO_ERROR;
    try {
        const Domain_Settings settings = readDomainSettings(*m_configuration, handle, rc);
        if (rc == RETURN_CODE_TYPE::NO_ERROR) {
            m_settings = settings;
            createParticipant();
        }
    } catch (const std::exception& failure) {
        utilities::printErrorLine(failure.what());
        rc = RETURN_CODE_TYPE::INVALID_CONFIG;
    }
}

bool HC_TSS::openDomain(const String& file, int& handle) {
    RETURN_CODE_TYPE::Value code{};
    m_configuration->Initialize(file, code);
    if (code != RETURN_CODE_TYPE::NO_ERROR) {
        utilities::printLine("CFR:", code, " Configuration ", file.view(), " was not available");
        return false;
    }
    m_configuration->Open(DOMAIN_CONTAINER, handle, code);
    if (code != RETURN_CODE_TYPE::NO_ERROR) {
        utilities::printLine("CFR:", code, " Domain ", DOMAIN_CONTAINER, " was not available");
        return false;
    }
    return true;
}

void HC_TSS::createParticipant() {
    if (const auto attributes = participantAttributes(m_name, m_settings)) {
        m_participant = eprosima::fastrtps::Domain::createParticipant(*attributes, nullptr);
    }
    if (m_participant == nullptr) {
        throw std::runtime_error("Error creating participant " + m_name);
    }
    m_initialized = true;
}

void HC_TSS::Create_Connection(const String& name, long long /*timeout*/, long long& connection,
                               int& /*max_message_size*/, RETURN_CODE_TYPE::Value& rc) {
    connection = -1;
    if (!m_initialized) {
        rc = RETURN_CODE_TYPE::NOT_AVAILABLE;
        return;
    }
    try {
        const long long known = findConnection(name);
        rc = RETURN_CODE_TYPE::NO_ERROR;
        connection = known >= 0 ? known : makeConnection(name, rc);
    } catch (const std::exception&) {
        rc = RETURN_CODE_TYPE::NO_ACTION;
    }
}

/** The new connection's id, or -1 with the reason in `rc`. */
long long HC_TSS::makeConnection(const String& name, RETURN_CODE_TYPE::Value& rc) {
    int handle = 0;
    m_configuration->Open(name, handle, rc);
    if (rc != RETURN_CODE_TYPE::NO_ERROR) {
        rc = RETURN_CODE_TYPE::INVALID_CONFIG;
        return -1;
    }
    const Open_Handle open(*m_configuration, handle);
    Connection_t made = readConnection(name, handle, rc);
    if (rc != RETURN_CODE_TYPE::NO_ERROR) {
        return -1;
    }
    if (!okRegisterTopic(made.typeSupport.get())) {
        utilities::printErrorLine("!!!!! Could NOT register topic ",
                                  static_cast<const void*>(made.typeSupport.get()),
                                  " with participant ", m_name);
        rc = RETURN_CODE_TYPE::NO_ACTION;
        return -1;
    }
    return addConnection(std::move(made));
}

HC_TSS::Connection_t HC_TSS::readConnection(const String& name, int handle,
                                            RETURN_CODE_TYPE::Value& rc) {
    String topicType;
    String pubSubType;
    HC_Config_Helpers::Get_String_Parameter(*m_configuration, handle, "TopicType", topicType, rc);
    HC_Config_Helpers::Get_String_Parameter(*m_configuration, handle, "PubSubType", pubSubType, rc);
    Connection_t made;
    made.topicName = name.view();
    made.topicType = topicType.view();
    made.typeSupport = Topics::GetPubSubType(std::string(pubSubType.view()));
    return made;
}

long long HC_TSS::findConnection(const String& name) {
    const utilities::MutexLock lock(m_mutex);
    for (const auto& [id, connection] : connectionMap) {
        if (connection.topicName == name.view()) {
            return id;
        }
    }
    return -1;
}

long long HC_TSS::addConnection(Connection_t connection) {
    const utilities::MutexLock lock(m_mutex);
    const auto id = static_cast<std::uint32_t>(connectionMap.size());
    connectionMap.emplace(id, std::move(connection));
    return id;
}

void HC_TSS::Destroy_Connection(long long /*connection*/, RETURN_CODE_TYPE::Value& rc) {
    rc = m_initialized ? RETURN_CODE_TYPE::NO_ERROR : RETURN_CODE_TYPE::NOT_AVAILABLE;
}

template <typename Remove>
void HC_TSS::unregister(long long connection, const Remove& remove, RETURN_CODE_TYPE::Value& rc) {
    rc = RETURN_CODE_TYPE::NOT_AVAILABLE;
    if (!m_initialized) {
        return;
    }
    try {
        remove(connectionMap_mutex_at(mapKey(connection)));
        rc = RETURN_CODE_TYPE::NO_ERROR;
    } catch (const std::out_of_range&) {
        rc = RETURN_CODE_TYPE::INVALID_PARAM;
    } catch (...) {
        rc = RETURN_CODE_TYPE::NO_ACTION;
    }
}

void HC_TSS::Unregister_Sender(long long connection, RETURN_CODE_TYPE::Value& rc) {
    unregister(
        connection, [this](Connection_t& found) { removePublisher(found); }, rc);
}

void HC_TSS::Unregister_Callback(long long connection, RETURN_CODE_TYPE::Value& rc) {
    unregister(
        connection, [this](Connection_t& found) { removeSubscriber(found); }, rc);
}

void HC_TSS::removePublisher(Connection_t& connection) {
    if (!connection.isPublisher()) {
        return;
    }
    if (Listeners::IsInCallback()) {
        connection.sends->shut();
        retire(std::move(connection.publisherListener));
    } else {
        connection.sends->close();
        eprosima::fastrtps::Domain::removePublisher(connection.publisher);
    }
    connection.clearPublisher();
}

void HC_TSS::removeSubscriber(Connection_t& connection) {
    if (!connection.isSubscriber()) {
        return;
    }
    if (Listeners::IsInCallback()) {
        connection.subscriberListener->silence();
        retire(std::move(connection.subscriberListener));
    } else {
        connection.subscriberListener->waitUntilSilent();
        eprosima::fastrtps::Domain::removeSubscriber(connection.subscriber);
    }
    connection.clearSubscriber();
}

void HC_TSS::retire(std::shared_ptr<void> listener) {
    const utilities::MutexLock lock(m_mutex);
    m_retired.push_back(std::move(listener));
}

std::uint32_t HC_TSS::mapKey(long long connection) {
    const bool fits = connection >= 0 && connection < NO_CONNECTION;
    return fits ? static_cast<std::uint32_t>(connection) : NO_CONNECTION;
}

HC_TSS::Connection_t& HC_TSS::connectionMap_mutex_at(std::uint32_t id) {
    const utilities::MutexLock lock(m_mutex);
    return connectionMap.at(id);
}

HC_TSS::TopicDataType* HC_TSS::registeredType(const char* type_name) const {
    TopicDataType* type = nullptr;
    eprosima::fastrtps::Domain::getRegisteredType(m_participant, type_name, &type);
    return type;
}

bool HC_TSS::isTopicRegistered(const char* type_name) const {
    return registeredType(type_name) != nullptr;
}

bool HC_TSS::okRegisterTopic(TopicDataType* type) {
    return type != nullptr && (isTopicRegistered(type->getName()) ||
                               eprosima::fastrtps::Domain::registerType(m_participant, type));
}

/** What writer and reader have in common. */
template <typename Attributes>
void HC_TSS::describe(Attributes& attributes, const Connection_t& connection) const {
    auto& topic = attributes.topic;
    topic.topicName = connection.topicName;
    topic.topicDataType = connection.topicType;
    topic.topicKind = eprosima::fastrtps::rtps::NO_KEY;
    topic.historyQos.kind = eprosima::fastrtps::KEEP_LAST_HISTORY_QOS;
    topic.historyQos.depth = m_settings.historyDepth;
    topic.resourceLimitsQos.max_samples = m_settings.historyDepth;
    topic.resourceLimitsQos.max_instances = 1;
    topic.resourceLimitsQos.max_samples_per_instance = m_settings.historyDepth;
    topic.resourceLimitsQos.allocated_samples = m_settings.historyDepth;
    attributes.qos.m_reliability.kind = m_settings.useBestEffort
                                            ? eprosima::fastrtps::BEST_EFFORT_RELIABILITY_QOS
                                            : eprosima::fastrtps::RELIABLE_RELIABILITY_QOS;
    attributes.historyMemoryPolicy =
        eprosima::fastrtps::rtps::PREALLOCATED_WITH_REALLOC_MEMORY_MODE;
}

void HC_TSS::registerPublisher(Connection_t& connection) {
    auto listener = std::make_unique<Listeners::PublisherListenerBase>(m_name);
    PublisherAttributes attributes;
    describe(attributes, connection);
    attributes.qos.m_durability.kind = eprosima::fastrtps::TRANSIENT_LOCAL_DURABILITY_QOS;
    if (!isAcceptable(attributes)) {
        throw std::runtime_error("Participant " + m_name + " invalid publisher QOS for topic: " +
                                 connection.topicName + "; see error log");
    }
    Publisher* const made =
        eprosima::fastrtps::Domain::createPublisher(m_participant, attributes, listener.get());
    if (made == nullptr) {
        throw std::runtime_error("Participant " + m_name +
                                 " error creating publisher for topic: " + connection.topicName);
    }
    connection.setPublisher(std::move(listener), made);
    connection.sends->open();
}

void HC_TSS::registerSubscriber(Connection_t& connection, Subscriber_Listener listener) {
    SubscriberAttributes attributes;
    describe(attributes, connection);
    attributes.qos.m_durability.kind = m_settings.backFillHistory
                                           ? eprosima::fastrtps::TRANSIENT_LOCAL_DURABILITY_QOS
                                           : eprosima::fastrtps::VOLATILE_DURABILITY_QOS;
    if (!isAcceptable(attributes)) {
        throw std::runtime_error("Participant " + m_name + " invalid subscriber QOS for topic: " +
                                 connection.topicName + "; see error log");
    }
    Subscriber* const made =
        eprosima::fastrtps::Domain::createSubscriber(m_participant, attributes, listener.get());
    if (made == nullptr) {
        throw std::runtime_error("Participant " + m_name +
                                 " error creating subscriber for topic: " + connection.topicName);
    }
    connection.setSubscriber(std::move(listener), made);
}

}  // namespace FACE::TSS
