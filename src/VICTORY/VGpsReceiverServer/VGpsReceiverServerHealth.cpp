#include <cstdint>
#include <numbers>

#include "VICTORY/VGpsReceiverServer/VGpsReceiverServer.h"
#include "utilities/Console.h"
#include "utilities/TimeUtilities.h"
#include "utilities/round.h"

using utilities::cutTo;
using utilities::printLine;

namespace {

/** `recordKind` of every health record. */
constexpr std::uint32_t healthRecordKind = 3;
/** A time quality from here on means that the date can't be relied on. */
constexpr unsigned uselessTimeQuality = 9;

void putTimeOfDay(double seconds, VgpscDateTime& date) {
    // The receiver may send any double: a cut is held to the integer's range.
    const auto hours = cutTo<std::int32_t>(seconds / 3600);
    double rest = seconds - hours * 3600.0;
    const auto minutes = cutTo<std::int32_t>(rest / 60);
    rest -= minutes * 60.0;
    const auto whole = cutTo<std::int32_t>(rest);
    date.hours = static_cast<std::uint32_t>(hours);
    date.minutes = static_cast<std::uint32_t>(minutes);
    date.seconds = static_cast<std::uint32_t>(whole);
    date.nanoseconds = static_cast<std::uint32_t>(iround((rest - whole) * 1000000000.0));
}

}  // namespace

void VGpsReceiverServer::encodeVictorySVHealth(const Tyrn_SVRise_Msg::unpacked_svRise_t& slot,
                                               VgpscSvHealthStatusData& health,
                                               VgpscSvHealthStatus2Data& place) {
    health.svNumber = slot.svNumber;
    health.health = (slot.healthWord & 1) != 0 ? 0 : 2;
    place.svNumber = slot.svNumber;
    // The receiver says 0 where it means a whole circle.
    place.azimuth =
        slot.azimuth == 0 ? 2 * std::numbers::pi : slot.azimuth * std::numbers::pi / 180;
    place.elevation = slot.elevation * std::numbers::pi / 180;
    place.slotFlag = slot.slotFlagWord & 1U;
}

bool VGpsReceiverServer::makeDateTime(const Tyrn_8504_Msg::unpacked_msg8504_t& msg8504,
                                      VgpscDateTime& date) {
    if (!msg8504.dateKnown || msg8504.timeQuality >= uselessTimeQuality) {
        return false;
    }
    const int year = msg8504.yearThousands * 1000 + msg8504.yearHundreds * 100 +
                     msg8504.yearTens * 10 + msg8504.yearUnits;
    const int dayOfYear =
        msg8504.dayOfYearHundreds * 100 + msg8504.dayOfYearTens * 10 + msg8504.dayOfYearUnits;
    int month = 0;
    int day = 0;
    TimeUtilities::ToMonthDay(year, dayOfYear, &month, &day);
    date = {};
    date.year = static_cast<std::uint32_t>(year);
    date.month = static_cast<std::uint32_t>(month);
    date.day = static_cast<std::uint32_t>(day);
    putTimeOfDay(msg8504.timeOfDay, date);
    return true;
}

void VGpsReceiverServer::encodeVictoryGpsSVHealthStatus(
    const Tyrn_SVRise_Msg::unpacked_SVRise_msg_t& rise1,
    const Tyrn_SVRise_Msg::unpacked_SVRise_msg_t& rise2,
    const Tyrn_8504_Msg::unpacked_msg8504_t& msg8504) {
    if (!m_quiet) {
        printLine(m_serverName, ": ", "encodeVictoryGpsSVHealthStatus",
                  ": Processing data and sending a Victory update.\n");
    }
    VgpscHealthStatusData health{};
    VgpscHealthStatus2Data places{};
    health.recordKind = healthRecordKind;
    unsigned count = 0;
    for (const auto* rise : {&rise1, &rise2}) {
        for (const auto& slot : rise->slots) {
            if (slot.svNumber != 0) {
                encodeVictorySVHealth(slot, health.svs[count], places.svs[count]);
                ++count;
            }
        }
    }
    health.svCount = count;
    places.svCount = count;

    const bool known = makeDateTime(msg8504, health.dateTime);
    places.dateTime = health.dateTime;
    const VgpscDateTime* const date = known ? &health.dateTime : nullptr;
    const ServiceHandle::Use service(m_vgpssService);
    if (service && !m_tellDisabled) {
        vgpssTellHealthStatusData(service.get(), count, health, date);
        vgpssTellHealthStatus2Data(service.get(), count, places, date);
    }
}
