// fuzz_idx.cpp -- feeds arbitrary index files to the order layer's open,
// seek and walk paths and to the independent checker, over one fixed
// table.
//
// An input is
//
//   OFFSET  SIZE  MEANING
//   0       1     mode bits: 1 table and index exclusive, 2 a report BREAKs
//                 (as an error block that breaks would), 4 soft seeks,
//                 8 the index is opened a second time in the same area,
//                 16 ORDVERIFY() on the open order
//   1       ...   the index file, t.idx
//
// The table t.dbf is made once: 40 records of NAME C10 (mixed case, with
// repeats), NUM N8.2, DAY D and FLAG L.  Each input is checked by
// vlnIdxVerify, then opened with DBUSEAREA and ORDLISTADD, walked forward
// and backward in the order reading every field, sought with values of
// every key type, and closed.  A BREAK lands after the statement it left.
// An index the checker finds sound must walk to its end within the table's
// record count; after each input nothing of it may remain (see fuzzkit).
//
// Only side-effect-free functions can be called by name (the key and FOR
// expressions come from the input).
//
// Run with FUZZ_IDX_SEEDS=DIR to write the seed corpus instead: real
// indexes of the table (C, N, D and L keys, UNIQUE, DESCEND with a FOR
// condition, and one with a free sector), each with a mode byte of 0.
// With FUZZ_IDX_SHOW=1 the checker's problems go to standard error.
#include <sys/stat.h>

#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "dbfidx.h"
#include "evaluator.h"
#include "facade.h"
#include "fuzzkit.hpp"
#include "idxcheck.hpp"

namespace {

using fuzzkit::truth;

constexpr int kExclusive = 1, kBreak = 2, kSoft = 4, kTwice = 8, kVerify = 16;
constexpr int kRecords = 40;
constexpr int kFlagged = 16;     // records 1..16 have FLAG .T. in the end

std::string dir;
frame* top = nullptr;

template <class Statement>
void statement(Statement&& body)
{
  fuzzkit::statement(top, body);
}

void run(const std::string& text) { exp_eval(text.c_str()); }

// The fixed table.  between, if given, runs after the appends and before
// the records above kFlagged lose their FLAG, with the table open
// exclusively.
template <class Between>
void make_table(Between&& between)
{
  run("DBCREATE('t', {{'NAME', 'C', 10, 0}, {'NUM', 'N', 8, 2}, {'DAY', 'D', 8, 0}, {'FLAG', 'L', 1, 0}})");
  run("DBUSEAREA(.T., , 't', , .F.)");
  for (int i = 1; i <= kRecords; ++i)
    run("DBAPPEND(), FIELDPUT(1, '" + std::string(i % 2 ? "N" : "n") + std::to_string(i * 7 % 25) +
        "'), FIELDPUT(2, " + std::to_string(i) + ".25), FIELDPUT(3, STOD('2020" +
        std::to_string(1001 + i * 13 % 40) + "')), FIELDPUT(4, .T.)");
  between();
  for (int i = kFlagged + 1; i <= kRecords; ++i) run("DBGOTO(" + std::to_string(i) + "), FIELDPUT(4, .F.)");
  run("DBCLOSEALL()");
}

std::string read_file(const char* name)
{
  std::ifstream in(name, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// Write the seed corpus into out: each seed a mode byte 0 and an index.
void write_seeds(const std::string& out)
{
  const std::pair<const char*, const char*> orders[] = {
      {"c_name", "ORDCREATE('c_name', , 'NAME')"},
      {"n_num", "ORDCREATE('n_num', , 'NUM')"},
      {"d_day", "ORDCREATE('d_day', , 'DAY')"},
      {"l_flag", "ORDCREATE('l_flag', , 'FLAG')"},
      {"unique", "ORDCREATE('unique', , 'UPPER(NAME)', , .T.)"},
      {"descend_for", "ORDCONDSET('!FLAG', {|| !FLAG}, , , , , , , , , .T.), ORDCREATE('descend_for', , 'DAY')"},
  };
  // The free sector: the right-hand leaf of an order on NUM FOR FLAG
  // empties when the records above kFlagged lose their FLAG.
  make_table([] { run("ORDCONDSET('FLAG', {|| FLAG}), ORDCREATE('free', , 'NUM')"); });
  run("DBUSEAREA(.T., , 't', , .F.)");
  for (const auto& o : orders) run(o.second);
  run("DBCLOSEALL()");
  mkdir(out.c_str(), 0755);
  for (const char* name : {"c_name", "n_num", "d_day", "l_flag", "unique", "descend_for", "free"}) {
    std::ofstream(out + "/" + name, std::ios::binary) << '\0' << read_file((std::string(name) + ".idx").c_str());
  }
}

void start()
{
  static bool started = false;
  if (std::exchange(started, true)) return;
  vln_start(0, nullptr);
  dir = fuzzkit::scratch_dir("fuzzidx");
  atexit([] { system(("rm -rf '" + dir + "'").c_str()); });
  if (const char* seeds = getenv("FUZZ_IDX_SEEDS")) {
    write_seeds(seeds);
    exit(0);
  }
  make_table([] {});
  fuzzkit::restrict_functions({"dbfidxnew"});
}

// Read every field of the current record.
void read_record()
{
  fuzzkit::read_fields();
}

void skip(int32_t n)
{
  var* count = set_Iv(n);
  _bb_dbskip(1, &count);
}

// Walk from one end to the other in steps of step, reading as it goes:
// whether the walk ended within the record count and two more steps.
bool walk(int32_t step)
{
  for (int32_t i = 0; i < kRecords + 2; ++i) {
    const int32_t mark = tmpvar_cnt;
    bool end = false;
    statement(read_record);
    statement([&] {
      skip(step);
      end = truth(step > 0 ? _bb_eof(0, nullptr) : _bb_bof(0, nullptr));
    });
    del_tmpvars(mark);
    if (end) return true;
  }
  return false;
}

// Seek a value of every key type, softly or not, and move around each hit.
void seeks(bool soft)
{
  var* values[] = {set_cv("N1"), set_cv("n14"), set_cv("ZZ"), set_cv(""), set_nv(12.25, 2), set_nv(-1, 0),
                   set_dv(737700), TRUE_VAR, FALSE_VAR};
  for (var* v : values) {
    statement([&] {
      var* args[] = {v, soft ? TRUE_VAR : FALSE_VAR};
      _bb_dbseek(2, args);
    });
    statement(read_record);
    statement([] { skip(1), skip(-2); });
  }
}

void use(int mode)
{
  var* args[] = {TRUE_VAR, NIL_VAR, set_cv("t"), NIL_VAR, mode & kExclusive ? FALSE_VAR : TRUE_VAR, FALSE_VAR};
  _bb_dbusearea(6, args);
}

void add_index()
{
  var* name = set_cv("t");
  _bb_ordlistadd(1, &name);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
  start();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  if (size < 1) return 0;
  const int mode = data[0];
  fuzzkit::write_file("t.idx", data + 1, size - 1);
  vln_error_handler = mode & kBreak ? fuzzkit::break_error : fuzzkit::ignore_error;

  frame f;
  vln_fn_start(&f, "fuzz", "fuzz", 1, 0);
  top = &f;
  std::vector<std::string> problems;
  const int found = vl::vlnIdxVerify("t", "t", &problems);
  if (getenv("FUZZ_IDX_SHOW"))
    for (const std::string& p : problems) std::fprintf(stderr, "fuzz_idx: %s\n", p.c_str());
  statement([&] { use(mode); });
  if (truth(_bb_used(0, nullptr))) {
    statement(add_index);
    if (mode & kTwice) statement(add_index);
    statement([] { _bb_dbgotop(0, nullptr); });
    const bool ended = walk(1);
    if (found == 0 && !ended && !(mode & kBreak)) {
      std::fprintf(stderr, "fuzz_idx: the walk of an index the checker finds sound did not end\n");
      abort();
    }
    statement([] { _bb_dbgobottom(0, nullptr); });
    walk(-1);
    seeks(mode & kSoft);
    if (mode & kVerify) statement([] { _bb_ordverify(0, nullptr); });
  }
  statement([] { _bb_dbcloseall(0, nullptr); });
  vln_fn_end(&f, 'U');
  del_tmpvars(0);
  alreadyin = 0;
  fuzzkit::check_nothing_left("fuzz_idx", dir);
  return 0;
}
