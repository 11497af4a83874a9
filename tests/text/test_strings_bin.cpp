// Integers as little-endian binary text: BIN2I, BIN2W, BIN2L, I2BIN, L2BIN.
#include "vltest.h"

using vltest::expect_rows;

namespace {

class BinaryText : public vltest::VlTest {};

TEST_F(BinaryText, ReadAndWriteLowByteFirst)
{
  expect_rows({
      {"z := CHR(0), ff := CHR(255) + CHR(255)"},
      {"t := CHR(1) + z, {BIN2I(t), BIN2W(t), BIN2L(t)}", "{1, 1, 1}"},
      {"{BIN2I(ff), BIN2W(ff), BIN2L(ff)}", "{-1, 65535, 65535}"},
      {"t := z + CHR(128) + z + CHR(128), {BIN2I(t), BIN2W(t), BIN2L(t)}",
       "{-32768, 32768, -2147450880}"},
      {"t := ff + ff, {BIN2I(t), BIN2W(t), BIN2L(t)}", "{-1, 65535, -1}"},
      {"t := CHR(52) + CHR(18) + z + z + CHR(153), {BIN2I(t), BIN2W(t), BIN2L(t)}",
       "{4660, 4660, 4660}"},
      {"{BIN2I(CHR(7)), BIN2W(CHR(7)), BIN2L(CHR(7)), BIN2I(''), BIN2W(''), BIN2L('')}",
       "{7, 7, 7, 0, 0, 0}"},
      // I2BIN keeps the low 16 bits of 70000.
      {"{I2BIN(-2) == CHR(254) + CHR(255), I2BIN(70000.7) == CHR(112) + CHR(17)}", "{.T., .T.}"},
      {"L2BIN(-100000) == CHR(96) + CHR(121) + CHR(254) + CHR(255)", ".T."},
      {"L2BIN(16909060) == CHR(4) + CHR(3) + CHR(2) + CHR(1)", ".T."},
      {"BIN2I(NIL)", "#312"}, {"BIN2W(NIL)", "#312"}, {"BIN2L(NIL)", "#312"},
      {"I2BIN(NIL)", "#312"}, {"L2BIN(NIL)", "#312"},
  });
}

}  // namespace
