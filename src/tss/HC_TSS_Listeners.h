/** The bridge from what Fast DDS notifies to a component's callback. */
#pragma once

#include <fastdds/rtps/common/Guid.h>
#include <fastdds/rtps/common/MatchingInfo.h>
#include <fastrtps/attributes/SubscriberAttributes.h>
#include <fastrtps/publisher/PublisherListener.h>
#include <fastrtps/subscriber/SampleInfo.h>
#include <fastrtps/subscriber/Subscriber.h>
#include <fastrtps/subscriber/SubscriberListener.h>
#include <fastdds/dds/core/policy/QosPolicies.hpp>

#include <atomic>
#include <cstdint>
#include <string>
#include <utility>

#include "tss/Gate.h"
#include "tss/TypedTS.h"

namespace FACE::TSS::Listeners {

/** The entity id as one number, its first byte the most significant; the prefix does not enter. */
std::uint32_t GuidToUid(const eprosima::fastrtps::rtps::GUID_t& guid);

/** The policy's name, such as "DurabilityQosPolicy", and its kind's, such as
 *  "VOLATILE_DURABILITY_QOS", or "UNKNOWN_DURABILITY_QOS" for a kind without one.
 */
QoS_Element DurabilityQosPolicyToElement(const eprosima::fastdds::dds::DurabilityQosPolicy& policy);
QoS_Element LivelinessQosPolicyToElement(const eprosima::fastdds::dds::LivelinessQosPolicy& policy);
QoS_Element ReliabilityQosPolicyToElement(
    const eprosima::fastdds::dds::ReliabilityQosPolicy& policy);

/** What goes with every sample of a reader: durability, liveliness and reliability, in this order.
 */
Sequence<QoS_Element> QosElementsOf(const eprosima::fastrtps::SubscriberAttributes& reader);

HEADER_TYPE HeaderOf(const eprosima::fastrtps::SampleInfo_t& sample,
                     const eprosima::fastrtps::rtps::GUID_t& reader);

/** The sample's sequence number in its writer. */
long long TransactionOf(const eprosima::fastrtps::SampleInfo_t& sample);

/** Whether a callback is running on this thread. No reader or writer can be removed from there: the
 *  library would wait for the callback itself, or for one of the same receive thread.
 */
bool IsInCallback();

/** Marks a callback on this thread for its scope. */
class CallbackScope {
public:
    CallbackScope();
    ~CallbackScope();
    CallbackScope(const CallbackScope&) = delete;
    CallbackScope& operator=(const CallbackScope&) = delete;
};

/** Counts the readers that a writer is matched with. */
class PublisherListenerBase : public eprosima::fastrtps::PublisherListener {
public:
    explicit PublisherListenerBase(std::string name) : m_name(std::move(name)) {}
    PublisherListenerBase(const PublisherListenerBase&) = delete;
    PublisherListenerBase& operator=(const PublisherListenerBase&) = delete;

    void onPublicationMatched(eprosima::fastrtps::Publisher* publisher,
                              eprosima::fastrtps::rtps::MatchingInfo& info) override;

    const std::string& name() const { return m_name; }
    /** Any thread. */
    std::int32_t matched() const { return m_matched; }

private:
    const std::string m_name;
    std::atomic<std::int32_t> m_matched{0};
};

/** Counts the writers that a reader is matched with. */
class SubscriberListenerBase : public eprosima::fastrtps::SubscriberListener {
public:
    explicit SubscriberListenerBase(std::string name) : m_name(std::move(name)) {}
    SubscriberListenerBase(const SubscriberListenerBase&) = delete;
    SubscriberListenerBase& operator=(const SubscriberListenerBase&) = delete;

    void onSubscriptionMatched(eprosima::fastrtps::Subscriber* subscriber,
                               eprosima::fastrtps::rtps::MatchingInfo& info) override;

    /** From here on samples are left lying, and no callback starts; those under way go on. */
    void silence() { m_gate.shut(); }

    /** The same, and returns when none is under way: never call it from within one. */
    void waitUntilSilent() { m_gate.close(); }

    const std::string& name() const { return m_name; }
    /** Any thread. */
    std::int32_t matched() const { return m_matched; }

protected:
    /** What a notification passes through; a derived class opens it when it is made. */
    Gate& gate() { return m_gate; }

private:
    const std::string m_name;
    std::atomic<std::int32_t> m_matched{0};
    Gate m_gate;
};

/** Takes one sample for each notification and hands it to the callback. What is not alive, or can't
 *  be decoded (which the library says on standard error), is dropped.
 *
 *  Fast DDS holds the reader's own recursive lock through a notification, whichever thread brings
 *  the sample, so all members below belong to one thread at a time; the only overlap is a callback
 *  that sends on its own connection and so is notified again from within. The sample and the policy
 *  elements are kept from one notification to the next and cost no allocation; the sample keeps the
 *  capacity of the longest text so far, as the reader's history does.
 */
template <typename T>
class SubscriberListenerTyped : public SubscriberListenerBase {
public:
    SubscriberListenerTyped(std::string name, long long connection, Read_Callback<T> callback)
        : SubscriberListenerBase(std::move(name)),
          m_connection(connection),
          m_callback(std::move(callback)) {
        gate().open();
    }

    void onNewDataMessage(eprosima::fastrtps::Subscriber* subscriber) override {
        const Gate::Pass pass(gate());
        if (!pass) {
            return;
        }
        if (m_sampleInUse) {
            T nested;
            deliver(*subscriber, nested);
            return;
        }
        const InUse inUse(m_sampleInUse);
        deliver(*subscriber, m_sample);
    }

private:
    /** Sets a flag for its scope. */
    class InUse {
    public:
        explicit InUse(bool& flag) : m_flag(flag) { m_flag = true; }
        ~InUse() { m_flag = false; }
        InUse(const InUse&) = delete;
        InUse& operator=(const InUse&) = delete;

    private:
        bool& m_flag;
    };

    void deliver(eprosima::fastrtps::Subscriber& subscriber, T& sample) {
        eprosima::fastrtps::SampleInfo_t info;
        if (!subscriber.takeNextData(&sample, &info) ||
            info.sampleKind != eprosima::fastrtps::rtps::ALIVE) {
            return;
        }
        if (m_qos.length() == 0) {
            m_qos = QosElementsOf(subscriber.getAttributes());
        }
        const HEADER_TYPE header = HeaderOf(info, subscriber.getGuid());
        RETURN_CODE_TYPE::Value rc = RETURN_CODE_TYPE::NO_ERROR;
        const CallbackScope scope;
        m_callback(m_connection, TransactionOf(info), sample, header, m_qos, rc);
    }

    const long long m_connection;
    const Read_Callback<T> m_callback;
    Sequence<QoS_Element> m_qos;  ///< of the reader, whose policies never change; empty at first
    T m_sample;
    bool m_sampleInUse = false;
};

}  // namespace FACE::TSS::Listeners
