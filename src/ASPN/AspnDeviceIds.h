/** Device identifiers: which system, server and topic a message comes from, and the names of both.
 *
 *  A device id holds, from its most significant byte, system id, server id, message kind and topic
 *  id. All functions are pure.
 */
#pragma once

#include <cstdint>

namespace ASPN2 {

/** The message kinds that this server sends and receives. */
namespace MessageKinds {
inline constexpr unsigned char EventLog = 1;
inline constexpr unsigned char CommandResponse = 2;
inline constexpr unsigned char GSSIP = 46;
inline constexpr unsigned char MaintenanceEvent = 59;
}  // namespace MessageKinds

/** The server id in a device id, as a message's head carries it. */
constexpr unsigned serverIdOf(std::int32_t deviceId) {
    return static_cast<std::uint32_t>(deviceId) >> 16 & 0xFFU;
}

namespace SystemIds {

inline constexpr const char* orda_name = "ORDA";
inline constexpr const char* elka_name = "ELKA";
inline constexpr const char* zarvokPlus_name = "ZarvokPlus";

/** The id of the system with exactly this name; 0 for any other text, and for null. */
unsigned char from_string(const char* name);

}  // namespace SystemIds

namespace ServerIds {

inline constexpr const char* gateway_name = "Gateway";
inline constexpr const char* msdui_name = "MSDUI";
inline constexpr const char* BitServer_name = "BitServer";
inline constexpr const char* ism330_name = "ISM330";
inline constexpr const char* Memsense3020_name = "Memsense3020";
inline constexpr const char* MicrosemiOX171_name = "MicrosemiOX171";
inline constexpr const char* SiT5356_name = "SiT5356";
inline constexpr const char* masterClockServer_name = "MasterClock";
inline constexpr const char* JacksonLabsSTL2600_name = "JacksonLabsSTL2600";
inline constexpr const char* Tyrn_name = "Tyrn";
inline constexpr const char* WebsocketServer_name = "WebsocketServer";
inline constexpr const char* WheelSensorServer_name = "WheelSensorServer";
inline constexpr const char* WheelCalibratorServer_name = "WheelCalibratorServer";
inline constexpr const char* VTimeServer_name = "VTimeServer";
inline constexpr const char* VPosOrDirServer_name = "VPosOrDirServer";
inline constexpr const char* VGpsReceiverServer_name = "VGpsReceiverServer";
inline constexpr const char* KethServer_name = "KethServer";
inline constexpr const char* HmiServer_name = "HmiServer";
inline constexpr const char* BelvoServer_name = "BelvoServer";
inline constexpr const char* TyrnDt_name = "TyrnDt";
inline constexpr const char* ZeroizeServer_name = "ZeroizeServer";
inline constexpr const char* VAPNTServer_name = "VAPNTServer";
inline constexpr const char* SystemController_name = "SystemController";
inline constexpr const char* MaintLogServer_name = "MaintLogServer";
inline constexpr const char* BAE44MHz_name = "BAE44MHz";
inline constexpr const char* halcyrineNavigator_name = "HalcyrineNavigator";
inline constexpr const char* pilServer_name = "pilServer";
inline constexpr const char* AtpServer_name = "AtpServer";
inline constexpr const char* CrpaServer_name = "CrpaServer";
inline constexpr const char* GalileoServer_name = "GalileoServer";
inline constexpr const char* GpmcServer_name = "GpmcServer";
inline constexpr const char* TarrowServer_name = "TarrowServer";
inline constexpr const char* TyrsServer_name = "TyrsServer";
inline constexpr const char* LoaderServer_name = "LoaderServer";
inline constexpr const char* LogServer_name = "LogServer";
inline constexpr const char* NavigatorOutputServer_name = "NavigatorOutputServer";
inline constexpr const char* ShciServer_name = "ShciServer";
inline constexpr const char* SinglePointPositionServer_name = "SinglePointPositionServer";
inline constexpr const char* SMEMSImuServer_name = "SMEMSImuServer";
inline constexpr const char* VGenericEndNodeServer_name = "VGenericEndNodeServer";

/** The name of a server id, "INVALID_SERVER_ID" for one that no server has. */
const char* to_string(unsigned char serverId);

}  // namespace ServerIds

namespace Components {

inline constexpr const char* hc_component = "Halcyrine";
inline constexpr const char* pntd_component = "PNT-D";
inline constexpr const char* altnav_component = "ALTNAV";
inline constexpr const char* gps_component = "GPS";
inline constexpr const char* kethsw_component = "KETHSW";
inline constexpr const char* zv_component = "Zarvok";
inline constexpr const char* keth_component = "KETH";

/** The component that a server runs on in a unit, "INVALID_SERVER_ID" where there is none. */
const char* to_component(unsigned char serverId, unsigned char unitId);

}  // namespace Components

/** Makes the device ids of one server. */
class DeviceIdFactory {
public:
    DeviceIdFactory() = default;
    DeviceIdFactory(unsigned char systemId, unsigned char serverId) { reset(systemId, serverId); }
    DeviceIdFactory(const char* systemName, unsigned char serverId) { reset(systemName, serverId); }

    void reset(unsigned char systemId, unsigned char serverId);
    /** An unknown name counts as system 0. */
    void reset(const char* systemName, unsigned char serverId);

    std::uint32_t makeDeviceId(unsigned char kind, unsigned char topic) const;

private:
    std::uint32_t m_deviceIdBase = 0;  ///< Bytes 3 and 2 set.
};

}  // namespace ASPN2
