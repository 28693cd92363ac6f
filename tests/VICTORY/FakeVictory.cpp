#include "VICTORY/FakeVictory.h"

#include <cstring>
#include <memory>

#include "utilities/Console.h"

namespace fake {
namespace {

utilities::Mutex g_mutex;
utilities::Condition g_idle;
Victory g_victory GUARDED_BY(g_mutex);
/** Kept for ever: a late call must find memory, not chance. */
std::vector<std::unique_ptr<VgpssService>> g_services GUARDED_BY(g_mutex);
VgpssService* g_standing GUARDED_BY(g_mutex) = nullptr;
int g_callbacks GUARDED_BY(g_mutex) = 0;

/** Notes a call in words of its parts. */
template <typename... Parts>
void note(VgpssService* service, const Parts&... parts) REQUIRES(g_mutex) {
    g_victory.calls.push_back(utilities::concat(parts...));
    g_victory.callsOnDeleted += service == g_standing ? 0 : 1;
}
template <typename... Parts>
void tell(VgpssService* service, const Parts&... parts) EXCLUDES(g_mutex) {
    const utilities::MutexLock lock(g_mutex);
    note(service, parts...);
}
template <typename Record>
void keep(std::vector<Told<Record>> Victory::*list, const char* name, VgpssService* service,
          unsigned count, const Record& record, const VgpscDateTime* date) EXCLUDES(g_mutex) {
    const utilities::MutexLock lock(g_mutex);
    note(service, name);
    (g_victory.*list)
        .push_back({count, record, date == nullptr ? std::nullopt : std::optional(*date)});
}
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

void forget() {
    with([](Victory& victory) { victory = {}; });
}

void with(const std::function<void(Victory&)>& use) {
    const utilities::MutexLock lock(g_mutex);
    use(g_victory);
}

Victory snapshot() {
    const utilities::MutexLock lock(g_mutex);
    return g_victory;
}

std::vector<std::string> calls(const std::string& beginning) {
    auto found = snapshot().calls;
    std::erase_if(found, [&](const auto& call) { return !call.starts_with(beginning); });
    return found;
}

void runCallback(const std::function<void(VgpssService&)>& callback) {
    VgpssService* service = nullptr;
    {
        const utilities::MutexLock lock(g_mutex);
        if (g_standing == nullptr || !g_standing->started) {
            return;
        }
        service = g_standing;
        ++g_callbacks;
    }
    callback(*service);
    const utilities::MutexLock lock(g_mutex);
    --g_callbacks;
    g_idle.notify_all();
}

int ask(const std::function<int(VgpssService&)>& request) {
    int result = -1;
    runCallback([&](VgpssService& service) { result = request(service); });
    return result;
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

int vutilWriteStringToFile(const char*, const char* path) {
    const utilities::MutexLock lock(g_mutex);
    g_victory.calls.push_back(std::string("Write ") + path);
    return g_victory.writeFails ? 1 : 0;
}

VgpssService* vgpssNewService(const char*, const char* vclXml, const char* maker, const char* model,
                              const char* equipmentId) {
    const utilities::MutexLock lock(g_mutex);
    g_victory.calls.push_back(std::string("NewService ") + maker + "|" + model + "|" + equipmentId);
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
    tell(service, "InitPubGroup ", group, ' ', periodSeconds);
}
void vgpssInitTellCallback(VgpssService* service, int group, VgpssTellCallback callback,
                           void* data) {
    install(service, group == 1 ? "InitTellCallback 1" : "InitTellCallback other",
            &VgpssService::tellCallback, callback, data);
}

#define INIT_CALLBACK(Name, slot)                                                         \
    void vgpssInit##Name##Callback(VgpssService* service, Vgpss##Name##Callback callback, \
                                   void* data) {                                          \
        install(service, "Init" #Name, &VgpssService::slot, callback, data);              \
    }
INIT_CALLBACK(SaveVclid, saveVclid)
INIT_CALLBACK(SetCommand, setCommand)
INIT_CALLBACK(SetMagneticVariation, setMagneticVariation)
INIT_CALLBACK(SetMissionDuration, setMissionDuration)
INIT_CALLBACK(SetOperatingMode, setOperatingMode)
INIT_CALLBACK(SetReceiverHotStartData, setHotStartData)
INIT_CALLBACK(SetReceiverHotStartPort, setHotStartPort)
#undef INIT_CALLBACK

void vgpssTellDeviceDatumCode(VgpssService* service, unsigned code, unsigned zero) {
    tell(service, "TellDeviceDatumCode ", code, ' ', zero);
}
#define TELL_NUMBER(name, Number)                                     \
    void vgpssTellDevice##name(VgpssService* service, Number value) { \
        tell(service, "TellDevice" #name " ", value);                 \
    }
TELL_NUMBER(MaximumUserDefinedDatums, unsigned)
TELL_NUMBER(MissionDuration, unsigned)
TELL_NUMBER(OperatingMode, int)
#undef TELL_NUMBER
void vgpssTellDeviceMagneticVariation(VgpssService* service, VgpscMagneticVariation source,
                                      double degrees) {
    tell(service, "TellDeviceMagneticVariation ", source, ' ', degrees);
}
void vgpssTellDeviceReceiverPorts(VgpssService* service, VgpscReceiverPorts ports) {
    tell(service, "TellDeviceReceiverPorts ", ports.count);
    with([&](Victory& victory) { victory.ports.push_back(ports); });
}
void vgpssTellDeviceReceiverHotStartPort(VgpssService* service, VgpscReceiverHotStartPort port) {
    tell(service, "TellDeviceReceiverHotStartPort ", port.name);
}
void vgpssTellDeviceReceiverHotStartData(VgpssService* service, VgpscReceiverHotStartData record) {
    tell(service, "TellDeviceReceiverHotStartData ", record.hotStartMode, ' ', record.messageCount);
    with([&](Victory& victory) { victory.hotStartData.push_back(record); });
}

#define TELL_RECORD(name, Record, list)                                        \
    void vgpssTell##name(VgpssService* service, unsigned count, Record record, \
                         const VgpscDateTime* date) {                          \
        keep(&Victory::list, "Tell" #name, service, count, record, date);      \
    }
TELL_RECORD(StatusData, VgpscReceiverStatusData, status)
TELL_RECORD(HealthStatusData, VgpscHealthStatusData, health)
TELL_RECORD(HealthStatus2Data, VgpscHealthStatus2Data, health2)
#undef TELL_RECORD
void vgpssTellStatus2Data(VgpssService* service, VgpscReceiverStatus2Data record,
                          const VgpscDateTime* date) {
    keep(&Victory::status2, "TellStatus2Data", service, record.warningCount, record, date);
}

unsigned vgpssAddFault(VgpssService* service, const char* text, int acknowledged,
                       VhlthcSeverity severity, VhlthcCategory category, VhlthcAction action) {
    const utilities::MutexLock lock(g_mutex);
    note(service, "AddFault ", text, ' ', acknowledged, ' ', severity, ' ', category, ' ', action);
    return g_victory.nextFault == 0 ? 0 : g_victory.nextFault++;
}
void vgpssRemoveFault(VgpssService* service, unsigned faultId) {
    tell(service, "RemoveFault ", faultId);
}
