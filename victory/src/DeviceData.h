/** What the bus knows of the device. */
#pragma once

#include <optional>

#include "utilities/Mutex.h"
#include "victory/src/Json.h"
#include "victory/victory.h"

namespace victory {

/** A value that is told on any thread and taken on the bus thread. Telling copies the value and
 *  waits for no more than another such copy. */
template <class T>
class Latest {
public:
    void tell(const T& value) EXCLUDES(m_mutex) {
        const utilities::MutexLock lock(m_mutex);
        m_told = value;
        m_fresh = true;
    }
    /** The value if it was told since the last call, else null. Valid until the next call. */
    const T* takeFresh() EXCLUDES(m_mutex) {
        const utilities::MutexLock lock(m_mutex);
        if (!m_fresh) {
            return nullptr;
        }
        m_fresh = false;
        m_taken = m_told;
        return &m_taken;
    }

private:
    utilities::Mutex m_mutex;
    T m_told GUARDED_BY(m_mutex){};
    bool m_fresh GUARDED_BY(m_mutex) = false;
    T m_taken{};  // the bus thread's own
};

struct MagneticVariation {
    VgpscMagneticVariation source;
    double degrees;
};

/** All that the owner can tell of the device. The members are for the Tell operations of any
 *  thread, the operations for the bus thread. */
class DeviceData {
public:
    Latest<unsigned> datumCode;
    Latest<unsigned> maximumUserDefinedDatums;
    Latest<unsigned> missionDuration;
    Latest<int> operatingMode; /**< -1 none */
    Latest<MagneticVariation> magneticVariation;
    Latest<VgpscReceiverPorts> receiverPorts;
    Latest<VgpscReceiverHotStartPort> hotStartPort;
    Latest<VgpscReceiverHotStartData> hotStartData;

    /** Takes what was told; returns the keys whose value differs from what was known, null for a
     *  value that is gone. */
    Json takeChanges();
    /** All that is known as of the last takeChanges. */
    const Json& known() const { return m_known; }

private:
    template <class T>
    void note(Json& changes, const char* key, Latest<T>& latest);

    Json m_known = Json::object();
};

}  // namespace victory
