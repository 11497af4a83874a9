// tablecopy.cpp -- APPEND FROM and COPY TO between tables, COPY STRUCTURE [EXTENDED], CREATE FROM.
#include "bulk.h"
#include "bulkint.hpp"
#include "kernel.h"

VLN_FUNC(__dbapp) { return FALSE_VAR; }
VLN_FUNC(__dbcopy) { return FALSE_VAR; }
VLN_FUNC(__dbcopyst) { return FALSE_VAR; }
VLN_FUNC(__dbcopyxs) { return FALSE_VAR; }
VLN_FUNC(__dbcreate) { return FALSE_VAR; }
