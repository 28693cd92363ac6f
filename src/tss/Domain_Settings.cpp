#include "tss/Domain_Settings.h"

#include <fastdds/rtps/transport/TCPv4TransportDescriptor.h>
#include <fastdds/rtps/transport/UDPv4TransportDescriptor.h>
#include <fastdds/rtps/transport/shared_mem/SharedMemTransportDescriptor.h>
#include <fastrtps/utils/IPLocator.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>
#include <memory>
#include <sstream>
#include <string_view>
#include <system_error>
#include <utility>

#include "face/HC_Config_Helpers.h"
#include "utilities/Console.h"

namespace FACE::TSS {

namespace {

using eprosima::fastrtps::ParticipantAttributes;

/** The last domain whose ports lie below 65536; for a higher one the library ends the process. */
constexpr unsigned long long MAX_DOMAIN_ID = 232;

constexpr std::int32_t LEASE_SECONDS = 5;

/** A number with a sign, kept at the nearest one that 32 bits hold. */
std::int32_t toSigned(unsigned long long value) {
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(
        std::clamp<long long>(static_cast<long long>(value), Limits::min(), Limits::max()));
}

std::string getText(Configuration& config, int handle, const char* parameter,
                    RETURN_CODE_TYPE::Value& rc) {
    String text;
    HC_Config_Helpers::Get_String_Parameter(config, handle, parameter, text, rc);
    return std::string(text.view());
}

unsigned long long getNumber(Configuration& config, int handle, const char* parameter,
                             RETURN_CODE_TYPE::Value& rc) {
    unsigned long long value = 0;
    HC_Config_Helpers::Details::Get_Unsigned_Parameter(config, handle, parameter, value, rc);
    return value;
}

bool getFlag(Configuration& config, int handle, const char* parameter,
             RETURN_CODE_TYPE::Value& rc) {
    bool value = false;
    HC_Config_Helpers::Get_Boolean_Parameter(config, handle, parameter, value, rc);
    return value;
}

/** Empty when somebody listens on the port, or this process may not. The library itself would make
 *  a participant that can't be reached.
 */
std::string whyNotFree(std::uint16_t port) {
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int reuse = 1;
    ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof(reuse));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    const int failed = ::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address));
    std::string reason = failed == 0 ? "" : std::generic_category().message(errno);
    ::close(socket);
    return reason;
}

bool addSharedMemory(const Domain_Settings& /*settings*/, ParticipantAttributes& attributes) {
    attributes.rtps.userTransports.push_back(
        std::make_shared<eprosima::fastdds::rtps::SharedMemTransportDescriptor>());
    return true;
}

bool addUdp(const Domain_Settings& /*settings*/, ParticipantAttributes& attributes) {
    auto transport = std::make_shared<eprosima::fastdds::rtps::UDPv4TransportDescriptor>();
    transport->non_blocking_send = true;
    transport->interfaceWhiteList = {"127.0.0.1"};
    attributes.rtps.userTransports.push_back(std::move(transport));
    return true;
}

bool addTcpClient(const Domain_Settings& settings, ParticipantAttributes& attributes) {
    eprosima::fastrtps::rtps::Locator_t peer;
    peer.kind = LOCATOR_KIND_TCPv4;
    peer.port = settings.tcpPort;
    if (settings.tcpPort == 0 ||
        !eprosima::fastrtps::rtps::IPLocator::setIPv4(peer, settings.tcpAddress)) {
        utilities::printErrorLine("TcpAddress ", settings.tcpAddress, ", TcpPort ",
                                  settings.tcpPort, ": no such peer");
        return false;
    }
    attributes.rtps.builtin.initialPeersList.push_back(peer);
    attributes.rtps.userTransports.push_back(
        std::make_shared<eprosima::fastdds::rtps::TCPv4TransportDescriptor>());
    return true;
}

using Address = std::array<eprosima::fastrtps::rtps::octet, 4>;

/** All zero, which stands for none, unless `text` is four numbers of a byte each. */
Address parseAddress(const std::string& text) {
    std::istringstream in(text);
    std::array<int, 4> parts{};
    char separator = 0;
    in >> parts[0] >> separator >> parts[1] >> separator >> parts[2] >> separator >> parts[3];
    Address address{};
    if (in && std::ranges::all_of(parts, [](int part) { return part >= 0 && part <= 0xFF; })) {
        std::ranges::transform(parts, address.begin(),
                               [](int part) { return static_cast<Address::value_type>(part); });
    }
    return address;
}

bool addTcpServer(const Domain_Settings& settings, ParticipantAttributes& attributes) {
    const std::string reason =
        settings.tcpPort == 0 ? "no port to listen on" : whyNotFree(settings.tcpPort);
    if (!reason.empty()) {
        utilities::printErrorLine("TcpPort ", settings.tcpPort, ": ", reason);
        return false;
    }
    auto transport = std::make_shared<eprosima::fastdds::rtps::TCPv4TransportDescriptor>();
    std::ranges::copy(parseAddress(settings.tcpAddress), transport->wan_addr);
    transport->add_listener_port(settings.tcpPort);
    attributes.rtps.userTransports.push_back(std::move(transport));
    return true;
}

struct Transport_Choice {
    std::string_view name;
    bool (*add)(const Domain_Settings& settings, ParticipantAttributes& attributes);
};

constexpr std::array transportChoices{
    Transport_Choice{"SHM", addSharedMemory},
    Transport_Choice{"UDP", addUdp},
    Transport_Choice{"TCP_Client", addTcpClient},
    Transport_Choice{"TCP_Server", addTcpServer},
};

}  // namespace

Domain_Settings readDomainSettings(Configuration& config, int handle, RETURN_CODE_TYPE::Value& rc) {
    Domain_Settings settings;
    settings.domainId = getNumber(config, handle, "DomainId", rc);
    settings.historyDepth = toSigned(getNumber(config, handle, "HistoryDepth", rc));
    settings.useBestEffort = getFlag(config, handle, "UseBestEffort", rc);
    settings.backFillHistory = getFlag(config, handle, "BackFillHistory", rc);
    settings.transport = getText(config, handle, "UseTransport", rc);
    settings.tcpAddress = getText(config, handle, "TcpAddress", rc);
    settings.tcpPort = static_cast<std::uint16_t>(getNumber(config, handle, "TcpPort", rc));
    return settings;
}

std::optional<ParticipantAttributes> participantAttributes(const std::string& name,
                                                           const Domain_Settings& settings) {
    if (settings.domainId > MAX_DOMAIN_ID) {
        utilities::printErrorLine("DomainId ", settings.domainId, " is above ", MAX_DOMAIN_ID);
        return std::nullopt;
    }
    ParticipantAttributes attributes;
    attributes.domainId = static_cast<std::uint32_t>(settings.domainId);
    attributes.rtps.setName(name.c_str());
    attributes.rtps.builtin.discovery_config.leaseDuration = {LEASE_SECONDS, 0};
    attributes.rtps.useBuiltinTransports = false;
    for (const Transport_Choice& choice : transportChoices) {
        if (choice.name == settings.transport && !choice.add(settings, attributes)) {
            return std::nullopt;
        }
    }
    return attributes;
}

}  // namespace FACE::TSS
