/*
** listing.cpp -- LIST/DISPLAY, and the COUNT, SUM, AVERAGE and GETARRAY
** methods of a table object.
**
** LIST and DISPLAY make one line per record: the record number as
** STR(RECNO(), 7, 0) and a blank (unless OFF), then each field or
** expression as ? shows it, after a blank, or after "*" for the first one
** of a deleted record.  The line goes to QOut's output and, TO FILE, to
** the file as well.  Without a scope and without ALL only the current
** record is listed; otherwise the records come from DBEVAL.
**
** The methods select the object's area for their run and the caller's
** again afterwards, a BREAK included.  Each field of theirs is a block:
** a name or an expression is compiled into one, a number stands for that
** field.  BREAK skips destructors, so what lives across a block of the
** program is plain memory or temporaries of the statement.
*/
#include <cstdlib>
#include <cstring>
#include <string>

#include "areas.h"
#include "arrays.h"
#include "breakguard.hpp"
#include "bulk.h"
#include "bulkint.hpp"
#include "evaluator.h"
#include "facade.h"
#include "files.hpp"
#include "kernel.h"
#include "numbers.h"
#include "operators.h"
#include "runtime.hpp"
#include "vartostr.hpp"

namespace {

constexpr char kCommand[] = "LIST/DISPLAY";
constexpr int kRecnoWidth = 7;
constexpr size_t kLineRoom = 256;   // first size of the line buffer
constexpr int kDefaultRows = 100;   // GETARRAY's count when 0 is asked

/* Arguments of __DBLIST. */
enum { kOff, kFields, kAll, kScope, kPrinter = kScope + vlbulk::kScopeArgs, kFile };

/* A block for one field of a command: a block as it is, a number for
** FIELDGET of that field, a text compiled as an expression. */
var* value_block(var* field)
{
  if (field->Type == 'B' || field->Type == 'b') return field;
  if (field->Type == 'N' || field->Type == 'I') return vlnMakeCB(("FIELDGET(" + std::to_string(vlnIntVar(field)) + ")").c_str());
  return vlnMakeCB(vlbulk::text_of(field).c_str());
}

/* The value of block in the selected area. */
var* value_of(var* block) { return _bb_eval(1, &block); }

/* ---- LIST/DISPLAY. ---- */

/* The state of one listing.  Plain memory only (see the head). */
struct Lister {
  bool off;
  var** blocks;  // temporaries of the command's statement
  int count;
  int fd;        // TO FILE, or -1
  bool failed;   // a write to the file failed
  char* line;
  size_t used, size;
};

void put(Lister* l, const char* text, size_t n)
{
  if (l->used + n + 2 > l->size) {
    l->size = 2 * (l->used + n + 2);
    l->line = static_cast<char*>(std::realloc(l->line, l->size));
    if (!l->line) std::abort();
  }
  std::memcpy(l->line + l->used, text, n);
  l->used += n;
}

/* Append v as ? shows it. */
void put_shown(Lister* l, var* v)
{
  char small[kLineRoom];
  const size_t n = vl::vartostr(v, small, sizeof small);
  if (n < sizeof small) return put(l, small, n);
  char* big = static_cast<char*>(std::malloc(n + 1));
  if (!big) std::abort();
  vl::vartostr(v, big, n + 1);
  put(l, big, n);
  std::free(big);
}

/* List the current record. */
void list_record(Lister* l)
{
  const int32_t mark = tmpvar_cnt;
  l->used = 0;
  if (!l->off) {
    char number[VLN_NUMTEXT_SIZE];
    put(l, number, size_t(vln_numform(vlnIntVar(_bb_recno(0, nullptr)), kRecnoWidth, 0, number, sizeof number)));
    put(l, " ", 1);
  }
  const bool deleted = vlnLogVar(_bb_deleted(0, nullptr));
  for (int i = 0; i < l->count; ++i) {
    put(l, i == 0 && deleted ? "*" : " ", 1);
    put_shown(l, value_of(l->blocks[i]));
  }
  l->line[l->used] = '\0';
  vln_qout_hook(l->line);
  if (l->fd >= 0 && !l->failed) {
    l->line[l->used] = '\n';
    l->failed = vl::write_fil(l->fd, l->line, l->used + 1) != ssize_t(l->used + 1);
  }
  del_tmpvars(mark);
}

var* list_block(int, var**, var** avec)
{
  list_record(reinterpret_cast<Lister*>(avec[0]->Value.w1.slot));
  return NIL_VAR;
}

/* The blocks of the field list, or of every field when it is empty. */
var** blocks_of(var* list, int* count)
{
  const bool given = list->Type == 'A' && VARR(list)->A_size > 0;
  const std::vector<std::string> names = given ? std::vector<std::string>() : vlbulk::area_fields();
  const size_t n = given ? VARR(list)->A_size : names.size();
  auto** blocks = static_cast<var**>(std::calloc(n + 1, sizeof(var*)));
  if (!blocks) std::abort();
  for (size_t i = 0; i < n; ++i)
    blocks[i] = given ? value_block(VARR(list)->A_vec[i]) : vlnMakeCB(names[i].c_str());
  *count = int(n);
  return blocks;
}

/* Open the TO FILE target of argument file into l; false after a
** reported failure. */
bool open_target(Lister* l, var* file)
{
  l->fd = -1;
  if (!vlbulk::is_text(file)) return true;
  l->fd = vl::creat_fil(vlbulk::text_file_name(vlbulk::text_of(file)).c_str(), vlnGetUmask());
  return l->fd >= 0;
}

}  // namespace

/* __DBLIST(off, fields, all, for, while, next, record, rest, printer,
** file).  TO PRINTER has no channel of its own in this library: the lines
** go to QOut's output as they do without it. */
VLN_FUNC(__dblist)
{
  using vlbulk::arg;
  if (!vlbulk::need_table(kCommand)) return FALSE_VAR;
  Lister l{};
  l.off = vlnLogVar(arg(argc, argv, kOff)) != 0;
  if (!open_target(&l, arg(argc, argv, kFile))) return FALSE_VAR;
  var* scope[vlbulk::kScopeArgs];
  vlbulk::take_scope(argc, argv, kScope, scope);
  const bool all = arg(argc, argv, kAll)->Type == 'L' && vlnLogVar(arg(argc, argv, kAll));
  l.blocks = blocks_of(arg(argc, argv, kFields), &l.count);
  vln_guarded(
      [&] {
        if (all || vlbulk::scope_given(scope))
          vlbulk::eval_scope(vlbulk::c_block(list_block, set_ivar(cre_tmpvar(), reinterpret_cast<intptr_t>(&l))), scope);
        else
          list_record(&l);
      },
      [&] {
        if (l.fd >= 0) vl::close_fil(l.fd);
        std::free(l.blocks);
        std::free(l.line);
      });
  return l.failed ? FALSE_VAR : TRUE_VAR;
}

namespace vlbulk {

namespace {

/* Run body in the area of table object obj, the caller's area selected
** again afterwards; otherwise when obj has no area. */
template <class Body>
var* in_area(var* obj, var* otherwise, Body&& body)
{
  AreaRec* own = vlnObjectLocateArea(obj);
  if (!own) return otherwise;
  AreaRec* const back = vlnPushArea(own);
  return vln_guarded(body, [&] { vlnPopArea(back); });
}

/* The scope of the methods: for, while and a next count (a number; .T.
** is the rest of the table, any other value all records). */
void method_scope(var* for_block, var* while_block, var* next, var** scope)
{
  scope[kFor] = for_block;
  scope[kWhile] = while_block;
  scope[kNext] = next->Type == 'N' || next->Type == 'I' ? next : NIL_VAR;
  scope[kRecord] = NIL_VAR;
  scope[kRest] = next->Type == 'L' ? next : NIL_VAR;
}

/* DBEVAL of fn with word as its detached value over scope. */
void eval_with(BlockFn fn, const void* word, var* const* scope)
{
  eval_scope(c_block(fn, set_ivar(cre_tmpvar(), reinterpret_cast<intptr_t>(word))), scope);
}

var* count_one(int, var**, var** avec)
{
  ++*reinterpret_cast<long*>(avec[0]->Value.w1.slot);
  return NIL_VAR;
}

/* The state of SUM and AVERAGE: one block and one accumulator (a record
** of the command's own) per field. */
struct Totals {
  var** blocks;
  var** sums;
  int count;
  long records;
};

var* add_record(int, var**, var** avec)
{
  auto* t = reinterpret_cast<Totals*>(avec[0]->Value.w1.slot);
  const int32_t mark = tmpvar_cnt;
  for (int i = 0; i < t->count; ++i) u_add_u(t->sums[i], value_of(t->blocks[i]), 1);
  ++t->records;
  del_tmpvars(mark);
  return NIL_VAR;
}

/* The fields argument of SUM and AVERAGE as blocks: one for a name or a
** block, one per element for an array. */
var** total_blocks(var* fields, int* count)
{
  const bool many = fields->Type == 'A';
  *count = many ? int(VARR(fields)->A_size) : 1;
  auto** blocks = static_cast<var**>(std::calloc(size_t(*count) + 1, sizeof(var*)));
  if (!blocks) std::abort();
  for (int i = 0; i < *count; ++i) blocks[i] = value_block(many ? VARR(fields)->A_vec[i] : fields);
  return blocks;
}

/* What SUM (average false) or AVERAGE gives from t: a number for one
** field, an array for an array of fields (many). */
var* total_result(const Totals& t, bool many, bool average)
{
  var* result = many ? cre_arr(cre_tmpvar(), t.count, VL_ARR_NIL, nullptr) : nullptr;
  for (int i = 0; i < t.count; ++i) {
    var* value = !average ? t.sums[i] : t.records ? u_div_n(t.sums[i], double(t.records), 0) : set_Iv(0);
    if (!many) return mk_var_cp(value);
    cpy_var(VARR(result)->A_vec[i], value);
  }
  return result;
}

var* totals(int argc, var** argv, bool average)
{
  var* fields = arg(argc, argv, 1);
  return in_area(argv[0], set_Iv(0), [&] {
    Totals t{};
    t.blocks = total_blocks(fields, &t.count);
    t.sums = static_cast<var**>(std::calloc(size_t(t.count) + 1, sizeof(var*)));
    if (!t.sums) std::abort();
    for (int i = 0; i < t.count; ++i) t.sums[i] = set_Ivar(mak_var('N', 'U'), 0);
    var* scope[kScopeArgs];
    method_scope(arg(argc, argv, 2), arg(argc, argv, 3), arg(argc, argv, 4), scope);
    return vln_guarded(
        [&] {
          eval_with(add_record, &t, scope);
          return total_result(t, fields->Type == 'A', average);
        },
        [&] {
          for (int i = 0; i < t.count; ++i) del_var(t.sums[i]);
          std::free(t.sums);
          std::free(t.blocks);
        });
  });
}

/* One record's entry of GETARRAY: a value, or a row of values. */
struct Collect {
  var* result;
  var** blocks;
  int count;
  bool rows;
};

var* collect_record(int, var**, var** avec)
{
  auto* c = reinterpret_cast<Collect*>(avec[0]->Value.w1.slot);
  var* entry = c->rows ? cre_arr(cre_tmpvar(), c->count, VL_ARR_NIL, nullptr) : nullptr;
  for (int i = 0; i < c->count; ++i) {
    var* value = value_of(c->blocks[i]);
    if (entry) cpy_var(VARR(entry)->A_vec[i], value);
    else entry = value;
  }
  var* args[] = {c->result, entry};
  _bb_aadd(2, args);
  return NIL_VAR;
}

}  // namespace

var* count_me(int argc, var** argv)
{
  return in_area(argv[0], set_Iv(0), [&] {
    long n = 0;
    var* scope[kScopeArgs];
    method_scope(arg(argc, argv, 1), arg(argc, argv, 2), arg(argc, argv, 3), scope);
    eval_with(count_one, &n, scope);
    return set_Iv(int32_t(n));
  });
}

var* sum_me(int argc, var** argv) { return totals(argc, argv, false); }

var* average_me(int argc, var** argv) { return totals(argc, argv, true); }

var* getarray_me(int argc, var** argv)
{
  return in_area(argv[0], cre_arr(cre_tmpvar(), 0, VL_ARR_NIL, nullptr), [&] {
    var* fields = arg(argc, argv, 2);
    var* key = arg(argc, argv, 3);
    if (key->Type != 'U') _bb_dbseek(1, &key);
    Collect c{cre_arr(cre_tmpvar(), 0, VL_ARR_NIL, nullptr), nullptr, 0, fields->Type == 'A'};
    c.blocks = total_blocks(fields, &c.count);
    const int32_t asked = vlnIntVar(arg(argc, argv, 1));
    var* scope[kScopeArgs];
    method_scope(NIL_VAR, NIL_VAR, set_Iv(asked > 0 ? asked : kDefaultRows), scope);
    vln_guarded([&] { eval_with(collect_record, &c, scope); }, [&] { std::free(c.blocks); });
    return c.result;
  });
}

}  // namespace vlbulk
