// facade_special.cpp -- the database functions with a twist on the common
// shape: a default filled in (softseek, the append flag), a result turned
// into something else (NETERR(), a file name, an area number), or an answer
// that does not need an open table (the file extensions).
#include <cstdio>
#include <cstring>

#include "areas.h"
#include "arrays.h"
#include "blocks.h"
#include "facade_shape.hpp"
#include "letters.hpp"
#include "objects.h"
#include "rddreg.h"
#include "set.h"
#include "vlgen.h"

using namespace vlfacade;

namespace {

constexpr uint8_t R = VLN_BRING_REPORT;
constexpr uint8_t S = VLN_BRING_SILENT;

constexpr int32_t kInfoFound = 29;
constexpr int32_t kInfoMemoExt = 37;
constexpr int32_t kOrderFullName = 20;
constexpr int32_t kInfoWriteCount = 5011;
// INDEXINFO()'s orderinfo codes: full name, order name, key, FOR, key type,
// key length, key size, key count, UNIQUE, DESCEND, table name, check
// state, write counter, sectors in use, version/flags/counter.
constexpr int32_t kIndexInfoCodes[] = {20, 21, 2, 1, 24, 28, 25, 26, 43, 22, 5001, 5002, 5011, 5012, 5013};
// Values that name an area.
constexpr vl::LetterSet kAreaRef = vl::letters("CFIN");

bool is_true(const var* v) { return v && v->Type == 'L' && VINT(v) != 0; }

// Send s and set NETERR() to whether the result was not TRUE.
var* send_neterr(const Send& s, int argc, var** argv)
{
  var* obj = object_or_bring(s.mode);
  if (!obj || !check_args(s.op, s.types, argc, argv)) return neutral(s.neutral);
  var* r = dispatch(obj, s.msg, s.slot, 0, argc, argv);
  vlnSetNeterr(!is_true(r));
  return r;
}

// The area an optional first argument names (selection unchanged), else
// the selected one.
AreaRec* area_arg(int argc, var** argv)
{
  if (argc > 0 && kAreaRef.has(argv[0]->Type)) return vlnSelect(argv[0], 2);
  return vlnSelectedArea;
}

var* area_object(AreaRec* area)
{
  var* obj = area ? area->obj : nullptr;
  return obj && vl::kOu.has(obj->Type) ? obj : nullptr;
}

// The object of the selected area, or a closed one of the default driver.
var* object_or_default()
{
  if (var* obj = object_or_bring(VLN_BRING_GOON)) return obj;
  return vlnGetObject(NIL_VAR);
}

}  // namespace

// DBSEEK(key[, soft]): a missing soft comes from SET SOFTSEEK.
VLN_FUNC(dbseek)
{
  static constexpr Send s{"DBSEEK", "seek", VLN_DS_SEEK, R, Neutral::False, {"CINFDLU", "L"}};
  var* obj = object_or_bring(s.mode);
  if (!obj || !check_args(s.op, s.types, argc, argv)) return neutral(s.neutral);
  var* args[] = {argc > 0 ? argv[0] : NIL_VAR,
                 argc > 1 && present(argv[1]) ? argv[1] : vlnGetSoftSeek() ? TRUE_VAR : FALSE_VAR};
  return dispatch(obj, s.msg, s.slot, 0, 2, args);
}

// DBAPPEND([release]): release defaults to TRUE; NETERR() from the result.
VLN_FUNC(dbappend)
{
  var* release = argc > 0 && present(argv[0]) ? argv[0] : TRUE_VAR;
  return send_neterr({"DBAPPEND", "append", VLN_DS_APPEND, S, Neutral::False, {"L"}}, 1, &release);
}

// ORDLISTADD(file[, ...]) and DBSETINDEX(): setindex; NETERR() from the result.
VLN_FUNC(ordlistadd)
{
  return send_neterr({"ORDLISTADD", "setindex", VLN_DS_SETINDEX, S, Neutral::False, {"CM"}}, argc, argv);
}
VLN_FUNC(dbsetindex) { return _bb_ordlistadd(argc, argv); }

// FOUND([l]): the flag; a logical sets it through info and gives the old one.
VLN_FUNC(found)
{
  if (argc > 0 && argv[0]->Type == 'L')
    return send({"FOUND", "info", VLN_DS_INFO, S, Neutral::False, {}, kInfoFound}, 1, argv);
  return read_iv({"found", VLN_IV_FOUND, Neutral::False});
}

// ORDSETFOCUS([order]) and DBSETORDER(): setorder; no argument: INDEXORD().
VLN_FUNC(ordsetfocu)
{
  if (argc == 0) return _bb_indexord(0, argv);
  return send({"ORDSETFOCUS", "setorder", VLN_DS_SETORDER, S, Neutral::Zero, {"INFCM"}}, argc, argv);
}
VLN_FUNC(dbsetorder) { return _bb_ordsetfocu(argc, argv); }

// DBSETLOCATE([block]): assign the locate condition.
VLN_FUNC(dbsetlocat)
{
  var* obj = object_or_bring(S);
  if (!obj || !vlnParamCheck(argc > 0 ? argv[0] : nullptr, "Bb", "DBSETLOCATE")) return FALSE_VAR;
  return vlnDoInstance(obj, "setlocate", VLN_IV_SETLOCATE, 0, argc > 0 ? argv[0] : NIL_VAR);
}

// DBSETRELATION(child, block, text): the child is another area with a table.
VLN_FUNC(dbsetrelat)
{
  var* obj = object_or_bring(S);
  if (!obj || argc < 1 || !kAreaRef.has(argv[0]->Type)) return FALSE_VAR;
  AreaRec* child = vlnSelect(argv[0], 2);
  if (!child || child == vlnSelectedArea || !area_object(child)) return FALSE_VAR;
  var* args[] = {child->obj, argc > 1 ? argv[1] : NIL_VAR, argc > 2 ? argv[2] : NIL_VAR};
  return dispatch(obj, "setrelation", VLN_DS_SETRELATION, 0, 3, args);
}

// ISDBEXCLUSIVE(): the table is not shared.
VLN_FUNC(isdbexcl)
{
  var* obj = object_or_bring(S);
  if (!obj) return FALSE_VAR;
  return vlnLogVar(read_ivar(obj, "shared", VLN_IV_SHARED)) ? FALSE_VAR : TRUE_VAR;
}

// DBRSELECT([n]): the number of the child area of relation n.
VLN_FUNC(dbrselect)
{
  var* r = send({"DBRSELECT", "relationobject", VLN_DS_RELATIONOBJECT, S, Neutral::Nil, {"INF"}},
                argc, argv);
  AreaRec* child = vl::kOu.has(r->Type) ? vlnObjectLocateArea(r) : nullptr;
  return child ? set_Iv(child->number) : ZERO_VAR;
}

// INDEXNAMES(): the full names of the open index files.
VLN_FUNC(indexnames)
{
  var* list = neutral(Neutral::EmptyArray);
  var* obj = object_or_bring(S);
  if (!obj) return list;
  const int32_t n = vlnIntVar(read_ivar(obj, "indexcount", VLN_IV_INDEXCOUNT));
  for (int32_t i = 1; i <= n; ++i) {
    var* order = set_Iv(i);
    var* add[] = {list, dispatch(obj, "orderinfo", VLN_DS_ORDERINFO, kOrderFullName, 1, &order)};
    _bb_aadd(2, add);
  }
  return list;
}

// INDEXINFO([order]): the orderinfo answers of kIndexInfoCodes for the
// order (the active one by default), then the table's own write counter.
VLN_FUNC(indexinfo)
{
  var* list = neutral(Neutral::EmptyArray);
  var* obj = object_or_bring(S);
  if (!obj || !check_args("INDEXINFO", {"NI"}, argc, argv)) return list;
  var* order = argc > 0 ? argv[0] : NIL_VAR;
  for (int32_t code : kIndexInfoCodes) {
    var* add[] = {list, dispatch(obj, "orderinfo", VLN_DS_ORDERINFO, code, 1, &order)};
    _bb_aadd(2, add);
  }
  var* add[] = {list, dispatch(obj, "info", VLN_DS_INFO, kInfoWriteCount, 0, argv)};
  _bb_aadd(2, add);
  return list;
}

// INDEXEXT(): the index extension, of a closed object when no table is open.
VLN_FUNC(indexext)
{
  var* obj = object_or_default();
  return obj ? read_ivar(obj, "indexext", VLN_IV_INDEXEXT) : NULLSTR_VAR;
}

// MEMOEXT(): the memo extension, the same way.
VLN_FUNC(memoext)
{
  var* obj = object_or_default();
  return obj ? dispatch(obj, "info", VLN_DS_INFO, kInfoMemoExt, 0, argv) : NULLSTR_VAR;
}

// DBF([area][, lPath]): the table's file name, with its directory only when
// the second argument is a logical.
VLN_FUNC(dbf)
{
  var* obj = area_object(area_arg(argc, argv));
  if (!obj) return NULLSTR_VAR;
  const char* full = text_of(read_ivar(obj, "filespec", VLN_IV_FILESPEC));
  const bool with_path = argc > 1 && argv[1]->Type == 'L';
  const char* slash = std::strrchr(full, '/');
  return set_Cvar(cre_tmpvar(), with_path || !slash ? full : slash + 1, -1);
}

// DBFINFO([area]): open mode and file of an area.
// Room for DBFINFO(): the open mode and a path of PATH_MAX bytes.
constexpr size_t kInfoSize = 4096 + 32;

VLN_FUNC(dbfinfo)
{
  var* obj = area_object(area_arg(argc, argv));
  if (!obj) return NULLSTR_VAR;
  const bool shared = vlnLogVar(read_ivar(obj, "shared", VLN_IV_SHARED));
  const bool readonly = vlnLogVar(read_ivar(obj, "readonly", VLN_IV_READONLY));
  const char* file = text_of(read_ivar(obj, "filespec", VLN_IV_FILESPEC));
  char info[kInfoSize];
  std::snprintf(info, sizeof info, "%s%s %s", shared ? "SHARED" : "EXCLUSIVE",
                readonly ? " READONLY" : "", file);
  return set_Cvar(cre_tmpvar(), info, -1);
}

// DBSELECTAREA(area): select by alias or number; a block gives the value.
VLN_FUNC(dbselectar)
{
  if (argc < 1) {
    rt_error(VL_E_DEV_WARNING, "DbSelectArea(): argument missing");
    return FALSE_VAR;
  }
  var* value = vl::kBb.has(argv[0]->Type) ? vlnBlockEval(argv[0]) : argv[0];
  if (!kAreaRef.has(value->Type)) {
    char text[64];
    std::snprintf(text, sizeof text, "DbSelectArea(): illegal parameter type '%c'", value->Type);
    rt_error(VL_E_ILLEGAL_VALUE, text);
    return FALSE_VAR;
  }
  return vlnSelect(value, -1) ? TRUE_VAR : FALSE_VAR;
}
