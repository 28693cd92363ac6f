#include "VICTORY/FakeVictory.h"

#include <cstring>
#include <memory>
#include <sstream>

namespace fake {
namespace {

utilities::Mutex g_mutex;
utilities::Condition g_idle;
Victory g_victory GUARDED_BY(g_mutex);
/** Kept for ever: a late call must find memory, not chance. */
std::vector<std::unique_ptr<VgpssService>> g_services GUARDED_BY(g_mutex);
VgpssService* g_standing GUARDED_BY(g_mutex) = nullptr;
int g_callbacks GUARDED_BY(g_mutex) = 0;

template <typename... Parts>
void note(VgpssService* service, const Parts&... parts) REQUIRES(g_mutex) {
    std::ostringstream text;
    (text << ... << parts);
    g_victory.calls.push_back(text.str());
    if (service != g_standing) {
        ++g_victory.callsOnDeleted;
    }
}

template <typename Record>
void keep(std::vector<Told<Record>> Victory::*list, const char* name, VgpssService* service,
          unsigned count, const Record& record, const VgpscDateTime* date) EXCLUDES(g_mutex) {
    const utilities::MutexLock lock(g_mutex);
    note(service, name);
    (g_victory.*list)
        .push_back({count, record, date == nullptr ? std::nullopt : std::optional(*date)});
}

/** Registers a callback of any kind. */
template <typename Callback>
void install(VgpssService* service, const char* name, Callback VgpssService::*slot,
             Callback callback, void* data) EXCLUDES(g_mutex) {
    const utilities::MutexLock lock(g_mutex);
    note(service, name);
    service->*slot = callback;
    service->data = data;
}

}  // namespace

void reset() {
    const utilities::MutexLock lock(g_mutex);
    g_victory = {};
    g_standing = nullptr;
}

void with(const std::function<void(Victory&)>& use) {
    const utilities::MutexLock lock(g_mutex);
    use(g_victory);
}

Victory snapshot() {
    const utilities::MutexLock lock(g_mutex);
    return g_victory;
}

VgpssService* service() {
    const utilities::MutexLock lock(g_mutex);
    return g_standing;
}

bool runCallback(const std::function<void(VgpssService&)>& callback) {
    VgpssService* service = nullptr;
    {
        const utilities::MutexLock lock(g_mutex);
        if (g_standing == nullptr || !g_standing->started) {
            return false;
        }
        service = g_standing;
        ++g_callbacks;
    }
    callback(*service);
    const utilities::MutexLock lock(g_mutex);
    --g_callbacks;
    g_idle.notify_all();
    return true;
}

}  // namespace fake

using namespace fake;

int vutilReadStringFromFile(const char* path, unsigned capacity, char* buffer) {
    const utilities::MutexLock lock(g_mutex);
    g_victory.calls.push_back(std::string("Read ") + path);
    const std::string text = std::string("<text of=\"") + path + "\"/>";
    if (g_victory.readFails || text.size() >= capacity) {
        return 1;
    }
    std::memcpy(buffer, text.c_str(), text.size() + 1);
    return 0;
}

int vutilWriteStringToFile(const char* text, const char* path) {
    const utilities::MutexLock lock(g_mutex);
    g_victory.calls.push_back(std::string("Write ") + path);
    g_victory.written = text;
    return g_victory.writeFails ? 1 : 0;
}

VgpssService* vgpssNewService(const char* serviceXml, const char* vclXml, const char* maker,
                              const char* model, const char* equipmentId) {
    const utilities::MutexLock lock(g_mutex);
    g_victory.calls.push_back(std::string("NewService ") + maker + "|" + model + "|" + equipmentId);
    g_victory.serviceXml = serviceXml;
    g_victory.vclXml = vclXml;
    if (g_victory.newServiceFails) {
        return nullptr;
    }
    g_services.push_back(std::make_unique<VgpssService>());
    g_standing = g_services.back().get();
    return g_standing;
}

void vgpssDeleteService(VgpssService* service) {
    if (service == nullptr) {
        return;
    }
    const utilities::MutexLock lock(g_mutex);
    note(service, "DeleteService");
    service->started = false;
    while (g_callbacks != 0) {
        g_idle.wait(g_mutex);
    }
    g_standing = nullptr;
}

int vgpssStartService(VgpssService* service) {
    const utilities::MutexLock lock(g_mutex);
    note(service, "StartService");
    service->started = true;
    return 0;
}

void vgpssInitPubGroup(VgpssService* service, int group, double periodSeconds) {
    const utilities::MutexLock lock(g_mutex);
    note(service, "InitPubGroup ", group, ' ', periodSeconds);
}

void vgpssInitTellCallback(VgpssService* service, int group, VgpssTellCallback callback,
                           void* data) {
    install(service, group == 1 ? "InitTellCallback 1" : "InitTellCallback other",
            &VgpssService::tellCallback, callback, data);
}
void vgpssInitSaveVclidCallback(VgpssService* service, VgpssSaveVclidCallback callback,
                                void* data) {
    install(service, "InitSaveVclid", &VgpssService::saveVclid, callback, data);
}
void vgpssInitSetCommandCallback(VgpssService* service, VgpssSetCommandCallback callback,
                                 void* data) {
    install(service, "InitSetCommand", &VgpssService::setCommand, callback, data);
}
void vgpssInitSetMagneticVariationCallback(VgpssService* service,
                                           VgpssSetMagneticVariationCallback callback, void* data) {
    install(service, "InitSetMagneticVariation", &VgpssService::setMagneticVariation, callback,
            data);
}
void vgpssInitSetMissionDurationCallback(VgpssService* service,
                                         VgpssSetMissionDurationCallback callback, void* data) {
    install(service, "InitSetMissionDuration", &VgpssService::setMissionDuration, callback, data);
}
void vgpssInitSetOperatingModeCallback(VgpssService* service,
                                       VgpssSetOperatingModeCallback callback, void* data) {
    install(service, "InitSetOperatingMode", &VgpssService::setOperatingMode, callback, data);
}
void vgpssInitSetReceiverHotStartDataCallback(VgpssService* service,
                                              VgpssSetReceiverHotStartDataCallback callback,
                                              void* data) {
    install(service, "InitSetHotStartData", &VgpssService::setHotStartData, callback, data);
}
void vgpssInitSetReceiverHotStartPortCallback(VgpssService* service,
                                              VgpssSetReceiverHotStartPortCallback callback,
                                              void* data) {
    install(service, "InitSetHotStartPort", &VgpssService::setHotStartPort, callback, data);
}

void vgpssTellDeviceDatumCode(VgpssService* service, unsigned code, unsigned zero) {
    const utilities::MutexLock lock(g_mutex);
    note(service, "TellDeviceDatumCode ", code, ' ', zero);
}
void vgpssTellDeviceMaximumUserDefinedDatums(VgpssService* service, unsigned count) {
    const utilities::MutexLock lock(g_mutex);
    note(service, "TellDeviceMaximumUserDefinedDatums ", count);
}
void vgpssTellDeviceMissionDuration(VgpssService* service, unsigned duration) {
    const utilities::MutexLock lock(g_mutex);
    note(service, "TellDeviceMissionDuration ", duration);
}
void vgpssTellDeviceOperatingMode(VgpssService* service, int mode) {
    const utilities::MutexLock lock(g_mutex);
    note(service, "TellDeviceOperatingMode ", mode);
}
void vgpssTellDeviceMagneticVariation(VgpssService* service, VgpscMagneticVariation source,
                                      double degrees) {
    const utilities::MutexLock lock(g_mutex);
    note(service, "TellDeviceMagneticVariation ", source, ' ', degrees);
}
void vgpssTellDeviceReceiverPorts(VgpssService* service, VgpscReceiverPorts ports) {
    const utilities::MutexLock lock(g_mutex);
    note(service, "TellDeviceReceiverPorts ", ports.count);
    g_victory.ports.push_back(ports);
}
void vgpssTellDeviceReceiverHotStartPort(VgpssService* service, VgpscReceiverHotStartPort port) {
    const utilities::MutexLock lock(g_mutex);
    note(service, "TellDeviceReceiverHotStartPort ", port.name);
}
void vgpssTellDeviceReceiverHotStartData(VgpssService* service, VgpscReceiverHotStartData record) {
    const utilities::MutexLock lock(g_mutex);
    note(service, "TellDeviceReceiverHotStartData ", record.hotStartMode, ' ', record.messageCount);
    g_victory.hotStartData.push_back(record);
}

void vgpssTellStatusData(VgpssService* service, unsigned channels, VgpscReceiverStatusData record,
                         const VgpscDateTime* date) {
    keep(&Victory::status, "TellStatusData", service, channels, record, date);
}
void vgpssTellStatus2Data(VgpssService* service, VgpscReceiverStatus2Data record,
                          const VgpscDateTime* date) {
    keep(&Victory::status2, "TellStatus2Data", service, record.warningCount, record, date);
}
void vgpssTellHealthStatusData(VgpssService* service, unsigned svs, VgpscHealthStatusData record,
                               const VgpscDateTime* date) {
    keep(&Victory::health, "TellHealthStatusData", service, svs, record, date);
}
void vgpssTellHealthStatus2Data(VgpssService* service, unsigned svs, VgpscHealthStatus2Data record,
                                const VgpscDateTime* date) {
    keep(&Victory::health2, "TellHealthStatus2Data", service, svs, record, date);
}

unsigned vgpssAddFault(VgpssService* service, const char* text, int acknowledged,
                       VhlthcSeverity severity, VhlthcCategory category, VhlthcAction action) {
    const utilities::MutexLock lock(g_mutex);
    note(service, "AddFault ", text, ' ', acknowledged, ' ', severity, ' ', category, ' ', action);
    return g_victory.nextFault == 0 ? 0 : g_victory.nextFault++;
}
void vgpssRemoveFault(VgpssService* service, unsigned faultId) {
    const utilities::MutexLock lock(g_mutex);
    note(service, "RemoveFault ", faultId);
}
