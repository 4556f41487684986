#ifndef FACE_HX_CONFIG_HELPERS_H
#define FACE_HX_CONFIG_HELPERS_H

#include "face/FACE_Common.h"
#include "face/FACE_Configuration.h"
#include "face/FACE_String.h"

#include <string>

/// Typed access to the parameters of an open container.
///
/// The getters and setters write `return_code` only when they fail, as `INVALID_CONFIG`: clear it before a run of
/// them and look at it once after. They throw what the configuration throws. Same threads as the configuration.
namespace HX_Config_Helpers {

/// True for "true" in any case and for a number other than zero (decimal, hexadecimal with 0x, octal with a leading
/// zero); false for any other text. If the parameter is missing or empty, `value` stays as it is.
void Get_Boolean_Parameter(FACE::Configuration& config, int handle, const FACE::String& name, bool& value,
                           FACE::RETURN_CODE_TYPE::Value& return_code);

/// `value` becomes a managed copy whose bound is its length. If the parameter is missing or empty, it stays as it is.
void Get_String_Parameter(FACE::Configuration& config, int handle, const FACE::String& name, FACE::String& value,
                          FACE::RETURN_CODE_TYPE::Value& return_code);

/// Writes "TRUE" or "FALSE", whatever form the parameter had.
void Set_Boolean_Parameter(FACE::Configuration& config, int handle, const FACE::String& name, bool value,
                           FACE::RETURN_CODE_TYPE::Value& return_code);

/// Writes a parameter that exists and has a text.
void Set_String_Parameter(FACE::Configuration& config, int handle, const FACE::String& name, const FACE::String& value,
                          FACE::RETURN_CODE_TYPE::Value& return_code);

namespace Details {

/// The text of a parameter. If that is empty for whatever reason, prints
/// "WARNING - Parameter <name> not found" as one line to the standard output.
std::string Read_Config(FACE::Configuration& config, int handle, const FACE::String& name);

/// True if all of the text was written. A value that is not valid throws `std::logic_error`: it would erase the text.
bool Write_Config(FACE::Configuration& config, int handle, const FACE::String& name, const FACE::String& value);

}  // namespace Details

}  // namespace HX_Config_Helpers

#endif
