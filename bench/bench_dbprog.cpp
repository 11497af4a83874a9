// A database program run by the program session against the same work
// written in C against the library, in the same run:
//
//   DBCREATE a table of two fields, USE it, APPEND BLANK and REPLACE both
//   fields 100,000 times, INDEX ON the number, SEEK every number once.
//
// The program is parsed and loaded once; each iteration runs its main
// procedure through Session::run_main, so a row measures the commands as
// the machine runs them, not the parser.  The C row calls the library the
// way generated code does: DBAPPEND, FIELDPUT, ORDCREATE with a compiled
// key block, DBSEEK, each through vl_call.  Each row reports ns_per_rec,
// the time of one record's append and seek.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "parse.hpp"
#include "session.hpp"
#include "vl.h"

namespace {

constexpr int kRecords = 100'000;

constexpr const char* kProgram =
    "LOCAL i\n"
    "DBCREATE('dbprog', {{'ID', 'N', 8, 0}, {'NAME', 'C', 10, 0}})\n"
    "USE dbprog EXCLUSIVE\n"
    "FOR i := 1 TO 100000\n"
    "   APPEND BLANK\n"
    "   REPLACE id WITH i, name WITH 'record'\n"
    "NEXT\n"
    "INDEX ON id TO dbprog\n"
    "FOR i := 1 TO 100000\n"
    "   SEEK i\n"
    "   IF !FOUND()\n"
    "      ERRORLEVEL(9)\n"  // run_main's status
    "   ENDIF\n"
    "NEXT\n"
    "CLOSE ALL\n";

// The benchmark's tables go to a directory of their own, removed at exit.
struct WorkDir {
  std::filesystem::path path;
  WorkDir()
  {
    char tmpl[] = "/tmp/bench_dbprogXXXXXX";
    path = mkdtemp(tmpl);
    std::filesystem::current_path(path);
  }
  ~WorkDir() { std::filesystem::remove_all(path); }
};

void per_record(benchmark::State& state)
{
  state.counters["ns_per_rec"] = benchmark::Counter(
      static_cast<double>(kRecords) * static_cast<double>(state.iterations()),
      benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void BM_Program(benchmark::State& state)
{
  WorkDir dir;
  vl::prog::Session session;
  std::vector<vl::prog::Unit> units(1);
  vl::prog::Diagnostic diag;
  if (!vl::prog::parse_unit("dbprog.prg", 0, kProgram, units[0], diag) ||
      !session.load(units, diag)) {
    state.SkipWithError(vl::prog::format_diagnostic(diag).c_str());
    return;
  }
  for (auto _ : state)
    if (session.run_main({}) != 0) state.SkipWithError("a SEEK missed, or the program failed");
  per_record(state);
}
BENCHMARK(BM_Program)->Name("Program")->Unit(benchmark::kMillisecond);

// The key block of INDEX ON id: {|| id}, the first field.
var* id_key(int /*argc*/, var** /*argv*/, var** /*detached*/)
{
  return vl_call(_bb_fieldget, {set_nv(1, 0)});
}

// {{"ID", "N", 8, 0}, {"NAME", "C", 10, 0}}
var* structure()
{
  var* id = cre_arr(cre_tmpvar(), 4, VL_ARR_LIST, {set_cv("ID"), set_cv("N"), set_nv(8, 0), set_nv(0, 0)});
  var* name =
      cre_arr(cre_tmpvar(), 4, VL_ARR_LIST, {set_cv("NAME"), set_cv("C"), set_nv(10, 0), set_nv(0, 0)});
  return cre_arr(cre_tmpvar(), 2, VL_ARR_LIST, {id, name});
}

// The same work as kProgram, written as generated code writes it.
var* db_work(int argc, var** argv)
{
  VL_BEGIN("bench_dbprog", "db_work");
  var* i = VL_LOCAL('U');
  var* key = VL_LOCAL('U');
  var* n = VL_LOCAL('U');
  var* missed = VL_LOCAL('U');
  VL_STMT(set_nvar(n, kRecords, 0));
  VL_STMT(set_lvar(missed, 0));
  VL_STMT(vl_call(_bb_dbcreate, {set_cv("dbprog"), structure()}));
  VL_STMT(vl_call(_bb_dbusearea, {FALSE_VAR, NIL_VAR, set_cv("dbprog"), NIL_VAR, FALSE_VAR}));
  VL_STMT(set_nvar(i, 1, 0));
  while (if_u(u_leq_u(i, n))) {
    VL_STMT(vl_call(_bb_dbappend, {}));
    VL_STMT(vl_call(_bb_fieldput, {set_nv(1, 0), i}));
    VL_STMT(vl_call(_bb_fieldput, {set_nv(2, 0), set_cv("record")}));
    VL_STMT(autoinc_u(i));
  }
  VL_STMT(set_bvar(key, reinterpret_cast<AnyFn>(id_key), 0, static_cast<var*>(nullptr)));
  VL_STMT(vl_call(_bb_ordcreate, {set_cv("dbprog"), NIL_VAR, set_cv("id"), key}));
  VL_STMT(set_nvar(i, 1, 0));
  while (if_u(u_leq_u(i, n))) {
    VL_STMT(vl_call(_bb_dbseek, {i}));
    if (!if_u(vl_call(_bb_found, {}))) VL_STMT(set_lvar(missed, 1));
    VL_STMT(autoinc_u(i));
  }
  VL_STMT(vl_call(_bb_dbcloseall, {}));
  VL_RETURN(missed);
}

void BM_C(benchmark::State& state)
{
  WorkDir dir;
  const int32_t mark = tmpvar_cnt;
  for (auto _ : state) {
    if (vlnLogVar(vl_call(db_work, {}))) state.SkipWithError("a SEEK missed");
    del_tmpvars(mark);
  }
  per_record(state);
}
BENCHMARK(BM_C)->Name("C")->Unit(benchmark::kMillisecond);

}  // namespace
