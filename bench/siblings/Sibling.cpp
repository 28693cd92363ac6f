#include "bench/siblings/Sibling.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

#include "ASPN/AspnDeviceIds.h"
#include "ASPN/AspnHelper.h"
#include "ASPN/CmdResponseStrings.h"
#include "utilities/Console.h"

namespace bench {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t mostWaiting = 10000;
constexpr auto discovery = 5s;  // until a server that asked is found to read the answers
constexpr auto settling = 1s;   // until all servers that run are found
constexpr auto delivery = 2s;

/** The commands that the GPS server sends. */
constexpr std::array commandsOfTheServer{
    Sys::CommandString::TyrnCVZeroize, Sys::CommandString::InitHotStart,
    Sys::CommandString::InitWarmStart, Sys::CommandString::InitDataTransferOutLNav};

/** No FPGA here: stamps are of the steady clock. */
void stamp(aspn2_msgs::idl::CommandResponse& message) {
    ASPN2::setToVandToA_fromNSec(std::chrono::steady_clock::now().time_since_epoch(),
                                 message.header());
}

}  // namespace

std::optional<unsigned char> serverIdOf(const std::string& name) {
    for (unsigned id = 0; id <= 0xFF; ++id) {
        if (name == ASPN2::ServerIds::to_string(static_cast<unsigned char>(id)) &&
            name != ASPN2::ServerIds::to_string(0)) {
            return static_cast<unsigned char>(id);
        }
    }
    return std::nullopt;
}

Sibling::Sibling(unsigned char serverId, const std::string& connectionsFile, Past past)
    : m_messages(ASPN2::DeviceIdFactory(ASPN2::SystemIds::orda_name, serverId)),
      m_deviceId(
          static_cast<std::int32_t>(ASPN2::DeviceIdFactory(ASPN2::SystemIds::orda_name, serverId)
                                        .makeDeviceId(ASPN2::MessageKinds::CommandResponse, 0))),
      m_topics(ASPN2::ServerIds::to_string(serverId), connectionsFile, past,
               [this](const Arrival& arrival) { take(arrival); }),
      m_answering([this] { answerWhenDue(); }) {}

Sibling::~Sibling() {
    {
        const utilities::MutexLock lock(m_mutex);
        m_stopped = true;
        m_changed.notify_all();
    }
    m_answering.join();
}

void Sibling::answer(const std::string& word, Rule rule) {
    const utilities::MutexLock lock(m_mutex);
    m_rules[word] = std::move(rule);
}

std::size_t Sibling::answered() const {
    const utilities::MutexLock lock(m_mutex);
    return m_answered;
}

bool Sibling::waitForOthers(Deadline deadline) const {
    return m_topics.waitForReader(Topic::Command, settling, deadline);
}

Sibling::CommandResponse Sibling::send(const std::string& command) {
    CommandResponse message = m_messages.makeCommand(command);
    // Another process that goes by the same server id counts from 0 as well.
    message.command_identifier(::getpid() * 256 + message.command_identifier() % 256);
    stamp(message);
    m_topics.send(Topic::Command, message);
    return message;
}

void Sibling::flush() const {
    m_topics.flush(Topic::Command, delivery);
}

bool Sibling::answers(const Arrival& arrival, const CommandResponse& command) {
    if (arrival.topic != Topic::Response) {
        return false;
    }
    const auto& response = std::get<CommandResponse>(arrival.message);
    return response.commanded_device_id() == command.header().device_id() &&
           response.command_identifier() == command.command_identifier() &&
           response.command_response_type() == ASPN2::CmdResponse::responseType;
}

std::optional<Arrival> Sibling::next(Deadline deadline) {
    const utilities::MutexLock lock(m_mutex);
    while (m_heard.empty() && m_changed.wait_until(m_mutex, deadline)) {
    }
    if (m_heard.empty()) {
        return std::nullopt;
    }
    Arrival first = std::move(m_heard.front());
    m_heard.pop_front();
    return first;
}

void Sibling::take(const Arrival& arrival) {
    const utilities::MutexLock lock(m_mutex);
    if (m_heard.size() == mostWaiting) {
        m_heard.pop_front();
    }
    m_heard.push_back(arrival);
    if (arrival.topic == Topic::Command) {
        plan(std::get<CommandResponse>(arrival.message));
    }
    m_changed.notify_all();
}

void Sibling::plan(const CommandResponse& command) {
    const Rule* const rule = ruleOf(command);
    if (rule == nullptr) {
        return;
    }
    if (rule->answers.empty()) {
        ++m_answered;
    }
    const std::string& text = command.command_response();
    for (const Rule::Answer& answer : rule->answers) {
        CommandResponse response =
            m_messages.makeResponse(command, text.substr(0, text.find(',')).append(answer.suffix));
        if (rule->toAnotherServer) {
            response.commanded_device_id(response.commanded_device_id() ^ 0x00010000);
        }
        m_due.emplace(within(answer.after),
                      Due{std::move(response), &answer == &rule->answers.back()});
    }
}

const Rule* Sibling::ruleOf(const CommandResponse& command) const {
    if (command.command_response_type() != ASPN2::CmdResponse::commandType ||
        command.header().device_id() == m_deviceId) {
        return nullptr;
    }
    const std::string& text = command.command_response();
    const std::string word = text.substr(0, text.find(','));
    auto rule = m_rules.find(word);
    if (rule == m_rules.end() &&
        std::ranges::find(commandsOfTheServer, word) != std::ranges::end(commandsOfTheServer)) {
        rule = m_rules.find("");
    }
    return rule == m_rules.end() ? nullptr : &rule->second;
}

void Sibling::answerWhenDue() {
    while (auto due = waitForDue()) {
        m_topics.waitForReader(Topic::Response, 0ms, within(discovery));
        stamp(due->response);
        try {
            m_topics.send(Topic::Response, due->response);
        } catch (const std::exception& failure) {
            utilities::printErrorLine(failure.what());
        }
        const utilities::MutexLock lock(m_mutex);
        m_answered += due->isLast ? 1 : 0;
    }
}

/** The next answer, once it is due; empty when there is to be no more. */
std::optional<Sibling::Due> Sibling::waitForDue() {
    const utilities::MutexLock lock(m_mutex);
    while (!m_stopped) {
        if (m_due.empty()) {
            m_changed.wait(m_mutex);
            continue;
        }
        const Deadline first = m_due.begin()->first;
        if (first <= std::chrono::steady_clock::now()) {
            return std::move(m_due.extract(m_due.begin()).mapped());
        }
        m_changed.wait_until(m_mutex, first);
    }
    return std::nullopt;
}

}  // namespace bench
