/** How a sibling server answers a command. */
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

struct Rule {
    struct Answer {
        std::string_view suffix;
        std::chrono::milliseconds after;  ///< the request
    };
    std::vector<Answer> answers;
    bool toAnotherServer = false;  ///< addressed to a server that hasn't asked
};

/** Delays of a rule; what is left out is the rule's own. */
struct RuleDelays {
    std::optional<std::chrono::milliseconds> ack;     ///< of the ACK or NACK, after the request
    std::optional<std::chrono::milliseconds> result;  ///< of the PASS or FAIL, after the ACK
};

/** The rule of that name; empty when there is none. */
std::optional<Rule> makeRule(std::string_view name, const RuleDelays& delays);
/** A line for each rule: its name and what it does. */
std::string ruleHelp();

}  // namespace bench
