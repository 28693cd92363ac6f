/** A server of another make: bare Fast DDS in a process of its own, which knows no message and
 * moves payloads as they are, sound or not.
 *
 *  Usage: test_tss_peer <domain> <SHM|UDP|TCP_Client|TCP_Server> <port>
 *  Reads one order a line and answers each with a line; ends with its input.
 *
 *      writer <topic>               makes a writer of commands; "writer <entity id>"
 *      reader <topic> <0|1>         makes a reader of them, 1: back-filled; each: "got <payload>"
 *      mirror <topic> <topic> <T>   sends what comes on the first, of type T, back on the second
 *      matched <n>                  waits until the last writer has n readers, no more; "matched"
 *      write <n> <per second> <payload>   by the last writer, 0: as fast as it goes; "written"
 *
 *  Payloads and ids are hexadecimal; a payload has its encapsulation header.
 */
#include <fastdds/rtps/transport/TCPv4TransportDescriptor.h>
#include <fastdds/rtps/transport/UDPv4TransportDescriptor.h>
#include <fastdds/rtps/transport/shared_mem/SharedMemTransportDescriptor.h>
#include <fastrtps/Domain.h>
#include <fastrtps/attributes/ParticipantAttributes.h>
#include <fastrtps/attributes/PublisherAttributes.h>
#include <fastrtps/attributes/SubscriberAttributes.h>
#include <fastrtps/publisher/Publisher.h>
#include <fastrtps/publisher/PublisherListener.h>
#include <fastrtps/subscriber/SampleInfo.h>
#include <fastrtps/subscriber/Subscriber.h>
#include <fastrtps/subscriber/SubscriberListener.h>
#include <fastrtps/utils/IPLocator.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <deque>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <thread>

#include "tss/Hex.h"
#include "utilities/Mutex.h"

namespace {

using namespace eprosima::fastrtps;

constexpr const char* command = "aspn2_msgs::idl::CommandResponse";

/** Payloads as they are, under the name of a real message. */
class Raw : public eprosima::fastdds::dds::TopicDataType {
public:
    explicit Raw(const char* name) {
        setName(name);
        m_typeSize = 512;
        m_isGetKeyDefined = false;
    }
    bool serialize(void* data, rtps::SerializedPayload_t* payload) override {
        const auto& bytes = *static_cast<const std::string*>(data);
        std::copy(bytes.begin(), bytes.end(), payload->data);
        payload->length = static_cast<std::uint32_t>(bytes.size());
        payload->encapsulation = CDR_LE;
        return true;
    }
    bool deserialize(rtps::SerializedPayload_t* payload, void* data) override {
        static_cast<std::string*>(data)->assign(payload->data, payload->data + payload->length);
        return true;
    }
    std::function<std::uint32_t()> getSerializedSizeProvider(void* data) override {
        return [=] { return static_cast<std::uint32_t>(static_cast<std::string*>(data)->size()); };
    }
    void* createData() override { return new std::string; }
    void deleteData(void* data) override { delete static_cast<std::string*>(data); }
    bool getKey(void*, rtps::InstanceHandle_t*, bool) override { return false; }
};

void say(const std::string& line) {
    (std::cout << line + "\n").flush();
}

class Writer : public PublisherListener {
public:
    void onPublicationMatched(Publisher*, rtps::MatchingInfo& info) override {
        const utilities::MutexLock lock(m_mutex);
        m_matched += info.status == rtps::MATCHED_MATCHING ? 1 : -1;
        m_changed.notify_all();
    }

    void wait(int wanted) {
        const utilities::MutexLock lock(m_mutex);
        while (m_matched != wanted) {
            m_changed.wait(m_mutex);
        }
    }

    Publisher* publisher = nullptr;

private:
    utilities::Mutex m_mutex;
    utilities::Condition m_changed;
    int m_matched GUARDED_BY(m_mutex) = 0;
};

class Reader : public SubscriberListener {
public:
    explicit Reader(Writer* mirror) : m_mirror(mirror) {}
    void onNewDataMessage(Subscriber* subscriber) override {
        std::string payload;
        SampleInfo_t info;
        if (!subscriber->takeNextData(&payload, &info)) {
            return;
        }
        if (m_mirror != nullptr) {
            m_mirror->publisher->write(&payload);
        } else {
            say("got " + toHex(payload));
        }
    }

private:
    Writer* const m_mirror;
};

class Peer {
public:
    Peer(std::uint32_t domain, const std::string& transport, std::uint16_t port) {
        m_attributes.domainId = domain;
        m_attributes.rtps.useBuiltinTransports = false;
        m_attributes.rtps.setName("peer");
        addTransport(transport, port);
        m_participant = Domain::createParticipant(m_attributes);
        Domain::registerType(m_participant, &m_types.emplace_back(command));
    }

    ~Peer() { Domain::removeParticipant(m_participant); }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    void obey(std::istream& order) {
        std::string verb;
        std::string topic;
        std::string rest;
        order >> verb;
        if (verb == "writer") {
            order >> topic;
            makeWriter(topic, command);
            const auto& id = m_writers.back().publisher->getGuid().entityId.value;
            say("writer " + toHex({reinterpret_cast<const char*>(id), sizeof id}));
        } else if (verb == "reader") {
            bool backFilled = false;
            order >> topic >> backFilled;
            makeReader(topic, command, backFilled, nullptr);
            say("reader");
        } else if (verb == "mirror") {
            std::string type;
            order >> topic >> rest >> type;
            if (type != command) {
                Domain::registerType(m_participant, &m_types.emplace_back(type.c_str()));
            }
            makeWriter(rest, type);
            makeReader(topic, type, true, &m_writers.back());
            say("mirror");
        } else if (verb == "matched") {
            int wanted = 0;
            order >> wanted;
            m_writers.back().wait(wanted);
            say("matched");
        } else if (verb == "write") {
            int count = 0;
            int rate = 0;
            order >> count >> rate >> rest;
            write(count, rate, fromHex(rest));
            say("written");
        }
    }

private:
    void addTransport(const std::string& name, std::uint16_t port) {
        using namespace eprosima::fastdds::rtps;
        if (name == "SHM") {
            m_attributes.rtps.userTransports.push_back(
                std::make_shared<SharedMemTransportDescriptor>());
        } else if (name == "UDP") {
            auto udp = std::make_shared<UDPv4TransportDescriptor>();
            udp->interfaceWhiteList = {"127.0.0.1"};
            m_attributes.rtps.userTransports.push_back(udp);
        } else {
            auto tcp = std::make_shared<TCPv4TransportDescriptor>();
            if (name == "TCP_Server") {
                tcp->set_WAN_address("127.0.0.1");
                tcp->add_listener_port(port);
            } else {
                rtps::Locator_t server;
                server.kind = LOCATOR_KIND_TCPv4;
                server.port = port;
                rtps::IPLocator::setIPv4(server, "127.0.0.1");
                m_attributes.rtps.builtin.initialPeersList.push_back(server);
            }
            m_attributes.rtps.userTransports.push_back(tcp);
        }
    }

    template <typename Attributes>
    static void describe(Attributes& attributes, const std::string& topic,
                         const std::string& type) {
        attributes.topic.topicName = topic;
        attributes.topic.topicDataType = type;
        attributes.topic.historyQos.depth = 16;
        attributes.qos.m_reliability.kind = RELIABLE_RELIABILITY_QOS;
        attributes.historyMemoryPolicy = rtps::PREALLOCATED_WITH_REALLOC_MEMORY_MODE;
    }

    void makeWriter(const std::string& topic, const std::string& type) {
        Writer& writer = m_writers.emplace_back();
        PublisherAttributes attributes;
        describe(attributes, topic, type);
        attributes.qos.m_durability.kind = TRANSIENT_LOCAL_DURABILITY_QOS;
        writer.publisher = Domain::createPublisher(m_participant, attributes, &writer);
    }

    void makeReader(const std::string& topic, const std::string& type, bool backFilled,
                    Writer* mirror) {
        SubscriberAttributes attributes;
        describe(attributes, topic, type);
        attributes.qos.m_durability.kind =
            backFilled ? TRANSIENT_LOCAL_DURABILITY_QOS : VOLATILE_DURABILITY_QOS;
        Domain::createSubscriber(m_participant, attributes, &m_readers.emplace_back(mirror));
    }

    void write(int count, int rate, std::string payload) {
        const auto begin = std::chrono::steady_clock::now();
        for (int i = 0; i < count; ++i) {
            m_writers.back().publisher->write(&payload);
            if (rate > 0) {
                std::this_thread::sleep_until(begin +
                                              std::chrono::nanoseconds(1000000000) / rate * i);
            }
        }
    }

    ParticipantAttributes m_attributes;
    std::deque<Raw> m_types;
    std::deque<Writer> m_writers;
    std::deque<Reader> m_readers;
    Participant* m_participant = nullptr;
};

}  // namespace

int main(int count, char** arguments) {
    if (count != 4) {
        return 1;
    }
    Peer peer(static_cast<std::uint32_t>(std::atoi(arguments[1])), arguments[2],
              static_cast<std::uint16_t>(std::atoi(arguments[3])));
    say("ready");
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream order(line);
        peer.obey(order);
    }
}
