/** One client's connection. */
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>

#include "victory/socket/Descriptor.h"
#include "victory/socket/LineSplitter.h"

struct pollfd;

namespace victory {

/** A line to a client, shared among those that get it. */
using OutLine = std::shared_ptr<const std::string>;

/** A client's connection, its unsent lines and its unread requests. Belongs to the bus thread.
 *
 *  Nothing waits for the client: what it doesn't take is kept up to a bound, past which it is
 *  dropped. Of its requests one is under way at a time; until it is answered no more is read.
 */
class Client {
public:
    /** Most bytes kept for a client that doesn't read. */
    static constexpr std::size_t kMaximumUnsent = std::size_t{4} << 20;

    /** Takes a non-blocking connection. */
    Client(std::uint64_t id, Descriptor connection);

    std::uint64_t id() const { return m_id; }
    /** True when it has hung up or was dropped, and no request of it is under way. */
    bool isGone() const;

    /** What to wait for. */
    pollfd pollEntry() const;
    /** Reads and writes what poll said can be. */
    void serve(short events);

    /** Queues a line and sends what the connection takes. A client that is over its bound is
     *  dropped. */
    void send(const OutLine& line);

    /** The next request, which then is under way; nothing while another is. */
    std::optional<LineSplitter::Line> beginRequest();
    void endRequest() { m_busy = false; }

private:
    void receive();
    void flush();
    void drop();

    std::uint64_t m_id;
    Descriptor m_connection;
    LineSplitter m_input;
    std::deque<OutLine> m_unsent;
    std::size_t m_unsentBytes = 0;
    std::size_t m_sentOfFirst = 0;
    bool m_busy = false;        // a request is under way
    bool m_inputEnded = false;  // the peer sends no more
    bool m_deaf = false;        // the peer takes no more
    bool m_hungUp = false;      // the peer is gone; requests already sent still count
};

}  // namespace victory
