#include "receiver/TyrnUnitSetupMsg.h"

#include <array>
#include <cmath>

#include "receiver/FieldTable.h"
#include "utilities/AngleUtilities.h"

namespace {

using ElevationHoldSelected = wire::Slot<0x08, wire::Bits<0, 1>>;
using FrequencySelected = wire::Slot<0x08, wire::Bits<2, 1>>;
using MagVarTypeSelected = wire::Slot<0x08, wire::Bits<6, 1>>;
using MagVarType = wire::Slot<0x17, wire::Bits<0, 4>>;
using MagVariationSelected = wire::Slot<0x18, wire::Bits<0, 1>>;
using FrequencyType = wire::Slot<0x2A, wire::Bits<0, 4>>;
using ElevationHoldType = wire::Slot<0x2B, wire::Bits<4, 1>>;
using MagVariation = wire::Slot<0x30, wire::CapsFloat>;
using MagVarUnits = wire::Slot<0x34, wire::Bits<0, 4>>;

static_assert(
    wire::areSound<sizeof(TyrnUnitSetupMsg::packed_t), ElevationHoldSelected, FrequencySelected,
                   MagVarTypeSelected, MagVarType, MagVariationSelected, FrequencyType,
                   ElevationHoldType, MagVariation, MagVarUnits>());

/** Writes `code` and the bit that selects it, unless it is beyond `last`. */
template <typename Slot, typename Selected, typename Code>
void setCode(unsigned char* data, Code code, Code last) {
    if (code > last) {
        return;
    }
    Slot::write(data, static_cast<std::uint8_t>(code));
    Selected::write(data, 1);
}

/** Half a circle by units. */
constexpr std::array<double, 4> kMagVarLimits{180.0, 180.0, 3200.0, 3150.0};

}  // namespace

void TyrnUnitSetupMsg::setFrequencyType(e5330_FrequencyType type) {
    setCode<FrequencyType, FrequencySelected>(m_buffer.data.bytes(), type,
                                              e5330_FrequencyType::Type2);
}

void TyrnUnitSetupMsg::setElevationHoldType(e5330_ElevHoldType type) {
    setCode<ElevationHoldType, ElevationHoldSelected>(m_buffer.data.bytes(), type,
                                                      e5330_ElevHoldType::Type1);
}

void TyrnUnitSetupMsg::setMagVarType(e5330_MagVarType type) {
    setCode<MagVarType, MagVarTypeSelected>(m_buffer.data.bytes(), type, e5330_MagVarType::Local);
}

void TyrnUnitSetupMsg::setMagVariation(double value, e5330_MagVarUnits units) {
    const auto code = static_cast<std::uint32_t>(units);
    if (code >= kMagVarLimits.size() || !std::isfinite(value)) {
        return;
    }
    const double limit = kMagVarLimits[code];
    const double folded = AngleUtility::NormalizeValue(value, -limit, limit);
    unsigned char* const data = m_buffer.data.bytes();
    MagVariationSelected::write(data, 1);
    MagVarUnits::write(data, static_cast<std::uint8_t>(code));
    MagVariation::write(data, static_cast<float>(folded));
}
