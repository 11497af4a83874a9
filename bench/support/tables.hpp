// tables.hpp -- what the table benchmarks share: the one million rows of the
// fixed-seed generator, the scratch directory, the CPU clock and counters of
// a one-pass row, and the two tables (SQLite and DBF) built from the rows.
//
// The rows (name C20, city C15, amount N12.2, born D) and every other input
// of the runs (record numbers and amounts of replacements, new names for
// them, rows to seek) come from one splitmix64 sequence, made before
// anything is timed.  Later additions draw after the earlier ones, so that
// what an older benchmark uses stays the same.
#pragma once

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "vl.h"

namespace tables {

constexpr int32_t kRows = 1000000;
constexpr int32_t kReplaces = 100000;
constexpr int32_t kSeeks = 100000;

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
constexpr int kNameField = 1;
constexpr int kAmountField = 3;
constexpr double kCentsPerUnit = 100.0;

struct Row {
  char name[kNameLen + 1];
  char city[kCityLen + 1];
  double amount;
  int32_t born;
};

struct Replacement {
  int32_t recno;
  double amount;
  char name[kNameLen + 1];  // the new name, for the replacements of names
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
  std::vector<int32_t> seeks;  // row indices whose names are sought
  Checksum sum;
};

// The generated data, made at the first call.
const Data& data();

// The scratch directory of the run (removed at exit), and the two tables
// in it.
const std::string& dir();
std::string dbf_path();
std::string sqlite_path();

// The process's CPU time in seconds (user and system: the system calls
// count), so that other load on the machine does not stretch a pass.
double cpu_now();
inline double seconds_since(double start) { return cpu_now() - start; }

// Finish the one pass of benchmark name that handled rows in seconds:
// rows_per_s, and the rate kept for ratio().
void finish(benchmark::State& state, const char* name, int64_t rows, double seconds);
// Under counter, the ratio of name's rate to baseline's, when both ran.
void ratio(benchmark::State& state, const char* counter, const char* name, const char* baseline);
// One timed pass, by hand, in milliseconds.
void table_row(benchmark::internal::Benchmark* b);

// ---- SQLite. ----

struct SqliteCloser {
  void operator()(sqlite3* db) const { sqlite3_close(db); }
};
struct StmtFinalizer {
  void operator()(sqlite3_stmt* stmt) const { sqlite3_finalize(stmt); }
};
using SqliteDb = std::unique_ptr<sqlite3, SqliteCloser>;
using SqliteStmt = std::unique_ptr<sqlite3_stmt, StmtFinalizer>;

bool sql(sqlite3* db, const char* text);
// The table's database (WAL journal, synchronous=OFF), or null.
SqliteDb sqlite_open();
SqliteStmt prepare(sqlite3* db, const char* text);
// Make the SQLite table t(name, city, amount, born) afresh, inserting
// every row in one transaction; the seconds of the inserts and the commit.
// An error text, or null.
const char* sqlite_append(double* seconds);

// ---- The driver, through the language functions. ----

inline bool is_true(var* v) { return v->Type == 'L' && VINT(v) != 0; }
// DBUSEAREA(.T., "DBFIDX", path, "BENCH", !exclusive, .F.).
bool use_table(bool exclusive = true);
void close_tables();

// Argument records made once for a loop: field numbers 1 to 4, a value
// record per field and one for a record number, freed with the object.
struct Args {
  Args();
  ~Args();
  Args(const Args&) = delete;
  Args& operator=(const Args&) = delete;

  var* number[kFields];
  var* value[kFields];
  var* put[kFields][2];  // FIELDPUT(number, value) argument vectors
  var* recno;
};

// Run every replacement on the selected area as generated code does:
// DBGOTO its record, store(value, replacement), FIELDPUT(field, value);
// then DBCOMMIT.  The seconds of the loop and the commit.  a provides the
// argument records (the caller may read through them afterwards).
double replace_all(Args& a, int field, void (*store)(var* value, const Replacement& u));

// The passes the benchmarks time: each gives an error text or null.
using Ensure = const char* (*)();  // makes what a pass needs, untimed
using Writer = const char* (*)(double* seconds);
using Reader = const char* (*)(double* seconds, Checksum* sum);
const char* nothing_to_ensure();
// One pass of benchmark name, which writes rows rows to a table that ensure
// makes.
void run_writer(benchmark::State& state, const char* name, Ensure ensure, Writer write, int64_t rows);
// One pass of benchmark name, which reads a table that ensure makes; its
// checksum must be the generator's.
void run_reader(benchmark::State& state, const char* name, Ensure ensure, Reader read);

// Make the DBF table afresh, appending every row on a table opened
// exclusively; the seconds of the appends and the commit.  An error text,
// or null.
const char* driver_append(double* seconds);

// Build either table unless this run has built it already.
const char* ensure_driver_table();
const char* ensure_sqlite_table();

}  // namespace tables
