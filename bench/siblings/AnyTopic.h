/** Sends and hears a connection's messages without knowing their type when it is built. */
#pragma once

#include <functional>
#include <string>

#include "tss/HC_TSS.h"

namespace bench {

/** A connection of a transport that is initialized and outlives it. Made and used on one thread. */
class AnyTopic {
public:
    using Support = eprosima::fastdds::dds::TopicDataType;
    /** Runs on a thread of the transport; the message ends with the call. Throws nothing. */
    using Take = std::function<void(void* message)>;

    /** Opens the connection of that name. Raises std::runtime_error. */
    AnyTopic(FACE::TSS::HC_TSS& transport, const std::string& name);

    /** Of the connection's type: makes, serializes and deletes its messages. */
    Support& support() const { return *m_connection.typeSupport; }

    /** Once. Raises std::runtime_error. */
    void hear(Take take);
    /** The writer keeps it for readers that ask for the past. False when it was not taken. Raises
     *  std::runtime_error. */
    bool send(void* message);

private:
    FACE::TSS::HC_TSS& m_transport;
    FACE::TSS::HC_TSS::Connection_t& m_connection;
};

}  // namespace bench
