#include "receiver/Tyrn5042Msg.h"

#include "receiver/FieldTable.h"

namespace {

using Record = Tyrn_5042_Msg::unpacked_msg5042_t;

// One field a line.
// clang-format off
constexpr auto kFields = wire::table<Tyrn_5042_Msg::packed_msg5042_t>(
    WIRE_FIELD(0x00, PdpDouble, timeOfValidity), WIRE_BITS(0x60, 1, 1, missionFlag),
    WIRE_FIELD(0x74, U16, missionDurationRemaining));
// clang-format on

}  // namespace

void Tyrn_5042_Msg::unpack_5042(packed_msg5042_t const& packed, unpacked_msg5042_t& unpacked) {
    kFields.unpack(packed, unpacked);
}
