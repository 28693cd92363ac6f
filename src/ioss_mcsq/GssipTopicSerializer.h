/** Between GSSIP messages and their bytes on a queue: the complete CDR form, from its encapsulation
 *  header on.
 */
#pragma once

#include <cstddef>
#include <vector>

#include "aspn2_msgs/GSSIPPubSubTypes.h"

/** Safe from any thread. */
class GssipTopicSerializer {
public:
    /** What a record holds besides its data [bytes]. */
    static constexpr std::size_t RECORD_OVERHEAD = 56;

    /** RECORD_OVERHEAD plus the data's length [bytes]. */
    static std::size_t GetSerializedSize(const aspn2_msgs::idl::GSSIP* message);

    /** Replaces `out` with the message's bytes; false, and `out` as it was, when that fails. */
    static bool Serialize(const aspn2_msgs::idl::GSSIP& message, std::vector<unsigned char>& out);

    /** Reads a message from the first of `length` bytes, which stay the caller's; bytes behind it
     *  are left alone. False for what is no such message; `out` may then hold some of its fields.
     */
    static bool Deserialize(unsigned char* data, int length, aspn2_msgs::idl::GSSIP* out);

    /** The same by a type support that is kept, which saves the making of one for each message. */
    static bool Deserialize(aspn2_msgs::idl::GSSIPPubSubType& type, unsigned char* data, int length,
                            aspn2_msgs::idl::GSSIP* out);
};
