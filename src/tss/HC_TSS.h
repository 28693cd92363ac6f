/** The transport between the system's servers: one DDS participant and its named connections. */
#pragma once

#include <fastrtps/fastrtps_fwd.h>
#include <fastdds/dds/topic/TopicDataType.hpp>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "face/FACE_Common.h"
#include "tss/Domain_Settings.h"
#include "tss/Gate.h"
#include "tss/HC_TSS_Listeners.h"
#include "utilities/Mutex.h"

namespace FACE::TSS {

/** A connection is one topic: its name is the topic's on the wire and that of its container in the
 *  configuration. Writers and readers come with the typed front, `Details::HC_TypedTS<T>`.
 *
 *  Order of use: Set_Reference, Initialize, Create_Connection for each name, then the typed fronts;
 *  all this on one thread. Send_Message and callbacks then run on any number of threads.
 *  Unregister_Sender and Unregister_Callback may meet them: they return when the sends or callbacks
 *  under way have ended, so the caller holds no lock that one of those takes. The object isn't
 *  destroyed from within a callback.
 *
 *  Domain parameters, in the container "FastRtps": "DomainId" (0 to 232), "HistoryDepth" [samples,
 *  1 to 65536], "UseBestEffort", "BackFillHistory", "UseTransport" (SHM, UDP, TCP_Client or
 * TCP_Server), "TcpAddress" (dotted IPv4), "TcpPort". All have to be there, whatever the transport.
 *  A connection's: "TopicType", "PubSubType".
 */
class HC_TSS : public Base, public Configuration_Injectable::Injectable {
public:
    using TopicDataType = eprosima::fastdds::dds::TopicDataType;
    using Publisher = eprosima::fastrtps::Publisher;
    using Subscriber = eprosima::fastrtps::Subscriber;
    using Publisher_Listener = std::unique_ptr<Listeners::PublisherListenerBase>;
    using Subscriber_Listener = std::unique_ptr<Listeners::SubscriberListenerBase>;

    /** Its members change while a sender or callback is registered or unregistered; what a send
     *  looks at meanwhile, it looks at inside the gate.
     */
    struct Connection_t {
        bool isPublisher() const { return publisher != nullptr; }
        bool isSubscriber() const { return subscriber != nullptr; }
        void setPublisher(Publisher_Listener listener, Publisher* made);
        void setSubscriber(Subscriber_Listener listener, Subscriber* made);
        void clearPublisher() { setPublisher(nullptr, nullptr); }
        void clearSubscriber() { setSubscriber(nullptr, nullptr); }

        std::string topicName;
        std::string topicType;
        std::unique_ptr<TopicDataType> typeSupport;
        Publisher_Listener publisherListener;
        Publisher* publisher = nullptr;  ///< the participant's
        Subscriber_Listener subscriberListener;
        Subscriber* subscriber = nullptr;  ///< the participant's
        std::unique_ptr<Gate> sends =
            std::make_unique<Gate>();  ///< open while there is a publisher
    };

    /** The participant's name is `name`. */
    explicit HC_TSS(const std::string& name);
    ~HC_TSS() override;
    HC_TSS(const HC_TSS&) = delete;
    HC_TSS& operator=(const HC_TSS&) = delete;

    /** NOT_AVAILABLE: set already; INVALID_PARAM: null. Name and id are not looked at. */
    void Set_Reference(const String& interface_name,
                       const std::shared_ptr<Configuration>& reference, long long id,
                       RETURN_CODE_TYPE::Value& rc) override;

    /** Makes the participant. May be repeated after a failure. NO_ACTION: initialized already;
     *  NOT_AVAILABLE: no configuration set, or its file or container not there; INVALID_CONFIG: a
     *  parameter missing or empty, or the participant can't be made. What fails for the
     *  file's or the network's sake says so on the console.
     */
    void Initialize(const String& file, RETURN_CODE_TYPE::Value& rc) override;

    /** A known name gets its id again. `connection` is -1 unless it works; `max_message_size` is
     *  not written. NOT_AVAILABLE: not initialized; INVALID_CONFIG: no such container, or a
     *  parameter missing; NO_ACTION: the type can't be registered, or "PubSubType" is unknown.
     */
    void Create_Connection(const String& name, long long timeout, long long& connection,
                           int& max_message_size, RETURN_CODE_TYPE::Value& rc) override
        EXCLUDES(m_mutex);

    /** Does nothing: writer and reader stay until they are unregistered. NOT_AVAILABLE: not
     *  initialized.
     */
    void Destroy_Connection(long long connection, RETURN_CODE_TYPE::Value& rc) override;

    /** None registered is no error. NOT_AVAILABLE: not initialized; INVALID_PARAM: no such
     *  connection; NO_ACTION: anything else went wrong.
     *
     *  No send or callback starts afterwards, and those under way have ended, save in one case:
     *  called from within a callback of this transport, of whichever connection, nothing is waited
     *  for, and the silent writer or reader stays on the wire until the transport ends. Fast DDS's
     *  own removal waits for a callback under way, and would from there wait for ever.
     */
    void Unregister_Sender(long long connection, RETURN_CODE_TYPE::Value& rc) override
        EXCLUDES(m_mutex);
    void Unregister_Callback(long long connection, RETURN_CODE_TYPE::Value& rc) override
        EXCLUDES(m_mutex);

    const std::string& name() const { return m_name; }
    bool isInitialized() const { return m_initialized; }

    /** The key of `connectionMap` for an id of the interface; 0xFFFFFFFF, which is never in it, for
     *  one that is negative or wider than 32 bits.
     */
    static std::uint32_t mapKey(long long connection);

    /** Throws std::out_of_range for an unknown id. The reference stays good as long as this object:
     *  connections are never removed.
     */
    Connection_t& connectionMap_mutex_at(std::uint32_t id) EXCLUDES(m_mutex);

    /** The type support that samples of the topic type go through; null when none is registered. */
    TopicDataType* registeredType(const char* type_name) const;
    bool isTopicRegistered(const char* type_name) const;

    /** False for null, or when the library refuses. The first type of a name serves all further
     *  ones.
     */
    bool okRegisterTopic(TopicDataType* type);

    /** Each makes the connection's writer or reader. Throws std::runtime_error. */
    void registerPublisher(Connection_t& connection);
    void registerSubscriber(Connection_t& connection, Subscriber_Listener listener);

private:
    bool openDomain(const String& file, int& handle);
    void createParticipant();
    long long makeConnection(const String& name, RETURN_CODE_TYPE::Value& rc) EXCLUDES(m_mutex);
    Connection_t readConnection(const String& name, int handle, RETURN_CODE_TYPE::Value& rc);
    long long findConnection(const String& name) EXCLUDES(m_mutex);
    long long addConnection(Connection_t connection) EXCLUDES(m_mutex);
    template <typename Remove>
    void unregister(long long connection, const Remove& remove, RETURN_CODE_TYPE::Value& rc);
    void removePublisher(Connection_t& connection) EXCLUDES(m_mutex);
    void removeSubscriber(Connection_t& connection) EXCLUDES(m_mutex);
    void retire(std::shared_ptr<void> listener) EXCLUDES(m_mutex);
    template <typename Attributes>
    void describe(Attributes& attributes, const Connection_t& connection) const;

    bool m_initialized = false;
    std::shared_ptr<Configuration> m_configuration;
    const std::string m_name;
    eprosima::fastrtps::Participant* m_participant = nullptr;
    Domain_Settings m_settings;

    utilities::Mutex m_mutex;
    /** By id, which is the map's size at the insertion. */
    std::map<std::uint32_t, Connection_t> connectionMap GUARDED_BY(m_mutex);
    /** Listeners of what was unregistered from within a callback and is still on the wire. */
    std::vector<std::shared_ptr<void>> m_retired GUARDED_BY(m_mutex);
};

}  // namespace FACE::TSS
