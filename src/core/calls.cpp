// calls.cpp -- calling language functions by name, CALL of plain host
// routines with raw machine words, and the repair after a BREAK.
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "frame.h"
#include "kernel.h"
#include "letters.hpp"
#include "runtime.hpp"
#include "vlerror.h"
#include "vlgen.h"

using namespace vl;

namespace {

constexpr int kMaxSimpleArgs = 30;
constexpr int kMaxCallArgs = 8;

BbFn nil_function() { return reinterpret_cast<BbFn>(NILCB_VAR->Value.w2.fn); }

BbFn lookup(const char* name)
{
  const int32_t pos = find_fun(name);
  if (pos > 0) return glob_ftab[pos].fn;
  std::snprintf(repdum, sizeof repdum, "access of undefined function %.200s", name);
  rt_error(VL_E_UNDEFINED_FUNC, repdum);
  return nil_function();
}

// The raw machine word a CALL passes for v.
intptr_t call_word(var* v)
{
  switch (v->Type) {
    case 'C':
    case 'S':
      return v->Value.w1.slot;
    case 'W':
      return v->Value.w1.i;
    case 'D':
    case 'F':
    case 'I':
    case 'L':
    case 'N':
      return reinterpret_cast<intptr_t>(&v->Value);
    default:
      return 0;
  }
}

using W = intptr_t;

void call_with_words(AnyFn fn, int argc, const W* w)
{
  switch (argc) {
    case 0: reinterpret_cast<void (*)()>(fn)(); break;
    case 1: reinterpret_cast<void (*)(W)>(fn)(w[0]); break;
    case 2: reinterpret_cast<void (*)(W, W)>(fn)(w[0], w[1]); break;
    case 3: reinterpret_cast<void (*)(W, W, W)>(fn)(w[0], w[1], w[2]); break;
    case 4: reinterpret_cast<void (*)(W, W, W, W)>(fn)(w[0], w[1], w[2], w[3]); break;
    case 5:
      reinterpret_cast<void (*)(W, W, W, W, W)>(fn)(w[0], w[1], w[2], w[3], w[4]);
      break;
    case 6:
      reinterpret_cast<void (*)(W, W, W, W, W, W)>(fn)(w[0], w[1], w[2], w[3], w[4], w[5]);
      break;
    case 7:
      reinterpret_cast<void (*)(W, W, W, W, W, W, W)>(fn)(w[0], w[1], w[2], w[3], w[4],
                                                         w[5], w[6]);
      break;
    default:
      reinterpret_cast<void (*)(W, W, W, W, W, W, W, W)>(fn)(w[0], w[1], w[2], w[3], w[4],
                                                            w[5], w[6], w[7]);
      break;
  }
}

}  // namespace

extern "C" {

BbFn vln_funcall(const char* name)
{
  char folded[4096];
  size_t i = 0;
  for (; name[i] && i < sizeof folded - 1; ++i)
    folded[i] = static_cast<char>(std::tolower(static_cast<unsigned char>(name[i])));
  folded[i] = '\0';
  return lookup(folded);
}

var* simplfun(int argc, BbFn fn, ...)
{
  if (argc > kMaxSimpleArgs) return rt_error(VL_E_TOO_MANY_ARGS, "too many arguments for simplfun");
  var* args[kMaxSimpleArgs + 1];
  va_list ap;
  va_start(ap, fn);
  for (int i = 0; i < argc; ++i) args[i] = va_arg(ap, var*);
  va_end(ap);
  args[argc < 0 ? 0 : argc] = nullptr;
  var* r = fn(argc < 0 ? 0 : argc, args);
  if (!r) return rt_error(VL_E_ILLEGAL_VALUE, "function returned zero pointer");
  return r;
}

var* vln_docall(AnyFn fn, int argc, var** argv)
{
  if (argc > kMaxCallArgs) return rt_error(VL_E_TOO_MANY_ARGS, "for CALL");
  W words[kMaxCallArgs] = {0};
  for (int i = 0; i < argc; ++i) words[i] = call_word(argv[i]);
  call_with_words(fn, argc < 0 ? 0 : argc, words);
  return ZERO_VAR;
}

void vln_after_break(frame* f)
{
  old_fn_stack = f;
  glob_depth = f ? f->Depth + 1 : 0;
  pop_vars(f ? f->VarCp : -1);
}

void vln_cleanup(jmp_buf* saved)
{
  if (old_fn_stack) del_tmpvars(old_fn_stack->TmvNp);
  glob_sequencebuf = saved;
}

}  // extern "C"

// WORD(n): a 32-bit machine word for CALL.
VLN_FUNC(word)
{
  if (argc < 1 || !vl::kNFIL.has(argv[0]->Type)) return rt_error(VL_E_ARG_TYPE, "in WORD()");
  const double d = vlnNumVar(argv[0]);
  if (d < -2147483648.0 || d > 2147483647.0) return rt_error(VL_E_ILLEGAL_VALUE, "in WORD()");
  var* r = set_Iv(vlnDoubleToInt(d));
  r->Type = 'W';
  return r;
}
