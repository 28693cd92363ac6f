#include "bench/ReceiverSettings.h"

#include <algorithm>
#include <array>

namespace bench {
namespace {

constexpr unsigned setupMessage = 5330;
constexpr std::size_t setupWords = 100;
constexpr unsigned durationMessage = 5402;
constexpr std::size_t durationWords = 67;
constexpr unsigned longestDuration = 84;
constexpr unsigned calculated = 0;
constexpr unsigned local = 1;
/** Half a circle in each unit of a magnetic variation. */
constexpr std::array halfCircles{180.0, 180.0, 3200.0, 3150.0};

}  // namespace

bool ReceiverSettings::obey(const FrameReader& message) {
    return obeySetup(message) || obeyDuration(message);
}

bool ReceiverSettings::obeySetup(const FrameReader& message) {
    if (message.id() != setupMessage || message.words() != setupWords) {
        return false;
    }
    const unsigned type = message.bits(0x17, 0, 4);
    const bool typeCounts = message.bits(0x08, 6, 1) != 0 && (type == calculated || type == local);
    if (typeCounts) {
        m_local = type == local;
    }
    const unsigned units = message.bits(0x34, 0, 4);
    const bool valueCounts = message.bits(0x18, 0, 1) != 0 && units < halfCircles.size();
    if (valueCounts) {
        m_variation = message.capsFloat(0x30) * 180 / halfCircles[units];
    }
    return typeCounts || valueCounts;
}

bool ReceiverSettings::obeyDuration(const FrameReader& message) {
    if (message.id() != durationMessage || message.words() != durationWords ||
        message.bits(0x0A, 3, 1) == 0 || message.u16(0x0C) > longestDuration) {
        return false;
    }
    m_duration = Duration{message.u16(0x0C), m_sourceDuration};
    return true;
}

void ReceiverSettings::apply(ReceiverState& state) {
    m_sourceDuration = state.missionDuration;
    if (m_local) {
        state.magneticVariation = m_variation;
        state.variationCalculated = false;
    }
    if (m_duration) {
        const unsigned passed =
            m_duration->source && m_sourceDuration
                ? *m_duration->source - std::min(*m_duration->source, *m_sourceDuration)
                : 0;
        state.missionDuration = m_duration->set - std::min(m_duration->set, passed);
    }
}

}  // namespace bench
