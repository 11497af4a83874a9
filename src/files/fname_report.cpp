// Reports the name routines describe instead of making (VlnNameReport):
// noting one for later and making it.
#include <cstdarg>
#include <cstdio>

#include "fname.h"
#include "fname_util.hpp"
#include "vlerror.h"

void vln::note(VlnNameReport* report, int code, int io, const char* format, ...)
{
  if (!report || report->code != 0) return;
  va_list args;
  va_start(args, format);
  std::vsnprintf(report->text, sizeof report->text, format, args);
  va_end(args);
  report->code = code;
  report->io = io;
}

extern "C" void vln_name_report(VlnNameReport* report)
{
  if (!report || report->code == 0) return;
  const int code = report->code;
  report->code = 0;
  if (report->io)
    io_error(code, report->text);
  else
    rt_error(code, report->text);
}
