// textcopy.cpp -- COPY TO a text file: SDF and DELIMITED.
#include "bulk.h"
#include "bulkint.hpp"
#include "kernel.h"

VLN_FUNC(__dbcopytx) { return FALSE_VAR; }
VLN_FUNC(__dbcopysd) { return FALSE_VAR; }
VLN_FUNC(__dbcopyde) { return FALSE_VAR; }
