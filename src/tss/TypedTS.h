/** The typed face of a transport: one message type, sent and received on named connections. */
#pragma once

#include <cstdint>
#include <functional>

#include "face/FACE_Common.h"
#include "face/FACE_Sequence.h"

namespace FACE::TSS {

/** Where a sample came from. */
struct HEADER_TYPE {
    std::uint64_t source_uid = 0;        ///< entity id of the sample's writer, upper half 0
    std::uint64_t destination_uid = 0;   ///< entity id of the reader that received it, likewise
    std::uint64_t source_timestamp = 0;  ///< when it was written [ns since the epoch]
};

/** One quality-of-service policy: its name, and the name of the kind in force. */
struct QoS_Element {
    String name;
    String kind;
};

/** Takes one received sample. All references end with the call. `rc` comes as NO_ERROR, and nobody
 *  looks at it afterwards. Runs on a thread of the transport, or of a sender in the same process,
 *  and holds up further samples of its connection meanwhile; one call at a time for a connection,
 *  save that a callback which sends on its own connection is called again from within. Throws
 *  nothing: an exception here ends the process.
 */
template <typename T>
using Read_Callback = std::function<void(
    long long connection, long long transaction, const T& message, const HEADER_TYPE& header,
    const Sequence<QoS_Element>& qos, RETURN_CODE_TYPE::Value& rc)>;

template <typename T>
class TypedTS {
public:
    virtual ~TypedTS() = default;

    virtual void Receive_Message(long long connection, long long timeout, long long& transaction,
                                 T& message, HEADER_TYPE& header, Sequence<QoS_Element>& qos,
                                 RETURN_CODE_TYPE::Value& rc) = 0;
    virtual void Send_Message(long long connection, long long timeout, long long& transaction,
                              const T& message, RETURN_CODE_TYPE::Value& rc) = 0;
    virtual void Register_Sender(long long connection, RETURN_CODE_TYPE::Value& rc) = 0;
    virtual void Register_Callback(long long connection, Read_Callback<T> callback,
                                   RETURN_CODE_TYPE::Value& rc) = 0;
};

}  // namespace FACE::TSS
