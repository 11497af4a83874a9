/*
** dbfrel.cpp -- relations: after every move the parent positions each of
** its children on the record the relation's key gives.
**
** A relation holds the child object, the key block and the text of the
** expression.  diResolveRelations evaluates each key in the parent's own
** area (the block names the parent's fields) and then, in the child's
** area, sends the child the move that puts it on the key: seek when the
** child has an order, goto for a numeric key without one, and the ghost
** record otherwise or when the parent stands at EOF.  The moves go to the
** child by message, so a derived driver's own skip or seek is the one that
** runs, and the child's move resolves the child's relations in turn: a
** chain of relations moves a whole tree of tables.
**
** Cycles.  A child from which the parent can be reached through relations
** is refused, so the tree stays a tree; the flag `resolving` also stops a
** parent from being moved again by its own descendants while it positions
** them (a key block that moves the parent, or a driver of another kind
** that allows a cycle).
**
** A key block may BREAK out.  The resolution runs under a guard that puts
** the selected area back and clears `resolving` on the way out.
*/
#include "areas.h"
#include "blocks.h"
#include "dbfidx.h"
#include "dbfint.hpp"
#include "dsslots.h"
#include "evaluator.h"
#include "kernel.h"
#include "objects.h"
#include "operators.h"

#include "breakguard.hpp"

using namespace vl;

namespace {

/* The relation relation() and relationobject() give without a number. */
constexpr int32_t kFirstRelation = 1;
/* How deep the cycle test follows relations.  Tables of this driver make
** no cycles; the bound keeps the walk finite through drivers that might. */
constexpr int kMaxDepth = 64;
/* Keys an unindexed child takes as a record number. */
constexpr char kRecordKeys[] = "NFIL";

bool is_object(const var* v) { return vlnInSet("Ou", v->Type) && v->Value.w1.arr; }
bool same_object(const var* a, const var* b) { return is_object(a) && is_object(b) && a->Value.w1.arr == b->Value.w1.arr; }
bool is_text(const var* v) { return vlnInSet("CM", v->Type); }
bool is_key(const var* v) { return vlnInSet("BbCMA", v->Type); }

/* Send the method name (slot) to obj with up to two arguments. */
var* send(var* obj, const char* name, int slot, var* a = nullptr, var* b = nullptr)
{
  var* args[] = {obj, a, b};
  return vlnDoMethod(name, slot, 0, a ? (b ? 3 : 2) : 1, args);
}

/* Child n (1-based) of obj as its relationobject says, or null. */
var* child_of(var* obj, int32_t n)
{
  var* c = send(obj, "relationobject", VLN_DS_RELATIONOBJECT, set_Iv(n));
  return is_object(c) ? c : nullptr;
}

/* Whether target is from, or a table from's relations lead to. */
bool reaches(var* from, var* target, int depth)
{
  if (same_object(from, target)) return true;
  if (depth == kMaxDepth) return false;
  const int32_t mark = tmpvar_cnt;
  bool found = false;
  for (int32_t n = 1; n <= kMaxRelations && !found; ++n) {
    var* c = child_of(from, n);
    if (!c) break;
    found = reaches(c, target, depth + 1);
  }
  del_tmpvars(mark);
  return found;
}

/* The key argument as a block: a block itself, a text compiled, an array's
** texts joined with + and compiled.  text receives the expression's text
** (null for a block).  Null when it gives no block. */
var* key_block(var* key, var** text)
{
  *text = nullptr;
  if (vlnInSet("Bb", key->Type)) return key;
  var* joined = key;
  if (key->Type == 'A') {
    joined = set_cv("");
    const ArrRec* a = key->Value.w1.arr;
    for (uint32_t i = 0; a && i < a->A_size; ++i) joined = u_add_u(joined, a->A_vec[i], 0);
    if (!is_text(joined)) return nullptr;
  }
  *text = joined;
  var* block = vlnMakeCB(VSTR(joined));
  return vlnInSet("Bb", block->Type) ? block : nullptr;
}

/* The argument checks of setrelation: the refusal's text, or null. */
const char* refusal(var* self, DbfState* s, var* child, var* key)
{
  if (!is_object(child) || !is_key(key) || same_object(child, self) || s->relcount >= kMaxRelations)
    return diEM_nulstr;
  if (!vlnLogVar(vlnDoInstance(child, "used", VLN_IV_USED, 0, nullptr))) return diEM_nulstr;
  if (reaches(child, self, 0)) return "circular relation";
  return nullptr;
}

/* The selections a resolution made, for the guard to undo. */
struct Pushes {
  DbfState* s;
  bool parent, child;   /* pushed */
  AreaRec* parent_prev; /* what to give vlnPopArea */
  AreaRec* child_prev;
};

/* Select obj's area, if it has one; true when something was pushed. */
bool push_area_of(var* obj, AreaRec** prev)
{
  AreaRec* area = vlnObjectLocateArea(obj);
  if (area) *prev = vlnPushArea(area);
  return area != nullptr;
}

void pop_child(Pushes* p)
{
  if (p->child) vlnPopArea(p->child_prev);
  p->child = false;
}

void undo(Pushes* p)
{
  pop_child(p);
  if (p->parent) vlnPopArea(p->parent_prev);
  p->parent = false;
  p->s->resolving = 0;
}

/* Put child on its ghost record. */
void ghost(var* child)
{
  send(child, "gobottom", VLN_DS_GOBOTTOM);
  send(child, "skip", VLN_DS_SKIP);
}

/* Position the child of relation r on the parent's key.  The child and
** the block are held: the key block may clear the relations. */
void resolve_one(Pushes* p, const DbfRelation& r)
{
  var* child = vln_hold(r.child);
  var* block = vln_hold(r.block);
  const int32_t orders = vlnIntVar(vlnDoInstance(child, "indexcount", VLN_IV_INDEXCOUNT, 0, nullptr));
  var* key = mk_var_cp(vlnBlockEval(block));
  const bool at_eof = p->s->eof;
  p->child = push_area_of(child, &p->child_prev);
  if (at_eof) ghost(child);
  else if (orders > 0) send(child, "seek", VLN_DS_SEEK, key, FALSE_VAR);
  else if (vlnInSet(kRecordKeys, key->Type)) send(child, "goto", VLN_DS_GOTO, set_Iv(vlnIntVar(key)));
  else ghost(child);
  pop_child(p);
}

void resolve_all(Pushes* p, var* self)
{
  DbfState* s = p->s;
  p->parent = push_area_of(self, &p->parent_prev);
  for (int32_t i = 0; i < s->relactive && dbf_is_open(s); ++i) {
    const int32_t mark = tmpvar_cnt;
    resolve_one(p, s->relations[i]);
    del_tmpvars(mark);
  }
}

/* Relation n (argv[1], default 1) of the table argv[0], or null. */
DbfRelation* numbered(int argc, var** argv)
{
  DbfState* s = dbf_state(argv[0]);
  const int32_t n = argc > 1 && vlnInSet("FIN", argv[1]->Type) ? vlnIntVar(argv[1]) : kFirstRelation;
  if (!dbf_is_open(s) || n < 1 || n > s->relcount) return nullptr;
  return &s->relations[n - 1];
}

}  // namespace

namespace vl {

int diResolveRelations(var* self)
{
  DbfState* s = dbf_state(self);
  if (!dbf_is_open(s) || s->relactive == 0 || s->resolving) return -1;
  s->resolving = 1;
  Pushes p{s, false, false, nullptr, nullptr};
  vln_guarded([&] { resolve_all(&p, self); }, [&] { undo(&p); });
  return 0;
}

void dbf_clear_relations(DbfState* s)
{
  for (int32_t i = 0; i < s->relcount; ++i) {
    dbf_drop(s->relations[i].child);
    dbf_drop(s->relations[i].block);
    dbf_drop(s->relations[i].text);
  }
  s->relcount = s->relactive = 0;
}

}  // namespace vl

extern "C" {

/* setrelation(child, key, text): after every move of this table, child is
** positioned on key (a block, or a text or array of texts to compile);
** text is what relation() tells.  Resolves at once. */
var* _bb_dbfidx_setrelation_me(int argc, var** argv)
{
  var* self = argv[0];
  DbfState* s = dbf_state(self);
  if (!dbf_is_open(s)) return FALSE_VAR;
  var* child = argc > 1 ? argv[1] : NIL_VAR;
  var* key = argc > 2 ? argv[2] : NIL_VAR;
  if (const char* why = refusal(self, s, child, key)) {
    dbf_error(self, diMN_setrela, VL_E_ARG_VALUE, VL_SEV_RUNTIME, "%s", why);
    return FALSE_VAR;
  }
  var* keytext;
  var* block = key_block(key, &keytext);
  if (!block) return FALSE_VAR;
  var* text = argc > 3 && is_text(argv[3]) ? argv[3] : keytext;
  s->relations[s->relcount] = {dbf_own(child), dbf_own(block), text ? dbf_own(text) : nullptr};
  s->relactive = ++s->relcount;
  diResolveRelations(self);
  return TRUE_VAR;
}

var* _bb_dbfidx_clearrelation_me(int argc, var** argv)
{
  DbfState* s = dbf_state(argv[0]);
  if (!dbf_is_open(s)) return FALSE_VAR;
  dbf_clear_relations(s);
  return TRUE_VAR;
}

/* relation([n]): the text of relation n (default 1), or the empty text. */
var* _bb_dbfidx_relation_me(int argc, var** argv)
{
  const DbfRelation* r = numbered(argc, argv);
  return r && r->text ? mk_var_cp(r->text) : set_cv("");
}

/* relationobject([n]): the child of relation n (default 1), or NIL. */
var* _bb_dbfidx_relationobject_me(int argc, var** argv)
{
  const DbfRelation* r = numbered(argc, argv);
  return r ? mk_var_cp(r->child) : NIL_VAR;
}

var* _bb_dbfidx_isrelation_ac(var* obj)
{
  const DbfState* s = dbf_state(obj);
  return set_lv(dbf_is_open(s) && s->relactive != 0);
}

/* isrelation := l switches the relations on or off; they stay defined. */
var* _bb_dbfidx_isrelation_as(var* obj, var* value)
{
  DbfState* s = dbf_state(obj);
  if (dbf_is_open(s) && value->Type == 'L') s->relactive = vlnLogVar(value) ? s->relcount : 0;
  return _bb_dbfidx_isrelation_ac(obj);
}

}  // extern "C"
