// VALTYPE and EMPTY over every kind of value.
#include "valkind.h"
#include "vltest.h"

using vltest::expect_rows;
using vltest::str;

namespace {

class ValKind : public vltest::VlTest {};

// A value of type t (a record of another type relabelled).
var* typed(var* v, char t)
{
  v->Type = t;
  return v;
}

TEST_F(ValKind, ValtypeLettersWithAndWithoutIntvar)
{
  expect_rows({
      {"{VALTYPE('x'), VALTYPE(1), VALTYPE(CTOD('')), VALTYPE(.T.), VALTYPE(NIL), VALTYPE({|| 1})}",
       "{C, N, D, L, U, B}"},
      {"{VALTYPE({}), VALTYPE(ERRORNEW()), VALTYPE()}", "{A, O, U}"},
      {"{EMPTY(''), EMPTY(' ' + CHR(9) + CHR(13) + CHR(10)), EMPTY(CHR(0)), EMPTY(' x')}",
       "{.T., .T., .F., .F.}"},
      {"{EMPTY(0.00), EMPTY(-0.001), EMPTY(CTOD('')), EMPTY(STOD('00010105'))}",
       "{.T., .F., .T., .F.}"},
      {"{EMPTY(.F.), EMPTY(.T.), EMPTY(NIL), EMPTY({|| 1}), EMPTY({}), EMPTY()}",
       "{.T., .F., .T., .F., .T., .T.}"},
  });
  var* f = typed(set_nv(1, 0), 'F');
  var* w = typed(set_Iv(3), 'W');
  const std::pair<var*, const char*> rows[] = {{typed(set_cv("x"), 'M'), "M"}, {set_Iv(1), "N"},
                                               {f, "N"}, {w, "N"}, {typed(cre_tmpvar(), 'b'), "B"}};
  for (const auto& [v, letter] : rows) EXPECT_EQ(str(vl_call(_bb_valtype, {v})), letter) << v->Type;
  vlnSetIntvar(1);  // the integer-variable switch shows 'F' and 'I'
  EXPECT_EQ(str(vl_call(_bb_valtype, {f})), "F");
  EXPECT_EQ(str(vl_call(_bb_valtype, {set_Iv(1)})), "I");
  EXPECT_EQ(str(vl_call(_bb_valtype, {w})), "N");
  EXPECT_EQ(vl_call(_bb_empty, {set_Iv(0)}), TRUE_VAR);
}

}  // namespace
