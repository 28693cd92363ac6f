/** What the configuration says of the DDS domain, and the participant's attributes made of it. */
#pragma once

#include <fastrtps/attributes/ParticipantAttributes.h>

#include <cstdint>
#include <optional>
#include <string>

#include "face/FACE_Common.h"

namespace FACE::TSS {

struct Domain_Settings {
    unsigned long long domainId = 0;
    std::int32_t historyDepth = 0;  ///< [samples] of every reader and writer
    bool useBestEffort = false;
    bool backFillHistory = false;  ///< readers ask for samples sent before they joined
    std::string transport;
    std::string tcpAddress;
    std::uint16_t tcpPort = 0;
};

/** Reads all of them from an open container, so that each one missing is named on the console;
 *  `rc` becomes INVALID_CONFIG if any is, and stays as it was if none is.
 */
Domain_Settings readDomainSettings(Configuration& config, int handle, RETURN_CODE_TYPE::Value& rc);

/** The attributes of a participant called `name`; empty, with the reason on standard error, when
 *  none can be made of these settings or when it could not talk: a domain whose ports don't exist,
 *  a TCP port of 0 or that is taken, a TCP peer without an address. A "UseTransport" of another
 * name than the four gives no transport. An unreadable address of a TCP server is no failure: it is
 * then reached at its own addresses alone.
 */
std::optional<eprosima::fastrtps::ParticipantAttributes> participantAttributes(
    const std::string& name, const Domain_Settings& settings);

}  // namespace FACE::TSS
