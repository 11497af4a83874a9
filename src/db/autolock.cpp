/*
** autolock.cpp -- automatic locking for programs that do not lock by
** themselves: AUTORLOCK, AUTOFLOCK, AUTOUNLOCK and AUTOAPPEND, the wait
** they share (AUTOWAITPR), its message (OUTMESSAGE) and its question
** (USERACTION).
**
** The wait tries the action, and while it fails tries again after a
** short pause that doubles from kFirstPause up to kLongestPause, until the
** wait time (monotonic seconds) is spent.  A wait that lasts longer than
** kQuietSeconds shows "Trying ... for <file>" once; the short waits of
** ordinary contention stay silent.  The pauses read no keys, so the user's typeahead stays for
** the program and a lock that is free again is taken within milliseconds.
** Then the user is asked: try again (the time starts anew), break to the
** enclosing BEGIN SEQUENCE, ignore (the result is .F.) or quit.
**
** The screen is not this layer's: the box and the question go through the
** hooks of autolock.h.  Without them (batch) the message is one line on
** standard error and the answer is always Ignore, so an expired wait
** gives .F. and never blocks on a question nobody can answer.
**
** These functions are language functions and reach each other and the
** table by name and by messages only, so an application may replace any
** of them, and an object may answer for the one that calls the wait.
*/
#include "autolock.h"

#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "arrays.h"
#include "errclass.h"
#include "facade.h"
#include "letters.hpp"
#include "objects.h"
#include "rddreg.h"
#include "set.h"
#include "vlgen.h"

extern "C" {

int (*vln_autolock_box_hook)(const char* text) = nullptr;
int (*vln_autolock_ask_hook)(const char* text, var* choices) = nullptr;

}  // extern "C"

namespace {

constexpr const char* kModule = "autolock";
constexpr int kAutoLockOff = -2;              // waits below this never try
constexpr double kNoLimit = 99999999.0;       // seconds of a wait without limit
constexpr long kFirstPause = 1000000L;        // ns: 1 ms
constexpr long kLongestPause = 100000000L;    // ns: 100 ms
constexpr long kNsPerSecond = 1000000000L;
constexpr double kQuietSeconds = 0.2;         // waits this short show no message
constexpr int kInfoFileName = 24;             // info code of the table's file name
constexpr size_t kTextSize = 512;
constexpr size_t kNameSize = 64;

/* The wait's modes. */
enum Mode { kRecordLock = 1, kFileLock = 2, kUnlock = 3, kAppend = 4 };

/* The arguments of AUTOWAITPR. */
enum { kObject, kWait, kMode, kTrying, kFailed, kTitle, kRecord, kWaitArgs };

struct Action {
  const char* func;  // the calling function, whose name an object method may take
  Mode mode;
  const char* trying;
  const char* failed;
  const char* title;
};

constexpr Action kRecordAction = {"autorlock", kRecordLock, "Trying autoRLOCK() for ",
                                  "Cannot perform autoRLOCK() for ", "Auto record lock"};
constexpr Action kFileAction = {"autoflock", kFileLock, "Trying autoFLOCK() for ",
                                "Cannot perform autoFLOCK() for ", "Auto file lock"};
constexpr Action kUnlockAction = {"autounlock", kUnlock, "Trying autoUNLOCK for ",
                                  "Cannot perform autoUNLOCK for ", ""};
constexpr Action kAppendAction = {"autoappend", kAppend, "Trying autoAPPEND for ",
                                  "Cannot perform autoAPPEND for ", "Auto append blank"};

constexpr const char* kChoices[] = {"Try again", "Break to menu", "Ignore", "Quit"};
constexpr int kChoiceCount = VLN_AUTO_QUIT;
constexpr int kMethodRows = 4;  // ISOBJPROPERTY's kind: method rows

var* arg(int argc, var** argv, int i) { return i < argc ? argv[i] : NIL_VAR; }
bool is_object(const var* v) { return vl::kOu.has(v->Type); }
bool is_true(var* v) { return v->Type == 'L' && vlnLogVar(v); }
const char* text_of(const var* v) { return vl::kCM.has(v->Type) && VSTR(v) ? VSTR(v) : ""; }
var* text(const char* t) { return set_Cvar(cre_tmpvar(), t, -1); }

double now()
{
  timespec t{};
  clock_gettime(CLOCK_MONOTONIC, &t);
  return double(t.tv_sec) + double(t.tv_nsec) / double(kNsPerSecond);
}

void pause_for(long ns)
{
  const timespec t{ns / kNsPerSecond, ns % kNsPerSecond};
  nanosleep(&t, nullptr);
}

/* The seconds a wait argument asks for: NIL takes SET(39); below -2 gives
** -1 (do not try); 0 and the other negatives wait without limit. */
double wait_seconds(var* wait)
{
  const int n = vl::kNFIL.has(wait->Type) ? vlnIntVar(wait) : vlnGetAutolock();
  if (n < kAutoLockOff) return -1;
  return n <= 0 ? kNoLimit : double(n);
}

/* Send message to obj with up to two arguments, those not null. */
var* send(var* obj, const char* message, var* a = nullptr, var* b = nullptr)
{
  var* args[] = {a, b};
  const int n = !a ? 0 : !b ? 1 : 2;
  return vlnSend(obj, message, 1, 0, n, args);
}

/* Whether the table is in use: the object's used member, else USED(). */
bool in_use(var* object)
{
  return is_true(is_object(object) ? vlnSend(object, "used", 0, 0, 0, nullptr) : _bb_used(0, nullptr));
}

/* One try of mode's action on obj; an unlock and an unknown mode count as
** done whatever happens. */
bool try_action(var* obj, int mode, var* record)
{
  var* rec = record->Type == 'U' ? nullptr : record;
  switch (mode) {
    case kRecordLock: return is_true(send(obj, "rlock", rec));
    case kFileLock: return is_true(send(obj, "flock"));
    case kUnlock: send(obj, "unlock", rec); return true;
    case kAppend: return is_true(send(obj, "append"));
    default: return true;
  }
}

/* The table's file name, for the messages, into name. */
void table_name(var* obj, char* name, size_t size)
{
  var* v = send(obj, "info", set_Iv(kInfoFileName));
  if (!vl::kCM.has(v->Type)) v = _bb_dbf(0, nullptr);
  std::snprintf(name, size, "%s", text_of(v));
}

/* Call the language function name (an application's replacement first). */
var* call(const char* name, BbFn builtin, int argc, var** argv)
{
  return vln_autolock_fn(name, builtin)(argc, argv);
}

/* Show lead + name through OUTMESSAGE; with a null lead take it away. */
void show(const char* lead, const char* name)
{
  char t[kTextSize];
  std::snprintf(t, sizeof t, "%s%s", lead ? lead : "", name);
  var* args[] = {text(t)};
  call("outmessage", _bb_outmessage, lead ? 1 : 0, args);
}

/* Ask lead + name through USERACTION with the four choices. */
int ask(const char* lead, const char* name)
{
  char t[kTextSize];
  std::snprintf(t, sizeof t, "%s%s", lead, name);
  var* choices = cre_arr(cre_tmpvar(), kChoiceCount, VL_ARR_LIST,
                         {text(kChoices[0]), text(kChoices[1]), text(kChoices[2]), text(kChoices[3])});
  var* args[] = {text(t), choices};
  var* r = call("useraction", _bb_useraction, 2, args);
  return vl::kNFIL.has(r->Type) ? vlnIntVar(r) : 0;
}

/* The frame of one of the four functions, named after it, around the
** wait with its mode and texts. */
var* wait_for(int argc, var** argv, const Action& a)
{
  VL_BEGIN(kModule, a.func);
  var* result = VL_LOCAL('U');
  VL_STMT({
    var* args[kWaitArgs] = {arg(argc, argv, 0), arg(argc, argv, 1), set_Iv(a.mode), text(a.trying),
                            text(a.failed), text(a.title), arg(argc, argv, 2)};
    cpy_var(result, _bb_autowaitpr(kWaitArgs, args));
  });
  VL_RETURN(result);
}

}  // namespace

extern "C" BbFn vln_autolock_fn(const char* name, BbFn builtin)
{
  const int32_t pos = find_fun(name);
  return pos > 0 && glob_ftab[pos].fn ? glob_ftab[pos].fn : builtin;
}

VLN_FUNC(autorlock) { return wait_for(argc, argv, kRecordAction); }
VLN_FUNC(autoflock) { return wait_for(argc, argv, kFileAction); }
VLN_FUNC(autoappend) { return wait_for(argc, argv, kAppendAction); }

VLN_FUNC(autounlock)
{
  var* object = arg(argc, argv, 0);
  if (is_object(object))
    send(object, "commit");
  else
    _bb_dbcommit(0, nullptr);
  return wait_for(argc, argv, kUnlockAction);
}

VLN_FUNC(autowaitpr)
{
  VL_BEGIN(kModule, "autowaitpr");
  var* object = VL_PARAM(kObject, 'U');
  var* wait = VL_PARAM(kWait, 'U');
  var* record = VL_PARAM(kRecord, 'U');
  var* obj = VL_LOCAL('U');
  var* result = VL_LOCAL('U');
  const int mode = vl::kNFIL.has(arg(argc, argv, kMode)->Type) ? vlnIntVar(argv[kMode]) : 0;
  char trying[kTextSize], failed[kTextSize], caller[kNameSize], name[kTextSize] = "";
  std::snprintf(trying, sizeof trying, "%s", text_of(arg(argc, argv, kTrying)));
  std::snprintf(failed, sizeof failed, "%s", text_of(arg(argc, argv, kFailed)));
  std::snprintf(caller, sizeof caller, "%s", vln_proc_name(1));
  const double seconds = wait_seconds(wait);
  bool used = false, own = false;
  if (seconds >= 0) VL_STMT(used = in_use(object));
  if (!used) VL_RETURN(FALSE_VAR);
  VL_STMT(cpy_var(obj, is_object(object) ? object : _bb_dbobject(0, nullptr)));
  if (caller[0]) VL_STMT(own = is_true(vl_call(_bb_isobjprope, {obj, text(caller), set_Iv(kMethodRows)})));
  if (own) {
    VL_STMT(cpy_var(result, send(obj, caller, wait, record->Type == 'U' ? nullptr : record)));
    VL_RETURN(result);
  }
  for (bool named = false;;) {
    bool done = false, shown = false;
    const double start = now();
    for (long pause = kFirstPause;; pause = std::min(2 * pause, kLongestPause)) {
      VL_STMT(done = try_action(obj, mode, record));
      if (done) break;
      if (!named) VL_STMT(table_name(obj, name, sizeof name));
      named = true;
      if (now() - start > seconds) break;
      if (!shown && now() - start > kQuietSeconds) {
        VL_STMT(show(trying, name));
        shown = true;
      }
      pause_for(pause);
    }
    if (shown) VL_STMT(show(nullptr, ""));
    if (done) VL_RETURN(TRUE_VAR);
    int choice = 0;
    for (;;) {
      VL_STMT(choice = ask(failed, name));
      if (choice >= VLN_AUTO_RETRY && choice <= VLN_AUTO_QUIT) break;
      std::fputc('\a', stderr);  // CHR(7): a bell, and the question again
    }
    if (choice == VLN_AUTO_IGNORE) VL_RETURN(FALSE_VAR);
    if (choice == VLN_AUTO_BREAK) VL_STMT(_bb_break(0, nullptr));
    if (choice == VLN_AUTO_QUIT) _bb___quit(0, nullptr);
  }
}

VLN_FUNC(outmessage)
{
  const char* t = argc > 0 ? text_of(argv[0]) : "";
  if (vln_autolock_box_hook) return set_lv(vln_autolock_box_hook(t[0] ? t : nullptr) != 0);
  if (t[0]) std::fprintf(stderr, "%s\n", t);
  return FALSE_VAR;
}

VLN_FUNC(useraction)
{
  var* choices = arg(argc, argv, 1);
  if (!vln_autolock_ask_hook || choices->Type != 'A') return set_Iv(VLN_AUTO_IGNORE);
  return set_Iv(vln_autolock_ask_hook(text_of(arg(argc, argv, 0)), choices));
}
