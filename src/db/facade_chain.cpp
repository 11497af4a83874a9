// facade_chain.cpp -- the database functions that work on every open area:
// close, commit and unlock all, and the report of all open areas.
//
// The walk takes the next link before each send: `close` retires the area
// and may free its record, so the record must not be read after the send.
#include <unistd.h>

#include <cstdio>
#include <string>

#include "areas.h"
#include "facade_shape.hpp"
#include "letters.hpp"
#include "objects.h"
#include "runtime.hpp"
#include "vlgen.h"

using vlfacade::text_of;

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

// One line of the open-areas report.
void say(const std::string& line) { vln_qout_hook(line.c_str()); }

// Send msg with the number n to obj; the text of the answer.
std::string numbered(var* obj, const char* msg, int slot, int32_t code, int32_t n)
{
  var* arg = set_Iv(n);
  return text_of(vlfacade::dispatch(obj, msg, slot, code, 1, &arg));
}

// Report one area: mode, table, orders, relations, filter, locks.
void report_area(const AreaRec* area)
{
  var* obj = area->obj;
  char head[600];
  std::snprintf(head, sizeof head, "%d area %d alias %s %s%s %s", static_cast<int>(getpid()),
                static_cast<int>(area->number), area->alias ? area->alias : "",
                vlnLogVar(vlnDoInstance(obj, "shared", VLN_IV_SHARED, 0, nullptr)) ? "SHARED" : "EXCLUSIVE",
                vlnLogVar(vlnDoInstance(obj, "readonly", VLN_IV_READONLY, 0, nullptr)) ? " READONLY" : "",
                text_of(vlnDoInstance(obj, "filespec", VLN_IV_FILESPEC, 0, nullptr)));
  say(head);
  const int32_t orders = vlnIntVar(vlnDoInstance(obj, "indexcount", VLN_IV_INDEXCOUNT, 0, nullptr));
  constexpr int32_t kOrderFullName = 20;
  for (int32_t i = 1; i <= orders; ++i)
    say("  index " + numbered(obj, "orderinfo", VLN_DS_ORDERINFO, kOrderFullName, i) + " key " +
        numbered(obj, "indexkey", VLN_DS_INDEXKEY, 0, i));
  constexpr int32_t kMaxRelations = 8;
  for (int32_t i = 1; i <= kMaxRelations; ++i) {
    const std::string rel = numbered(obj, "relation", VLN_DS_RELATION, 0, i);
    if (rel.empty()) break;
    say("  relation " + rel);
  }
  const std::string filter = text_of(vlnDoInstance(obj, "filter", VLN_IV_FILTER, 0, nullptr));
  if (!filter.empty()) say("  filter " + filter);
  var* locks = vlnDoInstance(obj, "rlocklist", VLN_IV_RLOCKLIST, 0, nullptr);
  if (locks->Type == 'A' && VARR(locks)->A_size > 0) {
    std::string line = "  locks";
    for (uint32_t i = 0; i < VARR(locks)->A_size; ++i)
      line += " " + std::to_string(vlnIntVar(VARR(locks)->A_vec[i]));
    say(line);
  }
}

}  // namespace

// DBFUSED(): report every open area through QOut.
VLN_FUNC(dbfused)
{
  for (AreaRec* area = vlnWAHead; area; area = area->nxt)
    if (area->obj && vl::kOu.has(area->obj->Type)) report_area(area);
  return NIL_VAR;
}

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
