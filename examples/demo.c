/*
** demo.c -- a small program written the way generated code is written:
** frames, locals, PRIVATE variables and calls through the library.
**
**   FUNCTION Main()
**     LOCAL s := "hello, world", n := -2.5
**     PRIVATE greeting
**     greeting := UPPER(s)
**     ? greeting, LEN(greeting), ABS(n)
**     Shadow()
**     ? "after Shadow:", greeting
**   RETURN NIL
**
**   FUNCTION Shadow()
**     PRIVATE greeting := "shadowed"
**     ? "inside Shadow:", greeting
**   RETURN NIL
*/
#include <stdio.h>

#include "vl.h"

static int32_t greeting;  /* memory-variable index of GREETING */

static void show(const char* label, var* v)
{
  if (v->Type == 'C')
    printf("%s %s\n", label, VSTR(v));
  else if (v->Type == 'I')
    printf("%s %d\n", label, VINT(v));
  else
    printf("%s %.*f\n", label, v->Decimals, VDBL(v));
}

static var* shadow(int argc, var** argv)
{
  VL_BEGIN("demo.prg", "shadow");
  VL_STMT(vln_declare(greeting));
  VL_STMT(set_cvarf(greeting, "shadowed"));
  VL_STMT(show("inside Shadow:", vlnGetVar(greeting)));
  VL_RETURN_NIL();
}

static var* demo_main(int argc, var** argv)
{
  VL_BEGIN("demo.prg", "main");
  var* s = VL_LOCAL('U');
  var* n = VL_LOCAL('U');
  VL_STMT(set_Cvar(s, "hello, world", -1));
  VL_STMT(set_nvar(n, -2.5, 1));
  VL_STMT(vln_declare(greeting));
  VL_STMT(cpy_var(vlnGetVarForWrite(greeting), VL_CALL(_bb_upper, mk_var_cp(s))));
  VL_STMT(show("UPPER(s) =", vlnGetVar(greeting)));
  VL_STMT(show("LEN(greeting) =", VL_CALL(_bb_len, vlnGetVar(greeting))));
  VL_STMT(show("ABS(n) =", VL_CALL(_bb_abs, mk_var_cp(n))));
  VL_STMT(VL_CALL(shadow, NIL_VAR));
  VL_STMT(show("after Shadow:", vlnGetVar(greeting)));
  VL_STMT(printf("temporaries left: %d\n", tmpvar_cnt));
  VL_RETURN_NIL();
}

int main(int argc, char** argv)
{
  vln_start(argc, argv);
  greeting = vln_add_var("greeting");
  vln_run(argc, argv, demo_main);
}
