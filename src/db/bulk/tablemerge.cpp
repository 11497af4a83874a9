// tablemerge.cpp -- SORT, TOTAL, UPDATE and JOIN.
#include "bulk.h"
#include "bulkint.hpp"
#include "kernel.h"

VLN_FUNC(__dbsort) { return FALSE_VAR; }
VLN_FUNC(__dbtotal) { return FALSE_VAR; }
VLN_FUNC(__dbupdate) { return FALSE_VAR; }
VLN_FUNC(__dbjoin) { return FALSE_VAR; }
