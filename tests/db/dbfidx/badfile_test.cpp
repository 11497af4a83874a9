// Damaged and unreachable tables.  Each case damages the files of a good
// table (two records, a character and a memo field), tries to USE it, walks
// and reads it where it opened, and checks three things: the report (code
// and text), what USE and NETERR() give, and that no byte and no name in
// the table's directory changed.
//
// Permissions: root opens any file, so the cases about them run in a
// forked child that first drops to the unprivileged user "nobody" when it
// runs as root; the case of a table held exclusively by another process
// has a forked child hold it.
#include <pwd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "dbftest.h"

namespace {

namespace fs = std::filesystem;

constexpr int kFields = 2;
constexpr int kHeaderLen = vl::DBF_HEADER_SIZE + kFields * vl::DBF_FIELD_SIZE + 1;
constexpr int kNameLen = 5;
constexpr int kRecLen = 1 + kNameLen + vl::DBF_MEMO_LEN;
constexpr int kLongMemo = 600;  // spans blocks 1 and 2

// The good table t.dbf/t.dbt: NAME C 5 and NOTE M; record 1's memo is
// kLongMemo 'm's at block 1, record 2's "short" at block 3.
struct Files { std::string dbf, dbt; };

Files good_table()
{
  std::string h(kHeaderLen, '\0');
  h[0] = char(vl::DBF_VERSION_MEMO);
  h[1] = 124, h[2] = 1, h[3] = 2;
  vl::dbf_put32(reinterpret_cast<uint8_t*>(&h[vl::DBF_OFF_COUNT]), 2);
  vl::dbf_put16(reinterpret_cast<uint8_t*>(&h[vl::DBF_OFF_HDRLEN]), kHeaderLen);
  vl::dbf_put16(reinterpret_cast<uint8_t*>(&h[vl::DBF_OFF_RECLEN]), kRecLen);
  h[vl::DBF_OFF_WRCNT] = 1;
  vl::dbf_fldef(0, "NAME", 'C', kNameLen, 0, reinterpret_cast<uint8_t*>(h.data()));
  vl::dbf_fldef(1, "NOTE", 'M', vl::DBF_MEMO_LEN, 0, reinterpret_cast<uint8_t*>(h.data()));
  h.back() = char(vl::DBF_HDR_END);
  std::string dbt(4 * vl::DBT_BLOCK, '\x1A');
  dbt.replace(0, vl::DBT_BLOCK, std::string("\x04\0\0\0", 4) + std::string(vl::DBT_BLOCK - 4, '\0'));
  dbt.replace(vl::DBT_BLOCK, kLongMemo, std::string(kLongMemo, 'm'));
  dbt.replace(3 * vl::DBT_BLOCK, 5, "short");
  return {h + " alpha         1" + " beta          3", dbt};
}

// What a case must see.  use: the row value of "{DBUSEAREA(...), NETERR()}"
// as expect_rows writes it ("#326 {.F., .T.}"); text: part of the first
// report's text; check: an expression run on the open table, and its row
// value; setup: what else is done to t.dbf.
enum class Setup {
  Plain,
  Directory,     // t.dbf is a directory
  ReadOnlyOpen,  // t.dbf is 0444 and opened read-only
  NoWrite,       // t.dbf is 0444, opened read-write by an unprivileged user
  NoRead,        // t.dbf is 0222, opened by an unprivileged user
  Held           // another process has t.dbf open exclusively
};

struct Case {
  const char* what;
  void (*damage)(Files&);
  const char *use, *text = "", *check = nullptr, *want = nullptr;
  Setup setup = Setup::Plain;
};

void set16(std::string& s, size_t at, uint16_t v) { vl::dbf_put16(reinterpret_cast<uint8_t*>(&s[at]), v); }
void set32(std::string& s, size_t at, uint32_t v) { vl::dbf_put32(reinterpret_cast<uint8_t*>(&s[at]), v); }
void keep(Files&) {}
constexpr size_t kField1 = vl::DBF_HEADER_SIZE;
constexpr const char* kRefused = "#326 {.F., .T.}";
constexpr const char* kNotOpened = "#101 {.F., .T.}";
constexpr const char* kOpened = "{.T., .F.}";
constexpr const char* kMemoLengths = "a := {}, DBEVAL({|| AADD(a, LEN(FIELDGET(2)))}), a";

const Case kCases[] = {
    {"empty file", [](Files& f) { f.dbf.clear(); }, kRefused, "cut short"},
    {"header cut", [](Files& f) { f.dbf.resize(20); }, kRefused, "cut short"},
    {"header length beyond the file", [](Files& f) { set16(f.dbf, vl::DBF_OFF_HDRLEN, 0xFFF0); }, kRefused,
     "header length 65520"},
    {"header length without its end mark", [](Files& f) { set16(f.dbf, vl::DBF_OFF_HDRLEN, 32); }, kRefused,
     "header length 32"},
    {"count beyond the file", [](Files& f) { set32(f.dbf, vl::DBF_OFF_COUNT, 0x7FFFFFFF); }, kRefused,
     "2147483647 records counted, 2"},
    {"record length 0", [](Files& f) { set16(f.dbf, vl::DBF_OFF_RECLEN, 0); }, kRefused, "record length 0"},
    {"fields longer than the record", [](Files& f) { set16(f.dbf, vl::DBF_OFF_RECLEN, 10); }, kRefused,
     "need 16 bytes"},
    {"field without a name", [](Files& f) { f.dbf[kField1] = 0; }, kRefused, "field 1 has no name"},
    {"two fields of one name", [](Files& f) { f.dbf.replace(kField1 + vl::DBF_FIELD_SIZE, 4, "NAME"); }, kOpened,
     "", "{FIELDGET(1), LEN(FIELDGET(2))}", "{alpha, 600}"},
    {"field of length 0", [](Files& f) { f.dbf[kField1 + 16] = f.dbf[kField1 + 17] = 0; }, kRefused,
     "field 1 has length 0"},
    {"dBASE IV version", [](Files& f) { f.dbf[0] = char(0x8B); }, kRefused, "'dBASE IV' file format not supported"},
    {"Fox version", [](Files& f) { f.dbf[0] = char(0xF5); }, kRefused, "'Fox' file format not supported"},
    {"other version", [](Files& f) { f.dbf[0] = 0x30; }, kRefused, "the file has 0x30 as version code"},
    {"unknown field type", [](Files& f) { f.dbf[kField1 + 11] = 'X'; }, "#204 {.T., .F.}",
     "unknown field type 'X'", "{FIELDGET(1), FCOUNT(), LEN(FIELDGET(2))}", "{NIL, 2, 600}"},
    {"memo field without the memo bit", [](Files& f) { f.dbf[0] = vl::DBF_VERSION; }, kOpened, "", "FIELDGET(2)",
     "#414 "},
    {"memo file missing", [](Files& f) { f.dbt.clear(); }, kNotOpened, "t.dbt"},
    {"memo file shorter than its blocks", [](Files& f) { f.dbt.resize(vl::DBT_BLOCK + 100); }, kOpened, "",
     kMemoLengths, "{100, 0}"},
    {"memo pointer past any block", [](Files& f) { f.dbf.replace(kHeaderLen + 6, 10, "2147483647"); }, kOpened,
     "", kMemoLengths, "{0, 5}"},
    {"directory", keep, kNotOpened, "t.dbf", nullptr, nullptr, Setup::Directory},
    {"read-only open of a read-only file", keep, kOpened, "", "FIELDPUT(1, 'x')", "#104 .F.", Setup::ReadOnlyOpen},
    {"no write permission", keep, kNotOpened, "t.dbf", nullptr, nullptr, Setup::NoWrite},
    {"no read permission", keep, kNotOpened, "t.dbf", nullptr, nullptr, Setup::NoRead},
    {"held exclusively by another process", keep, "{.F., .T.}", "", nullptr, nullptr, Setup::Held},
};

// Evaluate expr as expect_rows does: its row value ("#code value" after a
// report), and the first report as "#code description" ("" if none).
std::pair<std::string, std::string> row(const char* expr)
{
  auto& seen = vltest::VlTest::reports();
  seen.clear();
  const std::string value = vltest::shown(exp_eval(expr));
  if (seen.empty()) return {value, ""};
  const std::string code = "#" + std::to_string(seen[0].code) + " ";
  return {code + value, code + seen[0].description};
}

// What one attempt saw, as lines: the USE row, its first report, the check
// row, and whether a walk over every field of every record finished.
std::string attempt(const Case& c)
{
  frame f;
  vln_fn_start(&f, "badfile", "badfile", 1, 0);
  const bool ro = c.setup == Setup::ReadOnlyOpen;
  const std::string use = std::string("{DBUSEAREA(.T., , 't', , .T.") + (ro ? ", .T." : "") + "), NETERR()}";
  const auto [got, report] = row(use.c_str());
  std::string out = got + "\n" + report + "\n";
  if (vlnLogVar(_bb_used(0, nullptr))) {
    if (c.check) out += row(c.check).first;
    row("DBEVAL({|| AEVAL(DBSTRUCT(), {|x, i| FIELDGET(i)})})");
    out += "\nwalked " + row("{RECNO(), EOF()}").first;
  }
  exp_eval("DBCLOSEALL()");
  vln_fn_end(&f, 'U');
  del_tmpvars(f.TmvNp);
  return out;
}

// attempt() in a child that drops to "nobody" first if it runs as root.
std::string attempt_unprivileged(const Case& c)
{
  FILE* out = std::tmpfile();
  if (!out) return "no scratch file";
  const pid_t pid = fork();
  if (pid == 0) {
    const passwd* nobody = getpwnam("nobody");
    std::string said = "cannot drop root";
    if (geteuid() != 0 || (nobody && setgid(nobody->pw_gid) == 0 && setuid(nobody->pw_uid) == 0)) said = attempt(c);
    std::fputs(said.c_str(), out), std::fflush(out);
    _exit(0);
  }
  vltest::reap(pid);
  std::rewind(out);
  std::string said;
  for (int ch; (ch = std::fgetc(out)) != EOF;) said += char(ch);
  std::fclose(out);
  return said;
}

using BadFile = dbftest::InDir;

TEST_F(BadFile, EachCaseReportsAndWritesNothing)
{
  fs::permissions(dir_.path(), fs::perms(0755));  // the unprivileged child reads it too
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.what);
    fs::remove_all(dir_ / "t.dbf");
    fs::remove_all(dir_ / "t.dbt");
    Files table = good_table();
    c.damage(table);
    if (c.setup == Setup::Directory) {
      fs::create_directory(dir_ / "t.dbf");
    } else {
      dir_.write("t.dbf", table.dbf);
      const bool writable = c.setup != Setup::ReadOnlyOpen && c.setup != Setup::NoWrite;
      fs::permissions(dir_ / "t.dbf", fs::perms(c.setup == Setup::NoRead ? 0222 : writable ? 0644 : 0444));
    }
    if (!table.dbt.empty()) dir_.write("t.dbt", table.dbt);
    const auto before = files();
    std::optional<vltest::Holder> holder;  // another process holding the table exclusively
    if (c.setup == Setup::Held) holder.emplace([] { exp_eval("DBUSEAREA(.T., , 't', , .F.)"); });
    const bool unprivileged = c.setup == Setup::NoWrite || c.setup == Setup::NoRead;
    const std::string said = unprivileged ? attempt_unprivileged(c) : attempt(c);
    std::vector<std::string> seen;
    std::istringstream in(said);
    for (std::string line; std::getline(in, line);) seen.push_back(line);
    ASSERT_GE(seen.size(), 2u) << said;
    EXPECT_EQ(seen[0], c.use) << said;
    EXPECT_NE(seen[1].find(c.text), std::string::npos) << said;
    if (c.check) { EXPECT_EQ(seen[2], c.want) << said; }
    if (std::string(c.use).find("{.T.") != std::string::npos) { EXPECT_EQ(seen.back(), "walked {3, .T.}") << said; }
    EXPECT_EQ(files(), before) << said;
  }
}

}  // namespace
