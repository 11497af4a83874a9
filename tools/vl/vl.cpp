// vl -- evaluate expressions of the language.
//
//   vl -e EXPR [-e EXPR ...]   evaluate each in turn, print each value
//   vl                         read expressions line by line from standard
//                              input (with a prompt, line editing and
//                              history on a terminal)
//
// Values print as the ? command shows them.  An error prints the report the
// batch error handler writes and ends vl with status 1; at an interactive
// prompt the report is printed and the next line is read.
#include <editline/readline.h>
#include <unistd.h>

#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "vartostr.hpp"
#include "vl.h"

using namespace vl;

namespace {

constexpr const char* kUsage =
    "usage: vl [-e EXPR]...\n"
    "\n"
    "Evaluates expressions of the language and prints each value on its own\n"
    "line, the way the ? command shows it: numbers as STR() gives them, dates\n"
    "by SET DATE, logicals as .T. and .F., NIL as NIL.\n"
    "\n"
    "  -e EXPR     evaluate EXPR; give -e several times to evaluate several\n"
    "              expressions in one run (a variable assigned by one is seen\n"
    "              by the next)\n"
    "  -h, --help  show this text\n"
    "\n"
    "Without -e, vl reads one expression per line from standard input.  On a\n"
    "terminal it shows a prompt and offers line editing and history.\n"
    "\n"
    "After an error vl prints the system's error report and exits with a\n"
    "non-zero status (at an interactive prompt it goes on with the next line).\n"
    "\n"
    "Examples:\n"
    "  vl -e 'EVAL({|x| x*2}, 21)'\n"
    "  vl -e 'x := 5' -e 'x * 2'\n";

// vl runs every expression as a statement of one function, VL, whose line
// is the expression's number: errors name the place, and the variables an
// expression creates stay for the next.
frame vl_frame;

// Evaluate text and print its value; the statement's temporaries go after.
void evaluate_and_print(const char* text)
{
  ++vl_frame.Line;
  const int32_t mark = tmpvar_cnt;
  var* r = exp_eval(text);
  // Written by length: a text may hold zero bytes.
  char small[4096];
  const size_t n = vartostr(r, small, sizeof small);
  if (n < sizeof small) {
    std::fwrite(small, 1, n, stdout);
  } else {
    std::vector<char> big(n + 1);
    vartostr(r, big.data(), big.size());
    std::fwrite(big.data(), 1, n, stdout);
  }
  std::putchar('\n');
  std::fflush(stdout);
  del_tmpvars(mark);
}

// ---- Interactive use: an error reports and returns to the prompt. ----

jmp_buf prompt_buf;
bool had_error = false;

void report_and_return(const VlnErrReport* r)
{
  char heading[8192];
  std::printf("%s\n", vln_error_heading(r, heading, sizeof heading));
  std::fflush(stdout);
  if (vln_error_is_warning(r)) return;
  had_error = true;
  // Leave as a BREAK does, so that library code on the way out (which may
  // have sequence frames of its own) releases what it holds.
  vln_break_value = NIL_VAR;
  longjmp(*glob_sequencebuf, 1);
}

void interactive()
{
  vln_error_handler = report_and_return;
  using_history();
  const int32_t mark = tmpvar_cnt;
  for (;;) {
    if (setjmp(prompt_buf) != 0) {
      vln_after_break(&vl_frame);
      del_tmpvars(mark);
      alreadyin = 0;
    }
    glob_sequencebuf = &prompt_buf;
    char* line = readline("vl> ");
    if (!line) break;
    if (*line) {
      add_history(line);
      evaluate_and_print(line);
    }
    std::free(line);
  }
  std::printf("\n");
  shell_return = had_error ? 1 : 0;
  vln_fn_end(&vl_frame, 'U');
}

void from_stdin()
{
  std::string line;
  int c;
  while ((c = std::getchar()) != EOF) {
    if (c != '\n') {
      line += static_cast<char>(c);
      continue;
    }
    if (!line.empty()) evaluate_and_print(line.c_str());
    line.clear();
  }
  if (!line.empty()) evaluate_and_print(line.c_str());
}

}  // namespace

int main(int argc, char** argv)
{
  std::vector<const char*> exprs;
  for (int i = 1; i < argc; ++i) {
    if (!std::strcmp(argv[i], "-h") || !std::strcmp(argv[i], "--help")) {
      std::fputs(kUsage, stdout);
      return 0;
    }
    if (!std::strcmp(argv[i], "-e")) {
      if (i + 1 == argc) {
        std::fprintf(stderr, "vl: -e needs an expression after it\n\n%s", kUsage);
        return 2;
      }
      exprs.push_back(argv[++i]);
      continue;
    }
    std::fprintf(stderr, "vl: unknown argument '%s'\n\n%s", argv[i], kUsage);
    return 2;
  }
  vln_start(1, argv);
  vln_fn_start(&vl_frame, "vl", "vl", 0, 0);
  if (!exprs.empty()) {
    for (const char* e : exprs) evaluate_and_print(e);
  } else if (isatty(0)) {
    interactive();
  } else {
    from_stdin();
  }
  vln_quit();
}
