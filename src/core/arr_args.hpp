// arr_args.hpp -- argument tests and element helpers shared by the array
// functions.
#pragma once

#include <cstdint>

#include "letters.hpp"
#include "var.h"

namespace vl::arr {

// Whether argument i is present and of the letter set.
inline bool arg_in(int argc, var** argv, int i, const LetterSet& set)
{
  return i < argc && argv[i] && set.has(argv[i]->Type);
}

// Whether argument i is an array.
inline bool arg_array(int argc, var** argv, int i)
{
  return i < argc && argv[i] && argv[i]->Type == 'A';
}

// Whether argument i is a number or logical ("NFIL").
inline bool arg_num(int argc, var** argv, int i) { return arg_in(argc, argv, i, kNFIL); }

// Argument i as an integer; the caller tested it with arg_num.
inline int64_t arg_int(var** argv, int i) { return vlnIntVar(argv[i]); }

// Element pos (1-based) of a, which the caller checked to exist.
inline var* element(const ArrRec* a, uint32_t pos) { return a->A_vec[pos - 1]; }

// A temporary holding a second link to v's array, so that the record lives
// while a block runs, even if the block reassigns the caller's variable.  It
// dies with the caller's statement, after a BREAK too.
inline ArrRec* hold(var* v) { return VARR(mk_var_cp(v)); }

}  // namespace vl::arr
