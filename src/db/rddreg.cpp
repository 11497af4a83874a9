// rddreg.cpp -- the driver list, the default driver and the making of
// driver objects by name.
//
// The list is one language array kept for the whole run; RDDLIST() hands
// out the array itself.  A driver name is normalised once (trimmed on both
// sides, upper-cased) and "NEW" appended; the registry then finds the
// constructor by name, so a driver the application defines is found exactly
// like the library's own.
#include <cctype>
#include <cstdio>
#include <cstring>

#include "areas.h"
#include "arrays.h"
#include "kernel.h"
#include "letters.hpp"
#include "rddreg.hpp"
#include "vlerror.h"
#include "vlgen.h"

using namespace vl;

namespace vl {

char cDefaultDriver[VLN_DRIVER_NAME_SIZE];
char cFirstChoiceDriver[VLN_DRIVER_NAME_SIZE];

}  // namespace vl

namespace {

// Driver names in the list are cut to this many characters.
constexpr size_t kListedName = 10;
// The constructor suffix and the arguments of a closed object.
constexpr char kCtorSuffix[] = "NEW";
constexpr int kClosedArgs = 6;

// The driver list; created on first use and kept for the run.
var* g_rddlist = nullptr;

var* rddlist()
{
  if (!g_rddlist) {
    g_rddlist = mak_var('N', 'U');
    cre_arr(g_rddlist, 0, VL_ARR_NIL, static_cast<var*>(nullptr));
  }
  return g_rddlist;
}

// Copy text[0..len) into out (size bytes), trimmed on both sides and
// upper-cased, cut to fit.  Returns out.
char* normalise(const char* text, size_t len, char* out, size_t size)
{
  while (len > 0 && std::isspace(static_cast<unsigned char>(*text))) ++text, --len;
  while (len > 0 && std::isspace(static_cast<unsigned char>(text[len - 1]))) --len;
  if (len > size - 1) len = size - 1;
  for (size_t i = 0; i < len; ++i)
    out[i] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[i])));
  out[len] = '\0';
  return out;
}

// The normalised driver name value gives, or "" for a non-text.
char* name_of(var* value, char* out, size_t size)
{
  if (!value || !vl::kCM.has(value->Type) || !VSTR(value)) {
    out[0] = '\0';
    return out;
  }
  return normalise(VSTR(value), static_cast<size_t>(value->Length - 1), out, size);
}

// The constructor of driver name ("" meaning the default), or null after
// the 320 report.
BbFn constructor(const char* name)
{
  char fname[VLN_DRIVER_NAME_SIZE + sizeof kCtorSuffix];
  std::snprintf(fname, sizeof fname, "%s%s", *name ? name : cDefaultDriver, kCtorSuffix);
  const int32_t i = find_fun(fname);
  if (i > 0 && glob_ftab[i].fn) return glob_ftab[i].fn;
  char text[sizeof fname + 32];
  std::snprintf(text, sizeof text, "Driver '%s' not found", fname);
  rt_error(VL_E_ILLEGAL_VALUE, text);
  return nullptr;
}

bool is_object(const var* v) { return v && vl::kOu.has(v->Type); }

// Values that name an area: an alias text or an area number.
constexpr vl::LetterSet kAreaRef = vl::letters("CFIN");

}  // namespace

BbFn vl::driver_constructor(var* value)
{
  char name[VLN_DRIVER_NAME_SIZE];
  return constructor(name_of(value, name, sizeof name));
}

extern "C" var* vlnGetObject(var* value)
{
  char name[VLN_DRIVER_NAME_SIZE];
  BbFn ctor = constructor(name_of(value, name, sizeof name));
  if (!ctor) return nullptr;
  var* args[kClosedArgs] = {NIL_VAR, NIL_VAR, NIL_VAR, NIL_VAR, NIL_VAR, FALSE_VAR};
  var* obj = ctor(kClosedArgs, args);
  return is_object(obj) ? obj : nullptr;
}

VLN_INIT(rddinit, 30)
{
  var* name = set_cv("DbfIdx");
  _bb_annnewrdd(1, &name);
  std::snprintf(cDefaultDriver, sizeof cDefaultDriver, "%s", "DBFIDX");
}

// RDDANNOUNCE(name): add a driver name to the list.
VLN_FUNC(annnewrdd)
{
  char name[VLN_DRIVER_NAME_SIZE];
  name_of(argc > 0 ? argv[0] : nullptr, name, sizeof name);
  name[kListedName] = '\0';
  if (!*name) return NIL_VAR;
  var* list = rddlist();
  ArrRec* a = VARR(list);
  for (uint32_t i = 0; i < a->A_size; ++i) {
    var* e = a->A_vec[i];
    if (vl::kCM.has(e->Type) && std::strcmp(VSTR(e), name) == 0) return NIL_VAR;
  }
  var* add[] = {list, set_Cvar(cre_tmpvar(), name, -1)};
  _bb_aadd(2, add);
  return NIL_VAR;
}

// RDDLIST(): the list of announced drivers.
VLN_FUNC(rddlist) { return rddlist(); }

// RDDSETDEFAULT([name]): give the previous default, set a new one.
VLN_FUNC(rddsetdefa)
{
  var* old = set_Cvar(cre_tmpvar(), cDefaultDriver, -1);
  if (argc > 0 && vl::kCM.has(argv[0]->Type)) {
    name_of(argv[0], cDefaultDriver, sizeof cDefaultDriver);
    if (!*cDefaultDriver)
      std::snprintf(cDefaultDriver, sizeof cDefaultDriver, "%s", cFirstChoiceDriver);
  }
  return old;
}

// DBSETDRIVER([name]): the same function under its older name.
VLN_FUNC(dbsetdrive) { return _bb_rddsetdefa(argc, argv); }

// DBSERVERNEW(...): a driver object made with the caller's arguments.
VLN_FUNC(dbserverne)
{
  constexpr int kDriverArg = 4;
  char name[VLN_DRIVER_NAME_SIZE];
  BbFn ctor = constructor(name_of(argc > kDriverArg ? argv[kDriverArg] : nullptr, name, sizeof name));
  return ctor ? ctor(argc, argv) : NIL_VAR;
}

// DBOBJECT([area]): the object of an area.
VLN_FUNC(dbobject)
{
  AreaRec* area = vlnSelectedArea;
  if (argc > 0 && kAreaRef.has(argv[0]->Type))
    area = vlnSelect(argv[0], 2);
  return area && is_object(area->obj) ? area->obj : NIL_VAR;
}
