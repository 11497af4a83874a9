// stringsfn.hpp -- the counted-text helpers other modules share.
#pragma once

#include <cstdint>

#include "stringsfn.h"

namespace vl {

// Length of the first n bytes of s without trailing blanks.
int32_t trimr_n(const char* s, int32_t n);
// Number of leading blanks among the first n bytes of s.
int32_t triml_n(const char* s, int32_t n);

}  // namespace vl
