#include "victory/src/Thread.h"

#include <csignal>
#include <memory>
#include <system_error>
#include <utility>

namespace victory {

namespace {

constexpr std::size_t kStackBytes = std::size_t{8} << 20;

struct Start {
    const char* name;
    std::function<void()> body;
};

void* run(void* argument) {
    const std::unique_ptr<Start> start(static_cast<Start*>(argument));
    pthread_setname_np(pthread_self(), start->name);
    start->body();
    return nullptr;
}

sigset_t signalsOfTheProcess() {
    sigset_t signals;
    sigfillset(&signals);
    for (const int own : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS}) {
        sigdelset(&signals, own);
    }
    return signals;
}

}  // namespace

Thread::Thread(const char* name, std::function<void()> body) {
    auto start = std::make_unique<Start>(Start{name, std::move(body)});
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, kStackBytes);
    const sigset_t blocked = signalsOfTheProcess();
    sigset_t before;
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    const int error = pthread_create(&m_thread, &attributes, run, start.get());
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    pthread_attr_destroy(&attributes);
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), name);
    }
    static_cast<void>(start.release());  // the thread's now
    m_running = true;
}

Thread::Thread(Thread&& other) noexcept
    : m_thread(other.m_thread), m_running(std::exchange(other.m_running, false)) {}

Thread& Thread::operator=(Thread&& other) noexcept {
    std::swap(m_thread, other.m_thread);
    std::swap(m_running, other.m_running);
    return *this;
}

void Thread::finish() {
    if (!std::exchange(m_running, false)) {
        return;
    }
    if (pthread_equal(m_thread, pthread_self()) != 0) {
        pthread_detach(m_thread);
    } else {
        pthread_join(m_thread, nullptr);
    }
}

}  // namespace victory
