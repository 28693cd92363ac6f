/** Recorded NMEA 0183 logs as the states of a receiver. */
#pragma once

#include <cstddef>
#include <iosfwd>
#include <optional>
#include <string_view>
#include <vector>

#include "bench/NmeaSentence.h"
#include "bench/ReceiverState.h"

namespace bench {

/** Turns a log into one state for each cycle: the burst of sentences up to the next one of the
 *  kind that opened the log.
 *
 *  RMC and GGA of the talkers GP, GL and GN give date, time, validity, quality and magnetic
 *  variation, GSA and GSV dilution and satellites. Other sentences are passed over. What can't be
 *  read is counted and left out, whatever the line holds. Two-digit years are of this century.
 *  Time of validity counts the cycles. One thread at a time.
 */
class NmeaReader {
public:
    struct Counts {
        std::size_t lines = 0;              ///< blank ones aside
        std::size_t unreadable = 0;         ///< no sentence, or one of ours with a senseless field
        std::size_t passedOver = 0;         ///< sentences that are not ours
        std::size_t satellitesLeftOut = 0;  ///< with numbers that no channel entry holds
    };

    /** Takes one line, with or without its end. When it begins a new cycle: the state of the cycle
     *  before. */
    std::optional<ReceiverState> take(std::string_view line);
    /** The state of the last cycle, when anything has been read for it. */
    std::optional<ReceiverState> finish();
    const Counts& counts() const { return m_counts; }

private:
    struct InView {
        unsigned number = 0;
        std::optional<int> elevation;  ///< [deg]
        std::optional<int> azimuth;    ///< [deg]
        unsigned signal = 0;           ///< [dB-Hz], 0 when nothing is heard
    };
    /** What the sentences of one cycle have told so far. */
    struct Cycle {
        bool began = false;
        std::optional<bool> valid;        ///< told by RMC
        std::optional<unsigned> quality;  ///< told by GGA
        std::optional<std::chrono::milliseconds> time;
        std::optional<std::chrono::year_month_day> date;
        std::optional<double> variation;  ///< [deg] east
        double horizontalDilution = 0;
        double verticalDilution = 0;
        std::vector<InView> inView;
        std::vector<unsigned> used;
    };
    using Read = bool (NmeaReader::*)(const NmeaSentence&);

    static Read readerOf(std::string_view address);
    bool opensCycle(const NmeaSentence& sentence, Read read) const;
    bool readRmc(const NmeaSentence& sentence);
    bool readGga(const NmeaSentence& sentence);
    bool readGsa(const NmeaSentence& sentence);
    bool readGsv(const NmeaSentence& sentence);
    bool fitsEntry(unsigned number);
    void addInView(const InView& satellite);
    ReceiverState stateOf(const Cycle& cycle);

    Cycle m_cycle;
    std::string m_head;  ///< address of the sentence that opened the log
    std::size_t m_cycles = 0;
    Counts m_counts;
};

/** All states of a log. */
struct NmeaLog {
    std::vector<ReceiverState> states;
    NmeaReader::Counts counts;
};
NmeaLog readNmea(std::istream& input);

}  // namespace bench
