// An IDX order on NAME against an SQLite index on name, on the one million
// rows of the tables benchmark (support/tables.hpp), in the same run:
//
//   Build/SQLite      CREATE INDEX on t(name)
//   Build/Driver      ORDCREATE of an order on NAME, table and order
//                     exclusive                    target: 2/3 of the time
//   Seek/SQLite       100,000 SELECT of the four columns WHERE name = ?, the
//                     first row of each read
//   Seek/Driver       the same names by DBSEEK, each record's four fields
//                     read by FIELDGET                     target >= 2x
//   Seek/Shared       the same with table and order opened SHARED: every
//                     seek runs under the table's read section and re-reads
//                     the order's header (vs_exclusive shows the cost)
//   Walk/SQLite       SELECT of the four columns ORDER BY name
//   Walk/Driver       DBGOTOP, then FIELDGET of the four fields and DBSKIP
//                     in the order while not EOF()           target >= 2x
//   Replace/SQLite    100,000 UPDATE t SET name = ? WHERE rowid = ? in one
//                     transaction, the index kept up
//   Replace/Driver    DBGOTO and FIELDPUT of NAME at the same record numbers
//                     with the order open, then DBCOMMIT     target >= 1x
//
// As in the tables benchmark, each row is one pass timed by hand in process
// CPU time; building and opening the tables is not timed.  Every walk sums
// the checksum of the rows and fails unless it matches the generator's, and
// fails if a name comes before the one read before it; every seek must find
// its name.  After Replace/Driver the independent checker reads the order
// (untimed): its problem count is the counter checker_problems, which must
// be 0.
//
// Counters: rows_per_s; on the driver rows vs_sqlite and target (for Build,
// the target is the rate ratio 1.5, two thirds of the time).
#include <algorithm>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "dbfidx.h"
#include "idxcheck.hpp"
#include "tables.hpp"
#include "vl.h"

namespace {

using namespace tables;

bool g_index_built = false;

std::string idx_path() { return dir() + "/bench_name.idx"; }

// ORDLISTADD(path): the order on NAME into the selected area.
bool add_order()
{
  const int32_t mark = tmpvar_cnt;
  const std::string path = idx_path();
  var* name = set_cv(path.c_str());
  const bool ok = is_true(_bb_ordlistadd(1, &name));
  del_tmpvars(mark);
  return ok;
}

// The table with its order, exclusive or shared.
const char* open_indexed(bool exclusive)
{
  if (!use_table(exclusive)) return "DBUSEAREA failed";
  if (!add_order()) return close_tables(), "ORDLISTADD failed";
  return nullptr;
}

// ---- SQLite. ----

const char* sqlite_build(double* seconds)
{
  if (const char* error = ensure_sqlite_table()) return error;
  SqliteDb db = sqlite_open();
  if (!db || !sql(db.get(), "DROP INDEX IF EXISTS t_name")) return "SQLite: cannot open the table";
  const double start = cpu_now();
  const bool ok = sql(db.get(), "CREATE INDEX t_name ON t(name)");
  *seconds = seconds_since(start);
  return ok ? nullptr : "SQLite: CREATE INDEX failed";
}

const char* sqlite_ensure_index()
{
  if (const char* error = ensure_sqlite_table()) return error;
  SqliteDb db = sqlite_open();
  return db && sql(db.get(), "CREATE INDEX IF NOT EXISTS t_name ON t(name)") ? nullptr
                                                                              : "SQLite: cannot make the index";
}

const char* sqlite_seek(double* seconds)
{
  if (const char* error = sqlite_ensure_index()) return error;
  SqliteDb db = sqlite_open();
  SqliteStmt select = prepare(db.get(), "SELECT name, city, amount, born FROM t WHERE name = ?1");
  if (!select) return "SQLite: cannot prepare the select";
  sqlite3_stmt* s = select.get();
  const Data& d = data();
  Checksum sum;
  const double start = cpu_now();
  for (int32_t row : d.seeks) {
    sqlite3_bind_text(s, 1, d.rows[row].name, -1, SQLITE_STATIC);
    if (sqlite3_step(s) == SQLITE_ROW)
      sum.add(reinterpret_cast<const char*>(sqlite3_column_text(s, 0)),
              reinterpret_cast<const char*>(sqlite3_column_text(s, 1)), sqlite3_column_double(s, 2),
              sqlite3_column_int(s, 3));
    sqlite3_reset(s);
  }
  *seconds = seconds_since(start);
  return sum.rows == kSeeks ? nullptr : "SQLite: a name was not found";
}

// Whether the name of len bytes comes before *last (byte order), keeping
// it as the last.
bool out_of_order(std::string* last, const char* name, size_t len)
{
  const bool wrong = last->compare(0, std::string::npos, name, len) > 0;
  last->assign(name, len);
  return wrong;
}

const char* sqlite_walk(double* seconds, Checksum* sum)
{
  if (const char* error = sqlite_ensure_index()) return error;
  SqliteDb db = sqlite_open();
  SqliteStmt select = prepare(db.get(), "SELECT name, city, amount, born FROM t ORDER BY name");
  if (!select) return "SQLite: cannot prepare the select";
  sqlite3_stmt* s = select.get();
  std::string last;
  bool sorted = true;
  const double start = cpu_now();
  while (sqlite3_step(s) == SQLITE_ROW) {
    const char* name = reinterpret_cast<const char*>(sqlite3_column_text(s, 0));
    sorted &= !out_of_order(&last, name, std::strlen(name));
    sum->add(name, reinterpret_cast<const char*>(sqlite3_column_text(s, 1)), sqlite3_column_double(s, 2),
             sqlite3_column_int(s, 3));
  }
  *seconds = seconds_since(start);
  return sorted ? nullptr : "SQLite: the walk is not in name order";
}

const char* sqlite_replace(double* seconds)
{
  if (const char* error = sqlite_ensure_index()) return error;
  SqliteDb db = sqlite_open();
  SqliteStmt update = prepare(db.get(), "UPDATE t SET name = ?1 WHERE rowid = ?2");
  if (!update) return "SQLite: cannot prepare the update";
  sqlite3_stmt* s = update.get();
  const double start = cpu_now();
  bool ok = sql(db.get(), "BEGIN");
  for (const Replacement& u : data().replacements) {
    sqlite3_bind_text(s, 1, u.name, -1, SQLITE_STATIC);
    sqlite3_bind_int(s, 2, u.recno);
    ok &= sqlite3_step(s) == SQLITE_DONE;
    sqlite3_reset(s);
  }
  ok &= sql(db.get(), "COMMIT");
  *seconds = seconds_since(start);
  return ok ? nullptr : "SQLite: an update failed";
}

// ---- The driver. ----

const char* driver_build(double* seconds)
{
  if (const char* error = ensure_driver_table()) return error;
  std::filesystem::remove(idx_path());
  if (!use_table()) return "DBUSEAREA failed";
  const int32_t mark = tmpvar_cnt;
  const std::string path = idx_path();
  var* args[] = {set_cv(path.c_str()), NIL_VAR, set_cv("NAME")};
  const double start = cpu_now();
  const bool ok = is_true(_bb_ordcreate(3, args));
  *seconds = seconds_since(start);
  del_tmpvars(mark);
  close_tables();
  g_index_built = ok;
  return ok ? nullptr : "ORDCREATE failed";
}

const char* ensure_index()
{
  double unused;
  return g_index_built ? nullptr : driver_build(&unused);
}

// The seeks on the table and order opened exclusive or shared.
const char* driver_seek(double* seconds, bool exclusive)
{
  if (const char* error = ensure_index()) return error;
  if (const char* error = open_indexed(exclusive)) return error;
  const Data& d = data();
  Args a;
  var* key = a.value[0];
  const int32_t mark = tmpvar_cnt;
  Checksum sum;
  bool same = true;
  const double start = cpu_now();
  for (int32_t row : d.seeks) {
    set_cvar(key, d.rows[row].name);
    if (is_true(_bb_dbseek(1, &key))) {
      var* name = _bb_fieldget(1, &a.number[0]);
      var* city = _bb_fieldget(1, &a.number[1]);
      var* amount = _bb_fieldget(1, &a.number[2]);
      var* born = _bb_fieldget(1, &a.number[3]);
      same &= std::strncmp(VSTR(name), d.rows[row].name, std::strlen(d.rows[row].name)) == 0;
      sum.add(VSTR(name), VSTR(city), VDBL(amount), VINT(born));
    }
    del_tmpvars(mark);
  }
  *seconds = seconds_since(start);
  close_tables();
  return sum.rows == kSeeks && same ? nullptr : "a seek missed its name";
}
const char* driver_seek_excl(double* seconds) { return driver_seek(seconds, true); }
const char* driver_seek_shared(double* seconds) { return driver_seek(seconds, false); }

const char* driver_walk(double* seconds, Checksum* sum)
{
  if (const char* error = ensure_index()) return error;
  if (const char* error = open_indexed(true)) return error;
  Args a;
  const int32_t mark = tmpvar_cnt;
  _bb_dbgotop(0, nullptr);
  del_tmpvars(mark);
  std::string last;
  bool sorted = true;
  const double start = cpu_now();
  while (!is_true(_bb_eof(0, nullptr))) {
    var* name = _bb_fieldget(1, &a.number[0]);
    var* city = _bb_fieldget(1, &a.number[1]);
    var* amount = _bb_fieldget(1, &a.number[2]);
    var* born = _bb_fieldget(1, &a.number[3]);
    sorted &= !out_of_order(&last, VSTR(name), kNameLen);
    sum->add(VSTR(name), VSTR(city), VDBL(amount), VINT(born));
    _bb_dbskip(0, nullptr);
    del_tmpvars(mark);
  }
  *seconds = seconds_since(start);
  close_tables();
  return sorted ? nullptr : "the walk is not in name order";
}

int g_checker_problems = -1;

const char* driver_replace(double* seconds)
{
  if (const char* error = ensure_index()) return error;
  if (const char* error = open_indexed(true)) return error;
  Args a;
  *seconds = replace_all(a, kNameField, [](var* v, const Replacement& u) { set_cvar(v, u.name); });
  close_tables();
  std::vector<std::string> problems;
  g_checker_problems = vl::vlnIdxVerify(dbf_path().c_str(), idx_path().c_str(), &problems);
  return g_checker_problems == 0 ? nullptr : "the checker finds the order unsound after the replacements";
}

// ---- The benchmarks. ----

void BuildSqlite(benchmark::State& state) { run_writer(state, "Build/SQLite", nothing_to_ensure, sqlite_build, kRows); }
void BuildDriver(benchmark::State& state)
{
  run_writer(state, "Build/Driver", nothing_to_ensure, driver_build, kRows);
  ratio(state, "vs_sqlite", "Build/Driver", "Build/SQLite");
  state.counters["target"] = 1.5;
}
void SeekSqlite(benchmark::State& state) { run_writer(state, "Seek/SQLite", nothing_to_ensure, sqlite_seek, kSeeks); }
void SeekDriver(benchmark::State& state)
{
  run_writer(state, "Seek/Driver", nothing_to_ensure, driver_seek_excl, kSeeks);
  ratio(state, "vs_sqlite", "Seek/Driver", "Seek/SQLite");
  state.counters["target"] = 2;
}
void SeekShared(benchmark::State& state)
{
  run_writer(state, "Seek/Shared", nothing_to_ensure, driver_seek_shared, kSeeks);
  ratio(state, "vs_sqlite", "Seek/Shared", "Seek/SQLite");
  ratio(state, "vs_exclusive", "Seek/Shared", "Seek/Driver");
}
void WalkSqlite(benchmark::State& state) { run_reader(state, "Walk/SQLite", nothing_to_ensure, sqlite_walk); }
void WalkDriver(benchmark::State& state)
{
  run_reader(state, "Walk/Driver", nothing_to_ensure, driver_walk);
  ratio(state, "vs_sqlite", "Walk/Driver", "Walk/SQLite");
  state.counters["target"] = 2;
}
void ReplaceSqlite(benchmark::State& state) { run_writer(state, "Replace/SQLite", nothing_to_ensure, sqlite_replace, kReplaces); }
void ReplaceDriver(benchmark::State& state)
{
  run_writer(state, "Replace/Driver", nothing_to_ensure, driver_replace, kReplaces);
  ratio(state, "vs_sqlite", "Replace/Driver", "Replace/SQLite");
  state.counters["target"] = 1;
  state.counters["checker_problems"] = g_checker_problems;
}

BENCHMARK(BuildSqlite)->Name("Build/SQLite")->Apply(table_row);
BENCHMARK(BuildDriver)->Name("Build/Driver")->Apply(table_row);
BENCHMARK(SeekSqlite)->Name("Seek/SQLite")->Apply(table_row);
BENCHMARK(SeekDriver)->Name("Seek/Driver")->Apply(table_row);
BENCHMARK(SeekShared)->Name("Seek/Shared")->Apply(table_row);
BENCHMARK(WalkSqlite)->Name("Walk/SQLite")->Apply(table_row);
BENCHMARK(WalkDriver)->Name("Walk/Driver")->Apply(table_row);
BENCHMARK(ReplaceSqlite)->Name("Replace/SQLite")->Apply(table_row);
BENCHMARK(ReplaceDriver)->Name("Replace/Driver")->Apply(table_row);

}  // namespace
