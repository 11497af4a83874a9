// evalapi.cpp -- the evaluator's entry points and its cache of compiled
// texts.
//
// A text is compiled once: filters, index keys and report columns run the
// same text for every record.  Compiled programs live in the cache for the
// whole run, so that a macro block can point at its program from its array
// record.  A text longer than kMaxCachedLength, or past kMaxCached entries
// or kMaxCachedText bytes of text (a program takes many times the memory
// of its text), is compiled for one run and freed after it, through a
// sequence frame of our own when a BREAK passes.
#include <sys/resource.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "blocks.hpp"
#include "evaluator.h"
#include "fname.h"
#include "breakguard.hpp"
#include "exprexec.hpp"
#include "exprtree.hpp"
#include "frame.h"
#include "kernel.h"
#include "letters.hpp"
#include "valrec.hpp"
#include "vlerror.h"

namespace vl::expr {

namespace {

constexpr size_t kMaxCached = 16384;
constexpr size_t kMaxCachedText = 4u << 20;
constexpr size_t kMaxCachedLength = 64u << 10;
// Macro blocks that run one another deeper than this are refused: a block
// that evaluates itself would otherwise exhaust the stack.
constexpr int32_t kMaxBlockDepth = 2000;
// Stack sizes when the limit is unlimited, and the most the budget counts.
constexpr uintptr_t kUsualStack = 8u << 20;
constexpr uintptr_t kLargestStack = 64u << 20;
// Parameter vectors up to this length live on the C stack.
constexpr size_t kLocalParams = 8;
constexpr size_t kMessageSize = 1024;

struct TextHash {
  using is_transparent = void;
  size_t operator()(std::string_view s) const { return std::hash<std::string_view>{}(s); }
};

using ProgramMap =
    std::unordered_map<std::string, std::unique_ptr<Program>, TextHash, std::equal_to<>>;

ProgramMap& cache_for(bool as_block)
{
  static ProgramMap exprs;
  static ProgramMap blocks;
  return as_block ? blocks : exprs;
}

// Bytes of text the two caches hold.
size_t cached_text = 0;

// The program for text, from the cache or freshly compiled.  *cached tells
// whether the cache owns it; on a syntax error null, with code and message.
Program* program_for(const char* text, bool as_block, bool* cached, int* code, char* message)
{
  ProgramMap& map = cache_for(as_block);
  if (auto it = map.find(std::string_view(text)); it != map.end()) {
    *cached = true;
    return it->second.get();
  }
  Compiled c = compile(text, as_block);
  if (!c.program) {
    *code = c.code;
    std::snprintf(message, kMessageSize, "%s", c.message.c_str());
    return nullptr;
  }
  const size_t length = std::strlen(text);
  *cached = map.size() < kMaxCached && length <= kMaxCachedLength &&
            length <= kMaxCachedText - cached_text;
  if (*cached) {
    map.emplace(text, std::unique_ptr<Program>(c.program));
    cached_text += length;
  }
  return c.program;
}

bool blank(const char* text)
{
  for (; *text; ++text)
    if (*text != ' ' && *text != '\t') return false;
  return true;
}

// A literal of the program is copied out, so that the result never points
// into a program.
var* result_of(var* r) { return (r->Flags & VF_LITERAL) ? mk_var_cp(r) : r; }

// C stack the evaluations nested in one another may take: half the stack
// limit, the other half left for the deepest single expression (its depth
// is bounded by the parser's nesting limit) and for what runs below it.
uintptr_t stack_budget()
{
  static const uintptr_t budget = [] {
    rlimit rl{};
    uintptr_t limit = kUsualStack;
    if (getrlimit(RLIMIT_STACK, &rl) == 0 && rl.rlim_cur != RLIM_INFINITY) limit = rl.rlim_cur;
    return std::min(limit, kLargestStack) / 2;
  }();
  return budget;
}

// Whether this evaluation sits deeper than the budget below the shallowest
// one seen.  Evaluations nest through blocks that run themselves, and
// through texts that evaluate themselves (x := "TYPE(x)"): the count of
// block frames alone cannot tell how much stack each level takes.
bool stack_exhausted()
{
  static uintptr_t shallowest = 0;
  const auto here = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
  if (here > shallowest) shallowest = here;
  return shallowest - here > stack_budget();
}

var* run(Program* prog, var** params)
{
  if (stack_exhausted()) return rt_error(VL_E_INTERNAL_VALUE, "evaluations nested too deeply");
  Ctx ctx{prog, params, vln_error_count};
  return result_of(eval_node(ctx, prog->root));
}

// Run a program the cache does not own and free it, on a BREAK too.
var* run_and_free(Program* prog, var** params)
{
  return vln_guarded([&] { return run(prog, params); }, [&] { delete prog; });
}

var* report_compile_error(int code, const char* message)
{
  rt_error(code, message);
  return ERROR_VAR;
}

// The block's program: compiled on first use and remembered in its record.
Program* block_program(ArrRec* a, bool* cached, int* code, char* message)
{
  if (a->A_code) {
    *cached = true;
    return static_cast<Program*>(a->A_code);
  }
  Program* prog = program_for(a->A_text ? a->A_text : "", true, cached, code, message);
  if (prog && *cached) a->A_code = prog;
  return prog;
}

// The body of a macro block, run in a frame of its own (marked as a block
// frame, which PROCNAME skips); the parameters become its locals.
var* run_block_body(Program* prog, bool cached, int argc, var** argv)
{
  if (glob_depth >= kMaxBlockDepth) {
    if (!cached) delete prog;
    return rt_error(VL_E_INTERNAL_VALUE, "code blocks nested too deeply");
  }
  frame f;
  vln_fn_start(&f, "macro", "block", -1, argc);
  f.Spare[0] |= VL_FRAME_BLOCK;
  const size_t npars = prog->params.size();
  var* r = vln_with_vector<kLocalParams>(npars, [&](var** params) {
    for (size_t i = 0; i < npars; ++i)
      params[i] = vln_local_param(argc, static_cast<int>(i), argv, 'U');
    return cached ? run(prog, params) : run_and_free(prog, params);
  });
  f.RetVal = mk_var_cp(r);
  return vln_fn_end(&f, 'U');
}

}  // namespace

}  // namespace vl::expr

using namespace vl::expr;

extern "C" {

var* exp_eval(const char* text)
{
  if (!text) return NIL_VAR;
  int code = 0;
  char message[kMessageSize] = "";
  bool cached = false;
  bool empty = false;
  Program* prog = nullptr;
  {
    std::string expanded;
    const char* source = text;
    if (std::strchr(text, '&')) {
      code = expand_macros(text, expanded);
      source = expanded.c_str();
      if (code) std::snprintf(message, sizeof message, "%s", text);
    }
    empty = !code && blank(source);
    if (!code && !empty) prog = program_for(source, false, &cached, &code, message);
  }
  if (code) return report_compile_error(code, message);
  if (empty) return NIL_VAR;
  return cached ? run(prog, nullptr) : run_and_free(prog, nullptr);
}

var* vln_run_macro_block(var* block, int argc, var** argv)
{
  int code = 0;
  char message[kMessageSize] = "";
  bool cached = false;
  Program* prog = block_program(block->Value.w1.arr, &cached, &code, message);
  if (!prog) return report_compile_error(code, message);
  return run_block_body(prog, cached, argc, argv);
}

var* exp_evalb(int argc, var** argv)
{
  if (argc < 1 || argv[0]->Type != 'b') return rt_error(VL_E_ARG_TYPE, "in EVAL()"), NIL_VAR;
  return vln_run_macro_block(argv[0], argc - 1, argv + 1);
}

var* vlnCMxV(const char* text, int n)
{
  int code = 0;
  var* r = cre_tmpvar();
  {
    std::string expanded;
    code = expand_macros(text ? text : "", expanded);
    set_Cvar(r, expanded.data(), static_cast<int32_t>(expanded.size()));
  }
  if (code) rt_error(code, text);
  return r;
}

var* vlnVMxC(var* v, int n)
{
  return vl::kCM.has(v->Type) ? vlnCMxV(v->Value.w1.str, n) : v;
}

var* vlnVMxV(var* v, int n) { return vlnVMxC(v, n); }

char* filorexp(const char* text, int size)
{
  static char buffer[4096];
  const size_t room = size > 0 && static_cast<size_t>(size) < sizeof buffer
                          ? static_cast<size_t>(size)
                          : sizeof buffer;
  const char* t = text ? text : "";
  while (*t == ' ') ++t;
  if (*t != '(') return exp_pp(t, buffer, room, 1);
  var* v = exp_eval(t);
  if (!vl::kCM.has(v->Type)) {
    rt_error(VL_E_ARG_TYPE, "file name expression must give a string");
    buffer[0] = '\0';
    return buffer;
  }
  size_t n = static_cast<size_t>(v->Length - 1);
  if (n >= room) {
    rt_error(VL_E_MACRO_TOO_LONG, t);
    n = room - 1;
  }
  std::memcpy(buffer, v->Value.w1.str, n);
  buffer[n] = '\0';
  return buffer;
}

}  // extern "C"

// The layers below the evaluator reach it through their hooks.
VLN_INIT(evaluator, 1)
{
  vln_macro_block_hook = vln_run_macro_block;
  vln_name_expr_hook = filorexp;
}
