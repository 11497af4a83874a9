// Whole names: form_fnam and the small helpers that add to or take from a
// name (extension, default directory, base name), and the reports the
// name routines describe instead of making.
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "fname.h"
#include "fname_util.hpp"
#include "switches.h"
#include "vlerror.h"

namespace {

// Names are expanded in a buffer of this size.
constexpr int kExpandSize = 4096;

bool is_slash(char c) { return c == '/' || c == '\\'; }

bool form_into(const char* dir, const char* name, char* out, size_t size, VlnNameReport* report)
{
  return vln::copy_out(vln::form_fnam(dir, name, report), out, size);
}

}  // namespace

// C linkage comes from its declaration in fname.h.
char* (*vln_name_expr_hook)(const char* text, int size) = nullptr;

const char* vln::expand_name(const char* name)
{
  if (!name || std::strlen(name) >= static_cast<size_t>(kExpandSize)) return name;
  return vln_name_expr_hook ? vln_name_expr_hook(name, kExpandSize) : name;
}

std::string vln::form_fnam(const char* dir, const std::string& name, VlnNameReport* report)
{
  std::string n = convert_file(name, kNameMax, report);
  if (n.find('/') != std::string::npos) return n;
  if (!dir) return vlnGetDefault() + n;
  if (!*dir) return n;
  const std::string d = dir;
  return d + (d.back() == '/' ? "" : "/") + n;
}

char* vl::form_fnam(const char* dir, const char* name, char* out, size_t size)
{
  if (!out || size == 0) return out;
  name = vln::expand_name(name ? name : "");
  VlnNameReport report{};
  const bool fits = form_into(dir, name, out, size, &report);
  if (!fits) out[0] = '\0';
  vln_name_report(&report);
  if (!fits) rt_error(VL_E_STRING_TOO_LONG, "form_fnam: file name too long");
  return out;
}

// The expanded name with SET DEFAULT into name; false (name unchanged)
// when it doesn't fit.
static bool add_def_path(const char* expanded, char* name, size_t size, VlnNameReport* report)
{
  return vln::copy_out(vln::form_fnam(nullptr, expanded, report), name, size);
}

extern "C" char* vlnAddDefPath(char* name, size_t size)
{
  if (!name || size == 0) return name;
  const char* expanded = vln::expand_name(name);
  VlnNameReport report{};
  const bool fits = add_def_path(expanded, name, size, &report);
  vln_name_report(&report);
  if (!fits) rt_error(VL_E_STRING_TOO_LONG, "to add default path");
  return name;
}

extern "C" char* vlnAddExtension(char* out, const char* name, const char* ext, size_t size)
{
  if (!out || !name) return nullptr;
  while (*name == ' ') ++name;
  size_t len = std::strlen(name);
  while (len > 0 && name[len - 1] == ' ') --len;
  const char* dot = nullptr;
  const char* slash = nullptr;
  for (const char* p = name; p < name + len; ++p) {
    if (*p == '.') dot = p;
    if (is_slash(*p)) slash = p;
  }
  const bool has_ext = dot && (!slash || dot > slash);
  const size_t elen = has_ext || !ext ? 0 : std::strlen(ext);
  if (len + elen >= size) return nullptr;
  std::memmove(out, name, len);
  if (elen) std::memcpy(out + len, ext, elen);
  out[len + elen] = '\0';
  return out;
}

extern "C" int vlnExtractName(const char* path, char* out, size_t size)
{
  if (!path || !out || size == 0) return 0;
  const char* p = path;
  for (const char* q = path; *q; ++q)
    if (is_slash(*q)) p = q + 1;
  if (p == path)
    while (*p == ' ' || *p == '\t') ++p;
  size_t i = 0;
  for (; i + 1 < size && p[i] && p[i] != '.'; ++i)
    out[i] = static_cast<char>(std::toupper(static_cast<unsigned char>(p[i])));
  out[i] = '\0';
  if (p[i] == '.') return static_cast<int>(i);
  const bool filled = i + 1 == size;
  const char next = p[i];
  while (i > 0 && out[i - 1] == ' ') out[--i] = '\0';
  if (filled && next && next != ' ' && next != '.') return 0;
  return static_cast<int>(i);
}

// Reports the name routines describe instead of making (VlnNameReport):
// noting one for later and making it.
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
