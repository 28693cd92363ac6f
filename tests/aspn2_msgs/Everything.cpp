#include "aspn2_msgs/Everything.h"

namespace test_idl {

ASPN2_DEFINE_STRUCTURE(flags)
ASPN2_DEFINE_STRUCTURE(reading)
ASPN2_DEFINE_STRUCTURE(remark)
ASPN2_DEFINE_STRUCTURE(choice)
ASPN2_DEFINE_STRUCTURE(Everything)

}  // namespace test_idl
