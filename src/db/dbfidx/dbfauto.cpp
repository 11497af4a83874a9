/*
** dbfauto.cpp -- the driver's side of automatic locking: when a write or
** an index build finds no lock, it asks AUTORLOCK or AUTOFLOCK for one and
** gives it back through AUTOUNLOCK.
*/
#include "dbfidx.h"
#include "dbfint.hpp"
#include "set.hpp"

using namespace vl;

namespace {

constexpr int kSetAutoLock = 39;    // SET number of the auto-lock time
constexpr int kAutoLockNever = -3;  // times at or below this never lock

}  // namespace

namespace vl {

bool dbf_auto_allowed(int32_t setting)
{
  return setting < 0 || (setting > 0 && _cgetsetnum(kSetAutoLock, VL_SET_NOCHANGE) > kAutoLockNever);
}

bool dbf_auto_rlock(var* self, int32_t setting)
{
  (void)self, (void)setting;
  return false;
}

bool dbf_auto_flock(var* self, int32_t setting)
{
  (void)setting;
  var* args[] = {self};
  var* r = _bb_dbfidx_flock_me(1, args);
  return r->Type == 'L' && vlnLogVar(r);
}

void dbf_auto_unlock(var* self, int32_t setting, int32_t recno)
{
  (void)setting, (void)recno;
  var* args[] = {self};
  _bb_dbfidx_unlock_me(1, args);
}

}  // namespace vl
