/*
** extend_client.c -- a plain C program built with cc against an installed
** copy of the library.  It writes language functions with the Extend
** interface, enters them in the function registry and calls them by name,
** through the expression evaluator and through the registry itself, and
** checks what they read, returned and stored.  Exit status 0 means all
** checks held.
*/
#include <stdio.h>
#include <string.h>

#include <vl.h>

static int failures;

static void check(int ok, const char* what)
{
  printf("%s %s\n", ok ? "ok  " : "FAIL", what);
  if (!ok) ++failures;
}

/* ORDERLINE(item, qty, paid, due, prices, @note): the line total, qty
** times the unit price prices[1], less the discount prices[2] when paid.
** Stores a summary into note, passed by reference, and the total into
** prices[3]: the array is shared, so the caller sees that too.  NIL when
** an argument has the wrong type. */
VL_EXTEND(orderline)
{
  char note[128];
  double total;
  if (_parinfo(0) != 6 || _parinfo(1) != VL_EXT_CHARACTER ||
      !(_parinfo(2) & VL_EXT_NUMERIC) || !(_parinfo(3) & VL_EXT_LOGICAL) ||
      !(_parinfo(4) & VL_EXT_DATE) || _parinfa(5, 0) < 3)
    return _VLret();
  total = _parni(2) * _parnd(5, 1);
  if (_parl(3)) total -= _parnd(5, 2);
  snprintf(note, sizeof note, "%s x%d due %s %s", _parc(1), _parni(2), _pards(4),
           _parl(3) ? "paid" : "open");
  if (!_storc(note, 6) || !_stornd(total, 5, 3)) return _VLret();
  return _VLretnd(total);
}

/* MONTHEND(date): the last day of the date's month. */
VL_EXTEND(monthend)
{
  static const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  char text[9];
  int y, m, last;
  const char* d = _pards(1);
  if (!d || sscanf(d, "%4d%2d", &y, &m) != 2) return _VLret();
  last = days[m - 1] + (m == 2 && y % 4 == 0 && (y % 100 != 0 || y % 400 == 0));
  snprintf(text, sizeof text, "%04d%02d%02d", y, m, last);
  return _VLretds(text);
}

/* WORDS(text): the number of blank-separated words, an integer. */
VL_EXTEND(words)
{
  const char* s = _parc(1);
  int n = 0, len = _parclen(1), i;
  for (i = 0; i < len; ++i)
    if (s[i] != ' ' && (i == 0 || s[i - 1] == ' ')) ++n;
  return _VLretni(n);
}

/* ISLARGE(n): .T. above 100. */
VL_EXTEND(islarge) { return _VLretl(_parnd(1) > 100); }

/* The text of a 'C' value, "" for anything else. */
static const char* text_of(var* v) { return v->Type == 'C' ? VSTR(v) : ""; }

int main(int argc, char** argv)
{
  int32_t mark;
  var* r;
  vln_start(argc, argv);
  mark = tmpvar_cnt;
  VL_EXTEND_REGISTER(orderline);
  VL_EXTEND_REGISTER(monthend);
  VL_EXTEND_REGISTER(words);
  VL_EXTEND_REGISTER(islarge);

  exp_eval("item := 'pen'");
  exp_eval("due := STOD('20240210')");
  exp_eval("prices := {2.5, 1, 0}");
  exp_eval("note := ''");

  r = exp_eval("ORDERLINE(item, 4, .T., due, prices, @note)");
  check(r->Type == 'N' && VDBL(r) == 9.0, "ORDERLINE(...) returns 4 * 2.5 - 1");
  check(strcmp(text_of(exp_eval("note")), "pen x4 due 20240210 paid") == 0,
        "ORDERLINE stored the summary into @note");
  check(VDBL(exp_eval("prices[3]")) == 9.0, "ORDERLINE stored into the shared array");
  r = exp_eval("ORDERLINE(item, 2, .F., due, prices, note)");
  check(VDBL(r) == 5.0 && strcmp(text_of(exp_eval("note")), "pen x4 due 20240210 paid") == 0,
        "a note passed by value is left alone");
  check(exp_eval("ORDERLINE(4, item)") == NIL_VAR, "wrong arguments give NIL");

  check(strcmp(text_of(exp_eval("DTOS(MONTHEND(due))")), "20240229") == 0,
        "MONTHEND(due) is 29 February 2024");
  check(exp_eval("MONTHEND('x')") == NIL_VAR, "MONTHEND of a text is NIL");
  r = exp_eval("WORDS('  one two  three ')");
  check(r->Type == 'I' && VINT(r) == 3, "WORDS counts three words");
  check(exp_eval("ISLARGE(101)") == TRUE_VAR && exp_eval("ISLARGE(5)") == FALSE_VAR,
        "ISLARGE answers with logicals");

  {
    int32_t found = find_fun("words");
    check(found > 0, "WORDS is in the function registry");
    if (found > 0) {
      r = VL_CALL(glob_ftab[found].fn, set_cv("called by the registry"));
      check(VINT(r) == 4, "a call through the registry reads its own arguments");
    }
  }
  check(gl_argc == 0 && gl_argv == NULL, "no Extend call left published");
  del_tmpvars(mark);
  return failures ? 1 : 0;
}
