// SORT TO on name of the one million rows of the tables benchmark, against
// SQLite in the same run:
//
//   Sort/SQLite   CREATE TABLE s AS SELECT * FROM t ORDER BY name: a new
//                 table of every row in name order
//   Sort/Driver   __DBSORT("sorted", {"NAME"}) as SORT TO sorted ON name is
//                 translated: a new DBF table of every record in name order
//                                                          target >= 1x
//
// Each side checks that the new table has every row.  One pass each, timed
// by hand in process CPU time (see tables.hpp).  Counters: rows_per_s; on
// the driver row vs_sqlite and target.
#include <cstdio>
#include <string>

#include "bulk.h"
#include "facade.h"
#include "tables.hpp"
#include "vl.h"

namespace {

using namespace tables;

const char* sqlite_sort(double* seconds)
{
  SqliteDb db = sqlite_open();
  if (!db) return "SQLite: cannot open the table";
  sql(db.get(), "DROP TABLE IF EXISTS s");
  const double start = cpu_now();
  const bool made = sql(db.get(), "CREATE TABLE s AS SELECT * FROM t ORDER BY name");
  *seconds = seconds_since(start);
  if (!made) return "SQLite: the sort failed";
  SqliteStmt count = prepare(db.get(), "SELECT count(*) FROM s");
  if (!count || sqlite3_step(count.get()) != SQLITE_ROW) return "SQLite: cannot count";
  return sqlite3_column_int64(count.get(), 0) == kRows ? nullptr : "SQLite: wrong row count";
}

const char* driver_sort(double* seconds)
{
  if (!use_table()) return "DBUSEAREA failed";
  const std::string target = dir() + "/sorted";
  std::remove((target + ".dbf").c_str());
  var* keys = cre_arr(mak_var('N', 'U'), 1, VL_ARR_LIST, set_cv("NAME"), static_cast<var*>(nullptr));
  var* args[] = {set_cv(target.c_str()), keys};
  const double start = cpu_now();
  const bool sorted = is_true(_bb___dbsort(2, args));
  *seconds = seconds_since(start);
  del_var(keys);
  close_tables();
  if (!sorted) return "SORT failed";
  var* open[] = {TRUE_VAR, set_cv("DBFIDX"), set_cv(target.c_str()), set_cv("SORTED"), FALSE_VAR, TRUE_VAR};
  if (!is_true(_bb_dbusearea(6, open))) return "cannot open the sorted table";
  const int32_t n = vlnIntVar(_bb_lastrec(0, nullptr));
  close_tables();
  return n == kRows ? nullptr : "SORT wrote a wrong number of records";
}

void SortSqlite(benchmark::State& state) { run_writer(state, "Sort/SQLite", ensure_sqlite_table, sqlite_sort, kRows); }
void SortDriver(benchmark::State& state)
{
  run_writer(state, "Sort/Driver", ensure_driver_table, driver_sort, kRows);
  ratio(state, "vs_sqlite", "Sort/Driver", "Sort/SQLite");
  state.counters["target"] = 1;
}

BENCHMARK(SortSqlite)->Name("Sort/SQLite")->Apply(table_row);
BENCHMARK(SortDriver)->Name("Sort/Driver")->Apply(table_row);

}  // namespace
