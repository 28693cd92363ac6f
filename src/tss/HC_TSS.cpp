#include "tss/HC_TSS.h"

#include <fastdds/rtps/transport/TCPv4TransportDescriptor.h>
#include <fastdds/rtps/transport/UDPv4TransportDescriptor.h>
#include <fastdds/rtps/transport/shared_mem/SharedMemTransportDescriptor.h>
#include <fastrtps/Domain.h>
#include <fastrtps/attributes/ParticipantAttributes.h>
#include <fastrtps/attributes/PublisherAttributes.h>
#include <fastrtps/attributes/SubscriberAttributes.h>
#include <fastrtps/utils/IPLocator.h>

#include <algorithm>
#include <array>
#include <exception>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "face/HC_Config_Helpers.h"
#include "tss/HC_Topic_Helpers.h"
#include "utilities/Console.h"

namespace FACE::TSS {

namespace {

using eprosima::fastrtps::ParticipantAttributes;
using eprosima::fastrtps::PublisherAttributes;
using eprosima::fastrtps::SubscriberAttributes;

constexpr const char* DOMAIN_CONTAINER = "FastRtps";

/** The last domain whose ports lie below 65536; for a higher one the library ends the process. */
constexpr unsigned long long MAX_DOMAIN_ID = 232;

constexpr std::int32_t LEASE_SECONDS = 5;

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

/** Where a TCP transport connects to, or is reached. */
struct Tcp_Endpoint {
    const std::string& address;
    std::uint16_t port;
};

void addSharedMemory(const Tcp_Endpoint& /*endpoint*/, ParticipantAttributes& attributes) {
    attributes.rtps.userTransports.push_back(
        std::make_shared<eprosima::fastdds::rtps::SharedMemTransportDescriptor>());
}

void addUdp(const Tcp_Endpoint& /*endpoint*/, ParticipantAttributes& attributes) {
    auto transport = std::make_shared<eprosima::fastdds::rtps::UDPv4TransportDescriptor>();
    transport->non_blocking_send = true;
    transport->interfaceWhiteList = {"127.0.0.1"};
    attributes.rtps.userTransports.push_back(std::move(transport));
}

void addTcpClient(const Tcp_Endpoint& endpoint, ParticipantAttributes& attributes) {
    using eprosima::fastrtps::rtps::IPLocator;
    eprosima::fastrtps::rtps::Locator_t peer;
    peer.kind = LOCATOR_KIND_TCPv4;
    peer.port = endpoint.port;
    IPLocator::setIPv4(peer, endpoint.address);
    attributes.rtps.builtin.initialPeersList.push_back(peer);
    attributes.rtps.userTransports.push_back(
        std::make_shared<eprosima::fastdds::rtps::TCPv4TransportDescriptor>());
}

/** All zero, which stands for no address to be reached at from outside, unless `text` is four
 *  numbers of a byte each.
 */
std::array<std::uint8_t, 4> parseAddress(const std::string& text) {
    std::istringstream in(text);
    std::array<int, 4> parts{};
    char separator = 0;
    in >> parts[0] >> separator >> parts[1] >> separator >> parts[2] >> separator >> parts[3];
    const bool whole =
        in && std::ranges::all_of(parts, [](int part) { return part >= 0 && part <= 0xFF; });
    std::array<std::uint8_t, 4> bytes{};
    if (whole) {
        std::ranges::transform(parts, bytes.begin(),
                               [](int part) { return static_cast<std::uint8_t>(part); });
    }
    return bytes;
}

void addTcpServer(const Tcp_Endpoint& endpoint, ParticipantAttributes& attributes) {
    auto transport = std::make_shared<eprosima::fastdds::rtps::TCPv4TransportDescriptor>();
    std::ranges::copy(parseAddress(endpoint.address), transport->wan_addr);
    transport->add_listener_port(endpoint.port);
    attributes.rtps.userTransports.push_back(std::move(transport));
}

struct Transport_Choice {
    std::string_view name;
    void (*add)(const Tcp_Endpoint& endpoint, ParticipantAttributes& attributes);
};

constexpr std::array transportChoices{
    Transport_Choice{"SHM", addSharedMemory},
    Transport_Choice{"UDP", addUdp},
    Transport_Choice{"TCP_Client", addTcpClient},
    Transport_Choice{"TCP_Server", addTcpServer},
};

/** Nothing for a name that none of them has. */
void addTransport(const std::string& name, const Tcp_Endpoint& endpoint,
                  ParticipantAttributes& attributes) {
    for (const Transport_Choice& choice : transportChoices) {
        if (choice.name == name) {
            choice.add(endpoint, attributes);
        }
    }
}

/** A number with a sign, kept at the nearest one that 32 bits hold. */
std::int32_t toSigned(unsigned long long value) {
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(
        std::clamp<long long>(static_cast<long long>(value), Limits::min(), Limits::max()));
}

void getText(Configuration& config, int handle, const char* parameter, std::string& value,
             RETURN_CODE_TYPE::Value& rc) {
    String text;
    HC_Config_Helpers::Get_String_Parameter(config, handle, parameter, text, rc);
    value = text.view();
}

}  // namespace

struct HC_TSS::Domain {
    unsigned long long id = 0;
    unsigned long long historyDepth = 0;
    bool useBestEffort = false;
    bool backFillHistory = false;
    std::string transport;
    std::string tcpAddress;
    unsigned long long tcpPort = 0;
};

void HC_TSS::Connection_t::setPublisher(Publisher_Listener listener, Publisher* made) {
    publisher = made;
    publisherListener = std::move(listener);
}

void HC_TSS::Connection_t::setSubscriber(Subscriber_Listener listener, Subscriber* made) {
    subscriber = made;
    subscriberListener = std::move(listener);
}

HC_TSS::HC_TSS(const std::string& name) : m_name(name) {}

// The participant ends before the listeners and type supports that it uses.
HC_TSS::~HC_TSS() {
    if (m_initialized) {
        eprosima::fastrtps::Domain::removeParticipant(m_participant);
    }
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
        const Domain domain = readDomain(handle, rc);
        if (rc == RETURN_CODE_TYPE::NO_ERROR) {
            createParticipant(domain);
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

/** Reads all of them, so that each missing one is named on the console. */
HC_TSS::Domain HC_TSS::readDomain(int handle, RETURN_CODE_TYPE::Value& rc) {
    using namespace HC_Config_Helpers;
    Configuration& config = *m_configuration;
    Domain domain;
    Details::Get_Unsigned_Parameter(config, handle, "DomainId", domain.id, rc);
    Details::Get_Unsigned_Parameter(config, handle, "HistoryDepth", domain.historyDepth, rc);
    Get_Boolean_Parameter(config, handle, "UseBestEffort", domain.useBestEffort, rc);
    Get_Boolean_Parameter(config, handle, "BackFillHistory", domain.backFillHistory, rc);
    getText(config, handle, "UseTransport", domain.transport, rc);
    getText(config, handle, "TcpAddress", domain.tcpAddress, rc);
    Details::Get_Unsigned_Parameter(config, handle, "TcpPort", domain.tcpPort, rc);
    return domain;
}

void HC_TSS::createParticipant(const Domain& domain) {
    m_historyDepth = toSigned(domain.historyDepth);
    m_useBestEffort = domain.useBestEffort;
    m_backFillHistory = domain.backFillHistory;
    m_transport = domain.transport;
    m_tcpAddress = domain.tcpAddress;
    m_tcpPort = static_cast<std::uint16_t>(domain.tcpPort);
    if (domain.id <= MAX_DOMAIN_ID) {
        ParticipantAttributes attributes;
        attributes.domainId = static_cast<std::uint32_t>(domain.id);
        attributes.rtps.setName(m_name.c_str());
        attributes.rtps.builtin.discovery_config.leaseDuration = {LEASE_SECONDS, 0};
        attributes.rtps.useBuiltinTransports = false;
        addTransport(m_transport, {m_tcpAddress, m_tcpPort}, attributes);
        m_participant = eprosima::fastrtps::Domain::createParticipant(attributes, nullptr);
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
    rc = RETURN_CODE_TYPE::NO_ERROR;
    connection = findConnection(name);
    if (connection >= 0) {
        return;
    }
    int handle = 0;
    m_configuration->Open(name, handle, rc);
    if (rc != RETURN_CODE_TYPE::NO_ERROR) {
        rc = RETURN_CODE_TYPE::INVALID_CONFIG;
        return;
    }
    const Open_Handle open(*m_configuration, handle);
    Connection_t made = readConnection(name, handle, rc);
    if (rc != RETURN_CODE_TYPE::NO_ERROR) {
        return;
    }
    if (!okRegisterTopic(made.typeSupport.get())) {
        utilities::printErrorLine("!!!!! Could NOT register topic ",
                                  static_cast<const void*>(made.typeSupport.get()),
                                  " with participant ", m_name);
        rc = RETURN_CODE_TYPE::NO_ACTION;
        return;
    }
    connection = addConnection(std::move(made));
}

HC_TSS::Connection_t HC_TSS::readConnection(const String& name, int handle,
                                            RETURN_CODE_TYPE::Value& rc) {
    Connection_t made;
    made.topicName = name.view();
    getText(*m_configuration, handle, "TopicType", made.topicType, rc);
    std::string pubSubType;
    getText(*m_configuration, handle, "PubSubType", pubSubType, rc);
    made.typeSupport = Topics::GetPubSubType(pubSubType);
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
    connection.subscriberListener->silence();
    if (Listeners::IsInCallback()) {
        retire(std::move(connection.subscriberListener));
    } else {
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
    topic.historyQos.depth = m_historyDepth;
    topic.resourceLimitsQos.max_samples = m_historyDepth;
    topic.resourceLimitsQos.max_instances = 1;
    topic.resourceLimitsQos.max_samples_per_instance = m_historyDepth;
    topic.resourceLimitsQos.allocated_samples = m_historyDepth;
    attributes.qos.m_reliability.kind = m_useBestEffort
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
    if (!attributes.topic.checkQos() || !attributes.qos.checkQos()) {
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
    attributes.qos.m_durability.kind = m_backFillHistory
                                           ? eprosima::fastrtps::TRANSIENT_LOCAL_DURABILITY_QOS
                                           : eprosima::fastrtps::VOLATILE_DURABILITY_QOS;
    if (!attributes.topic.checkQos() || !attributes.qos.checkQos()) {
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
