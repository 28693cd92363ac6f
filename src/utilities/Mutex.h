/** A mutex that clang's thread-safety analysis understands, with its scoped lock and condition.
 *
 *  Members name the lock that guards them with GUARDED_BY; functions say with REQUIRES or EXCLUDES
 *  what their caller holds. Outside Clang the annotations are empty. Waits stand in a while loop,
 *  since the analysis does not follow a predicate lambda.
 */
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

#if defined(__clang__)
#define HC_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define HC_THREAD_ANNOTATION(x)
#endif

#define CAPABILITY(x) HC_THREAD_ANNOTATION(capability(x))
#define SCOPED_CAPABILITY HC_THREAD_ANNOTATION(scoped_lockable)
#define GUARDED_BY(x) HC_THREAD_ANNOTATION(guarded_by(x))
#define PT_GUARDED_BY(x) HC_THREAD_ANNOTATION(pt_guarded_by(x))
#define ACQUIRED_BEFORE(...) HC_THREAD_ANNOTATION(acquired_before(__VA_ARGS__))
#define ACQUIRED_AFTER(...) HC_THREAD_ANNOTATION(acquired_after(__VA_ARGS__))
#define REQUIRES(...) HC_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define ACQUIRE(...) HC_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define RELEASE(...) HC_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define TRY_ACQUIRE(...) HC_THREAD_ANNOTATION(try_acquire_capability(__VA_ARGS__))
#define EXCLUDES(...) HC_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define NO_THREAD_SAFETY_ANALYSIS HC_THREAD_ANNOTATION(no_thread_safety_analysis)

namespace utilities {

class CAPABILITY("mutex") Mutex {
public:
    /** Tries a while before it sleeps: most of our locks are held for some tens of nanoseconds, and
     *  a sleep costs microseconds. */
    void lock() ACQUIRE() {
        for (int i = 0; i < tries; ++i) {
            if (m_mutex.try_lock()) {
                return;
            }
            pause();
        }
        m_mutex.lock();
    }
    void unlock() RELEASE() { m_mutex.unlock(); }
    bool try_lock() TRY_ACQUIRE(true) { return m_mutex.try_lock(); }

private:
    friend class Condition;
    static constexpr int tries = 40;
    static void pause() {
#if defined(__x86_64__)
        __builtin_ia32_pause();
#elif defined(__aarch64__) || defined(__arm__)
        asm volatile("yield");
#endif
    }

    std::mutex m_mutex;
};

/** Holds a Mutex for its scope; `unlock` lets it go early. */
class SCOPED_CAPABILITY MutexLock {
public:
    explicit MutexLock(Mutex& mutex) ACQUIRE(mutex) : m_mutex(mutex), m_held(true) {
        m_mutex.lock();
    }
    ~MutexLock() RELEASE() {
        if (m_held) {
            m_mutex.unlock();
        }
    }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

    void unlock() RELEASE() {
        m_held = false;
        m_mutex.unlock();
    }
    void lock() ACQUIRE() {
        m_mutex.lock();
        m_held = true;
    }

private:
    Mutex& m_mutex;
    bool m_held;
};

/** A condition variable for Mutex. Every wait is on the steady clock. */
class Condition {
public:
    void notify_one() { m_condition.notify_one(); }
    void notify_all() { m_condition.notify_all(); }

    void wait(Mutex& mutex) REQUIRES(mutex) {
        std::unique_lock<std::mutex> lock(mutex.m_mutex, std::adopt_lock);
        m_condition.wait(lock);
        lock.release();
    }

    /** False once `deadline` has passed. */
    bool wait_until(Mutex& mutex, std::chrono::steady_clock::time_point deadline) REQUIRES(mutex) {
        std::unique_lock<std::mutex> lock(mutex.m_mutex, std::adopt_lock);
        const std::cv_status status = m_condition.wait_until(lock, deadline);
        lock.release();
        return status == std::cv_status::no_timeout;
    }

private:
    std::condition_variable m_condition;
};

}  // namespace utilities
