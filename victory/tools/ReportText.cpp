#include "victory/tools/ReportText.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <numbers>
#include <vector>

namespace victory {

namespace {

using nlohmann::json;

// --- Values that may be missing or anything ----------------------------------------------------

const json& at(const json& object, const char* key) {
    static const json kNothing;
    if (!object.is_object()) {
        return kNothing;
    }
    const auto found = object.find(key);
    return found == object.end() ? kNothing : *found;
}

/** What comes off the bus may hold anything; a terminal must not obey it. */
std::string printable(std::string text) {
    std::ranges::replace_if(
        text, [](unsigned char c) { return c < ' ' || c == 0x7F; }, '?');
    return text;
}

std::string text(const json& value) {
    return value.is_string() ? printable(value.get<std::string>())
                             : value.dump(-1, ' ', false, json::error_handler_t::replace);
}

std::int64_t integer(const json& object, const char* key) {
    const json& value = at(object, key);
    return value.is_number_integer() ? value.get<std::int64_t>() : 0;
}

template <class... Values>
std::string format(const char* pattern, Values... values) {
    char buffer[128];
    std::snprintf(buffer, sizeof buffer, pattern, values...);
    return buffer;
}

std::string number(const json& value, int digits) {
    return value.is_number() ? format("%.*f", digits, value.get<double>()) : "unknown";
}

/** A number of words, then joined by ", ". */
class Words {
public:
    void add(const std::string& words) {
        m_line += m_line.empty() ? "" : ", ";
        m_line += words;
    }
    /** `label` and the value, if there is one. */
    void addField(const char* label, const json& value) {
        if (!value.is_null()) {
            add(std::string(label) + " " + text(value));
        }
    }
    bool isEmpty() const { return m_line.empty(); }
    const std::string& line() const { return m_line; }

private:
    std::string m_line;
};

const char* sourceWord(const json& source) {
    if (source == 0) {
        return "local";
    }
    return source == 1 ? "calculated" : "of unknown source";
}

std::string dateOrReceiverTime(const json& data) {
    const json& date = at(data, "dateTime");
    if (date.is_object()) {
        const auto part = [&date](const char* key) {
            return static_cast<long long>(integer(date, key));
        };
        return format("%04lld-%02lld-%02lld %02lld:%02lld:%02lld", part("year"), part("month"),
                      part("day"), part("hours"), part("minutes"), part("seconds"));
    }
    const json& time = at(data, "receiverTime");
    return time.is_number() ? "receiver time " + number(time, 1) + " s" : "time unknown";
}

template <class Predicate>
std::string countOf(const json& list, Predicate predicate) {
    std::size_t count = 0;
    for (const json& entry : list) {
        count += predicate(entry) ? 1 : 0;
    }
    return std::to_string(count);
}

// --- One function a report ---------------------------------------------------------------------

std::string status(const json& data) {
    Words words;
    words.add(dateOrReceiverTime(data));
    words.add(at(data, "positionValid") == 1 ? "fix valid" : "fix invalid");
    words.addField("position quality", at(data, "positionQuality"));
    words.addField("time quality", at(data, "timeQuality"));
    const json& channels = at(data, "channels");
    const auto inView = [](const json& channel) { return integer(channel, "svNumber") != 0; };
    words.add(
        countOf(channels, [](const json& channel) { return integer(channel, "inUse") != 0; }) +
        " of " + countOf(channels, inView) + " satellites in view used");
    if (at(data, "magneticVariation").is_number()) {
        words.add("magnetic variation " + number(at(data, "magneticVariation"), 2) + " deg " +
                  sourceWord(at(data, "magneticVariationSource")));
    }
    if (at(data, "positionError").is_number()) {
        words.add("position error " + number(at(data, "positionError"), 1) + " m");
    }
    return words.line();
}

std::string status2(const json& data) {
    Words words;
    words.addField("mission duration", at(data, "missionDuration"));
    words.addField("state code", at(data, "status2Code"));
    words.addField("value", at(data, "status2Value"));
    const json& warnings = at(data, "warnings");
    for (const json& warning : warnings) {
        const json& custom = at(warning, "customText");
        words.add("WARNING " + text(at(warning, "messageId")) +
                  (custom.is_null() ? "" : " \"" + text(custom) + "\""));
    }
    if (warnings.empty()) {
        words.add("no warnings");
    }
    return words.line();
}

std::string health(const json& data) {
    const json& svs = at(data, "svs");
    Words words;
    words.add(dateOrReceiverTime(data));
    words.add(countOf(svs, [](const json& sv) { return at(sv, "health") == 0; }) + " of " +
              std::to_string(svs.size()) + " satellites healthy");
    for (const json& sv : svs) {
        if (at(sv, "health") != 0) {
            words.add("satellite " + text(at(sv, "svNumber")) + " unhealthy");
        }
    }
    return words.line();
}

std::string degrees(const json& radians) {
    return radians.is_number() ? format("%.0f", radians.get<double>() * 180.0 / std::numbers::pi)
                               : "?";
}

/** Places in degrees, azimuth and elevation: a dozen of them have to fit on a line. */
std::string health2(const json& data) {
    Words words;
    words.add(dateOrReceiverTime(data));
    const char* lead = "satellites at azimuth/elevation: ";
    for (const json& sv : at(data, "svs")) {
        words.add(lead + text(at(sv, "svNumber")) + " at " + degrees(at(sv, "azimuth")) + "/" +
                  degrees(at(sv, "elevation")));
        lead = "";
    }
    return words.line();
}

std::string device(const json& data) {
    Words words;
    words.addField("datum", at(data, "datumCode"));
    words.addField("user datums", at(data, "maximumUserDefinedDatums"));
    words.addField("mission duration", at(data, "missionDuration"));
    words.addField("operating mode", at(data, "operatingMode"));
    const json& variation = at(data, "magneticVariation");
    if (variation.is_object()) {
        words.add("magnetic variation " + number(at(variation, "degrees"), 2) + " deg " +
                  sourceWord(at(variation, "source")));
    }
    if (at(data, "receiverPorts").is_array()) {
        words.add(std::to_string(at(data, "receiverPorts").size()) + " ports");
    }
    words.addField("hot start port", at(data, "hotStartPort"));
    const json& hotStart = at(data, "hotStartData");
    if (hotStart.is_object()) {
        words.add("hot start data of " + std::to_string(at(hotStart, "messages").size()) +
                  " messages, mode " + text(at(hotStart, "hotStartMode")));
    }
    return words.isEmpty() ? "nothing known" : words.line();
}

std::string faults(const json& data) {
    Words words;
    for (const json& fault : at(data, "faults")) {
        words.add("FAULT " + text(at(fault, "id")) + " \"" + text(at(fault, "text")) + "\"");
    }
    return words.isEmpty() ? "none" : words.line();
}

struct Report {
    const char* name;
    const char* label;
    std::string (*describe)(const json& data);
};

constexpr Report kReports[] = {
    {"GPS_RECEIVER_STATUS", "status", status},
    {"GPS_RECEIVER_STATUS_2", "status 2", status2},
    {"GPS_RECEIVER_SATELLITE_HEALTH_STATUS", "health", health},
    {"GPS_RECEIVER_SATELLITE_HEALTH_STATUS_2", "health 2", health2},
    {"GPS_RECEIVER_DEVICE", "device", device},
    {"GPS_RECEIVER_FAULTS", "faults", faults},
};

std::string greeting(const json& hello) {
    Words requests;
    for (const json& request : at(hello, "requests")) {
        requests.add(text(request));
    }
    return "connected to " + text(at(hello, "service")) + " (" + text(at(hello, "maker")) + ", " +
           text(at(hello, "model")) + ", " + text(at(hello, "equipmentId")) + "), which offers " +
           (requests.isEmpty() ? "no requests" : requests.line());
}

std::string reply(const json& line) {
    const std::string lead = "reply to " + text(at(line, "reply")) + ": ";
    const json& error = at(line, "error");
    if (!error.is_null()) {
        return lead + text(error);
    }
    return lead + (at(line, "result") == 0 ? "carried out" : "refused");
}

}  // namespace

std::optional<std::string> describe(const nlohmann::json& line) {
    if (at(line, "hello").is_object()) {
        return greeting(at(line, "hello"));
    }
    if (line.is_object() && line.contains("reply")) {
        return reply(line);
    }
    const json& name = at(line, "report");
    for (const Report& report : kReports) {
        if (name == report.name) {
            return std::string(report.label) + ": " + report.describe(at(line, "data"));
        }
    }
    const json& error = at(line, "error");
    return error.is_null() ? std::nullopt : std::optional("error: " + text(error));
}

}  // namespace victory
