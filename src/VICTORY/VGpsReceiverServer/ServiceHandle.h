/** The handle of the VICTORY service, shared between those who tell and the one who restarts. */
#pragma once

#include <atomic>
#include <cstdint>

#include "utilities/Mutex.h"
#include "victory/victory.h"

/** Holds one VgpssService* and knows who is using it.
 *
 *  Threads outside the library reach the handle only through a Use, for the length of a few Tell
 *  calls. `take` empties it: from then on every Use is empty, and it returns when the last one of
 *  before has gone. Its caller may then delete the service: nobody can reach the old handle any
 *  more. Callbacks of the service need no Use: they work on the handle they are called with, which
 *  the library keeps until they return. So no lock is held across a deletion.
 */
class ServiceHandle {
public:
    /** Keeps the handle from being taken while it lives. Never held while waiting for a callback.
     */
    class Use {
    public:
        explicit Use(ServiceHandle& owner) : m_owner(owner), m_service(owner.enter(m_generation)) {}
        ~Use() {
            if (m_service != nullptr) {
                m_owner.leave();
            }
        }
        Use(const Use&) = delete;
        Use& operator=(const Use&) = delete;

        explicit operator bool() const { return m_service != nullptr; }
        VgpssService* get() const { return m_service; }
        /** Of two services that live at the same address one after the other, which. */
        std::uint64_t generation() const { return m_generation; }

    private:
        ServiceHandle& m_owner;
        std::uint64_t m_generation = 0;
        VgpssService* const m_service;
    };

    /** Whether there is a service at this moment. Takes no lock: only a Use keeps it. */
    bool isSet() const { return m_service != nullptr; }

    void set(VgpssService* service) {
        const utilities::MutexLock lock(m_mutex);
        m_service = service;
        ++m_generation;
    }

    /** The handle, which is null for everybody from now on. Waits for every Use to end. */
    VgpssService* take() {
        const utilities::MutexLock lock(m_mutex);
        VgpssService* const service = m_service.exchange(nullptr);
        while (m_users != 0) {
            m_idle.wait(m_mutex);
        }
        return service;
    }

private:
    VgpssService* enter(std::uint64_t& generation) {
        const utilities::MutexLock lock(m_mutex);
        generation = m_generation;
        if (m_service != nullptr) {
            ++m_users;
        }
        return m_service;
    }

    void leave() {
        const utilities::MutexLock lock(m_mutex);
        if (--m_users == 0) {
            m_idle.notify_all();
        }
    }

    utilities::Mutex m_mutex;
    utilities::Condition m_idle;
    /** Written under the mutex. */
    std::atomic<VgpssService*> m_service{nullptr};
    /** Counts what was set. */
    std::uint64_t m_generation GUARDED_BY(m_mutex) = 0;
    int m_users GUARDED_BY(m_mutex) = 0;
};
