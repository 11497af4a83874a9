// basic.cpp -- LEN, UPPER and ABS.
#include <cmath>

#include "letters.hpp"
#include "natlang.hpp"
#include "vlgen.h"

using namespace vl;

// LEN(x): elements of an array, bytes of a string, 0 for anything else
// (NIL included); an undefined variable gives ERROR_VAR.
VLN_FUNC(len)
{
  if (argc < 1 || argv[0]->Mode == 'U') return ERROR_VAR;
  var* v = argv[0];
  if (v->Type == 'A') return set_Iv(static_cast<int32_t>(VARR(v)->A_size));
  if (vl::kCM.has(v->Type)) return set_Iv(v->Length - 1);
  return set_Iv(0);
}

// UPPER(s): a copy of s folded through the national upper-case map; "" for
// anything but one string.  The caller's variable is never changed.
VLN_FUNC(upper)
{
  if (argc != 1 || !vl::kCM.has(argv[0]->Type)) return NULLSTR_VAR;
  var* r = mk_var_cp(argv[0]);
  Itoupr_str(VSTR(r), r->Length - 1);
  return r;
}

// ABS(n): the magnitude; 'I' stays integer, others keep their decimals.
VLN_FUNC(abs)
{
  if (argc < 1 || !vl::kNFIL.has(argv[0]->Type)) return ZERO_VAR;
  var* v = argv[0];
  if (v->Type == 'I') {
    const uint32_t u = static_cast<uint32_t>(VINT(v));
    return set_Iv(static_cast<int32_t>(VINT(v) < 0 ? 0u - u : u));
  }
  return set_nv(std::fabs(vlnNumVar(v)), v->Decimals);
}
