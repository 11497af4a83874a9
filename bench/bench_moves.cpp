// Moving through the one million rows of the tables benchmark, against
// SQLite in the same run:
//
//   Skip/SQLite     SELECT rowid FROM t stepped to the end: a cursor over
//                   every row that reads no column
//   Skip/Driver     DBGOTOP, then DBSKIP while not EOF(), natural order and
//                   no filter: a move reads no record, so this is the cost
//                   of the move itself (the record-read count is checked by
//                   the tests, not here)
//   Filter/SQLite   SELECT count(*) FROM t WHERE amount > 50000
//   Filter/Driver   DBSETFILTER with the block {|| amount > 50000} as
//                   generated code makes it (a field read and a compare),
//                   then COUNT as it is translated: DBEVAL of a block that
//                   adds one, over all records              target >= 1x
//   Filter/DriverSkip  the same filter, then DBGOTOP and DBSKIP to the
//                   end, counting the moves that land on a record
//
// Both sides count; each count must be the generator's.  Each benchmark
// makes one pass timed by hand in process CPU time (see tables.hpp).
// Counters: rows_per_s; on the driver rows vs_sqlite, and target where the
// issue sets one.
#include <cstdint>

#include "dbfidx.h"
#include "tables.hpp"
#include "vl.h"

namespace {

using namespace tables;

constexpr double kFilterAmount = 50000.0;

int64_t rows_above(double amount)
{
  int64_t n = 0;
  for (const Row& r : data().rows) n += r.amount > amount;
  return n;
}

// ---- SQLite. ----

// Step through text's rows; the sum of their first columns as integers.
const char* sqlite_count(const char* text, int64_t* sum, double* seconds)
{
  SqliteDb db = sqlite_open();
  if (!db) return "SQLite: cannot open the table";
  SqliteStmt stmt = prepare(db.get(), text);
  if (!stmt) return "SQLite: cannot prepare the select";
  const double start = cpu_now();
  while (sqlite3_step(stmt.get()) == SQLITE_ROW) *sum += sqlite3_column_int64(stmt.get(), 0);
  *seconds = seconds_since(start);
  return nullptr;
}

const char* sqlite_skip(double* seconds)
{
  int64_t sum = 0;
  const char* err = sqlite_count("SELECT 1 FROM t", &sum, seconds);
  return err ? err : sum == kRows ? nullptr : "SQLite: wrong row count";
}

const char* sqlite_filter(double* seconds)
{
  int64_t sum = 0;
  const char* err = sqlite_count("SELECT count(*) FROM t WHERE amount > 50000", &sum, seconds);
  return err ? err : sum == rows_above(kFilterAmount) ? nullptr : "SQLite: wrong match count";
}

// ---- The driver. ----

// The compiled form of {|| amount > 50000}: the field by its symbol, the
// constant made once, the operator's entry point.
int32_t amount_symbol;
var* filter_limit;

var* amount_filter(int argc, var** argv, var** avec)
{
  (void)argc, (void)argv, (void)avec;
  return u_gt_u(vlnGetField(amount_symbol), filter_limit);
}

// COUNT: DBEVAL of a block that adds one to a counter.
int64_t counted;
var* count_one(int argc, var** argv, var** avec)
{
  (void)argc, (void)argv, (void)avec;
  ++counted;
  return NIL_VAR;
}
int64_t count()
{
  counted = 0;
  var* block = set_bvar(mak_var('N', 'U'), reinterpret_cast<AnyFn>(count_one), 0, static_cast<var*>(nullptr));
  _bb_dbeval(1, &block);
  del_var(block);
  return counted;
}

// DBGOTOP and DBSKIP to the end: the records landed on.
int64_t walk()
{
  const int32_t mark = tmpvar_cnt;
  int64_t n = 0;
  _bb_dbgotop(0, nullptr);
  while (!is_true(_bb_eof(0, nullptr))) {
    ++n;
    _bb_dbskip(0, nullptr);
    del_tmpvars(mark);
  }
  return n;
}

const char* driver_skip(double* seconds)
{
  if (!use_table()) return "DBUSEAREA failed";
  const double start = cpu_now();
  const int64_t n = walk();
  *seconds = seconds_since(start);
  close_tables();
  return n == kRows ? nullptr : "the driver skipped a wrong number of records";
}

// The filtered pass: count through DBEVAL, or walk with DBSKIP.
const char* driver_filtered(double* seconds, bool by_eval)
{
  if (!use_table()) return "DBUSEAREA failed";
  amount_symbol = locate_var("AMOUNT");
  filter_limit = set_nvar(mak_var('N', 'U'), kFilterAmount, 0);
  var* block = set_bvar(mak_var('N', 'U'), reinterpret_cast<AnyFn>(amount_filter), 0, static_cast<var*>(nullptr));
  var* args[] = {block, set_cv("amount > 50000")};
  const bool set = is_true(_bb_dbsetfilte(2, args));
  const double start = cpu_now();
  const int64_t n = !set ? -1 : by_eval ? count() : walk();
  *seconds = seconds_since(start);
  close_tables();
  del_var(block);
  del_var(filter_limit);
  if (!set) return "DBSETFILTER failed";
  return n == rows_above(kFilterAmount) ? nullptr : "the filter let a wrong number of records through";
}
const char* driver_filter_count(double* seconds) { return driver_filtered(seconds, true); }
const char* driver_filter_skip(double* seconds) { return driver_filtered(seconds, false); }

// ---- The benchmarks. ----

void SkipSqlite(benchmark::State& state) { run_writer(state, "Skip/SQLite", ensure_sqlite_table, sqlite_skip, kRows); }
void SkipDriver(benchmark::State& state)
{
  run_writer(state, "Skip/Driver", ensure_driver_table, driver_skip, kRows);
  ratio(state, "vs_sqlite", "Skip/Driver", "Skip/SQLite");
}
void FilterSqlite(benchmark::State& state)
{
  run_writer(state, "Filter/SQLite", ensure_sqlite_table, sqlite_filter, kRows);
}
void FilterDriver(benchmark::State& state)
{
  run_writer(state, "Filter/Driver", ensure_driver_table, driver_filter_count, kRows);
  ratio(state, "vs_sqlite", "Filter/Driver", "Filter/SQLite");
  state.counters["target"] = 1;
}
void FilterDriverSkip(benchmark::State& state)
{
  run_writer(state, "Filter/DriverSkip", ensure_driver_table, driver_filter_skip, kRows);
  ratio(state, "vs_sqlite", "Filter/DriverSkip", "Filter/SQLite");
}

BENCHMARK(SkipSqlite)->Name("Skip/SQLite")->Apply(table_row);
BENCHMARK(SkipDriver)->Name("Skip/Driver")->Apply(table_row);
BENCHMARK(FilterSqlite)->Name("Filter/SQLite")->Apply(table_row);
BENCHMARK(FilterDriver)->Name("Filter/Driver")->Apply(table_row);
BENCHMARK(FilterDriverSkip)->Name("Filter/DriverSkip")->Apply(table_row);

}  // namespace
