// strings_bin.cpp -- integers as binary text and back: BIN2I, BIN2W,
// BIN2L, I2BIN and L2BIN.
//
// The text holds the integer little-endian, low byte first: 2 bytes for
// the 16-bit forms (BIN2I signed, BIN2W unsigned), 4 for the 32-bit ones.
// Bytes missing at the end of a short text count as 0, and bytes past the
// width are ignored.  I2BIN and L2BIN write the low 16 or 32 bits of the
// number truncated toward zero.  An argument of the wrong type reports 312
// and gives 0 or "".
#include <algorithm>
#include <cstdio>

#include "args.hpp"
#include "kernel.h"
#include "runtime.hpp"

using namespace vl;

using namespace vl::args;

namespace {

constexpr size_t kShort = 2;
constexpr size_t kLong = 4;
constexpr unsigned kByteBits = 8;
constexpr uint64_t kByteMask = 0xFF;

// The first width bytes of a text argument as an unsigned little-endian
// integer; false after the report when it is no text.
bool read_bytes(int argc, var** argv, const char* name, size_t width, uint32_t* out)
{
  var* s = arg(argc, argv, 0);
  if (!is_text(s)) {
    std::snprintf(repdum, sizeof repdum, "%s(): argument should be 'C', not '%c'", name, type_of(s));
    rt_error(VL_E_ARG_TYPE, repdum);
    return false;
  }
  const std::string_view t = text(s);
  uint32_t v = 0;
  for (size_t i = std::min(width, t.size()); i-- > 0;) v = v << kByteBits | static_cast<unsigned char>(t[i]);
  *out = v;
  return true;
}

// The low width bytes of a numeric argument, low byte first.
var* write_bytes(int argc, var** argv, const char* name, size_t width)
{
  var* n = arg(argc, argv, 0);
  if (!is_number(n)) {
    std::snprintf(repdum, sizeof repdum, "%s(): argument should be numeric, not '%c'", name, type_of(n));
    rt_error(VL_E_ARG_TYPE, repdum);
    return NULLSTR_VAR;
  }
  auto v = static_cast<uint64_t>(count_arg(n));
  char bytes[kLong];
  for (size_t i = 0; i < width; ++i, v >>= kByteBits) bytes[i] = static_cast<char>(v & kByteMask);
  return text_result(bytes, width);
}

}  // namespace

VLN_FUNC(bin2i)
{
  uint32_t v;
  if (!read_bytes(argc, argv, "BIN2I", kShort, &v)) return ZERO_VAR;
  return set_nv(static_cast<int16_t>(v), 0);
}

VLN_FUNC(bin2w)
{
  uint32_t v;
  if (!read_bytes(argc, argv, "BIN2W", kShort, &v)) return ZERO_VAR;
  return set_nv(v, 0);
}

VLN_FUNC(bin2l)
{
  uint32_t v;
  if (!read_bytes(argc, argv, "BIN2L", kLong, &v)) return ZERO_VAR;
  return set_nv(static_cast<int32_t>(v), 0);
}

VLN_FUNC(i2bin) { return write_bytes(argc, argv, "I2BIN", kShort); }
VLN_FUNC(l2bin) { return write_bytes(argc, argv, "L2BIN", kLong); }
