#include "tss/HC_TSS_Listeners.h"

#include <array>
#include <cstddef>
#include <span>

namespace FACE::TSS::Listeners {

namespace {

using eprosima::fastrtps::rtps::MATCHED_MATCHING;

constexpr std::array durabilityKinds{"VOLATILE_DURABILITY_QOS", "TRANSIENT_LOCAL_DURABILITY_QOS",
                                     "TRANSIENT_DURABILITY_QOS", "PERSISTENT_DURABILITY_QOS"};
constexpr std::array livelinessKinds{"AUTOMATIC_LIVELINESS_QOS",
                                     "MANUAL_BY_PARTICIPANT_LIVELINESS_QOS",
                                     "MANUAL_BY_TOPIC_LIVELINESS_QOS"};
constexpr std::array reliabilityKinds{"BEST_EFFORT_RELIABILITY_QOS", "RELIABLE_RELIABILITY_QOS"};

/** `kinds` are the names of the values from `first` on. */
QoS_Element element(const char* policy, std::size_t kind, std::size_t first,
                    std::span<const char* const> kinds, const char* unknown) {
    const bool known = kind >= first && kind - first < kinds.size();
    return {policy, known ? kinds[kind - first] : unknown};
}

thread_local int callbackDepth = 0;

std::int32_t change(const eprosima::fastrtps::rtps::MatchingInfo& info) {
    return info.status == MATCHED_MATCHING ? 1 : -1;
}

}  // namespace

std::uint32_t GuidToUid(const eprosima::fastrtps::rtps::GUID_t& guid) {
    std::uint32_t uid = 0;
    for (const eprosima::fastrtps::rtps::octet byte : guid.entityId.value) {
        uid = uid << 8U | byte;
    }
    return uid;
}

QoS_Element DurabilityQosPolicyToElement(
    const eprosima::fastdds::dds::DurabilityQosPolicy& policy) {
    return element("DurabilityQosPolicy", policy.kind, 0, durabilityKinds,
                   "UNKNOWN_DURABILITY_QOS");
}

QoS_Element LivelinessQosPolicyToElement(
    const eprosima::fastdds::dds::LivelinessQosPolicy& policy) {
    return element("LivelinessQosPolicy", policy.kind, 0, livelinessKinds,
                   "UNKNOWN_LIVELINESS_QOS");
}

QoS_Element ReliabilityQosPolicyToElement(
    const eprosima::fastdds::dds::ReliabilityQosPolicy& policy) {
    return element("ReliabilityQosPolicy", policy.kind, 1, reliabilityKinds,
                   "UNKNOWN_RELIABILITY_QOS");
}

Sequence<QoS_Element> QosElementsOf(const eprosima::fastrtps::SubscriberAttributes& reader) {
    Sequence<QoS_Element> elements;
    elements.append(DurabilityQosPolicyToElement(reader.qos.m_durability));
    elements.append(LivelinessQosPolicyToElement(reader.qos.m_liveliness));
    elements.append(ReliabilityQosPolicyToElement(reader.qos.m_reliability));
    return elements;
}

HEADER_TYPE HeaderOf(const eprosima::fastrtps::SampleInfo_t& sample,
                     const eprosima::fastrtps::rtps::GUID_t& reader) {
    return {GuidToUid(sample.sample_identity.writer_guid()), GuidToUid(reader),
            static_cast<std::uint64_t>(sample.sourceTimestamp.to_ns())};
}

long long TransactionOf(const eprosima::fastrtps::SampleInfo_t& sample) {
    return static_cast<long long>(sample.sample_identity.sequence_number().to64long());
}

bool IsInCallback() {
    return callbackDepth > 0;
}

CallbackScope::CallbackScope() {
    ++callbackDepth;
}
CallbackScope::~CallbackScope() {
    --callbackDepth;
}

void PublisherListenerBase::onPublicationMatched(eprosima::fastrtps::Publisher* /*publisher*/,
                                                 eprosima::fastrtps::rtps::MatchingInfo& info) {
    m_matched += change(info);
}

void SubscriberListenerBase::onSubscriptionMatched(eprosima::fastrtps::Subscriber* /*subscriber*/,
                                                   eprosima::fastrtps::rtps::MatchingInfo& info) {
    m_matched += change(info);
}

}  // namespace FACE::TSS::Listeners
