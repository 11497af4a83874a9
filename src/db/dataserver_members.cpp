// dataserver_members.cpp -- the abstract members of dataserver, one per
// message, expanded from the message list: each hands the object and its
// own name to the fallback of its kind, which reports and returns the
// object.
#include "dataserver.h"

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
