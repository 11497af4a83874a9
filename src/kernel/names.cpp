#include "names.hpp"

#include <cctype>

namespace vl {

void fold_name(const char* name, char out[kNameSig + 1])
{
  size_t i = 0;
  for (; name && name[i] && i < kNameSig; ++i)
    out[i] = static_cast<char>(std::tolower(static_cast<unsigned char>(name[i])));
  out[i] = '\0';
}

uint32_t NameIndex::hash(const char* folded)
{
  uint32_t h = 2166136261u;  // FNV-1a
  for (; *folded; ++folded) h = (h ^ static_cast<unsigned char>(*folded)) * 16777619u;
  return h;
}

int32_t NameIndex::find(const char* folded) const
{
  if (slots_.empty()) return -1;
  const size_t mask = slots_.size() - 1;
  for (size_t i = hash(folded) & mask;; i = (i + 1) & mask) {
    const int32_t pos = slots_[i];
    if (pos < 0) return -1;
    if (std::strcmp(name_at_(pos), folded) == 0) return pos;
  }
}

void NameIndex::insert(const char* folded, int32_t pos, int32_t count)
{
  if (static_cast<size_t>(count) * 2 >= slots_.size()) {
    rebuild(count);
    return;
  }
  const size_t mask = slots_.size() - 1;
  size_t i = hash(folded) & mask;
  while (slots_[i] >= 0) i = (i + 1) & mask;
  slots_[i] = pos;
}

void NameIndex::rebuild(int32_t count)
{
  size_t size = 64;
  while (size <= static_cast<size_t>(count) * 2) size *= 2;
  slots_.assign(size, -1);
  const size_t mask = size - 1;
  for (int32_t pos = 0; pos < count; ++pos) {
    const char* name = name_at_(pos);
    if (!name[0]) continue;
    size_t i = hash(name) & mask;
    while (slots_[i] >= 0) i = (i + 1) & mask;
    slots_[i] = pos;
  }
}

}  // namespace vl
