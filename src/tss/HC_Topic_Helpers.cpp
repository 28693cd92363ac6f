#include "tss/HC_Topic_Helpers.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "aspn2_msgs/CommandResponsePubSubTypes.h"
#include "aspn2_msgs/EventLogPubSubTypes.h"
#include "aspn2_msgs/GSSIPPubSubTypes.h"
#include "aspn2_msgs/MaintenanceEventPubSubTypes.h"

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
    HC_TOPIC(CommandResponse),
    HC_TOPIC(EventLog),
    HC_TOPIC(GSSIP),
    HC_TOPIC(MaintenanceEvent),
};

#undef HC_TOPIC

}  // namespace

std::unique_ptr<eprosima::fastdds::dds::TopicDataType> GetPubSubType(std::string const& name) {
    const auto* const found = std::find_if(
        topics.begin(), topics.end(), [&name](const Entry& entry) { return entry.name == name; });
    return found == topics.end() ? nullptr : found->make();
}

}  // namespace FACE::TSS::Topics
