#include "receiver/Tyrn8504Msg.h"

#include "receiver/FieldTable.h"

namespace {

using Record = Tyrn_8504_Msg::unpacked_msg8504_t;

// Read beside the table too.
constexpr std::size_t kTimeOfValidity = 0x00;
constexpr std::size_t kStatusBits = 0x60;
using ReceiverFailure = wire::Slot<kStatusBits, wire::Bits<4, 1>>;

// One field a line.
// clang-format off
constexpr auto kFields = wire::table<Tyrn_8504_Msg::packed_msg8504_t>(
    WIRE_FIELD(kTimeOfValidity, PdpDouble, timeOfValidity), WIRE_FIELD(0x08, PdpDouble, timeOfDay),
    WIRE_FIELD(0x10, CapsDouble, extraDoubleA), WIRE_FIELD(0x16, CapsDouble, extraDoubleB),
    WIRE_FIELD(0x1C, PdpDouble, extraDoubleC), WIRE_FIELD(0x24, PdpDouble, extraDoubleD),
    WIRE_FIELD(0x2C, PdpDouble, extraDoubleE), WIRE_FIELD(0x34, PdpFloat, extraFloatA),
    WIRE_FIELD(0x38, PdpFloat, extraFloatB), WIRE_FIELD(0x3C, PdpFloat, extraFloatC),
    WIRE_FIELD(0x40, PdpFloat, extraFloatD), WIRE_FIELD(0x44, PdpFloat, extraFloatE),
    WIRE_FIELD(0x54, PdpFloat, magneticVariation), WIRE_FIELD(0x58, U16, errorWordA),
    WIRE_FIELD(0x5A, U16, errorWordB), WIRE_FIELD(0x5C, U16, errorWordC),
    WIRE_FIELD(0x5E, U16, errorWordD), WIRE_BITS(kStatusBits, 0, 4, positionQuality),
    WIRE_BITS(kStatusBits, 4, 1, receiverFailure), WIRE_BITS(kStatusBits, 5, 1, positionInvalid),
    WIRE_BITS(kStatusBits, 6, 2, extraBitsA), WIRE_BITS(0x61, 0, 2, modeBits),
    WIRE_BITS(0x61, 2, 6, extraBitsB), WIRE_FIELD(0x62, U16, extraWordA),
    WIRE_FIELD(0x64, Byte, extraByteA), WIRE_BITS(0x65, 0, 1, extraBitsC),
    WIRE_BITS(0x65, 1, 1, dateKnown), WIRE_BITS(0x65, 2, 1, magneticVariationSource),
    WIRE_BITS(0x65, 3, 5, extraBitsD), WIRE_BITS(0x66, 0, 4, yearUnits),
    WIRE_BITS(0x66, 4, 4, yearTens), WIRE_BITS(0x67, 0, 4, yearHundreds),
    WIRE_BITS(0x67, 4, 4, timeQuality), WIRE_BITS(0x68, 0, 4, yearThousands),
    WIRE_BITS(0x68, 4, 4, dayOfYearUnits), WIRE_BITS(0x69, 0, 4, dayOfYearTens),
    WIRE_BITS(0x69, 4, 4, dayOfYearHundreds), WIRE_FIELD(0x6E, U16, precisionWordA),
    WIRE_FIELD(0x70, U16, precisionWordB), WIRE_FIELD(0x72, U16, precisionWordC),
    WIRE_FIELD(0x74, Byte, extraByteB), WIRE_BITS(0x75, 0, 1, extraBitsE),
    WIRE_BITS(0x75, 1, 2, extraBitsF), WIRE_BITS(0x75, 3, 2, statusBitsG),
    WIRE_BITS(0x75, 5, 2, extraBitsH), WIRE_BITS(0x75, 7, 1, extraBitsI),
    WIRE_BITS(0x76, 0, 3, extraBitsJ), WIRE_BITS(0x76, 3, 5, extraBitsK),
    WIRE_FIELD(0x77, Byte, extraByteC), WIRE_BITS(0x78, 0, 2, extraBitsL),
    WIRE_BITS(0x78, 2, 1, extraBitsM), WIRE_BITS(0x78, 3, 5, extraBitsN),
    WIRE_FIELD(0x79, Byte, extraByteD), WIRE_FIELD(0x7A, CapsFloat, extraValueD),
    WIRE_FIELD(0x7E, CapsFloat, positionError), WIRE_BITS(0x82, 0, 4, positionErrorUnits),
    WIRE_BITS(0x82, 4, 4, extraBitsO), WIRE_FIELD(0x83, Byte, extraByteE),
    WIRE_BYTES(0x90, channels));
// clang-format on

}  // namespace

void Tyrn_8504_Msg::unpack_8504(packed_msg8504_t const& packed, unpacked_msg8504_t& unpacked) {
    kFields.unpack(packed, unpacked);
    const auto time = wire::PdpDouble::bits(packed.bytes() + kTimeOfValidity);
    const auto [whole, fraction] = cvt::splitPdpDouble(time);
    unpacked.timeOfValidityWhole = whole;
    unpacked.timeOfValidityFraction = fraction;
}

void Tyrn_8504_Msg::pack_8504(unpacked_msg8504_t const& unpacked, packed_msg8504_t& packed) {
    kFields.pack(unpacked, packed);
}

void Tyrn_8504_Msg::copy_all(Tyrn_8504_Msg const& other) {
    m_buffer = other.m_buffer;
    m_unpacked = other.m_unpacked;
}

bool Tyrn_8504_Msg::recieverFailureDetected() const {
    return ReceiverFailure::read(m_buffer.data.bytes()) != 0;
}
