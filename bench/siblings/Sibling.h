/** A sibling of the server: answers commands by rules, sends commands, keeps what it hears. */
#pragma once

#include <deque>
#include <map>
#include <optional>
#include <string>
#include <thread>

#include "ASPN/AspnCmdResponse.h"
#include "bench/siblings/Rule.h"
#include "bench/siblings/SystemTopics.h"
#include "utilities/Mutex.h"

namespace bench {

/** The id of the server with that name; empty when no server has it. */
std::optional<unsigned char> serverIdOf(const std::string& name);

/** Lives in another process than the server: within one, each would get the other's messages on
 *  the other's sending thread. The operations may be called from any thread.
 */
class Sibling {
public:
    using CommandResponse = SystemTopics::CommandResponse;

    /** Takes the name and the ids of the server `serverId`. Raises std::runtime_error. */
    Sibling(unsigned char serverId, const std::string& connectionsFile, Past past);
    ~Sibling();
    Sibling(const Sibling&) = delete;
    Sibling& operator=(const Sibling&) = delete;

    /** From now on answers commands of this word so; the empty word stands for every command of the
     *  GPS server that has no rule of its own. */
    void answer(const std::string& word, Rule rule) EXCLUDES(m_mutex);
    /** How many commands have got all their answers. */
    std::size_t answered() const EXCLUDES(m_mutex);

    /** Waits until those who read the commands are found, which takes more than a second; false
     *  when there is nobody by the deadline. */
    bool waitForOthers(Deadline deadline) const;
    /** What went out. Raises std::runtime_error. */
    CommandResponse send(const std::string& command);
    /** Waits until the commands sent have reached all that read them. */
    void flush() const;
    /** Whether `arrival` is a response to `command`, which was sent here. */
    static bool answers(const Arrival& arrival, const CommandResponse& command);

    /** The next message that was heard, empty when the deadline passes without one. Beyond 10000
     *  waiting the oldest are dropped. */
    std::optional<Arrival> next(Deadline deadline) EXCLUDES(m_mutex);

private:
    struct Due {
        CommandResponse response;
        bool isLast;
    };

    void take(const Arrival& arrival) EXCLUDES(m_mutex);
    void plan(const CommandResponse& command) REQUIRES(m_mutex);
    const Rule* ruleOf(const CommandResponse& command) const REQUIRES(m_mutex);
    void answerWhenDue() EXCLUDES(m_mutex);
    std::optional<Due> waitForDue() EXCLUDES(m_mutex);

    ASPN2::CmdResponse m_messages;
    std::int32_t m_deviceId = 0;

    mutable utilities::Mutex m_mutex;
    utilities::Condition m_changed;
    std::deque<Arrival> m_heard GUARDED_BY(m_mutex);
    std::map<std::string, Rule> m_rules GUARDED_BY(m_mutex);
    std::multimap<Deadline, Due> m_due GUARDED_BY(m_mutex);
    std::size_t m_answered GUARDED_BY(m_mutex) = 0;
    bool m_stopped GUARDED_BY(m_mutex) = false;

    SystemTopics m_topics;
    std::thread m_answering;
};

}  // namespace bench
