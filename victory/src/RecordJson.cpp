#include "victory/src/RecordJson.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <variant>

namespace victory {

namespace {

template <class Record>
struct Field {
    const char* name;
    std::variant<std::uint32_t Record::*, std::int32_t Record::*, double Record::*> value;
    std::uint32_t Record::*present = nullptr;
};

#define ALWAYS(name) \
    { #name, &R::name }
#define OPTIONAL(name) \
    { #name, &R::name, &R::name##Present }

template <class Record>
struct Fields;

template <>
struct Fields<VgpscDateTime> {
    using R = VgpscDateTime;
    static constexpr Field<R> kList[] = {ALWAYS(year),       ALWAYS(month),   ALWAYS(day),
                                         ALWAYS(hours),      ALWAYS(minutes), ALWAYS(seconds),
                                         ALWAYS(nanoseconds)};
};

template <>
struct Fields<VgpscReceiverChannelData> {
    using R = VgpscReceiverChannelData;
    static constexpr Field<R> kList[] = {
        ALWAYS(svNumber),     OPTIONAL(stateClass), OPTIONAL(activity), OPTIONAL(doubledTerm),
        ALWAYS(plainTerm),    ALWAYS(channelByte),  ALWAYS(stateCode),  OPTIONAL(inUse),
        OPTIONAL(groupClass), ALWAYS(modeNibble)};
};

template <>
struct Fields<VgpscReceiverStatusData> {
    using R = VgpscReceiverStatusData;
    static constexpr Field<R> kList[] = {
        ALWAYS(receiverTime),        ALWAYS(positionQuality),
        ALWAYS(timeQuality),         OPTIONAL(timeStatus),
        OPTIONAL(operatingMode),     ALWAYS(channelCount),
        OPTIONAL(statusWordA),       OPTIONAL(statusWordB),
        OPTIONAL(statusWordC),       OPTIONAL(statusValueD),
        OPTIONAL(statusWordE),       OPTIONAL(statusWordF),
        OPTIONAL(northReference),    OPTIONAL(northReferenceCorrection),
        OPTIONAL(statusBitsG),       OPTIONAL(datumCode),
        OPTIONAL(magneticVariation), OPTIONAL(magneticVariationSource),
        OPTIONAL(positionValid),     OPTIONAL(modeFlagA),
        OPTIONAL(modeFlagB),         OPTIONAL(modeFlagC),
        OPTIONAL(noChannelInState2), OPTIONAL(noChannelInState2Or3),
        OPTIONAL(precisionTotal),    OPTIONAL(precisionA),
        OPTIONAL(precisionB),        OPTIONAL(precisionC),
        OPTIONAL(positionError),     ALWAYS(errorValueA),
        ALWAYS(errorValueB),         OPTIONAL(errorValueC),
        OPTIONAL(errorValueD)};
};

template <>
struct Fields<VgpscReceiverStatus2Data> {
    using R = VgpscReceiverStatus2Data;
    static constexpr Field<R> kList[] = {ALWAYS(receiverTime), OPTIONAL(missionDuration),
                                         OPTIONAL(status2Value), OPTIONAL(status2Code),
                                         ALWAYS(warningCount)};
};

template <>
struct Fields<VgpscHealthStatusData> {
    using R = VgpscHealthStatusData;
    static constexpr Field<R> kList[] = {ALWAYS(recordKind), ALWAYS(svCount)};
};

template <>
struct Fields<VgpscSvHealthStatusData> {
    using R = VgpscSvHealthStatusData;
    static constexpr Field<R> kList[] = {ALWAYS(svNumber), ALWAYS(health)};
};

template <>
struct Fields<VgpscHealthStatus2Data> {
    using R = VgpscHealthStatus2Data;
    static constexpr Field<R> kList[] = {ALWAYS(svCount)};
};

template <>
struct Fields<VgpscSvHealthStatus2Data> {
    using R = VgpscSvHealthStatus2Data;
    static constexpr Field<R> kList[] = {ALWAYS(svNumber), ALWAYS(azimuth), ALWAYS(elevation),
                                         ALWAYS(slotFlag)};
};

#undef ALWAYS
#undef OPTIONAL

template <class Record>
Json encodeFields(const Record& record) {
    Json json = Json::object();
    for (const Field<Record>& field : Fields<Record>::kList) {
        if (field.present == nullptr || record.*field.present != 0) {
            std::visit([&](auto member) { json[field.name] = record.*member; }, field.value);
        }
    }
    return json;
}

template <class Entry, std::size_t N>
std::span<const Entry> used(const Entry (&entries)[N], unsigned count) {
    return {entries, std::min<std::size_t>(count, N)};
}

template <class Entry, std::size_t N>
Json encodeEntries(const Entry (&entries)[N], unsigned count) {
    Json json = Json::array();
    for (const Entry& entry : used(entries, count)) {
        json.push_back(encodeFields(entry));
    }
    return json;
}

std::string toHex(std::span<const std::uint8_t> bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const std::uint8_t byte : bytes) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0x0F];
    }
    return text;
}

Json encodeWarning(const VgpscReceiverWarningMessage& warning) {
    Json json = {{"messageId", warning.messageId}};
    if (warning.hasCustomText != 0) {
        json["customText"] = textOf(warning.customText);
    }
    return json;
}

Json encodeMessage(const VgpscHotStartMessage& message) {
    return {{"messageId", message.messageId},
            {"sequence", message.sequence},
            {"length", message.length},
            {"bytes", toHex(used(message.bytes, message.length))}};
}

}  // namespace

Json encode(const VgpscDateTime& date) {
    return encodeFields(date);
}

Json encode(const VgpscReceiverStatusData& record, unsigned entries) {
    Json json = encodeFields(record);
    json["channels"] = encodeEntries(record.channels, entries);
    return json;
}

Json encode(const VgpscReceiverStatus2Data& record, unsigned /*entries*/) {
    Json json = encodeFields(record);
    json["warnings"] = Json::array();
    for (const VgpscReceiverWarningMessage& warning : used(record.warnings, record.warningCount)) {
        json["warnings"].push_back(encodeWarning(warning));
    }
    return json;
}

Json encode(const VgpscHealthStatusData& record, unsigned entries) {
    Json json = encodeFields(record);
    json["svs"] = encodeEntries(record.svs, entries);
    return json;
}

Json encode(const VgpscHealthStatus2Data& record, unsigned entries) {
    Json json = encodeFields(record);
    json["svs"] = encodeEntries(record.svs, entries);
    return json;
}

Json encode(const VgpscReceiverPorts& ports) {
    Json names = Json::array();
    for (const auto& name : used(ports.names, ports.count)) {
        names.push_back(textOf(name));
    }
    return names;
}

Json encode(const VgpscReceiverHotStartData& record) {
    Json messages = Json::array();
    for (const VgpscHotStartMessage& message : used(record.messages, record.messageCount)) {
        messages.push_back(encodeMessage(message));
    }
    return {{"hotStartMode", record.hotStartMode}, {"messages", std::move(messages)}};
}

}  // namespace victory
