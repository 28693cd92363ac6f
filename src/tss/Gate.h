/** Holds off the end of something while others are using it. */
#pragma once

#include <atomic>
#include <cstdint>

namespace FACE::TSS {

/** Users pass in while it is open and out when done; closing waits for those inside. It starts
 *  closed. Passing allocates nothing, locks nothing and never waits. All of it from any thread.
 */
class Gate {
public:
    /** One user's stay, if the gate let him in. */
    class Pass {
    public:
        explicit Pass(Gate& gate) : m_gate(gate), m_inside(gate.enter()) {}
        ~Pass() {
            if (m_inside) {
                m_gate.leave();
            }
        }
        Pass(const Pass&) = delete;
        Pass& operator=(const Pass&) = delete;

        explicit operator bool() const { return m_inside; }

    private:
        Gate& m_gate;
        const bool m_inside;
    };

    void open() { m_state.fetch_and(~CLOSED); }

    /** Nobody enters any more; those inside may still be. */
    void shut() { m_state.fetch_or(CLOSED); }

    /** The same, and returns when nobody is inside: never call it from there. */
    void close() {
        shut();
        for (std::uint32_t state = m_state.load(); state != CLOSED; state = m_state.load()) {
            m_state.wait(state);
        }
    }

private:
    static constexpr std::uint32_t CLOSED = 0x80000000U;  ///< the other bits count who is inside

    bool enter() {
        if ((m_state.fetch_add(1) & CLOSED) == 0) {
            return true;
        }
        leave();
        return false;
    }

    void leave() {
        if (m_state.fetch_sub(1) == (CLOSED | 1U)) {
            m_state.notify_all();
        }
    }

    std::atomic<std::uint32_t> m_state{CLOSED};
};

}  // namespace FACE::TSS
