/** The faults that a service has raised. */
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "utilities/Mutex.h"
#include "victory/src/Json.h"
#include "victory/victory.h"

namespace victory {

struct Fault {
    unsigned id; /**< set by Faults */
    std::string text;
    bool acknowledged;
    VhlthcSeverity severity;
    VhlthcCategory category;
    VhlthcAction action;
};

/** The standing faults, oldest first. Raised and cleared on any thread. */
class Faults {
public:
    /** The fault's id, never 0; 0 when 256 faults stand already. */
    unsigned add(Fault fault) EXCLUDES(m_mutex);
    /** An id that doesn't stand is ignored. */
    void remove(unsigned id) EXCLUDES(m_mutex);

    /** Bus thread: true when the list has changed since the last call. */
    bool takeChange() EXCLUDES(m_mutex);
    /** Bus thread: the list as of the last takeChange. */
    const Json& known() const { return m_known; }

private:
    utilities::Mutex m_mutex;
    std::vector<Fault> m_faults GUARDED_BY(m_mutex);
    unsigned m_lastId GUARDED_BY(m_mutex) = 0;
    bool m_changed GUARDED_BY(m_mutex) = false;
    Json m_known = {{"faults", Json::array()}};  // the bus thread's own
};

}  // namespace victory
