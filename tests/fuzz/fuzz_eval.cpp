// fuzz_eval.cpp -- feeds arbitrary text to the expression evaluator and to
// the macro declarations.
//
// An input is up to three lines.  The first is an expression for exp_eval;
// one that starts with "*" is "*unit\x01tail", run as unit repeated to
// about kLongText bytes and then tail, so that short inputs reach long
// chains and deep nesting.  The second line, if any, is declared as by
// PRIVATE &x (vln_macro_declare), the third as by PUBLIC &x
// (vln_macro_public); the first line can set the variables they expand.
//
// Only side-effect-free functions stay callable: the others (files, the
// program's end, sleeping, loops over blocks, texts of any size) are
// replaced by a function that gives NIL, so that a run can neither touch
// the disk nor end the process nor spend its memory on purpose.  Errors are
// counted, not shown.  Every variable is released after each input, so
// that an input behaves the same whatever ran before it.
#include <cstdint>
#include <cstring>
#include <string>

#include "fuzzkit.hpp"

namespace {

// Length of the text a "*" line unfolds to.
constexpr size_t kLongText = 200000;

void start()
{
  static bool started = false;
  if (started) return;
  started = true;
  vln_start(0, nullptr);
  fuzzkit::restrict_functions();
  vln_error_handler = fuzzkit::ignore_error;
}

// The expression of the first line, with a "*" repetition unfolded.
std::string expression(const std::string& line)
{
  const size_t mark = line.find('\x01');
  if (line.empty() || line[0] != '*' || mark == std::string::npos || mark == 1) return line;
  const std::string unit = line.substr(1, mark - 1);
  std::string text;
  text.reserve(kLongText + line.size());
  while (text.size() < kLongText) text += unit;
  return text + line.substr(mark + 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  start();
  std::string lines[3];
  size_t n = 0;
  for (size_t i = 0; i < size; ++i) {
    if (data[i] == '\n' && n < 2)
      ++n;
    else
      lines[n] += static_cast<char>(data[i]);
  }
  const std::string text = expression(lines[0]);
  frame f;
  vln_fn_start(&f, "fuzz", "fuzz", 1, 0);
  exp_eval(text.c_str());
  if (n >= 1) vln_macro_declare(lines[1].c_str());
  if (n >= 2) vln_macro_public(lines[2].c_str());
  vln_fn_end(&f, 'U');
  del_tmpvars(0);
  vl::clear_mvs(0);
  alreadyin = 0;
  return 0;
}
