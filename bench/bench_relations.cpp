// A relation from a parent table to a child by key, against the same
// look-ups written out by hand, in the same run:
//
//   Relation/Seek    DBGOTOP, then for every parent record the child's SEEK
//                    of the parent's KEY (read by FIELDGET), the child's
//                    AMOUNT read, and DBSKIP: the baseline
//   Relation/Walk    DBSETRELATION to the child on {|| KEY}, then DBGOTOP,
//                    the child's AMOUNT read, and DBSKIP: each move of the
//                    parent positions the child itself
//
// The child holds the first 100,000 rows of the generator of
// support/tables.hpp (NAME C20, AMOUNT N12.2) with an order on NAME; the
// parent 100,000 records whose KEY is the name of a child row chosen by the
// generator's seek list, so the walk visits the child in no useful order.
// Building the tables is not timed; each pass is one iteration timed by hand
// in process CPU time.  Both passes sum the child's amounts in cents and fail
// unless the sums agree with the generator's rows.
//
// Counters: rows_per_s (parent records); ns_per_move, the cost of one
// parent move with the child positioned; vs_seek on the walk, its rate over
// the hand-written loop's.
#include <cstdint>
#include <string>
#include <unordered_map>

#include "dsslots.h"
#include "tables.hpp"
#include "vl.h"

namespace {

using namespace tables;

constexpr int32_t kChildRows = 100000;
constexpr int32_t kParentRows = 100000;
constexpr double kNsPerSecond = 1e9;
constexpr int kKeyField = 1;
constexpr int kAmountField = 2;

std::string child_path() { return dir() + "/rel_child"; }
std::string parent_path() { return dir() + "/rel_parent"; }

// The name of the child row parent record i (0-based) leads to.
const Row& target(int32_t i) { return data().rows[data().seeks[i] % kChildRows]; }

int64_t cents(double amount) { return static_cast<int64_t>(amount * kCentsPerUnit + 0.5); }

// What both passes must sum: the amounts of the child rows the parents'
// keys find, each the first child row of that name (the generator repeats
// names).
int64_t expected_cents()
{
  std::unordered_map<std::string, const Row*> first;
  for (int32_t i = 0; i < kChildRows; ++i) first.try_emplace(data().rows[i].name, &data().rows[i]);
  int64_t sum = 0;
  for (int32_t i = 0; i < kParentRows; ++i) sum += cents(first.at(target(i).name)->amount);
  return sum;
}

// Evaluate a line of setup; whether it gave TRUE.
bool run(const std::string& text)
{
  const int32_t mark = tmpvar_cnt;
  const bool ok = is_true(exp_eval(text.c_str()));
  del_tmpvars(mark);
  return ok;
}

// Append n records of fields fields to the selected area; value(i, f, v)
// stores field f (0-based) of record i (0-based) into v.
template <class Value>
void append(int32_t n, int fields, Value value)
{
  Args a;
  const int32_t mark = tmpvar_cnt;
  for (int32_t i = 0; i < n; ++i) {
    _bb_dbappend(0, nullptr);
    for (int f = 0; f < fields; ++f) {
      value(i, f, a.value[f]);
      _bb_fieldput(2, a.put[f]);
    }
    del_tmpvars(mark);
  }
  _bb_dbcommit(0, nullptr);
}

bool g_built = false;

const char* build()
{
  if (g_built) return nullptr;
  close_tables();
  const std::string child = child_path(), parent = parent_path();
  if (!run("DBCREATE('" + child + "', {{'NAME','C',20,0}, {'AMOUNT','N',12,2}})") ||
      !run("DBCREATE('" + parent + "', {{'KEY','C',20,0}})") || !run("DBUSEAREA(.T., , '" + child + "', 'CHILD', .F.)"))
    return "cannot make the child table";
  append(kChildRows, kAmountField, [](int32_t i, int f, var* v) {
    const Row& r = data().rows[i];
    if (f == 0) set_cvar(v, r.name);
    else set_nvar(v, r.amount, kAmountDec);
  });
  if (!run("ORDCREATE('" + child + "', , 'NAME')")) return "cannot index the child";
  if (!run("DBUSEAREA(.T., , '" + parent + "', 'PARENT', .F.)")) return "cannot make the parent table";
  append(kParentRows, kKeyField, [](int32_t i, int, var* v) { set_cvar(v, target(i).name); });
  close_tables();
  g_built = true;
  return nullptr;
}

// Both tables open, the parent selected; the child's object.
var* open_both()
{
  const std::string child = child_path(), parent = parent_path();
  if (!run("DBUSEAREA(.T., , '" + child + "', 'CHILD', .F.), ORDLISTADD('" + child + "')") ||
      !run("DBUSEAREA(.T., , '" + parent + "', 'PARENT', .F.)"))
    return nullptr;
  return exp_eval("CHILD->(DBOBJECT())");
}

// The child's AMOUNT in cents, read by message.
int64_t child_cents(var* child, var* field)
{
  var* args[] = {child, field};
  return cents(vlnNumVar(vlnDoMethod("fieldget", VLN_DS_FIELDGET, 0, 2, args)));
}

// One pass over the parent; with relate the relation positions the child,
// else the loop seeks it.
const char* walk(double* seconds, bool relate)
{
  if (const char* error = build()) return error;
  const int32_t outer = tmpvar_cnt;
  var* child = open_both();
  if (!child) return close_tables(), "cannot open the tables";
  if (relate && !run("DBSETRELATION('CHILD', {|| KEY})")) return close_tables(), "DBSETRELATION failed";
  Args a;
  var* seek[] = {child, a.value[0], FALSE_VAR};
  const int32_t mark = tmpvar_cnt;
  int64_t sum = 0;
  const double start = cpu_now();
  _bb_dbgotop(0, nullptr);
  while (!is_true(_bb_eof(0, nullptr))) {
    if (!relate) {
      cpy_var(a.value[0], _bb_fieldget(1, &a.number[kKeyField - 1]));
      vlnDoMethod("seek", VLN_DS_SEEK, 0, 3, seek);
    }
    sum += child_cents(child, a.number[kAmountField - 1]);
    _bb_dbskip(0, nullptr);
    del_tmpvars(mark);
  }
  *seconds = seconds_since(start);
  del_tmpvars(outer);
  close_tables();
  return sum == expected_cents() ? nullptr : "the child's amounts differ from the generator's";
}

void pass(benchmark::State& state, const char* name, bool relate)
{
  for (auto _ : state) {
    double seconds = 0;
    if (const char* error = walk(&seconds, relate)) return state.SkipWithError(error);
    finish(state, name, kParentRows, seconds);
    state.counters["ns_per_move"] = seconds * kNsPerSecond / kParentRows;
  }
}

void SeekByHand(benchmark::State& state) { pass(state, "Relation/Seek", false); }
void RelationWalk(benchmark::State& state)
{
  pass(state, "Relation/Walk", true);
  ratio(state, "vs_seek", "Relation/Walk", "Relation/Seek");
}

BENCHMARK(SeekByHand)->Name("Relation/Seek")->Apply(table_row);
BENCHMARK(RelationWalk)->Name("Relation/Walk")->Apply(table_row);

}  // namespace
