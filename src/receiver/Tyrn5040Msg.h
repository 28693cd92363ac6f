#pragma once

#include <cstdint>

#include "receiver/GssipMessage.h"

/** Message 5040, the receiver's status: date and time, operating mode, status words. */
class Tyrn_5040_Msg : public GssipMessage {
public:
    struct packed_msg5040_t : gssip::DataWords<88> {};

    /** Without padding: read its members by value. */
    struct [[gnu::packed]] unpacked_msg5040_t {
        double timeOfValidity; /**< [s] */
        std::uint16_t dateWordA;
        std::uint16_t hours;
        std::uint16_t minutes;
        std::uint16_t seconds;
        std::uint16_t dateWordB;
        std::uint16_t day;
        std::uint16_t month;
        std::uint16_t year;           /**< since 2000 */
        std::uint16_t northReference; /**< 4 bits */
        std::uint16_t timeStatus;     /**< 0: date and time don't count */
        float extraValueA;
        std::uint16_t extraUnitsA;   /**< 4 bits */
        std::uint16_t operatingMode; /**< 4 bits */
        std::uint16_t statusWordA;
        std::uint16_t statusWordB;
        std::int16_t statusWordC;
        double statusValueD;
        std::uint16_t statusWordE;
        std::uint16_t missionDurationWord;           /**< not 0: the mission duration is valid */
        std::uint16_t statusWordF;                   /**< 4 bits */
        float northReferenceCorrection;              /**< in the units that follow */
        std::uint16_t northReferenceCorrectionUnits; /**< 4 bits */
        float extraValueB;
        std::uint8_t extraUnitsB; /**< 4 bits */
        float extraValueC;
        std::uint8_t extraUnitsC; /**< 4 bits */
        std::uint8_t extraFlag;   /**< 1 bit */
    };

    Tyrn_5040_Msg() { adopt(m_buffer, 5040, gssip::kTypedFlags); }

    /** As `OkSetContent`. */
    bool ok_set_5040_gpsip(unsigned char const* frame, unsigned int bytes) {
        return takeFrame(frame, bytes);
    }

    void unpack_5040() { unpack_5040(m_buffer.data, m_unpacked); }
    static void unpack_5040(packed_msg5040_t const& packed, unpacked_msg5040_t& unpacked);

    /** This message is only received: packing does nothing. */
    void pack_5040() {}
    static void pack_5040(unpacked_msg5040_t const&, packed_msg5040_t&) {}

    /** The record; all zero until unpacked. */
    unpacked_msg5040_t const& unpacked() const { return m_unpacked; }

private:
    GssipFrame<packed_msg5040_t> m_buffer{};
    unpacked_msg5040_t m_unpacked{};
};

static_assert(sizeof(Tyrn_5040_Msg::unpacked_msg5040_t) == 73);
