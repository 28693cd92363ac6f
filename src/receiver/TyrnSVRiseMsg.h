#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "receiver/GssipMessage.h"

/** Messages 5047 and 5048, which together list up to twelve satellites. */
class Tyrn_SVRise_Msg : public GssipMessage {
public:
    struct packed_SVRise_msg_t : gssip::DataWords<100> {};

    /** One satellite. Without padding: read its members by value. */
    struct [[gnu::packed]] unpacked_svRise_t {
        std::uint16_t svNumber;     /**< 0: an empty slot */
        std::uint16_t healthWord;   /**< bit 0 is read */
        std::uint16_t azimuth;      /**< [deg] */
        std::int16_t elevation;     /**< [deg] */
        std::uint16_t slotFlagWord; /**< bit 0 is read */
        std::array<std::uint8_t, 22> carried;
    };

    struct [[gnu::packed]] unpacked_SVRise_msg_t {
        double timeOfValidity; /**< [s] */
        std::array<unpacked_svRise_t, 6> slots;
    };

    /** `id` is 5047 or 5048. */
    explicit Tyrn_SVRise_Msg(unsigned short id) { adopt(m_buffer, id, gssip::kPlainFlags); }

    /** As `OkSetContent`. */
    bool ok_set_SVRiseMsg_gpsip(unsigned char const* frame, unsigned int bytes) {
        return takeFrame(frame, bytes);
    }

    void unpack_SVRiseMsg() { unpack_SVRiseMsg(m_buffer.data, m_unpacked); }
    static void unpack_SVRiseMsg(packed_SVRise_msg_t const& packed,
                                 unpacked_SVRise_msg_t& unpacked);

    /** The record; all zero until unpacked. */
    unpacked_SVRise_msg_t const& unpacked() const { return m_unpacked; }

private:
    GssipFrame<packed_SVRise_msg_t> m_buffer{};
    unpacked_SVRise_msg_t m_unpacked{};
};

static_assert(sizeof(Tyrn_SVRise_Msg::unpacked_svRise_t) == 32);
static_assert(offsetof(Tyrn_SVRise_Msg::unpacked_svRise_t, carried) == 10);
static_assert(sizeof(Tyrn_SVRise_Msg::unpacked_SVRise_msg_t) == 200);
