/** The records of victory.h as JSON: one list of fields a record.
 *
 *  A key is the field's name. Fields whose present word is 0 are absent; present words and reserved
 *  fields never show. `entries` is the number of array entries in use as the caller said (warnings
 *  are counted by their record, which other records' warnings may have joined); entries past the
 *  array are not read. Pure functions.
 */
#pragma once

#include "victory/src/Json.h"
#include "victory/victory.h"

namespace victory {

Json encode(const VgpscDateTime& date);
Json encode(const VgpscReceiverStatusData& record, unsigned entries);
Json encode(const VgpscReceiverStatus2Data& record, unsigned entries);
Json encode(const VgpscHealthStatusData& record, unsigned entries);
Json encode(const VgpscHealthStatus2Data& record, unsigned entries);
Json encode(const VgpscReceiverPorts& ports);
Json encode(const VgpscReceiverHotStartData& record);

}  // namespace victory
