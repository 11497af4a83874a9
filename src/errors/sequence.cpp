// BREAK, ISBEGSEQ() and ERRORSYS(): the language side of BEGIN SEQUENCE.
#include <setjmp.h>

#include "errclass.h"
#include "frame.h"
#include "vlgen.h"

VLN_FUNC(break)
{
  if (!glob_sequencebuf) vl_break_error();
  // A copy on the temporary stack outlives the frames the jump abandons:
  // the sequence's RECOVER reads it before the statement's cleanup.
  vln_break_value = mk_var_cp(argc > 0 ? argv[0] : NIL_VAR);
  longjmp(*glob_sequencebuf, 1);
}

VLN_FUNC(isbegseq)
{
  (void)argc;
  (void)argv;
  return glob_sequencebuf ? TRUE_VAR : FALSE_VAR;
}

VLN_FUNC(errsys)
{
  (void)argc;
  (void)argv;
  return TRUE_VAR;
}
