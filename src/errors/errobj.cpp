// The Error class: its class record and ERRORNEW().
#include "arrays.h"
#include "errclass.h"
#include "objects.h"
#include "vlgen.h"

namespace {

constexpr int32_t kInstanceCount = VL_ERR_SLOT_END - VL_ERR_ARG;

#define VL_ROW(name, slot) {reinterpret_cast<intptr_t>(name), (slot), 0, 'E'}
const VlnClassRow kErrorClass[] = {
    {'E', kInstanceCount, 0, 2},
    {reinterpret_cast<intptr_t>("error"), kInstanceCount, 0, 0},
    VL_ROW("arg", VL_ERR_ARG),
    VL_ROW("argnum", VL_ERR_ARGNUM),
    VL_ROW("args", VL_ERR_ARGS),
    VL_ROW("argtypereq", VL_ERR_ARGTYPEREQ),
    VL_ROW("callfuncsy", VL_ERR_CALLFUNCSYM),
    VL_ROW("candefault", VL_ERR_CANDEFAULT),
    VL_ROW("canretry", VL_ERR_CANRETRY),
    VL_ROW("cansubstit", VL_ERR_CANSUBSTITUTE),
    VL_ROW("cargo", VL_ERR_CARGO),
    VL_ROW("choice", VL_ERR_CHOICE),
    VL_ROW("descriptio", VL_ERR_DESCRIPTION),
    VL_ROW("filehandle", VL_ERR_FILEHANDLE),
    VL_ROW("filename", VL_ERR_FILENAME),
    VL_ROW("funcptr", VL_ERR_FUNCPTR),
    VL_ROW("funcsym", VL_ERR_FUNCSYM),
    VL_ROW("gencode", VL_ERR_GENCODE),
    VL_ROW("maxsize", VL_ERR_MAXSIZE),
    VL_ROW("methodself", VL_ERR_METHODSELF),
    VL_ROW("operation", VL_ERR_OPERATION),
    VL_ROW("oscode", VL_ERR_OSCODE),
    VL_ROW("severity", VL_ERR_SEVERITY),
    VL_ROW("subcode", VL_ERR_SUBCODE),
    VL_ROW("subcodetex", VL_ERR_SUBCODETEXT),
    VL_ROW("substitute", VL_ERR_SUBSTITUTE),
    VL_ROW("subsystem", VL_ERR_SUBSYSTEM),
    VL_ROW("tries", VL_ERR_TRIES),
};
#undef VL_ROW

// Declared types of the typed slots; the others start as NIL of any type.
struct TypedSlot {
  int32_t slot;
  char type;
};
constexpr TypedSlot kTypedSlots[] = {
    {VL_ERR_ARGNUM, 'I'},      {VL_ERR_ARGTYPEREQ, 'C'},  {VL_ERR_CALLFUNCSYM, 'C'},
    {VL_ERR_CANDEFAULT, 'L'},  {VL_ERR_CANRETRY, 'L'},    {VL_ERR_CANSUBSTITUTE, 'L'},
    {VL_ERR_CHOICE, 'I'},      {VL_ERR_DESCRIPTION, 'C'}, {VL_ERR_FILEHANDLE, 'I'},
    {VL_ERR_FILENAME, 'C'},    {VL_ERR_FUNCPTR, 'B'},     {VL_ERR_FUNCSYM, 'C'},
    {VL_ERR_GENCODE, 'I'},     {VL_ERR_MAXSIZE, 'N'},     {VL_ERR_METHODSELF, 'O'},
    {VL_ERR_OPERATION, 'C'},   {VL_ERR_OSCODE, 'I'},      {VL_ERR_SEVERITY, 'I'},
    {VL_ERR_SUBCODE, 'I'},     {VL_ERR_SUBCODETEXT, 'C'}, {VL_ERR_SUBSTITUTE, 'C'},
    {VL_ERR_SUBSYSTEM, 'C'},   {VL_ERR_TRIES, 'I'},
};

}  // namespace

extern "C" var* vlnErrorCollectMethods(void)
{
  static var* methods = nullptr;
  if (!methods) methods = cre_arr(mak_var('N', 'U'), 0, 0, static_cast<var*>(nullptr));
  return methods;
}

VLN_FUNC(errornew)
{
  VL_BEGIN("errorsys", "errornew");
  var* obj = set_Ov(kInstanceCount, kErrorClass, vlnErrorCollectMethods());
  for (const TypedSlot& t : kTypedSlots) vlnSetDefault(obj, t.slot, t.type, nullptr);
  VL_RETURN_T(vlnDoInit(obj, argc, argv), 'O');
}
