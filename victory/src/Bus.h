/** The bus: the socket, its clients and the thread that serves them. */
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "utilities/Mutex.h"
#include "victory/socket/Endpoint.h"
#include "victory/src/Client.h"
#include "victory/src/Publisher.h"
#include "victory/src/Thread.h"

struct pollfd;

namespace victory {

/** Publishes what is told to all clients and hands on what they ask.
 *
 *  One thread does all of it and waits for nobody: it neither calls the service's owner nor blocks
 *  on a client. From the start of that thread on, clients and publisher are its own.
 */
class Bus {
public:
    /** Called on the bus thread; must not wait. The reply comes through `reply`, on any thread.
     * What it throws is answered as an error. */
    using RequestHandler = std::function<void(std::uint64_t client, LineSplitter::Line line)>;

    static constexpr std::size_t kMaximumClients = 64;

    /** Listens at `path` from now on. Throws std::runtime_error. */
    Bus(const std::string& path, Tellings& told, RequestHandler handler);

    /** Serves clients, each of which first gets `greeting`. `owner` is kept alive by the thread.
     *  Throws std::system_error. */
    void start(std::string greeting, std::shared_ptr<void> owner);
    /** Sends what is ready, disconnects all clients and removes the socket. Not from the bus
     *  thread. */
    void stop();

    /** Answers the request under way of a client, if that is still there. Any thread. */
    void reply(std::uint64_t client, std::string line) EXCLUDES(m_replyMutex);

private:
    using Clock = std::chrono::steady_clock;

    struct Reply {
        std::uint64_t client;
        std::string line;
    };

    void run();
    /** What a step throws (there is no more memory) costs that step alone. */
    void survive(void (Bus::*step)());
    void turn();
    std::vector<pollfd> wait();
    void deliverReplies() EXCLUDES(m_replyMutex);
    void publish();
    void serve(const std::vector<pollfd>& entries);
    void handOnRequest(Client& client);
    /** Before publication, so that who has connected misses nothing published after. */
    void acceptAll();
    void noteAcceptError(int error);
    void greet(Descriptor connection);

    Tellings& m_told;
    const RequestHandler m_handler;
    Publisher m_publisher;
    std::optional<ListeningSocket> m_listener;
    std::string m_greeting;
    std::vector<std::unique_ptr<Client>> m_clients;
    std::uint64_t m_lastClient = 0;
    Clock::time_point m_acceptFrom{};  // later than now while the system has no descriptors left

    std::atomic<bool> m_stopping{false};
    Thread m_thread;

    utilities::Mutex m_replyMutex;
    std::vector<Reply> m_replies GUARDED_BY(m_replyMutex);
};

}  // namespace victory
