// The error block: ERRORBLOCK(), the default block around _DEFERROR, and
// the road from a report to the block.
#include "arrays.h"
#include "blocks.h"
#include "errclass.h"
#include "errslots.hpp"
#include "files.h"
#include "objects.h"
#include "vlgen.h"

namespace {

// The PUBLIC that keeps the last error object the default block saw.
constexpr char kLastErrorName[] = "vl2yy_last";

// The current error block; null until start-up made the default one.
var* g_error_block = nullptr;

// The default block {|e| _DEFERROR(e)}.
var* default_block(int argc, var** argv, var** /*detached*/) { return _bb__deferror(argc, argv); }

using vlerr::int_slot;
using vlerr::slot;
using vlerr::text_slot;

void fill_from_report(var* e, const VlnErrReport* r)
{
  set_Ivar(slot(e, VL_ERR_GENCODE), r->gencode);
  set_Ivar(slot(e, VL_ERR_SUBCODE), r->subcode);
  set_Ivar(slot(e, VL_ERR_SEVERITY), r->severity);
  set_Cvar(slot(e, VL_ERR_DESCRIPTION), r->description ? r->description : "", -1);
  set_Cvar(slot(e, VL_ERR_SUBSYSTEM), r->subsystem ? r->subsystem : "", -1);
  set_Cvar(slot(e, VL_ERR_OPERATION), "", 0);
  set_Cvar(slot(e, VL_ERR_FILENAME), "", 0);
  set_Ivar(slot(e, VL_ERR_OSCODE), vlnIntVar(_bb_doserror(0, nullptr)));
  set_Ivar(slot(e, VL_ERR_TRIES), 0);
  cre_arr(slot(e, VL_ERR_ARGS), 1, 0, static_cast<var*>(nullptr));
}

// After a plain return the object stays in the PUBLIC vl2yy_last.
void keep_last(var* e)
{
  const int32_t index = vln_public(vln_add_var(kLastErrorName));
  cpy_var(vlnGetVarForWrite(index), e);
}

}  // namespace

extern "C" void vlnErrorRaise(const VlnErrReport* report)
{
  if (!g_error_block) {
    vln_default_error_handler(report);
    return;
  }
  var* e = _bb_errornew(0, nullptr);
  fill_from_report(e, report);
  var* args[] = {g_error_block, e};
  _bb_eval(2, args);
}

VLN_FUNC(errorblock)
{
  var* previous = mk_var_cp(g_error_block ? g_error_block : NIL_VAR);
  if (argc > 0 && (argv[0]->Type == 'B' || argv[0]->Type == 'b') && g_error_block)
    cpy_var(g_error_block, argv[0]);
  return previous;
}

VLN_FUNC(_deferror)
{
  if (argc < 1 || argv[0]->Type != 'O') return NIL_VAR;
  var* e = argv[0];
  VlnErrReport report{int_slot(e, VL_ERR_GENCODE), int_slot(e, VL_ERR_SEVERITY),
                      text_slot(e, VL_ERR_DESCRIPTION), int_slot(e, VL_ERR_SUBCODE),
                      text_slot(e, VL_ERR_SUBSYSTEM)};
  const char* filename = text_slot(e, VL_ERR_FILENAME);
  vln_default_error_handler_at(&report, *filename ? filename : nullptr);
  keep_last(e);
  return NIL_VAR;
}

VLN_INIT(errinit, 10)
{
  if (g_error_block) return;
  g_error_block = mak_var('N', 'U');
  set_bvar(g_error_block, reinterpret_cast<AnyFn>(default_block), 1, static_cast<var*>(nullptr));
}
