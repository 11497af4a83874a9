// The DBF driver against SQLite on one million rows, in the same run:
//
//   Append/SQLite    INSERT of every row through one prepared statement in
//                    one transaction (WAL journal, synchronous=OFF)
//   Append/Driver    DBAPPEND and four FIELDPUTs per row on a table opened
//                    exclusively, then DBCOMMIT              target >= 1.5x
//   Scan/SQLite      SELECT of the four columns, each column of each row read
//   Scan/Raw         the DBF file read in large blocks by plain C++ and the
//                    four fields of each record decoded: the physical
//                    reference
//   Scan/Driver      DBGOTOP, then FIELDGET of the four fields and DBSKIP
//                    while not EOF()                         target >= 2x
//   Replace/SQLite   100,000 UPDATE t SET amount = ? WHERE rowid = ? in one
//                    transaction
//   Replace/SQLiteEach  the same updates, each its own transaction
//   Replace/Driver   DBGOTO and FIELDPUT of the amount at the same record
//                    numbers, then DBCOMMIT                  target >= 3x
//
// The rows (name C20, city C15, amount N12.2, born D) and the record numbers
// and amounts of the replacements come from the fixed-seed generator of
// support/tables.hpp and are made before anything is timed.  Each benchmark makes one pass (one
// iteration) timed by hand in process CPU time, user and system (both
// sides run in this thread and wait for no device: the files stay in the
// page cache), so that other load on the machine does not stretch it;
// creating and opening the tables is not timed.
// The driver keeps its tables open exclusively, as SQLite's single
// connection has its file to itself; committing ends each timed write, so
// that both sides have handed all their bytes to the system (closing the
// table, which also syncs it to the disk, is not timed: SQLite here never
// syncs).
//
// Counters: rows_per_s; on the driver rows vs_sqlite, the ratio to the
// SQLite row of the same run (present when that row ran first), and target;
// on Scan/Driver also vs_raw, on Replace/Driver also vs_sqlite_each.  Every scan sums the same checksum and fails
// unless it matches the generator's.
//
// The driver loops call the language functions as generated code does: the
// argument records are made once, each row stores its values into them, and
// the row ends its statement with del_tmpvars.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "dbfidx.h"
#include "tables.hpp"
#include "vl.h"

namespace {

using namespace tables;

constexpr int32_t kDayOf1970 = 719163;     // day number of 1 January 1970
constexpr size_t kRawBlockRecords = 4096;  // records per read of the raw scan

// ---- SQLite. ----

const char* sqlite_scan(double* seconds, Checksum* sum)
{
  SqliteDb db = sqlite_open();
  if (!db) return "SQLite: cannot open the table";
  SqliteStmt select = prepare(db.get(), "SELECT name, city, amount, born FROM t");
  if (!select) return "SQLite: cannot prepare the select";
  sqlite3_stmt* s = select.get();
  const double start = cpu_now();
  while (sqlite3_step(s) == SQLITE_ROW) {
    sum->add(reinterpret_cast<const char*>(sqlite3_column_text(s, 0)),
             reinterpret_cast<const char*>(sqlite3_column_text(s, 1)), sqlite3_column_double(s, 2),
             sqlite3_column_int(s, 3));
  }
  *seconds = seconds_since(start);
  return nullptr;
}

// The replacements as updates, in one transaction or each in its own.
const char* sqlite_update(double* seconds, bool one_transaction)
{
  SqliteDb db = sqlite_open();
  if (!db) return "SQLite: cannot open the table";
  SqliteStmt update = prepare(db.get(), "UPDATE t SET amount = ?1 WHERE rowid = ?2");
  if (!update) return "SQLite: cannot prepare the update";
  sqlite3_stmt* s = update.get();
  const double start = cpu_now();
  bool ok = !one_transaction || sql(db.get(), "BEGIN");
  for (const Replacement& u : data().replacements) {
    sqlite3_bind_double(s, 1, u.amount);
    sqlite3_bind_int(s, 2, u.recno);
    ok &= sqlite3_step(s) == SQLITE_DONE;
    sqlite3_reset(s);
  }
  if (one_transaction) ok &= sql(db.get(), "COMMIT");
  *seconds = seconds_since(start);
  return ok ? nullptr : "SQLite: an update failed";
}
const char* sqlite_replace(double* seconds) { return sqlite_update(seconds, true); }
const char* sqlite_replace_each(double* seconds) { return sqlite_update(seconds, false); }

// ---- The driver, through the language functions. ----

const char* driver_scan(double* seconds, Checksum* sum)
{
  if (!use_table()) return "DBUSEAREA failed";
  Args a;
  const int32_t mark = tmpvar_cnt;
  _bb_dbgotop(0, nullptr);
  const char kTypes[] = "CCND";
  for (int i = 0; i < kFields; ++i)
    if (_bb_fieldget(1, &a.number[i])->Type != kTypes[i]) return close_tables(), "FIELDGET gives a wrong type";
  del_tmpvars(mark);
  const double start = cpu_now();
  while (!is_true(_bb_eof(0, nullptr))) {
    var* name = _bb_fieldget(1, &a.number[0]);
    var* city = _bb_fieldget(1, &a.number[1]);
    var* amount = _bb_fieldget(1, &a.number[2]);
    var* born = _bb_fieldget(1, &a.number[3]);
    sum->add(VSTR(name), VSTR(city), VDBL(amount), VINT(born));
    _bb_dbskip(0, nullptr);
    del_tmpvars(mark);
  }
  *seconds = seconds_since(start);
  close_tables();
  return nullptr;
}

const char* driver_replace(double* seconds)
{
  if (!use_table()) return "DBUSEAREA failed";
  const std::vector<Replacement>& all = data().replacements;
  Args a;
  *seconds = replace_all(a, kAmountField, [](var* v, const Replacement& u) { set_nvar(v, u.amount, kAmountDec); });
  const int32_t mark = tmpvar_cnt;
  // The last replacement is the one that stays.
  set_Ivar(a.recno, all.back().recno);
  _bb_dbgoto(1, &a.recno);
  const bool ok = VDBL(_bb_fieldget(1, &a.number[kAmountField - 1])) == all.back().amount;
  del_tmpvars(mark);
  close_tables();
  return ok ? nullptr : "the driver lost a replacement";
}

// ---- The raw read of the DBF file. ----

// The day number of year y, month m, day d (1 January of year 1 is day 1).
int32_t day_number(int y, int m, int d)
{
  y -= m <= 2;
  const int era = y / 400;
  const int yoe = y - era * 400;
  const int doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const int doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + doe - 719468 + kDayOf1970;
}

int digits(const char* p, int n)
{
  int v = 0;
  for (int i = 0; i < n; ++i) v = v * 10 + (p[i] - '0');
  return v;
}

// A right-justified decimal field of len bytes.
double decode_number(const char* p, int len)
{
  int i = 0;
  while (i < len && p[i] == ' ') ++i;
  const bool minus = i < len && p[i] == '-';
  i += minus;
  int64_t units = 0;
  for (; i < len && p[i] != '.'; ++i) units = units * 10 + (p[i] - '0');
  int64_t scale = 1;
  for (++i; i < len; ++i) units = units * 10 + (p[i] - '0'), scale *= 10;
  const double v = static_cast<double>(units) / static_cast<double>(scale);
  return minus ? -v : v;
}

int32_t decode_date(const char* p)
{
  return p[0] == ' ' ? 0 : day_number(digits(p, 4), digits(p + 4, 2), digits(p + 6, 2));
}

const char* raw_scan(double* seconds, Checksum* sum)
{
  const double start = cpu_now();
  const int fd = open(dbf_path().c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return "cannot open the DBF file";
  unsigned char header[32];
  if (pread(fd, header, sizeof header, 0) != static_cast<ssize_t>(sizeof header)) return close(fd), "short header";
  const uint32_t count = header[4] | header[5] << 8 | header[6] << 16 | uint32_t(header[7]) << 24;
  if ((header[8] | header[9] << 8) != kHeaderLen || (header[10] | header[11] << 8) != kRecLen)
    return close(fd), "the DBF file has another layout";
  std::vector<char> block(kRawBlockRecords * kRecLen);
  off_t at = kHeaderLen;
  for (uint32_t left = count; left > 0;) {
    const size_t n = std::min<size_t>(left, kRawBlockRecords);
    const ssize_t want = static_cast<ssize_t>(n * kRecLen);
    if (pread(fd, block.data(), want, at) != want) return close(fd), "short read";
    for (const char* rec = block.data(); rec < block.data() + want; rec += kRecLen)
      sum->add(rec + kNameAt, rec + kCityAt, decode_number(rec + kAmountAt, kAmountLen),
               decode_date(rec + kBornAt));
    at += want;
    left -= static_cast<uint32_t>(n);
  }
  close(fd);
  *seconds = seconds_since(start);
  return nullptr;
}

// ---- The benchmarks. ----

void AppendSqlite(benchmark::State& state)
{
  run_writer(state, "Append/SQLite", nothing_to_ensure, sqlite_append, kRows);
}
void AppendDriver(benchmark::State& state)
{
  run_writer(state, "Append/Driver", nothing_to_ensure, driver_append, kRows);
  ratio(state, "vs_sqlite", "Append/Driver", "Append/SQLite");
  state.counters["target"] = 1.5;
}
void ScanSqlite(benchmark::State& state)
{
  run_reader(state, "Scan/SQLite", ensure_sqlite_table, sqlite_scan);
}
void ScanRaw(benchmark::State& state) { run_reader(state, "Scan/Raw", ensure_driver_table, raw_scan); }
void ScanDriver(benchmark::State& state)
{
  run_reader(state, "Scan/Driver", ensure_driver_table, driver_scan);
  ratio(state, "vs_sqlite", "Scan/Driver", "Scan/SQLite");
  ratio(state, "vs_raw", "Scan/Driver", "Scan/Raw");
  state.counters["target"] = 2;
}
void ReplaceSqlite(benchmark::State& state)
{
  run_writer(state, "Replace/SQLite", ensure_sqlite_table, sqlite_replace, kReplaces);
}
void ReplaceSqliteEach(benchmark::State& state)
{
  run_writer(state, "Replace/SQLiteEach", ensure_sqlite_table, sqlite_replace_each, kReplaces);
}
void ReplaceDriver(benchmark::State& state)
{
  run_writer(state, "Replace/Driver", ensure_driver_table, driver_replace, kReplaces);
  ratio(state, "vs_sqlite", "Replace/Driver", "Replace/SQLite");
  ratio(state, "vs_sqlite_each", "Replace/Driver", "Replace/SQLiteEach");
  state.counters["target"] = 3;
}

BENCHMARK(AppendSqlite)->Name("Append/SQLite")->Apply(table_row);
BENCHMARK(AppendDriver)->Name("Append/Driver")->Apply(table_row);
BENCHMARK(ScanSqlite)->Name("Scan/SQLite")->Apply(table_row);
BENCHMARK(ScanRaw)->Name("Scan/Raw")->Apply(table_row);
BENCHMARK(ScanDriver)->Name("Scan/Driver")->Apply(table_row);
BENCHMARK(ReplaceSqlite)->Name("Replace/SQLite")->Apply(table_row);
BENCHMARK(ReplaceSqliteEach)->Name("Replace/SQLiteEach")->Apply(table_row);
BENCHMARK(ReplaceDriver)->Name("Replace/Driver")->Apply(table_row);

}  // namespace
