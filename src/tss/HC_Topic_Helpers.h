/** The type supports that a connection's "PubSubType" may name. */
#pragma once

#include <fastdds/dds/topic/TopicDataType.hpp>
#include <memory>
#include <string>

namespace FACE::TSS::Topics {

/** A new type support for `name`, such as "GSSIPPubSubType"; null for an unknown name. The whole
 *  name counts, capitals too. Safe from any thread.
 */
std::unique_ptr<eprosima::fastdds::dds::TopicDataType> GetPubSubType(std::string const& name);

}  // namespace FACE::TSS::Topics
