/** Reads and writes of one parameter as text, truth value or number, over an open handle.
 *
 *  Each leaves `rc` as it was when it succeeds and sets INVALID_CONFIG when it fails, so a caller
 *  starts with NO_ERROR and checks once after a run of calls. A missing parameter and an empty one
 *  look alike: a warning line on standard output, `value` left alone.
 */
#pragma once

#include <string>

#include "face/FACE_Common.h"

namespace FACE::HC_Config_Helpers {

/** `value` becomes a managed string whose bound is its length. */
void Get_String_Parameter(Configuration& config, int handle, const String& name, String& value,
                          RETURN_CODE_TYPE::Value& rc);

/** "true" and "false" in any capitals; any other text is a number, true when not 0, and text that
 *  doesn't begin like one is 0.
 */
void Get_Boolean_Parameter(Configuration& config, int handle, const String& name, bool& value,
                           RETURN_CODE_TYPE::Value& rc);

void Set_String_Parameter(Configuration& config, int handle, const String& name,
                          const String& value, RETURN_CODE_TYPE::Value& rc);

/** Writes "TRUE" or "FALSE". */
void Set_Boolean_Parameter(Configuration& config, int handle, const String& name, bool value,
                           RETURN_CODE_TYPE::Value& rc);

namespace Details {

/** The parameter's text. Empty when there is none, with a warning line. */
std::string Read_Config(Configuration& config, int handle, const String& name);

/** False when the value was not written whole. */
bool Write_Config(Configuration& config, int handle, const String& name, const String& value);

/** A number as strtoull reads it, its base from its prefix: 0x hexadecimal, leading 0 octal, else
 *  decimal. Text that doesn't begin like a number is 0.
 */
void Get_Unsigned_Parameter(Configuration& config, int handle, const String& name,
                            unsigned long long& value, RETURN_CODE_TYPE::Value& rc);

}  // namespace Details

}  // namespace FACE::HC_Config_Helpers
