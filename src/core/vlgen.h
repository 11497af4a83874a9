/*
** vlgen.h -- write host-language code the way generated code is written.
**
** A function written in the language opens a frame, declares its locals and
** parameters, ends each statement by releasing the statement's temporaries,
** and returns through the frame.  These macros spell that pattern once, so
** that the library's own language-level modules, the tests and the examples
** read like the language:
**
**   VLN_FUNC(twice)
**   {
**     VL_BEGIN("demo.prg", "twice");
**     var* n = VL_PARAM(0, 'N');
**     var* r = VL_LOCAL('U');
**     VL_STMT(set_nvar(r, vlnNumVar(n) * 2, 0));
**     VL_RETURN(r);
**   }
**
** The export markers VLN_FUNC, VLN_MEMVAR and VLN_INIT come from kernel.h.
*/
#ifndef VL_GEN_H
#define VL_GEN_H

#include "calls.h"
#include "fastops.h"
#include "frame.h"
#include "kernel.h"
#include "var.h"
#include "vlerror.h"

/* Open the frame of the running function (argc and argv in scope). */
#define VL_BEGIN(file, func)                                        \
  frame vl_frame_;                                                  \
  vln_fn_start(&vl_frame_, (file), (func), __LINE__, argc)

/* A LOCAL of the given type letter ('U' for none). */
#define VL_LOCAL(type) vln_local_param(0, 0, (var**)0, (type))
/* Formal parameter i of the given type letter. */
#define VL_PARAM(i, type) vln_local_param(argc, (i), argv, (type))

/* One statement: deliver events, run it, release its temporaries. */
#define VL_STMT(...)                    \
  do {                                  \
    _vln_signal_n();                    \
    vl_frame_.Line = __LINE__;          \
    __VA_ARGS__;                        \
    del_tmpvars(vl_frame_.TmvNp);       \
  } while (0)

/* RETURN x from a function declared of type letter t ('U' for none). */
#define VL_RETURN_T(x, t)                     \
  do {                                        \
    vl_frame_.RetVal = mk_var_cp(x);          \
    return vln_fn_end(&vl_frame_, (t));       \
  } while (0)
#define VL_RETURN(x) VL_RETURN_T(x, 'U')
/* RETURN without a value: NIL. */
#define VL_RETURN_NIL() return vln_fn_end(&vl_frame_, 'U')

/* BEGIN SEQUENCE ... RECOVER USING v ... END SEQUENCE, as generated code
** writes it inside a function opened with VL_BEGIN:
**
**   VL_BEGIN_SEQUENCE
**     VL_STMT(...);          body; a BREAK anywhere below lands in RECOVER
**   VL_RECOVER(e)            e receives the BREAK value (null: no USING)
**     VL_STMT(...);
**   VL_END_SEQUENCE;
**
** On recovery the frames, PRIVATEs and the error-nesting count are put back
** as they were at BEGIN SEQUENCE, and the anchor is the outer sequence's
** again, so a BREAK inside RECOVER goes outward.  A RETURN from inside the
** sequence is written VL_SEQ_RETURN(x): it gives the anchor back first.
**
** The sequence is a setjmp, and a BREAK a longjmp back to it.  A C variable
** of the function that the body changes and that is read after the BREAK
** (in RECOVER or after END SEQUENCE) must therefore be declared volatile,
** or its value there is indeterminate.  The records VL_LOCAL gives need
** nothing: the pointer stays the same and the value lives in the record.
**
**   volatile int step = 0;           changed in the body, read in RECOVER
**   var* r = VL_LOCAL('U');
**   VL_BEGIN_SEQUENCE
**     VL_STMT(step = 1);
**     VL_STMT(cpy_var(r, exp_eval("risky()")));
**     VL_STMT(step = 2);
**   VL_RECOVER(NULL)
**     VL_STMT(set_nvar(r, step, 0));   1: risky() left by BREAK
**   VL_END_SEQUENCE; */
#define VL_BEGIN_SEQUENCE                                 \
  do {                                                    \
    jmp_buf vl_seq_buf_;                                  \
    jmp_buf* const vl_seq_saved_ = glob_sequencebuf;      \
    const int32_t vl_seq_alreadyin_ = alreadyin;          \
    _vln_signal_n();                                      \
    glob_sequencebuf = &vl_seq_buf_;                      \
    if (setjmp(vl_seq_buf_) == 0) {
#define VL_RECOVER(v)                                     \
    } else {                                              \
      var* const vl_seq_using_ = (v);                     \
      vln_after_break(&vl_frame_);                        \
      alreadyin = vl_seq_alreadyin_;                      \
      glob_sequencebuf = vl_seq_saved_;                   \
      if (vl_seq_using_) cpy_var(vl_seq_using_, vln_break_value);
#define VL_END_SEQUENCE                                   \
    }                                                     \
    vln_cleanup(vl_seq_saved_);                           \
  } while (0)

/* RETURN x from inside a sequence of a function declared 'U'. */
#define VL_SEQ_RETURN(x)                      \
  do {                                        \
    vl_frame_.RetVal = mk_var_cp(x);          \
    glob_sequencebuf = vl_seq_saved_;         \
    return vln_fn_end(&vl_frame_, 'U');       \
  } while (0)

#ifdef __cplusplus
#include <initializer_list>
/* Call a language function with an argument list: vl_call(fn, {a, b}). */
inline var* vl_call(BbFn fn, std::initializer_list<var*> args)
{
  return fn(static_cast<int>(args.size()), const_cast<var**>(args.begin()));
}
#else
#define VL_NARGS_(_1, _2, _3, _4, _5, _6, _7, _8, _9, N, ...) N
/* Number of arguments, 1 to 9. */
#define VL_NARGS(...) VL_NARGS_(__VA_ARGS__, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0)
/* Call a language function with one to nine arguments. */
#define VL_CALL(fn, ...) fn(VL_NARGS(__VA_ARGS__), (var*[]){__VA_ARGS__})
#endif

#endif /* VL_GEN_H */
