// dierror_texts.cpp -- the operation names and message texts of the
// drivers, expanded from their lists in dierror.h.
#include "dierror.h"

extern "C" {
#define VL_DIMN_DEF_(name, text) const char* const diMN_##name = text;
VLN_DIMN_NAMES(VL_DIMN_DEF_)
#undef VL_DIMN_DEF_
#define VL_DIEM_DEF_(name, text) const char* diEM_##name = text;
VLN_DIEM_TEXTS(VL_DIEM_DEF_)
#undef VL_DIEM_DEF_
}
