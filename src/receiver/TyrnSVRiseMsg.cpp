#include "receiver/TyrnSVRiseMsg.h"

#include "receiver/FieldTable.h"

namespace {

using Record = Tyrn_SVRise_Msg::unpacked_SVRise_msg_t;

// One field a line.
// clang-format off
constexpr auto kFields = wire::table<Tyrn_SVRise_Msg::packed_SVRise_msg_t>(
    WIRE_FIELD(0x00, PdpDouble, timeOfValidity), WIRE_BYTES(0x08, slots));
// clang-format on

}  // namespace

void Tyrn_SVRise_Msg::unpack_SVRiseMsg(packed_SVRise_msg_t const& packed,
                                       unpacked_SVRise_msg_t& unpacked) {
    kFields.unpack(packed, unpacked);
}
