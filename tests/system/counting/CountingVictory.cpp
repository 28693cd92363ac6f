/** A VICTORY library that publishes nothing and counts aloud, each ten thousand status records. Put
 *  in front of the unit's own with LD_LIBRARY_PATH.
 */
#include <atomic>
#include <cstdio>
#include <cstring>
#include <fstream>

#include "victory/victory.h"

struct VgpssService {
    std::atomic<int> status{0};
};

int vutilReadStringFromFile(const char* path, unsigned capacity, char* buffer) {
    std::ifstream file(path);
    file.read(buffer, capacity - 1);
    buffer[file.gcount()] = '\0';
    return file.eof() ? 0 : 1;
}
int vutilWriteStringToFile(const char*, const char*) {
    return 1;
}

VgpssService* vgpssNewService(const char*, const char*, const char*, const char*, const char*) {
    return new VgpssService;
}
void vgpssDeleteService(VgpssService* service) {
    delete service;
}
int vgpssStartService(VgpssService*) {
    return 0;
}
void vgpssInitPubGroup(VgpssService*, int, double) {}
void vgpssInitTellCallback(VgpssService*, int, VgpssTellCallback, void*) {}
void vgpssInitSaveVclidCallback(VgpssService*, VgpssSaveVclidCallback, void*) {}
void vgpssInitSetCommandCallback(VgpssService*, VgpssSetCommandCallback, void*) {}
void vgpssInitSetMagneticVariationCallback(VgpssService*, VgpssSetMagneticVariationCallback,
                                           void*) {}
void vgpssInitSetMissionDurationCallback(VgpssService*, VgpssSetMissionDurationCallback, void*) {}
void vgpssInitSetOperatingModeCallback(VgpssService*, VgpssSetOperatingModeCallback, void*) {}
void vgpssInitSetReceiverHotStartDataCallback(VgpssService*, VgpssSetReceiverHotStartDataCallback,
                                              void*) {}
void vgpssInitSetReceiverHotStartPortCallback(VgpssService*, VgpssSetReceiverHotStartPortCallback,
                                              void*) {}
void vgpssTellDeviceDatumCode(VgpssService*, unsigned, unsigned) {}
void vgpssTellDeviceMaximumUserDefinedDatums(VgpssService*, unsigned) {}
void vgpssTellDeviceMissionDuration(VgpssService*, unsigned) {}
void vgpssTellDeviceOperatingMode(VgpssService*, int) {}
void vgpssTellDeviceMagneticVariation(VgpssService*, VgpscMagneticVariation, double) {}
void vgpssTellDeviceReceiverPorts(VgpssService*, VgpscReceiverPorts) {}
void vgpssTellDeviceReceiverHotStartPort(VgpssService*, VgpscReceiverHotStartPort) {}
void vgpssTellDeviceReceiverHotStartData(VgpssService*, VgpscReceiverHotStartData) {}
void vgpssTellStatusData(VgpssService* service, unsigned, VgpscReceiverStatusData,
                         const VgpscDateTime*) {
    if (const int count = ++service->status; count % 10000 == 0) {
        std::printf("told %d\n", count);
        std::fflush(stdout);
    }
}
void vgpssTellStatus2Data(VgpssService*, VgpscReceiverStatus2Data, const VgpscDateTime*) {}
void vgpssTellHealthStatusData(VgpssService*, unsigned, VgpscHealthStatusData,
                               const VgpscDateTime*) {}
void vgpssTellHealthStatus2Data(VgpssService*, unsigned, VgpscHealthStatus2Data,
                                const VgpscDateTime*) {}
unsigned vgpssAddFault(VgpssService*, const char*, int, VhlthcSeverity, VhlthcCategory,
                       VhlthcAction) {
    return 1;
}
void vgpssRemoveFault(VgpssService*, unsigned) {}
