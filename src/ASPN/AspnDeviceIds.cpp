#include "ASPN/AspnDeviceIds.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace ASPN2 {

namespace {

struct Row {
    unsigned char id;
    const char* name;
};

constexpr Row systems[] = {
    {1, SystemIds::orda_name}, {2, SystemIds::elka_name}, {3, SystemIds::zarvokPlus_name}};

constexpr Row servers[] = {
    {1, ServerIds::gateway_name},
    {16, ServerIds::msdui_name},
    {32, ServerIds::BitServer_name},
    {33, ServerIds::ism330_name},
    {34, ServerIds::Memsense3020_name},
    {35, ServerIds::MicrosemiOX171_name},
    {36, ServerIds::SiT5356_name},
    {37, ServerIds::masterClockServer_name},
    {38, ServerIds::JacksonLabsSTL2600_name},
    {39, ServerIds::Tyrn_name},
    {40, ServerIds::WebsocketServer_name},
    {41, ServerIds::WheelSensorServer_name},
    {42, ServerIds::WheelCalibratorServer_name},
    {44, ServerIds::VTimeServer_name},
    {45, ServerIds::VPosOrDirServer_name},
    {46, ServerIds::VGpsReceiverServer_name},
    {47, ServerIds::KethServer_name},
    {48, ServerIds::HmiServer_name},
    {49, ServerIds::BelvoServer_name},
    {50, ServerIds::TyrnDt_name},
    {51, ServerIds::ZeroizeServer_name},
    {52, ServerIds::VAPNTServer_name},
    {53, ServerIds::SystemController_name},
    {54, ServerIds::MaintLogServer_name},
    {80, ServerIds::BAE44MHz_name},
    {96, ServerIds::halcyrineNavigator_name},
    {97, ServerIds::pilServer_name},
    {113, ServerIds::AtpServer_name},
    {114, ServerIds::CrpaServer_name},
    {115, ServerIds::GalileoServer_name},
    {116, ServerIds::GpmcServer_name},
    {117, ServerIds::TarrowServer_name},
    {118, ServerIds::TyrsServer_name},
    {119, ServerIds::LoaderServer_name},
    {120, ServerIds::LogServer_name},
    {121, ServerIds::NavigatorOutputServer_name},
    {122, ServerIds::ShciServer_name},
    {123, ServerIds::SinglePointPositionServer_name},
    {124, ServerIds::SMEMSImuServer_name},
    {125, ServerIds::VGenericEndNodeServer_name},
};

/** The components of unit 0, by server. Each further unit is one component as a whole. */
constexpr Row unitZeroComponents[] = {{53, Components::hc_component},
                                      {49, Components::pntd_component},
                                      {38, Components::altnav_component},
                                      {39, Components::gps_component},
                                      {47, Components::kethsw_component}};
constexpr Row unitComponents[] = {{1, Components::zv_component}, {2, Components::keth_component}};

template <std::size_t count>
const char* nameOf(const Row (&rows)[count], unsigned char id) {
    const Row* const row =
        std::find_if(std::begin(rows), std::end(rows), [id](const Row& r) { return r.id == id; });
    return row == std::end(rows) ? "INVALID_SERVER_ID" : row->name;
}

}  // namespace

unsigned char SystemIds::from_string(const char* name) {
    for (const Row& row : systems) {
        if (name != nullptr && std::string_view(row.name) == name) {
            return row.id;
        }
    }
    return 0;
}

const char* ServerIds::to_string(unsigned char serverId) {
    return nameOf(servers, serverId);
}

const char* Components::to_component(unsigned char serverId, unsigned char unitId) {
    return unitId == 0 ? nameOf(unitZeroComponents, serverId) : nameOf(unitComponents, unitId);
}

void DeviceIdFactory::reset(unsigned char systemId, unsigned char serverId) {
    m_deviceIdBase = std::uint32_t{systemId} << 24U | std::uint32_t{serverId} << 16U;
}

void DeviceIdFactory::reset(const char* systemName, unsigned char serverId) {
    reset(SystemIds::from_string(systemName), serverId);
}

std::uint32_t DeviceIdFactory::makeDeviceId(unsigned char kind, unsigned char topic) const {
    return m_deviceIdBase | std::uint32_t{kind} << 8U | topic;
}

}  // namespace ASPN2
