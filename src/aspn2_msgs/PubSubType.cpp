#include "aspn2_msgs/PubSubType.h"

namespace aspn2_msgs {
namespace {

using eprosima::fastcdr::Cdr;
using eprosima::fastcdr::FastBuffer;

std::uint16_t encapsulationOf(const Cdr& cdr) {
    return cdr.endianness() == Cdr::BIG_ENDIANNESS ? CDR_BE : CDR_LE;
}

}  // namespace

AnyPubSubType::AnyPubSubType(const char* name, std::size_t maxSize, bool hasKey, bool isPlain)
    : m_isPlain(isPlain) {
    setName(name);
    m_typeSize = static_cast<std::uint32_t>(maxSize + encapsulationSize);
    m_isGetKeyDefined = hasKey;
}

bool AnyPubSubType::serialize(void* data, Payload* payload) {
    FastBuffer buffer(reinterpret_cast<char*>(payload->data), payload->max_size);
    Cdr cdr(buffer, Cdr::DEFAULT_ENDIAN, Cdr::DDS_CDR);
    payload->encapsulation = encapsulationOf(cdr);
    try {
        cdr.serialize_encapsulation();
        write(cdr, data);
    } catch (const eprosima::fastcdr::exception::NotEnoughMemoryException&) {
        return false;
    }
    payload->length = static_cast<std::uint32_t>(cdr.getSerializedDataLength());
    return true;
}

bool AnyPubSubType::deserialize(Payload* payload, void* data) {
    FastBuffer buffer(reinterpret_cast<char*>(payload->data), payload->length);
    Cdr cdr(buffer, Cdr::DEFAULT_ENDIAN, Cdr::DDS_CDR);
    try {
        cdr.read_encapsulation();
        payload->encapsulation = encapsulationOf(cdr);
        read(cdr, data);
    } catch (...) {
        return false;
    }
    return true;
}

std::function<std::uint32_t()> AnyPubSubType::getSerializedSizeProvider(void* data) {
    return [this, data] { return static_cast<std::uint32_t>(sizeOf(data) + encapsulationSize); };
}

bool AnyPubSubType::getKey(void* /*data*/, eprosima::fastrtps::rtps::InstanceHandle_t* /*handle*/,
                           bool /*forceMd5*/) {
    return false;
}

}  // namespace aspn2_msgs
