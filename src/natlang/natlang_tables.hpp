// natlang_tables.hpp -- the fixed C tables and the choice of the tables in
// force.
//
// Without an active language the library behaves as in the C locale: byte
// order, ASCII case mapping and ASCII classes.  These tables are computed
// here once, at compile time, so that no result ever depends on the
// locale the process runs under.
#pragma once

#include <array>
#include <cstdint>

#include "natlang.h"

namespace vl::lang {

constexpr bool ascii_upper(int c) { return c >= 'A' && c <= 'Z'; }
constexpr bool ascii_lower(int c) { return c >= 'a' && c <= 'z'; }
constexpr bool ascii_digit(int c) { return c >= '0' && c <= '9'; }
constexpr bool ascii_punct(int c)
{
  return c > ' ' && c < 0x7F && !ascii_upper(c) && !ascii_lower(c) && !ascii_digit(c);
}
constexpr bool ascii_blank(int c) { return c == ' ' || c == '\t'; }

// The class word of byte c in the C tables.
constexpr uint32_t c_classes(int c)
{
  uint32_t w = 0;
  const bool alpha = ascii_upper(c) || ascii_lower(c);
  if (alpha) w |= VLN_CL_ALPHA;
  if (ascii_digit(c)) w |= VLN_CL_DIGIT;
  if (ascii_digit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F')) w |= VLN_CL_XDIGIT;
  if (c < ' ' || c == 0x7F) w |= VLN_CL_CNTRL;
  if (c == ' ' || (c >= '\t' && c <= '\r')) w |= VLN_CL_SPACE;
  if (alpha || ascii_digit(c) || ascii_punct(c) || ascii_blank(c)) w |= VLN_CL_PRINT;
  if (alpha || ascii_digit(c) || ascii_punct(c)) w |= VLN_CL_GRAPH;
  if (ascii_upper(c)) w |= VLN_CL_UPPER;
  if (ascii_lower(c)) w |= VLN_CL_LOWER;
  return w;
}

// The four byte tables and the class table of the C locale.
struct CTables {
  std::array<unsigned char, 256> identity{};
  std::array<unsigned char, 256> upper{};
  std::array<unsigned char, 256> lower{};
  std::array<uint32_t, 256> classes{};
};

constexpr CTables make_c_tables()
{
  CTables t;
  for (int c = 0; c < 256; ++c) {
    t.identity[c] = static_cast<unsigned char>(c);
    t.upper[c] = static_cast<unsigned char>(ascii_lower(c) ? c - 'a' + 'A' : c);
    t.lower[c] = static_cast<unsigned char>(ascii_upper(c) ? c - 'A' + 'a' : c);
    t.classes[c] = c_classes(c);
  }
  return t;
}

inline constexpr CTables kC = make_c_tables();

// The tables in force: the active language's, or the C tables.
struct Active {
  const unsigned char* rank;
  const unsigned char* upper;
  const unsigned char* lower;
  const uint32_t* classes;
};

inline Active active()
{
  if (curr_lang >= 0 && curr_lang < VLN_LANGUAGES) {
    const VlnLangRec& l = languages[curr_lang];
    return {l.collation, l.upper, l.lower, l.classes};
  }
  return {kC.identity.data(), kC.upper.data(), kC.lower.data(), kC.classes.data()};
}

// The active language record, or null.
inline const VlnLangRec* active_record()
{
  return curr_lang >= 0 && curr_lang < VLN_LANGUAGES ? &languages[curr_lang] : nullptr;
}

// Fill a record with the C tables, no texts, not loaded.
void reset_record(VlnLangRec& rec);

}  // namespace vl::lang
