#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "receiver/GssipMessage.h"

/** Message 8504, the receiver's position and channel status. */
class Tyrn_8504_Msg : public GssipMessage {
public:
    struct packed_msg8504_t : gssip::DataWords<200> {};

    /** One receiver channel, as the receiver sends it. */
    struct msg_8504_status_type {
        std::uint8_t bytes[8];

        constexpr unsigned channelByte() const { return bytes[0]; }
        constexpr unsigned svNumber() const { return bytes[1] & 0x7FU; }
        constexpr bool inUse() const { return bytes[1] >> 7 != 0; }
        constexpr unsigned state() const { return bytes[2] & 0x0FU; }
        constexpr unsigned groupField() const { return (bytes[3] & 7U) << 1 | bytes[2] >> 7; }
        constexpr unsigned plainTerm() const { return bytes[4] & 0x3FU; }
        constexpr unsigned doubledTerm() const { return (bytes[5] & 0x0FU) << 2 | bytes[4] >> 6; }
        constexpr unsigned modeNibble() const { return bytes[7] & 0x0FU; }
    };
    static constexpr std::size_t kChannels = 32;

    /** Without padding: read its members by value. */
    struct [[gnu::packed]] unpacked_msg8504_t {
        double timeOfValidity; /**< [s] */
        double timeOfDay;      /**< [s] */
        double extraDoubleA;
        double extraDoubleB;
        double extraDoubleC;
        double extraDoubleD;
        double extraDoubleE;
        float extraFloatA;
        float extraFloatB;
        float extraFloatC;
        float extraFloatD;
        float extraFloatE;
        float magneticVariation; /**< [rad] */
        std::uint16_t errorWordA;
        std::uint16_t errorWordB;
        std::uint16_t errorWordC; /**< [1/32] */
        std::uint16_t errorWordD; /**< [1/32] */

        std::uint8_t positionQuality : 4;
        std::uint8_t receiverFailure : 1;
        std::uint8_t positionInvalid : 1;
        std::uint8_t extraBitsA : 2;

        std::uint8_t modeBits : 2;
        std::uint8_t extraBitsB : 6;

        std::uint16_t extraWordA;
        std::uint8_t extraByteA;

        std::uint8_t extraBitsC : 1;
        std::uint8_t dateKnown : 1;               /**< the date digits count */
        std::uint8_t magneticVariationSource : 1; /**< 1 calculated, 0 local */
        std::uint8_t extraBitsD : 5;

        /** Decimal digits of the year and of the day of the year, the time quality amid them. */
        std::uint8_t yearUnits : 4;
        std::uint8_t yearTens : 4;
        std::uint8_t yearHundreds : 4;
        std::uint8_t timeQuality : 4;
        std::uint8_t yearThousands : 4;
        std::uint8_t dayOfYearUnits : 4;
        std::uint8_t dayOfYearTens : 4;
        std::uint8_t dayOfYearHundreds : 4;

        std::uint16_t precisionWordA; /**< [1/10] */
        std::uint16_t precisionWordB; /**< [1/10] */
        std::uint16_t precisionWordC; /**< [1/10] */
        std::uint8_t extraByteB;

        std::uint8_t extraBitsE : 1;
        std::uint8_t extraBitsF : 2;
        std::uint8_t statusBitsG : 2; /**< 3: none */
        std::uint8_t extraBitsH : 2;
        std::uint8_t extraBitsI : 1;

        std::uint8_t extraBitsJ : 3;
        std::uint8_t extraBitsK : 5;

        std::uint8_t extraByteC;

        std::uint8_t extraBitsL : 2;
        std::uint8_t extraBitsM : 1;
        std::uint8_t extraBitsN : 5;

        std::uint8_t extraByteD;
        float extraValueD;
        float positionError; /**< in the units that follow */

        std::uint8_t positionErrorUnits : 4;
        std::uint8_t extraBitsO : 4;

        std::uint8_t extraByteE;
        std::array<msg_8504_status_type, kChannels> channels;

        double timeOfValidityWhole;    /**< [s] */
        double timeOfValidityFraction; /**< [s] */
    };

    Tyrn_8504_Msg() { adopt(m_buffer, 8504, gssip::kTypedFlags); }

    /** As `OkSetContent`. */
    bool ok_set_8504_gpsip(unsigned char const* frame, unsigned int bytes) {
        return takeFrame(frame, bytes);
    }

    void unpack_8504() { unpack_8504(m_buffer.data, m_unpacked); }
    static void unpack_8504(packed_msg8504_t const& packed, unpacked_msg8504_t& unpacked);

    /** Writes the record back into the data. Bits that no field of the record stands for stay as
     * they were, and the two parts of the time of validity go nowhere. */
    void pack_8504() { pack_8504(m_unpacked, m_buffer.data); }
    static void pack_8504(unpacked_msg8504_t const& unpacked, packed_msg8504_t& packed);

    /** Takes over the frame and the record of another message. */
    void copy_all(Tyrn_8504_Msg const& other);

    /** Whether the frame, unpacked or not, reports a failure of the receiver. */
    bool recieverFailureDetected() const;

    /** The record; all zero until unpacked. */
    unpacked_msg8504_t const& unpacked() const { return m_unpacked; }
    unpacked_msg8504_t& unpacked() { return m_unpacked; }

private:
    GssipFrame<packed_msg8504_t> m_buffer{};
    unpacked_msg8504_t m_unpacked{};
};

static_assert(sizeof(Tyrn_8504_Msg::msg_8504_status_type) == 8);
static_assert(sizeof(Tyrn_8504_Msg::unpacked_msg8504_t) == 392);
static_assert(offsetof(Tyrn_8504_Msg::unpacked_msg8504_t, channels) == 120);
