// strings_search.cpp -- AT, RAT and STRTRAN.
//
// Searches are byte searches (NUL bytes included).  STRTRAN builds its
// result in one pass into a buffer that starts at the text's size (an
// eighth more when the replacement is longer than the search) and grows
// by doubling.
#include <algorithm>
#include <cstring>

#include "args.hpp"
#include "kernel.h"

using namespace vl::args;

namespace {

// Offset of the first hit of needle in hay at or after from, or npos.
size_t find_at(std::string_view hay, std::string_view needle, size_t from)
{
  return hay.find(needle, from);
}

// The hits STRTRAN changes: the first-th to the (first+count-1)-th.
struct Replace {
  std::string_view src, search, with;
  int64_t first;
  int64_t count;
};

// Build the replaced text: the part before each changed hit, then the
// replacement; the rest of the text at the end.
void replace(const Replace& rp, TextBuilder& out)
{
  const size_t grow = rp.with.size() > rp.search.size() ? rp.src.size() / 8 : 0;
  reserve_text(out, rp.src.size() + grow);
  size_t done = 0;
  int64_t hit = 0, changed = 0;
  if (!rp.search.empty()) {
    for (size_t at = find_at(rp.src, rp.search, 0); at != std::string_view::npos && changed < rp.count;
         at = find_at(rp.src, rp.search, at + rp.search.size())) {
      if (++hit < rp.first) continue;
      append_text(out, rp.src.data() + done, at - done);
      append_text(out, rp.with.data(), rp.with.size());
      done = at + rp.search.size();
      ++changed;
    }
  }
  append_text(out, rp.src.data() + done, rp.src.size() - done);
}

// An optional count argument: its value, at least 1, or the default.
int64_t at_least_one(var* v, int64_t absent)
{
  return is_number(v) ? std::max<int64_t>(count_arg(v), 1) : absent;
}

}  // namespace

VLN_FUNC(at)
{
  var* needle = arg(argc, argv, 0);
  var* hay = arg(argc, argv, 1);
  if (!is_text(needle) || !is_text(hay) || text(needle).empty()) return ZERO_VAR;
  const size_t at = find_at(text(hay), text(needle), 0);
  return at == std::string_view::npos ? ZERO_VAR : set_nv(static_cast<double>(at + 1), 0);
}

VLN_FUNC(rat)
{
  var* needle = arg(argc, argv, 0);
  var* hay = arg(argc, argv, 1);
  if (!is_text(needle) || !is_text(hay) || text(needle).empty()) return ZERO_VAR;
  const size_t at = text(hay).rfind(text(needle));
  return at == std::string_view::npos ? ZERO_VAR : set_nv(static_cast<double>(at + 1), 0);
}

VLN_FUNC(strtran)
{
  var* s = arg(argc, argv, 0);
  var* search = arg(argc, argv, 1);
  var* with = arg(argc, argv, 2);
  const bool with_given = with && with->Type != 'U';
  if (!is_text(s) || !is_text(search) || (with_given && !is_text(with))) return ERROR_VAR;
  Replace rp{text(s), text(search), with_given ? text(with) : std::string_view{},
             at_least_one(arg(argc, argv, 3), 1), at_least_one(arg(argc, argv, 4), kCountLimit)};
  TextBuilder out;
  replace(rp, out);
  return finish_text(out, "STRTRAN");
}
