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
