// strings_search.cpp -- AT, RAT and STRTRAN.
//
// Searches are byte searches (NUL bytes included) by memmem.  STRTRAN
// counts the hits it will replace first, so that the result is allocated
// once at its exact size and written in one more pass.
#include <string.h>

#include <algorithm>
#include <cstring>

#include "strings_args.hpp"

using namespace vl::args;

namespace {

// Offset of the first hit of needle in hay at or after from, or npos.
size_t find_at(std::string_view hay, std::string_view needle, size_t from)
{
  if (from > hay.size()) return std::string_view::npos;
  const void* at = memmem(hay.data() + from, hay.size() - from, needle.data(), needle.size());
  return at ? static_cast<size_t>(static_cast<const char*>(at) - hay.data()) : std::string_view::npos;
}

// The hits STRTRAN changes: the first-th to the (first+count-1)-th.
struct Replace {
  std::string_view src, search, with;
  int64_t first;
  int64_t count;
};

// Number of hits a replacement changes.
int64_t hits_changed(const Replace& rp)
{
  int64_t hit = 0, changed = 0;
  for (size_t at = find_at(rp.src, rp.search, 0); at != std::string_view::npos && changed < rp.count;
       at = find_at(rp.src, rp.search, at + rp.search.size())) {
    if (++hit >= rp.first) ++changed;
  }
  return changed;
}

// Write the replaced text into out.
void write_replaced(const Replace& rp, int64_t changed, char* out)
{
  size_t done = 0;
  int64_t hit = 0;
  for (size_t at = find_at(rp.src, rp.search, 0); at != std::string_view::npos && changed > 0;
       at = find_at(rp.src, rp.search, at + rp.search.size())) {
    if (++hit < rp.first) continue;
    std::memcpy(out, rp.src.data() + done, at - done);
    out += at - done;
    std::memcpy(out, rp.with.data(), rp.with.size());
    out += rp.with.size();
    done = at + rp.search.size();
    --changed;
  }
  std::memcpy(out, rp.src.data() + done, rp.src.size() - done);
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
  const int64_t changed = rp.search.empty() ? 0 : hits_changed(rp);
  const int64_t size = static_cast<int64_t>(rp.src.size()) +
                       changed * (static_cast<int64_t>(rp.with.size()) - static_cast<int64_t>(rp.search.size()));
  var* r;
  char* out = new_text(size, &r, "STRTRAN");
  if (!out) return NULLSTR_VAR;
  write_replaced(rp, changed, out);
  return r;
}
