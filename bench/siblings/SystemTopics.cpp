#include "bench/siblings/SystemTopics.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <thread>
#include <utility>

#include "face/HC_Config.h"
#include "utilities/DeviceRoot.h"

namespace bench {
namespace {

using FACE::RETURN_CODE_TYPE;
using namespace std::chrono_literals;

constexpr std::array<const char*, 4> names{"Command", "Response", "EventLog", "MaintenanceEvent"};
constexpr auto lookAround = 2ms;

constexpr std::size_t indexOf(Topic topic) {
    return static_cast<std::size_t>(topic);
}

void require(RETURN_CODE_TYPE::Value code, const std::string& what) {
    if (code != RETURN_CODE_TYPE::NO_ERROR) {
        throw std::runtime_error(what + ", code " + std::to_string(code));
    }
}

/** The file, with "BackFillHistory" on. */
class BackFilled : public FACE::HC_Config {
public:
    void Get_Size(int handle, const FACE::String& parameter, int& size,
                  RETURN_CODE_TYPE::Value& rc) override {
        HC_Config::Get_Size(handle, parameter, size, rc);
        if (isMine(parameter)) {
            size = 1;
        }
    }
    void Read(int handle, const FACE::String& parameter, void* buffer, int buffer_size,
              int& bytes_read, RETURN_CODE_TYPE::Value& rc) override {
        HC_Config::Read(handle, parameter, buffer, buffer_size, bytes_read, rc);
        if (isMine(parameter) && rc == RETURN_CODE_TYPE::NO_ERROR && bytes_read == 1) {
            *static_cast<char*>(buffer) = '1';
        }
    }

private:
    static bool isMine(const FACE::String& parameter) {
        return parameter.view() == "BackFillHistory";
    }
};

}  // namespace

SystemTopics::SystemTopics(const std::string& participant, const std::string& connectionsFile,
                           Past past, Take take)
    : m_take(std::move(take)), m_tss(std::make_shared<FACE::TSS::HC_TSS>(participant)) {
    if (!std::filesystem::exists(utilities::resolvePath(connectionsFile))) {
        throw std::runtime_error("No connections file " + utilities::resolvePath(connectionsFile) +
                                 "; name one, or set HALCYRINE_ROOT to the unit's directory");
    }
    connect(connectionsFile, past);
    hear(m_commands, Topic::Command);
    hear(m_events, Topic::EventLog);
    hear(m_maintenance, Topic::MaintenanceEvent);
    hear(m_commands, Topic::Response);
    for (const Topic topic : {Topic::Response, Topic::Command}) {
        RETURN_CODE_TYPE::Value code{};
        m_commands.Register_Sender(m_connections[indexOf(topic)], code);
        require(code, std::string("Can't send on ") + names[indexOf(topic)]);
    }
}

void SystemTopics::connect(const std::string& connectionsFile, Past past) {
    RETURN_CODE_TYPE::Value code{};
    m_tss->Set_Reference(
        "",
        past == Past::Heard ? std::make_shared<BackFilled>() : std::make_shared<FACE::HC_Config>(),
        0, code);
    m_tss->Initialize(connectionsFile.c_str(), code);
    require(code, "Can't join the domain that " + connectionsFile + " names");
    m_commands.Set_Reference("", m_tss, 0, code);
    m_events.Set_Reference("", m_tss, 0, code);
    m_maintenance.Set_Reference("", m_tss, 0, code);
    for (std::size_t index = 0; index < names.size(); ++index) {
        int ignored = 0;
        m_tss->Create_Connection(names[index], -1, m_connections[index], ignored, code);
        require(code, connectionsFile + " doesn't describe the topic " + names[index]);
    }
}

template <typename T>
void SystemTopics::hear(Typed<T>& typed, Topic topic) {
    RETURN_CODE_TYPE::Value code{};
    typed.Register_Callback(
        m_connections[indexOf(topic)],
        [this, topic](long long, long long, const T& message, const FACE::TSS::HEADER_TYPE&,
                      const FACE::Sequence<FACE::TSS::QoS_Element>&, RETURN_CODE_TYPE::Value&) {
            m_take({topic, message});
        },
        code);
    require(code, std::string("Can't hear ") + names[indexOf(topic)]);
}

void SystemTopics::send(Topic topic, const CommandResponse& message) {
    RETURN_CODE_TYPE::Value code{};
    long long ignored = 0;
    m_commands.Send_Message(m_connections[indexOf(topic)], -1, ignored, message, code);
    require(code, "Can't send " + message.command_response());
}

int SystemTopics::readers(Topic topic) const {
    constexpr int ourOwn = 1;
    return connection(topic).publisherListener->matched() - ourOwn;
}

bool SystemTopics::waitForReader(Topic topic, std::chrono::milliseconds settling,
                                 Deadline deadline) const {
    int before = 0;
    Deadline settled = deadline;
    for (auto now = std::chrono::steady_clock::now(); now < std::min(settled, deadline);
         now = std::chrono::steady_clock::now()) {
        const int found = readers(topic);
        if (found > 0 && found != before) {
            before = found;
            settled = now + settling;
        } else {
            std::this_thread::sleep_for(lookAround);
        }
    }
    return readers(topic) > 0;
}

void SystemTopics::flush(Topic topic, std::chrono::seconds patience) const {
    connection(topic).publisher->wait_for_all_acked({static_cast<int>(patience.count()), 0});
}

FACE::TSS::HC_TSS::Connection_t& SystemTopics::connection(Topic topic) const {
    return m_tss->connectionMap_mutex_at(static_cast<std::uint32_t>(m_connections[indexOf(topic)]));
}

}  // namespace bench
