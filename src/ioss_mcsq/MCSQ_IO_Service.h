/** Message queue devices, as an interface. */
#pragma once

#include <cstdint>

#include "face/FACE_Sequence.h"
#include "ioss/IO_Service.h"

namespace FACE::IOSS::MCSQ {

using IOSS::CONNECTION_STATUS_TYPE;
using IOSS::IO_Callback;
using IOSS::IO_PARAMETER_TRANSACTION_TYPE;
using IOSS::NOTIFICATION_EVENT_TYPE;

/** What a read fills. The length of `data` on the way in is the room for bytes, on the way out the
 *  bytes that were read.
 */
struct Read_Payload {
    std::int64_t time = 0;  ///< left as it is
    Sequence<unsigned char> data;
};

class IO_Service : public Basic_IO_Service<Read_Payload, Sequence<unsigned char>> {};

}  // namespace FACE::IOSS::MCSQ
