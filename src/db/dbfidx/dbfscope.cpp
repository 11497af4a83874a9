/*
** dbfscope.cpp -- what restricts the records that moves and record-wise
** commands visit: the filter, the default scope of record-wise commands,
** and the condition LOCATE searches for, which CONTINUE goes on with.
**
** Conditions come as blocks or as texts; a text is compiled into a block
** that evaluates it (vlnMakeCB).  A filter, a default FOR and a LOCATE
** condition are tried once when they are set, so that a result of the
** wrong type is reported then and not at every record.  The state owns
** copies of what it keeps (dbf_own); setting a new value releases the old
** one first.  A filter takes effect at the next move.
**
** LOCATE keeps two blocks: the condition as the user gave it (getlocate)
** and its negation, true while the search must go on.  LOCATE and CONTINUE
** run eval with the negation as the while and a block that does nothing,
** so the loop stops on the first record that matches -- or at the end of
** the scope.  Both blocks are compiled blocks whose detached variable is
** the condition they build on.
*/
#include <initializer_list>

#include "blocks.h"
#include "dbfidx.h"
#include "dbfint.hpp"
#include "evaluator.h"
#include "kernel.h"
#include "letters.hpp"

using namespace vl;

namespace {

constexpr int32_t kScopeAll = -1;
constexpr int32_t kScopeRest = -2;

bool absent(const var* v) { return !v || v->Type == 'U'; }
var* arg(int argc, var** argv, int i) { return i < argc ? argv[i] : NIL_VAR; }
/* What an access gives for a value the state owns: a temporary copy. */
var* shown(var* owned) { return owned ? cpy_var(cre_tmpvar(), owned) : NIL_VAR; }

/* An argument that names no condition: NIL, absent, or a blank text. */
bool no_condition(const var* v)
{
  if (absent(v)) return true;
  if (!kCM.has(v->Type)) return false;
  for (const char* p = VSTR(v); p && *p; ++p)
    if (*p != ' ') return false;
  return true;
}

/* A condition argument as a block: a block itself, a text compiled, null
** when there is none.  False for any other type and for a text that does
** not compile into a block. */
bool to_block(var* v, var** out)
{
  *out = nullptr;
  if (no_condition(v)) return true;
  if (kBb.has(v->Type)) return *out = v, true;
  if (!kCM.has(v->Type)) return false;
  var* b = vlnMakeCB(VSTR(v));
  if (!b || !kBb.has(b->Type)) return false;
  *out = b;
  return true;
}

/* Try block once on the current record: whether it gives a logical or a
** number. */
bool gives_logical(var* block)
{
  const int32_t mark = tmpvar_cnt;
  var* r = vlnBlockEval(block);
  const bool ok = r && kNFIL.has(r->Type);
  del_tmpvars(mark);
  return ok;
}

/* The blocks LOCATE builds, as compiled block bodies: avec holds the
** blocks they combine. */
var* negation_of(int, var**, var** avec) { return set_lv(!vlnTrueBlockEval(avec[0])); }
var* both_of(int, var**, var** avec) { return set_lv(vlnTrueBlockEval(avec[0]) && vlnTrueBlockEval(avec[1])); }
var* nothing_to_do(int, var**, var**) { return TRUE_VAR; }

var* negation(var* block)
{
  return set_bvar(cre_tmpvar(), reinterpret_cast<AnyFn>(negation_of), 0, block, static_cast<var*>(nullptr));
}

var* conjunction(var* a, var* b)
{
  return set_bvar(cre_tmpvar(), reinterpret_cast<AnyFn>(both_of), 0, a, b, static_cast<var*>(nullptr));
}

/* Keep block as the LOCATE condition (user's form and negation). */
void keep_locate(DbfState* s, var* block)
{
  dbf_clear_locate(s);
  s->locateuser = dbf_own(block);
  s->locateblock = dbf_own(negation(s->locateuser));
}

/* Run the search loop: eval with a block that does nothing, no for, the
** given while and scope.  The caller sets found. */
void search(var* self, var* whileb, var* scope)
{
  var* nothing = set_bvar(cre_tmpvar(), reinterpret_cast<AnyFn>(nothing_to_do), 0, static_cast<var*>(nullptr));
  var* args[] = {self, nothing, NIL_VAR, whileb, scope};
  _bb_dbfidx_eval_me(5, args);
}

/* setfilter(first, second): see the file comment.  Whether a filter (or
** none) was set; the old filter is gone either way. */
bool set_filter(var* self, var* first, var* second)
{
  DbfState* s = dbf_state(self);
  if (!dbf_is_open(s)) return false;
  dbf_clear_filter(s);
  const bool second_ok = absent(second) || kCM.has(second->Type);
  var* block = nullptr;
  if (!second_ok || !to_block(first, &block) || (!block && !to_block(second, &block))) {
    dbf_error(self, diMN_setfilt, VL_E_ARG_TYPE, VL_SEV_RUNTIME, "%s", diEM_nulstr);
    return false;
  }
  if (!block) return true;
  if (!gives_logical(block)) {
    dbf_error(self, diMN_setfilt, VL_E_ARG_TYPE, VL_SEV_RUNTIME, "%s", diEM_logreq);
    return false;
  }
  s->filterblock = dbf_own(block);
  if (!no_condition(second)) s->filtertext = dbf_own(second);
  return true;
}

}  // namespace

namespace vl {

void dbf_clear_filter(DbfState* s)
{
  dbf_drop(s->filterblock);
  dbf_drop(s->filtertext);
}

void dbf_clear_locate(DbfState* s)
{
  dbf_drop(s->locateblock);
  dbf_drop(s->locateuser);
}

void dbf_clear_scope(DbfState* s)
{
  dbf_drop(s->forblock);
  dbf_drop(s->whileblock);
  s->scope = kScopeAll;
}

}  // namespace vl

extern "C" {

/* setfilter(block or text or NIL, text or NIL) */
var* _bb_dbfidx_setfilter_me(int argc, var** argv)
{
  return set_lv(set_filter(argv[0], arg(argc, argv, 1), arg(argc, argv, 2)));
}

var* _bb_dbfidx_filter_ac(var* obj)
{
  const DbfState* s = dbf_state(obj);
  return dbf_is_open(s) && s->filtertext ? shown(s->filtertext) : NULLSTR_VAR;
}

/* filter= block, text (kept for filter*) or NIL (no filter). */
var* _bb_dbfidx_filter_as(var* obj, var* value)
{
  if (kBb.has(value->Type)) return set_lv(set_filter(obj, value, NIL_VAR));
  if (absent(value) || kCM.has(value->Type)) return set_lv(set_filter(obj, NIL_VAR, value));
  dbf_error(obj, diMN_filtass, VL_E_ARG_TYPE, VL_SEV_RUNTIME, "%s", diEM_nulstr);
  return FALSE_VAR;
}

var* _bb_dbfidx_clearfilter_me(int argc, var** argv) { return _bb_dbfidx_filter_as(argv[0], NIL_VAR); }

var* _bb_dbfidx_forblock_ac(var* obj)
{
  const DbfState* s = dbf_state(obj);
  return s ? shown(s->forblock) : NIL_VAR;
}

/* forblock= block, text (compiled) or NIL: the FOR of eval without
** arguments; tried once. */
var* _bb_dbfidx_forblock_as(var* obj, var* value)
{
  DbfState* s = dbf_state(obj);
  if (!s) return NIL_VAR;
  dbf_drop(s->forblock);
  var* block;
  if (!to_block(value, &block)) {
    dbf_error(obj, diMN_forbass, VL_E_ARG_TYPE, VL_SEV_RUNTIME, "%s", diEM_nulstr);
  } else if (block && !gives_logical(block)) {
    dbf_error(obj, diMN_forbass, VL_E_ARG_TYPE, VL_SEV_RUNTIME, "%s", diEM_logreq);
  } else if (block) {
    s->forblock = dbf_own(block);
  }
  return _bb_dbfidx_forblock_ac(obj);
}

var* _bb_dbfidx_whileblock_ac(var* obj)
{
  const DbfState* s = dbf_state(obj);
  return s ? shown(s->whileblock) : NIL_VAR;
}

/* whileblock= block or NIL: the WHILE of eval without arguments. */
var* _bb_dbfidx_whileblock_as(var* obj, var* value)
{
  DbfState* s = dbf_state(obj);
  if (!s) return NIL_VAR;
  if (!absent(value) && !kBb.has(value->Type)) {
    dbf_error(obj, diMN_whibass, VL_E_ARG_TYPE, VL_SEV_RUNTIME, "%s", diEM_blkexptd);
    return _bb_dbfidx_whileblock_ac(obj);
  }
  dbf_drop(s->whileblock);
  if (!absent(value)) s->whileblock = dbf_own(value);
  return _bb_dbfidx_whileblock_ac(obj);
}

/* scope*: TRUE for the rest, FALSE for all, else the count. */
var* _bb_dbfidx_scope_ac(var* obj)
{
  const DbfState* s = dbf_state(obj);
  const int32_t scope = s ? s->scope : kScopeAll;
  if (scope == kScopeRest) return TRUE_VAR;
  if (scope == kScopeAll) return FALSE_VAR;
  return set_Iv(scope);
}

/* scope= count, TRUE (the rest), FALSE or NIL (all). */
var* _bb_dbfidx_scope_as(var* obj, var* value)
{
  DbfState* s = dbf_state(obj);
  if (!s) return NIL_VAR;
  if (kNFI.has(value->Type))
    s->scope = vlnIntVar(value);
  else if (value->Type == 'L' || absent(value))
    s->scope = !absent(value) && vlnLogVar(value) ? kScopeRest : kScopeAll;
  else
    dbf_error(obj, diMN_scopass, VL_E_ARG_TYPE, VL_SEV_RUNTIME, "%s", diEM_nulstr);
  return _bb_dbfidx_scope_ac(obj);
}

var* _bb_dbfidx_clearscope_me(int argc, var** argv)
{
  if (DbfState* s = dbf_state(argv[0])) dbf_clear_scope(s);
  return TRUE_VAR;
}

/* locate(for, while, scope): from the top, or from here when a while or a
** count or TRUE as scope is given, to the first record in scope on which
** for holds.  Whether it was found. */
var* _bb_dbfidx_locate_me(int argc, var** argv)
{
  var* self = argv[0];
  DbfState* s = dbf_state(self);
  var* forv = arg(argc, argv, 1);
  var* whilev = arg(argc, argv, 2);
  var* scope = arg(argc, argv, 3);
  var* forb;
  var* whileb;
  if (!dbf_is_open(s) || no_condition(forv) || !to_block(forv, &forb) || !to_block(whilev, &whileb)) {
    if (s) s->found = 0;
    return FALSE_VAR;
  }
  if (!whileb && !kNFI.has(scope->Type) && !(scope->Type == 'L' && vlnLogVar(scope))) dbf_gotop(self);
  keep_locate(s, forb);
  var* more = cpy_var(cre_tmpvar(), s->locateblock);
  search(self, whileb ? conjunction(whileb, more) : more, scope);
  s->found = dbf_is_open(s) && !s->eof && dbf_holds(whileb) && dbf_holds(forb);
  return set_lv(s->found);
}

/* continue(): the next record on which the LOCATE condition holds, to the
** end of the table.  Whether it was found. */
var* _bb_dbfidx_continue_me(int argc, var** argv)
{
  var* self = argv[0];
  DbfState* s = dbf_state(self);
  if (!dbf_is_open(s) || !s->locateblock) {
    if (s) s->found = 0;
    return FALSE_VAR;
  }
  var* again = cpy_var(cre_tmpvar(), s->locateblock);
  diSkip(self, 1);
  search(self, again, TRUE_VAR);
  s->found = dbf_is_open(s) && !s->eof && !dbf_holds(again);
  return set_lv(s->found);
}

/* setfound= logical, or NIL for FALSE. */
var* _bb_dbfidx_setfound_as(var* obj, var* value)
{
  DbfState* s = dbf_state(obj);
  if (!s) return FALSE_VAR;
  if (value->Type == 'L' || absent(value))
    s->found = !absent(value) && vlnLogVar(value);
  else
    dbf_error(obj, diMN_setfound, VL_E_ARG_TYPE, VL_SEV_RUNTIME, "%s", diEM_nulstr);
  return set_lv(s->found);
}

/* setlocate= block (tried once) or NIL: the condition CONTINUE searches
** for. */
var* _bb_dbfidx_setlocate_as(var* obj, var* value)
{
  DbfState* s = dbf_state(obj);
  if (!s) return NIL_VAR;
  if (absent(value)) {
    dbf_clear_locate(s);
  } else if (!kBb.has(value->Type)) {
    dbf_error(obj, diMN_setlctass, VL_E_ARG_TYPE, VL_SEV_RUNTIME, "%s", diEM_blkexptd);
  } else if (!gives_logical(value)) {
    dbf_error(obj, diMN_setlctass, VL_E_ARG_TYPE, VL_SEV_RUNTIME, "%s", diEM_logreq);
  } else {
    keep_locate(s, value);
  }
  return _bb_dbfidx_getlocate_ac(obj);
}

var* _bb_dbfidx_getlocate_ac(var* obj)
{
  const DbfState* s = dbf_state(obj);
  return s ? shown(s->locateuser) : NIL_VAR;
}

var* _bb_dbfidx_clearlocate_me(int argc, var** argv)
{
  if (DbfState* s = dbf_state(argv[0])) dbf_clear_locate(s);
  return TRUE_VAR;
}

}  // extern "C"
