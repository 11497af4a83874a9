// Class records: reading the rows and finding instance variables and
// methods by name.
#include "objects.h"

namespace {

// Characters that make two instance names equal.
constexpr int kInstanceNameLength = 10;
// Characters that make two method names equal.
constexpr int kMethodNameLength = 250;
// Room for one name folded to lower case.
constexpr int kNameBuffer = 256;

struct RowRange {
  int32_t first;
  int32_t count;
};

// Names are ASCII: fold without the locale.
inline int lower(unsigned char c) { return c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c; }

const char* row_name(const VlnClassRow& row) { return reinterpret_cast<const char*>(row.w1); }

void fold_lower(const char* name, char* out)
{
  int i = 0;
  for (; name[i] && i < kNameBuffer - 1; ++i)
    out[i] = static_cast<char>(lower(static_cast<unsigned char>(name[i])));
  out[i] = '\0';
}

// The last row in range whose name equals name, or -1.
int32_t last_equal(const VlnClassRow* cls, RowRange r, const char* name, int len)
{
  int32_t lo = r.first, hi = r.first + r.count;  // first row greater than name
  while (lo < hi) {
    int32_t mid = lo + (hi - lo) / 2;
    if (vlnStrNLCmp(name, row_name(cls[mid]), len) >= 0)
      lo = mid + 1;
    else
      hi = mid;
  }
  if (lo == r.first || vlnStrNLCmp(name, row_name(cls[lo - 1]), len) != 0) return -1;
  return lo - 1;
}

bool level_allowed(int32_t limit, int32_t level) { return limit < -1 || limit >= level; }

}  // namespace

extern "C" {

const VlnClassRow* vlnClassOf(var* obj)
{
  if (!obj || (obj->Type != 'O' && obj->Type != 'u')) return nullptr;
  ArrRec* a = obj->Value.w1.arr;
  if (!a || a->A_size < 1 || a->A_vec[0]->Type != '?') return nullptr;
  return static_cast<const VlnClassRow*>(a->A_vec[0]->Value.w1.ptr);
}

const char* vlnClassName(const VlnClassRow* cls)
{
  if (!cls || cls[0].w4 < 2) return "";
  const char* name = row_name(cls[cls[0].w4 - 1]);
  return name ? name : "";
}

int vlnStrNLCmp(const char* a, const char* b, int n)
{
  for (int i = 0; i < n; ++i) {
    int ca = lower(static_cast<unsigned char>(a[i]));
    int cb = lower(static_cast<unsigned char>(b[i]));
    if (ca != cb) return ca - cb;
    if (ca == 0) return 0;
  }
  return 0;
}

int32_t vlnLocateInstance(const char* name, const VlnClassRow* cls)
{
  if (!cls || !name || cls[0].w2 <= 0) return -1;
  char folded[kNameBuffer];
  fold_lower(name, folded);
  int32_t row = last_equal(cls, {cls[0].w4, cls[0].w2}, folded, kInstanceNameLength);
  return row < 0 ? -1 : cls[row].w2;
}

int32_t vlnLocateMethod(const char* name, const VlnClassRow* cls, int kind, int32_t* limit)
{
  int32_t lim = *limit;
  *limit = VL_NO_LEVEL_LIMIT;
  if (!cls || !name || cls[0].w3 <= 0) return -1;
  char folded[kNameBuffer];
  fold_lower(name, folded);
  RowRange r{cls[0].w4 + cls[0].w2, cls[0].w3};
  int32_t row = last_equal(cls, r, folded, kMethodNameLength);
  if (kind == VL_KIND_PROC) kind = VL_KIND_METHOD;
  for (; row >= r.first && vlnStrNLCmp(folded, row_name(cls[row]), kMethodNameLength) == 0; --row) {
    int32_t rk = cls[row].w4 == VL_KIND_PROC ? VL_KIND_METHOD : cls[row].w4;
    if (rk == kind && level_allowed(lim, cls[row].w3)) {
      *limit = cls[row].w3;
      return cls[row].w2;
    }
  }
  return -1;
}

}  // extern "C"
