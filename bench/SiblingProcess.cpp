#include "bench/SiblingProcess.h"

#include <algorithm>
#include <csignal>
#include <stdexcept>
#include <string_view>
#include <thread>

namespace bench {
namespace {

using namespace std::chrono_literals;

constexpr const char* domainContainer = "FastRtps";
constexpr auto pingPause = 300ms;
constexpr auto patience = 10s;
constexpr auto lookAround = 2ms;

}  // namespace

ServerProcess::Command SiblingProcess::commandFor(DeviceRoot& root,
                                                  const std::filesystem::path& program,
                                                  unsigned domain) {
    root.setParameter(connectionsFile, domainContainer, "DomainId", std::to_string(domain));
    return {program, {"--connections", root.configFile(connectionsFile).string(), "play"}, {}};
}

SiblingProcess::SiblingProcess(DeviceRoot& root, const std::filesystem::path& program,
                               unsigned domain)
    : m_process(commandFor(root, program, domain)) {}

SiblingProcess::~SiblingProcess() {
    m_process.signal(SIGTERM);
    m_process.wait(within(patience));
}

bool SiblingProcess::join(Deadline deadline) {
    const std::size_t from = end();
    do {
        send("BITSERVER_PING");
        if (hear("response VGpsReceiverServer", "VGpsReceiverServer",
                 std::min(deadline, within(pingPause)), from)) {
            return true;
        }
    } while (std::chrono::steady_clock::now() < deadline);
    return false;
}

void SiblingProcess::answer(const std::string& rule) {
    const std::size_t from = end();
    m_process.type("answer " + rule + "\n");
    if (!m_process.waitForLine("answering by", within(patience), from)) {
        throw std::runtime_error("The siblings don't take the rule " + rule);
    }
}

void SiblingProcess::send(const std::string& command) {
    m_process.type("send " + command + "\n");
}

bool SiblingProcess::hear(const std::string& sort, const std::string& text, Deadline deadline,
                          std::size_t from) const {
    while (count(sort, text, from) == 0) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        std::this_thread::sleep_for(lookAround);
    }
    return true;
}

std::size_t SiblingProcess::count(const std::string& sort, const std::string& text,
                                  std::size_t from) const {
    const auto lines = m_process.lines();
    const auto first = lines.begin() + static_cast<std::ptrdiff_t>(std::min(from, lines.size()));
    return static_cast<std::size_t>(std::count_if(first, lines.end(), [&](const auto& line) {
        return line.text.starts_with(sort) && line.text.ends_with(text);
    }));
}

}  // namespace bench
