#include "victory/src/Client.h"

#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <utility>

#include "victory/src/Complaint.h"
#include "victory/src/Requests.h"

namespace victory {

namespace {

constexpr std::size_t kReadBytes = std::size_t{64} << 10;

bool isBlank(const std::string& text) {
    return text.find_first_not_of(" \t\r") == std::string::npos;
}

bool mayComeLater(int error) {
    return error == EAGAIN || error == EINTR;
}

}  // namespace

Client::Client(std::uint64_t id, Descriptor connection)
    : m_id(id), m_connection(std::move(connection)), m_input(kMaximumRequestBytes) {}

bool Client::isGone() const {
    return !m_busy && (!m_connection.isOpen() || (m_hungUp && m_inputEnded));
}

pollfd Client::pollEntry() const {
    if (m_busy && m_hungUp) {
        return {-1, 0, 0};  // would be reported again and again
    }
    const int wanted = (m_busy || m_inputEnded ? 0 : POLLIN) | (m_unsent.empty() ? 0 : POLLOUT);
    return {m_connection.get(), static_cast<short>(wanted), 0};
}

void Client::serve(short events) {
    // An error is a peer that closed without reading all; what it asked before is still there.
    const bool hangsUp = (events & (POLLHUP | POLLERR)) != 0;
    m_hungUp |= hangsUp;
    if ((events & POLLOUT) != 0) {
        flush();
    }
    if ((hangsUp || (events & POLLIN) != 0) && !m_busy) {
        receive();
    }
}

void Client::send(const OutLine& line) {
    if (!m_connection.isOpen() || m_deaf) {
        return;
    }
    m_unsent.push_back(line);
    m_unsentBytes += line->size();
    flush();
    if (m_unsentBytes > kMaximumUnsent) {
        complain("VICTORY service: dropped client " + std::to_string(m_id) +
                 ", which doesn't read what it gets");
        drop();
    }
}

std::optional<LineSplitter::Line> Client::beginRequest() {
    while (!m_busy) {
        std::optional<LineSplitter::Line> line = m_input.next();
        if (!line) {
            return line;
        }
        if (line->fault != LineSplitter::Fault::NONE || !isBlank(line->text)) {
            m_busy = true;
            return line;
        }
    }
    return std::nullopt;
}

void Client::receive() {
    std::array<char, kReadBytes> bytes;
    const ssize_t count = ::recv(m_connection.get(), bytes.data(), bytes.size(), 0);
    if (count > 0) {
        m_input.append({bytes.data(), static_cast<std::size_t>(count)});
    } else if (count == 0 || !mayComeLater(errno)) {
        m_inputEnded = true;
        m_input.end();
    }
}

void Client::flush() {
    while (!m_unsent.empty()) {
        const std::string& line = *m_unsent.front();
        const ssize_t count = ::send(m_connection.get(), line.data() + m_sentOfFirst,
                                     line.size() - m_sentOfFirst, MSG_NOSIGNAL);
        if (count < 0) {
            if (!mayComeLater(errno)) {
                m_deaf = true;
                m_unsent.clear();
            }
            return;
        }
        m_unsentBytes -= static_cast<std::size_t>(count);
        m_sentOfFirst += static_cast<std::size_t>(count);
        if (m_sentOfFirst == line.size()) {
            m_unsent.pop_front();
            m_sentOfFirst = 0;
        }
    }
}

void Client::drop() {
    m_connection.close();
    m_unsent.clear();
    m_input = LineSplitter(kMaximumRequestBytes);
    m_deaf = true;
}

}  // namespace victory
