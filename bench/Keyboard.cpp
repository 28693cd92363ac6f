#include "bench/Keyboard.h"

#include <poll.h>
#include <unistd.h>

namespace bench {
namespace {

bool inBackground() {
    const pid_t foreground = ::tcgetpgrp(STDIN_FILENO);
    return foreground != -1 && foreground != ::getpgrp();
}

}  // namespace

Keyboard::Keyboard() {
    if (inBackground() || ::tcgetattr(STDIN_FILENO, &m_before) != 0) {
        return;
    }
    termios keyByKey = m_before;
    keyByKey.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    m_changed = ::tcsetattr(STDIN_FILENO, TCSANOW, &keyByKey) == 0;
}

Keyboard::~Keyboard() {
    if (m_changed && !inBackground()) {
        ::tcsetattr(STDIN_FILENO, TCSANOW, &m_before);
    }
}

std::string Keyboard::take() {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    if (m_ended || inBackground() || ::poll(&input, 1, 0) != 1) {
        return {};
    }
    char keys[256];
    const auto count = ::read(STDIN_FILENO, keys, sizeof keys);
    m_ended = count <= 0;
    return m_ended ? std::string() : std::string(keys, static_cast<std::size_t>(count));
}

}  // namespace bench
