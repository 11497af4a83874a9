/*
** fastops.h -- the number paths of the commonest operators, of the
** assignment and of the statement release, inline.
**
** Numeric code spends its time in statements like `x := x + a * b - c`: a
** few operators on 'N' numbers, one assignment to a LOCAL, and the release
** of the statement's one temporary; and in loops that compare and step a
** number LOCAL.  Called out of line, each of those is a call, a return and
** a fresh look at operands whose kind the previous step just wrote.
** Inline, the compiler sees the chain, drops the repeated tests, and the
** whole statement runs in about five sixths of the instructions.
**
** Contract.  Every function here gives exactly what its entry point gives:
** the same result record (a temporary operand, else a new temporary), the
** same Type, Decimals, Length and value, the same temporary-stack height.
** It handles only the number case:
**
**   vln_arith      l op r for two 'N' operands and no compound assignment;
**   vln_assign     an 'N' temporary into an 'N' LOCAL that is no constant;
**   vln_release    a statement that leaves one 'N' temporary, kept in its
**                  slot for reuse as del_tmpvars keeps it;
**   vln_compare    < <= > >= on two 'N' operands;
**   vln_if         the truth of an 'L' condition;
**   vln_step       ++x and --x on an 'N' LOCAL;
**   vln_signal     a statement boundary with no poll registered;
**
** and hands every other case to the entry point, which it names.
**
** Generated code gets these paths under the entry points' own names: after
** this header, u_add_u, u_sub_u, u_mul_u, cpy_var, del_tmpvars, u_lt_u,
** u_leq_u, u_gt_u, u_geq_u, if_u, autoinc_u, autodec_u and _vln_signal_n
** are macros for them.  The library itself is built with VL_BUILDING_LIBRARY
** and a program may define VL_NO_INLINE_OPS; either keeps the plain calls.
** A name in parentheses, `(cpy_var)(x, y)`, always calls the function.
**
** Moving the number.  The value goes from record to record through memory
** at every step of the chain.  A load that reads back a general register's
** store is served at once on current processors, one that feeds a
** floating-point register waits several cycles more; so numbers are loaded
** and stored as 64-bit words and moved to the FP unit only to compute.  The
** empty asm statements keep the compiler from turning them back into FP
** loads and stores.
*/
#ifndef VL_FASTOPS_H
#define VL_FASTOPS_H

#include <stdint.h>
#include <string.h>

#include "frame.h"
#include "kernel.h"
#include "operators.h"
#include "var.h"


/* ---- The tag word (its layout is asserted in var.h). ---- */

static inline void vln_set_tag(var* v, uint32_t t) { memcpy(v, &t, sizeof t); }
static inline char vln_tag_type(uint32_t t) { return (char)(t & 0xFFu); }
static inline uint32_t vln_tag_kind(uint32_t t) { return t & VLN_TAG_KIND_MASK; }

/* Word 1 of an 'N' record, read and written through a general register. */
static inline double vln_number(const var* v)
{
  uint64_t bits = v->Value.w1.bits;
  double d;
  __asm__("" : "+r"(bits));
  memcpy(&d, &bits, sizeof d);
  return d;
}
static inline uint64_t vln_number_bits(double d)
{
  uint64_t bits;
  memcpy(&bits, &d, sizeof bits);
  __asm__("" : "+r"(bits));
  return bits;
}

/* ---- Temporaries. ---- */

/* Push the spare record waiting at the top of the temporary stack and
** return it, or return null and change nothing when there is none.  Its
** Links is 1; the caller writes every other field (vln_tmp_fill). */
static inline var* vln_tmp_take_spare(void)
{
  const int32_t n = tmpvar_cnt;
  var* v = vln_tmp_slots[n];
  if (__builtin_expect(v != NULL, 1)) tmpvar_cnt = n + 1;
  return v;
}

/* Make a taken spare a temporary holding tag (its Mode 'T'), length and
** value word 1; Links 1, no variable index, declared at the current depth,
** word 2 zero.  Links and V_indx go as one word. */
static inline void vln_tmp_fill(var* v, uint32_t tag, int32_t length, uint64_t word1)
{
  const uint64_t header = tag | (uint64_t)(uint32_t)length << 32;
  const uint64_t links = 1;
  memcpy(v, &header, sizeof header);
  memcpy(&v->Links, &links, sizeof links);
  v->D_level = glob_depth;
  v->Value.w1.bits = word1;
  v->Value.w2.bits = 0;
}

/* ---- The members. ---- */

typedef enum VlnArithOp { VLN_OP_ADD, VLN_OP_SUB, VLN_OP_MUL } VlnArithOp;
typedef var* (*VlnArithFn)(var* l, var* r, int assign);

/* Store a number (its bits) into the 'N' record res of tag t, with the
** Decimals dec holds in place, keeping res's Mode and Flags. */
static inline var* vln_put_number(var* res, uint32_t t, uint32_t dec, uint64_t bits)
{
  vln_set_tag(res, (t & ~VLN_TAG_DECIMALS) | dec);
  res->Length = VLN_NO_WIDTH;
  res->Value.w1.bits = bits;
  res->Value.w2.bits = 0;
  return res;
}

/* l + r, l - r or l * r for two 'N' operands and no assignment: an 'N'
** with the larger Decimals (+, -) or their sum up to 255 (*), in the left
** operand when it is a temporary, else in the right one when that is, else
** in a spare temporary.  Any other case, and no spare, is slow(l, r,
** assign). */
static inline var* vln_arith(var* l, var* r, int assign, VlnArithOp op, VlnArithFn slow)
{
  const uint32_t lt = vln_tag(l), rt = vln_tag(r);
  if (__builtin_expect(assign != 0 || vln_tag_type(lt) != 'N' || vln_tag_type(rt) != 'N', 0))
    return slow(l, r, assign);
  const uint32_t ld = lt & VLN_TAG_DECIMALS, rd = rt & VLN_TAG_DECIMALS;
  const double a = vln_number(l), b = vln_number(r);
  double d;
  uint32_t dec;
  if (op == VLN_OP_MUL) {
    d = a * b;
    dec = ld + rd > VLN_TAG_DECIMALS ? VLN_TAG_DECIMALS : ld + rd;
  } else {
    d = op == VLN_OP_ADD ? a + b : a - b;
    dec = ld > rd ? ld : rd;
  }
  const uint64_t bits = vln_number_bits(d);
  /* The left operand if it is a temporary, else the right one if that is.
  ** Either is as likely (a chain's first step has its temporary on the
  ** right, the next ones on the left), and a select beats a branch. */
  const int left =
      __builtin_expect_with_probability(vln_tag_kind(lt) == VLN_TAG_NUMBER_TEMP, 1, 0.5);
  var* const res = left ? l : r;
  const uint32_t tag = left ? lt : rt;
  if (__builtin_expect(vln_tag_kind(tag) == VLN_TAG_NUMBER_TEMP, 1))
    return vln_put_number(res, tag, dec, bits);
  var* const fresh = vln_tmp_take_spare();
  if (__builtin_expect(fresh == NULL, 0)) return slow(l, r, assign);
  vln_tmp_fill(fresh, VLN_TAG_NUMBER_TEMP | dec, VLN_NO_WIDTH, bits);
  return fresh;
}

/* dst := src for an 'N' temporary into an 'N' LOCAL that is no constant:
** Type and Decimals, Length and value; dst keeps its Mode and Flags, and its
** tag is written only when it changes.  Anything else is cpy_var. */
static inline var* vln_assign(var* dst, var* src)
{
  const uint32_t st = vln_tag(src), dt = vln_tag(dst);
  if (__builtin_expect(vln_tag_kind(st) != VLN_TAG_NUMBER_TEMP ||
                           vln_tag_kind(dt) != VLN_TAG_NUMBER_LOCAL || (dt & VLN_TAG_STATIC),
                       0))
    return (cpy_var)(dst, src);
  if ((st ^ dt) & VLN_TAG_VALUE_BYTES)
    vln_set_tag(dst, (st & VLN_TAG_VALUE_BYTES) | (dt & ~VLN_TAG_VALUE_BYTES));
  dst->Length = src->Length;
  dst->Value.w1.bits = src->Value.w1.bits;
  dst->Value.w2.bits = 0;
  return dst;
}

/* del_tmpvars(mark) for the statement that leaves one 'N' temporary above
** mark: it stays in its slot as a spare.  Anything else is del_tmpvars. */
static inline void vln_release(int32_t mark)
{
  const int32_t n = tmpvar_cnt;
  if (n <= mark) return;
  if (n == mark + 1 && mark >= 0 && vln_tmp_keeps_spares &&
      vln_tmp_spare_number(vln_tmp_slots[mark])) {
    tmpvar_cnt = mark;
    return;
  }
  (del_tmpvars)(mark);
}

typedef enum VlnCmpOp { VLN_CMP_LT, VLN_CMP_LE, VLN_CMP_GT, VLN_CMP_GE } VlnCmpOp;
typedef var* (*VlnCmpFn)(var* l, var* r);

/* l < r, l <= r, l > r or l >= r for two 'N' operands: TRUE_VAR or
** FALSE_VAR.  Any other case is slow(l, r). */
static inline var* vln_compare(var* l, var* r, VlnCmpOp op, VlnCmpFn slow)
{
  if (__builtin_expect(l->Type != 'N' || r->Type != 'N', 0)) return slow(l, r);
  const double a = l->Value.w1.d, b = r->Value.w1.d;
  int holds;
  switch (op) {
    case VLN_CMP_LT: holds = a < b; break;
    case VLN_CMP_LE: holds = a <= b; break;
    case VLN_CMP_GT: holds = a > b; break;
    default: holds = a >= b; break;
  }
  return holds ? TRUE_VAR : FALSE_VAR;
}

/* The truth of a logical condition; anything but an 'L' is if_u. */
static inline int vln_if(var* v)
{
  if (__builtin_expect(v->Type == 'L', 1)) return v->Value.w1.i;
  return (if_u)(v);
}

/* ++x and --x on an 'N' LOCAL: the value moves by delta in place and x is
** the result.  Anything else is slow(x). */
static inline var* vln_step(var* v, int32_t delta, var* (*slow)(var* v))
{
  if (__builtin_expect(vln_tag_kind(vln_tag(v)) != VLN_TAG_NUMBER_LOCAL, 0)) return slow(v);
  v->Value.w1.bits = vln_number_bits(vln_number(v) + delta);
  return v;
}

/* The statement boundary: _vln_signal_n when a poll is registered. */
static inline void vln_signal(void)
{
  if (__builtin_expect(vln_signal_poll_count != 0, 0)) (_vln_signal_n)();
}

#if !defined(VL_BUILDING_LIBRARY) && !defined(VL_NO_INLINE_OPS)
#define u_add_u(l, r, assign) vln_arith((l), (r), (assign), VLN_OP_ADD, u_add_u)
#define u_sub_u(l, r, assign) vln_arith((l), (r), (assign), VLN_OP_SUB, u_sub_u)
#define u_mul_u(l, r, assign) vln_arith((l), (r), (assign), VLN_OP_MUL, u_mul_u)
#define cpy_var(dst, src) vln_assign((dst), (src))
#define del_tmpvars(mark) vln_release(mark)
#define u_lt_u(l, r) vln_compare((l), (r), VLN_CMP_LT, u_lt_u)
#define u_leq_u(l, r) vln_compare((l), (r), VLN_CMP_LE, u_leq_u)
#define u_gt_u(l, r) vln_compare((l), (r), VLN_CMP_GT, u_gt_u)
#define u_geq_u(l, r) vln_compare((l), (r), VLN_CMP_GE, u_geq_u)
#define if_u(v) vln_if(v)
#define autoinc_u(v) vln_step((v), 1, autoinc_u)
#define autodec_u(v) vln_step((v), -1, autodec_u)
#define _vln_signal_n() vln_signal()
#endif

#endif /* VL_FASTOPS_H */
