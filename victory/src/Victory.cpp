// The C interface: handles in, exceptions out. Every function ignores a null handle.
#include "victory/src/Exported.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <string>

#include "victory/src/Complaint.h"
#include "victory/src/Service.h"

namespace {

using victory::Json;

constexpr std::size_t kMaximumFaultText = 1024;

const char* orEmpty(const char* text) {
    return text == nullptr ? "" : text;
}

template <class Record>
void tell(VgpssService* service, victory::ReportQueue<Record> victory::Tellings::*queue,
          const Record& record, unsigned entries, const VgpscDateTime* date) {
    if (service != nullptr) {
        (service->told.*queue).tell(record, entries, date);
        service->told.waker.wake();
    }
}

template <class T>
void tellDevice(VgpssService* service, victory::Latest<T> victory::DeviceData::*item,
                const T& value) {
    if (service != nullptr) {
        (service->told.device.*item).tell(value);
        service->told.waker.wake();
    }
}

template <auto Member, class Function>
void setCallback(VgpssService* service, const char* operation, Function function, void* data) {
    if (service != nullptr && service->maySet(operation)) {
        service->callbacks.*Member = {function, data};
    }
}

}  // namespace

// --- Life -----------------------------------------------------------------------------------

VgpssService* vgpssNewService(const char* serviceXml, const char* vclXml, const char* maker,
                              const char* model, const char* equipmentId) {
    try {
        return VgpssService::make(serviceXml, vclXml,
                                  {{"service", ""},
                                   {"maker", orEmpty(maker)},
                                   {"model", orEmpty(model)},
                                   {"equipmentId", orEmpty(equipmentId)}});
    } catch (const std::exception& error) {
        victory::complain(std::string("vgpssNewService: ") + error.what());
        return nullptr;
    }
}

void vgpssDeleteService(VgpssService* service) {
    if (service != nullptr) {
        service->end();
    }
}

int vgpssStartService(VgpssService* service) {
    if (service == nullptr) {
        return 1;
    }
    try {
        service->start();
        return 0;
    } catch (const std::exception& error) {
        victory::complain(std::string("vgpssStartService: ") + error.what());
        return 1;
    }
}

// --- Settings before the start -----------------------------------------------------------------

void vgpssInitPubGroup(VgpssService* service, int group, double periodSeconds) {
    if (service == nullptr || !service->maySet(__func__)) {
        return;
    }
    if (!service->groups.setPeriod(group, periodSeconds)) {
        victory::complain("vgpssInitPubGroup: ignored, the period of group " +
                          std::to_string(group) + " has to be above 0 s, not " +
                          std::to_string(periodSeconds));
    }
}

void vgpssInitTellCallback(VgpssService* service, int group, VgpssTellCallback callback,
                           void* data) {
    if (service != nullptr && service->maySet(__func__)) {
        service->groups.setCallback(group, callback, data);
    }
}

void vgpssInitSaveVclidCallback(VgpssService* service, VgpssSaveVclidCallback callback,
                                void* data) {
    setCallback<&victory::Callbacks::saveVclid>(service, __func__, callback, data);
}

void vgpssInitSetCommandCallback(VgpssService* service, VgpssSetCommandCallback callback,
                                 void* data) {
    setCallback<&victory::Callbacks::setCommand>(service, __func__, callback, data);
}

void vgpssInitSetMagneticVariationCallback(VgpssService* service,
                                           VgpssSetMagneticVariationCallback callback, void* data) {
    setCallback<&victory::Callbacks::setMagneticVariation>(service, __func__, callback, data);
}

void vgpssInitSetMissionDurationCallback(VgpssService* service,
                                         VgpssSetMissionDurationCallback callback, void* data) {
    setCallback<&victory::Callbacks::setMissionDuration>(service, __func__, callback, data);
}

void vgpssInitSetOperatingModeCallback(VgpssService* service,
                                       VgpssSetOperatingModeCallback callback, void* data) {
    setCallback<&victory::Callbacks::setOperatingMode>(service, __func__, callback, data);
}

void vgpssInitSetReceiverHotStartDataCallback(VgpssService* service,
                                              VgpssSetReceiverHotStartDataCallback callback,
                                              void* data) {
    setCallback<&victory::Callbacks::setHotStartData>(service, __func__, callback, data);
}

void vgpssInitSetReceiverHotStartPortCallback(VgpssService* service,
                                              VgpssSetReceiverHotStartPortCallback callback,
                                              void* data) {
    setCallback<&victory::Callbacks::setHotStartPort>(service, __func__, callback, data);
}

// --- Device data ------------------------------------------------------------------------------

using victory::DeviceData;

void vgpssTellDeviceDatumCode(VgpssService* service, unsigned code, unsigned /*zero*/) {
    tellDevice(service, &DeviceData::datumCode, code);
}

void vgpssTellDeviceMaximumUserDefinedDatums(VgpssService* service, unsigned count) {
    tellDevice(service, &DeviceData::maximumUserDefinedDatums, count);
}

void vgpssTellDeviceMissionDuration(VgpssService* service, unsigned duration) {
    tellDevice(service, &DeviceData::missionDuration, duration);
}

void vgpssTellDeviceOperatingMode(VgpssService* service, int mode) {
    tellDevice(service, &DeviceData::operatingMode, mode);
}

void vgpssTellDeviceMagneticVariation(VgpssService* service, VgpscMagneticVariation source,
                                      double degrees) {
    tellDevice(service, &DeviceData::magneticVariation, {source, degrees});
}

void vgpssTellDeviceReceiverPorts(VgpssService* service, VgpscReceiverPorts ports) {
    tellDevice(service, &DeviceData::receiverPorts, ports);
}

void vgpssTellDeviceReceiverHotStartPort(VgpssService* service, VgpscReceiverHotStartPort port) {
    tellDevice(service, &DeviceData::hotStartPort, port);
}

void vgpssTellDeviceReceiverHotStartData(VgpssService* service, VgpscReceiverHotStartData record) {
    tellDevice(service, &DeviceData::hotStartData, record);
}

// --- Reports ----------------------------------------------------------------------------------

using victory::Tellings;

void vgpssTellStatusData(VgpssService* service, unsigned channels, VgpscReceiverStatusData record,
                         const VgpscDateTime* date) {
    tell(service, &Tellings::status, record, channels, date);
}

void vgpssTellStatus2Data(VgpssService* service, VgpscReceiverStatus2Data record,
                          const VgpscDateTime* date) {
    tell(service, &Tellings::status2, record, 0, date);
}

void vgpssTellHealthStatusData(VgpssService* service, unsigned svs, VgpscHealthStatusData record,
                               const VgpscDateTime* date) {
    tell(service, &Tellings::health, record, svs, date);
}

void vgpssTellHealthStatus2Data(VgpssService* service, unsigned svs, VgpscHealthStatus2Data record,
                                const VgpscDateTime* date) {
    tell(service, &Tellings::health2, record, svs, date);
}

// --- Faults -----------------------------------------------------------------------------------

unsigned vgpssAddFault(VgpssService* service, const char* text, int acknowledged,
                       VhlthcSeverity severity, VhlthcCategory category, VhlthcAction action) {
    if (service == nullptr) {
        return 0;
    }
    try {
        const std::string shown(orEmpty(text), ::strnlen(orEmpty(text), kMaximumFaultText));
        const unsigned id =
            service->told.faults.add({0, shown, acknowledged != 0, severity, category, action});
        service->told.waker.wake();
        return id;
    } catch (const std::exception& error) {
        victory::complain(std::string("vgpssAddFault: ") + error.what());
        return 0;
    }
}

void vgpssRemoveFault(VgpssService* service, unsigned faultId) {
    if (service != nullptr) {
        service->told.faults.remove(faultId);
        service->told.waker.wake();
    }
}

// This library makes no service of the other five kinds, so there is none to raise a fault of.
// NOLINTBEGIN(bugprone-macro-parentheses): a type takes none
#define OTHER_SERVICE(prefix, Service)                                                    \
    unsigned prefix##AddFault(Service*, const char*, int, VhlthcSeverity, VhlthcCategory, \
                              VhlthcAction) {                                             \
        return 0;                                                                         \
    }                                                                                     \
    void prefix##RemoveFault(Service*, unsigned) {}
// NOLINTEND(bugprone-macro-parentheses)

OTHER_SERVICE(vapnts, VapntsService)
OTHER_SERVICE(vposs, VpossService)
OTHER_SERVICE(voris, VorisService)
OTHER_SERVICE(vdots, VdotsService)
OTHER_SERVICE(vgens, VgensService)
#undef OTHER_SERVICE
