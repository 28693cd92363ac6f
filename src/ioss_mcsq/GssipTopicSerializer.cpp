#include "ioss_mcsq/GssipTopicSerializer.h"

#include <cstdint>

using aspn2_msgs::idl::GSSIP;
using aspn2_msgs::idl::GSSIPPubSubType;

namespace {

using Payload = eprosima::fastrtps::rtps::SerializedPayload_t;

/** A payload over bytes that aren't its own. */
class BorrowedPayload : public Payload {
public:
    BorrowedPayload(unsigned char* bytes, std::uint32_t count) {
        data = bytes;
        length = count;
        max_size = count;
    }
    ~BorrowedPayload() { data = nullptr; }
    BorrowedPayload(const BorrowedPayload&) = delete;
    BorrowedPayload& operator=(const BorrowedPayload&) = delete;
};

}  // namespace

std::size_t GssipTopicSerializer::GetSerializedSize(const GSSIP* message) {
    return 4 + GSSIP::getCdrSerializedSize(*message, 0);
}

bool GssipTopicSerializer::Serialize(const GSSIP& message, std::vector<unsigned char>& out) {
    GSSIPPubSubType type;
    std::vector<unsigned char> bytes(GetSerializedSize(&message));
    BorrowedPayload payload(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    // Serializing only reads the message; the type support's signature is not const.
    if (!type.serialize(const_cast<GSSIP*>(&message), &payload)) {
        return false;
    }
    bytes.resize(payload.length);
    out = std::move(bytes);
    return true;
}

bool GssipTopicSerializer::Deserialize(unsigned char* data, int length, GSSIP* out) {
    GSSIPPubSubType type;
    return Deserialize(type, data, length, out);
}

bool GssipTopicSerializer::Deserialize(GSSIPPubSubType& type, unsigned char* data, int length,
                                       GSSIP* out) {
    if (length < 0) {
        return false;
    }
    BorrowedPayload payload(data, static_cast<std::uint32_t>(length));
    return type.deserialize(&payload, out);
}
