// descend.cpp -- DESCEND: a value whose order is the reverse of the
// argument's, for descending index keys.
//
// A text has each byte b replaced by (256 - b) mod 256, so NUL stays NUL
// and the order of texts of equal length reverses.  A number is negated, a
// date becomes the negated day number (a number), a logical is inverted.
// Other values give NIL.
#include <cstring>

#include "smallfns.h"
#include "args.hpp"
#include "kernel.h"

using namespace vl::args;

namespace {

constexpr unsigned kByteValues = 256;

}  // namespace

VLN_FUNC(descend)
{
  var* v = arg(argc, argv, 0);
  if (!v) return NIL_VAR;
  switch (v->Type) {
    case 'C':
    case 'M': {
      const std::string_view t = text(v);
      var* r;
      char* out = new_text(static_cast<int64_t>(t.size()), &r, "DESCEND");
      if (!out) return NULLSTR_VAR;
      for (size_t i = 0; i < t.size(); ++i)
        out[i] = static_cast<char>((kByteValues - static_cast<unsigned char>(t[i])) % kByteValues);
      return r;
    }
    case 'N':
    case 'F':
      return set_nv(-v->Value.w1.d, v->Decimals);
    case 'I':
      return set_nv(-static_cast<double>(v->Value.w1.i), 0);
    case 'D':
      return set_nv(-static_cast<double>(v->Value.w1.i), 0);
    case 'L':
      return v->Value.w1.i ? FALSE_VAR : TRUE_VAR;
    default:
      return NIL_VAR;
  }
}
