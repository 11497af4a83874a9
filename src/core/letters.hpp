// letters.hpp -- the letter sets that classify Type and Mode letters.
//
// Library code tests a value's kind against short fixed sets of letters
// ("NFIL" numeric or logical, "CM" text, ...).  A bare strchr would also
// match the byte 0; these constexpr bit sets never do.
#pragma once

#include <cstdint>

namespace vl {

struct LetterSet {
  uint64_t bits[4] = {0, 0, 0, 0};

  constexpr bool has(char c) const
  {
    const auto u = static_cast<unsigned char>(c);
    return u != 0 && ((bits[u >> 6] >> (u & 63)) & 1u) != 0;
  }
};

constexpr LetterSet letters(const char* s)
{
  LetterSet set;
  for (; *s; ++s) {
    const auto u = static_cast<unsigned char>(*s);
    set.bits[u >> 6] |= uint64_t{1} << (u & 63);
  }
  return set;
}

// A set of letters from '@' to DEL as one 64-bit word, for the hottest
// tests: one subtraction, one shift, one mask.
constexpr uint64_t word_of(const char* s)
{
  uint64_t w = 0;
  for (; *s; ++s) w |= uint64_t{1} << ((static_cast<unsigned char>(*s) - 0x40) & 63);
  return w;
}

// Whether c (which must lie in '@'..DEL to count) is in word w.
constexpr bool in_word(uint64_t w, char c)
{
  const unsigned u = static_cast<unsigned char>(c) - 0x40u;
  return u < 64 && ((w >> u) & 1u) != 0;
}

// Type sets.
inline constexpr LetterSet kNFIL = letters("NFIL");  // numeric or logical
inline constexpr LetterSet kNFI = letters("NFI");    // numeric
inline constexpr LetterSet kNF = letters("NF");      // double numeric
inline constexpr LetterSet kCM = letters("CM");      // text
inline constexpr LetterSet kOu = letters("Ou");      // object
inline constexpr LetterSet kOA = letters("OA");      // array or object
inline constexpr LetterSet kBb = letters("Bb");      // code block
inline constexpr LetterSet kShared = letters("AOBb");  // share an array record
inline constexpr LetterSet kHasEmpty = letters("ABCDILNOu?");

// Mode sets.
inline constexpr LetterSet kModeIncDec = letters("SNLVFPMT");
inline constexpr LetterSet kModeInPlace = letters("NVLS");
inline constexpr LetterSet kModeInPlaceStr = letters("NVLSnvls");
inline constexpr LetterSet kModeByRef = letters("SsPpMmCcNnLl");
inline constexpr LetterSet kModeWritable = letters("SsPpMmCcNnLlVvF");
inline constexpr LetterSet kModeStrict = letters("Ss");
inline constexpr LetterSet kModeField = letters("Ff");

}  // namespace vl
