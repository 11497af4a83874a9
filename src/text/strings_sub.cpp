// strings_sub.cpp -- SUBSTR, LEFT, RIGHT and STUFF.
//
// Positions follow SUBSTR's rules everywhere: a negative start counts from
// the end (-1 is the last character), 0 is like 1, a start left of the
// text is the first character; a negative count is nothing and a count is
// cut to what remains.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "args.hpp"
#include "kernel.h"
#include "runtime.hpp"

using namespace vl;

using namespace vl::args;

namespace {

// A piece of a text: 0-based offset and byte count.
struct Span {
  int64_t offset;
  int64_t count;
};

// The offset of 1-based start in a text of len bytes; len when the start
// lies beyond the end.
int64_t start_offset(int64_t len, int64_t start)
{
  if (start < 0) start = std::max<int64_t>(len + start + 1, 0);
  if (start == 0) start = 1;
  return std::min(start - 1, len);
}

Span span(int64_t len, int64_t start, bool has_count, int64_t count)
{
  const int64_t off = start_offset(len, start);
  const int64_t rest = len - off;
  if (!has_count) return {off, rest};
  return {off, std::clamp<int64_t>(count, 0, rest)};
}

var* piece(var* s, Span sp)
{
  return text_result(text(s).substr(static_cast<size_t>(sp.offset), static_cast<size_t>(sp.count)));
}

var* substr_error(int code)
{
  rt_error(code, repdum);
  return NULLSTR_VAR;
}

}  // namespace

VLN_FUNC(substr)
{
  if (argc < 2 || argc > 3) {
    std::snprintf(repdum, sizeof repdum, "SUBSTR: has 2 or 3 arguments, not %d ", argc);
    return substr_error(VL_E_ARG_COUNT);
  }
  if (!is_text(argv[0]) || !is_number(argv[1])) {
    std::snprintf(repdum, sizeof repdum, "SUBSTR: argument types should be 'C, N', not '%c, %c' ",
                  argv[0]->Type, argv[1]->Type);
    return substr_error(VL_E_ARG_TYPE);
  }
  if (argc == 3 && !is_number(argv[2])) {
    std::snprintf(repdum, sizeof repdum, "SUBSTR: third argument type should be 'N', not '%c' ",
                  argv[2]->Type);
    return substr_error(VL_E_ARG_TYPE);
  }
  const int64_t len = static_cast<int64_t>(text(argv[0]).size());
  return piece(argv[0], span(len, count_arg(argv[1]), argc == 3, argc == 3 ? count_arg(argv[2]) : 0));
}

VLN_FUNC(left)
{
  var* s = arg(argc, argv, 0);
  var* n = arg(argc, argv, 1);
  if (!is_text(s) || !is_number(n)) return NULLSTR_VAR;
  const int64_t len = static_cast<int64_t>(text(s).size());
  return piece(s, {0, std::clamp<int64_t>(count_arg(n), 0, len)});
}

VLN_FUNC(right)
{
  var* s = arg(argc, argv, 0);
  var* n = arg(argc, argv, 1);
  if (!is_text(s) || !is_number(n)) return NULLSTR_VAR;
  const int64_t len = static_cast<int64_t>(text(s).size());
  const int64_t count = std::clamp<int64_t>(count_arg(n), 0, len);
  return piece(s, {len - count, count});
}

VLN_FUNC(stuff)
{
  var* s = arg(argc, argv, 0);
  var* start = arg(argc, argv, 1);
  var* del = arg(argc, argv, 2);
  var* ins = arg(argc, argv, 3);
  if (!is_text(s) || !is_number(start) || !is_number(del) || !is_text(ins)) return NULLSTR_VAR;
  const std::string_view src = text(s), add = text(ins);
  const Span cut = span(static_cast<int64_t>(src.size()), count_arg(start), true, count_arg(del));
  const int64_t tail = static_cast<int64_t>(src.size()) - cut.offset - cut.count;
  var* r;
  char* out = new_text(cut.offset + static_cast<int64_t>(add.size()) + tail, &r, "STUFF");
  if (!out) return NULLSTR_VAR;
  put_bytes(out, src.substr(0, static_cast<size_t>(cut.offset)));
  put_bytes(out + cut.offset, add);
  put_bytes(out + cut.offset + add.size(), src.substr(static_cast<size_t>(cut.offset + cut.count)));
  return r;
}
