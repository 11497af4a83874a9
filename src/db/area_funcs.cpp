// area_funcs.cpp -- the language functions of the work areas: SELECT() and
// the announcements that drivers written in the language make.
#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>

#include "areaint.hpp"
#include "arrays.h"
#include "kernel.h"
#include "vlerror.hpp"
#include "vlgen.h"

namespace {

constexpr const char* kModule = "areas";
using vlarea::kAliasBuffer;
// SELECT("alias->...") looks only at the text before the arrow.
constexpr size_t kSelectText = 256;

bool is_text(const var* v) { return v && v->Type == 'C'; }
bool is_number(const var* v) { return v && (v->Type == 'N' || v->Type == 'I' || v->Type == 'F'); }

// The number SELECT() gives for argv.
int32_t select_number(int argc, var** argv)
{
  const char* text = argc > 0 && is_text(argv[0]) ? VSTR(argv[0]) : nullptr;
  if (!text || !*text) return vlnSelectedArea ? vlnSelectedArea->number : 1;
  char buf[kSelectText];
  std::strncpy(buf, text, sizeof buf - 1);
  buf[sizeof buf - 1] = '\0';
  if (char* arrow = std::strstr(buf, "->")) *arrow = '\0';
  AreaRec* a = vlnChr2Area(buf);
  return a ? a->number : 0;
}

// The field type letter of a type text: blanks and tabs skipped, upper-cased.
int field_type(const char* text)
{
  while (*text == ' ' || *text == '\t') ++text;
  return std::toupper(static_cast<unsigned char>(*text));
}

}  // namespace

// SELECT([cAlias]): the number of the selected area (1 when none), or of
// the area the text before "->" names (0 when none).
VLN_FUNC(select) { return set_nv(select_number(argc, argv), 0); }

// WAREA([cAlias]): the same as SELECT().
VLN_FUNC(warea) { return set_nv(select_number(argc, argv), 0); }

// RDDANNOUNCEALIAS(oServer, cName): bind the object to the selected area;
// gives the alias actually used.
VLN_FUNC(rddannalia)
{
  if (argc != 2) return rt_error(VL_E_ARG_COUNT, "RddAnnounceField(): 2 params expected");
  if (!vlarea::is_object(argv[0]) || !is_text(argv[1]))
    return rt_error(VL_E_ARG_TYPE, "expected P[1..7] types AC");
  char alias[kAliasBuffer] = "";
  vlnAnnounceAlias(argv[0], VSTR(argv[1]), alias);
  AreaRec* a = vlnObjectLocateArea(argv[0]);
  if (a && a->alias == alias) {  // the area keeps the text itself
    std::memcpy(a->aliasbuf, alias, sizeof a->aliasbuf);
    a->alias = a->aliasbuf;
  }
  return set_Cvar(cre_tmpvar(), alias, -1);
}

// RDDANNOUNCEFIELD(cName, nField, cType, nBacked, nLen, nDec, aFields):
// make the field variable of field nField and store it in aFields[nField].
VLN_FUNC(rddannfiel)
{
  if (argc != 7) return rt_error(VL_E_ARG_COUNT, "RddAnnounceField(): 7 params expected");
  static const char kTypes[] = "CNCNNNA";
  for (int i = 0; i < 7; ++i) {
    const bool ok = kTypes[i] == 'C' ? is_text(argv[i])
                    : kTypes[i] == 'N' ? is_number(argv[i])
                                       : argv[i] && argv[i]->Type == 'A';
    if (!ok) return rt_error(VL_E_ARG_TYPE, "expected P[1..7] types CNCNNNA");
  }
  const int32_t number = vlnIntVar(argv[1]);
  ArrRec* fields = VARR(argv[6]);
  if (number < 1 || static_cast<uint32_t>(number) > fields->A_size)
    return rt_error(VL_E_ILLEGAL_VALUE, "array of fields too small");
  const int type = field_type(VSTR(argv[2]));
  const int32_t length = vlnIntVar(argv[4]);
  const int32_t decimals = vlnIntVar(argv[5]);
  char* storage = nullptr;
  if (type == 'C') {
    const size_t size = static_cast<size_t>(std::max(decimals * 256 + length, 0));
    storage = static_cast<char*>(vln_malloc(size + 1, vln_errmsg[16], VL_SEV_FATAL,
                                            VL_LEVEL_ALWAYS, kModule, __LINE__));
    std::memset(storage, ' ', size);
    storage[size] = '\0';
  }
  var* f = vlnAnnounceField(VSTR(argv[0]), number - 1, type, vlnIntVar(argv[3]), length, decimals,
                            storage);
  if (!f) {
    vln_free(storage, kModule, __LINE__);
    return NIL_VAR;
  }
  vlarea::own_storage(f);
  var*& slot = fields->A_vec[number - 1];
  ++f->Links;
  if (slot) del_var(slot);
  slot = f;
  return f;
}

// RDDRETIREALIAS(oServer): unbind the object's area; TRUE when it had one.
VLN_FUNC(rddretalia)
{
  if (argc < 1 || !vlarea::is_object(argv[0])) return rt_error(VL_E_ARG_TYPE, "object expected");
  return vlnRetireAlias(argv[0]) == 0 ? TRUE_VAR : FALSE_VAR;
}

// RDDRETIREFIELD(oServer, cName): remove the object's field of that name.
VLN_FUNC(rddretfiel)
{
  if (argc != 2) return rt_error(VL_E_ARG_COUNT, "RddRetireField(): 2 params expected");
  if (!vlarea::is_object(argv[0]) || !is_text(argv[1]))
    return rt_error(VL_E_ARG_TYPE, "expected P[1..7] types AC");
  vlnRetireField(argv[0], VSTR(argv[1]));
  return NIL_VAR;
}
