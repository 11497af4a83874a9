/*
** c_client.c -- a plain C program built with cc against an installed copy
** of the library.  It calls LEN, UPPER and ABS with temporaries and
** variables inside a frame and checks the results; exit status 0 means all
** held.
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

static int errors_seen;
static void count_error(const VlnErrReport* r) { ++errors_seen; }

static var* client_main(int argc, var** argv)
{
  VL_BEGIN("client.c", "main");
  var* name = VL_LOCAL('U');
  var* five = VL_LOCAL('U');
  var* undefined = mak_var('U', 'U');
  var* r;

  VL_STMT(set_Cvar(name, "Ada Lovelace", -1));
  VL_STMT(set_nvar(five, 5, 0));

  VL_STMT(r = VL_CALL(_bb_len, mk_var_cp(name)); check(VINT(r) == 12, "LEN(name) is 12"));
  VL_STMT(r = VL_CALL(_bb_len, NIL_VAR);
          check(VINT(r) == 0 && errors_seen == 0, "LEN(NIL) is 0 without error"));
  VL_STMT(r = VL_CALL(_bb_len, undefined);
          check(r == ERROR_VAR, "LEN of an undefined variable is ERROR_VAR"));
  VL_STMT(r = VL_CALL(_bb_upper, name);
          check(strcmp(VSTR(r), "ADA LOVELACE") == 0 && strcmp(VSTR(name), "Ada Lovelace") == 0,
                "UPPER(name) folds a copy"));
  VL_STMT(r = VL_CALL(_bb_upper, five);
          check(r->Type == 'C' && r->Length == 1 && VDBL(five) == 5.0,
                "UPPER(5) is \"\" and leaves the variable alone"));
  VL_STMT(r = VL_CALL(_bb_abs, set_nv(-3.25, 2));
          check(VDBL(r) == 3.25 && r->Decimals == 2, "ABS(-3.25) is 3.25"));
  VL_STMT(r = VL_CALL(_bb_abs, set_Iv(-7)); check(r->Type == 'I' && VINT(r) == 7, "ABS(-7) stays integer"));
  VL_STMT(cpy_var(five, u_sub_u(u_add_u(five, u_mul_u(five, set_nv(0.5, 1), 0), 0), set_nv(1.25, 2), 0)));
  VL_STMT(check(VDBL(five) == 6.25 && five->Decimals == 2 && five->Mode == 'N',
                "five := five + five * 0.5 - 1.25 is 6.25, two decimals, still a LOCAL"));
  VL_STMT(check(tmpvar_cnt == vl_frame_.TmvNp, "temporaries back at the frame's floor"));
  del_var(undefined);
  VL_RETURN_NIL();
}

int main(int argc, char** argv)
{
  vln_start(argc, argv);
  vln_error_handler = count_error;
  int32_t mark = tmpvar_cnt;
  client_main(0, 0);
  del_tmpvars(mark);
  check(old_fn_stack == 0 && glob_depth == 0, "frame closed");
  return failures ? 1 : 0;
}
