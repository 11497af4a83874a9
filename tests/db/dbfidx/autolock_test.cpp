// Automatic locking: writes to unlocked records of shared tables lock for
// themselves.  Forked counters prove that REPLACE loses no update; a
// process holding the lock makes the other's wait give up without
// hanging; replacements of the language functions take over.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "autolock.h"
#include "dbftest.h"
#include "kernel.h"

using namespace vl;

namespace {

constexpr int kCounters = 4;
constexpr int kAdds = 10000;  // per counter
constexpr char kUse[] = "DBUSEAREA(.T., , 't', , .T.), o := DBOBJECT()";
// A forked process opens an area of its own.
constexpr char kOwnUse[] = "DBUSEAREA(.T., , 't', 'own', .T.), o := DBOBJECT()";
constexpr char kAddOne[] = "o:replace({|| FIELD->counter + 1}, 'counter', , , 1)";

// Under the sanitizers a quarter of the adds, unless VL_AUTOLOCK_LONG=1.
int adds()
{
#ifdef __SANITIZE_ADDRESS__
  return getenv("VL_AUTOLOCK_LONG") ? kAdds : kAdds / 4;
#else
  return kAdds;
#endif
}
var* eval(const std::string& text) { return exp_eval(text.c_str()); }
long num(const std::string& text) { return std::lround(vlnNumVar(eval(text))); }

// Run child in a forked process with its standard error in file err; it
// passes when child gives true.  The watchdog of reap fails a hang.
bool in_child(const std::function<bool()>& child, const char* err = "/dev/null")
{
  const pid_t pid = fork();
  if (pid == 0) {
    dup2(open(err, O_WRONLY | O_CREAT | O_TRUNC, 0644), 2);
    frame f;
    vln_fn_start(&f, "child", "child", 1, 0);
    const bool ok = child();
    fflush(stdout);
    _exit(ok ? 0 : 1);
  }
  return vltest::reap(pid);
}

// The replacement functions record their calls here.
std::vector<std::string> g_calls;
int g_answer = 0;

var* record_args(int argc, var** argv)
{
  std::string seen = std::to_string(argc) + ":";
  for (int i = 0; i < argc; ++i) seen += " " + vltest::shown(argv[i]);
  g_calls.push_back(seen);
  return FALSE_VAR;
}

// USERACTION: first an answer out of range (bell, asked again), then g_answer.
var* answer(int argc, var** argv)
{
  g_calls.push_back(vltest::str(argv[0]) + " " + vltest::shown(argv[1]));
  return set_Iv(g_calls.size() == 1 ? 0 : g_answer);
}

class AutoLock : public dbftest::InDir {
 protected:
  void SetUp() override
  {
    InDir::SetUp();
    g_calls.clear();
    run("DBCREATE('t', {{'COUNTER', 'N', 10, 0}}), DBUSEAREA(.T., , 't', , .F.), DBAPPEND(), DBAPPEND(), DBCLOSEALL()");
    run(kUse);
  }
};

// Four processes add 1 to one record kAdds times each: with automatic
// locking every add counts; switched off, every REPLACE is refused with
// 325 and nothing is written.
TEST_F(AutoLock, CountersLoseNoUpdateAndOffRefusesEveryOne)
{
  for (const bool on : {true, false}) {
    SCOPED_TRACE(on ? "on" : "off");
    const int n = on ? adds() : adds() / 10;
    std::vector<pid_t> pids;
    for (int c = 0; c < kCounters; ++c) {
      if ((pids.emplace_back(fork())) != 0) continue;
      dup2(open("/dev/null", O_WRONLY), 2);  // a wait that outlasts contention says so
      frame f;
      vln_fn_start(&f, "counter", "counter", 1, 0);
      eval(std::string(kOwnUse) + ", SET(39, " + (on ? "10" : ".F.") + ")");
      eval("AEVAL(ARRAY(" + std::to_string(n) + "), {|| o:goto(1), " + kAddOne + "})");
      const int want = on ? 0 : n;
      _exit(vltest::VlTest::count(325) == want && int(vltest::VlTest::reports().size()) == want ? 0 : 1);
    }
    for (pid_t pid : pids) EXPECT_TRUE(vltest::reap(pid));
    run("DBCLOSEALL(), DBUSEAREA(.T., , 't', , .F.)");
    EXPECT_EQ(num("DBGOTO(1), FIELD->counter"), on ? long(kCounters) * n : 0);
    run("FIELD->counter := 0, DBCLOSEALL()");
  }
}

// Another process holds the record past the auto-lock time: the REPLACE
// says so on standard error, asks (the replacement answers 0, then 3),
// gives up with 325 and writes nothing; an answer of 2 BREAKs out.
TEST_F(AutoLock, HeldRecordMakesTheWaitGiveUp)
{
  vltest::Holder other([] { eval(std::string(kOwnUse) + ", o:goto(1), o:rlock()"); });
  vln_register_fun("useraction", answer);
  for (const int choice : {VLN_AUTO_IGNORE, VLN_AUTO_BREAK}) {
    const std::string err = dir_ / ("err" + std::to_string(choice));
    g_answer = choice;
    EXPECT_TRUE(in_child([&] {
      eval(std::string(kOwnUse) + ", SET(39, 1), o:goto(1), x := 1");
      vl_call(dbftest::guarded, {set_cv(("o:replace(7, 'counter'), x := 2"))});
      const bool ignored = choice == VLN_AUTO_IGNORE;
      return g_calls.size() == 2 && num("x") == (ignored ? 2 : 1) && vltest::VlTest::count(325) == ignored &&
             g_calls[1] == "Cannot perform autoRLOCK() for t.dbf {Try again, Break to menu, Ignore, Quit}" &&
             num("o:goto(1), FIELD->counter") == 0;
    }, err.c_str()));
    EXPECT_EQ(dir_.read("err" + std::to_string(choice)), "Trying autoRLOCK() for t.dbf\n\a");
  }
}

// Without a screen an expired wait is ignored; the give-back releases only
// the record it locked; -3 and a closed area give .F. at once.
TEST_F(AutoLock, LanguageFunctions)
{
  EXPECT_TRUE(in_child([] {
    eval(std::string(kOwnUse) + ", DBRLOCK(2), DBUSEAREA(.T., , 't', 'u', .T.)");
    return !vlnLogVar(eval("DBGOTO(2), SET(39, 1), AUTORLOCK(, , 2)")) && vltest::VlTest::reports().empty();
  }));
  vltest::expect_rows({
      {"o := DBOBJECT()"},
      {"o:goto(1), DBRLOCK(2), FIELDPUT(1, 5), DBDELETE(), DBRLOCKLIST()", "{2}"},
      {"o:goto(1), {FIELD->counter, DELETED()}", "{5, .T.}"},
      {"{AUTORLOCK(, -3), AUTOFLOCK(o, -3), ISDBFLOCK()}", "{.F., .F., .F.}"},
      {"{AUTOFLOCK(o, 0), ISDBFLOCK(), AUTOUNLOCK(o), ISDBFLOCK()}", "{.T., .T., .T., .F.}"},
      {"{AUTOAPPEND(), LASTREC(), AUTOUNLOCK()}", "{.T., 3, .T.}"},
      {"o:concurrenc := 0, o:goto(1), DBDELETE()", "#325 .F."},
      {"o:concurrenc := -2, SET(39, .F.), FIELDPUT(1, 6)", "6"},  // the area's own time
      {"DBCLOSEALL(), AUTOUNLOCK()", ".F."},
  });
}

// A registered AUTORLOCK takes over: it gets the table, the wait (NIL for
// the global time, the area's own time) and the record, and its .F.
// refuses the write.
TEST_F(AutoLock, ReplacedFunctionTakesOver)
{
  vln_register_fun("autorlock", record_args);
  vltest::expect_rows({
      {"o := DBOBJECT(), o:goto(2), FIELDPUT(1, 1)", "#325 .F."},
      {"o:concurrenc := -4, DBDELETE()", "#325 .F."},
  });
  EXPECT_EQ(g_calls, (std::vector<std::string>{"3: {...} NIL 2", "3: {...} 4 2"}));
}

}  // namespace
