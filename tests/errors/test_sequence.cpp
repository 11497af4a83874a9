// Error objects, the error block and BEGIN SEQUENCE: an error three calls
// below a sequence unwinds to its RECOVER when the block BREAKs, and the
// program goes on behind the failing operator when the block returns.
#include <cstdio>
#include <string>

#include "errclass.h"
#include "frame.hpp"
#include "objects.h"
#include "operators.h"
#include "runtime.hpp"
#include "vlgen.h"
#include "vltest.h"

using namespace vl;

namespace {

using vltest::str;

// What the functions below saw, for the test to check.
struct Trace {
  bool after_failure = false;  // the statement behind the failing one ran
  bool recovered = false;
  int32_t depth_at_begin = 0, depth_in_recover = 0;
  int32_t varstack_at_begin = 0, varstack_in_recover = 0;
  int32_t floor_at_begin = 0, tmp_after_sequence = 0;
  const frame* frame_at_begin = nullptr;
  const frame* frame_in_recover = nullptr;
  bool private_seen_inside = false;
  int block_calls = 0;
} g;
int32_t g_private = -1;

// The failing operation: 1 + "a".
var* inner(int argc, var** argv)
{
  VL_BEGIN("seq.prg", "inner");
  var* n = VL_LOCAL('U');
  VL_STMT(set_nvar(n, 1, 0); u_add_u(n, set_cv("a"), 0));
  VL_STMT(g.after_failure = true);
  VL_RETURN(n);
}

var* middle(int argc, var** argv)
{
  VL_BEGIN("seq.prg", "middle");
  VL_STMT(vln_declare(g_private); set_nvar(vlnGetVarForWrite(g_private), 7, 0));
  VL_STMT(g.private_seen_inside = vlnGetVar(g_private)->Type == 'N');
  VL_STMT(vl_call(inner, {}));
  VL_RETURN_NIL();
}

var* outer(int argc, var** argv)
{
  VL_BEGIN("seq.prg", "outer");
  var* e = VL_LOCAL('U');
  g.depth_at_begin = glob_depth;
  g.varstack_at_begin = cur_var_stack;
  g.frame_at_begin = old_fn_stack;
  g.floor_at_begin = vl_frame_.TmvNp;
  VL_BEGIN_SEQUENCE
    VL_STMT(vl_call(middle, {}));
  VL_RECOVER(e)
    g.recovered = true;
    g.depth_in_recover = glob_depth;
    g.varstack_in_recover = cur_var_stack;
    g.frame_in_recover = old_fn_stack;
  VL_END_SEQUENCE;
  g.tmp_after_sequence = tmpvar_cnt;
  VL_RETURN(e);
}

// {|e| BREAK(e)}
var* breaking_block(int argc, var** argv, var**)
{
  ++g.block_calls;
  return _bb_break(argc, argv);
}

// {|e| NIL}: counts and returns.
var* returning_block(int argc, var** argv, var**)
{
  ++g.block_calls;
  EXPECT_EQ(argc, 1);
  EXPECT_EQ(vlnIntVar(vlnNoIVar(argv[0], "gencode", 0, nullptr)), 201);
  return NIL_VAR;
}

// RETURN from inside a sequence: the anchor goes back to the caller's.
var* early_return(int argc, var** argv)
{
  VL_BEGIN("seq.prg", "early");
  VL_BEGIN_SEQUENCE
    VL_SEQ_RETURN(set_nv(3, 0));
  VL_RECOVER(nullptr)
  VL_END_SEQUENCE;
  VL_RETURN_NIL();
}

class Sequence : public vltest::VlTest {
 protected:
  void SetUp() override
  {
    VlTest::SetUp();
    vln_error_handler = vln_default_error_handler;  // the real object path
    g = Trace{};
    if (g_private < 0) g_private = vln_add_var("seqpriv");
  }
  void install(BlockFn fn)
  {
    var* block = set_bvar(cre_tmpvar(), reinterpret_cast<AnyFn>(fn), 1, static_cast<var*>(nullptr));
    _bb_errorblock(1, &block);
  }
};

TEST_F(Sequence, BreakFromTheErrorBlockReachesRecoverWithTheObject)
{
  install(breaking_block);
  const int32_t alreadyin_before = alreadyin, varstack_before = cur_var_stack;
  var* e = vl_call(outer, {});
  EXPECT_TRUE(g.recovered);
  EXPECT_FALSE(g.after_failure);
  EXPECT_TRUE(g.private_seen_inside);
  EXPECT_EQ(g.block_calls, 1);
  ASSERT_EQ(e->Type, 'O');
  EXPECT_EQ(vlnIntVar(vlnNoIVar(e, "gencode", 0, nullptr)), 201);
  EXPECT_EQ(vlnIntVar(vlnNoIVar(e, "severity", 0, nullptr)), VL_SEV_RUNTIME);
  EXPECT_EQ(str(vlnNoIVar(e, "description", 0, nullptr)),
            "data type mismatch;only dates/numerics can be added to numerics");
  EXPECT_EQ(str(vlnNoIVar(e, "subsystem", 0, nullptr)), "BASE");
  var* args = vlnNoIVar(e, "args", 0, nullptr);
  ASSERT_EQ(args->Type, 'A');
  EXPECT_EQ(VARR(args)->A_size, 1u);
  // Frames, PRIVATEs, the temporary stack and the nesting count as they were.
  EXPECT_EQ(g.frame_in_recover, g.frame_at_begin);
  EXPECT_EQ(g.depth_in_recover, g.depth_at_begin);
  EXPECT_EQ(g.varstack_in_recover, g.varstack_at_begin);
  EXPECT_EQ(g.tmp_after_sequence, g.floor_at_begin);
  EXPECT_EQ(cur_var_stack, varstack_before);
  EXPECT_EQ(alreadyin, alreadyin_before);
  EXPECT_EQ(glob_sequencebuf, nullptr);
}

TEST_F(Sequence, AReturningBlockLetsTheProgramGoOn)
{
  install(returning_block);
  var* n = set_nv(1, 0);
  EXPECT_EQ(u_add_u(n, set_cv("a"), 0), ERROR_VAR);
  EXPECT_EQ(g.block_calls, 1);
  vl_call(outer, {});
  EXPECT_TRUE(g.after_failure);
  EXPECT_FALSE(g.recovered);
  EXPECT_EQ(g.block_calls, 2);
}

TEST_F(Sequence, BreakWithoutValueAndIsBegSeq)
{
  volatile bool inside = false;
  bool outside = true;
  var* got = cre_tmpvar();
  set_nvar(got, 1, 0);
  {
    int argc = 0;
    var** argv = nullptr;
    VL_BEGIN("seq.prg", "nobreakval");
    outside = _bb_isbegseq(0, nullptr) == TRUE_VAR;
    VL_BEGIN_SEQUENCE
      inside = _bb_isbegseq(0, nullptr) == TRUE_VAR;
      _bb_break(0, nullptr);
    VL_RECOVER(got)
    VL_END_SEQUENCE;
    (void)argv;
    vln_fn_end(&vl_frame_, 'U');
  }
  EXPECT_TRUE(inside);
  EXPECT_FALSE(outside);
  EXPECT_EQ(got->Type, 'U');
}

std::string g_qout;
void capture_qout(const char* text) { g_qout = text; }

TEST_F(Sequence, DefaultBlockNamesTheFileAndKeepsTheLastObject)
{
  var* e = _bb_errornew(0, nullptr);
  vlnNoIVar(e, "gencode", 0, set_nv(902, 0));
  vlnNoIVar(e, "severity", 0, set_nv(VL_SEV_FATAL, 0));
  vlnNoIVar(e, "description", 0, set_cv("late"));
  vlnNoIVar(e, "filename", 0, set_cv("report.prg"));
  void (*saved)(const char*) = vln_qout_hook;
  vln_qout_hook = capture_qout;
  _bb__deferror(1, &e);
  vln_qout_hook = saved;
  EXPECT_EQ(g_qout, "Fatal error (Developer warning)  in report.prg;late");
  var* last = vlnGetVar(locate_var("vl2yy_last"));
  ASSERT_EQ(last->Type, 'O');
  EXPECT_EQ(last->Value.w1.arr, e->Value.w1.arr);
}

TEST_F(Sequence, ReturnInsideASequenceRestoresTheAnchor)
{
  EXPECT_EQ(vlnNumVar(vl_call(early_return, {})), 3.0);
  EXPECT_EQ(glob_sequencebuf, nullptr);
}

TEST_F(Sequence, ErrorBlockKeepsItsBlockForANonBlockAndErrorNewIsTyped)
{
  var* five = set_nv(5, 0);
  var* before = _bb_errorblock(0, nullptr);
  var* r = _bb_errorblock(1, &five);
  EXPECT_EQ(r->Type, before->Type);
  EXPECT_EQ(r->Value.w2.fn, before->Value.w2.fn);
  var* e = _bb_errornew(0, nullptr);
  var* cls = _bb_isobjclass(1, &e);
  ASSERT_EQ(VARR(cls)->A_size, 1u);
  EXPECT_EQ(str(VARR(cls)->A_vec[0]), "ERROR");
  vlnNoIVar(e, "gencode", 0, set_nv(5, 0));
  var* code = vlnNoIVar(e, "gencode", 0, nullptr);
  EXPECT_EQ(code->Type, 'I');
  EXPECT_EQ(vlnIntVar(code), 5);
  EXPECT_EQ(_bb_errsys(0, nullptr), TRUE_VAR);
}

// The vl tool reports an error in expression text through the batch handler.
TEST(SequenceTool, ErrorInExpressionText)
{
  FILE* p = popen((std::string(VL_BINARY_DIR) + "/vl -e '1 + \"a\"' 2>&1").c_str(), "r");
  ASSERT_NE(p, nullptr);
  std::string out;
  char buf[256];
  while (std::fgets(buf, sizeof buf, p)) out += buf;
  pclose(p);
  EXPECT_EQ(out, "Run-time error 201 in VL(1);data type mismatch;"
                 "only dates/numerics can be added to numerics\n");
}

}  // namespace
