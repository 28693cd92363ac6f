/** The keys of the person who runs the bench. */
#pragma once

#include <termios.h>

#include <string>

namespace bench {

/** Standard input, a key at a time where it is a terminal: without echo and without waiting for an
 *  end of line. The terminal is as it was when the object goes. One thread, one object.
 */
class Keyboard {
public:
    Keyboard();
    ~Keyboard();
    Keyboard(const Keyboard&) = delete;
    Keyboard& operator=(const Keyboard&) = delete;

    /** What has been typed since the last call; empty once the input has ended, and while the bench
     *  is in the background of its terminal. Never waits. */
    std::string take();

private:
    bool m_changed = false;
    bool m_ended = false;
    termios m_before{};
};

}  // namespace bench
