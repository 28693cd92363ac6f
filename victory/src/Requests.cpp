#include "victory/src/Requests.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <stdexcept>
#include <type_traits>

#include "victory/src/Complaint.h"
#include "victory/src/Configuration.h"

namespace victory {

namespace {

// Far above what any request needs, far below what a hostile one could make of 4 MiB.
constexpr int kMaximumDepth = 8;
constexpr unsigned kMaximumValues = 4096;
constexpr std::size_t kMaximumIdBytes = 64;
// With its NUL it fits the buffer that it will be read back into.
constexpr std::size_t kMaximumVclBytes = 65535;

/** A request that can't be read; what() says why, to the sender. */
class RequestError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// --- Values of a request ---------------------------------------------------------------------

const Json& member(const Json& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end()) {
        throw RequestError(std::string("\"") + key + "\" is missing");
    }
    return *found;
}

template <class Integer>
Integer readInteger(const Json& object, const char* key) {
    using Limits = std::numeric_limits<Integer>;
    const Json& value = member(object, key);
    const bool inRange =
        value.is_number_unsigned()
            ? value.get<std::uint64_t>() <= static_cast<std::uint64_t>(Limits::max())
            : value.is_number_integer() && value.get<std::int64_t>() >= Limits::min();
    if (!inRange) {
        throw RequestError(std::string("\"") + key + "\" has to be a whole number from " +
                           std::to_string(Limits::min()) + " to " + std::to_string(Limits::max()));
    }
    return value.get<Integer>();
}

double readNumber(const Json& object, const char* key) {
    const Json& value = member(object, key);
    if (!value.is_number() || !std::isfinite(value.get<double>())) {
        throw RequestError(std::string("\"") + key + "\" has to be a number");
    }
    return value.get<double>();
}

/** A text of at most `maximum` bytes, none of them NUL. */
const std::string& readText(const Json& object, const char* key, std::size_t maximum) {
    const Json& value = member(object, key);
    const std::string* text = value.get_ptr<const std::string*>();
    if (text == nullptr || text->size() > maximum || text->find('\0') != std::string::npos) {
        throw RequestError(std::string("\"") + key + "\" has to be a text of at most " +
                           std::to_string(maximum) + " bytes, none of them NUL");
    }
    return *text;
}

/** An array of at most `maximum` objects. */
const Json& readObjects(const Json& object, const char* key, std::size_t maximum) {
    const Json& value = member(object, key);
    const bool isList = value.is_array() && value.size() <= maximum &&
                        std::all_of(value.begin(), value.end(),
                                    [](const Json& entry) { return entry.is_object(); });
    if (!isList) {
        throw RequestError(std::string("\"") + key + "\" has to be an array of at most " +
                           std::to_string(maximum) + " objects");
    }
    return value;
}

int hexDigit(char digit) {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    const char lower = static_cast<char>(digit | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

void readBytes(const Json& object, VgpscHotStartMessage& message) {
    const std::string& text = readText(object, "bytes", 2 * sizeof message.bytes);
    if (text.size() % 2 != 0) {
        throw RequestError("\"bytes\" has to have two hexadecimal digits a byte");
    }
    message.length = static_cast<std::uint32_t>(text.size() / 2);
    for (std::size_t i = 0; i < message.length; ++i) {
        const int high = hexDigit(text[2 * i]);
        const int low = hexDigit(text[2 * i + 1]);
        if (high < 0 || low < 0) {
            throw RequestError("\"bytes\" has to be hexadecimal digits");
        }
        message.bytes[i] = static_cast<std::uint8_t>(high << 4 | low);
    }
}

// --- One function a request: reads its values and calls the owner -------------------------------

template <class Function, class... Arguments>
int call(const Callback<Function>& callback, VgpssService* service, const Arguments&... arguments) {
    return callback.function(callback.data, service, arguments...);
}

int setCommand(const Callbacks& callbacks, VgpssService* service, const Json& request) {
    VgpsCommandData record{};
    for (const Json& entry : readObjects(request, "commands", VGPSC_COMMANDS)) {
        record.commands[record.commandCount++] = {readInteger<std::int32_t>(entry, "name"),
                                                  readInteger<std::int32_t>(entry, "type")};
    }
    return call(callbacks.setCommand, service, record);
}

int saveVcl(const Callbacks& callbacks, VgpssService* service, const Json& request) {
    const std::string& text = readText(request, "text", kMaximumVclBytes);
    try {
        readVcl(text.c_str());  // what is kept has to bring the service up again
    } catch (const std::runtime_error& error) {
        throw RequestError(error.what());
    }
    return call(callbacks.saveVclid, service, text.c_str());
}

int setMagneticVariation(const Callbacks& callbacks, VgpssService* service, const Json& request) {
    return call(callbacks.setMagneticVariation, service,
                readInteger<VgpscMagneticVariation>(request, "source"),
                readNumber(request, "degrees"));
}

int setMissionDuration(const Callbacks& callbacks, VgpssService* service, const Json& request) {
    return call(callbacks.setMissionDuration, service,
                readInteger<std::uint32_t>(request, "duration"));
}

int setOperatingMode(const Callbacks& callbacks, VgpssService* service, const Json& request) {
    return call(callbacks.setOperatingMode, service,
                readInteger<VgpscOperatingMode>(request, "mode"));
}

int setHotStartPort(const Callbacks& callbacks, VgpssService* service, const Json& request) {
    VgpscReceiverHotStartPort port{};
    readText(request, "name", sizeof port.name - 1).copy(port.name, sizeof port.name - 1);
    return call(callbacks.setHotStartPort, service, port);
}

int setHotStartData(const Callbacks& callbacks, VgpssService* service, const Json& request) {
    const auto record = std::make_unique<VgpscReceiverHotStartData>();
    record->hotStartMode = readInteger<std::uint32_t>(request, "hotStartMode");
    for (const Json& entry : readObjects(request, "messages", VGPSC_HOT_START_MESSAGES)) {
        VgpscHotStartMessage& message = record->messages[record->messageCount++];
        message.messageId = readInteger<VgpscGssipMessageId>(entry, "messageId");
        message.sequence = readInteger<std::uint32_t>(entry, "sequence");
        readBytes(entry, message);
    }
    return call(callbacks.setHotStartData, service, *record);
}

template <auto Member>
bool isOffered(const Callbacks& callbacks) {
    return (callbacks.*Member).function != nullptr;
}

struct Request {
    const char* name;
    bool (*isOffered)(const Callbacks&);
    int (*carryOut)(const Callbacks&, VgpssService*, const Json&);
};

constexpr Request kRequests[] = {
    {"command", isOffered<&Callbacks::setCommand>, setCommand},
    {"saveVcl", isOffered<&Callbacks::saveVclid>, saveVcl},
    {"magneticVariation", isOffered<&Callbacks::setMagneticVariation>, setMagneticVariation},
    {"missionDuration", isOffered<&Callbacks::setMissionDuration>, setMissionDuration},
    {"operatingMode", isOffered<&Callbacks::setOperatingMode>, setOperatingMode},
    {"hotStartPort", isOffered<&Callbacks::setHotStartPort>, setHotStartPort},
    {"hotStartData", isOffered<&Callbacks::setHotStartData>, setHotStartData},
};

// --- A line ---------------------------------------------------------------------------------

Json parse(const std::string& text) {
    unsigned values = 0;
    const auto guard = [&values](int depth, Json::parse_event_t /*event*/, Json& /*value*/) {
        if (depth > kMaximumDepth || ++values > kMaximumValues) {
            throw RequestError("more than " + std::to_string(kMaximumValues) + " values or " +
                               std::to_string(kMaximumDepth) + " levels");
        }
        return true;
    };
    try {
        return Json::parse(text, guard);
    } catch (const Json::parse_error& error) {
        throw RequestError("isn't JSON, at byte " + std::to_string(error.byte));
    } catch (const Json::exception&) {
        throw RequestError("holds a number out of range");
    }
}

Json readRequest(const LineSplitter::Line& line) {
    switch (line.fault) {
        case LineSplitter::Fault::TOO_LONG:
            throw RequestError("longer than " + std::to_string(kMaximumRequestBytes) + " bytes");
        case LineSplitter::Fault::CUT_OFF:
            throw RequestError("the connection ended before its line did");
        case LineSplitter::Fault::NONE:
            break;
    }
    Json request = parse(line.text);
    if (!request.is_object()) {
        throw RequestError("isn't a JSON object");
    }
    return request;
}

Json readId(const Json& request) {
    const auto id = request.find("id");
    if (id == request.end()) {
        return nullptr;
    }
    const std::string* text = id->get_ptr<const std::string*>();
    if (!id->is_number_integer() && (text == nullptr || text->size() > kMaximumIdBytes)) {
        throw RequestError("\"id\" has to be a whole number or a text of at most " +
                           std::to_string(kMaximumIdBytes) + " bytes");
    }
    return *id;
}

const Request& findRequest(const Json& request) {
    const std::string& name = readText(request, "request", kMaximumIdBytes);
    const auto* const found =
        std::find_if(std::begin(kRequests), std::end(kRequests),
                     [&](const Request& entry) { return name == entry.name; });
    if (found == std::end(kRequests)) {
        throw RequestError("there is no request \"" + printable(name) + "\"");
    }
    return *found;
}

}  // namespace

Json offeredRequests(const Callbacks& callbacks) {
    Json names = Json::array();
    for (const Request& request : kRequests) {
        if (request.isOffered(callbacks)) {
            names.push_back(request.name);
        }
    }
    return names;
}

std::string answer(const Callbacks& callbacks, VgpssService* service,
                   const LineSplitter::Line& line) {
    Json id;
    try {
        const Json request = readRequest(line);
        id = readId(request);
        const Request& entry = findRequest(request);
        if (!entry.isOffered(callbacks)) {
            return errorReply(id, "not offered");
        }
        const int result = entry.carryOut(callbacks, service, request);
        return toLine({{"reply", id}, {"result", result == 0 ? 0 : 1}});
    } catch (const RequestError& error) {
        complainOfSender(std::string("request ") + error.what());
        return errorReply(id, std::string("request ") + error.what());
    } catch (const std::exception& error) {
        complain(std::string("VICTORY service: a request failed: ") + error.what());
        return errorReply(id, "the request failed");
    }
}

std::string errorReply(const Json& id, const std::string& text) {
    return toLine({{"reply", id}, {"error", text}});
}

}  // namespace victory
