#include "bench/Nmea.h"

#include <algorithm>
#include <istream>
#include <numbers>
#include <utility>

namespace bench {
namespace {

constexpr unsigned greatestSatellite = 127;
constexpr unsigned greatestSignal = 63;
constexpr double rangeError = 5;      // [m] of one satellite, for the error of a position
constexpr double clockAtStart = 100;  // [s]

}  // namespace

std::optional<ReceiverState> NmeaReader::take(std::string_view line) {
    if (line.find_first_not_of("\r\n") == std::string_view::npos) {
        return std::nullopt;
    }
    ++m_counts.lines;
    const std::optional<NmeaSentence> sentence = splitSentence(line);
    if (!sentence) {
        ++m_counts.unreadable;
        return std::nullopt;
    }
    const Read read = readerOf(sentence->address);
    if (read == nullptr) {
        ++m_counts.passedOver;
        return std::nullopt;
    }
    std::optional<ReceiverState> state;
    if (opensCycle(*sentence, read)) {
        state = finish();
    }
    if (!(this->*read)(*sentence)) {
        ++m_counts.unreadable;
        return state;
    }
    m_cycle.began = true;
    if (m_head.empty()) {
        m_head = sentence->address;
    }
    return state;
}

std::optional<ReceiverState> NmeaReader::finish() {
    const Cycle cycle = std::exchange(m_cycle, {});
    return cycle.began ? std::optional(stateOf(cycle)) : std::nullopt;
}

NmeaReader::Read NmeaReader::readerOf(std::string_view address) {
    static constexpr std::pair<std::string_view, Read> kinds[] = {{"RMC", &NmeaReader::readRmc},
                                                                  {"GGA", &NmeaReader::readGga},
                                                                  {"GSA", &NmeaReader::readGsa},
                                                                  {"GSV", &NmeaReader::readGsv}};
    const std::string_view talker = address.substr(0, 2);
    if (address.size() != 5 || (talker != "GP" && talker != "GL" && talker != "GN")) {
        return nullptr;
    }
    const auto* kind =
        std::ranges::find(kinds, address.substr(2), &std::pair<std::string_view, Read>::first);
    return kind == std::end(kinds) ? nullptr : kind->second;
}

/** RMC and GGA come once in a cycle. So does the head of the log; when it is one of those that may
 *  come in several sentences, only the first after an RMC or GGA counts. */
bool NmeaReader::opensCycle(const NmeaSentence& sentence, Read read) const {
    const bool rmcSeen = m_cycle.valid.has_value();
    const bool ggaSeen = m_cycle.quality.has_value();
    if ((read == &NmeaReader::readRmc && rmcSeen) || (read == &NmeaReader::readGga && ggaSeen)) {
        return true;
    }
    const bool laterPart = read == &NmeaReader::readGsv && sentence.field(1) != "1";
    return sentence.address == m_head && (rmcSeen || ggaSeen) && !laterPart;
}

bool NmeaReader::readRmc(const NmeaSentence& sentence) {
    NmeaFields fields(sentence);
    const auto time = fields.time(0);
    const auto status = fields.letter(1, "AV");
    const auto date = fields.date(8);
    const auto variation = fields.number<double>(9, 0, 180);
    const auto side = fields.letter(10, "EW");
    if (!fields.sound()) {
        return false;
    }
    m_cycle.valid = status == 'A';
    m_cycle.time = time ? time : m_cycle.time;
    m_cycle.date = date;
    if (variation && side) {
        m_cycle.variation = side == 'W' ? -*variation : *variation;
    }
    return true;
}

bool NmeaReader::readGga(const NmeaSentence& sentence) {
    NmeaFields fields(sentence);
    const auto time = fields.time(0);
    const auto quality = fields.number<unsigned>(5, 0, 8);
    const auto dilution = fields.number<double>(7, 0, 1000);
    if (!fields.sound()) {
        return false;
    }
    m_cycle.quality = quality.value_or(0);
    m_cycle.time = time ? time : m_cycle.time;
    m_cycle.horizontalDilution = dilution.value_or(m_cycle.horizontalDilution);
    return true;
}

bool NmeaReader::readGsa(const NmeaSentence& sentence) {
    NmeaFields fields(sentence);
    std::vector<unsigned> used;
    for (std::size_t index = 2; index < 14; ++index) {
        if (const auto number = fields.number<unsigned>(index, 0, 999)) {
            used.push_back(*number);
        }
    }
    const auto horizontal = fields.number<double>(15, 0, 1000);
    const auto vertical = fields.number<double>(16, 0, 1000);
    if (!fields.sound()) {
        return false;
    }
    std::erase_if(used, [this](unsigned number) { return !fitsEntry(number); });
    m_cycle.used.insert(m_cycle.used.end(), used.begin(), used.end());
    m_cycle.horizontalDilution = horizontal.value_or(m_cycle.horizontalDilution);
    m_cycle.verticalDilution = vertical.value_or(m_cycle.verticalDilution);
    return true;
}

bool NmeaReader::readGsv(const NmeaSentence& sentence) {
    NmeaFields fields(sentence);
    const auto parts = fields.number<unsigned>(0, 1, 99);
    fields.number<unsigned>(1, 1, parts.value_or(1));
    fields.number<unsigned>(2, 0, 999);
    std::vector<InView> inView;
    for (std::size_t index = 3; index + 3 < sentence.fields.size() && index < 19; index += 4) {
        const auto number = fields.number<unsigned>(index, 0, 999);
        const auto elevation = fields.number<int>(index + 1, -90, 90);
        const auto azimuth = fields.number<int>(index + 2, 0, 360);
        const auto signal = fields.number<unsigned>(index + 3, 0, 99);
        if (number) {
            inView.push_back({*number, elevation, azimuth, signal.value_or(0)});
        }
    }
    if (!fields.sound()) {
        return false;
    }
    for (const InView& satellite : inView) {
        if (fitsEntry(satellite.number)) {
            addInView(satellite);
        }
    }
    return true;
}

bool NmeaReader::fitsEntry(unsigned number) {
    const bool fits = number >= 1 && number <= greatestSatellite;
    m_counts.satellitesLeftOut += fits ? 0 : 1;
    return fits;
}

/** A receiver of several signals tells a satellite once for each: the strongest counts. */
void NmeaReader::addInView(const InView& satellite) {
    const auto known = std::ranges::find(m_cycle.inView, satellite.number, &InView::number);
    if (known == m_cycle.inView.end()) {
        m_cycle.inView.push_back(satellite);
    } else {
        known->signal = std::max(known->signal, satellite.signal);
    }
}

ReceiverState NmeaReader::stateOf(const Cycle& cycle) {
    ReceiverState state;
    state.timeOfValidity = clockAtStart + static_cast<double>(m_cycles++);
    state.date = cycle.date;
    state.timeOfDay = cycle.time;
    state.positionValid = (cycle.valid || cycle.quality) && cycle.valid.value_or(true) &&
                          cycle.quality.value_or(1) != 0;
    state.positionQuality = cycle.quality.value_or(state.positionValid ? 1 : 0);
    state.magneticVariation = cycle.variation.value_or(0);
    state.precision.east = state.precision.north = cycle.horizontalDilution / std::numbers::sqrt2;
    state.precision.up = cycle.verticalDilution;
    state.precision.position = cycle.horizontalDilution * rangeError;
    for (const InView& satellite : cycle.inView) {
        const bool used = std::ranges::count(cycle.used, satellite.number) != 0;
        Channel channel;
        channel.number = satellite.number;
        channel.inUse = used;
        channel.signal = std::min(satellite.signal, greatestSignal);
        channel.state = used                   ? ChannelState::TrackingData
                        : satellite.signal > 0 ? ChannelState::TrackingCode
                                               : ChannelState::Searching;
        state.channels.push_back(channel);
        if (satellite.azimuth && satellite.elevation) {
            state.satellites.push_back(
                {satellite.number, *satellite.azimuth % 360, *satellite.elevation, true, used});
        }
    }
    // The messages have room for twelve: those in use come first.
    std::stable_partition(state.satellites.begin(), state.satellites.end(),
                          [](const Satellite& each) { return each.flagged; });
    std::stable_partition(state.channels.begin(), state.channels.end(),
                          [](const Channel& each) { return each.inUse; });
    return state;
}

NmeaLog readNmea(std::istream& input) {
    NmeaLog log;
    NmeaReader reader;
    for (std::string line; std::getline(input, line);) {
        if (auto state = reader.take(line)) {
            log.states.push_back(std::move(*state));
        }
    }
    if (auto state = reader.finish()) {
        log.states.push_back(std::move(*state));
    }
    log.counts = reader.counts();
    return log;
}

}  // namespace bench
