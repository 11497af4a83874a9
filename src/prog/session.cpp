// session.cpp -- loading compiled programs into the kernel and running them.
//
// A language function is a BbFn: argc and argv, no context pointer.  Each
// program function the kernel must reach by name gets one entry of a fixed
// pool of trampolines, each a template instance that knows its slot and
// runs the Code the slot names.  Calls between program functions resolved
// when loading bypass the trampolines altogether.
//
// A statement run at the interactive prompt is guarded: a jump to the
// outermost sequence anchor (a BREAK outside any BEGIN SEQUENCE, or the
// prompt's error block leaving a failed statement) comes back here, the
// frames, PRIVATEs and temporaries above the run are undone, and the
// prompt gets control with the work areas as they were.  A program and
// the text of vl -c run unguarded, as compiled code does.
#include <array>
#include <csetjmp>
#include <cstdio>
#include <utility>

#include "calls.h"
#include "frame.h"
#include "kernel.h"
#include "runtime.h"
#include "runtime.hpp"
#include "session.hpp"
#include "vlerror.h"
#include "vm_compile.hpp"

namespace vl::prog {

namespace {

// The most program functions one process can register by name.
constexpr size_t kMaxFunctions = 2048;

Code* g_slots[kMaxFunctions];
char g_names[kMaxFunctions][12];
size_t g_slots_used = 0;

// A slot whose session has ended: its name stays registered, so a call
// reports as a call of an unknown function does.
var* unloaded(size_t slot)
{
  std::snprintf(repdum, sizeof repdum, "access of undefined function %s", g_names[slot]);
  return rt_error(VL_E_UNDEFINED_FUNC, repdum);
}

template <size_t K>
var* trampoline(int argc, var** argv)
{
  Code* code = g_slots[K];
  return code ? vm_run(code, argc, argv, nullptr) : unloaded(K);
}

template <size_t... K>
constexpr std::array<BbFn, sizeof...(K)> make_pool(std::index_sequence<K...>)
{
  return {&trampoline<K>...};
}

constexpr std::array<BbFn, kMaxFunctions> kPool = make_pool(std::make_index_sequence<kMaxFunctions>());

// The state a guarded run puts back when it is left by a jump.
struct Guard {
  jmp_buf buf;
  jmp_buf* saved_seq;
  frame* frame_at;
  int32_t floor_at;
  int32_t tmp_mark;
  int32_t alreadyin_at;
  int32_t areas_at;
};

// Run code under a guard.  Returns the result, or null when the run was
// left by a jump (the state is then put back).  Without stray_ends there
// is no guard: a BREAK outside any sequence is reported where it happens,
// as the library reports it, and ends the run.
var* run_guarded(Code* code, int argc, var** argv, bool stray_ends)
{
  if (!stray_ends) return vm_run(code, argc, argv, nullptr);
  Guard g;
  g.saved_seq = glob_sequencebuf;
  g.frame_at = old_fn_stack;
  g.floor_at = old_fn_stack ? old_fn_stack->TmvNp : 0;
  g.tmp_mark = tmpvar_cnt;
  g.alreadyin_at = alreadyin;
  g.areas_at = vm_area_depth();
  glob_sequencebuf = &g.buf;
  if (setjmp(g.buf) != 0) {
    vln_after_break(g.frame_at);
    vm_restore_areas(g.areas_at);
    if (g.frame_at) g.frame_at->TmvNp = g.floor_at;
    del_tmpvars(g.tmp_mark);
    alreadyin = g.alreadyin_at;
    glob_sequencebuf = g.saved_seq;
    return nullptr;
  }
  var* r = vm_run(code, argc, argv, nullptr);
  glob_sequencebuf = g.saved_seq;
  return r;
}

}  // namespace

struct Session::Impl {
  Image image;
  std::vector<Code*> pending_inits;
  Code* main = nullptr;
  std::vector<size_t> slots;  // the trampolines this session filled
  frame prompt_frame;  // opened for prompt code when the caller has none
  bool prompt_frame_open = false;

  // File STATIC initialisers not run yet; false when one was left by a jump.
  bool run_inits(bool stray_ends)
  {
    std::vector<Code*> todo;
    todo.swap(pending_inits);
    for (Code* c : todo)
      if (!run_guarded(c, 0, nullptr, stray_ends)) return false;
    return true;
  }

  bool add(Compiled& out, const std::vector<Unit>& units, Diagnostic& diag)
  {
    if (g_slots_used + out.publics.size() > kMaxFunctions) {
      for (auto& [name, code] : out.publics) image.functions.erase(name);
      diag.file = units.empty() ? "" : units[0].file;
      diag.line = diag.col = 0;
      diag.message = "too many functions: a run defines at most " + std::to_string(kMaxFunctions);
      return false;
    }
    for (auto& [name, code] : out.publics) {
      g_slots[g_slots_used] = code;
      std::snprintf(g_names[g_slots_used], sizeof g_names[0], "%s", name.c_str());
      slots.push_back(g_slots_used);
      vln_register_fun(name.c_str(), kPool[g_slots_used++]);
    }
    pending_inits.insert(pending_inits.end(), out.inits.begin(), out.inits.end());
    return true;
  }
};

Session::Session() : impl_(std::make_unique<Impl>()) {}

Session::~Session()
{
  for (size_t k : impl_->slots) g_slots[k] = nullptr;
  if (impl_->prompt_frame_open && old_fn_stack == &impl_->prompt_frame)
    vln_fn_end(&impl_->prompt_frame, 'U');
}

bool Session::load(std::vector<Unit>& units, Diagnostic& diag)
{
  Compiled out;
  if (!compile_units(impl_->image, units, false, false, out, diag)) return false;
  if (!impl_->add(out, units, diag)) return false;
  if (!impl_->main) impl_->main = out.main;
  return true;
}

int Session::run_main(const std::vector<std::string>& args)
{
  if (!impl_->main) return 0;
  const int32_t mark = tmpvar_cnt;
  bool ok = impl_->run_inits(false);
  if (ok) {
    std::vector<var*> argv;
    for (const std::string& a : args) argv.push_back(set_Cvar(cre_tmpvar(), a.c_str(), static_cast<int32_t>(a.size())));
    ok = run_guarded(impl_->main, static_cast<int>(argv.size()), argv.data(), false) != nullptr;
  }
  del_tmpvars(mark);
  if (!ok && shell_return == 0) return 1;
  return shell_return;
}

bool Session::run_immediate(Unit& unit, bool echo, Diagnostic& diag)
{
  std::vector<Unit> units;
  units.push_back(std::move(unit));
  Compiled out;
  const bool compiled = compile_units(impl_->image, units, true, echo, out, diag);
  unit = std::move(units[0]);
  if (!compiled || !impl_->add(out, units, diag)) return false;
  if (!out.main) return true;
  out.main->top_level = true;
  if (!old_fn_stack) {
    vln_fn_start(&impl_->prompt_frame, "prompt", "prompt", 0, 0);
    impl_->prompt_frame_open = true;
  }
  const int32_t mark = tmpvar_cnt;
  if (impl_->run_inits(stray_break_ends_statement_))
    run_guarded(out.main, 0, nullptr, stray_break_ends_statement_);
  del_tmpvars(mark);
  return true;
}

}  // namespace vl::prog
