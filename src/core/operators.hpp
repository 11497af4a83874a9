// operators.hpp -- the text search behind the subset operator $.
#pragma once

#include <cstdint>

#include "operators.h"

namespace vl {

// Offset of the first occurrence of needle (nl bytes) in hay (hl bytes),
// NUL bytes included; -1 when absent, for an empty needle or hay.
int32_t subset0(const char* needle, const char* hay, int32_t nl, int32_t hl);

}  // namespace vl
