#pragma once

#include "receiver/GssipMessage.h"

/** Message 5402, a command. Each setter raises the bit that makes its field count; the others stay
 *  0. */
class Tyrn_5402_Msg : public GssipMessage {
public:
    using packed_t = gssip::DataWords<67>;

    /** The longest mission duration that the receiver takes. */
    static constexpr unsigned kMaxMissionDuration = 84;

    Tyrn_5402_Msg() { adopt(m_buffer, 5402, gssip::kTypedFlags); }

    /** False, with nothing changed, above `kMaxMissionDuration`. */
    bool setMissionDuration(unsigned int duration);
    void setCvZeroize();
    void setIpZeroize();

private:
    GssipFrame<packed_t> m_buffer{};
};
