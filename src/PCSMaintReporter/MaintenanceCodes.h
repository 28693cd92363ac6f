/** Numeric codes of a maintenance event. What each number stands for is the log's affair: they are
 *  passed on as they are, `eCrit{3}`.
 */
#pragma once

#include <cstdint>

namespace ASPN2::Maintenance {

namespace Criticality {
enum eCrit : std::int32_t {};
}
namespace Outcome {
enum eOutcome : std::int32_t {};
}
namespace Category {
enum eCat : std::int32_t {};
}
/** A line-replaceable unit. */
namespace LRU {
enum eLru : std::int32_t {};
}
/** A component of such a unit. */
namespace Component {
enum eCmpo : std::int32_t {};
}

}  // namespace ASPN2::Maintenance
