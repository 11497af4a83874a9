// area_select.cpp -- selecting work areas and the saved selections of
// aliased expressions.
//
// vlnSelect resolves its value to a number or an existing area and then
// acts by mode.  A missing area asked for by number is created, except
// that an empty selected record nobody else refers to is renumbered and
// reused (that is no change of selection).  An empty record left behind by
// a change of selection is deleted.
//
// Pushes.  Every push raises the links of the area selected before it (when
// there is one), whether or not the push could select its target, so that
// the area cannot be freed while the aliased expression runs, and every pop
// lowers them again.  A pop also deletes the record it leaves if that
// record has lost its object.
#include <cctype>
#include <climits>
#include <cstdio>
#include <cstring>

#include "areaint.hpp"
#include "dsslots.h"
#include "kernel.h"
#include "numbers.hpp"
#include "objects.h"
#include "runtime.hpp"
#include "vlerror.h"

using namespace vl;

namespace {

constexpr const char* kModule = "areas";
// vlnSelect preprocesses a text into a buffer of this size.
constexpr size_t kSelectText = 64;

// What vlnSelect does with the area it found or did not find.
struct SelectMode {
  int mode;
  bool select;          // an existing area becomes the selected one
  bool create;          // a missing number is created (and 0 honoured)
  bool report_text;     // a missing text reports 902
  bool report_number;   // a missing number reports 902
};

constexpr SelectMode kModes[] = {
    {-1, true, true, true, false},
    {0, true, true, true, false},
    {1, true, false, false, false},
    {2, false, false, false, false},
    {4, false, false, true, true},
};

// A requested number as an int32, numbers beyond its range clamped (they
// stay out of the range of areas).
int32_t clamp_number(double d)
{
  if (!(d > INT32_MIN)) return INT32_MIN;
  if (d > INT32_MAX) return INT32_MAX;
  return static_cast<int32_t>(d);
}

const SelectMode* find_mode(int mode)
{
  for (const SelectMode& m : kModes)
    if (m.mode == mode) return &m;
  return nullptr;
}

void report_text(const char* text)
{
  std::snprintf(repdum, sizeof repdum, "Cannot select working area '%s', ignored", text);
  rt_error(VL_E_DEV_WARNING, repdum);
}

void report_number(int32_t number)
{
  std::snprintf(repdum, sizeof repdum, "Cannot select working area %d, ignored", number);
  rt_error(VL_E_DEV_WARNING, repdum);
}

// The text, once trimmed, as a whole number (a sign and digits), or false.
bool whole_number(const char* text, int32_t* number)
{
  const char* p = text;
  while (std::isspace(static_cast<unsigned char>(*p))) ++p;
  if (*p == '-' || *p == '+') ++p;
  const char* digits = p;
  while (std::isdigit(static_cast<unsigned char>(*p))) ++p;
  if (p == digits) return false;
  while (std::isspace(static_cast<unsigned char>(*p))) ++p;
  if (*p) return false;
  *number = clamp_number(static_cast<double>(qrt_atol(text, nullptr, 0)));
  return true;
}

// The single letter A to L that text is once trimmed (as a number 1-12),
// or 0.
int32_t area_letter(const char* text)
{
  while (std::isspace(static_cast<unsigned char>(*text))) ++text;
  const int c = std::toupper(static_cast<unsigned char>(*text));
  if (c < 'A' || c > 'L') return 0;
  for (const char* p = text + 1; *p; ++p)
    if (!std::isspace(static_cast<unsigned char>(*p))) return 0;
  return c - 'A' + 1;
}

// The area of that number: on the chain, or the selected empty record.
AreaRec* numbered_area(int32_t number)
{
  if (AreaRec* a = vlnNumberLocateArea(number)) return a;
  AreaRec* sel = vlnSelectedArea;
  return sel && sel->number == number ? sel : nullptr;
}

// Make the selected area the record of number, reusing an empty selected
// record that nothing else refers to.
AreaRec* create_area(int32_t number)
{
  AreaRec* sel = vlnSelectedArea;
  if (sel && !sel->obj && sel->lnks == 0) {
    sel->number = static_cast<uint16_t>(number);
    return sel;
  }
  AreaRec* a = vlnCreateArea();
  a->number = static_cast<uint16_t>(number);
  return a;
}

// Before the selection leaves an area (force 1) or after it arrives
// (force 0): send skip(0) to the selected area's object when force is set
// or the table is shared.
void refreshCurrentWa(int force)
{
  AreaRec* a = vlnSelectedArea;
  if (!a || !a->obj || a->obj->Type != 'O') return;
  var* obj = a->obj;
  if (!force) {
    var* shared = vlnDoInstance(obj, "shared", VLN_IV_SHARED, 0, nullptr);
    if (!shared || shared->Type != 'L' || !VINT(shared)) return;
  }
  var* args[2] = {obj, ZERO_VAR};
  vlnDoMethod("skip", VLN_DS_SKIP, 0, 2, args);
}

// Make target the selected area; an empty record left behind is deleted.
AreaRec* select_area(AreaRec* target)
{
  AreaRec* old = vlnSelectedArea;
  if (target == old) return target;
  vlnSelectedArea = target;
  if (old && !old->obj) vlnDeleteArea(old);
  refreshCurrentWa(0);
  return target;
}

AreaRec* select_number(int32_t number, const SelectMode& m)
{
  if (number < 0 || number > VLN_MAX_AREA) {
    report_number(number);
    return nullptr;
  }
  if (number == 0) {
    if (!m.create) return nullptr;
    number = vlarea::lowest_free_number();
    if (number > VLN_MAX_AREA) {
      report_number(number);
      return nullptr;
    }
  }
  if (AreaRec* a = numbered_area(number)) return m.select ? select_area(a) : a;
  if (m.create) return select_area(create_area(number));
  if (m.report_number) report_number(number);
  return nullptr;
}

AreaRec* select_text(const char* text, const SelectMode& m)
{
  char buf[kSelectText];
  exp_pp(text, buf, sizeof buf, 1);
  int32_t number = 0;
  if (whole_number(buf, &number)) return select_number(number, m);
  if (AreaRec* a = vlnChr2Area(buf)) return m.select ? select_area(a) : a;
  if (const int32_t letter = area_letter(buf)) return select_number(letter, m);
  if (m.report_text) report_text(buf);
  return nullptr;
}

// Raise the links of the selected area ahead of a push; returns it.
AreaRec* hold_selected()
{
  AreaRec* prev = vlnSelectedArea;
  if (prev) ++prev->lnks;
  return prev;
}

}  // namespace

namespace vlarea {

int32_t lowest_free_number()
{
  const AreaRec* a = vlnWAHead;
  if (!a || a->number >= 2) return 1;
  while (a->nxt && a->nxt->number - a->number < 2) a = a->nxt;
  return a->number + 1;
}

}  // namespace vlarea

extern "C" {

AreaRec* vlnSelect(var* value, int mode)
{
  if (vlnSelectedArea) refreshCurrentWa(1);
  const SelectMode* m = find_mode(mode);
  if (!m) {
    std::snprintf(repdum, sizeof repdum, "Illegal parameter for vlnSelect(..., %d)", mode);
    int_error(VL_E_ILLEGAL_VALUE, repdum, kModule, __LINE__);
    return nullptr;
  }
  const char type = value ? value->Type : 'U';
  if (type == 'C') return select_text(VSTR(value) ? VSTR(value) : "", *m);
  if (type == 'F' || type == 'I' || type == 'N') {
    return select_number(clamp_number(vlnNumVar(value)), *m);
  }
  std::snprintf(repdum, sizeof repdum, "Illegal parameter for vlnSelect(%c, ...)", type);
  int_error(VL_E_ILLEGAL_VALUE, repdum, kModule, __LINE__);
  return nullptr;
}

AreaRec* vlnPushArea(AreaRec* area)
{
  AreaRec* prev = hold_selected();
  if (area && area->obj) {
    vlnSelectedArea = area;
  } else {
    rt_error(VL_E_ILLEGAL_ALIAS,
             area && area->alias && *area->alias ? area->alias : "no such area");
  }
  return prev;
}

AreaRec* vlnPopArea(AreaRec* prev)
{
  AreaRec* cur = vlnSelectedArea;
  if (prev && prev->lnks > 0) --prev->lnks;
  vlnSelectedArea = prev;
  if (cur && cur != prev && !cur->obj) vlnDeleteArea(cur);
  return prev;
}

AreaRec* vlnPushCArea(const char* alias)
{
  AreaRec* a = vlnChr2Area(alias);
  if (a && a->obj) return vlnPushArea(a);
  AreaRec* prev = hold_selected();
  var* text = set_Cvar(cre_tmpvar(), alias ? alias : "", -1);
  vlnSelect(text, 0);
  return prev;
}

AreaRec* vlnPushNArea(int32_t number)
{
  AreaRec* a = vlnNumberLocateArea(number);
  if (a && a->obj) return vlnPushArea(a);
  AreaRec* prev = hold_selected();
  vlnSelect(set_nv(number, 0), 0);
  return prev;
}

AreaRec* vlnPushIArea(int32_t known)
{
  const bool valid = known >= 0 && known < vlnKnownAreaCnt;
  AreaRec* a = valid ? vlnKnownAreas[known] : nullptr;
  if (a && a->obj) return vlnPushArea(a);
  AreaRec* prev = hold_selected();
  if (valid) {
    rt_error(VL_E_ILLEGAL_ALIAS, vlnKnownAlias[known]);
  } else {
    std::snprintf(repdum, sizeof repdum, "known alias %d", known);
    rt_error(VL_E_ILLEGAL_ALIAS, repdum);
  }
  return prev;
}

AreaRec* vlnPushVArea(var* value)
{
  const char type = value ? value->Type : 'U';
  if (type == 'C') return vlnPushCArea(VSTR(value));
  if (type == 'F' || type == 'I' || type == 'N') return vlnPushNArea(vlnIntVar(value));
  AreaRec* prev = hold_selected();
  rt_error(VL_E_ILLEGAL_ALIAS, "variable has wrong type");
  return prev;
}

}  // extern "C"
