#include "bench/siblings/TopicText.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "ASPN/AspnDeviceIds.h"
#include "utilities/Console.h"

namespace bench {
namespace {

using aspn2_msgs::idl::CommandResponse;
using aspn2_msgs::idl::EventLog;
using aspn2_msgs::idl::MaintenanceEvent;
using utilities::concat;

/** The text with what would spoil a line written as \xNN. */
std::string printable(std::string_view text) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string result;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= ' ' && byte != 0x7F) {
            result += c;
        } else {
            result += {'\\', 'x', digits[byte >> 4U], digits[byte & 0xFU]};
        }
    }
    return result;
}

/** A text in an array of fixed size, up to the zero byte behind it. */
template <std::size_t size>
std::string printable(const std::array<char, size>& text) {
    return printable(
        {text.data(), static_cast<std::size_t>(std::ranges::find(text, '\0') - text.begin())});
}

std::string serverOf(std::int32_t deviceId) {
    const auto id = static_cast<unsigned char>(static_cast<std::uint32_t>(deviceId) >> 16U);
    const std::string name = ASPN2::ServerIds::to_string(id);
    return name == ASPN2::ServerIds::to_string(0) ? concat("server ", int{id}) : name;
}

std::string nameOf(aspn2_msgs::idl::event_log_type_enum type) {
    switch (type) {
        case aspn2_msgs::idl::EVENT_LOG_TYPE_INFO:
            return "info";
        case aspn2_msgs::idl::EVENT_LOG_TYPE_WARNING:
            return "WARNING";
        case aspn2_msgs::idl::EVENT_LOG_TYPE_ERROR:
            return "ERROR";
        default:
            return concat("type ", static_cast<std::uint32_t>(type));
    }
}

struct Words {
    std::string operator()(const CommandResponse& message) const {
        const bool isCommand =
            message.command_response_type() == aspn2_msgs::idl::COMMAND_RESPONSE_TYPE_COMMAND;
        const std::string to = isCommand ? "" : " to " + serverOf(message.commanded_device_id());
        return concat(isCommand ? "command " : "response ", serverOf(message.header().device_id()),
                      to, " #", message.command_identifier(), ": ",
                      printable(message.command_response()));
    }
    std::string operator()(const EventLog& message) const {
        return concat("event ", serverOf(message.header().device_id()), " ",
                      nameOf(message.event_log_type()), ": ", printable(message.eventlog()));
    }
    std::string operator()(const MaintenanceEvent& message) const {
        return concat("maintenance ", serverOf(message.header().device_id()), " ",
                      printable(message.identity()), ": ", printable(message.description()),
                      " (criticality ", message.criticality_id(), ", category ",
                      message.category_id(), ", location ", message.location_id(), ", outcome ",
                      message.outcome_id(), ", LRU ", message.fault_sources()[0].lru_id(), "/",
                      message.fault_sources()[0].component_id(), ")");
    }
};

}  // namespace

std::string describe(const Arrival& arrival) {
    return std::visit(Words{}, arrival.message);
}

}  // namespace bench
