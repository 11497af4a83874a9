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
// and amounts of the replacements come from a fixed-seed generator and are
// made before anything is timed.  Each benchmark makes one pass (one
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
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sqlite3.h>
#include <stdlib.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "dates.hpp"
#include "dbfidx.h"
#include "vl.h"

namespace {

constexpr int32_t kRows = 1000000;
constexpr int32_t kReplaces = 100000;
constexpr uint64_t kSeed = 0x7AB1E5u;

// The table's structure, and where its fields stand in a record.
constexpr int kNameLen = 20;
constexpr int kCityLen = 15;
constexpr int kAmountLen = 12;
constexpr int kAmountDec = 2;
constexpr int kDateLen = 8;
constexpr int kNameAt = 1;
constexpr int kCityAt = kNameAt + kNameLen;
constexpr int kAmountAt = kCityAt + kCityLen;
constexpr int kBornAt = kAmountAt + kAmountLen;
constexpr int kRecLen = kBornAt + kDateLen;
constexpr int kFields = 4;
constexpr int kHeaderLen = 32 * kFields + 33;
constexpr int kAmountField = 3;

constexpr int64_t kCentsLimit = 1000000000;  // amounts below 10,000,000.00
constexpr double kCentsPerUnit = 100.0;
constexpr int32_t kDayOf1970 = 719163;       // day number of 1 January 1970
constexpr size_t kRawBlockRecords = 4096;    // records per read of the raw scan

constexpr const char* kLastNames[] = {
    "SMITH",  "JOHNSON",  "WILLIAMS", "BROWN",     "JONES",    "GARCIA",  "MILLER",
    "DAVIS",  "RODRIGUEZ", "MARTINEZ", "HERNANDEZ", "LOPEZ",    "GONZALEZ", "WILSON",
    "ANDERSON", "THOMAS", "TAYLOR",   "MOORE",     "JACKSON",  "MARTIN",  "LEE"};
constexpr const char* kFirstNames[] = {
    "JAMES", "MARY",    "ROBERT",  "PATRICIA", "JOHN",    "JENNIFER", "MICHAEL", "LINDA",
    "DAVID", "ELIZABETH", "WILLIAM", "BARBARA", "RICHARD", "SUSAN",    "JOSEPH",  "JO"};
constexpr const char* kCities[] = {
    "LONDON", "PARIS",  "BERLIN",  "MADRID", "ROME",       "VIENNA",    "AMSTERDAM",
    "LISBON", "DUBLIN", "OSLO",    "PRAGUE", "COPENHAGEN", "STOCKHOLM", "RIO DE JANEIRO",
    "ATHENS", "BERN",   "HELSINKI", "WARSAW", "BUDAPEST",  "EDINBURGH"};

struct Row {
  char name[kNameLen + 1];
  char city[kCityLen + 1];
  double amount;
  int32_t born;
};

struct Replacement {
  int32_t recno;
  double amount;
};

// What a scan sums over the rows it reads: the amounts in cents, the day
// numbers of the births and the first bytes of both texts.
struct Checksum {
  int64_t rows = 0, cents = 0, days = 0, bytes = 0;

  void add(const char* name, const char* city, double amount, int32_t born)
  {
    ++rows;
    cents += static_cast<int64_t>(amount * kCentsPerUnit + 0.5);
    days += born;
    bytes += static_cast<unsigned char>(name[0]) + static_cast<unsigned char>(city[0]);
  }
  bool operator==(const Checksum&) const = default;
};

struct Data {
  std::vector<Row> rows;
  std::vector<Replacement> replacements;
  Checksum sum;
};

// splitmix64: the fixed-seed generator of all the data.
uint64_t next(uint64_t& state)
{
  uint64_t z = (state += 0x9E3779B97F4A7C15u);
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
  return z ^ (z >> 31);
}

template <size_t N>
const char* pick(const char* const (&list)[N], uint64_t& state)
{
  return list[next(state) % N];
}

double random_amount(uint64_t& state)
{
  return static_cast<double>(next(state) % kCentsLimit) / kCentsPerUnit;
}

Data make_data()
{
  Data d;
  uint64_t state = kSeed;
  const int32_t first_day = vl::datoint(1, 1, 1930);
  const int32_t days = vl::datoint(31, 12, 2005) - first_day + 1;
  d.rows.resize(kRows);
  for (Row& r : d.rows) {
    std::snprintf(r.name, sizeof r.name, "%s, %s", pick(kLastNames, state), pick(kFirstNames, state));
    std::snprintf(r.city, sizeof r.city, "%s", pick(kCities, state));
    r.amount = random_amount(state);
    r.born = first_day + static_cast<int32_t>(next(state) % days);
    d.sum.add(r.name, r.city, r.amount, r.born);
  }
  d.replacements.resize(kReplaces);
  for (Replacement& u : d.replacements) {
    u.recno = 1 + static_cast<int32_t>(next(state) % kRows);
    u.amount = random_amount(state);
  }
  return d;
}

const Data& data()
{
  static const Data d = make_data();
  return d;
}

// The scratch directory of the run, removed at exit.
struct Scratch {
  Scratch()
  {
    char tmpl[] = "/tmp/vl-bench-tables-XXXXXX";
    if (!mkdtemp(tmpl)) abort();
    dir = tmpl;
  }
  ~Scratch() { std::filesystem::remove_all(dir); }
  std::string dir;
};

const std::string& dir()
{
  static const Scratch s;
  return s.dir;
}
std::string dbf_path() { return dir() + "/bench.dbf"; }
std::string sqlite_path() { return dir() + "/bench.db"; }

// The process's CPU time in seconds (user and system: the system calls
// count), so that other load on the machine does not stretch a pass.
double cpu_now()
{
  timespec t;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return double(t.tv_sec) + double(t.tv_nsec) * 1e-9;
}
double seconds_since(double start) { return cpu_now() - start; }

// The rates measured in this run, by benchmark name.
std::map<std::string, double>& rates()
{
  static std::map<std::string, double> all;
  return all;
}

// Finish the one pass of benchmark name that handled rows in seconds.
void finish(benchmark::State& state, const char* name, int64_t rows, double seconds)
{
  state.SetIterationTime(seconds);
  const double rate = static_cast<double>(rows) / seconds;
  rates()[name] = rate;
  state.counters["rows_per_s"] = rate;
}

// Under counter, the ratio of name's rate to baseline's, when both ran.
void ratio(benchmark::State& state, const char* counter, const char* name, const char* baseline)
{
  const auto mine = rates().find(name), theirs = rates().find(baseline);
  if (mine != rates().end() && theirs != rates().end()) state.counters[counter] = mine->second / theirs->second;
}

void table_row(benchmark::internal::Benchmark* b)
{
  b->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
}

// ---- SQLite. ----

struct SqliteCloser {
  void operator()(sqlite3* db) const { sqlite3_close(db); }
};
struct StmtFinalizer {
  void operator()(sqlite3_stmt* stmt) const { sqlite3_finalize(stmt); }
};
using SqliteDb = std::unique_ptr<sqlite3, SqliteCloser>;
using SqliteStmt = std::unique_ptr<sqlite3_stmt, StmtFinalizer>;

bool sql(sqlite3* db, const char* text) { return sqlite3_exec(db, text, nullptr, nullptr, nullptr) == SQLITE_OK; }

SqliteDb sqlite_open()
{
  sqlite3* db = nullptr;
  const bool ok = sqlite3_open(sqlite_path().c_str(), &db) == SQLITE_OK;
  SqliteDb owned(db);
  if (!ok || !sql(db, "PRAGMA journal_mode=WAL; PRAGMA synchronous=OFF")) owned.reset();
  return owned;
}

SqliteStmt prepare(sqlite3* db, const char* text)
{
  sqlite3_stmt* stmt = nullptr;
  sqlite3_prepare_v2(db, text, -1, &stmt, nullptr);
  return SqliteStmt(stmt);
}

bool g_sqlite_built = false;

// Make the SQLite table afresh, inserting every row; the seconds of the
// inserts and the commit.  An error text, or null.
const char* sqlite_append(double* seconds)
{
  const Data& d = data();
  for (const char* suffix : {"", "-wal", "-shm"}) std::filesystem::remove(sqlite_path() + suffix);
  SqliteDb db = sqlite_open();
  if (!db || !sql(db.get(), "CREATE TABLE t(name TEXT, city TEXT, amount REAL, born INTEGER)"))
    return "SQLite: cannot create the table";
  SqliteStmt insert = prepare(db.get(), "INSERT INTO t VALUES (?1, ?2, ?3, ?4)");
  if (!insert) return "SQLite: cannot prepare the insert";
  sqlite3_stmt* s = insert.get();
  const double start = cpu_now();
  bool ok = sql(db.get(), "BEGIN");
  for (const Row& r : d.rows) {
    sqlite3_bind_text(s, 1, r.name, -1, SQLITE_STATIC);
    sqlite3_bind_text(s, 2, r.city, -1, SQLITE_STATIC);
    sqlite3_bind_double(s, 3, r.amount);
    sqlite3_bind_int(s, 4, r.born);
    ok &= sqlite3_step(s) == SQLITE_DONE;
    sqlite3_reset(s);
  }
  ok &= sql(db.get(), "COMMIT");
  *seconds = seconds_since(start);
  g_sqlite_built = ok;
  return ok ? nullptr : "SQLite: an insert failed";
}

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

bool is_true(var* v) { return v->Type == 'L' && VINT(v) != 0; }

// DBCREATE(path, {{"NAME","C",20,0}, {"CITY","C",15,0}, {"AMOUNT","N",12,2},
// {"BORN","D",8,0}}).
bool create_table()
{
  const int32_t mark = tmpvar_cnt;
  const auto field = [](const char* name, const char* type, int len, int dec) {
    return cre_arr(cre_tmpvar(), 4, VL_ARR_LIST, set_cv(name), set_cv(type), set_nv(len, 0),
                   set_nv(dec, 0), static_cast<var*>(nullptr));
  };
  var* structure = cre_arr(cre_tmpvar(), kFields, VL_ARR_LIST, field("NAME", "C", kNameLen, 0),
                           field("CITY", "C", kCityLen, 0),
                           field("AMOUNT", "N", kAmountLen, kAmountDec),
                           field("BORN", "D", kDateLen, 0), static_cast<var*>(nullptr));
  const std::string path = dbf_path();
  var* args[] = {set_cv(path.c_str()), structure};
  const bool ok = is_true(_bb_dbcreate(2, args));
  del_tmpvars(mark);
  return ok;
}

// DBUSEAREA(.T., "DBFIDX", path, "BENCH", .F., .F.): the table, exclusively.
bool use_table()
{
  const int32_t mark = tmpvar_cnt;
  const std::string path = dbf_path();
  var* args[] = {TRUE_VAR, set_cv("DBFIDX"), set_cv(path.c_str()), set_cv("BENCH"), FALSE_VAR, FALSE_VAR};
  const bool ok = is_true(_bb_dbusearea(6, args));
  del_tmpvars(mark);
  return ok;
}

void close_tables() { _bb_dbcloseall(0, nullptr); }

// Argument records made once for a loop: field numbers 1 to 4, a value
// record per field and one for a record number, freed with the object.
struct Args {
  Args()
  {
    for (int i = 0; i < kFields; ++i) {
      number[i] = set_Ivar(mak_var('N', 'U'), i + 1);
      value[i] = mak_var('N', 'U');
      put[i][0] = number[i];
      put[i][1] = value[i];
    }
    recno = mak_var('N', 'U');
  }
  ~Args()
  {
    for (int i = 0; i < kFields; ++i) del_var(number[i]), del_var(value[i]);
    del_var(recno);
  }
  Args(const Args&) = delete;
  Args& operator=(const Args&) = delete;

  var* number[kFields];
  var* value[kFields];
  var* put[kFields][2];  // FIELDPUT(number, value) argument vectors
  var* recno;
};

bool g_driver_built = false;

// Make the DBF table afresh, appending every row; the seconds of the
// appends and the commit.  An error text, or null.
const char* driver_append(double* seconds)
{
  const Data& d = data();
  close_tables();
  std::filesystem::remove(dbf_path());
  if (!create_table()) return "DBCREATE failed";
  if (!use_table()) return "DBUSEAREA failed";
  Args a;
  const int32_t mark = tmpvar_cnt;
  const double start = cpu_now();
  for (const Row& r : d.rows) {
    _bb_dbappend(0, nullptr);
    set_cvar(a.value[0], r.name);
    _bb_fieldput(2, a.put[0]);
    set_cvar(a.value[1], r.city);
    _bb_fieldput(2, a.put[1]);
    set_nvar(a.value[2], r.amount, kAmountDec);
    _bb_fieldput(2, a.put[2]);
    set_dvar(a.value[3], r.born);
    _bb_fieldput(2, a.put[3]);
    del_tmpvars(mark);
  }
  _bb_dbcommit(0, nullptr);
  *seconds = seconds_since(start);
  const bool ok = vlnIntVar(_bb_lastrec(0, nullptr)) == kRows;
  del_tmpvars(mark);
  close_tables();
  g_driver_built = ok;
  return ok ? nullptr : "the driver's table does not hold every row";
}

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
  var* const* put = a.put[kAmountField - 1];
  var* amount = a.value[kAmountField - 1];
  const int32_t mark = tmpvar_cnt;
  const double start = cpu_now();
  for (const Replacement& u : all) {
    set_Ivar(a.recno, u.recno);
    _bb_dbgoto(1, &a.recno);
    set_nvar(amount, u.amount, kAmountDec);
    _bb_fieldput(2, const_cast<var**>(put));
    del_tmpvars(mark);
  }
  _bb_dbcommit(0, nullptr);
  *seconds = seconds_since(start);
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

const char* ensure_driver_table()
{
  double unused;
  return g_driver_built ? nullptr : driver_append(&unused);
}
const char* ensure_sqlite_table()
{
  double unused;
  return g_sqlite_built ? nullptr : sqlite_append(&unused);
}
const char* nothing_to_ensure() { return nullptr; }

using Ensure = const char* (*)();
using Writer = const char* (*)(double* seconds);
using Reader = const char* (*)(double* seconds, Checksum* sum);

// One pass of benchmark name, which writes rows rows to a table that ensure
// makes.
void run_writer(benchmark::State& state, const char* name, Ensure ensure, Writer write, int64_t rows)
{
  for (auto _ : state) {
    double seconds = 0;
    const char* error = ensure();
    if (!error) error = write(&seconds);
    if (error) return state.SkipWithError(error);
    finish(state, name, rows, seconds);
  }
}

// One pass of benchmark name, which scans a table that ensure makes.
void run_reader(benchmark::State& state, const char* name, Ensure ensure, Reader read)
{
  for (auto _ : state) {
    double seconds = 0;
    Checksum sum;
    const char* error = ensure();
    if (!error) error = read(&seconds, &sum);
    if (!error && !(sum == data().sum)) error = "the checksum differs from the generator's";
    if (error) return state.SkipWithError(error);
    finish(state, name, sum.rows, seconds);
  }
}

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
