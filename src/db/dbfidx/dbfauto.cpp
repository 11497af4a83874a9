/*
** dbfauto.cpp -- the driver's side of automatic locking: when a write or
** an index build finds no lock, it asks AUTORLOCK or AUTOFLOCK for one and
** gives it back through AUTOUNLOCK.
**
** The functions are called by name, so an application's own AUTORLOCK
** (registered under that name) is the one that runs; the library's are
** the fallback.  A record lock is added for the one record (the locks the
** program took stay) and given back for that record alone, after
** AUTOUNLOCK has committed the change.
*/
#include "autolock.h"
#include "dbfidx.h"
#include "dbfint.hpp"
#include "set.h"

using namespace vl;

namespace {

constexpr int kAutoLockNever = -3;  // global times at or below this never lock

/* The wait an area's setting asks for: its own time when negative, else
** NIL (the global time). */
var* wait_of(int32_t setting) { return setting < 0 ? set_Iv(-setting) : NIL_VAR; }

/* Call the automatic-lock function name with the table, the wait and,
** when not 0, a record number; whether it gave .T. */
bool call_auto(const char* name, BbFn builtin, var* self, var* wait, int32_t recno)
{
  var* args[] = {self, wait, recno ? set_Iv(recno) : NIL_VAR};
  var* r = vln_autolock_fn(name, builtin)(recno ? 3 : 2, args);
  return r->Type == 'L' && vlnLogVar(r);
}

}  // namespace

namespace vl {

bool dbf_auto_allowed(int32_t setting)
{
  return setting < 0 || (setting > 0 && vlnGetAutolock() > kAutoLockNever);
}

bool dbf_auto_rlock(var* self, int32_t setting)
{
  return call_auto("autorlock", _bb_autorlock, self, wait_of(setting), dbf_state(self)->recno);
}

bool dbf_auto_flock(var* self, int32_t setting)
{
  return call_auto("autoflock", _bb_autoflock, self, wait_of(setting), 0);
}

void dbf_auto_unlock(var* self, int32_t setting, int32_t recno)
{
  // The give-back never waits, and a time switched off since the lock was
  // taken must not keep the lock: the wait is the area's own time or none.
  call_auto("autounlock", _bb_autounlock, self, set_Iv(setting < 0 ? -setting : 0), recno);
}

}  // namespace vl
