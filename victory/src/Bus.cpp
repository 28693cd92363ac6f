#include "victory/src/Bus.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <exception>
#include <utility>

#include "victory/src/Complaint.h"
#include "victory/src/Requests.h"

namespace victory {

namespace {

constexpr std::chrono::milliseconds kAcceptPause{100};
// Who connects in a loop must not keep the bus thread from the others.
constexpr int kAcceptsAtOnce = 16;
// Places in the list that poll is given; clients come behind.
enum Entry : std::size_t { WAKER, LISTENER, FIRST_CLIENT };

timespec toTimespec(std::chrono::nanoseconds time) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
    return {static_cast<time_t>(seconds.count()), static_cast<long>((time - seconds).count())};
}

}  // namespace

Bus::Bus(const std::string& path, Tellings& told, RequestHandler handler)
    : m_told(told), m_handler(std::move(handler)), m_publisher(told) {
    m_listener.emplace(path);
}

void Bus::start(std::string greeting, std::shared_ptr<void> owner) {
    m_greeting = std::move(greeting);
    m_publisher.start(Clock::now());
    m_thread = Thread("victory-bus", [this, owner = std::move(owner)] { run(); });
}

void Bus::stop() {
    m_stopping = true;
    m_told.waker.wake();
    m_thread.finish();
    m_listener.reset();  // first: who is disconnected and comes back at once must not meet it
    m_clients.clear();
}

void Bus::reply(std::uint64_t client, std::string line) {
    {
        const utilities::MutexLock lock(m_replyMutex);
        m_replies.push_back({client, std::move(line)});
    }
    m_told.waker.wake();
}

void Bus::run() {
    while (!m_stopping) {
        survive(&Bus::turn);
    }
    survive(&Bus::deliverReplies);
    survive(&Bus::publish);
}

void Bus::survive(void (Bus::*step)()) {
    try {
        (this->*step)();
    } catch (const std::exception& error) {
        complain(std::string("VICTORY service: ") + error.what());
    }
}

void Bus::turn() {
    const std::vector<pollfd> entries = wait();
    deliverReplies();
    serve(entries);
    if ((entries[LISTENER].revents & POLLIN) != 0) {
        acceptAll();
    }
    publish();
    std::erase_if(m_clients, [](const auto& client) { return client->isGone(); });
}

std::vector<pollfd> Bus::wait() {
    const Clock::time_point now = Clock::now();
    const bool accepting = m_acceptFrom <= now;
    std::vector<pollfd> entries = {{m_told.waker.descriptor(), POLLIN, 0},
                                   {accepting ? m_listener->descriptor() : -1, POLLIN, 0}};
    for (const auto& client : m_clients) {
        entries.push_back(client->pollEntry());
    }
    std::optional<Clock::time_point> due = m_publisher.nextDue();
    if (!accepting) {
        due = std::min(due.value_or(m_acceptFrom), m_acceptFrom);
    }
    const timespec timeout =
        due ? toTimespec(std::max(*due - now, Clock::duration::zero())) : timespec{};
    if (::ppoll(entries.data(), entries.size(), due ? &timeout : nullptr, nullptr) < 0) {
        for (pollfd& entry : entries) {
            entry.revents = 0;
        }
    }
    m_told.waker.clear();  // before all that was told is looked at
    return entries;
}

void Bus::deliverReplies() {
    std::vector<Reply> replies;
    {
        const utilities::MutexLock lock(m_replyMutex);
        replies.swap(m_replies);
    }
    for (Reply& reply : replies) {
        for (const auto& client : m_clients) {
            if (client->id() == reply.client) {
                client->endRequest();
                client->send(std::make_shared<const std::string>(std::move(reply.line)));
                break;
            }
        }
    }
}

void Bus::publish() {
    m_publisher.publish(Clock::now(), [this](std::string line) {
        const auto shared = std::make_shared<const std::string>(std::move(line));
        for (const auto& client : m_clients) {
            client->send(shared);
        }
    });
}

void Bus::serve(const std::vector<pollfd>& entries) {
    for (std::size_t i = 0; i < m_clients.size(); ++i) {
        m_clients[i]->serve(entries[FIRST_CLIENT + i].revents);
        handOnRequest(*m_clients[i]);
    }
}

void Bus::handOnRequest(Client& client) {
    std::optional<LineSplitter::Line> line = client.beginRequest();
    if (!line) {
        return;
    }
    try {
        m_handler(client.id(), std::move(*line));
    } catch (const std::exception& error) {
        reply(client.id(), errorReply(nullptr, error.what()));
    }
}

void Bus::acceptAll() {
    for (int i = 0; i < kAcceptsAtOnce; ++i) {
        Descriptor connection(
            ::accept4(m_listener->descriptor(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
        if (!connection.isOpen()) {
            return noteAcceptError(errno);
        }
        greet(std::move(connection));
    }
}

void Bus::noteAcceptError(int error) {
    if (error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM) {
        complain("VICTORY service: no descriptor or memory for another client");
        m_acceptFrom = Clock::now() + kAcceptPause;
    }
}

void Bus::greet(Descriptor connection) {
    auto client = std::make_unique<Client>(++m_lastClient, std::move(connection));
    const auto send = [&client](std::string line) {
        client->send(std::make_shared<const std::string>(std::move(line)));
    };
    if (m_clients.size() >= kMaximumClients) {
        send(toLine({{"error",
                      "too many clients, " + std::to_string(kMaximumClients) + " are connected"}}));
        return;
    }
    send(m_greeting);
    m_publisher.sendSnapshot(send);
    m_clients.push_back(std::move(client));
}

}  // namespace victory
