// errcaller.cpp -- _bb__errcaller: turns a code, a severity and a text into
// the report the error handler sees.
//
// The description is the table text of the code, then ";", then the text
// split into lines: a line feed counts as ";", and each line longer than 76
// characters is split at its commas when one stands early enough, else
// shortened to its first 56 and last 15 characters around " ... ".
//
// Nothing here holds an object with a destructor across the handler call:
// the handler may leave by BREAK.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "errclass.h"
#include "frame.h"
#include "kernel.h"
#include "vlerror.h"
#include "vlgen.h"

namespace {

constexpr size_t kMaxLine = 76;
constexpr size_t kKeepLeft = 56;
constexpr size_t kKeepRight = 15;
constexpr size_t kDescSize = 8192;
constexpr const char* kCallerName = "_ERRCALLER";

std::vector<std::string> split_lines(const std::string& text)
{
  std::vector<std::string> lines;
  size_t start = 0;
  for (size_t i = 0; i <= text.size(); ++i) {
    if (i == text.size() || text[i] == ';') {
      lines.push_back(text.substr(start, i - start));
      start = i + 1;
    }
  }
  return lines;
}

// Split an over-long line at its commas (each "," becomes ",;") when its
// first comma stands between 1 and the line count minus 1; the pieces go in
// as further lines.
bool split_at_commas(std::vector<std::string>& lines, size_t i)
{
  const size_t comma = lines[i].find(',');
  if (comma == std::string::npos) return false;
  const size_t pos = comma + 1;  // 1-based, as the language's AT gives it
  if (pos < 1 || pos > lines.size() - 1) return false;
  std::string joined;
  for (char c : lines[i]) {
    joined += c;
    if (c == ',') joined += ';';
  }
  std::vector<std::string> pieces = split_lines(joined);
  lines.erase(lines.begin() + static_cast<long>(i));
  lines.insert(lines.begin() + static_cast<long>(i), pieces.begin(), pieces.end());
  return true;
}

std::string compose_message(const char* text)
{
  std::string t = text ? text : "";
  for (char& c : t)
    if (c == '\n') c = ';';
  std::vector<std::string> lines = split_lines(t);
  for (size_t i = 0; i < lines.size(); ++i) {
    if (lines[i].size() <= kMaxLine) continue;
    if (split_at_commas(lines, i) && lines[i].size() <= kMaxLine) continue;
    if (lines[i].size() > kMaxLine)
      lines[i] = lines[i].substr(0, kKeepLeft) + " ... " +
                 lines[i].substr(lines[i].size() - kKeepRight);
  }
  std::string msg;
  for (size_t i = 0; i < lines.size(); ++i) {
    if (i) msg += ';';
    msg += lines[i];
  }
  return msg;
}

// Write "table text;message" into desc.
void compose_description(int code, const char* text, char* desc, size_t size)
{
  const std::string msg = compose_message(text);
  std::snprintf(desc, size, "%s;%s", vln_err_row(code)->text, msg.c_str());
}

// After a BREAK out of a handler the nesting count stays raised; when no
// other _ERRCALLER is on the stack the count is one too high.
void heal_nesting()
{
  if (alreadyin <= 1) return;
  for (int n = 2;; ++n) {
    const char* name = vln_proc_name(n);
    if (!name[0]) {
      --alreadyin;
      return;
    }
    if (std::strcmp(name, kCallerName) == 0) return;
  }
}

// A replaced handler takes the report itself; the default one goes through
// an Error object and the error block.
void deliver(const VlnErrReport* report)
{
  if (vln_error_handler == vln_default_error_handler)
    vlnErrorRaise(report);
  else
    vln_error_handler(report);
}

const char* text_arg(int argc, var** argv, int i)
{
  return i < argc && (argv[i]->Type == 'C' || argv[i]->Type == 'M') ? VSTR(argv[i]) : nullptr;
}

}  // namespace

// _ERRCALLER(code, severity, text[, line, module])
VLN_FUNC(_errcaller)
{
  VL_BEGIN("errcaller", "_errcaller");
  const int code = argc > 0 ? vlnIntVar(argv[0]) : 0;
  const int severity = argc > 1 ? vlnIntVar(argv[1]) : VL_SEV_RUNTIME;
  heal_nesting();
  if (vln_err_row(code)->level < vln_report_level()) VL_RETURN_NIL();
  char desc[kDescSize];
  compose_description(code, text_arg(argc, argv, 2), desc, sizeof desc);
  const char* module = text_arg(argc, argv, 4);
  VlnErrReport report{code, severity, desc,
                      argc > 3 && argv[3]->Type != 'U' ? vlnIntVar(argv[3]) : 0,
                      module ? module : "BASE"};
  VL_STMT(deliver(&report));
  VL_RETURN_NIL();
}
