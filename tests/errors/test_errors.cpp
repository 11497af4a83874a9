// Error reporting: the table, report levels, message composition, the batch
// handler, the recursion guard and the language functions around errors.
#include <cstdio>
#include <string>

#include "runtime.hpp"
#include "switches.hpp"
#include "vltest.h"

using namespace vl;

using vltest::str;

class Errors : public vltest::VlTest {};

namespace {

struct Code {
  int code;
  const char* text;
  bool shown_normally;
};

// A sample across every group of the table, with its level's effect.
const Code kCodes[] = {
    {1, "record number out of range", true},   {101, "file open error", true},
    {201, "data type mismatch", true},          {309, "Syntax error in expression", true},
    {321, "command or filename not found", false}, {413, "database file (DBF) not opened ", true},
    {502, "too many function arguments", true}, {701, "index file already locked", true},
    {901, "(warning)", true},                   {902, "(warning)", false},
    {5000, "???", false},
};

}  // namespace

TEST_F(Errors, EveryCodeReportsItsTableTextAtItsLevel)
{
  for (const Code& c : kCodes) {
    reports().clear();
    EXPECT_EQ(rt_error(c.code, "detail"), ERROR_VAR);
    EXPECT_EQ(last_errno, c.code);
    ASSERT_EQ(reports().size(), c.shown_normally ? 1u : 0u) << c.code;
    if (c.shown_normally) {
      EXPECT_EQ(reports()[0].description, std::string(c.text) + ";detail");
    }
  }
}

TEST_F(Errors, DeveloperModeShowsTheWarningRowsAndErrstatOffOnlyCounts)
{
  vl_set_flag[0] = VL_LEVEL_DEVEL;
  rt_error(902, "division by zero");
  rt_error(555, "no row");
  rt_error(321, "never");
  ASSERT_EQ(reports().size(), 2u);
  EXPECT_EQ(reports()[0].description, "(warning);division by zero");
  EXPECT_EQ(reports()[1].description, "???;no row");
  errstat = 0;
  EXPECT_EQ(rt_error(201, "quiet"), ERROR_VAR);
  EXPECT_EQ(last_errno, 201);
  EXPECT_EQ(reports().size(), 2u);
}

TEST_F(Errors, SeveritiesAndInternalErrorsCarryTheirFields)
{
  io_error(103, "io");
  EXPECT_EQ(reports().back().severity, VL_SEV_IO);
  rt_error(103, "rt");
  EXPECT_EQ(reports().back().severity, VL_SEV_RUNTIME);
  static int subcode;
  static std::string subsystem;
  vln_error_handler = [](const VlnErrReport* r) {
    subcode = r->subcode;
    subsystem = r->subsystem;
  };
  int_error(416, "bad", "idxmod", 77);
  EXPECT_EQ(subcode, 77);
  EXPECT_EQ(subsystem, "idxmod");
  rt_error(416, "plain");
  EXPECT_EQ(subcode, 0);
  EXPECT_EQ(subsystem, "BASE");
}

TEST_F(Errors, LongLinesAreShortenedAndLineFeedsSplit)
{
  const std::string longline(100, 'x');
  rt_error(320, (longline + "\nsecond").c_str());
  const std::string want =
      "Illegal value;" + std::string(56, 'x') + " ... " + std::string(15, 'x') + ";second";
  EXPECT_EQ(reports().back().description, want);

  // A comma early enough (before the line count) splits the line instead.
  const std::string commas = "a," + std::string(80, 'y');
  rt_error(320, ("one;two;" + commas).c_str());
  EXPECT_EQ(reports().back().description,
            "Illegal value;one;two;a,;" + std::string(56, 'y') + " ... " +
                std::string(15, 'y'));
}

TEST_F(Errors, HeadingNamesTheSeverityCodeAndPlace)
{
  frame f;
  vln_fn_start(&f, "shop.prg", "invoice", 42, 0);
  static std::string heading;
  vln_error_handler = [](const VlnErrReport* r) {
    char buf[512];
    heading = vln_error_heading(r, buf, sizeof buf);
  };
  rt_error(201, "x");
  EXPECT_EQ(heading, "Run-time error 201 in INVOICE(42);data type mismatch;x");
  vl_set_flag[0] = VL_LEVEL_DEVEL;
  rt_error(902, "zero divide");
  EXPECT_EQ(heading, "Run-time error (Developer warning)  in INVOICE(42);(warning);zero divide");
  int_error(416, "y", "idx", 7);
  EXPECT_EQ(heading, "Internal error 416 in INVOICE(42);illegal internal value;y;idx (7)");
  vln_fn_end(&f, 'U');
}

TEST_F(Errors, ProcInfoErrorLevelAndProgramErrors)
{
  frame outer, hidden;
  vln_fn_start(&outer, "a.prg", "outer", 10, 0);
  vln_fn_start(&hidden, "a.prg", "noline", -1, 0);
  vltest::expect_rows({
      {"{PROCNAME(), PROCNAME(1), PROCLINE(1), PROCFILE(), PROCNAME(5)}", "{ROWS, OUTER, 10, rows, }"},
      {"ERRORLEVEL()", "ERROR"},
      {"{ERRORLEVEL(3), ERRORLEVEL(0)}", "{0, 3}"},
      {"VLNPRGERR(100008, 'APPEND', 'a.dbf')", "#322 .T."},
  });
  vln_fn_end(&hidden, 'U');
  vln_fn_end(&outer, 'U');
  vl_call(_bb_vlnprgerr, {set_nv(100008, 0), set_cv("APPEND"), set_cv("a.dbf")});
  EXPECT_EQ(reports().back().description,
            "No database opened;APPEND:;cannot open source database 'a.dbf'");
}

// ---- The batch handler and the program's end, in child processes. ----

namespace {
void qout_to_stderr(const char* text) { std::fprintf(stderr, "%s\n", text); }

struct Ending {
  const char* what;
  void (*run)();
  int status;
  const char* output;
};

const Ending kEndings[] = {
    {"the batch handler prints the report and ends with status 1",
     [] {
       frame f;
       vln_fn_start(&f, "m.prg", "main", 3, 0);
       rt_error(201, "stop here");
     },
     1, "Run-time error 201 in MAIN\\(3\\);data type mismatch;stop here"},
    {"a developer warning lets the program go on",
     [] {
       vl_set_flag[0] = VL_LEVEL_DEVEL;
       rt_error(902, "just a warning");
       std::fprintf(stderr, "still running\n");
       std::exit(7);
     },
     7, "Developer warning.*just a warning\n(.|\n)*still running"},
    {"a fatal error ends the program",
     [] { ftl_error(204, "field not allowed as parameter to function"); }, 1, "Fatal error 204"},
    {"a BREAK without a sequence is reported", [] { vl_break_error(); }, 1,
     "BREAK unexpected;Break without a BEGIN SEQUENCE"},
    {"the fifth nested error prints the chain on standard output and ends",
     [] {
       std::fclose(stdin);
       dup2(2, 1);
       vln_error_handler = [](const VlnErrReport*) { rt_error(201, "again"); };
       rt_error(201, "first");
     },
     1, "FATAL ERROR in module(.|\n)*Press return"},
    {"a sixth nested error exits at once",
     [] {
       dup2(2, 1);
       vln_waitkey_hook = [] { return static_cast<int>(VINT(rt_error(201, "in wait"))); };
       vln_error_handler = [](const VlnErrReport*) { rt_error(201, "again"); };
       rt_error(201, "first");
     },
     255, ""},
};
}  // namespace

TEST(ErrorsDeath, HowAProgramEnds)
{
  for (const Ending& e : kEndings) {
    EXPECT_EXIT(
        {
          vln_qout_hook = qout_to_stderr;
          e.run();
        },
        ::testing::ExitedWithCode(e.status), e.output)
        << e.what;
  }
}
