// Integers as little-endian binary text: BIN2I, BIN2W, BIN2L, I2BIN, L2BIN.
#include <string>

#include "stringsfn.h"
#include "vltest.h"

using vltest::str;

namespace {

class BinaryText : public vltest::VlTest {};

var* bytes(const std::string& s) { return set_Cvar(cre_tmpvar(), s.data(), static_cast<int32_t>(s.size())); }
double call(BbFn fn, var* v) { return vlnNumVar(vl_call(fn, {v})); }

TEST_F(BinaryText, ReadAndWriteLowByteFirst)
{
  const struct {
    std::string text;
    double i, w, l;
  } reads[] = {{std::string("\x01\x00", 2), 1, 1, 1},
               {"\xff\xff", -1, 65535, 65535},
               {std::string("\x00\x80\x00\x80", 4), -32768, 32768, -2147450880.0},
               {"\xff\xff\xff\xff", -1, 65535, -1},
               {std::string("\x34\x12\x00\x00\x99", 5), 0x1234, 0x1234, 0x1234},
               {"\x07", 7, 7, 7},
               {"", 0, 0, 0}};
  for (const auto& r : reads) {
    EXPECT_EQ(call(_bb_bin2i, bytes(r.text)), r.i);
    EXPECT_EQ(call(_bb_bin2w, bytes(r.text)), r.w);
    EXPECT_EQ(call(_bb_bin2l, bytes(r.text)), r.l);
  }
  EXPECT_EQ(str(vl_call(_bb_i2bin, {set_nv(-2, 0)})), "\xfe\xff");
  EXPECT_EQ(str(vl_call(_bb_i2bin, {set_nv(70000.7, 1)})), "\x70\x11");  // low 16 bits of 70000
  EXPECT_EQ(str(vl_call(_bb_l2bin, {set_nv(-100000, 0)})), "\x60\x79\xfe\xff");
  EXPECT_EQ(str(vl_call(_bb_l2bin, {set_Iv(0x01020304)})), "\x04\x03\x02\x01");
  EXPECT_TRUE(reports().empty());
  const BbFn wrong[] = {_bb_bin2i, _bb_bin2w, _bb_bin2l, _bb_i2bin, _bb_l2bin};
  for (const BbFn fn : wrong) {
    reports().clear();
    vl_call(fn, {NIL_VAR});
    EXPECT_EQ(last_code(), 312);
  }
}

}  // namespace
