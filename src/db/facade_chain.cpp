// facade_chain.cpp -- the database functions that work on every open area:
// close, commit and unlock all.
//
// The walk takes the next link before each send: `close` retires the area
// and may free its record, so the record must not be read after the send.
#include "areas.h"
#include "facade_shape.hpp"
#include "letters.hpp"
#include "objects.h"
#include "vlgen.h"

namespace {

// Send one message to the object of every area on the chain.
void send_all(const char* msg, int slot)
{
  for (AreaRec* area = vlnWAHead; area;) {
    AreaRec* next = area->nxt;
    if (area->obj && vl::kOu.has(area->obj->Type)) vlfacade::dispatch(area->obj, msg, slot, 0, 0, nullptr);
    area = next;
  }
}

// Commit one object with its relations switched off, when it has both the
// access and the assign of isrelation.
void commit_alone(var* obj)
{
  const bool switchable = vlnIsMethod(obj, "isrelation", VL_KIND_ACCESS) >= 0 &&
                          vlnIsMethod(obj, "isrelation", VL_KIND_ASSIGN) >= 0;
  var* old = switchable ? mk_var_cp(vlnDoInstance(obj, "isrelation", VLN_IV_ISRELATION, 0, nullptr)) : nullptr;
  if (old) vlnDoInstance(obj, "isrelation", VLN_IV_ISRELATION, 0, FALSE_VAR);
  vlfacade::dispatch(obj, "commit", VLN_DS_COMMIT, 0, 0, nullptr);
  if (old) vlnDoInstance(obj, "isrelation", VLN_IV_ISRELATION, 0, old);
}

}  // namespace

// DBCLOSEALL(): close the table of every area.
VLN_FUNC(dbcloseall)
{
  send_all("close", VLN_DS_CLOSE);
  return NIL_VAR;
}

// DBUNLOCKALL(): release the locks of every area.
VLN_FUNC(dbunlockal)
{
  send_all("unlock", VLN_DS_UNLOCK);
  return NIL_VAR;
}

// DBCOMMITALL(): write every area's pending changes; relations stay where
// they are while each area commits.
VLN_FUNC(dbcommital)
{
  for (AreaRec* area = vlnWAHead; area;) {
    AreaRec* next = area->nxt;
    if (area->obj && vl::kOu.has(area->obj->Type)) commit_alone(area->obj);
    area = next;
  }
  return NIL_VAR;
}
