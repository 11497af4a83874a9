// dataserver.cpp -- the class record of the abstract data server, its
// method array, its constructor and the three fallbacks every abstract
// member ends in.
#include <string_view>

#include <cstdio>

#include "arrays.h"
#include "dataserver.hpp"
#include "objects.h"
#include "vlgen.h"

using namespace vl;

namespace {

constexpr char kModule[] = "dataserver";
constexpr char kCargo[] = "cargo";
// Room for "Class '...' does not define method '...'" with long names.
constexpr size_t kReportSize = 512;

#define VL_NAME_ROW(name) reinterpret_cast<intptr_t>(name)

}  // namespace

const VlnClassRow vl::DataserverStruct[] = {
    {VLN_DS_CLASS_MARK, VLN_IV_COUNT, VLN_DS_SLOT_COUNT, 2},
    {VL_NAME_ROW("dataserver"), VLN_IV_COUNT, VLN_DS_SLOT_COUNT, 0},
#define VL_IVAR_ROW(id, name) \
  {VL_NAME_ROW(#name), VLN_IV_##id, 0, std::string_view(#name) == kCargo ? 'E' : 'A'},
    VLN_DS_IVARS(VL_IVAR_ROW)
#undef VL_IVAR_ROW
#define VL_METHOD_ROW(id, name, kind) {VL_NAME_ROW(#name), VLN_DS_##id, 0, VLN_DS_KIND_##kind},
    VLN_DS_MESSAGES(VL_METHOD_ROW)
#undef VL_METHOD_ROW
};

namespace {

// The functions of the 166 slots, in slot order.
#define VL_FN_ac(name) reinterpret_cast<AnyFn>(_bb_dataserver_##name##_ac)
#define VL_FN_as(name) reinterpret_cast<AnyFn>(_bb_dataserver_##name##_as)
#define VL_FN_me(name) reinterpret_cast<AnyFn>(_bb_dataserver_##name##_me)
#define VL_FN_fb(name) VL_FN_me(name)
#define VL_FN_(id, name, kind) VL_FN_##kind(name),
const AnyFn kMethods[] = {VLN_DS_MESSAGES(VL_FN_)};
#undef VL_FN_
static_assert(sizeof kMethods / sizeof kMethods[0] == VLN_DS_SLOT_COUNT);

// A message as the wiring of the variables looks for it.
struct Message {
  std::string_view name;
  char kind;
};
#define VL_MSG_(id, name, kind) {#name, VLN_DS_KIND_##kind},
constexpr Message kMessages[] = {VLN_DS_MESSAGES(VL_MSG_)};
#undef VL_MSG_

constexpr int32_t find_message(std::string_view name, char kind)
{
  for (int32_t s = 0; s < VLN_DS_SLOT_COUNT; ++s)
    if (kMessages[s].name == name && kMessages[s].kind == kind) return s;
  return -1;
}

// Access and assign slots of one variable (-1 for none).
struct Wiring {
  int32_t ivar, access, assign;
};
#define VL_WIRE_(id, name) {VLN_IV_##id, find_message(#name, 'A'), find_message(#name, '=')},
constexpr Wiring kWiring[] = {VLN_DS_IVARS(VL_WIRE_)};
#undef VL_WIRE_
static_assert(sizeof kWiring / sizeof kWiring[0] == VLN_IV_COUNT);

constexpr bool every_variable_reachable()
{
  for (const Wiring& w : kWiring)
    if (w.ivar != VLN_IV_CARGO && w.access < 0 && w.assign < 0) return false;
  return true;
}
static_assert(every_variable_reachable(), "a variable without access and assign message");
static_assert(kWiring[VLN_IV_CARGO - 2].access < 0 && kWiring[VLN_IV_CARGO - 2].assign < 0);

// Report the missing member name of obj's class under code with format.
var* report_missing(int argc, var** argv, int code, const char* format)
{
  var* obj = argc > 0 ? argv[0] : NIL_VAR;
  const char* name = argc > 1 && (argv[1]->Type == 'C' || argv[1]->Type == 'M') ? VSTR(argv[1]) : "";
  char text[kReportSize];
  std::snprintf(text, sizeof text, format, vlnClassName(vlnClassOf(obj)), name);
  rt_error(code, text);
  return obj;
}

}  // namespace

extern "C" {

var* vlnDataserverCollectMethods(void)
{
  static var* methods = nullptr;
  if (methods) return methods;
  methods = cre_arr(mak_var('N', 'U'), VLN_DS_SLOT_COUNT, 0, static_cast<var*>(nullptr));
  for (int32_t s = 0; s < VLN_DS_SLOT_COUNT; ++s)
    vlnAddMethod(methods, s, kMethods[s], DataserverStruct[s + 2 + VLN_IV_COUNT].w4 == 'M');
  return methods;
}

AnyFn vlnDataserverMethod(int32_t slot)
{
  return slot >= 0 && slot < VLN_DS_SLOT_COUNT ? kMethods[slot] : nullptr;
}

int vlnDataserverWire(var* obj)
{
  const VlnClassRow* cls = vlnClassOf(obj);
  if (!cls || cls[0].w1 != VLN_DS_CLASS_MARK) return 0;
  for (const Wiring& w : kWiring)
    if (w.ivar != VLN_IV_CARGO) vlnDoSpecial(obj, w.ivar, -1, w.access, w.assign);
  return 1;
}

var* _bb_dataserver_nomethod_me(int argc, var** argv)
{
  return report_missing(argc, argv, VL_E_ILLEGAL_METHOD, "Class '%s' does not define method '%s'");
}

var* _bb_dataserver_noivarget_me(int argc, var** argv)
{
  return report_missing(argc, argv, VL_E_ILLEGAL_INSTANCE,
                        "Class '%s' does not define instance '%s'");
}

var* _bb_dataserver_noivarput_me(int argc, var** argv)
{
  return report_missing(argc, argv, VL_E_ILLEGAL_INSTANCE,
                        "Class '%s' does not define instance '%s'");
}

}  // extern "C"

VLN_FUNC(dataserver)
{
  VL_BEGIN(kModule, "dataserver");
  var* obj = set_Ov(VLN_IV_COUNT, DataserverStruct, vlnDataserverCollectMethods());
  vlnDataserverWire(obj);
  VL_RETURN_T(vlnDoInit(obj, argc, argv), 'O');
}

// The abstract members of dataserver, one per
// message, expanded from the message list: each hands the object and its
// own name to the fallback of its kind, which reports and returns the
// object.
namespace {

var* name_text(const char* name) { return set_Cvar(cre_tmpvar(), name, -1); }

var* abstract_method(int argc, var** argv, const char* name)
{
  var* args[] = {argc > 0 ? argv[0] : NIL_VAR, name_text(name)};
  return _bb_dataserver_nomethod_me(2, args);
}

var* abstract_access(var* obj, const char* name)
{
  var* args[] = {obj, name_text(name)};
  return _bb_dataserver_noivarget_me(2, args);
}

var* abstract_assign(var* obj, var* value, const char* name)
{
  var* args[] = {obj, name_text(name), value};
  return _bb_dataserver_noivarput_me(3, args);
}

}  // namespace

#define VL_DEF_ac(name) \
  var* _bb_dataserver_##name##_ac(var* obj) { return abstract_access(obj, #name); }
#define VL_DEF_as(name) \
  var* _bb_dataserver_##name##_as(var* obj, var* value) { return abstract_assign(obj, value, #name); }
#define VL_DEF_me(name) \
  var* _bb_dataserver_##name##_me(int argc, var** argv) { return abstract_method(argc, argv, #name); }
#define VL_DEF_fb(name)
#define VL_DEF_(id, name, kind) VL_DEF_##kind(name)

extern "C" {
VLN_DS_MESSAGES(VL_DEF_)
}
