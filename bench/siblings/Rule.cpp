#include "bench/siblings/Rule.h"

#include <algorithm>
#include <array>
#include <span>

#include "ASPN/CmdResponseStrings.h"
#include "utilities/Console.h"

namespace bench {
namespace {

using namespace Sys::ResponseString;
using namespace std::chrono_literals;

constexpr auto usualResult = 100ms;
/** Beyond the 12 s that the server waits for an answer unless told otherwise. */
constexpr auto tooLate = 13s;

struct Row {
    std::string_view name;
    std::string_view meaning;
    std::string_view ack;     ///< empty: none
    std::string_view result;  ///< empty: none
    int times = 1;
    bool toAnotherServer = false;
    std::chrono::milliseconds ackAfter = 0ms;
};

constexpr std::array rows{
    Row{"pass", "ACK, then PASS", Ack, Pass},
    Row{"fail", "ACK, then FAIL", Ack, Fail},
    Row{"nack", "NACK", Nack, {}},
    Row{"ack", "ACK, and nothing after it", Ack, {}},
    Row{"silence", "nothing", {}, {}},
    Row{"late", "as pass, after the request's time-out of 12 s", Ack, Pass, 1, false, tooLate},
    Row{"twice", "as pass, each answer twice", Ack, Pass, 2},
    Row{"other-server", "as pass, addressed to a server that hasn't asked", Ack, Pass, 1, true},
};

}  // namespace

std::optional<Rule> makeRule(std::string_view name, const RuleDelays& delays) {
    const auto row = std::ranges::find(rows, name, &Row::name);
    if (row == rows.end()) {
        return std::nullopt;
    }
    const auto ackAfter = delays.ack.value_or(row->ackAfter);
    const auto resultAfter = ackAfter + delays.result.value_or(usualResult);
    Rule rule{{}, row->toAnotherServer};
    for (const auto& [suffix, after] :
         {Rule::Answer{row->ack, ackAfter}, Rule::Answer{row->result, resultAfter}}) {
        for (int i = 0; i < row->times && !suffix.empty(); ++i) {
            rule.answers.push_back({suffix, after});
        }
    }
    return rule;
}

std::string ruleHelp() {
    std::string text;
    for (const Row& row : rows) {
        text += utilities::concat("  ", row.name, std::string(14 - row.name.size(), ' '),
                                  row.meaning, "\n");
    }
    return text;
}

}  // namespace bench
