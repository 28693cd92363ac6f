#include "victory/src/DeviceData.h"

#include <cmath>

#include "victory/src/RecordJson.h"

namespace victory {

namespace {

Json encodeValue(unsigned value) {
    return value;
}
Json encodeValue(int mode) {
    return mode == -1 ? Json(nullptr) : Json(mode);
}
Json encodeValue(const MagneticVariation& variation) {
    // A number that isn't finite would never compare as unchanged.
    const Json degrees = std::isfinite(variation.degrees) ? Json(variation.degrees) : Json(nullptr);
    return {{"source", variation.source}, {"degrees", degrees}};
}
Json encodeValue(const VgpscReceiverPorts& ports) {
    return encode(ports);
}
Json encodeValue(const VgpscReceiverHotStartPort& port) {
    return textOf(port.name);
}
Json encodeValue(const VgpscReceiverHotStartData& record) {
    return encode(record);
}

}  // namespace

template <class T>
void DeviceData::note(Json& changes, const char* key, Latest<T>& latest) {
    const T* fresh = latest.takeFresh();
    if (fresh == nullptr) {
        return;
    }
    Json value = encodeValue(*fresh);
    const Json before = m_known.contains(key) ? m_known[key] : Json(nullptr);
    if (value == before) {
        return;
    }
    if (value.is_null()) {
        m_known.erase(key);
    } else {
        m_known[key] = value;
    }
    changes[key] = std::move(value);
}

Json DeviceData::takeChanges() {
    Json changes = Json::object();
    note(changes, "datumCode", datumCode);
    note(changes, "maximumUserDefinedDatums", maximumUserDefinedDatums);
    note(changes, "missionDuration", missionDuration);
    note(changes, "operatingMode", operatingMode);
    note(changes, "magneticVariation", magneticVariation);
    note(changes, "receiverPorts", receiverPorts);
    note(changes, "hotStartPort", hotStartPort);
    note(changes, "hotStartData", hotStartData);
    return changes;
}

}  // namespace victory
