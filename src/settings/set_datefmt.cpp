// SET DATE and SET CENTURY: storing the date format and widening its year.
//
// The date module grades a format text (vln_chk_dateform: 0 good, 1 and 2
// odd but usable, 3 unusable) and gives its normal form, upper case and at
// most 15 characters.  SET stores the normal form unless the text is
// unusable, and reports every grade but 0.  After any change the date
// module checks the stored format again, so that its pictures follow.
#include <cstring>

#include "dates.h"
#include "set.h"
#include "set_args.hpp"
#include "set_table.hpp"
#include "sethooks.h"
#include "switches.hpp"
#include "vlerror.h"
#include "vlgen.h"

using namespace vl;

namespace {

constexpr int kUnusable = 3;
constexpr int kShortYear = 2;
constexpr int kLongYear = 4;

void format_changed()
{
  vln_chk_dateform(vln_flagto.date_format);
  if (vln_datefmt_hook) vln_datefmt_hook(vln_flagto.date_format);
}

// The first group of 'Y' in the format: its start and width (0 when none).
int year_group(int* start)
{
  const char* y = std::strchr(vln_flagto.date_format, 'Y');
  if (!y) return 0;
  *start = static_cast<int>(y - vln_flagto.date_format);
  int width = 0;
  while (y[width] == 'Y') ++width;
  return width;
}

}  // namespace

void vlset::set_date_format(const char* text)
{
  const int grade = vln_chk_dateform(text);
  if (grade != kUnusable) {
    std::strncpy(vln_flagto.date_format, vln_get_d_buff(), VL_DATEFMT_LEN);
    vln_flagto.date_format[VL_DATEFMT_LEN] = '\0';
    format_changed();
  }
  if (grade != 0) rt_error(VL_E_ILLEGAL_DATE_FORMAT, "SET: Illegal date format");
}

extern "C" {

int vlnGetCentury(void)
{
  int start = 0;
  return year_group(&start) >= kLongYear;
}

int vln_setcentury(int on)
{
  const int former = vlnGetCentury();
  char* fmt = vln_flagto.date_format;
  int start = 0;
  const int width = year_group(&start);
  const size_t len = std::strlen(fmt);
  const int extra = kLongYear - kShortYear;
  if (on && width == kShortYear && len + extra <= VL_DATEFMT_LEN) {
    std::memmove(fmt + start + extra, fmt + start, len - start + 1);
    std::memset(fmt + start, 'Y', extra);
    format_changed();
  } else if (!on && width == kLongYear) {
    std::memmove(fmt + start, fmt + start + extra, len - start - extra + 1);
    format_changed();
  }
  return former;
}

}  // extern "C"

VLN_FUNC(__setcentu)
{
  const int former = vlnGetCentury();
  int on = 0;
  if (vlset::present(argc, argv, 0) && vlset::as_logical(argv[0], &on)) vln_setcentury(on);
  return former ? TRUE_VAR : FALSE_VAR;
}
