#include "utilities/kbhit.h"

#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cstdio>

namespace {

bool inBackground() {
    const pid_t foreground = ::tcgetpgrp(STDIN_FILENO);
    return foreground != -1 && foreground != ::getpgrp();
}

bool takeSingleKeys() {
    termios settings{};
    if (::tcgetattr(STDIN_FILENO, &settings) == 0) {
        settings.c_lflag &= ~static_cast<tcflag_t>(ICANON);
        ::tcsetattr(STDIN_FILENO, TCSANOW, &settings);
    }
    // What a buffer held, _kbhit would not see.
    std::setvbuf(stdin, nullptr, _IONBF, 0);
    return true;
}

}  // namespace

int _kbhit() {  // NOLINT(bugprone-reserved-identifier)
    if (inBackground()) {
        return 0;
    }
    [[maybe_unused]] static const bool prepared = takeSingleKeys();
    int waiting = 0;
    return ::ioctl(STDIN_FILENO, FIONREAD, &waiting) == 0 ? waiting : 0;
}

int nextKey() {
    const int key = std::getc(stdin);
    if (key == EOF) {
        std::clearerr(stdin);  // a terminal may come back
    }
    return key;
}
