// console.cpp -- ? and ?? (QOUT, QQOUT), and RELEASE (__MRELEASE,
// __MRELALL).
//
// Output follows the cursor model of the language: ? starts a new line and
// then writes, ?? writes where the cursor stands.  Every line the library
// writes (LIST, an error report) is routed through the same model once
// console_start has run, so that the two kinds of output interleave as the
// program wrote them.  The console remembers whether the current line holds
// text; the driver ends such a line before it prompts and at exit.
//
// At the prompt an error must not end the run: console_errors_return sets
// an error block that reports the error and BREAKs back to the statement's
// guard, so that a program's own ERRORBLOCK still works there.
//
// Standard output stays buffered (a LIST of a large table is one write per
// buffer, not per line), except on a terminal, where each write is flushed
// so that the user sees it at once.
#include <unistd.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "console.hpp"
#include "errclass.h"
#include "errslots.hpp"
#include "kernel.hpp"
#include "runtime.hpp"
#include "vartostr.hpp"

namespace {

// Room for an error report's heading.
constexpr size_t kHeadingSize = 8192;
// Values up to this length are converted on the stack.
constexpr size_t kSmallText = 4096;
// Room for a RELEASE ALL skeleton; a longer one is cut.
constexpr size_t kSkelSize = 64;

bool line_open = false;  // the current line holds text
bool to_terminal = false;

void write_bytes(const char* p, size_t n)
{
  if (n == 0) return;
  std::fwrite(p, 1, n, stdout);
  line_open = p[n - 1] != '\n';
}

void new_line()
{
  std::fputc('\n', stdout);
  line_open = false;
}

void settle()
{
  if (to_terminal) std::fflush(stdout);
}

// One value as ? shows it; written by length, since a text may hold zero
// bytes.  The large buffer is plain memory: vartostr never reports.
void write_value(var* v)
{
  char small[kSmallText];
  const size_t n = vl::vartostr(v, small, sizeof small);
  if (n < sizeof small) {
    write_bytes(small, n);
    return;
  }
  char* big = static_cast<char*>(std::malloc(n + 1));
  if (!big) return;
  vl::vartostr(v, big, n + 1);
  write_bytes(big, n);
  std::free(big);
}

// The arguments separated by one blank.
void write_values(int argc, var** argv)
{
  for (int i = 0; i < argc; ++i) {
    if (i > 0) write_bytes(" ", 1);
    write_value(argv[i]);
  }
  settle();
}

int (*batch_waitkey)(void) = nullptr;
int errors_seen = 0;

int waitkey_flushed()
{
  std::fflush(stdout);
  return batch_waitkey();
}

// The prompt's error block: the report the default handler writes, then a
// BREAK to the innermost sequence (the guard of the prompt's statement)
// instead of the end of the run.  A developer warning lets the statement
// go on, as it does under the default handler.
var* report_and_break(int argc, var** argv, var** /*detached*/)
{
  if (argc < 1 || argv[0]->Type != 'O') return NIL_VAR;
  var* e = argv[0];
  const VlnErrReport report{vlerr::int_slot(e, VL_ERR_GENCODE),
                            vlerr::int_slot(e, VL_ERR_SEVERITY),
                            vlerr::text_slot(e, VL_ERR_DESCRIPTION),
                            vlerr::int_slot(e, VL_ERR_SUBCODE),
                            vlerr::text_slot(e, VL_ERR_SUBSYSTEM)};
  const char* filename = vlerr::text_slot(e, VL_ERR_FILENAME);
  if (vln_error_is_warning(&report)) {
    vln_default_error_handler_at(&report, *filename ? filename : nullptr);
    return NIL_VAR;
  }
  char heading[kHeadingSize];
  if (*filename)
    vln_error_heading_at(&report, filename, heading, sizeof heading);
  else
    vln_error_heading(&report, heading, sizeof heading);
  vl::prog::console_line(heading);
  vl::prog::console_end_line();
  ++errors_seen;
  return _bb_break(0, nullptr);
}

// RELEASE ALL LIKE/EXCEPT: skel matched against a folded name, '*' any run
// of characters, '?' any one.
bool like(const char* skel, const char* name)
{
  for (; *skel; ++skel, ++name) {
    if (*skel == '*') {
      for (const char* rest = name;; ++rest) {
        if (like(skel + 1, rest)) return true;
        if (!*rest) return false;
      }
    }
    if (!*name || (*skel != '?' && *skel != *name)) return false;
  }
  return !*name;
}

// The skeleton of RELEASE ALL folded like names, trailing blanks dropped.
void fold_skeleton(const char* text, char out[kSkelSize])
{
  size_t n = 0;
  for (; text[n] && n + 1 < kSkelSize; ++n)
    out[n] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[n])));
  while (n > 0 && out[n - 1] == ' ') --n;
  out[n] = '\0';
}

}  // namespace

namespace vl::prog {

void console_start()
{
  to_terminal = isatty(STDOUT_FILENO) != 0;
  vln_qout_hook = console_line;
  if (vln_waitkey_hook != waitkey_flushed) {
    batch_waitkey = vln_waitkey_hook;
    vln_waitkey_hook = waitkey_flushed;
  }
  vln_on_quit(console_end_line);
}

void console_errors_return()
{
  var* block = set_bvar(cre_tmpvar(), reinterpret_cast<AnyFn>(report_and_break), 1,
                        static_cast<var*>(nullptr));
  _bb_errorblock(1, &block);
}

int console_errors() { return errors_seen; }

void console_line(const char* text)
{
  new_line();
  write_bytes(text, std::strlen(text));
  settle();
}

void console_end_line()
{
  if (line_open) new_line();
  std::fflush(stdout);
}

}  // namespace vl::prog

// ? a, b: a new line, then the values separated by one blank.
VLN_FUNC(qout)
{
  new_line();
  write_values(argc, argv);
  return NIL_VAR;
}

// ?? a, b: the values where the cursor stands.
VLN_FUNC(qqout)
{
  write_values(argc, argv);
  return NIL_VAR;
}

// RELEASE a, b: each named memory variable becomes undefined.  A name that
// is not a variable, or an argument that is not a text, is passed over.
VLN_FUNC(__mrelease)
{
  for (int i = 0; i < argc; ++i)
    if (argv[i]->Type == 'C') vl::release_var(argv[i]->Value.w1.str, 0);
  return NIL_VAR;
}

// RELEASE ALL [LIKE|EXCEPT skel]: the PRIVATE variables the calling routine
// declared whose names match skel (lLike true) or do not (false) become
// undefined.  The caller's declarations are those of the current depth:
// this function opens no frame of its own.
VLN_FUNC(__mrelall)
{
  char skel[kSkelSize] = "*";
  if (argc > 0 && argv[0]->Type == 'C') fold_skeleton(argv[0]->Value.w1.str, skel);
  const bool keep_matching = argc > 1 && argv[1]->Type == 'L' && argv[1]->Value.w1.i;
  for (int32_t i = 0; i < mvn_fpt; ++i) {
    var* v = mv_names[i].v;
    if (v->Mode == 'U' || v->D_level != glob_depth) continue;
    if (like(skel, mv_names[i].name) == keep_matching) vl::release_var(mv_names[i].name, 0);
  }
  return NIL_VAR;
}
