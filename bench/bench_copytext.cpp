// COPY TO a text file of the one million rows of the tables benchmark,
// against SQLite in the same run:
//
//   CopyText/SQLite      the sqlite3 shell: sqlite3 -csv bench.db
//                        'SELECT * FROM t' > file; its CPU time (user and
//                        system) as a child of this process
//   CopyText/Delimited   __DBCOPYDE(file) of the table opened exclusively:
//                        every record through DBEVAL, the four fields by
//                        FIELDGET, quoted texts, trimmed numbers, YYYYMMDD
//                        dates                                target >= 1x
//   CopyText/Sdf         __DBCOPYSD(file): the same records at their widths
//
// Each side must write one line per row.  One pass each, timed by hand in
// CPU time (see tables.hpp); counters rows_per_s, and vs_sqlite and target
// on the driver's rows.
#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "bulk.h"
#include "tables.hpp"
#include "vl.h"

namespace {

using namespace tables;

// The newlines of file path.
int64_t lines_of(const std::string& path)
{
  std::ifstream in(path, std::ios::binary);
  int64_t n = 0;
  char buf[1 << 16];
  while (in.read(buf, sizeof buf) || in.gcount() > 0) {
    for (std::streamsize i = 0; i < in.gcount(); ++i) n += buf[i] == '\n';
    if (!in) break;
  }
  return n;
}

// User and system seconds of the children waited for so far.
double children_cpu()
{
  rusage u{};
  getrusage(RUSAGE_CHILDREN, &u);
  return double(u.ru_utime.tv_sec + u.ru_stime.tv_sec) + double(u.ru_utime.tv_usec + u.ru_stime.tv_usec) * 1e-6;
}

const char* sqlite_export(double* seconds)
{
  const std::string out = dir() + "/sqlite.csv";
  const std::string command = "sqlite3 -csv '" + sqlite_path() + "' 'SELECT * FROM t' > '" + out + "'";
  const double start = children_cpu();
  const int status = std::system(command.c_str());
  *seconds = children_cpu() - start;
  if (status != 0) return "sqlite3 failed";
  return lines_of(out) == kRows ? nullptr : "sqlite3 wrote a wrong number of lines";
}

// One copy of the driver's table by command into file name.
const char* driver_copy(BbFn command, const char* name, double* seconds)
{
  if (!use_table()) return "DBUSEAREA failed";
  const std::string out = dir() + "/" + name;
  const int32_t mark = tmpvar_cnt;
  var* args[] = {set_cv(out.c_str())};
  const double start = cpu_now();
  const bool ok = is_true(command(1, args));
  *seconds = seconds_since(start);
  del_tmpvars(mark);
  close_tables();
  if (!ok) return "the copy failed";
  return lines_of(out) == kRows ? nullptr : "the copy wrote a wrong number of lines";
}

const char* driver_delimited(double* seconds) { return driver_copy(_bb___dbcopyde, "driver.csv", seconds); }
const char* driver_sdf(double* seconds) { return driver_copy(_bb___dbcopysd, "driver.sdf", seconds); }

void CopySqlite(benchmark::State& state)
{
  run_writer(state, "CopyText/SQLite", ensure_sqlite_table, sqlite_export, kRows);
}
void CopyDelimited(benchmark::State& state)
{
  run_writer(state, "CopyText/Delimited", ensure_driver_table, driver_delimited, kRows);
  ratio(state, "vs_sqlite", "CopyText/Delimited", "CopyText/SQLite");
  state.counters["target"] = 1;
}
void CopySdf(benchmark::State& state)
{
  run_writer(state, "CopyText/Sdf", ensure_driver_table, driver_sdf, kRows);
  ratio(state, "vs_sqlite", "CopyText/Sdf", "CopyText/SQLite");
}

BENCHMARK(CopySqlite)->Name("CopyText/SQLite")->Apply(table_row);
BENCHMARK(CopyDelimited)->Name("CopyText/Delimited")->Apply(table_row);
BENCHMARK(CopySdf)->Name("CopyText/Sdf")->Apply(table_row);

}  // namespace
