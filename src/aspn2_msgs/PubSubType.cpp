#include "aspn2_msgs/PubSubType.h"

#include <bit>

namespace aspn2_msgs {
namespace {

using eprosima::fastcdr::Cdr;
using eprosima::fastcdr::FastBuffer;

constexpr std::uint16_t hostEncapsulation =
    std::endian::native == std::endian::little ? CDR_LE : CDR_BE;

/** The second byte of an encapsulation header, behind a 0, is at most this: bit 0 tells
 * little-endian, bit 1 a parameter list, whose fields lie as in plain CDR for types without
 * parameters. */
constexpr std::uint8_t lastEncapsulation = 3;

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
    payload->encapsulation = hostEncapsulation;
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
    const std::uint8_t* const header = payload->data;
    if (payload->length < encapsulationSize || header[0] != 0 || header[1] > lastEncapsulation) {
        return false;
    }
    payload->encapsulation = header[1] % 2 == 0 ? CDR_BE : CDR_LE;
    const bool isNative = payload->encapsulation == hostEncapsulation;
    try {
        read(reinterpret_cast<const char*>(header + encapsulationSize),
             payload->length - encapsulationSize,
             isNative ? cdr::Order::native : cdr::Order::swapped, data);
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
