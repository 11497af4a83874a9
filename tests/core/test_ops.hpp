// Helpers of the operator tests: operands written in a short notation, a
// one-line picture of a result, and the codes of the reports seen.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "switches.hpp"
#include "vltest.h"

namespace opstest {

// An operand from its notation.  The record is a variable (Mode 'N') on
// the temporary stack, as a LOCAL is, unless the notation starts with a
// Mode letter and a colon ("T:5" is a temporary, "S:I3" a strictly typed
// integer).
//   5  -2.50        'N' with as many Decimals as digits after the point
//   F1.5  I7        'F', 'I'
//   .T.  .F.        'L'
//   D100            'D', day 100
//   'ab '  M'ab'    'C', 'M'
//   NIL  UNDEF      NIL, an undefined variable (Mode 'U')
//   {}  O  B        an empty array, an object, a block
inline var* make(const char* text)
{
  char mode = 'N';
  if (text[0] && text[1] == ':') {
    mode = text[0];
    text += 2;
  }
  var* v = cre_tmpvar();
  const std::string t = text;
  if (t == "NIL") {
  } else if (t == "UNDEF") {
    mode = 'U';
  } else if (t == ".T." || t == ".F.") {
    set_lvar(v, t == ".T.");
  } else if (t[0] == 'D') {
    set_dvar(v, std::atoi(text + 1));
  } else if (t[0] == 'I') {
    set_Ivar(v, static_cast<int32_t>(std::strtol(text + 1, nullptr, 10)));
  } else if (t[0] == '\'' || t[0] == 'M') {
    const size_t from = t[0] == 'M' ? 2 : 1;
    set_Cvar(v, t.substr(from, t.size() - from - 1).c_str(), -1);
    if (t[0] == 'M') v->Type = 'M';
  } else if (t == "{}") {
    v->Type = 'A';
    v->Value.w1.arr = vln_arr_new(0);
  } else if (t == "O") {
    cpy_var(v, set_Ov(0, axNullObj, NIL_VAR));
  } else if (t == "B") {
    cpy_var(v, NILCB_VAR);
  } else {
    const bool f = t[0] == 'F';
    const char* digits = text + (f ? 1 : 0);
    const char* point = std::strchr(digits, '.');
    set_nvar(v, std::strtod(digits, nullptr), point ? static_cast<int>(std::strlen(point + 1)) : 0);
    if (f) v->Type = 'F';
  }
  v->Mode = mode;  // an upper-case letter: a text keeps owning its buffer
  return v;
}

// A result in one line: "N(-1,2) 5.5", "C(4,0) 'abc'", "L .T.", "U"; the
// constant records by name: "ERROR", "ZERO", "TRUE", "FALSE".
inline std::string show(var* v)
{
  if (v == ERROR_VAR) return "ERROR";
  if (v == ZERO_VAR) return "ZERO";
  if (v == TRUE_VAR) return "TRUE";
  if (v == FALSE_VAR) return "FALSE";
  char buf[256];
  switch (v->Type) {
    case 'N':
    case 'F':
      std::snprintf(buf, sizeof buf, "%c(%d,%d) %.15g", v->Type, v->Length, v->Decimals,
                    v->Value.w1.d);
      break;
    case 'I':
    case 'D':
      std::snprintf(buf, sizeof buf, "%c(%d,%d) %d", v->Type, v->Length, v->Decimals,
                    v->Value.w1.i);
      break;
    case 'L':
      return v->Value.w1.i ? "L .T." : "L .F.";
    case 'C':
    case 'M':
      return std::string(1, v->Type) + "(" + std::to_string(v->Length) + ",0) '" +
             vltest::str(v) + "'";
    default:
      return std::string(1, v->Type);
  }
  return buf;
}

// The operator tests' fixture (VlTest puts the switches back).
class Ops : public vltest::VlTest {
 protected:
  static void developer_mode() { vl::vl_set_flag[VL_SLOT_LEVEL] = VL_DEVEL_LEVEL; }

  // The codes of the reports since SetUp, "201|902"; the texts are pinned
  // once per family where they matter.
  static std::string seen()
  {
    std::string s;
    for (const auto& r : reports()) s += (s.empty() ? "" : "|") + std::to_string(r.code);
    return s;
  }
};

}  // namespace opstest
