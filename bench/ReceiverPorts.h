/** The receiver's ends of the four queues between it and the server. */
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>

#include "aspn2_msgs/GSSIP.h"
#include "bench/Bytes.h"
#include "bench/Deadline.h"
#include "bench/Descriptor.h"
#include "bench/DeviceRoot.h"

namespace bench {

/** One queue device: a named pipe, held open for both directions, since an open for one direction
 *  waits for the other end. One thread at a time. */
class QueuePipe {
public:
    /** Raises std::system_error when the pipe can't be opened. */
    explicit QueuePipe(const std::filesystem::path& path);

    /** Writes all bytes, in one call when the pipe has room. False when the reader has made no
     *  room by the deadline; then part of them may have been written. */
    bool write(std::span<const std::uint8_t> bytes, Deadline deadline);
    /** What waits in the queue, at most 64 KiB; empty when nothing has come by the deadline. */
    Bytes read(Deadline deadline);

private:
    Descriptor m_fd;
};

/** Sends and takes GSSIP messages, each a CDR record of 56 bytes and its frame. One thread at a
 *  time, except that sending and receiving may go on in two threads. */
class ReceiverPorts {
public:
    enum class Channel { TyrHc, DtOut, HcTyr, DtIn };

    /** Opens the pipes that the root's I/O devices file names. */
    explicit ReceiverPorts(const DeviceRoot& root);

    /** The server id that the sent messages carry in bits 16 to 23 of their device id; 39, the
     *  receiver's own, unless set. */
    void setSourceServer(std::uint8_t id) { m_sourceServer = id; }
    /** Writes one frame as one record. False when the queue stays full until the deadline. */
    bool send(Channel channel, std::span<const std::uint8_t> frame,
              Deadline deadline = within(std::chrono::seconds(1)));
    /** Writes bytes that need not be a record. */
    bool sendRaw(Channel channel, std::span<const std::uint8_t> bytes,
                 Deadline deadline = within(std::chrono::seconds(1)));
    /** The record that `send` would write. */
    Bytes record(std::span<const std::uint8_t> frame);

    /** The next message that the server has sent. Empty when none has come by the deadline; a
     *  record that can't be read raises std::runtime_error and drops what waits. */
    std::optional<aspn2_msgs::idl::GSSIP> receive(Channel channel, Deadline deadline);

private:
    QueuePipe& pipe(Channel channel) { return m_pipes[static_cast<std::size_t>(channel)]; }

    std::array<QueuePipe, 4> m_pipes;
    std::array<Bytes, 4> m_waiting;  ///< read from the pipe and not yet taken
    std::int64_t m_sequence = 0;
    std::uint8_t m_sourceServer = 39;
};

}  // namespace bench
