// dierror.cpp -- diError: the driver's error object and its road to the
// error block.
//
// The error block may BREAK out of diError.  Nothing here holds an object
// with a destructor across the block call; the texts are built in fixed
// buffers on the stack, and the temporaries go with the sequence's release.
#include <cstdio>

#include "blocks.h"
#include "dataserver.h"
#include "dierror.hpp"
#include "dumps.h"
#include "errclass.h"
#include "errslots.hpp"
#include "kernel.h"
#include "objects.h"
#include "vlerror.hpp"

using namespace vl;

namespace {

constexpr int kFirstUnknown = 999;
constexpr int kDiagSubcode = -9999;
constexpr size_t kTextSize = 4096;
constexpr size_t kPlaceSize = 512;

using vlerr::int_slot;
using vlerr::slot;
using vlerr::text_slot;

// The place of the caller, as the filename of the error object.
void fill_place(var* e)
{
  char place[kPlaceSize];
  std::snprintf(place, sizeof place, "%s.PRG, module %s line %d", vln_proc_file(0),
                vln_proc_name(0), vln_proc_line(0));
  set_Cvar(slot(e, VL_ERR_FILENAME), place, -1);
}

void fill_description(var* e, const char* method, int code, const char* text)
{
  char desc[kTextSize];
  if (code == VL_E_DEV_WARNING)
    std::snprintf(desc, sizeof desc, "%s", text);
  else if (code < kFirstUnknown)
    std::snprintf(desc, sizeof desc, "DBFIDX:%s;%s;%d (%s)", method, text, code,
                  vln_err_row(code)->text);
  else
    std::snprintf(desc, sizeof desc, "DBFIDX:%s;%s;%d (unknown)", method, text, code);
  set_Cvar(slot(e, VL_ERR_DESCRIPTION), desc, -1);
}

void fill_subsystem(var* e, const char* source, int line)
{
  char subsystem[kPlaceSize] = "";
  int32_t subcode = 0;
  if (__diag_fp) {
    std::snprintf(subsystem, sizeof subsystem, "dbfidx driver (%s, line %d)", source, line);
    subcode = kDiagSubcode;
  }
  set_Cvar(slot(e, VL_ERR_SUBSYSTEM), subsystem, -1);
  set_Ivar(slot(e, VL_ERR_SUBCODE), subcode);
}

void fill(var* e, const char* method, int code, int severity, const char* text,
          const char* source, int line)
{
  cpy_var(slot(e, VL_ERR_ARGS), NIL_VAR);
  cpy_var(slot(e, VL_ERR_CARGO), NIL_VAR);
  set_lvar(slot(e, VL_ERR_CANDEFAULT), 0);
  set_lvar(slot(e, VL_ERR_CANRETRY), 0);
  set_lvar(slot(e, VL_ERR_CANSUBSTITUTE), 0);
  fill_place(e);
  set_Cvar(slot(e, VL_ERR_OPERATION), method, -1);
  set_Ivar(slot(e, VL_ERR_OSCODE), 0);
  set_Ivar(slot(e, VL_ERR_TRIES), 0);
  fill_description(e, method, code, text);
  set_Ivar(slot(e, VL_ERR_GENCODE), code);
  set_Ivar(slot(e, VL_ERR_SEVERITY), severity);
  fill_subsystem(e, source, line);
}

// The error block with e, or _DEFERROR when the block is not a block.
void run_error_block(var* e)
{
  var* block = _bb_errorblock(0, nullptr);
  if (block->Type == 'B' || block->Type == 'b') {
    var* args[] = {block, e};
    _bb_eval(2, args);
  } else {
    var* args[] = {e};
    _bb__deferror(1, args);
  }
}

}  // namespace

extern "C" {

void vlnDriverHeadInit(VlnDriverHead* head)
{
  if (head->errobj) return;
  head->errobj = mak_var('N', 'U');
  cpy_var(head->errobj, _bb_errornew(0, nullptr));
}

void vlnDriverHeadFree(VlnDriverHead* head)
{
  if (!head->errobj) return;
  var* e = head->errobj;
  head->errobj = nullptr;
  del_var(e);
}

void vlnDriverAttach(var* obj, VlnDriverHead* head)
{
  var* s = vlnGetObj(obj, VLN_DS_STATE_SLOT);
  if (s != NIL_VAR) set_ivar(s, reinterpret_cast<intptr_t>(head));
}

VlnDriverHead* vlnDriverHeadOf(var* obj) { return vl::driver_head_of(obj); }

void diError(var* self, const char* method, int code, int severity, const char* text,
             const char* source, int line)
{
  diErrorHead(vlnDriverHeadOf(self), method, code, severity, text, source, line);
}

}  // extern "C"

namespace vl {

var* diErrorObject(var* self)
{
  VlnDriverHead* head = vlnDriverHeadOf(self);
  return head && head->errobj ? head->errobj : NIL_VAR;
}

void diErrorHead(VlnDriverHead* head, const char* method, int code, int severity,
                 const char* text, const char* source, int line)
{
  const int32_t mark = tmpvar_cnt;
  if (head) vlnDriverHeadInit(head);
  var* e = head ? head->errobj : _bb_errornew(0, nullptr);
  fill(e, method ? method : "", code < 0 ? -code : code, severity, text ? text : "",
       source ? source : "", line);
  diErrorDeliver(e);
  del_tmpvars(mark);
}

void diErrorDeliver(var* e)
{
  const int32_t mark = tmpvar_cnt;
  const int code = int_slot(e, VL_ERR_GENCODE);
  err_check_recursion(1);
  if (vln_error_counts(code)) ++vln_error_count;
  last_errno = code;
  if (errstat && vln_err_row(code)->level >= vln_report_level()) {
    if (vln_error_handler != vln_default_error_handler) {
      VlnErrReport report{code, int_slot(e, VL_ERR_SEVERITY), text_slot(e, VL_ERR_DESCRIPTION),
                          int_slot(e, VL_ERR_SUBCODE), text_slot(e, VL_ERR_SUBSYSTEM)};
      vln_error_handler(&report);
    } else {
      run_error_block(e);
    }
  }
  err_check_recursion(0);
  del_tmpvars(mark);
}

}  // namespace vl

// The operation names and message texts of the
// drivers, expanded from their lists in dierror.hpp.
namespace vl {
#define VL_DIMN_DEF_(name, text) const char* const diMN_##name = text;
VLN_DIMN_NAMES(VL_DIMN_DEF_)
#undef VL_DIMN_DEF_
#define VL_DIEM_DEF_(name, text) const char* diEM_##name = text;
VLN_DIEM_TEXTS(VL_DIEM_DEF_)
#undef VL_DIEM_DEF_
}  // namespace vl
