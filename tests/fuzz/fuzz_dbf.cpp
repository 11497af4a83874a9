// fuzz_dbf.cpp -- feeds arbitrary table and memo files to the DBF driver's
// open and read paths.
//
// An input is
//
//   OFFSET  SIZE  MEANING
//   0       1     mode bits: 1 read-only, 2 exclusive, 4 SET DELETED ON,
//                 8 a report BREAKs (as an error block that breaks would),
//                 16 the table is opened a second time, in another area
//   1       2     n, the length of the table file, little-endian (cut to
//                 what the input holds)
//   3       n     the table file, t.dbf
//   3+n     ...   the memo file, t.dbt; none when this part is empty
//
// Each input is written to a scratch directory, opened with DBUSEAREA,
// walked forward and backward with DBSKIP reading every field of every
// record and turning it into text as ? does, and closed.  A BREAK lands after the statement it left, as a
// BEGIN SEQUENCE around each statement would.  After each input nothing of
// it may remain: no work area, no open descriptor, no blocked break
// signal; a remainder aborts, so that libFuzzer keeps the input.
#include <cstdint>
#include <string>
#include <utility>

#include "dbfidx.h"
#include "facade.h"
#include "fuzzkit.hpp"
#include "switches.hpp"

namespace {

using fuzzkit::truth;

constexpr int kReadOnly = 1, kExclusive = 2, kDeleted = 4, kBreak = 8, kTwice = 16;
constexpr size_t kPrefix = 3;

std::string dir;  // the scratch directory, the current directory from start()
frame* top = nullptr;  // the frame of the input's statements

void start()
{
  static bool started = false;
  if (std::exchange(started, true)) return;
  vln_start(0, nullptr);
  dir = fuzzkit::scratch_dir("fuzzdbf");
  atexit([] { unlink("t.dbf"), unlink("t.dbt"), rmdir(dir.c_str()); });
}

template <class Statement>
void statement(Statement&& body)
{
  fuzzkit::statement(top, body);
}

// Read every field of the current record and its delete flag.
void read_record()
{
  fuzzkit::read_fields();
  _bb_deleted(0, nullptr);
}

// Walk from one end to the other in steps of step, reading as it goes.  A
// walk ends within the record count and two more steps; one that does not
// is a hang, unless reports BREAK (a BREAK out of every SKIP moves nothing).
void walk(int32_t step, bool breaking)
{
  const int32_t most = vlnIntVar(_bb_lastrec(0, nullptr)) + 2;
  for (int32_t i = 0; i < most; ++i) {
    const int32_t mark = tmpvar_cnt;
    bool end = false;
    statement(read_record);
    statement([&] {
      var* count = set_Iv(step);
      _bb_dbskip(1, &count);
      end = truth(step > 0 ? _bb_eof(0, nullptr) : _bb_bof(0, nullptr));
    });
    del_tmpvars(mark);
    if (end) return;
  }
  if (!breaking) {
    std::fprintf(stderr, "fuzz_dbf: a walk by %d did not end\n", step);
    abort();
  }
}

void use(int mode)
{
  var* args[] = {TRUE_VAR, NIL_VAR, set_Cvar(cre_tmpvar(), "t", -1), NIL_VAR,
                 mode & kExclusive ? FALSE_VAR : TRUE_VAR, mode & kReadOnly ? TRUE_VAR : FALSE_VAR};
  _bb_dbusearea(6, args);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  start();
  if (size < kPrefix) return 0;
  const int mode = data[0];
  size_t n = size_t(data[1] | data[2] << 8);
  if (n > size - kPrefix) n = size - kPrefix;
  unlink("t.dbt");
  fuzzkit::write_file("t.dbf", data + kPrefix, n);
  if (size > kPrefix + n) fuzzkit::write_file("t.dbt", data + kPrefix + n, size - kPrefix - n);
  vln_error_handler = mode & kBreak ? fuzzkit::break_error : fuzzkit::ignore_error;
  vl::flags[VL_FLAG_DELETED] = mode & kDeleted ? 1 : 0;

  frame f;
  vln_fn_start(&f, "fuzz", "fuzz", 1, 0);
  top = &f;
  statement([&] { use(mode); });
  if (mode & kTwice) statement([&] { use(mode); });
  if (truth(_bb_used(0, nullptr))) {
    statement([] { _bb_dbgotop(0, nullptr); });
    walk(1, mode & kBreak);
    statement([] { _bb_dbgobottom(0, nullptr); });
    walk(-1, mode & kBreak);
  }
  statement([] { _bb_dbcloseall(0, nullptr); });
  vln_fn_end(&f, 'U');
  del_tmpvars(0);
  alreadyin = 0;

  fuzzkit::check_nothing_left("fuzz_dbf", dir);
  return 0;
}
