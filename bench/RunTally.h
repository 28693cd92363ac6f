/** What a run of the bench has to show: what went in, what came out, what got lost. */
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "bench/Receiver.h"

namespace bench {

/** Counts the reports of the bus, and holds them against the cycles that the receiver has sent.
 *
 *  A cycle owes one report of each kind that the server makes of the receiver's messages. Cycles
 *  before the first status report don't count: the server was still starting. One thread at a
 *  time.
 */
class RunTally {
public:
    /** Counts a line of the bus; what is no report is passed over. */
    void take(const nlohmann::json& line);

    /** Reports owed for the cycles of `sent` and not seen. */
    std::size_t missing(const Receiver::Tally& sent) const;
    /** Nothing is missing, and nothing was dropped on the way. */
    bool complete(const Receiver::Tally& sent) const;
    /** Lines for a person. */
    std::vector<std::string> summary(const Receiver::Tally& sent) const;

private:
    std::size_t owed(const Receiver::Tally& sent) const;
    std::size_t missingOf(const std::string& report, const Receiver::Tally& sent) const;
    std::vector<double> unreported(const Receiver::Tally& sent) const;
    std::uint64_t dropped() const;

    std::map<std::string, std::size_t> m_reports;
    std::map<std::string, std::uint64_t> m_dropped;  ///< by the bus, as each report says
    std::set<double> m_statusTimes;                  ///< [s] receiver time of the status reports
};

}  // namespace bench
