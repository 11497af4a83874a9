// The text settings of SET(): _cgetsetstr.
#include <cctype>
#include <cstring>
#include <string>

#include "fname.h"
#include "set.h"
#include "set_table.hpp"
#include "sethooks.h"

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

extern "C" const char* _cgetsetstr(int n, const char* text)
{
  const bool additive = n >= VL_SET_ADDITIVE;
  if (additive) n -= VL_SET_ADDITIVE;
  if (!read_text(n, sFormer)) return nullptr;
  if (text) write_text(n, text, additive);
  return sFormer.c_str();
}
