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

}  // namespace vl
