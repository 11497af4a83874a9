// area_chain.cpp -- area records, the chain of bound areas and the look-ups.
//
// An area record lives while something refers to it: its bound object (one
// link), each saved selection of an aliased expression (one link each), or
// the selection itself.  vlnDeleteArea unbinds a record and frees it only
// when none of these is left; the caller has unlinked it from the chain
// before.  The object is released last, after the record is consistent
// again, because releasing it may run the object's axit, which is language
// code that may touch the areas or leave by BREAK.
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "areaint.hpp"
#include "areas.h"
#include "dumps.h"
#include "kernel.h"
#include "natlang.hpp"
#include "numbers.hpp"
#include "objects.h"
#include "vlerror.h"

using namespace vl;

namespace {

constexpr const char* kModule = "areas";
// vlnChr2Area copies at most this much of a text, then keeps 10 characters.
constexpr size_t kChr2AreaCopy = 64;
constexpr size_t kAliasChars = 10;
// The letters that name areas 1 to 12 when no alias matches.
constexpr char kFirstAreaLetter = 'A';
constexpr char kLastAreaLetter = 'L';
constexpr char kSelectedLetter = 'M';
// A one-letter alias must sort at or above this letter.
constexpr char kFirstAliasLetter = 'N';

// The empty alias of an unbound record.
const char kNoAlias[] = "";

void trim_right(char* s)
{
  size_t n = std::strlen(s);
  while (n > 0 && std::isspace(static_cast<unsigned char>(s[n - 1]))) s[--n] = '\0';
}

// The function of the object's method name when the class links one (at any
// level: the area calls it from outside any method), else null.
BbFn quick_method(var* obj, const char* name)
{
  int32_t level = VL_NO_LEVEL_LIMIT;
  const int32_t i = vlnLocateMethod(name, vlnClassOf(obj), VL_KIND_METHOD, &level);
  const ArrRec* a = VARR(obj);
  if (i < 0 || a->A_size < 2 || a->A_vec[1]->Type != 'A') return nullptr;
  const ArrRec* methods = VARR(a->A_vec[1]);
  if (!methods || static_cast<uint32_t>(i) >= methods->A_size) return nullptr;
  const var* m = methods->A_vec[i];
  const bool linked = m->Type == 'B' && m->Value.w2.fn && m->Value.w2.fn != NILCB_VAR->Value.w2.fn;
  return linked ? reinterpret_cast<BbFn>(m->Value.w2.fn) : nullptr;
}

}  // namespace

namespace vlarea {

int alias_cmp(const char* a, const char* b)
{
  return Istrnicmp(a ? a : "", b ? b : "", VLN_ALIAS_CMP);
}

bool is_object(const var* v)
{
  return v && (v->Type == 'O' || v->Type == 'u') && v->Value.w1.arr;
}

bool same_object(const var* a, const var* b)
{
  return is_object(a) && is_object(b) && a->Value.w1.arr == b->Value.w1.arr;
}

void chain_unlink(AreaRec* area)
{
  for (AreaRec** p = &vlnWAHead; *p; p = &(*p)->nxt)
    if (*p == area) {
      *p = area->nxt;
      area->nxt = nullptr;
      return;
    }
}

void chain_insert(AreaRec* area)
{
  chain_unlink(area);
  AreaRec** p = &vlnWAHead;
  while (*p && (*p)->number < area->number) p = &(*p)->nxt;
  area->nxt = *p;
  *p = area;
}

bool tracing() { return __diag && __diag_fp; }

void trace(const char* format, ...)
{
  if (!tracing()) return;
  va_list ap;
  va_start(ap, format);
  std::vfprintf(__diag_fp, format, ap);
  va_end(ap);
}

}  // namespace vlarea

using vlarea::trace;

extern "C" {

AreaRec* vlnCreateArea(void)
{
  auto* area = static_cast<AreaRec*>(vln_malloc(sizeof(AreaRec), "for a work area", VL_SEV_FATAL,
                                                VL_LEVEL_ALWAYS, kModule, __LINE__));
  std::memset(area, 0, sizeof *area);
  area->alias = kNoAlias;
  trace("%8lx %9d   vlnCreateArea() -> %08lx\n", reinterpret_cast<unsigned long>(area), 0,
        reinterpret_cast<unsigned long>(area));
  return area;
}

// Drop the binding of area to its known-alias slot.
static void unbind_known(AreaRec* area)
{
  for (int32_t i = 0; i < vlnKnownAreaCnt; ++i)
    if (vlnKnownAreas[i] == area) vlnKnownAreas[i] = nullptr;
  area->typ &= static_cast<uint8_t>(~VLN_AREA_KNOWN);
}

void vlnDeleteArea(AreaRec* area)
{
  if (!area) return;
  const auto addr = reinterpret_cast<unsigned long>(area);
  trace("%8lx %9d.%d vlnDeleteArea(%08lx), known=%s object ptr=%08lx links=%u\n", addr,
        area->number, area->typ, addr, (area->typ & VLN_AREA_KNOWN) ? "YES" : "NO",
        reinterpret_cast<unsigned long>(area->obj), area->lnks);
  if (area->typ & VLN_AREA_KNOWN) unbind_known(area);
  area->alias = kNoAlias;
  var* obj = area->obj;
  if (obj) {
    area->obj = nullptr;
    --area->lnks;
    trace("%8lx %9d.%d vlnDeleteArea()  -- Object detached\n", addr, area->number, area->typ);
  }
  area->qgm = nullptr;
  area->qpm = nullptr;
  area->nxt = nullptr;
  const bool selected = area == vlnSelectedArea;
  trace("%8lx %9d.%d vlnDeleteArea() links=%u", addr, area->number, area->typ, area->lnks);
  if (selected) trace(" area==selected area");
  trace("\n");
  if (area->lnks == 0 && !selected) {
    trace("%8lx %9d.%d vlnDeleteArea()  -- FREEing area structure\n", addr, area->number,
          area->typ);
    vln_free(area, kModule, __LINE__);
  }
  if (obj) del_var(obj);
}

AreaRec* vlnSetArea(AreaRec* area, int32_t number, const char* alias, var* obj)
{
  if (!area || !vlnValidAlias(alias)) return nullptr;
  if (number) area->number = static_cast<uint16_t>(number);
  area->alias = alias;
  var* old = area->obj;
  if (old) --area->lnks;
  var* held = mak_var('N', 'U');
  cpy_var(held, obj);
  area->obj = held;
  ++area->lnks;
  area->qgm = quick_method(held, "quickfieldget");
  area->qpm = quick_method(held, "quickfieldput");
  vlarea::chain_insert(area);
  if (old) del_var(old);
  return area;
}

AreaRec* vlnAliasLocateArea(const char* alias)
{
  if (!alias) return nullptr;
  for (AreaRec* a = vlnWAHead; a; a = a->nxt)
    if (vlarea::alias_cmp(a->alias, alias) == 0) return a;
  return nullptr;
}

AreaRec* vlnNumberLocateArea(int32_t number)
{
  for (AreaRec* a = vlnWAHead; a; a = a->nxt)
    if (a->number == number) return a;
  return nullptr;
}

AreaRec* vlnObjectLocateArea(var* obj)
{
  for (AreaRec* a = vlnWAHead; a; a = a->nxt)
    if (vlarea::same_object(a->obj, obj)) return a;
  return nullptr;
}

var* vlnGetAreaObject(int32_t number)
{
  AreaRec* a = number ? vlnNumberLocateArea(number) : nullptr;
  if (!a) a = vlnSelectedArea;
  return a && a->obj ? a->obj : NIL_VAR;
}

int32_t vlnLocateKnownAlias(const char* alias)
{
  if (!alias || !*alias) return -1;
  for (int32_t i = 0; i < vlnKnownAreaCnt; ++i)
    if (vlnKnownAlias[i] && vlarea::alias_cmp(vlnKnownAlias[i], alias) == 0) return i;
  return -1;
}

int vlnValidAlias(const char* name)
{
  if (!name) return 0;
  if (name[0] && !name[1] && static_cast<unsigned char>(name[0]) < kFirstAliasLetter) return 0;
  if (!std::strcmp(name, "MEMVAR") || !std::strcmp(name, "FIELD") || !std::strcmp(name, "_FIELD"))
    return 0;
  for (const char* p = name; *p; ++p)
    if (static_cast<unsigned char>(*p) <= ' ') return 0;
  return 1;
}

AreaRec* vlnChr2Area(const char* text)
{
  if (!text || !*text) return vlnSelectedArea;
  char copy[kChr2AreaCopy + 1];
  size_t n = 0;
  for (; n < kChr2AreaCopy && text[n]; ++n)
    copy[n] = static_cast<char>(Itoupper(static_cast<unsigned char>(text[n])));
  copy[n] = '\0';
  char* s = copy;
  while (std::isspace(static_cast<unsigned char>(*s))) ++s;
  if (std::strlen(s) > kAliasChars) s[kAliasChars] = '\0';
  trim_right(s);
  if (AreaRec* a = vlnAliasLocateArea(s)) return a;
  if (s[0] && !s[1]) {
    if (s[0] >= kFirstAreaLetter && s[0] <= kLastAreaLetter)
      return vlnNumberLocateArea(s[0] - kFirstAreaLetter + 1);
    if (s[0] == kSelectedLetter) return vlnSelectedArea;
  }
  const long number = qrt_atol(s, nullptr, 0);
  return number ? vlnNumberLocateArea(static_cast<int32_t>(number)) : nullptr;
}

}  // extern "C"

// The work-area globals.  The kernel defines
// them so that compiled modules can refer to the known-alias tables before
// the database is linked in; the work-area code is their only user.  The
// known-alias tables start empty: nothing registers aliases at build time.
extern "C" {

AreaRec* vlnWAHead = nullptr;
AreaRec* vlnSelectedArea = nullptr;
char** vlnKnownAlias = nullptr;
AreaRec** vlnKnownAreas = nullptr;
int32_t vlnKnownAreaCnt = 0;

}  // extern "C"
