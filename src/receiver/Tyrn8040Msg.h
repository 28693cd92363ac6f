#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "receiver/GssipMessage.h"

/** Message 8040, the second status. The receiver may send it shorter than it is. */
class Tyrn_8040_Msg : public GssipMessage {
public:
    struct packed_msg8040_t : gssip::DataWords<25> {};

    /** Without padding: read its members by value. */
    struct [[gnu::packed]] unpacked_msg8040_t {
        double timeOfValidity; /**< [s] */
        std::uint16_t status2Word;
        std::array<std::uint8_t, 40> carried;
    };

    Tyrn_8040_Msg() { adopt(m_buffer, 8040, gssip::kTypedFlags); }

    /** Takes a frame of at most the full length; what it doesn't hold stays as it was. False
     * without a copy: null, too short for a frame or too long. False with the copy made: the frame
     * is that of another message. */
    bool ok_set_8040_gpsip(unsigned char const* frame, unsigned int bytes);

    void unpack_8040() { unpack_8040(m_buffer.data, m_unpacked); }
    static void unpack_8040(packed_msg8040_t const& packed, unpacked_msg8040_t& unpacked);

    /** This message is only received: packing does nothing. */
    void pack_8040() {}
    static void pack_8040(unpacked_msg8040_t const&, packed_msg8040_t&) {}

    /** The record; all zero until unpacked. */
    unpacked_msg8040_t const& unpacked() const { return m_unpacked; }

private:
    GssipFrame<packed_msg8040_t> m_buffer{};
    unpacked_msg8040_t m_unpacked{};
};

static_assert(sizeof(Tyrn_8040_Msg::unpacked_msg8040_t) == 50);
static_assert(offsetof(Tyrn_8040_Msg::unpacked_msg8040_t, status2Word) == 8);
