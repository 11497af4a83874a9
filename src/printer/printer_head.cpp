// printer_head.cpp -- the printer head (PROW, PCOL) and the functions that
// move it without printing: SETPRC, and EJECT, which starts a new page.
#include <cstdio>

#include "printer.hpp"
#include "runtime.hpp"
#include "set.h"
#include "switches.hpp"
#include "args.hpp"
#include "kernel.h"

using namespace vl;
using namespace vl::args;

namespace vl {
int _prt_row = 0;
int _prt_col = 0;
}  // namespace vl

VLN_FUNC(prow) { return set_nv(_prt_row, 0); }
VLN_FUNC(pcol) { return set_nv(_prt_col, 0); }

VLN_FUNC(setprc)
{
  var* row = arg(argc, argv, 0);
  var* col = arg(argc, argv, 1);
  if (!is_number(row) || !is_number(col)) {
    report_pair_type("SETPRC", "'N, N'", row, col);
    return NIL_VAR;
  }
  const int64_t r = count_arg(row);
  const int64_t c = count_arg(col);
  if (r < 0 || c < 0 || r > INT32_MAX || c > INT32_MAX) {
    std::snprintf(repdum, sizeof repdum, "SETPRC(): row %lld, column %lld out of range",
                  static_cast<long long>(r), static_cast<long long>(c));
    rt_error(VL_E_ARG_VALUE, repdum);
    return NIL_VAR;
  }
  _prt_row = static_cast<int>(r);
  _prt_col = static_cast<int>(c);
  return NIL_VAR;
}

VLN_FUNC(__eject)
{
  if (FILE* out = vln_flagto.print_stream) {
    std::fputs(vlnGetPrinterSeq(VL_PRSEQ_NEWPAGE), out);
    std::fflush(out);
  }
  _prt_row = 0;
  _prt_col = 0;
  return NIL_VAR;
}
