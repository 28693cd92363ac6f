#pragma once

#include <array>
#include <cstdint>

#include "receiver/GssipMessage.h"

/** Message 5044, a warning. */
class Tyrn_5044_Msg : public GssipMessage {
public:
    static constexpr std::size_t kTextLength = 32;

    struct packed_msg5044_t : gssip::DataWords<21> {};

    /** Without padding: read its members by value. */
    struct [[gnu::packed]] unpacked_msg5044_t {
        double timeOfValidity; /**< [s] */
        std::uint16_t warningNumber;
        std::array<char, kTextLength + 2> text; /**< always terminated: the last two are 0 */
    };

    Tyrn_5044_Msg() { adopt(m_buffer, 5044, gssip::kTypedFlags); }

    /** As `OkSetContent`. */
    bool ok_set_5044_gpsip(unsigned char const* frame, unsigned int bytes) {
        return takeFrame(frame, bytes);
    }

    void unpack_5044() { unpack_5044(m_buffer.data, m_unpacked); }
    static void unpack_5044(packed_msg5044_t const& packed, unpacked_msg5044_t& unpacked);

    /** This message is only received: packing does nothing. */
    void pack_5044() {}
    static void pack_5044(unpacked_msg5044_t const&, packed_msg5044_t&) {}

    /** The record; all zero until unpacked. */
    unpacked_msg5044_t const& unpacked() const { return m_unpacked; }

private:
    GssipFrame<packed_msg5044_t> m_buffer{};
    unpacked_msg5044_t m_unpacked{};
};

static_assert(sizeof(Tyrn_5044_Msg::unpacked_msg5044_t) == 44);
