// The console: ? and ?? (QOUT, QQOUT) and the library's lines through it,
// RELEASE of named variables and of the caller's PRIVATEs by skeleton, and
// the prompt's error block that reports and BREAKs instead of ending.
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "console.hpp"
#include "runtime.hpp"
#include "vltest.h"

namespace {

using vl::prog::console_end_line;
using vl::prog::console_errors;
using vl::prog::console_errors_return;
using vl::prog::console_line;
using vl::prog::console_start;

extern "C" var* _bb_qout(int, var**);
extern "C" var* _bb_qqout(int, var**);
extern "C" var* _bb___mrelease(int, var**);
extern "C" var* _bb___mrelall(int, var**);

// Standard output of the test's body, read back from a file.
class CapturedStdout {
 public:
  explicit CapturedStdout(const vltest::TempDir& dir) : path_(dir / "stdout")
  {
    std::fflush(stdout);
    saved_ = dup(STDOUT_FILENO);
    FILE* f = std::fopen(path_.c_str(), "w");
    dup2(fileno(f), STDOUT_FILENO);
    std::fclose(f);
  }
  ~CapturedStdout() { restore(); }
  std::string text()
  {
    restore();
    FILE* f = std::fopen(path_.c_str(), "rb");
    std::string s;
    for (int c; (c = std::fgetc(f)) != EOF;) s += static_cast<char>(c);
    std::fclose(f);
    return s;
  }

 private:
  void restore()
  {
    if (saved_ < 0) return;
    std::fflush(stdout);
    dup2(saved_, STDOUT_FILENO);
    close(saved_);
    saved_ = -1;
  }
  std::string path_;
  int saved_ = -1;
};

class Console : public vltest::VlTest {
 protected:
  vltest::TempDir dir_;
};

TEST_F(Console, QoutStartsALineQqoutWritesWhereTheCursorIs)
{
  const std::string big(5000, 'b');
  const struct {
    bool newline;
    std::vector<var*> args;
    std::string want;
  } cases[] = {
      {true, {}, "\n"},
      {true, {set_nv(7, 0), set_cv("a"), TRUE_VAR, NIL_VAR}, "\n         7 a .T. NIL"},
      {false, {set_cv("x"), set_cv("y")}, "x y"},
      {false, {set_Cvar(cre_tmpvar(), "a\0b", 3)}, std::string("a\0b", 3)},
      {true, {set_cv(big.c_str()), set_nv(1.5, 1)}, "\n" + big + "          1.5"},
      {true, {cre_arr(cre_tmpvar(), 1, VL_ARR_NIL, nullptr)}, "\n{...}"},
  };
  for (const auto& c : cases) {
    CapturedStdout out(dir_);
    var* argv[8];
    int argc = 0;
    for (var* a : c.args) argv[argc++] = a;
    (c.newline ? _bb_qout : _bb_qqout)(argc, argv);
    EXPECT_EQ(out.text(), c.want);
  }
}

// The library's lines (LIST, error reports) go through the same cursor, so
// they interleave with ? and ?? as written; the line left open is ended
// once, at the end.
TEST_F(Console, LibraryLinesFollowTheCursor)
{
  CapturedStdout out(dir_);
  console_start();
  var* a = set_cv("head");
  _bb_qout(1, &a);
  vln_qout_hook("row 1");
  _bb_qqout(1, &a);
  console_line("row 2");
  console_end_line();
  console_end_line();
  EXPECT_EQ(out.text(), "\nhead\nrow 1head\nrow 2\n");
}

// A PRIVATE of the given name at the current depth, holding n.
void make_private(const char* name, double n)
{
  const int32_t i = vln_declare(vln_add_var(name));
  set_nvar(vlnGetVarForWrite(i), n, 0);
}

bool defined(const char* name)
{
  const int32_t i = locate_var(name);
  return i >= 0 && mv_names[i].v->Mode != 'U';
}

var* release_all(const char* skel, bool like)
{
  var* argv[] = {set_cv(skel), like ? TRUE_VAR : FALSE_VAR};
  return _bb___mrelall(2, argv);
}

TEST_F(Console, ReleaseByNameAndBySkeleton)
{
  const struct {
    const char* skel;
    bool like;
    const char* kept;  // of a1, a2, b1, ab: those still defined, as letters
  } cases[] = {
      {"*", true, ""},     {"a*", true, "b1"},     {"a*", false, "a1 a2 ab"},
      {"?1", true, "a2 ab"}, {"A?", true, "b1"}, {"b1  ", false, "b1"},
  };
  const char* names[] = {"a1", "a2", "b1", "ab"};
  for (const auto& c : cases) {
    frame f;
    vln_fn_start(&f, "t.prg", "t", 1, 0);
    for (const char* n : names) make_private(n, 1);
    release_all(c.skel, c.like);
    std::string kept;
    for (const char* n : names)
      if (defined(n)) kept += std::string(kept.empty() ? "" : " ") + n;
    EXPECT_EQ(kept, c.kept) << c.skel << (c.like ? " LIKE" : " EXCEPT");
    vln_fn_end(&f, 'U');
  }
}

// RELEASE ALL leaves the callers' PRIVATEs and the PUBLICs alone; RELEASE
// by name reaches whatever the name now shows.
TEST_F(Console, ReleaseAllTakesOnlyTheCallersOwn)
{
  frame outer, inner;
  vln_fn_start(&outer, "t.prg", "outer", 1, 0);
  make_private("mine", 1);
  set_nvar(vlnGetVarForWrite(vln_public(vln_add_var("pub"))), 2, 0);
  vln_fn_start(&inner, "t.prg", "inner", 1, 0);
  make_private("theirs", 3);
  release_all("*", true);
  EXPECT_FALSE(defined("theirs"));
  EXPECT_TRUE(defined("mine"));
  EXPECT_TRUE(defined("pub"));
  var* argv[] = {set_cv("MINE"), set_nv(1, 0), set_cv("nosuch")};
  _bb___mrelease(3, argv);
  EXPECT_FALSE(defined("mine"));
  vln_fn_end(&inner, 'U');
  vln_fn_end(&outer, 'U');
}

var* failing(int argc, var** argv)
{
  VL_BEGIN("t.prg", "failing");
  var* got = VL_LOCAL('U');
  VL_BEGIN_SEQUENCE
    VL_STMT(u_add_u(set_nv(1, 0), set_cv("a"), 0));
    VL_STMT(set_cvar(got, "went on"));
  VL_RECOVER(got)
  VL_END_SEQUENCE;
  VL_RETURN(got);
}

// At the prompt an error reports and BREAKs to the statement's guard; the
// run goes on.
TEST_F(Console, PromptErrorsReportAndBreak)
{
  vln_error_handler = vln_default_error_handler;  // through the error block
  CapturedStdout out(dir_);
  console_errors_return();
  const int before = console_errors();
  var* got = vl_call(failing, {});
  EXPECT_EQ(got->Type, 'U');
  EXPECT_EQ(console_errors(), before + 1);
  EXPECT_EQ(out.text().rfind("\nRun-time error 201 in FAILING(", 0), 0u);
}

}  // namespace
