#include "tss/HC_Topic_Helpers.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "aspn2_msgs/AltitudePubSubTypes.h"
#include "aspn2_msgs/AssuranceStatePubSubTypes.h"
#include "aspn2_msgs/BitEntryStatusPubSubTypes.h"
#include "aspn2_msgs/BitReportPubSubTypes.h"
#include "aspn2_msgs/ChallengedEnvironmentPubSubTypes.h"
#include "aspn2_msgs/ChannelStatusPubSubTypes.h"
#include "aspn2_msgs/CommandResponsePubSubTypes.h"
#include "aspn2_msgs/DeltaTimeAndFrequencyPubSubTypes.h"
#include "aspn2_msgs/EventLogPubSubTypes.h"
#include "aspn2_msgs/ForwardReverseStatusPubSubTypes.h"
#include "aspn2_msgs/GNSSPubSubTypes.h"
#include "aspn2_msgs/GNSSSubframePubSubTypes.h"
#include "aspn2_msgs/GPSCryptoStatusPubSubTypes.h"
#include "aspn2_msgs/GPSLineOfSightPubSubTypes.h"
#include "aspn2_msgs/GPSTimePubSubTypes.h"
#include "aspn2_msgs/GSSIPPubSubTypes.h"
#include "aspn2_msgs/HalcyrinePNTPubSubTypes.h"
#include "aspn2_msgs/IMUPubSubTypes.h"
#include "aspn2_msgs/MaintenanceEventPubSubTypes.h"
#include "aspn2_msgs/MeasurementIncorporationStatusPubSubTypes.h"
#include "aspn2_msgs/NavigationModePubSubTypes.h"
#include "aspn2_msgs/PlatformDynamicsPubSubTypes.h"
#include "aspn2_msgs/PositionVelocityAttitudePubSubTypes.h"
#include "aspn2_msgs/PositionVelocityPubSubTypes.h"
#include "aspn2_msgs/ReceiverStatusPubSubTypes.h"
#include "aspn2_msgs/SVStatusPubSubTypes.h"
#include "aspn2_msgs/ThreeAxisMagnetometerPubSubTypes.h"
#include "aspn2_msgs/TimeAtTheTonePubSubTypes.h"
#include "aspn2_msgs/TimeSyncPubSubTypes.h"
#include "aspn2_msgs/UTCTimePubSubTypes.h"
#include "aspn2_msgs/UtcDownlinkPubSubTypes.h"
#include "aspn2_msgs/Velocity3DPubSubTypes.h"

namespace FACE::TSS::Topics {

namespace {

using TypeSupport = std::unique_ptr<eprosima::fastdds::dds::TopicDataType>;

struct Entry {
    std::string_view name;
    TypeSupport (*make)();
};

template <class PubSubType>
TypeSupport make() {
    return std::make_unique<PubSubType>();
}

#define HC_TOPIC(T)                                              \
    Entry {                                                      \
#T "PubSubType", &make < aspn2_msgs::idl::T##PubSubType> \
    }

constexpr std::array topics{
    HC_TOPIC(Altitude),
    HC_TOPIC(AssuranceState),
    HC_TOPIC(BitEntryStatus),
    HC_TOPIC(BitReport),
    HC_TOPIC(ChallengedEnvironment),
    HC_TOPIC(ChannelStatus),
    HC_TOPIC(CommandResponse),
    HC_TOPIC(DeltaTimeAndFrequency),
    HC_TOPIC(EventLog),
    HC_TOPIC(ForwardReverseStatus),
    HC_TOPIC(GNSS),
    HC_TOPIC(GNSSSubframe),
    HC_TOPIC(GPSCryptoStatus),
    HC_TOPIC(GPSLineOfSight),
    HC_TOPIC(GPSTime),
    HC_TOPIC(GSSIP),
    HC_TOPIC(HalcyrinePNT),
    HC_TOPIC(IMU),
    HC_TOPIC(MaintenanceEvent),
    HC_TOPIC(MeasurementIncorporationStatus),
    HC_TOPIC(NavigationMode),
    HC_TOPIC(PlatformDynamics),
    HC_TOPIC(PositionVelocity),
    HC_TOPIC(PositionVelocityAttitude),
    HC_TOPIC(ReceiverStatus),
    HC_TOPIC(SVStatus),
    HC_TOPIC(ThreeAxisMagnetometer),
    HC_TOPIC(TimeAtTheTone),
    HC_TOPIC(TimeSync),
    HC_TOPIC(UTCTime),
    HC_TOPIC(UtcDownlink),
    HC_TOPIC(Velocity3D),
};

#undef HC_TOPIC

}  // namespace

std::unique_ptr<eprosima::fastdds::dds::TopicDataType> GetPubSubType(std::string const& name) {
    const auto* const found = std::find_if(
        topics.begin(), topics.end(), [&name](const Entry& entry) { return entry.name == name; });
    return found == topics.end() ? nullptr : found->make();
}

}  // namespace FACE::TSS::Topics
