// rddreg.hpp -- the registry's own state: the default driver.
#pragma once

#include "rddreg.h"

// Room for a driver name with its terminating 0.
#define VLN_DRIVER_NAME_SIZE 64

namespace vl {

// The default driver ("" when none) and the driver taken when the default
// is cleared ("" when none; the library never sets it).
extern char cDefaultDriver[VLN_DRIVER_NAME_SIZE];
extern char cFirstChoiceDriver[VLN_DRIVER_NAME_SIZE];

// The constructor of the driver value names (a text, trimmed and
// upper-cased; anything else or "" the default), or null after reporting
// 320 "Driver '%s' not found".
BbFn driver_constructor(var* value);

}  // namespace vl
