// The logical settings of SET(): _cgetseton.
#include <cstdint>

#include "kernel.h"
#include "set.h"
#include "set_table.hpp"
#include "vlerror.h"

namespace {

using namespace vlset;

// The auto-lock value that means off.
constexpr int kAutoLockOff = -3;
// _cgetseton's value that only reads.
constexpr int kOnlyRead = 2;

// The current value of logical setting n as 0 or 1, -1 for no such one.
int read_logical(int n)
{
  const Row& r = row(n);
  if (r.holder == Holder::Flags) return flags[r.index] != 0;
  if (r.holder == Holder::Status) return __status[r.index] != 0;
  switch (n) {
    case kCursor: return flags[VL_FLAG_CURSOR] != 0;
    case kMCenter: return vln_flagto.message_centre != 0;
    case kMultiLocks: return vlnGetMultilocks();
    case kCentury: return vlnGetCentury();
    case kAutoLock: return autolock_get() > kAutoLockOff;
    case kReserved: return 1;
    default: return -1;
  }
}

// Switches that refuse to go on: the alternate and extra channels without
// a file, the printer without anywhere to print.
bool refused(int n, int on)
{
  if (!on) return false;
  if (n == kAlternate) return vln_flagto.alternate_file[0] == '\0';
  if (n == kExtra) return vln_flagto.extra_file[0] == '\0';
  if (n == kPrinter && !printer_ready()) {
    io_error(VL_E_FILE_OPEN, "Attempted SET PRINTER ON;but default spool file;was disabled");
    return true;
  }
  return false;
}

void write_logical(int n, int on)
{
  const Row& r = row(n);
  if (r.holder == Holder::Flags) {
    flags[r.index] = static_cast<unsigned char>(on);
    return;
  }
  if (r.holder == Holder::Status) {
    __status[r.index] = static_cast<unsigned char>(on);
    return;
  }
  switch (n) {
    case kCursor: set_cursor(on); break;
    case kMCenter: vln_flagto.message_centre = on ? -1 : 0; break;
    case kMultiLocks: vlnSetMultilocks(on); break;
    case kCentury: vln_setcentury(on); break;
    case kAutoLock:
      if (on)
        autolock_on();
      else
        autolock_set(kAutoLockOff);
      break;
    default: break;
  }
}

}  // namespace

extern "C" int _cgetseton(int value, int n)
{
  const int former = read_logical(n);
  if (former < 0 || value == kOnlyRead || refused(n, value != 0)) return former;
  write_logical(n, value != 0);
  return former;
}
