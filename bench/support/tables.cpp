// tables.cpp -- the shared data and tables of the table benchmarks (see
// tables.hpp).
#include "tables.hpp"

#include <stdlib.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <map>

#include "dates.hpp"
#include "dbfidx.h"

namespace tables {
namespace {

constexpr uint64_t kSeed = 0x7AB1E5u;
constexpr int64_t kCentsLimit = 1000000000;  // amounts below 10,000,000.00

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

void random_name(char* name, uint64_t& state)
{
  const char* last = pick(kLastNames, state);
  std::snprintf(name, kNameLen + 1, "%s, %s", last, pick(kFirstNames, state));
}

Data make_data()
{
  Data d;
  uint64_t state = kSeed;
  const int32_t first_day = vl::datoint(1, 1, 1930);
  const int32_t days = vl::datoint(31, 12, 2005) - first_day + 1;
  d.rows.resize(kRows);
  for (Row& r : d.rows) {
    random_name(r.name, state);
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
  for (Replacement& u : d.replacements) random_name(u.name, state);
  d.seeks.resize(kSeeks);
  for (int32_t& s : d.seeks) s = static_cast<int32_t>(next(state) % kRows);
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

// The rates measured in this run, by benchmark name.
std::map<std::string, double>& rates()
{
  static std::map<std::string, double> all;
  return all;
}

bool g_sqlite_built = false;
bool g_driver_built = false;

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

}  // namespace

const Data& data()
{
  static const Data d = make_data();
  return d;
}

const std::string& dir()
{
  static const Scratch s;
  return s.dir;
}
std::string dbf_path() { return dir() + "/bench.dbf"; }
std::string sqlite_path() { return dir() + "/bench.db"; }

double cpu_now()
{
  timespec t;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return double(t.tv_sec) + double(t.tv_nsec) * 1e-9;
}

void finish(benchmark::State& state, const char* name, int64_t rows, double seconds)
{
  state.SetIterationTime(seconds);
  const double rate = static_cast<double>(rows) / seconds;
  rates()[name] = rate;
  state.counters["rows_per_s"] = rate;
}

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

// ---- The driver. ----

bool use_table(bool exclusive)
{
  const int32_t mark = tmpvar_cnt;
  const std::string path = dbf_path();
  var* args[] = {TRUE_VAR, set_cv("DBFIDX"), set_cv(path.c_str()), set_cv("BENCH"),
                 exclusive ? FALSE_VAR : TRUE_VAR, FALSE_VAR};
  const bool ok = is_true(_bb_dbusearea(6, args));
  del_tmpvars(mark);
  return ok;
}

void close_tables() { _bb_dbcloseall(0, nullptr); }

Args::Args()
{
  for (int i = 0; i < kFields; ++i) {
    number[i] = set_Ivar(mak_var('N', 'U'), i + 1);
    value[i] = mak_var('N', 'U');
    put[i][0] = number[i];
    put[i][1] = value[i];
  }
  recno = mak_var('N', 'U');
}

Args::~Args()
{
  for (int i = 0; i < kFields; ++i) del_var(number[i]), del_var(value[i]);
  del_var(recno);
}

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

double replace_all(Args& a, int field, void (*store)(var* value, const Replacement& u))
{
  const std::vector<Replacement>& all = data().replacements;
  var* const* put = a.put[field - 1];
  var* value = a.value[field - 1];
  const int32_t mark = tmpvar_cnt;
  const double start = cpu_now();
  for (const Replacement& u : all) {
    set_Ivar(a.recno, u.recno);
    _bb_dbgoto(1, &a.recno);
    store(value, u);
    _bb_fieldput(2, const_cast<var**>(put));
    del_tmpvars(mark);
  }
  _bb_dbcommit(0, nullptr);
  return seconds_since(start);
}

const char* nothing_to_ensure() { return nullptr; }

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

}  // namespace tables
