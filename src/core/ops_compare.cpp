// ops_compare.cpp -- the comparison operators = == # < <= > >=.
//
// Every member gives the constant TRUE_VAR or FALSE_VAR, or ERROR_VAR after
// an error, so a comparison allocates nothing.  A member is one row: its
// operator and the 201 text it reports (some texts name the other
// direction; they are kept as the error table users know them), plus, for
// the text-literal members, what a NIL operand gives.
//
// Values compare by the left operand's type once the pair is known to be
// comparable (equal types, text with memo, any two of "NFIL"):
//   arrays, objects, blocks, screens   identity: = and == are "the same
//                                      record", # < > "not the same", <=
//                                      and >= always hold
//   texts                              Istrcmp_n under SET EXACT; == needs
//                                      equal lengths and compares exactly
//   dates                              signed day numbers
//   numbers and logicals               as doubles, integers or truth words
// NIL equals only NIL in = == #, and an undefined variable there is a 901
// warning giving FALSE_VAR.  Two values of a type without an order (NIL <
// NIL) give ERROR_VAR without a message.
#include "natlang.hpp"
#include "ops_common.hpp"
#include "switches.hpp"
#include "vlerror.h"

using namespace vl;
using namespace vl::ops;

namespace {

// The comparison operators.
enum class Cmp : uint8_t { Eq, ExactEq, Ne, Lt, Le, Gt, Ge };

// What a comparison member does with a NIL operand on its value side.
enum class Nil : uint8_t { Mismatch, True, False };

struct CmpMember {
  Cmp op;
  const char* mismatch;  // the 201 text of this member
  Nil nil = Nil::Mismatch;
};

// The 201 texts; some members name the other direction.
constexpr const char* kInEquals = "in equals '=' operation";
constexpr const char* kInExactly = "in exactly equals '==' operation";
constexpr const char* kInNotEquals = "in not equals '#' operation";
constexpr const char* kInLess = "in less than '<' operation";
constexpr const char* kInLessEq = "in less than or equal '<=' operation";
constexpr const char* kInGreater = "in greater than '>' operation";

// The member rows.  The >= members, and some > members, report the text of
// the other direction.
constexpr CmpMember kEq{Cmp::Eq, kInEquals};
constexpr CmpMember kExact{Cmp::ExactEq, kInExactly};
constexpr CmpMember kExactText{Cmp::ExactEq, kInExactly, Nil::False};
constexpr CmpMember kNe{Cmp::Ne, kInNotEquals};
constexpr CmpMember kNeText{Cmp::Ne, kInNotEquals, Nil::True};
constexpr CmpMember kLt{Cmp::Lt, kInLess};
constexpr CmpMember kLe{Cmp::Le, kInLessEq};
constexpr CmpMember kGt{Cmp::Gt, kInGreater};
constexpr CmpMember kGtSaysLess{Cmp::Gt, kInLess};
constexpr CmpMember kGe{Cmp::Ge, kInLessEq};

bool is_equality(Cmp op) { return op == Cmp::Eq || op == Cmp::ExactEq || op == Cmp::Ne; }

// Whether a op b holds.
template <class T>
bool holds(Cmp op, T a, T b)
{
  switch (op) {
    case Cmp::Eq:
    case Cmp::ExactEq:
      return a == b;
    case Cmp::Ne:
      return a != b;
    case Cmp::Lt:
      return a < b;
    case Cmp::Le:
      return a <= b;
    case Cmp::Gt:
      return a > b;
    case Cmp::Ge:
      return a >= b;
  }
  return false;
}

// Records compared by identity have no order: "less" and "greater" mean
// "different", and "or equal" always holds.
bool identity(Cmp op, bool same)
{
  switch (op) {
    case Cmp::Eq:
    case Cmp::ExactEq:
      return same;
    case Cmp::Le:
    case Cmp::Ge:
      return true;
    default:
      return !same;
  }
}

// == on texts: equal lengths, then the compare with SET EXACT switched on
// for its duration.
bool exactly_equal(Text a, Text b)
{
  if (a.n != b.n) return false;
  unsigned char& exact = flags[VL_FLAG_EXACT];
  const unsigned char saved = exact;
  exact = 1;
  const int sign = Istrcmp_n(a.p, b.p, a.n, b.n);
  exact = saved;
  return sign == 0;
}

bool text_holds(Cmp op, Text a, Text b)
{
  if (op == Cmp::ExactEq) return exactly_equal(a, b);
  return holds(op, Istrcmp_n(a.p, b.p, a.n, b.n), 0);
}

const char* undefined_text(Cmp op)
{
  switch (op) {
    case Cmp::Eq:
      return "undefined variable in '=' operation";
    case Cmp::ExactEq:
      return "undefined variable in '==' operation";
    default:
      return "undefined variable in '!=' operation";
  }
}

bool is_nil(const var* v) { return v->Type == 'U' && v->Mode != 'U'; }

// The order of the left operand's type against a comparable right one.
var* by_type(var* l, var* r, Cmp op)
{
  switch (l->Type) {
    case 'A':
    case 'O':
      return boolean(identity(op, l->Value.w1.arr == r->Value.w1.arr));
    case 'S':
      return boolean(identity(op, l->Value.w1.win == r->Value.w1.win));
    case 'B':
    case 'b':
      return boolean(identity(op, l->Value.w2.bits == r->Value.w2.bits));
    case 'C':
    case 'M':
      return boolean(text_holds(op, text_of(l), text_of(r)));
    case 'D':
      return boolean(holds(op, l->Value.w1.i, r->Value.w1.i));
    case 'F':
    case 'N':
      return boolean(holds(op, l->Value.w1.d, num(r)));
    case 'I':
      if (r->Type == 'I') return boolean(holds(op, l->Value.w1.i, r->Value.w1.i));
      return boolean(holds(op, num(l), num(r)));
    case 'L':
      return boolean(holds(op, l->Value.w1.i, truth(r)));
    default:
      return ERROR_VAR;
  }
}

var* compare_general(var* l, var* r, const CmpMember& m)
{
  if (is_equality(m.op)) {
    if (l->Mode == 'U' || r->Mode == 'U')
      return fail_with(FALSE_VAR, VL_E_WARNING, undefined_text(m.op));
    if (l->Type == 'U' || r->Type == 'U')
      return boolean((l->Type == r->Type) != (m.op == Cmp::Ne));
  }
  if (l->Type != r->Type && !vlnRTypesCompatible(l->Type, r->Type))
    return fail(VL_E_TYPE_MISMATCH, m.mismatch);
  return by_type(l, r, m.op);
}

// l op r for a logical literal.
var* compare_logical(int b, var* r, const CmpMember& m)
{
  if (is_equality(m.op) && is_nil(r)) return boolean(m.op == Cmp::Ne);
  if (!kLINF.has(r->Type)) return fail(VL_E_TYPE_MISMATCH, m.mismatch);
  return boolean(holds(m.op, b != 0 ? 1 : 0, truth(r)));
}

var* compare_literals(const char* a, const char* b, Cmp op)
{
  return boolean(text_holds(op, text_of(a), text_of(b)));
}

// l op r.  Two plain numbers take the short road.
var* compare_values(var* l, var* r, const CmpMember& m)
{
  if (l->Type == 'N' && r->Type == 'N') return boolean(holds(m.op, l->Value.w1.d, r->Value.w1.d));
  return compare_general(l, r, m);
}

// d op r: NIL is unequal in = and #; against an 'I' the literal's whole
// part is compared, so 2.5 = x holds for an integer 2.
var* compare_number(double d, var* r, const CmpMember& m)
{
  if (is_equality(m.op) && is_nil(r)) return boolean(m.op == Cmp::Ne);
  if (!kNFIL.has(r->Type)) return fail(VL_E_TYPE_MISMATCH, m.mismatch);
  if (r->Type == 'I') return boolean(holds(m.op, vlnDoubleToInt(d), r->Value.w1.i));
  return boolean(holds(m.op, d, num(r)));
}

// "text" op v (text_left) or v op "text".  The value must be text; a NIL
// gives the member's own answer where it has one.
var* compare_text(const char* text, var* v, bool text_left, const CmpMember& m)
{
  if (m.nil != Nil::Mismatch && is_nil(v)) return boolean(m.nil == Nil::True);
  if (!kCM.has(v->Type)) return fail(VL_E_TYPE_MISMATCH, m.mismatch);
  const Text t = text_of(text);
  const Text x = text_of(v);
  return boolean(text_left ? text_holds(m.op, t, x) : text_holds(m.op, x, t));
}

}  // namespace

extern "C" {

var* c_equ_c(const char* a, const char* b) { return compare_literals(a, b, Cmp::Eq); }
var* u_equ_u(var* l, var* r) { return compare_values(l, r, kEq); }
var* u_equ_c(var* l, const char* text) { return compare_text(text, l, false, kEq); }
var* n_equ_u(double d, var* r) { return compare_number(d, r, kEq); }
var* l_equ_u(int b, var* r) { return compare_logical(b, r, kEq); }

var* c_eequ_u(const char* text, var* r) { return compare_text(text, r, true, kExactText); }
var* u_eequ_u(var* l, var* r) { return compare_values(l, r, kExact); }

var* c_neq_c(const char* a, const char* b) { return compare_literals(a, b, Cmp::Ne); }
var* c_neq_u(const char* text, var* r) { return compare_text(text, r, true, kNeText); }
var* u_neq_c(var* l, const char* text) { return compare_text(text, l, false, kNeText); }
var* u_neq_u(var* l, var* r) { return compare_values(l, r, kNe); }
var* n_neq_u(double d, var* r) { return compare_number(d, r, kNe); }
var* l_neq_u(int b, var* r) { return compare_logical(b, r, kNe); }

var* c_lt_c(const char* a, const char* b) { return compare_literals(a, b, Cmp::Lt); }
var* c_lt_u(const char* text, var* r) { return compare_text(text, r, true, kLt); }
var* u_lt_c(var* l, const char* text) { return compare_text(text, l, false, kLt); }
var* u_lt_u(var* l, var* r) { return compare_values(l, r, kLt); }
var* n_lt_u(double d, var* r) { return compare_number(d, r, kLt); }
var* l_lt_u(int b, var* r) { return compare_logical(b, r, kLt); }

var* c_leq_c(const char* a, const char* b) { return compare_literals(a, b, Cmp::Le); }
var* c_leq_u(const char* text, var* r) { return compare_text(text, r, true, kLe); }
var* u_leq_c(var* l, const char* text) { return compare_text(text, l, false, kLe); }
var* n_leq_u(double d, var* r) { return compare_number(d, r, kLe); }
var* u_leq_u(var* l, var* r) { return compare_values(l, r, kLe); }
var* l_leq_u(int b, var* r) { return compare_logical(b, r, kLe); }

var* c_gt_c(const char* a, const char* b) { return compare_literals(a, b, Cmp::Gt); }
var* u_gt_c(var* l, const char* text) { return compare_text(text, l, false, kGtSaysLess); }
var* u_gt_u(var* l, var* r) { return compare_values(l, r, kGt); }
var* n_gt_u(double d, var* r) { return compare_number(d, r, kGtSaysLess); }
var* l_gt_u(int b, var* r) { return compare_logical(b, r, kGtSaysLess); }

var* c_geq_c(const char* a, const char* b) { return compare_literals(a, b, Cmp::Ge); }
var* c_geq_u(const char* text, var* r) { return compare_text(text, r, true, kGe); }
var* u_geq_c(var* l, const char* text) { return compare_text(text, l, false, kGe); }
var* n_geq_u(double d, var* r) { return compare_number(d, r, kGe); }
var* u_geq_u(var* l, var* r) { return compare_values(l, r, kGe); }
var* l_geq_u(int b, var* r) { return compare_logical(b, r, kGe); }

}  // extern "C"
