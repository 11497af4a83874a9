// names.hpp -- folding of language names and an open-addressing index from
// names to positions, shared by the memory-variable table and the function
// registry.
#pragma once

#include <cstdint>
#include <cstring>
#include <vector>

namespace vl {

// Significant characters of a language name.
constexpr size_t kNameSig = 10;

// Fold name to lower case and cut it to 10 characters into out[11].
void fold_name(const char* name, char out[kNameSig + 1]);

// Maps folded names to int32 positions; the caller keeps the names and
// hands a reader that gives the name at a position.
class NameIndex {
 public:
  using NameAt = const char* (*)(int32_t pos);

  explicit NameIndex(NameAt name_at) : name_at_(name_at) {}

  // Position of the folded name, or -1.
  int32_t find(const char* folded) const;
  // Record that folded now stands at pos (count = positions in use).
  void insert(const char* folded, int32_t pos, int32_t count);

 private:
  static uint32_t hash(const char* folded);
  void rebuild(int32_t count);

  NameAt name_at_;
  std::vector<int32_t> slots_;  // -1 empty; size a power of two
};

}  // namespace vl
