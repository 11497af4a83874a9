// set_values.cpp -- the three kinds of SET() settings: text (_cgetsetstr),
// logical (_cgetseton) and numeric (_cgetsetnum).
#include <cctype>
#include <cstdint>
#include <cstring>
#include <string>

#include "fname.h"
#include "kernel.h"
#include "set.hpp"
#include "set_table.hpp"
#include "sethooks.h"
#include "switches.hpp"
#include "vlerror.h"

using namespace vl;

namespace {

using namespace vlset;

// A device text that begins with this (in any case) selects the printer.
constexpr char kPrintPrefix[] = "PRINT";

void set_device(const char* text)
{
  const size_t n = sizeof kPrintPrefix - 1;
  bool printer = std::strlen(text) >= n;
  for (size_t i = 0; printer && i < n; ++i)
    printer = std::toupper(static_cast<unsigned char>(text[i])) == kPrintPrefix[i];
  vln_flagto.device_printer = printer;
  std::strcpy(vln_flagto.device, printer ? "PRINT" : "SCREEN");
}

// Left and right delimiter; a missing right one repeats the left.
void set_delimiters(const char* text)
{
  if (!text[0]) return;
  vln_flagto.delimiters[0] = text[0];
  vln_flagto.delimiters[1] = text[1] ? text[1] : text[0];
}

void set_color(const char* text)
{
  vln_flagto_settext(&vln_flagto.color, text);
  if (vln_color_hook) vln_color_hook(vln_flagto.color);
}

// The shown form of SET DEFAULT: without its trailing '/'.
std::string shown_default()
{
  std::string d = vln_flagto.default_dir;
  if (d.size() > 1 && d.back() == '/') d.pop_back();
  return d;
}

// The current text of setting n into out; false when n is no text setting.
bool read_text(int n, std::string& out)
{
  const VlnFlagTo& f = vln_flagto;
  switch (n) {
    case kDateFormat: out = f.date_format; return true;
    case kPath: out = f.path; return true;
    case kDefault: out = shown_default(); return true;
    case kColor: out = f.color; return true;
    case kAltFile: out = f.alternate_file; return true;
    case kDevice: out = f.device; return true;
    case kExtraFile: out = f.extra_file; return true;
    case kPrintFile: out = f.printer_file; return true;
    case kDelimChars: out.assign(f.delimiters, 2); return true;
    default: return false;
  }
}

void write_text(int n, const char* text, int additive)
{
  switch (n) {
    case kDateFormat: set_date_format(text); break;
    case kPath: vln_path_to(text); break;
    case kDefault: vln_default_to(text); break;
    case kColor: set_color(text); break;
    case kAltFile:
    case kExtraFile:
    case kPrintFile: channel_to(n, text, additive); break;
    case kDevice: set_device(text); break;
    case kDelimChars: set_delimiters(text); break;
    default: break;
  }
}

// The former text handed back; module storage, valid until the next call.
std::string sFormer;

}  // namespace

const char* vl::_cgetsetstr(int n, const char* text)
{
  const bool additive = n >= VL_SET_ADDITIVE;
  if (additive) n -= VL_SET_ADDITIVE;
  if (!read_text(n, sFormer)) return nullptr;
  if (text) write_text(n, text, additive);
  return sFormer.c_str();
}

// The logical settings of SET(): _cgetseton.
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

int vl::_cgetseton(int value, int n)
{
  const int former = read_logical(n);
  if (former < 0 || value == kOnlyRead || refused(n, value != 0)) return former;
  write_logical(n, value != 0);
  return former;
}

// The numeric settings of SET(): _cgetsetnum.
namespace {

using namespace vlset;

// The widest accepted values; anything outside leaves a setting as it was.
constexpr int kMaxDecimals = 99;
constexpr int kMaxEpoch = 9999;
constexpr int kMaxTypeahead = 4096;
constexpr int kMaxMargin = 255;
constexpr int kMaxMessageRow = 9999;

bool in_range(int value, int high) { return value >= 0 && value <= high; }

int read_numeric(int n)
{
  switch (n) {
    case kDecimals: return vln_flagto.decimals;
    case kEpoch: return vln_flagto.epoch;
    case kTypeahead: return vln_flagto.typeahead;
    case kCursor: return flags[VL_FLAG_CURSOR];
    case kMargin: return vln_flagto.margin;
    case kMessage: return vln_flagto.message_row;
    case kAutoLock: return autolock_get();
    default: return VL_SET_NOCHANGE;
  }
}

void write_numeric(int n, int value)
{
  VlnFlagTo& f = vln_flagto;
  switch (n) {
    case kDecimals:
      if (in_range(value, kMaxDecimals)) f.decimals = value;
      break;
    case kEpoch:
      if (in_range(value, kMaxEpoch)) f.epoch = value;
      break;
    case kTypeahead:
      if (!in_range(value, kMaxTypeahead)) break;
      f.typeahead = value;
      if (vln_typeahead_hook) vln_typeahead_hook(value);
      break;
    case kCursor: set_cursor(value); break;
    case kMargin:
      if (in_range(value, kMaxMargin)) f.margin = value;
      break;
    case kMessage:
      if (in_range(value, kMaxMessageRow)) f.message_row = value;
      break;
    case kAutoLock: autolock_set(value); break;
    default: break;
  }
}

}  // namespace

int vl::_cgetsetnum(int n, int value)
{
  const int former = read_numeric(n);
  if (former != VL_SET_NOCHANGE && value != VL_SET_NOCHANGE) write_numeric(n, value);
  return former;
}
