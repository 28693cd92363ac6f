#include "bench/Receiver.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "bench/Frames.h"

namespace bench {
namespace {

using std::chrono::steady_clock;

constexpr auto stopCheck = std::chrono::milliseconds(20);
constexpr auto queuePatience = std::chrono::milliseconds(500);

}  // namespace

Receiver::Receiver(ReceiverPorts& ports, Source source, std::chrono::nanoseconds period)
    : m_ports(ports),
      m_thread([this, source = std::move(source), period] { run(source, period); }) {}

Receiver::~Receiver() {
    stop();
}

void Receiver::stop() {
    utilities::MutexLock lock(m_mutex);
    m_stopped = true;
    lock.unlock();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

Receiver::Tally Receiver::tally() const {
    utilities::MutexLock lock(m_mutex);
    return m_tally;
}

std::vector<Bytes> Receiver::lastTransfer() const {
    utilities::MutexLock lock(m_mutex);
    return m_lastTransfer;
}

void Receiver::transferOut(std::vector<Bytes> messages) {
    utilities::MutexLock lock(m_mutex);
    m_transferOut = std::move(messages);
}

void Receiver::run(const Source& source, std::chrono::nanoseconds period) {
    const Deadline start = steady_clock::now();
    for (std::size_t cycle = 0; listenUntil(start + cycle * period); ++cycle) {
        std::optional<ReceiverState> state = source(cycle);
        if (!state) {
            break;
        }
        m_settings.apply(*state);
        sendCycle(*state);
    }
    utilities::MutexLock lock(m_mutex);
    m_tally.finished = !m_stopped;
    lock.unlock();
    while (listenUntil(within(stopCheck))) {
    }
}

void Receiver::sendCycle(const ReceiverState& state) {
    std::size_t sent = 0;
    std::size_t lost = 0;
    for (const Bytes& frame : cycleFrames(state)) {
        const bool went = m_ports.send(ReceiverPorts::Channel::TyrHc, frame, within(queuePatience));
        ++(went ? sent : lost);
    }
    utilities::MutexLock lock(m_mutex);
    m_tally.frames += sent;
    m_tally.framesLost += lost;
    if (lost == 0) {
        m_tally.cycles.push_back(state.timeOfValidity);
    }
}

/** False when the receiver is to stop. */
bool Receiver::listenUntil(Deadline next) {
    do {
        playTransfer();
        takeCommands(ReceiverPorts::Channel::DtIn, steady_clock::now());
        takeCommands(ReceiverPorts::Channel::HcTyr,
                     std::min(next, steady_clock::now() + stopCheck));
        utilities::MutexLock lock(m_mutex);
        if (m_stopped) {
            return false;
        }
    } while (steady_clock::now() < next);
    return true;
}

/** Takes messages until none comes by the deadline. */
void Receiver::takeCommands(ReceiverPorts::Channel channel, Deadline deadline) {
    bool more = true;
    while (more) {
        bool readable = true;
        try {
            const auto message = m_ports.receive(channel, deadline);
            more = message.has_value();
            if (message) {
                take(channel, message->data());
            }
        } catch (const std::runtime_error&) {
            readable = false;
        }
        utilities::MutexLock lock(m_mutex);
        m_tally.commands += readable && more ? 1 : 0;
        m_tally.unreadable += readable ? 0 : 1;
    }
}

void Receiver::take(ReceiverPorts::Channel channel, const Bytes& frame) {
    if (channel == ReceiverPorts::Channel::DtIn) {
        if (auto messages = m_transferIn.take(frame)) {
            utilities::MutexLock lock(m_mutex);
            m_lastTransfer = *std::move(messages);
            ++m_tally.transfers;
        }
        return;
    }
    const auto message = FrameReader::read(frame);
    if (message && m_settings.obey(*message)) {
        utilities::MutexLock lock(m_mutex);
        ++m_tally.settings;
    }
}

void Receiver::playTransfer() {
    utilities::MutexLock lock(m_mutex);
    auto messages = std::exchange(m_transferOut, std::nullopt);
    lock.unlock();
    if (!messages) {
        return;
    }
    messages->insert(messages->begin(), Bytes(startOfTransfer.begin(), startOfTransfer.end()));
    messages->emplace_back(endOfTransfer.begin(), endOfTransfer.end());
    std::size_t lost = 0;
    for (const Bytes& frame : *messages) {
        lost += m_ports.send(ReceiverPorts::Channel::DtOut, frame, within(queuePatience)) ? 0 : 1;
    }
    lock.lock();
    m_tally.framesLost += lost;
    ++m_tally.transfersOut;
}

}  // namespace bench
