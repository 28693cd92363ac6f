#include "bench/run/RunTopic.h"

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <thread>
#include <vector>

#include "bench/DeviceRoot.h"
#include "bench/FreshDomain.h"
#include "bench/ServerProcess.h"
#include "bench/SiblingProcess.h"
#include "bench/siblings/AnyTopic.h"
#include "bench/siblings/Catalogue.h"
#include "face/HC_Config.h"
#include "utilities/Console.h"

namespace bench {
namespace {

using FACE::RETURN_CODE_TYPE;
using nlohmann::ordered_json;
using utilities::concat;
using utilities::printErrorLine;
using utilities::printLine;
using namespace std::chrono_literals;

constexpr auto patience = 20s;
constexpr auto lookAround = 2ms;

class JsonWriter : public FieldVisitor {
public:
    void begin(std::string_view name, bool isList) override {
        m_open.push_back(
            add(name, isList ? ordered_json(ordered_json::array()) : ordered_json::object()));
    }
    void end() override { m_open.pop_back(); }
    void value(std::string_view name, FieldValue& value) override {
        std::visit([&](const auto& field) { add(name, field); }, value);
    }

    ordered_json json = ordered_json::object();

private:
    ordered_json* add(std::string_view name, ordered_json value) {
        ordered_json& parent = *m_open.back();
        if (parent.is_array()) {
            return &parent.emplace_back(std::move(value));
        }
        return &(parent[std::string(name)] = std::move(value));
    }

    std::vector<ordered_json*> m_open{&json};
};

/** A line for each field; what holds lists or structures has a line for each of these, too. */
std::vector<std::string> describe(const MessageType& type, void* message) {
    JsonWriter writer;
    type.visit(message, writer);
    std::vector<std::string> lines;
    const auto text = [](const ordered_json& value) {
        return value.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
    };
    for (const auto& [name, value] : writer.json.items()) {
        const bool isDeep = value.is_array() && !value.empty() && value[0].is_structured();
        lines.push_back(isDeep ? concat("  ", name) : concat("  ", name, " ", text(value)));
        for (std::size_t i = 0; isDeep && i < value.size(); ++i) {
            lines.push_back(concat("    ", i, " ", text(value[i])));
        }
    }
    return lines;
}

std::shared_ptr<FACE::TSS::HC_TSS> join(const std::string& file) {
    auto transport = std::make_shared<FACE::TSS::HC_TSS>("run");
    RETURN_CODE_TYPE::Value code{};
    transport->Set_Reference("", std::make_shared<FACE::HC_Config>(), 0, code);
    transport->Initialize(file.c_str(), code);
    if (code != RETURN_CODE_TYPE::NO_ERROR) {
        throw std::runtime_error(concat("Can't join the domain of ", file));
    }
    return transport;
}

/** Publishes a sample, which waits for its reader, until `isOver`; what it says. */
std::vector<std::string> publish(AnyTopic& topic, const MessageType& type, const auto& isOver) {
    const auto destroy = [&topic](void* message) { topic.support().deleteData(message); };
    const std::unique_ptr<void, decltype(destroy)> message(topic.support().createData(), destroy);
    Filler filler;
    type.visit(message.get(), filler);
    if (!topic.send(message.get())) {
        throw std::runtime_error("The sample was not taken");
    }
    const Deadline deadline = within(patience);
    while (!isOver() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(lookAround);
    }
    return describe(type, message.get());
}

int listTypes(const std::string& wrong) {
    std::string text = wrong.empty() ? "The message types of the system:\n"
                                     : concat("No message type \"", wrong, "\"; there are\n");
    for (const MessageType& type : catalogue()) {
        text += concat("  ", type.name, "\n");
    }
    text.pop_back();
    if (wrong.empty()) {
        printLine(text);
        return EXIT_SUCCESS;
    }
    printErrorLine("run: ", text);
    return EXIT_FAILURE;
}

}  // namespace

int showTopic(const std::string& type) {
    const MessageType* const found = findMessageType(type);
    if (found == nullptr) {
        return listTypes(type == "help" ? "" : type);
    }
    DeviceRoot root;
    const unsigned domain = freshDomain();
    root.setParameter(connectionsFile, "FastRtps", "DomainId", std::to_string(domain));
    root.setParameter(connectionsFile, "FastRtps", "BackFillHistory", "true");
    root.addContainer(connectionsFile, type);
    root.setParameter(connectionsFile, type, "TopicType", "aspn2_msgs::idl::" + type);
    root.setParameter(connectionsFile, type, "PubSubType", type + "PubSubType");
    const std::string file = root.configFile(connectionsFile).string();

    ServerProcess reader({std::filesystem::read_symlink("/proc/self/exe"),
                          {"--topic", type, "--hear-on", file},
                          {}});
    const auto transport = join(file);
    AnyTopic topic(*transport, type);
    const auto sent = publish(topic, *found, [&] { return reader.wait(within(0ms)).has_value(); });
    std::vector<std::string> received;
    for (const ServerProcess::Line& line : reader.lines()) {
        received.push_back(line.text);
    }
    printLine("Topic \"", type, "\", type aspn2_msgs::idl::", type, ", domain ", domain,
              ". Another process has received:");
    for (const std::string& line : received) {
        printLine(line);
    }
    printLine(received == sent ? "It is what was sent" : "THIS IS NOT WHAT WAS SENT");
    return received == sent ? EXIT_SUCCESS : EXIT_FAILURE;
}

int hearTopic(const std::string& type, const std::string& file) {
    const MessageType* const found = findMessageType(type);
    if (found == nullptr) {
        return EXIT_FAILURE;
    }
    std::promise<std::vector<std::string>> heard;
    std::atomic<bool> isFirst{true};
    const auto transport = join(file);
    AnyTopic topic(*transport, type);
    topic.hear([&](void* message) {
        if (isFirst.exchange(false)) {
            heard.set_value(describe(*found, message));
        }
    });
    auto lines = heard.get_future();
    if (lines.wait_for(patience) != std::future_status::ready) {
        throw std::runtime_error("Nothing was heard");
    }
    for (const std::string& line : lines.get()) {
        printLine(line);
    }
    return EXIT_SUCCESS;
}

}  // namespace bench
