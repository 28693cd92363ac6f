#include "bench/siblings/Catalogue.h"

#include "aspn2_msgs/Altitude.h"
#include "aspn2_msgs/AssuranceState.h"
#include "aspn2_msgs/BitEntryStatus.h"
#include "aspn2_msgs/BitReport.h"
#include "aspn2_msgs/ChallengedEnvironment.h"
#include "aspn2_msgs/ChannelStatus.h"
#include "aspn2_msgs/CommandResponse.h"
#include "aspn2_msgs/DeltaTimeAndFrequency.h"
#include "aspn2_msgs/EventLog.h"
#include "aspn2_msgs/ForwardReverseStatus.h"
#include "aspn2_msgs/GNSS.h"
#include "aspn2_msgs/GNSSSubframe.h"
#include "aspn2_msgs/GPSCryptoStatus.h"
#include "aspn2_msgs/GPSLineOfSight.h"
#include "aspn2_msgs/GPSTime.h"
#include "aspn2_msgs/GSSIP.h"
#include "aspn2_msgs/HalcyrinePNT.h"
#include "aspn2_msgs/IMU.h"
#include "aspn2_msgs/MaintenanceEvent.h"
#include "aspn2_msgs/MeasurementIncorporationStatus.h"
#include "aspn2_msgs/NavigationMode.h"
#include "aspn2_msgs/PlatformDynamics.h"
#include "aspn2_msgs/PositionVelocity.h"
#include "aspn2_msgs/PositionVelocityAttitude.h"
#include "aspn2_msgs/ReceiverStatus.h"
#include "aspn2_msgs/SVStatus.h"
#include "aspn2_msgs/ThreeAxisMagnetometer.h"
#include "aspn2_msgs/TimeAtTheTone.h"
#include "aspn2_msgs/TimeSync.h"
#include "aspn2_msgs/UTCTime.h"
#include "aspn2_msgs/UtcDownlink.h"
#include "aspn2_msgs/Velocity3D.h"

namespace bench {
namespace {

using namespace aspn2_msgs::idl;

constexpr std::array types{
    messageType<Altitude>(),
    messageType<AssuranceState>(),
    messageType<BitEntryStatus>(),
    messageType<BitReport>(),
    messageType<ChallengedEnvironment>(),
    messageType<ChannelStatus>(),
    messageType<CommandResponse>(),
    messageType<DeltaTimeAndFrequency>(),
    messageType<EventLog>(),
    messageType<ForwardReverseStatus>(),
    messageType<GNSS>(),
    messageType<GNSSSubframe>(),
    messageType<GPSCryptoStatus>(),
    messageType<GPSLineOfSight>(),
    messageType<GPSTime>(),
    messageType<GSSIP>(),
    messageType<HalcyrinePNT>(),
    messageType<IMU>(),
    messageType<MaintenanceEvent>(),
    messageType<MeasurementIncorporationStatus>(),
    messageType<NavigationMode>(),
    messageType<PlatformDynamics>(),
    messageType<PositionVelocity>(),
    messageType<PositionVelocityAttitude>(),
    messageType<ReceiverStatus>(),
    messageType<SVStatus>(),
    messageType<ThreeAxisMagnetometer>(),
    messageType<TimeAtTheTone>(),
    messageType<TimeSync>(),
    messageType<UTCTime>(),
    messageType<UtcDownlink>(),
    messageType<Velocity3D>(),
};
static_assert(std::ranges::is_sorted(types, {}, &MessageType::name));

}  // namespace

std::span<const MessageType> catalogue() {
    return types;
}

const MessageType* findMessageType(std::string_view name) {
    const auto* const found = std::ranges::lower_bound(types, name, {}, &MessageType::name);
    return found != types.end() && found->name == name ? found : nullptr;
}

void Filler::value(std::string_view /*name*/, FieldValue& value) {
    ++m_count;
    std::visit(
        [n = m_count](auto& field) {
            using T = std::remove_reference_t<decltype(field)>;
            if constexpr (std::is_same_v<T, std::string>) {
                field = "text " + std::to_string(n);
            } else if constexpr (std::is_same_v<T, bool>) {
                field = n % 2 == 1;
            } else {
                const double part = std::is_same_v<T, double> ? 0.25 : 0.5;
                field = static_cast<T>(std::is_floating_point_v<T> ? n + part : n);
            }
        },
        value);
}

}  // namespace bench
