/** A VICTORY library that takes everything and does nothing. Each function is weak: a program that
 *  links it beside its own defines only those that it looks at.
 */
#include "victory/victory.h"

#define QUIET __attribute__((weak))

QUIET int vutilReadStringFromFile(const char*, unsigned, char*) {
    return 0;
}
QUIET int vutilWriteStringToFile(const char*, const char*) {
    return 0;
}
QUIET VgpssService* vgpssNewService(const char*, const char*, const char*, const char*,
                                    const char*) {
    return reinterpret_cast<VgpssService*>(1);
}
QUIET void vgpssDeleteService(VgpssService*) {}
QUIET int vgpssStartService(VgpssService*) {
    return 0;
}
QUIET void vgpssInitPubGroup(VgpssService*, int, double) {}
QUIET void vgpssInitTellCallback(VgpssService*, int, VgpssTellCallback, void*) {}
QUIET void vgpssInitSaveVclidCallback(VgpssService*, VgpssSaveVclidCallback, void*) {}
QUIET void vgpssInitSetCommandCallback(VgpssService*, VgpssSetCommandCallback, void*) {}
QUIET void vgpssInitSetMagneticVariationCallback(VgpssService*, VgpssSetMagneticVariationCallback,
                                                 void*) {}
QUIET void vgpssInitSetMissionDurationCallback(VgpssService*, VgpssSetMissionDurationCallback,
                                               void*) {}
QUIET void vgpssInitSetOperatingModeCallback(VgpssService*, VgpssSetOperatingModeCallback, void*) {}
QUIET void vgpssInitSetReceiverHotStartDataCallback(VgpssService*,
                                                    VgpssSetReceiverHotStartDataCallback, void*) {}
QUIET void vgpssInitSetReceiverHotStartPortCallback(VgpssService*,
                                                    VgpssSetReceiverHotStartPortCallback, void*) {}
QUIET void vgpssTellDeviceDatumCode(VgpssService*, unsigned, unsigned) {}
QUIET void vgpssTellDeviceMaximumUserDefinedDatums(VgpssService*, unsigned) {}
QUIET void vgpssTellDeviceMissionDuration(VgpssService*, unsigned) {}
QUIET void vgpssTellDeviceOperatingMode(VgpssService*, int) {}
QUIET void vgpssTellDeviceMagneticVariation(VgpssService*, VgpscMagneticVariation, double) {}
QUIET void vgpssTellDeviceReceiverPorts(VgpssService*, VgpscReceiverPorts) {}
QUIET void vgpssTellDeviceReceiverHotStartPort(VgpssService*, VgpscReceiverHotStartPort) {}
QUIET void vgpssTellDeviceReceiverHotStartData(VgpssService*, VgpscReceiverHotStartData) {}
QUIET void vgpssTellStatusData(VgpssService*, unsigned, VgpscReceiverStatusData,
                               const VgpscDateTime*) {}
QUIET void vgpssTellStatus2Data(VgpssService*, VgpscReceiverStatus2Data, const VgpscDateTime*) {}
QUIET void vgpssTellHealthStatusData(VgpssService*, unsigned, VgpscHealthStatusData,
                                     const VgpscDateTime*) {}
QUIET void vgpssTellHealthStatus2Data(VgpssService*, unsigned, VgpscHealthStatus2Data,
                                      const VgpscDateTime*) {}
QUIET unsigned vgpssAddFault(VgpssService*, const char*, int, VhlthcSeverity, VhlthcCategory,
                             VhlthcAction) {
    return 1;
}
QUIET void vgpssRemoveFault(VgpssService*, unsigned) {}
QUIET unsigned vapntsAddFault(VapntsService*, const char*, int, VhlthcSeverity, VhlthcCategory,
                              VhlthcAction) {
    return 1;
}
QUIET void vapntsRemoveFault(VapntsService*, unsigned) {}
QUIET unsigned vpossAddFault(VpossService*, const char*, int, VhlthcSeverity, VhlthcCategory,
                             VhlthcAction) {
    return 1;
}
QUIET void vpossRemoveFault(VpossService*, unsigned) {}
QUIET unsigned vorisAddFault(VorisService*, const char*, int, VhlthcSeverity, VhlthcCategory,
                             VhlthcAction) {
    return 1;
}
QUIET void vorisRemoveFault(VorisService*, unsigned) {}
QUIET unsigned vdotsAddFault(VdotsService*, const char*, int, VhlthcSeverity, VhlthcCategory,
                             VhlthcAction) {
    return 1;
}
QUIET void vdotsRemoveFault(VdotsService*, unsigned) {}
QUIET unsigned vgensAddFault(VgensService*, const char*, int, VhlthcSeverity, VhlthcCategory,
                             VhlthcAction) {
    return 1;
}
QUIET void vgensRemoveFault(VgensService*, unsigned) {}
