// dataserver.hpp -- the class record of the abstract data-server class.
#pragma once

#include "dataserver.h"

namespace vl {

// The class record of dataserver: header, one chain row, 42 instance rows
// and 166 method rows, all at level 0.
extern const VlnClassRow DataserverStruct[];

}  // namespace vl
