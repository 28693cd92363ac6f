#include "receiver/Tyrn5402Msg.h"

#include "receiver/FieldTable.h"

namespace {

using IpZeroize = wire::Slot<0x08, wire::Bits<0, 1>>;
using CvZeroize = wire::Slot<0x08, wire::Bits<4, 1>>;
using CvZeroizeSelected = wire::Slot<0x0A, wire::Bits<0, 1>>;
using MissionDurationSelected = wire::Slot<0x0A, wire::Bits<3, 1>>;
using IpZeroizeSelected = wire::Slot<0x0A, wire::Bits<5, 1>>;
using MissionDuration = wire::Slot<0x0C, wire::U16>;

static_assert(
    wire::areSound<sizeof(Tyrn_5402_Msg::packed_t), IpZeroize, CvZeroize, CvZeroizeSelected,
                   MissionDurationSelected, IpZeroizeSelected, MissionDuration>());

}  // namespace

bool Tyrn_5402_Msg::setMissionDuration(unsigned int duration) {
    if (duration > kMaxMissionDuration) {
        return false;
    }
    MissionDuration::write(m_buffer.data.bytes(), static_cast<unsigned short>(duration));
    MissionDurationSelected::write(m_buffer.data.bytes(), 1);
    return true;
}

void Tyrn_5402_Msg::setCvZeroize() {
    CvZeroize::write(m_buffer.data.bytes(), 1);
    CvZeroizeSelected::write(m_buffer.data.bytes(), 1);
}

void Tyrn_5402_Msg::setIpZeroize() {
    IpZeroize::write(m_buffer.data.bytes(), 1);
    IpZeroizeSelected::write(m_buffer.data.bytes(), 1);
}
