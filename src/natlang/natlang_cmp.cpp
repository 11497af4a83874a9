// natlang_cmp.cpp -- the national compare family.
//
// Every member compares by rank (the active language's collation table)
// and, with no language active, by unsigned byte value, which is the same
// as comparing through the identity table; the byte path uses the C
// library's compare routines for speed.  Results are signs: only whether a
// result is negative, zero or positive means anything.
//
// Istrcmp_n is the language's `=`.  With SET EXACT off a longer left side
// equals its prefix on the right and anything equals an empty right side;
// with SET EXACT on trailing blanks are ignored and then the longer side is
// greater.  In a language "blank" means "of rank 32", as the language files
// place the blank at rank 32; a language that puts another character there
// makes that character trimmable too.
#include <algorithm>
#include <cstring>

#include "natlang.hpp"
#include "natlang_tables.hpp"
#include "switches.hpp"

using namespace vl;

namespace {

constexpr unsigned kBlankRank = ' ';

bool language_active() { return curr_lang >= 0 && curr_lang < VLN_LANGUAGES; }

unsigned byte(const char* s, int32_t i) { return static_cast<unsigned char>(s[i]); }

// Length of the first n bytes of s without trailing blanks.
int32_t trimmed(const char* s, int32_t n, const unsigned char* rank)
{
  while (n > 0 && rank[byte(s, n - 1)] == kBlankRank) --n;
  return n;
}

// Compare exactly n bytes.
int compare_counted(const char* a, const char* b, int32_t n, const unsigned char* rank)
{
  if (n <= 0) return 0;
  if (!language_active()) return std::memcmp(a, b, static_cast<size_t>(n));
  for (int32_t i = 0; i < n; ++i) {
    const int d = rank[byte(a, i)] - rank[byte(b, i)];
    if (d) return d;
  }
  return 0;
}

// Compare at most n characters by map, stopping at a terminator on either
// side; a text that ends first is the smaller.
int compare_stopping(const char* a, const char* b, int32_t n, const unsigned char* map)
{
  for (int32_t i = 0; i < n; ++i) {
    const unsigned ca = byte(a, i), cb = byte(b, i);
    if (ca == 0 || cb == 0) return ca == cb ? 0 : (ca == 0 ? -1 : 1);
    const int d = map[ca] - map[cb];
    if (d) return d;
  }
  return 0;
}

int32_t text_length(const char* s) { return static_cast<int32_t>(std::strlen(s)); }

}  // namespace

namespace vl {

int Istrcmp_n(const char* a, const char* b, int32_t la, int32_t lb)
{
  la = std::max(la, 0);
  lb = std::max(lb, 0);
  if (la == 0 && lb == 0) return 0;
  const unsigned char* rank = vl::lang::active().rank;
  if (vlnGetExact()) {
    la = trimmed(a, la, rank);
    lb = trimmed(b, lb, rank);
    if (const int d = compare_counted(a, b, std::min(la, lb), rank)) return d;
    return la > lb ? 1 : (la < lb ? -1 : 0);
  }
  if (lb == 0) return 0;
  if (const int d = compare_counted(a, b, std::min(la, lb), rank)) return d;
  if (la >= lb) return 0;
  const int next = rank[byte(b, la)];
  return next ? -next : -1;
}

int Istrcmp(const char* a, const char* b)
{
  const unsigned char* rank = vl::lang::active().rank;
  int32_t n;
  if (vlnGetExact()) {
    n = std::max(trimmed(a, text_length(a), rank), trimmed(b, text_length(b), rank));
  } else {
    n = text_length(b);
  }
  return Istrncmp(a, b, n);
}

int Istrncmp(const char* a, const char* b, int32_t n)
{
  if (n <= 0) return 0;
  if (!language_active()) return std::strncmp(a, b, static_cast<size_t>(n));
  return compare_stopping(a, b, n, vl::lang::active().rank);
}

int IStrNECmp(const char* a, const char* b, int32_t n)
{
  return compare_counted(a, b, n, vl::lang::active().rank);
}

int Istrnicmp(const char* a, const char* b, int32_t n)
{
  if (n <= 0) return 0;
  return compare_stopping(a, b, n, vl::lang::active().upper);
}

}  // namespace vl
