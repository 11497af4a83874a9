// constants.cpp -- the twelve read-only constant records.
//
// Each is reached through a pointer variable of its name.  They carry
// VF_STATIC, so that link traffic, assignment and release never touch them,
// and Mode 'C', so that a parameter receiving one gets its own copy.
// ERROR_VAR is NIL-like; only its identity matters.
#include "var.h"

namespace {

constexpr var make(char type, int32_t length)
{
  var v{};
  v.Type = type;
  v.Mode = 'C';
  v.Flags = VF_STATIC;
  v.Length = length;
  v.Links = 1;
  return v;
}

var numeric(double d)
{
  var v = make('N', -1);
  v.Value.w1.d = d;
  return v;
}

var word(char type, int32_t length, int32_t i)
{
  var v = make(type, length);
  v.Value.w1.i = i;
  return v;
}

char empty_text[1] = {0};

var text()
{
  var v = make('C', 1);
  v.Value.w1.str = empty_text;
  return v;
}

var* nil_block_fn(int, var**) { return NIL_VAR; }
var* true_block_fn(int, var**) { return TRUE_VAR; }

var* null_vec[1] = {nullptr};
ArrRec nil_block_rec = {1, 0, null_vec, 0, AF_STATIC, nullptr, nullptr};
ArrRec true_block_rec = {1, 0, null_vec, 0, AF_STATIC, nullptr, nullptr};

var block(ArrRec* rec, BbFn fn)
{
  var v = make('B', 0);
  v.Value.w1.arr = rec;
  v.Value.w2.fn = reinterpret_cast<AnyFn>(fn);
  return v;
}

var k_nil = make('U', 0);
var k_error = make('U', 0);
var k_true = word('L', 1, 1);
var k_false = word('L', 1, 0);
var k_zero = numeric(0.0);
var k_one = numeric(1.0);
var k_minone = numeric(-1.0);
var k_izero = word('I', -1, 0);
var k_nullstr = text();
var k_nulldate = word('D', 8, 0);
var k_nilcb = block(&nil_block_rec, nil_block_fn);
var k_trucb = block(&true_block_rec, true_block_fn);

}  // namespace

extern "C" {

var* NIL_VAR = &k_nil;
var* ERROR_VAR = &k_error;
var* TRUE_VAR = &k_true;
var* FALSE_VAR = &k_false;
var* ZERO_VAR = &k_zero;
var* ONE_VAR = &k_one;
var* MINONE_VAR = &k_minone;
var* IZERO_VAR = &k_izero;
var* NULLSTR_VAR = &k_nullstr;
var* NULLDATE_VAR = &k_nulldate;
var* NILCB_VAR = &k_nilcb;
var* TRUCB_VAR = &k_trucb;

// The class of a declared object never instantiated: header {'U',0,0,2}
// and a row with an empty name.
const VlnClassRow axNullObj[] = {
    {'U', 0, 0, 2},
    {reinterpret_cast<intptr_t>(""), 0, 0, 0},
};

}  // extern "C"
