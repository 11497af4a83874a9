// The hooks of sethooks.h and what SET does while a hook is still empty.
#include "sethooks.h"

#include <string>

#include "set.h"
#include "set_table.hpp"
#include "switches.hpp"

using namespace vl;

extern "C" {

void (*vln_typeahead_hook)(int) = nullptr;
void (*vln_color_hook)(const char*) = nullptr;
void (*vln_cursor_hook)(int) = nullptr;
void (*vln_lookahead_hook)(int) = nullptr;
void (*vln_termkey_hook)(int, int) = nullptr;
void (*vln_escdelay_hook)(int) = nullptr;
int (*vln_checkforterm_hook)(const char*) = nullptr;
void (*vln_term_reinit_hook)(void) = nullptr;
void (*vln_alternate_hook)(const char*, int) = nullptr;
void (*vln_extra_hook)(const char*, int) = nullptr;
void (*vln_printer_hook)(const char*, int) = nullptr;
int (*vln_printer_ready_hook)(void) = nullptr;
int (*vln_autolock_get_hook)(void) = nullptr;
int (*vln_autolock_set_hook)(int) = nullptr;
int (*vln_autolock_on_hook)(void) = nullptr;
void (*vln_datefmt_hook)(const char*) = nullptr;

}  // extern "C"

namespace vlset {

namespace {

// The auto-lock time while the lock layer has not taken it over: seconds
// to wait, -3 for off; and the last time that was not negative.
constexpr int kAutoLockStart = 10;
int iAutoLockTime = kAutoLockStart;
int iAutoLockLast = kAutoLockStart;

// Without a channel hook the name is kept, trimmed, and an empty name
// switches the channel off.
void keep_channel_name(char** member, int switch_byte, const char* target)
{
  std::string name = target ? target : "";
  name.erase(name.find_last_not_of(' ') + 1);
  vln_flagto_settext(member, name.c_str());
  if (name.empty()) flags[switch_byte] = 0;
}

}  // namespace

void set_cursor(int value)
{
  flags[VL_FLAG_CURSOR] = value > 0;
  if (vln_cursor_hook) vln_cursor_hook(flags[VL_FLAG_CURSOR]);
}

int autolock_get()
{
  return vln_autolock_get_hook ? vln_autolock_get_hook() : iAutoLockTime;
}

int autolock_set(int seconds)
{
  if (vln_autolock_set_hook) return vln_autolock_set_hook(seconds);
  const int former = iAutoLockTime;
  iAutoLockTime = seconds;
  if (seconds >= 0) iAutoLockLast = seconds;
  return former;
}

int autolock_on()
{
  return vln_autolock_on_hook ? vln_autolock_on_hook() : iAutoLockLast;
}

void channel_to(int n, const char* target, int additive)
{
  switch (n) {
    case kAltFile:
      if (vln_alternate_hook) return vln_alternate_hook(target, additive);
      return keep_channel_name(&vln_flagto.alternate_file, VL_FLAG_ALTERNATE, target);
    case kExtraFile:
      if (vln_extra_hook) return vln_extra_hook(target, additive);
      return keep_channel_name(&vln_flagto.extra_file, VL_FLAG_EXTRA, target);
    case kPrintFile:
      if (vln_printer_hook) return vln_printer_hook(target, additive);
      return keep_channel_name(&vln_flagto.printer_file, VL_FLAG_PRINTER, target);
    default:
      return;
  }
}

bool printer_ready()
{
  return vln_printer_ready_hook ? vln_printer_ready_hook() != 0
                                : vln_flagto.printer_file[0] != '\0';
}

}  // namespace vlset

extern "C" {

int vlnGetAutolock(void) { return vlset::autolock_get(); }
int vlnSetAutolock(int seconds) { return vlset::autolock_set(seconds); }
int vlnSetAutolockOn(void) { return vlset::autolock_on(); }

}  // extern "C"
