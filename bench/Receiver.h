/** The receiver at work: it sends a cycle of messages again and again. */
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <thread>
#include <vector>

#include "bench/DataTransfer.h"
#include "bench/ReceiverPorts.h"
#include "bench/ReceiverSettings.h"
#include "bench/ReceiverState.h"
#include "utilities/Mutex.h"

namespace bench {

/** Plays states onto the receiver's ports on a thread of its own, and takes what the server sends,
 *  so that no queue of it ever fills: settings, which the states that follow show, and data
 *  transfers. The destructor stops it between two messages. */
class Receiver {
public:
    /** The state of a cycle, from 0 on; empty once there is no more. Called on the thread. */
    using Source = std::function<std::optional<ReceiverState>(std::size_t cycle)>;

    struct Tally {
        std::vector<double> cycles;  ///< time of validity [s] of each cycle that went out whole
        std::size_t frames = 0;
        std::size_t framesLost = 0;  ///< the queue stayed full
        std::size_t commands = 0;    ///< messages of the server
        std::size_t settings = 0;    ///< of these commands, those that set something
        std::size_t unreadable = 0;  ///< records of the server that are none
        std::size_t transfers = 0;   ///< data transfers of the server that came whole
        std::size_t transfersOut = 0;
        bool finished = false;  ///< the source has ended
    };

    /** Starts with cycle 0 at once; the next follow at a fixed rate, `period` apart. The ports must
     *  outlive the receiver, which alone uses them meanwhile. */
    Receiver(ReceiverPorts& ports, Source source, std::chrono::nanoseconds period);
    ~Receiver();
    Receiver(const Receiver&) = delete;
    Receiver& operator=(const Receiver&) = delete;

    /** Ends the cycles; what has gone out can be asked for still. */
    void stop() EXCLUDES(m_mutex);
    Tally tally() const EXCLUDES(m_mutex);

    /** The messages of the last data transfer that came whole. */
    std::vector<Bytes> lastTransfer() const EXCLUDES(m_mutex);
    /** Soon plays the messages as a data transfer to the server. */
    void transferOut(std::vector<Bytes> messages) EXCLUDES(m_mutex);

private:
    void run(const Source& source, std::chrono::nanoseconds period) EXCLUDES(m_mutex);
    void sendCycle(const ReceiverState& state) EXCLUDES(m_mutex);
    bool listenUntil(Deadline next) EXCLUDES(m_mutex);
    void takeCommands(ReceiverPorts::Channel channel, Deadline deadline) EXCLUDES(m_mutex);
    void take(ReceiverPorts::Channel channel, const Bytes& frame) EXCLUDES(m_mutex);
    void playTransfer() EXCLUDES(m_mutex);

    ReceiverPorts& m_ports;
    ReceiverSettings m_settings;  ///< the thread's own, as the next
    DataTransfer m_transferIn;
    mutable utilities::Mutex m_mutex;
    Tally m_tally GUARDED_BY(m_mutex);
    std::vector<Bytes> m_lastTransfer GUARDED_BY(m_mutex);
    std::optional<std::vector<Bytes>> m_transferOut GUARDED_BY(m_mutex);
    bool m_stopped GUARDED_BY(m_mutex) = false;
    std::thread m_thread;
};

}  // namespace bench
