/** The VICTORY services on the vehicle data bus, as a C library.
 *
 *  A service is a handle. Its owner tells it what it knows (the Tell operations, each taking its
 *  record by value) and registers callbacks for what bus clients ask. The library calls them on
 *  threads of its own; a set callback answers 0 when the request was carried out and 1 when it was
 *  refused. Tell operations never wait for a client and may be called from any thread, also from
 *  within a callback.
 *
 *  Optional fields are followed by a present word, 1 when the field holds a value. Layouts are
 *  binary interface: natural alignment, offsets as asserted at the end.
 */
#ifndef VICTORY_VICTORY_H
#define VICTORY_VICTORY_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct VgpssService VgpssService;
typedef struct VpossService VpossService;
typedef struct VorisService VorisService;
typedef struct VdotsService VdotsService;
typedef struct VgensService VgensService;
typedef struct VapntsService VapntsService;

typedef int32_t VgpscWarningMessage;
typedef int32_t VgpscMagneticVariation; /**< 0 local, 1 calculated */
typedef int32_t VgpscOperatingMode;
typedef int32_t VgpscGssipMessageId;
typedef int32_t VhlthcSeverity;
typedef int32_t VhlthcCategory;
typedef int32_t VhlthcAction;

enum {
    VGPSC_CHANNELS = 24,
    VGPSC_SVS = 12,
    VGPSC_WARNINGS = 50,
    VGPSC_CUSTOM_TEXT_BYTES = 256,
    VGPSC_PORTS = 50,
    VGPSC_PORT_NAME_BYTES = 256,
    VGPSC_COMMANDS = 50,
    VGPSC_HOT_START_MESSAGES = 300,
    VGPSC_HOT_START_MESSAGE_BYTES = 2032
};

typedef struct VgpscDateTime {
    uint32_t year;
    uint32_t month;
    uint32_t day;
    uint32_t reserved;
    uint32_t hours;
    uint32_t minutes;
    uint32_t seconds;
    uint32_t nanoseconds;
} VgpscDateTime;

typedef struct VgpscReceiverChannelData {
    uint32_t svNumber;
    uint32_t stateClass;
    uint32_t stateClassPresent;
    uint32_t activity;
    uint32_t activityPresent;
    double doubledTerm;
    uint32_t doubledTermPresent;
    double plainTerm;
    uint32_t channelByte;
    uint32_t stateCode;
    uint32_t inUse;
    uint32_t inUsePresent;
    uint32_t groupClass;
    uint32_t groupClassPresent;
    uint32_t modeNibble;
    uint32_t reserved;
} VgpscReceiverChannelData;

typedef struct VgpscReceiverStatusData {
    double receiverTime; /**< [s] */
    uint32_t positionQuality;
    uint32_t timeQuality;
    uint32_t timeStatus;
    uint32_t timeStatusPresent;
    uint32_t operatingMode;
    uint32_t operatingModePresent;
    uint32_t reservedA;
    uint32_t reservedAPresent;
    VgpscReceiverChannelData channels[VGPSC_CHANNELS];
    uint32_t channelCount;
    uint32_t statusWordA;
    uint32_t statusWordAPresent;
    uint32_t statusWordB;
    uint32_t statusWordBPresent;
    int32_t statusWordC;
    uint32_t statusWordCPresent;
    double statusValueD;
    uint32_t statusValueDPresent;
    uint32_t statusWordE;
    uint32_t statusWordEPresent;
    uint32_t statusWordF;
    uint32_t statusWordFPresent;
    uint32_t northReference;
    uint32_t northReferencePresent;
    double northReferenceCorrection; /**< [deg] */
    uint32_t northReferenceCorrectionPresent;
    uint32_t statusBitsG;
    uint32_t statusBitsGPresent;
    uint32_t datumCode;
    uint32_t datumCodePresent;
    double magneticVariation; /**< [deg], 0 to 360 */
    uint32_t magneticVariationPresent;
    uint32_t magneticVariationSource;
    uint32_t magneticVariationSourcePresent;
    uint32_t positionValid;
    uint32_t positionValidPresent;
    uint32_t modeFlagA;
    uint32_t modeFlagAPresent;
    uint32_t modeFlagB;
    uint32_t modeFlagBPresent;
    uint32_t modeFlagC;
    uint32_t modeFlagCPresent;
    uint32_t noChannelInState2;
    uint32_t noChannelInState2Present;
    uint32_t noChannelInState2Or3;
    uint32_t noChannelInState2Or3Present;
    double precisionTotal;
    uint32_t precisionTotalPresent;
    double precisionA;
    uint32_t precisionAPresent;
    double precisionB;
    uint32_t precisionBPresent;
    double precisionC;
    uint32_t precisionCPresent;
    uint32_t reservedB;
    uint32_t reservedBPresent;
    double positionError; /**< [m] */
    uint32_t positionErrorPresent;
    double errorValueA;
    double errorValueB;
    double errorValueC;
    uint32_t errorValueCPresent;
    double errorValueD;
    uint32_t errorValueDPresent;
} VgpscReceiverStatusData;

typedef struct VgpscReceiverWarningMessage {
    VgpscWarningMessage messageId;
    char customText[VGPSC_CUSTOM_TEXT_BYTES]; /**< NUL-terminated, zero-filled */
    uint32_t hasCustomText;
} VgpscReceiverWarningMessage;

typedef struct VgpscReceiverStatus2Data {
    double receiverTime; /**< [s] */
    uint32_t missionDuration;
    uint32_t missionDurationPresent;
    uint32_t reservedA;
    uint32_t reservedAPresent;
    uint32_t reservedB;
    uint32_t reservedBPresent;
    uint32_t reservedC;
    uint32_t reservedCPresent;
    uint32_t reservedD;
    uint32_t reservedDPresent;
    uint32_t status2Value;
    uint32_t status2ValuePresent;
    uint32_t status2Code;
    uint32_t status2CodePresent;
    VgpscReceiverWarningMessage warnings[VGPSC_WARNINGS]; /**< oldest first */
    uint32_t warningCount;
} VgpscReceiverStatus2Data;

typedef struct VgpscSvHealthStatusData {
    uint32_t svNumber;
    uint32_t health;
} VgpscSvHealthStatusData;

typedef struct VgpscHealthStatusData {
    VgpscDateTime dateTime;
    uint32_t recordKind;
    VgpscSvHealthStatusData svs[VGPSC_SVS];
    uint32_t svCount;
} VgpscHealthStatusData;

typedef struct VgpscSvHealthStatus2Data {
    uint32_t svNumber;
    double azimuth;   /**< [rad] */
    double elevation; /**< [rad] */
    uint32_t slotFlag;
} VgpscSvHealthStatus2Data;

typedef struct VgpscHealthStatus2Data {
    VgpscDateTime dateTime;
    VgpscSvHealthStatus2Data svs[VGPSC_SVS];
    uint32_t svCount;
} VgpscHealthStatus2Data;

typedef struct VgpscReceiverPorts {
    char names[VGPSC_PORTS][VGPSC_PORT_NAME_BYTES]; /**< NUL-terminated, zero-filled */
    uint32_t count;
} VgpscReceiverPorts;

typedef struct VgpscReceiverHotStartPort {
    char name[VGPSC_PORT_NAME_BYTES]; /**< NUL-terminated */
} VgpscReceiverHotStartPort;

typedef struct VgpscHotStartMessage {
    VgpscGssipMessageId messageId;
    uint32_t sequence; /**< from 1 */
    uint8_t bytes[VGPSC_HOT_START_MESSAGE_BYTES];
    uint32_t length; /**< bytes in use */
} VgpscHotStartMessage;

typedef struct VgpscReceiverHotStartData {
    uint32_t hotStartMode;
    VgpscHotStartMessage messages[VGPSC_HOT_START_MESSAGES];
    uint32_t messageCount;
} VgpscReceiverHotStartData;

typedef struct VgpsCommand {
    int32_t commandName; /**< 0 ZEROIZE */
    int32_t commandType;
} VgpsCommand;

enum {
    VGPSC_COMMAND_TYPE_KEYS = 1,
    VGPSC_COMMAND_TYPE_MISSION_DATA_AND_KEYS = 2,
    VGPSC_COMMAND_TYPE_MISSION_DATA = 3
};

typedef struct VgpsCommandData {
    VgpsCommand commands[VGPSC_COMMANDS];
    uint32_t commandCount;
} VgpsCommandData;

/** Reads a whole file of at most capacity - 1 bytes into buffer, NUL-terminated; 0 on success. */
int vutilReadStringFromFile(const char* path, unsigned capacity, char* buffer);
/** Replaces the file's content by text; 0 on success, else the old content stands. */
int vutilWriteStringToFile(const char* text, const char* path);

/** Null on failure: a text that is no service configuration or VCL, an endpoint in use. */
VgpssService* vgpssNewService(const char* serviceXml, const char* vclXml, const char* maker,
                              const char* model, const char* equipmentId);
/** Returns when no callback of the handle runs any more; called from within one of them it does not
 *  wait for that one. A null handle is ignored. */
void vgpssDeleteService(VgpssService* service);
/** Begins publication and callbacks; 0 on success. */
int vgpssStartService(VgpssService* service);
/** Sets the period of a publish group, in seconds above 0. Before vgpssStartService. */
void vgpssInitPubGroup(VgpssService* service, int group, double periodSeconds);

typedef void (*VgpssTellCallback)(void* data, VgpssService* service);
typedef int (*VgpssSaveVclidCallback)(void* data, VgpssService* service, const char* vclXml);
typedef int (*VgpssSetCommandCallback)(void* data, VgpssService* service, VgpsCommandData commands);
typedef int (*VgpssSetMagneticVariationCallback)(void* data, VgpssService* service,
                                                 VgpscMagneticVariation source, double degrees);
typedef int (*VgpssSetMissionDurationCallback)(void* data, VgpssService* service,
                                               unsigned duration);
typedef int (*VgpssSetOperatingModeCallback)(void* data, VgpssService* service,
                                             VgpscOperatingMode mode);
typedef int (*VgpssSetReceiverHotStartDataCallback)(void* data, VgpssService* service,
                                                    VgpscReceiverHotStartData record);
typedef int (*VgpssSetReceiverHotStartPortCallback)(void* data, VgpssService* service,
                                                    VgpscReceiverHotStartPort port);

/* Registration, before vgpssStartService. A request with no callback is answered with an error. */
void vgpssInitTellCallback(VgpssService* service, int group, VgpssTellCallback callback,
                           void* data);
void vgpssInitSaveVclidCallback(VgpssService* service, VgpssSaveVclidCallback callback, void* data);
void vgpssInitSetCommandCallback(VgpssService* service, VgpssSetCommandCallback callback,
                                 void* data);
void vgpssInitSetMagneticVariationCallback(VgpssService* service,
                                           VgpssSetMagneticVariationCallback callback, void* data);
void vgpssInitSetMissionDurationCallback(VgpssService* service,
                                         VgpssSetMissionDurationCallback callback, void* data);
void vgpssInitSetOperatingModeCallback(VgpssService* service,
                                       VgpssSetOperatingModeCallback callback, void* data);
void vgpssInitSetReceiverHotStartDataCallback(VgpssService* service,
                                              VgpssSetReceiverHotStartDataCallback callback,
                                              void* data);
void vgpssInitSetReceiverHotStartPortCallback(VgpssService* service,
                                              VgpssSetReceiverHotStartPortCallback callback,
                                              void* data);

/* Device data: held until told anew. */
void vgpssTellDeviceDatumCode(VgpssService* service, unsigned code, unsigned zero);
void vgpssTellDeviceMaximumUserDefinedDatums(VgpssService* service, unsigned count);
void vgpssTellDeviceMissionDuration(VgpssService* service, unsigned duration);
/** A mode of -1 stands for none. */
void vgpssTellDeviceOperatingMode(VgpssService* service, int mode);
void vgpssTellDeviceMagneticVariation(VgpssService* service, VgpscMagneticVariation source,
                                      double degrees);
void vgpssTellDeviceReceiverPorts(VgpssService* service, VgpscReceiverPorts ports);
void vgpssTellDeviceReceiverHotStartPort(VgpssService* service, VgpscReceiverHotStartPort port);
void vgpssTellDeviceReceiverHotStartData(VgpssService* service, VgpscReceiverHotStartData record);

/* Reports: published at the period that the VCL gives the data item. A null date is unknown. */
void vgpssTellStatusData(VgpssService* service, unsigned channels, VgpscReceiverStatusData record,
                         const VgpscDateTime* date);
void vgpssTellStatus2Data(VgpssService* service, VgpscReceiverStatus2Data record,
                          const VgpscDateTime* date);
void vgpssTellHealthStatusData(VgpssService* service, unsigned svs, VgpscHealthStatusData record,
                               const VgpscDateTime* date);
void vgpssTellHealthStatus2Data(VgpssService* service, unsigned svs, VgpscHealthStatus2Data record,
                                const VgpscDateTime* date);

/* Faults. Add returns a nonzero id, 0 when the fault could not be raised. */
unsigned vgpssAddFault(VgpssService* service, const char* text, int acknowledged,
                       VhlthcSeverity severity, VhlthcCategory category, VhlthcAction action);
void vgpssRemoveFault(VgpssService* service, unsigned faultId);
unsigned vapntsAddFault(VapntsService* service, const char* text, int acknowledged,
                        VhlthcSeverity severity, VhlthcCategory category, VhlthcAction action);
void vapntsRemoveFault(VapntsService* service, unsigned faultId);
unsigned vpossAddFault(VpossService* service, const char* text, int acknowledged,
                       VhlthcSeverity severity, VhlthcCategory category, VhlthcAction action);
void vpossRemoveFault(VpossService* service, unsigned faultId);
unsigned vorisAddFault(VorisService* service, const char* text, int acknowledged,
                       VhlthcSeverity severity, VhlthcCategory category, VhlthcAction action);
void vorisRemoveFault(VorisService* service, unsigned faultId);
unsigned vdotsAddFault(VdotsService* service, const char* text, int acknowledged,
                       VhlthcSeverity severity, VhlthcCategory category, VhlthcAction action);
void vdotsRemoveFault(VdotsService* service, unsigned faultId);
unsigned vgensAddFault(VgensService* service, const char* text, int acknowledged,
                       VhlthcSeverity severity, VhlthcCategory category, VhlthcAction action);
void vgensRemoveFault(VgensService* service, unsigned faultId);

#ifdef __cplusplus
} /* extern "C" */

#define VICTORY_AT(type, field, offset) \
    static_assert(offsetof(type, field) == (offset), #type "::" #field)
static_assert(sizeof(VgpscDateTime) == 32);
static_assert(sizeof(VgpscReceiverChannelData) == 80);
VICTORY_AT(VgpscReceiverChannelData, stateClassPresent, 8);
VICTORY_AT(VgpscReceiverChannelData, activityPresent, 16);
VICTORY_AT(VgpscReceiverChannelData, doubledTerm, 24);
VICTORY_AT(VgpscReceiverChannelData, plainTerm, 40);
VICTORY_AT(VgpscReceiverChannelData, channelByte, 48);
VICTORY_AT(VgpscReceiverChannelData, inUse, 56);
VICTORY_AT(VgpscReceiverChannelData, groupClass, 64);
VICTORY_AT(VgpscReceiverChannelData, modeNibble, 72);
static_assert(sizeof(VgpscReceiverStatusData) == 2272);
VICTORY_AT(VgpscReceiverStatusData, positionQuality, 0x008);
VICTORY_AT(VgpscReceiverStatusData, timeStatus, 0x010);
VICTORY_AT(VgpscReceiverStatusData, channels, 0x028);
VICTORY_AT(VgpscReceiverStatusData, channelCount, 0x7A8);
VICTORY_AT(VgpscReceiverStatusData, statusWordA, 0x7AC);
VICTORY_AT(VgpscReceiverStatusData, statusWordC, 0x7BC);
VICTORY_AT(VgpscReceiverStatusData, statusValueD, 0x7C8);
VICTORY_AT(VgpscReceiverStatusData, northReferenceCorrection, 0x7F0);
VICTORY_AT(VgpscReceiverStatusData, statusBitsG, 0x7FC);
VICTORY_AT(VgpscReceiverStatusData, magneticVariation, 0x810);
VICTORY_AT(VgpscReceiverStatusData, positionValid, 0x824);
VICTORY_AT(VgpscReceiverStatusData, modeFlagC, 0x83C);
VICTORY_AT(VgpscReceiverStatusData, noChannelInState2Or3, 0x84C);
VICTORY_AT(VgpscReceiverStatusData, precisionTotal, 0x858);
VICTORY_AT(VgpscReceiverStatusData, precisionC, 0x888);
VICTORY_AT(VgpscReceiverStatusData, reservedB, 0x894);
VICTORY_AT(VgpscReceiverStatusData, positionError, 0x8A0);
VICTORY_AT(VgpscReceiverStatusData, errorValueA, 0x8B0);
VICTORY_AT(VgpscReceiverStatusData, errorValueC, 0x8C0);
VICTORY_AT(VgpscReceiverStatusData, errorValueD, 0x8D0);
VICTORY_AT(VgpscReceiverStatusData, errorValueDPresent, 0x8D8);
static_assert(sizeof(VgpscReceiverWarningMessage) == 264);
VICTORY_AT(VgpscReceiverWarningMessage, hasCustomText, 260);
static_assert(sizeof(VgpscReceiverStatus2Data) == 13272);
VICTORY_AT(VgpscReceiverStatus2Data, status2Value, 0x30);
VICTORY_AT(VgpscReceiverStatus2Data, warnings, 0x40);
VICTORY_AT(VgpscReceiverStatus2Data, warningCount, 0x33D0);
static_assert(sizeof(VgpscHealthStatusData) == 136);
VICTORY_AT(VgpscHealthStatusData, svs, 36);
VICTORY_AT(VgpscHealthStatusData, svCount, 132);
static_assert(sizeof(VgpscSvHealthStatus2Data) == 32);
VICTORY_AT(VgpscSvHealthStatus2Data, azimuth, 8);
VICTORY_AT(VgpscSvHealthStatus2Data, slotFlag, 24);
static_assert(sizeof(VgpscHealthStatus2Data) == 424);
VICTORY_AT(VgpscHealthStatus2Data, svCount, 416);
static_assert(sizeof(VgpscReceiverPorts) == 12804);
VICTORY_AT(VgpscReceiverPorts, count, 12800);
static_assert(sizeof(VgpscReceiverHotStartPort) == 256);
static_assert(sizeof(VgpscHotStartMessage) == 2044);
VICTORY_AT(VgpscHotStartMessage, length, 2040);
static_assert(sizeof(VgpscReceiverHotStartData) == 613208);
VICTORY_AT(VgpscReceiverHotStartData, messageCount, 613204);
static_assert(sizeof(VgpsCommandData) == 404);
VICTORY_AT(VgpsCommandData, commandCount, 400);
#undef VICTORY_AT
#endif

#endif
