#include "bench/RunTally.h"

#include <algorithm>
#include <iomanip>
#include <numeric>
#include <sstream>

namespace bench {
namespace {

constexpr const char* status = "GPS_RECEIVER_STATUS";
constexpr const char* cycleReports[] = {status, "GPS_RECEIVER_SATELLITE_HEALTH_STATUS",
                                        "GPS_RECEIVER_SATELLITE_HEALTH_STATUS_2"};
constexpr std::size_t timesShown = 5;

std::string row(const std::string& label, const std::string& value) {
    std::ostringstream line;
    line << "  " << std::left << std::setw(40) << label << value;
    return line.str();
}

}  // namespace

void RunTally::take(const nlohmann::json& line) {
    const auto report = line.find("report");
    if (report == line.end() || !report->is_string()) {
        return;
    }
    const auto name = report->get<std::string>();
    ++m_reports[name];
    if (const auto dropped = line.find("dropped"); dropped != line.end()) {
        m_dropped[name] = dropped->is_number_integer() ? dropped->get<std::uint64_t>() : 0;
    }
    const auto time = nlohmann::json::json_pointer("/data/receiverTime");
    if (name == status && line.contains(time) && line[time].is_number()) {
        m_statusTimes.insert(line[time].get<double>());
    }
}

std::size_t RunTally::owed(const Receiver::Tally& sent) const {
    if (m_statusTimes.empty()) {
        return sent.cycles.size();
    }
    const double first = *m_statusTimes.begin();
    return static_cast<std::size_t>(
        std::ranges::count_if(sent.cycles, [first](double time) { return time >= first; }));
}

std::size_t RunTally::missingOf(const std::string& report, const Receiver::Tally& sent) const {
    const auto seen = m_reports.find(report);
    const std::size_t count = seen == m_reports.end() ? 0 : seen->second;
    return report == status ? unreported(sent).size() : owed(sent) - std::min(owed(sent), count);
}

std::vector<double> RunTally::unreported(const Receiver::Tally& sent) const {
    std::vector<double> times;
    std::ranges::copy_if(sent.cycles, std::back_inserter(times), [this](double time) {
        return !m_statusTimes.contains(time) &&
               (m_statusTimes.empty() || time > *m_statusTimes.begin());
    });
    return times;
}

std::size_t RunTally::missing(const Receiver::Tally& sent) const {
    std::size_t sum = 0;
    for (const char* report : cycleReports) {
        sum += missingOf(report, sent);
    }
    return sum;
}

std::uint64_t RunTally::dropped() const {
    return std::accumulate(m_dropped.begin(), m_dropped.end(), std::uint64_t{0},
                           [](std::uint64_t sum, const auto& each) { return sum + each.second; });
}

bool RunTally::complete(const Receiver::Tally& sent) const {
    return missing(sent) == 0 && dropped() == 0 && sent.framesLost == 0 && sent.unreadable == 0;
}

std::vector<std::string> RunTally::summary(const Receiver::Tally& sent) const {
    std::vector<std::string> lines{
        row("cycles of the receiver", std::to_string(sent.cycles.size())),
        row("frames to the server",
            std::to_string(sent.frames) + ", " + std::to_string(sent.framesLost) + " lost"),
        row("commands from the server", std::to_string(sent.commands) + ", " +
                                            std::to_string(sent.unreadable) + " unreadable")};
    for (const char* report : cycleReports) {
        const std::size_t missed = missingOf(report, sent);
        const std::size_t due = owed(sent);
        lines.push_back(row(
            report, std::to_string(due - std::min(due, missed)) + " of " + std::to_string(due)));
    }
    for (const auto& [report, count] : m_reports) {
        if (std::ranges::find(cycleReports, report) == std::end(cycleReports)) {
            lines.push_back(row(report, std::to_string(count)));
        }
    }
    if (dropped() != 0) {
        lines.push_back(row("dropped by the bus", std::to_string(dropped())));
    }
    const std::vector<double> times = unreported(sent);
    std::ostringstream lost;
    for (std::size_t index = 0; index < std::min(times.size(), timesShown); ++index) {
        lost << (index == 0 ? "" : ", ") << times[index];
    }
    if (!times.empty()) {
        lines.push_back(row("no status of receiver time [s]",
                            lost.str() + (times.size() > timesShown ? " and more" : "")));
    }
    return lines;
}

}  // namespace bench
