/** The words that the system's servers exchange on the command topics. A command is a word, with
 *  arguments behind commas where it has any; a reply is the command's word with a suffix, or a word
 *  of its own.
 */
#pragma once

#include <string_view>

namespace Sys {

namespace CommandString {
inline constexpr std::string_view SystemModeLive = "SYSTEM_MODE_SELECT_LIVE";
inline constexpr std::string_view SystemModeSim = "SYSTEM_MODE_SELECT_SIMULATION";
inline constexpr std::string_view QueryVersioning = "QUERY_VERSIONING";
inline constexpr std::string_view BitServerPing = "BITSERVER_PING";
inline constexpr std::string_view BitServerReportClear = "BITSERVER_REPORT_CLEAR";
inline constexpr std::string_view BitServerReportAppend = "BITSERVER_REPORT_APPEND";
inline constexpr std::string_view BitServerReportRemove = "BITSERVER_REPORT_REMOVE";
inline constexpr std::string_view RequestBitReport = "REQUEST_BIT_REPORT";
inline constexpr std::string_view RequestSystemCBit = "REQUEST_CBIT";
inline constexpr std::string_view RequestComponentCBit = "REQUEST_COMPONENT_CBIT";
inline constexpr std::string_view NavigatorCommand = "NAVIGATOR_COMMAND";
inline constexpr std::string_view NavigatorStatus = "NAVIGATOR_STATUS";
inline constexpr std::string_view QueryTyrnStatus = "QUERY_TYRN_STATUS";
inline constexpr std::string_view TyrnSetStandby = "TYRN_SET_STANDBY";
inline constexpr std::string_view TyrnSetContinuous = "TYRN_SET_CONT";
inline constexpr std::string_view TyrnCVZeroize = "TYRN_CV_ZEROIZE";
inline constexpr std::string_view QueryZarvokStatus = "QUERY_ZARVOK_STATUS";
inline constexpr std::string_view SetZarvokStatus = "SET_ZARVOK_STATUS";
inline constexpr std::string_view SystemEnvRerad = "SYSTEM_ENV_RERAD";
inline constexpr std::string_view SystemEnvLive = "SYSTEM_ENV_LIVE";
inline constexpr std::string_view AltNavAssured = "ALTNAV_ASSURED";
inline constexpr std::string_view AltNavUnassured = "ALTNAV_UNASSURED";
inline constexpr std::string_view AltNavNotAvail = "ALTNAV_NOT_AVAILABLE";
inline constexpr std::string_view InitSincgars = "INIT_SINCGARS";
inline constexpr std::string_view InitHotStart = "INIT_HOTSTART";
inline constexpr std::string_view InitWarmStart = "INIT_WARMSTART";
inline constexpr std::string_view InitDataTransferOutLNav = "INIT_DATA_TRANSFER_OUT_LNAV";
inline constexpr std::string_view SetHmiBlackoutEnable = "SET_BLACKOUT_ENABLED";
inline constexpr std::string_view SetHmiBlackoutDisable = "SET_BLACKOUT_DISABLED";
inline constexpr std::string_view RequestZeroize = "REQUEST_ZEROIZE";
inline constexpr std::string_view RequestDestroy = "REQUEST_DESTROY";
inline constexpr std::string_view StartSystemZeroize = "START_ZEROIZE";
inline constexpr std::string_view StartSystemDestroy = "START_DESTROY";
inline constexpr std::string_view TyrnZeroize = "TYRN_ZEROIZE";
inline constexpr std::string_view TyrnDestroy = "TYRN_DESTROY";
inline constexpr std::string_view QueryPassthrough = "QUERY_PASSTHROUGH_STATE";
inline constexpr std::string_view ServerStarted = "SERVER_STARTED";
inline constexpr std::string_view ServerStopped = "SERVER_STOPPED";
inline constexpr std::string_view RequestPartNumbers = "REQUEST_PARTNUMBERS";
inline constexpr std::string_view RequestTyrnDestroyStatus = "TYRN_DESTROY_STATUS";
inline constexpr std::string_view RequestKethCompatibilityDesignation = "GET_KETH_COMPAT_DESIGN";
}  // namespace CommandString

namespace ResponseString {
// Suffixes.
inline constexpr std::string_view Pass = "_PASS";
inline constexpr std::string_view Fail = "_FAIL";
inline constexpr std::string_view Ack = "_ACK";
inline constexpr std::string_view Nack = "_NACK";
// Words of their own.
inline constexpr std::string_view ComponentZeroize = "COMPONENT_ZEROIZE";
inline constexpr std::string_view ComponentDestroy = "COMPONENT_DESTROY";
inline constexpr std::string_view SystemZeroize = "SYSTEM_ZEROIZE";
inline constexpr std::string_view SystemDestroy = "SYSTEM_DESTROY";
inline constexpr std::string_view CbitResponse = "CBIT_RESPONSE";
inline constexpr std::string_view PassthroughEnabled = "PASSTHROUGH_ENABLED";
inline constexpr std::string_view PassthroughDisabled = "PASSTHROUGH_DISABLED";
inline constexpr std::string_view CurrentTyrnStatus = "CURRENT_TYRN_STATUS";
inline constexpr std::string_view CurrentZarvokStatus = "CURRENT_ZARVOK_STATUS";
}  // namespace ResponseString

}  // namespace Sys
