#include "receiver/Tyrn8040Msg.h"

#include <algorithm>

#include "receiver/FieldTable.h"

namespace {

using Record = Tyrn_8040_Msg::unpacked_msg8040_t;

// One field a line.
// clang-format off
constexpr auto kFields = wire::table<Tyrn_8040_Msg::packed_msg8040_t>(
    WIRE_FIELD(0x00, PdpDouble, timeOfValidity), WIRE_FIELD(0x08, U16, status2Word),
    WIRE_BYTES(0x0A, carried));
// clang-format on

}  // namespace

bool Tyrn_8040_Msg::ok_set_8040_gpsip(unsigned char const* frame, unsigned int bytes) {
    if (frame == nullptr || bytes < gssip::kMinDataFrameBytes ||
        gssip::dataWordsOf(bytes) > m_wdcnt) {
        return false;
    }
    std::memcpy(m_frame, frame, std::min<std::size_t>(bytes, sizeof m_buffer));
    return m_frame[gssip::kIdIndex] == m_msgId;
}

void Tyrn_8040_Msg::unpack_8040(packed_msg8040_t const& packed, unpacked_msg8040_t& unpacked) {
    kFields.unpack(packed, unpacked);
}
