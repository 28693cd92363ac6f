#pragma once

#include <cstdint>

#include "receiver/GssipMessage.h"

/** Message 5042, the mission duration remaining. */
class Tyrn_5042_Msg : public GssipMessage {
public:
    struct packed_msg5042_t : gssip::DataWords<100> {};

    /** Without padding: read its members by value. */
    struct [[gnu::packed]] unpacked_msg5042_t {
        double timeOfValidity;    /**< [s] */
        std::uint8_t missionFlag; /**< 0 or 1 */
        std::uint16_t missionDurationRemaining;
    };

    Tyrn_5042_Msg() { adopt(m_buffer, 5042, gssip::kTypedFlags); }

    /** As `OkSetContent`. */
    bool ok_set_5042_gpsip(unsigned char const* frame, unsigned int bytes) {
        return takeFrame(frame, bytes);
    }

    void unpack_5042() { unpack_5042(m_buffer.data, m_unpacked); }
    static void unpack_5042(packed_msg5042_t const& packed, unpacked_msg5042_t& unpacked);

    /** The record; all zero until unpacked. */
    unpacked_msg5042_t const& unpacked() const { return m_unpacked; }

private:
    GssipFrame<packed_msg5042_t> m_buffer{};
    unpacked_msg5042_t m_unpacked{};
};

static_assert(sizeof(Tyrn_5042_Msg::unpacked_msg5042_t) == 11);
