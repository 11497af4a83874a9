/*
** names_client.c -- a plain C program built with cc against an installed
** copy of the library, whose own globals have the names the library uses
** inside: flags, languages, open_fil and buff4K.  It must compile and link,
** and each side must keep its own: the program starts the run-time,
** evaluates expressions that read and change the library's switches and
** language, calls a language function, and checks the results and its own
** variables.  Exit status 0 means all checks held.
*/
#include <stdio.h>
#include <string.h>

#include <vl.h>

int flags, languages;
char buff4K[4096];

/* The program's own opener: counts its calls in flags. */
int open_fil(const char* name)
{
  ++flags;
  return name ? (int)strlen(name) : -1;
}

static int failures;

static void check(int ok, const char* what)
{
  printf("%s %s\n", ok ? "ok  " : "FAIL", what);
  if (!ok) ++failures;
}

static int last_code;
static void keep_code(const VlnErrReport* r) { last_code = r->gencode; }

/* The text of a 'C' result, "" for anything else. */
static const char* text_of(const var* v) { return v->Type == 'C' ? VSTR(v) : ""; }

int main(int argc, char** argv)
{
  var* args[1];
  var* r;
  int32_t mark;

  flags = 7;
  languages = 3;
  strcpy(buff4K, "the program's buffer");

  vln_start(argc, argv);
  vln_error_handler = keep_code;
  mark = tmpvar_cnt;

  r = exp_eval("UPPER('total: ') + STR(7 / 2, 4, 1)");
  check(strcmp(text_of(r), "TOTAL:  3.5") == 0, "an expression evaluates");

  /* SET EXACT lives in the library's own switch store. */
  r = exp_eval("SET(1, .T.)");
  check(r->Type == 'L' && !VINT(r), "SET EXACT was off");
  check(exp_eval("'abc' = 'ab'") == FALSE_VAR, "SET EXACT on: 'abc' = 'ab' is false");
  check(vlnGetExact() == 1, "vlnGetExact() reads the library's switch");
  exp_eval("SET(1, .F.)");
  check(exp_eval("'abc' = 'ab'") == TRUE_VAR, "SET EXACT off: 'abc' = 'ab' is true");

  r = exp_eval("SETLANG()");
  check(r->Type == 'N' && VDBL(r) == 0 && vlnGetCurLang() == -1, "no language is active");

  args[0] = set_cv("fifteen letters");
  r = _bb_len(1, args);
  check(VINT(r) == 15, "LEN() called as _bb_len");
  r = vln_funcall("len")(1, args);
  check(VINT(r) == 15, "LEN() called through vln_funcall");

  r = exp_eval("1 + 'a'");
  check(r == ERROR_VAR && last_code == VL_E_TYPE_MISMATCH, "an error reaches the handler");
  del_tmpvars(mark);

  check(open_fil("x.dbf") == 5, "the program's open_fil is its own");
  check(flags == 8 && languages == 3, "the program's flags and languages kept their values");
  check(strcmp(buff4K, "the program's buffer") == 0, "the program's buff4K kept its text");
  return failures ? 1 : 0;
}
