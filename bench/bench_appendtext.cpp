// APPEND FROM ... DELIMITED of the one million rows of the tables
// benchmark, against the sqlite3 shell's .import of the same CSV file, in
// the same run:
//
//   AppendText/SQLite   sqlite3 db ".import --csv rows.csv t" into an empty
//                       table t(name, city, amount, born); the shell's CPU
//                       time (a child process: user and system)
//   AppendText/Driver   __DBAPPDEL("rows.csv") into an empty table of the
//                       rows' structure opened exclusively; the process's
//                       CPU time                                target >= 1x
//
// The CSV is written once, untimed: name and city quoted, the amount with
// two decimals, the birth date as YYYYMMDD.  Both sides must end with every
// row.  Counters: rows_per_s; on the driver vs_sqlite and target.
#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "dates.hpp"
#include "tables.hpp"
#include "vl.h"

namespace {

using namespace tables;

std::string csv_path() { return dir() + "/rows.csv"; }
std::string import_db() { return dir() + "/import.sqlite"; }
std::string target_path() { return dir() + "/appended"; }

const char* ensure_csv()
{
  static bool made = false;
  if (made) return nullptr;
  FILE* f = std::fopen(csv_path().c_str(), "w");
  if (!f) return "cannot write the CSV file";
  for (const Row& r : data().rows)
    std::fprintf(f, "\"%s\",\"%s\",%.2f,%s\n", r.name, r.city, r.amount, vl::set_dat(r.born));
  made = std::fclose(f) == 0;
  return made ? nullptr : "cannot write the CSV file";
}

double children_cpu()
{
  rusage u;
  getrusage(RUSAGE_CHILDREN, &u);
  return double(u.ru_utime.tv_sec + u.ru_stime.tv_sec) + double(u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
}

bool shell(const std::string& command) { return std::system(command.c_str()) == 0; }

const char* sqlite_import(double* seconds)
{
  std::remove(import_db().c_str());
  if (!shell("sqlite3 " + import_db() + " 'CREATE TABLE t(name TEXT, city TEXT, amount REAL, born TEXT)'"))
    return "sqlite3: cannot create the table";
  const double start = children_cpu();
  const bool ok = shell("sqlite3 " + import_db() + " '.import --csv " + csv_path() + " t'");
  *seconds = children_cpu() - start;
  if (!ok) return "sqlite3: .import failed";
  SqliteDb db;
  sqlite3* raw = nullptr;
  if (sqlite3_open(import_db().c_str(), &raw) != SQLITE_OK) return "SQLite: cannot open the imported table";
  db.reset(raw);
  SqliteStmt stmt = prepare(raw, "SELECT count(*) FROM t");
  const bool all = stmt && sqlite3_step(stmt.get()) == SQLITE_ROW && sqlite3_column_int64(stmt.get(), 0) == kRows;
  return all ? nullptr : "SQLite: wrong row count after .import";
}

const char* driver_append_text(double* seconds)
{
  const std::string make = "DBCREATE('" + target_path() +
                           "', {{'NAME','C',20,0},{'CITY','C',15,0},{'AMOUNT','N',12,2},{'BORN','D',8,0}})";
  const std::string open = "DBUSEAREA(.T., 'DBFIDX', '" + target_path() + "', 'APPENDED', .F., .F.)";
  if (!is_true(exp_eval(make.c_str())) || !is_true(exp_eval(open.c_str()))) return "cannot make the target table";
  const double start = cpu_now();
  const std::string csv = csv_path();  // set_cv borrows the text
  var* args[] = {set_cv(csv.c_str())};
  const bool ok = is_true(_bb___dbappdel(1, args));
  _bb_dbcommit(0, nullptr);
  *seconds = seconds_since(start);
  const int32_t count = vlnIntVar(_bb_lastrec(0, nullptr));
  close_tables();
  if (!ok) return "APPEND FROM DELIMITED failed";
  return count == kRows ? nullptr : "the driver appended a wrong number of rows";
}

void AppendTextSqlite(benchmark::State& state)
{
  run_writer(state, "AppendText/SQLite", ensure_csv, sqlite_import, kRows);
}
void AppendTextDriver(benchmark::State& state)
{
  run_writer(state, "AppendText/Driver", ensure_csv, driver_append_text, kRows);
  ratio(state, "vs_sqlite", "AppendText/Driver", "AppendText/SQLite");
  state.counters["target"] = 1;
}

BENCHMARK(AppendTextSqlite)->Name("AppendText/SQLite")->Apply(table_row);
BENCHMARK(AppendTextDriver)->Name("AppendText/Driver")->Apply(table_row);

}  // namespace
