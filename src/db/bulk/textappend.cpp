// textappend.cpp -- APPEND FROM a text file: SDF and DELIMITED.
#include "bulk.h"
#include "bulkint.hpp"
#include "kernel.h"

VLN_FUNC(__dbappgen) { return FALSE_VAR; }
