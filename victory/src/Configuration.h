/** The two XML texts of a service, read. */
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <string>

namespace victory {

/** The reports, as indices into kDataItems and the periods. */
enum DataItem : std::size_t { STATUS, STATUS_2, HEALTH, HEALTH_2, DATA_ITEMS };

/** The names of the reports, on the bus and in the VCL. */
inline constexpr std::array<const char*, DATA_ITEMS> kDataItems = {
    "GPS_RECEIVER_STATUS", "GPS_RECEIVER_STATUS_2", "GPS_RECEIVER_SATELLITE_HEALTH_STATUS",
    "GPS_RECEIVER_SATELLITE_HEALTH_STATUS_2"};

struct ServiceConfiguration {
    std::string name;
    std::string endpoint; /**< absolute, not yet resolved */
};

/** Least time between two publications of each report; 0 publishes each record told. */
using Periods = std::array<std::chrono::milliseconds, DATA_ITEMS>;

/** Throws std::runtime_error with what is wrong and where. A null text is an empty one. */
ServiceConfiguration readServiceConfiguration(const char* xml);

/** Throws std::runtime_error with what is wrong and where. A null text is an empty one. */
Periods readVcl(const char* xml);

}  // namespace victory
