// PACK and ZAP of the DBF driver: what the new files hold, the refusals,
// and swaps that fail half-way (also with a BREAK out of the report), after
// which the table must be byte for byte what it was.
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "dbftest.h"

namespace {

using vltest::expect_rows;

// Numbers 1..6 with memos; 2 and 5 deleted; the memo of 1 rewritten longer
// (which abandons its first block), that of 4 above 64 KiB.
constexpr const char* kSetup[] = {
    "DBCREATE('t', {{'N','N',3,0}, {'M','M',10,0}, {'W','C',300,0}}), DBUSEAREA(.T., , 't', , .F.)",
    "AEVAL({'a', '', REPLICATE('b', 600), REPLICATE('c', 70000), 'd', ''}, "
    "{|m, i| DBAPPEND(), FIELDPUT(1, i), FIELDPUT(2, m), FIELDPUT(3, 'w' + STR(i, 1))})",
    "DBGOTO(1), FIELDPUT(2, REPLICATE('a', 1500)), DBGOTO(2), DBDELETE(), DBGOTO(5), DBDELETE(), DBCOMMIT()",
};

class Pack : public dbftest::InDir {
 protected:
  void SetUp() override
  {
    InDir::SetUp();
    for (const char* e : kSetup) run(e);
  }
  void TearDown() override
  {
    InDir::TearDown();
    EXPECT_TRUE(vltest::proc_locks("", getpid()).empty());
  }
  static ino_t inode(const char* name) { struct stat st{}; return stat(name, &st) == 0 ? st.st_ino : 0; }
};

TEST_F(Pack, PackKeepsLiveRecordsInOrderWithTheirMemos)
{
  ASSERT_EQ(chmod("t.dbf", 0664), 0);  // wider than the umask lets a new file be
  ASSERT_EQ(chmod("t.dbt", 0606), 0);
  const ino_t before = inode("t.dbf");
  expect_rows({
      {"DBGOTO(3), __DBPACK()", ".T."},
      {"{LASTREC(), RECNO(), DELETED()}", "{4, 1, .F.}"},
      {"a := {}, DBEVAL({|| AADD(a, {FIELDGET(1), IIF(FIELDGET(1) == 4, 0, LEN(FIELDGET(2))), "
       "TRIM(FIELDGET(3))})}), a", "{{1, 1500, w1}, {3, 600, w3}, {4, 0, w4}, {6, 0, w6}}"},
  });
  // Memo blocks 1-3, 4-5 and 6-142 (70000 bytes and a 0x1A); none for 6.
  // The old memo file had 145 blocks.
  const std::string dbf = dir_.read("t.dbf"), dbt = dir_.read("t.dbt");
  EXPECT_EQ(dbf.size(), le16(dbf, 8) + 4u * le16(dbf, 10));
  EXPECT_EQ(field("t.dbf", 3, 4, 10), "         6");
  EXPECT_EQ(field("t.dbf", 4, 4, 10), std::string(10, ' '));
  EXPECT_EQ(le32(dbt, 0), 143u);
  EXPECT_EQ(dbt.size(), 143u * 512);
  EXPECT_TRUE(dbt.substr(6 * 512, 70001) == std::string(70000, 'c') + '\x1A');
  EXPECT_NE(inode("t.dbf"), before);
  EXPECT_EQ(std::filesystem::status("t.dbf").permissions(), std::filesystem::perms(0664));
  EXPECT_EQ(std::filesystem::status("t.dbt").permissions(), std::filesystem::perms(0606));
  EXPECT_EQ(files().size(), 2u);  // t.dbf and t.dbt alone
}

TEST_F(Pack, ZapLeavesTheHeaderAndAnEmptyMemoFile)
{
  const std::string old = dir_.read("t.dbf");
  const size_t hdr = le16(old, 8);
  expect_rows({
      {"__DBZAP()", ".T."},
      {"{LASTREC(), EOF(), BOF()}", "{0, .T., .T.}"},
      {"DBAPPEND(), FIELDPUT(2, 'z'), FIELDPUT(3, 'x'), DBCOMMIT(), LASTREC()", "1"},
  });
  run("DBCLOSEAREA(), DBUSEAREA(.T., , 't', , .F.), __DBZAP()", ".T.");
  const std::string dbf = dir_.read("t.dbf");
  ASSERT_EQ(dbf.size(), hdr);
  EXPECT_EQ(dbf.substr(32), old.substr(32, hdr - 32));  // fields carried over, C 300 too
  EXPECT_EQ(dir_.read("t.dbt"), std::string("\x01\0\0\0", 4) + std::string(508, '\0'));
  // Refused on a shared table, and on a read-only one.
  expect_rows({{"DBCLOSEAREA(), DBUSEAREA(.T., , 't', , .T.), __DBPACK()", "#322 .F."}, {"__DBZAP()", "#322 .F."},
               {"DBCLOSEAREA(), DBUSEAREA(.T., , 't', , .F., .T.), __DBZAP()", "#104 .F."}});
}

int g_renames = 0, g_fail_at = 0;
int failing_rename(const char* from, const char* to) { return ++g_renames == g_fail_at ? -1 : ::rename(from, to); }

// A failure in each step that can fail once the new files exist: the
// memo's rename, the table's (the memo moved in already), and a write of
// the new memo file stopped by the file size limit (fail_at 0).
TEST_F(Pack, AFailedSwapLeavesTheTableAsItWas)
{
  struct rlimit saved;
  getrlimit(RLIMIT_FSIZE, &saved);
  const struct rlimit small = {2048, saved.rlim_max};
  for (int fail_at : {1, 2, 0}) {
    SCOPED_TRACE(fail_at);
    const auto before = files();
    g_renames = 0, g_fail_at = fail_at;
    vl::vlnPackRename = failing_rename;
    if (fail_at == 0) signal(SIGXFSZ, SIG_IGN), setrlimit(RLIMIT_FSIZE, &small);
    expect_rows({{"__DBPACK()", "#101 .F."}});
    setrlimit(RLIMIT_FSIZE, &saved), signal(SIGXFSZ, SIG_DFL);
    EXPECT_TRUE(reported(101, "Pack();cannot open tmp file"));
    EXPECT_TRUE(files() == before);  // names and bytes; quiet when not
    expect_rows({{"DBGOTO(3), {LASTREC(), LEN(FIELDGET(2))}", "{6, 600}"}});
  }
}

TEST_F(Pack, ABreakOutOfAFailedPackLeavesNoLockAndAWorkingTable)
{
  run("ERRORBLOCK({|e| BREAK(e)})");
  vln_error_handler = vln_default_error_handler;  // through the error block
  g_renames = 0, g_fail_at = 2;
  vl::vlnPackRename = failing_rename;
  EXPECT_EQ(vl_call(dbftest::guarded, {set_cv("__DBPACK()")})->Type, 'O');
  EXPECT_EQ(vltest::proc_locks("", getpid()), vltest::proc_locks("t.dbf", getpid()));  // the table's USE lock alone
  EXPECT_EQ(vltest::proc_locks("t.dbf", getpid()).size(), 1u);
  sigset_t now;
  sigprocmask(SIG_BLOCK, nullptr, &now);
  EXPECT_FALSE(sigismember(&now, SIGINT));  // the break gate is open again
  vl::vlnPackRename = ::rename;
  expect_rows({{"__DBPACK(), DBGOBOTTOM(), {LASTREC(), FIELDGET(1)}", "{4, 6}"}});
}

}  // namespace
