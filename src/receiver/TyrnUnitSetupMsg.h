#pragma once

#include <cstdint>

#include "receiver/GssipMessage.h"

enum class e5330_FrequencyType : std::uint32_t { Type0, Type1, Type2 };
enum class e5330_ElevHoldType : std::uint32_t { Type0, Type1 };
enum class e5330_MagVarType : std::uint32_t { Calculated, Local };

/** Units of a magnetic variation, by the half circle that limits it. */
enum class e5330_MagVarUnits : std::uint32_t {
    Degrees,      /**< 180 */
    OtherDegrees, /**< 180 */
    FinerMils,    /**< 3200 */
    CoarserMils   /**< 3150 */
};

/** Message 5330, a command that sets the receiver up. Each setter raises the bit that makes its
 *  field count; the others stay 0. A value that its enumeration doesn't name changes nothing. */
class TyrnUnitSetupMsg : public GssipMessage {
public:
    using packed_t = gssip::DataWords<100>;

    TyrnUnitSetupMsg() { adopt(m_buffer, 5330, gssip::kTypedFlags); }

    void setFrequencyType(e5330_FrequencyType type);
    void setElevationHoldType(e5330_ElevHoldType type);
    void setMagVarType(e5330_MagVarType type);

    /** `value` in `units`, folded into half a circle to either side. A value that isn't finite
     *  changes nothing. */
    void setMagVariation(double value, e5330_MagVarUnits units);

private:
    GssipFrame<packed_t> m_buffer{};
};
