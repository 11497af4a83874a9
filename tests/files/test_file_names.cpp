// File-name translation: drive prefixes, slashes, the extension map, case
// switches, strip; SET DEFAULT and SET PATH; absolute paths; the helpers
// that add to or take from a name; the search that opens files.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "files.hpp"
#include "fname.h"
#include "vltest.h"

using namespace vl;

namespace {

class FileNames : public vltest::VlTest {
 protected:
  void SetUp() override
  {
    VlTest::SetUp();
    unsetenv("C_VLDRIVE");
    unsetenv("Q_VLDRIVE");
  }
  // vlnConvertFile on a copy in a buffer of size bytes.
  static std::string conv(const std::string& name, size_t size = 512)
  {
    std::string buf(size, '\0');
    name.copy(&buf[0], std::min(name.size(), size - 1));
    vlnConvertFile(&buf[0], size);
    return buf.c_str();
  }
  static std::string form(const char* dir, const char* name)
  {
    char out[512];
    return form_fnam(dir, name, out, sizeof out);
  }
  static void set(int n, const std::string& text) { vl_call(_bb_set, {set_nv(n, 0), set_cv(text.c_str())}); }
  static void vlset(const char* keyword, var* value) { vl_call(_bb_vl_set, {set_cv(keyword), value}); }
  void touch(const std::string& rel) const { dir_.write(rel, "x"); }
  void mkdir_in(const std::string& rel) const { mkdir((dir_ / rel).c_str(), 0755); }

  vltest::TempDir dir_;
};

TEST_F(FileNames, DrivePrefixesFollowTheirVariables)
{
  setenv("C_VLDRIVE", "/home/u", 1);
  const std::pair<const char*, const char*> rows[] = {
      {"c:\\data\\x.dbf", "/home/u/data/x.dbf"}, {"C:data\\x.dbf", "/home/u/data/x.dbf"},
      {"c:/x", "/home/u/x"}, {"c:", "/home/u"}, {"x.dbf   ", "x.dbf"}, {"a\\b\\c.txt", "a/b/c.txt"},
      {"", ""}, {"q:\\data\\x.dbf", "q:/data/x.dbf"}};  // no Q_VLDRIVE: the prefix stays
  for (const auto& [in, out] : rows) EXPECT_EQ(conv(in), out) << in;
  setenv("C_VLDRIVE", "/home/u/", 1);
  EXPECT_EQ(conv("c:x"), "/home/u/x");
  setenv("C_VLDRIVE", "", 1);
  EXPECT_EQ(conv("c:x"), "x");
  EXPECT_TRUE(reports().empty());
}

TEST_F(FileNames, OverlongResultsAreReportedAndLeaveTheName)
{
  setenv("C_VLDRIVE", "/a/rather/long/directory", 1);
  EXPECT_EQ(conv("c:\\x.dbf", 20), "c:/x.dbf");
  EXPECT_TRUE(reported(901, "Drive C: substitution exceedes 20 chars"));
  vl_call(_bb_vl_set, {set_cv("convert"), set_cv("t"), set_cv("longext")});
  EXPECT_EQ(conv("a.t", 8), "a.t");
  EXPECT_TRUE(reported(901, "Mapping of extension exceeds 8 chars"));
  EXPECT_EQ(conv("a.t"), "a.longext");
}

TEST_F(FileNames, CaseSwitchesFoldTheirPart)
{
  const std::pair<const char*, const char*> rows[] = {
      {"lowerfilename", "/Data.Dir/file.dbf"}, {"upperfilename", "/Data.Dir/FILE.DBF"},
      {"lowerpath", "/data.dir/File.Dbf"},     {"upperpath", "/DATA.DIR/File.Dbf"}};
  for (const auto& [in, out] : rows) {
    vlset(in, TRUE_VAR);  // the switch's keyword
    EXPECT_EQ(conv("/Data.Dir/File.Dbf"), out) << in;
    vlset(in, FALSE_VAR);
  }
  vlset("lowerfile", TRUE_VAR);
  vlset("upperpath", TRUE_VAR);
  EXPECT_EQ(conv("Dir\\Sub\\NAME.TXT"), "DIR/SUB/name.txt");
  EXPECT_EQ(conv("Name"), "name") << "no directory part";
}

TEST_F(FileNames, StripKeepsSafeCharactersAndClipsToEightThree)
{
  vlset("strip", TRUE_VAR);
  const std::pair<const char*, const char*> rows[] = {
      {"abcdefghij.prg", "abcdefgh.prg"}, {"a.12345", "a.12345"},
      {"x.html", "x.htm"},                {"a b$c+d.txt", "abcd.txt"},
      {"dir/abcdefghijk", "dir/abcdefgh"}, {"longdirectory/f.c", "longdirectory/f.c"},
      {"abcdefghij.tar.gz", "abcdefgh.tar"}, {"ab.", "ab."},
      {"x~#%@!.*?", "x~#%@!.*?"},         {"\xe4pfel.txt", "pfel.txt"},
  };
  for (const auto& [in, out] : rows) EXPECT_EQ(conv(in), out) << in;
}

TEST_F(FileNames, ExtensionMapIsLookedUpInLowerCase)
{
  EXPECT_STREQ(vln_mapext("DBF", nullptr), "dbf.") << "unknown: maps to nothing";
  EXPECT_STREQ(vln_mapext("ntx ", "idx"), "ntx.idx");
  EXPECT_STREQ(vln_mapext("NTX", nullptr), "ntx.idx");
  EXPECT_STREQ(vln_mapext("", "x"), "");
  EXPECT_STREQ(vln_mapext("abcdefghij", "1234567890"), "abcdefg.1234567");
  EXPECT_STREQ(vln_namemapext("dir/Name.NTX"), "dir/Name.idx");
  EXPECT_STREQ(vln_namemapext("a.ntx/name"), "a.ntx/name") << "the dot must follow the last /";
  EXPECT_STREQ(vln_namemapext("name."), "name.");
  EXPECT_STREQ(vln_namemapext("name.dbf"), "name.dbf");
  EXPECT_EQ(conv("c.ntx"), "c.idx");
}

TEST_F(FileNames, ExtensionMapHoldsTenRows)
{
  // Filling the map is for good; a child process keeps it from the others.
  EXPECT_EXIT(
      {
        int rows = 0;
        while (rows <= 10 && *vln_mapext(("e" + std::to_string(rows)).c_str(), "z")) ++rows;
        const bool full = std::string(vln_mapext("more", "z")).empty();
        const bool known = std::string(vln_mapext("e0", "y")) == "e0.y";
        std::exit(rows <= 10 && full && known ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

TEST_F(FileNames, FormFnamAddsTheDefaultOnlyToBareNames)
{
  EXPECT_EQ(form(nullptr, "x.dbf"), "x.dbf");
  set(7, "/srv/data");
  EXPECT_EQ(form(nullptr, "x.dbf"), "/srv/data/x.dbf");
  EXPECT_EQ(form(nullptr, "/abs/x.dbf"), "/abs/x.dbf");
  EXPECT_EQ(form(nullptr, "sub\\x.dbf"), "sub/x.dbf");
  EXPECT_EQ(form("", "x.dbf"), "x.dbf");
  EXPECT_EQ(form("/d", "x.dbf"), "/d/x.dbf");
  EXPECT_EQ(form("/d/", "x.dbf"), "/d/x.dbf");
  setenv("C_VLDRIVE", "/mnt/c", 1);
  set(7, "c:\\work");
  EXPECT_STREQ(vlnGetDefault(), "/mnt/c/work/");
  EXPECT_EQ(form(nullptr, "x"), "/mnt/c/work/x");
  char small[8];
  EXPECT_STREQ(form_fnam(nullptr, "toolongname", small, sizeof small), "");
  EXPECT_EQ(count(319), 1);
  char name[8] = "x";
  EXPECT_STREQ(vlnAddDefPath(name, sizeof name), "x");
  EXPECT_TRUE(reported(319, "to add default path"));
  set(7, "");
  EXPECT_STREQ(vlnAddDefPath(name, sizeof name), "x");
}

TEST_F(FileNames, NamesAreExpandedByTheKernel)
{
  EXPECT_EQ(form(nullptr, "(\"ab\" + \"c.dbf\")"), "abc.dbf");
  EXPECT_EQ(form(nullptr, "  plain"), "plain");
  touch("found.txt");
  set(7, dir_.path());
  char out[512];
  EXPECT_EQ(std::string(vlnPathFile("(\"found\" + \".txt\")", out, sizeof out)),
            dir_ / "found.txt");
  EXPECT_TRUE(reports().empty());
}

TEST_F(FileNames, AbsolutePathsCollapseDotsAndSlashes)
{
  const std::pair<const char*, const char*> rows[] = {
      {"/a/b/../c", "/a/c"}, {"/a//b/./c", "/a/b/c"}, {"/a/b/..", "/a/b/.."},
      {"/../x", "/x"},       {"/a/./../b", "/b"},     {"/a/b/c/../../d", "/a/d"}};
  for (const auto& [in, out] : rows) {
    char buf[64];
    std::strcpy(buf, in);
    EXPECT_STREQ(vlnGetAbsPath(buf, sizeof buf), out) << in;
  }
  char* cwd = getcwd(nullptr, 0);
  char rel[512] = "x/./y";
  EXPECT_EQ(std::string(vlnGetAbsPath(rel, sizeof rel)), std::string(cwd) + "/x/y");
  char small[8] = "x";
  EXPECT_STREQ(vlnGetAbsPath(small, sizeof small), "x");
  EXPECT_TRUE(reported(107, "internal file limit of 8 bytes exceeded"));
  // A working directory that is gone.
  const std::string gone = dir_ / "gone";
  mkdir(gone.c_str(), 0755);
  ASSERT_EQ(chdir(gone.c_str()), 0);
  rmdir(gone.c_str());
  char name[64] = "f";
  vlnGetAbsPath(name, sizeof name);
  EXPECT_EQ(chdir(cwd), 0);
  std::free(cwd);
  EXPECT_STREQ(name, "f");
  EXPECT_EQ(count(107), 2);
}

TEST_F(FileNames, AddExtensionOnlyWithoutOne)
{
  char out[32];
  const std::pair<const char*, const char*> rows[] = {
      {"name", "name.dbf"},         {"  name  ", "name.dbf"},       {"my name", "my name.dbf"},
      {"x.txt", "x.txt"},           {"a.b/file", "a.b/file.dbf"},   {"a.b\\file", "a.b\\file.dbf"},
      {"dir/f.", "dir/f."}};
  for (const auto& [in, want] : rows) {
    ASSERT_NE(vlnAddExtension(out, in, ".dbf", sizeof out), nullptr) << in;
    EXPECT_STREQ(out, want) << in;
  }
  EXPECT_EQ(vlnAddExtension(out, "abcdefghijklmnopqrstuvwxyz012", ".dbf", sizeof out), nullptr);
  EXPECT_NE(vlnAddExtension(out, "abcdefghijklmnopqrstuvwxyz012.x", ".dbf", sizeof out),
            nullptr);
}

TEST_F(FileNames, ExtractNameGivesTheUpperCaseBase)
{
  const std::pair<const char*, const char*> rows[] = {
      {"/x/y/File.dbf", "FILE"},   {"c:\\dir\\name", "NAME"},   {"  \tshort  ", "SHORT"},
      {"eightchr", "EIGHTCHR"},    {"eightchr  ", "EIGHTCHR"},  // blanks after it are no name
      {"ninechars", ""},           {"ninechars.dbf", ""},       {"waytoolongname.dbf", ""}};
  for (const auto& [in, want] : rows) {
    char out[9] = "";
    const int n = vlnExtractName(in, out, sizeof out);
    EXPECT_EQ(n, static_cast<int>(std::strlen(want))) << in;  // 0: the name didn't fit
    if (n) {
      EXPECT_STREQ(out, want) << in;
    }
  }
}

TEST_F(FileNames, SearchGoesThroughDefaultThenPath)
{
  mkdir_in("def");
  mkdir_in("p1");
  mkdir_in("p2");
  mkdir_in("p2/sub.dbf");
  touch("p2/only.dbf");
  touch("p1/both.dbf");
  touch("p2/both.dbf");
  touch("def/home.dbf");
  set(6, dir_ / "p1;" + dir_ / "p2");
  char out[512];
  EXPECT_EQ(std::string(vlnPathFile("only.dbf", out, sizeof out)), dir_ / "p2/only.dbf");
  EXPECT_EQ(std::string(vlnPathFile("both.dbf", out, sizeof out)), dir_ / "p1/both.dbf");
  EXPECT_STREQ(vlnPathFile("sub.dbf", out, sizeof out), "") << "a directory is no file";
  EXPECT_STREQ(vlnPathFile("none.dbf", out, sizeof out), "");
  EXPECT_STREQ(vlnPathFile((dir_ / "def/none").c_str(), out, sizeof out), "");
  EXPECT_EQ(std::string(vlnPathFile("o*.d?f", out, sizeof out)), dir_ / "p2/only.dbf");
  EXPECT_STREQ(vlnPathFile("ONLY.DBF", out, sizeof out), "") << "case counts";
  set(7, dir_ / "def");
  EXPECT_EQ(std::string(vlnPathFile("home.dbf", out, sizeof out)), dir_ / "def/home.dbf");
  EXPECT_EQ(std::string(vlnPathFile("both.dbf", out, sizeof out)), dir_ / "p1/both.dbf");
}

TEST_F(FileNames, PathOpenReportsTheLastTriedName)
{
  mkdir_in("p");
  touch("p/t.txt");
  set(6, dir_ / "p");
  char out[VLN_OPEN_NAME_SIZE];
  int fd = path_open_fil("t.txt", O_RDONLY, 0, out, 0, 1);
  ASSERT_GE(fd, 0);
  EXPECT_EQ(std::string(out), dir_ / "p/t.txt");
  EXPECT_EQ(fcntl(fd, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
  close(fd);
  fd = path_open_fil("missing.txt", O_RDONLY, 0, out, 0, 1);
  EXPECT_EQ(fd, -1);
  EXPECT_TRUE(reported(101, "'" + dir_ / "p/missing.txt' (requested 'missing.txt')"));
  EXPECT_EQ(__oserr, ENOENT);
  EXPECT_EQ(path_open_fil("missing.txt", O_RDONLY, 0, nullptr, 0, 0), -1);
  EXPECT_EQ(count(101), 1) << "no report asked for";
  // System files are also looked for in the terminfo directories.
  setenv("TERMINFO", dir_.path().c_str(), 1);
  touch("termfile");
  fd = path_open_fil("termfile", O_RDONLY, 0, out, 1, 0);
  EXPECT_GE(fd, 0);
  close(fd);
  unsetenv("TERMINFO");
}

TEST_F(FileNames, CheckedPrimitivesReportFailures)
{
  set(7, dir_.path());
  const int fd = creat_fil("made.txt", 0640);
  ASSERT_GE(fd, 0);
  EXPECT_EQ(write_fil(fd, "abc", 3), 3);
  EXPECT_EQ(lseek_fil(fd, 0, SEEK_SET), 0);
  EXPECT_EQ(get_nfil_mode((dir_ / "made.txt").c_str()), 0640);
  EXPECT_EQ(vlnGetFileMode(fd), 0640);
  EXPECT_EQ(close_fil(fd), 0);
  EXPECT_EQ(close_fil(fd), -1);
  FILE* f = fopen_fil("made.txt", "r");
  ASSERT_NE(f, nullptr);
  EXPECT_EQ(fclose_fil(f), 0);
  EXPECT_EQ(fopen_fil("absent.txt", "r"), nullptr);
  EXPECT_EQ(erase_fil("made.txt"), 0);
  EXPECT_EQ(erase_fil("made.txt"), -1);
  EXPECT_EQ(creat_fil("nodir/x", 0600), -1);
  EXPECT_EQ(get_nfil_mode("/nonexistent/x"), 0);
  EXPECT_EQ(write_fil(-1, "x", 1), -1);
  std::string codes;
  for (const auto& r : reports()) codes += std::to_string(r.code) + " ";
  EXPECT_EQ(codes, "102 101 106 105 107 104 ");
  EXPECT_TRUE(reported(107, "GET_NFIL_MODE: cannot get status for '/nonexistent/x'"));
  const int mask = umask(022);
  EXPECT_EQ(vlnGetUmask(), 0644);
  EXPECT_EQ(umask(mask), 022) << "the mask is left as it was";
}

}  // namespace
