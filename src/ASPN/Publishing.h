/** What the reporters share: how one record goes out, and the history that both start. */
#pragma once

#include <cstdint>
#include <exception>

#include "face/FACE_Common.h"
#include "tss/TypedTS.h"
#include "utilities/Console.h"

namespace ASPN2 {

/** Sends the record that `make` returns, on the caller's thread. An exception of either ends here;
 *  the text of a standard one goes to the error stream.
 *  @return whether the transport took it
 */
template <typename T, typename Make>
bool publish(FACE::TSS::TypedTS<T>& transport, std::int64_t connection, const Make& make) {
    FACE::RETURN_CODE_TYPE::Value rc = FACE::RETURN_CODE_TYPE::NO_ACTION;
    try {
        long long transaction = 0;
        transport.Send_Message(connection, -1, transaction, make(), rc);
    } catch (const std::exception& exception) {
        utilities::printErrorLine(exception.what());
        return false;
    } catch (...) {
        // The caller's own line says all that is known.
        return false;
    }
    return rc == FACE::RETURN_CODE_TYPE::NO_ERROR;
}

/** Gives the process's FaultHysteresis its limits and empties its history; ends the process when
 *  that fails.
 */
void startFaultHysteresis();

}  // namespace ASPN2
