#include "receiver/Tyrn5040Msg.h"

#include "receiver/FieldTable.h"

namespace {

using Record = Tyrn_5040_Msg::unpacked_msg5040_t;

// One field a line.
// clang-format off
constexpr auto kFields = wire::table<Tyrn_5040_Msg::packed_msg5040_t>(
    WIRE_FIELD(0x00, PdpDouble, timeOfValidity), WIRE_FIELD(0x24, U16, dateWordA),
    WIRE_FIELD(0x26, U16, hours), WIRE_FIELD(0x28, U16, minutes), WIRE_FIELD(0x2A, U16, seconds),
    WIRE_FIELD(0x2C, U16, dateWordB), WIRE_FIELD(0x2E, U16, day), WIRE_FIELD(0x30, U16, month),
    WIRE_FIELD(0x32, U16, year), WIRE_BITS(0x42, 0, 4, northReference),
    WIRE_FIELD(0x54, U16, timeStatus), WIRE_FIELD(0x58, CapsFloat, extraValueA),
    WIRE_BITS(0x5C, 0, 4, extraUnitsA), WIRE_BITS(0x62, 0, 4, operatingMode),
    WIRE_FIELD(0x8E, U16, statusWordA), WIRE_FIELD(0x90, U16, statusWordB),
    WIRE_FIELD(0x92, S16, statusWordC), WIRE_FIELD(0x94, S16Hundredths, statusValueD),
    WIRE_FIELD(0x96, U16, statusWordE), WIRE_FIELD(0x98, U16, missionDurationWord),
    WIRE_BITS(0x9A, 0, 4, statusWordF), WIRE_FIELD(0x9C, CapsFloat, northReferenceCorrection),
    WIRE_BITS(0xA0, 0, 4, northReferenceCorrectionUnits), WIRE_FIELD(0x48, CapsFloat, extraValueB),
    WIRE_BITS(0x4C, 0, 4, extraUnitsB), WIRE_FIELD(0xA4, CapsFloat, extraValueC),
    WIRE_BITS(0xA8, 0, 4, extraUnitsC), WIRE_BITS(0x7A, 0, 1, extraFlag));
// clang-format on

}  // namespace

void Tyrn_5040_Msg::unpack_5040(packed_msg5040_t const& packed, unpacked_msg5040_t& unpacked) {
    kFields.unpack(packed, unpacked);
}
