#include "VICTORY/VGpsReceiverServer/ProcessLife.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <ctime>

std::int32_t transactionPollMs = 200;
std::int32_t exitPollMs = 500;
std::atomic<std::uint8_t> exitFlag{0};
std::atomic<std::int32_t> exitSignal{0};

static_assert(std::atomic<std::uint8_t>::is_always_lock_free &&
                  std::atomic<std::int32_t>::is_always_lock_free,
              "a signal handler may touch lock-free atomics only");

void SignalHandler(int signal) {
    exitSignal = signal;
    exitFlag = 1;
}

void SetupSignalHandler() {
    constexpr std::array endingSignals{SIGQUIT, SIGILL, SIGABRT, SIGBUS, SIGTERM,
                                       SIGTRAP, SIGSYS, SIGFPE,  SIGINT};
    struct sigaction action {};
    action.sa_handler = SignalHandler;
    sigemptyset(&action.sa_mask);
    for (const int signal : endingSignals) {
        sigaction(signal, &action, nullptr);
    }
}

void sleepMilliseconds(std::int32_t milliseconds) {
    if (milliseconds <= 0) {
        return;
    }
    timespec left{milliseconds / 1000, (milliseconds % 1000) * 1000000L};
    while (nanosleep(&left, &left) == -1 && errno == EINTR) {
    }
}

void callOnceTransactionally(const std::function<void(FACE::RETURN_CODE_TYPE::Value&)>& step,
                             FACE::RETURN_CODE_TYPE::Value& rc) {
    for (;;) {
        rc = FACE::RETURN_CODE_TYPE::IN_PROGRESS;
        step(rc);
        if (rc != FACE::RETURN_CODE_TYPE::IN_PROGRESS) {
            return;
        }
        sleepMilliseconds(transactionPollMs);
    }
}
