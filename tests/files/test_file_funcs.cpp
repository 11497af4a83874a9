// The low-level file functions on real files: results, FERROR after each
// kind of failure, modes of created files, reading text lines, locks, and
// hostile arguments.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "files.h"
#include "test_set_fixture.hpp"

using namespace settest;
using vltest::str;

namespace {

class FileFuncs : public SetTest {
 protected:
  void SetUp() override
  {
    SetTest::SetUp();
    char tmpl[] = "/tmp/vl_ffXXXXXX";
    ASSERT_NE(mkdtemp(tmpl), nullptr);
    dir_ = tmpl;
  }
  void TearDown() override
  {
    for (int fd : fds_) close(fd);
    std::system(("rm -rf " + dir_).c_str());
    SetTest::TearDown();
  }

  std::string path(const std::string& rel) const { return dir_ + "/" + rel; }
  var* name(const std::string& rel) { return set_Cvar(cre_tmpvar(), path(rel).c_str(), -1); }
  void write_file(const std::string& rel, const std::string& data)
  {
    std::ofstream(path(rel), std::ios::binary) << data;
  }
  std::string read_file(const std::string& rel)
  {
    std::ifstream in(path(rel), std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
  }
  int mode_of(const std::string& rel)
  {
    struct stat st;
    return stat(path(rel).c_str(), &st) == 0 ? st.st_mode & 07777 : -1;
  }
  // A descriptor closed at the end of the test.
  int keep(var* fd)
  {
    const int n = static_cast<int>(VDBL(fd));
    if (n >= 0) fds_.push_back(n);
    return n;
  }
  static double result(var* v) { return v->Type == 'N' ? VDBL(v) : -999; }
  static int ferror() { return static_cast<int>(VDBL(vl_call(_bb_ferror, {}))); }
  static var* bin(const std::string& s)
  {
    return set_Cvar(cre_tmpvar(), s.data(), static_cast<int32_t>(s.size()));
  }

  std::string dir_;
  std::vector<int> fds_;
};

TEST_F(FileFuncs, CreateWriteSeekReadClose)
{
  const int fd = keep(vl_call(_bb_fcreate, {name("a.txt")}));
  ASSERT_GE(fd, 0);
  EXPECT_EQ(fcntl(fd, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
  EXPECT_EQ(result(vl_call(_bb_fwrite, {num(fd), txt("hello world")})), 11);
  EXPECT_EQ(result(vl_call(_bb_fwrite, {num(fd), txt("!!!"), num(1)})), 1);
  EXPECT_EQ(result(vl_call(_bb_fseek, {num(fd), num(6)})), 6) << "origin 0 by default";
  var* buf = set_Cvar(cre_tmpvar(), "-----", -1);
  EXPECT_EQ(result(vl_call(_bb_fread, {num(fd), buf, num(3)})), 3);
  EXPECT_EQ(str(buf), "wor--") << "the rest of the buffer stays";
  EXPECT_EQ(result(vl_call(_bb_fread, {num(fd), buf})), 3) << "count: the buffer's length";
  EXPECT_EQ(str(buf), "ld!--");
  EXPECT_EQ(result(vl_call(_bb_fseek, {num(fd), num(-3), num(2)})), 9);
  EXPECT_EQ(str(vl_call(_bb_freadstr, {num(fd), num(100)})), "ld!");
  EXPECT_EQ(result(vl_call(_bb_fseek, {num(fd), num(0), num(1)})), 12);
  EXPECT_EQ(ferror(), 0);
  EXPECT_EQ(result(vl_call(_bb_fclose, {num(fd)})), 0);
  fds_.clear();
  EXPECT_EQ(read_file("a.txt"), "hello world!");
  EXPECT_TRUE(reports().empty()) << "file functions never report";
}

TEST_F(FileFuncs, FreadGrowsAnEmptyBuffer)
{
  write_file("b.bin", std::string("ab\0cd", 5));
  const int fd = keep(vl_call(_bb_fopen, {name("b.bin")}));
  ASSERT_GE(fd, 0);
  var* buf = set_Cvar(cre_tmpvar(), "", -1);
  EXPECT_EQ(result(vl_call(_bb_fread, {num(fd), buf, num(100)})), 5);
  EXPECT_EQ(str(buf), std::string("ab\0cd", 5));
  EXPECT_EQ(result(vl_call(_bb_fread, {num(fd), buf, num(10)})), 0);
  EXPECT_EQ(str(buf), std::string("ab\0cd", 5)) << "nothing read, nothing changed";
  var* nil = mak_var('N', 'U');
  vl_call(_bb_fseek, {num(fd), num(0)});
  EXPECT_EQ(result(vl_call(_bb_fread, {num(fd), nil, num(2)})), 2);
  EXPECT_EQ(str(nil), "ab");
  del_var(nil);
}

TEST_F(FileFuncs, CreatedFilesTakeTheirModeWhateverTheMask)
{
  const mode_t mask = umask(077);
  struct {
    var* attr;
    int mode;
  } rows[] = {{num(0), 0660},   {num(1), 0440},   {num(2), 0600}, {num(4), 0400},
              {num(644), 0644}, {num(755), 0755}, {num(3), 0666}, {num(678), 0666},
              {num(99), 0666},  {txt("x"), 0660}, {NIL_VAR, 0600}};
  int i = 0;
  for (const auto& r : rows) {
    const std::string f = "m" + std::to_string(i++);
    const int fd = keep(vl_call(_bb_fcreate, {name(f), r.attr}));
    ASSERT_GE(fd, 0) << f;
    EXPECT_EQ(mode_of(f), r.mode) << f;
    EXPECT_EQ(result(vl_call(_bb_fwrite, {num(fd), txt("w")})), 1) << "writable: " << f;
  }
  umask(mask);
  write_file("old.txt", "old content");
  keep(vl_call(_bb_fcreate, {name("old.txt")}));
  EXPECT_EQ(read_file("old.txt"), "") << "FCREATE truncates";
}

TEST_F(FileFuncs, OpenModes)
{
  write_file("r.txt", "data");
  int fd = keep(vl_call(_bb_fopen, {name("r.txt"), num(0)}));
  ASSERT_GE(fd, 0);
  EXPECT_EQ(fcntl(fd, F_GETFL) & O_ACCMODE, O_RDONLY);
  EXPECT_EQ(result(vl_call(_bb_fwrite, {num(fd), txt("x")})), -1);
  EXPECT_EQ(ferror(), EBADF);
  fd = keep(vl_call(_bb_fopen, {name("new1.txt"), num(1)}));
  ASSERT_GE(fd, 0) << "write mode creates";
  EXPECT_EQ(fcntl(fd, F_GETFL) & O_ACCMODE, O_WRONLY);
  fd = keep(vl_call(_bb_fopen, {name("new2.txt"), num(2)}));
  EXPECT_EQ(fcntl(fd, F_GETFL) & O_ACCMODE, O_RDWR);
  EXPECT_NE(fcntl(fd, F_GETFL) & O_NONBLOCK, 0);
  fd = keep(vl_call(_bb_fopen, {name("r.txt"), num(O_RDWR | O_APPEND)}));
  ASSERT_GE(fd, 0) << "other modes are open() flags";
  vl_call(_bb_fwrite, {num(fd), txt("+")});
  EXPECT_EQ(read_file("r.txt"), "data+");
}

TEST_F(FileFuncs, FailuresSetFerrorAndClearOnTheNextCall)
{
  EXPECT_EQ(result(vl_call(_bb_fopen, {name("missing")})), -1);
  EXPECT_EQ(ferror(), ENOENT);
  EXPECT_EQ(result(vl_call(_bb_doserror, {})), ENOENT);
  mkdir(path("d").c_str(), 0755);
  EXPECT_EQ(result(vl_call(_bb_fopen, {name("d"), num(2)})), -1) << "a directory";
  EXPECT_EQ(ferror(), EISDIR);
  EXPECT_EQ(result(vl_call(_bb_fcreate, {name("d")})), -1);
  EXPECT_EQ(ferror(), EISDIR);
  EXPECT_EQ(result(vl_call(_bb_fcreate, {name("nodir/x")})), -1);
  EXPECT_EQ(ferror(), ENOENT);
  EXPECT_EQ(result(vl_call(_bb_ferase, {name("d")})), -1);
  EXPECT_EQ(ferror(), EISDIR);
  EXPECT_EQ(result(vl_call(_bb_fclose, {num(12345)})), -1);
  EXPECT_EQ(ferror(), EBADF);
  EXPECT_EQ(result(vl_call(_bb_fseek, {num(-1), num(0)})), -1);
  EXPECT_EQ(ferror(), EBADF);
  write_file("ok", "");
  const int fd = keep(vl_call(_bb_fopen, {name("ok")}));
  EXPECT_GE(fd, 0);
  EXPECT_EQ(ferror(), 0);
  EXPECT_EQ(result(vl_call(_bb_fseek, {num(fd), num(0), num(7)})), -1);
  EXPECT_EQ(ferror(), EINVAL);
  EXPECT_EQ(result(vl_call(_bb_doserror, {num(0)})), EINVAL);
  EXPECT_EQ(result(vl_call(_bb_doserror, {})), 0);
  EXPECT_TRUE(reports().empty());
}

TEST_F(FileFuncs, PermissionIsRefused)
{
  write_file("locked", "x");
  chmod(path("locked").c_str(), 0);
  chmod(dir_.c_str(), 0755);
  // Root is not refused: as root, try it as an unprivileged user in a child.
  const pid_t pid = fork();
  if (pid == 0) {
    if (geteuid() == 0 && setuid(65534) != 0) _exit(100);
    vl_call(_bb_fopen, {name("locked")});
    _exit(ferror());
  }
  int status = 0;
  waitpid(pid, &status, 0);
  ASSERT_TRUE(WIFEXITED(status));
  if (WEXITSTATUS(status) == 100) GTEST_SKIP() << "cannot drop root privileges here";
  EXPECT_EQ(WEXITSTATUS(status), EACCES);
}

TEST_F(FileFuncs, WrongTypesGiveMinusOneAndNine)
{
  var* calls[] = {
      vl_call(_bb_fopen, {num(1)}),
      vl_call(_bb_fopen, {name("x"), txt("0")}),
      vl_call(_bb_fcreate, {NIL_VAR}),
      vl_call(_bb_fclose, {txt("1")}),
      vl_call(_bb_ferase, {}),
      vl_call(_bb_frename, {name("x"), num(1)}),
      vl_call(_bb_fseek, {num(0), txt("1")}),
      vl_call(_bb_fwrite, {num(1), num(1)}),
      vl_call(_bb_fread, {num(0), num(5), num(1)}),
      vl_call(_bb_fattrib, {num(1)}),
      vl_call(_bb_flockf, {txt("1"), num(1)}),
  };
  for (var* r : calls) EXPECT_EQ(result(r), -1);
  EXPECT_EQ(ferror(), 9);
  EXPECT_EQ(str(vl_call(_bb_freadstr, {txt("0"), num(1)})), "");
  EXPECT_EQ(ferror(), 9);
  EXPECT_EQ(str(vl_call(_bb_freadtxt, {NIL_VAR})), "");
  EXPECT_EQ(ferror(), 9);
  EXPECT_EQ(vl_call(_bb_file, {num(1)}), FALSE_VAR);
  EXPECT_TRUE(reports().empty());
}

TEST_F(FileFuncs, HostileCountsAndNames)
{
  write_file("c.txt", "0123456789");
  const int fd = keep(vl_call(_bb_fopen, {name("c.txt"), num(2)}));
  var* buf = set_Cvar(cre_tmpvar(), "", -1);
  for (double n : {-1.0, -1e300, 1e300, 3e9, double(VLN_FILE_MAX_COUNT) + 1}) {
    EXPECT_EQ(result(vl_call(_bb_fread, {num(fd), buf, num(n)})), -1) << n;
    EXPECT_EQ(ferror(), EINVAL) << n;
    EXPECT_EQ(str(vl_call(_bb_freadstr, {num(fd), num(n)})), "") << n;
    EXPECT_EQ(ferror(), EINVAL) << n;
  }
  EXPECT_EQ(str(vl_call(_bb_freadstr, {num(fd), num(0)})), "");
  EXPECT_EQ(ferror(), EINVAL) << "a count below 1";
  EXPECT_EQ(result(vl_call(_bb_fwrite, {num(fd), txt("x"), num(-5)})), -1);
  EXPECT_EQ(ferror(), EINVAL);
  EXPECT_EQ(result(vl_call(_bb_fwrite, {num(fd), txt("xy"), num(1e12)})), 2)
      << "a count beyond the text writes the text";
  EXPECT_EQ(result(vl_call(_bb_fseek, {num(fd), num(1e300)})), -1);
  EXPECT_EQ(ferror(), EINVAL);
  // A large count on a small file reads what is there, no more.
  vl_call(_bb_fseek, {num(fd), num(0)});
  EXPECT_EQ(result(vl_call(_bb_fread, {num(fd), buf, num(VLN_FILE_MAX_COUNT)})), 10);

  const std::string longname(5000, 'n');
  EXPECT_EQ(result(vl_call(_bb_fopen, {name(longname)})), -1);
  EXPECT_EQ(ferror(), ENAMETOOLONG);
  EXPECT_EQ(result(vl_call(_bb_fcreate, {bin(path("nul") + std::string("\0x", 2))})), -1);
  EXPECT_EQ(ferror(), EINVAL) << "a name holding a 0 byte";
  EXPECT_EQ(access(path("nul").c_str(), F_OK), -1) << "and no truncated name was made";
  EXPECT_EQ(vl_call(_bb_file, {bin(path("c.txt") + std::string("\0", 1))}), FALSE_VAR);
  EXPECT_EQ(vl_call(_bb_file, {name(longname)}), FALSE_VAR);
  EXPECT_TRUE(reports().empty());
}

TEST_F(FileFuncs, FreadstrEndsAtAZeroByte)
{
  write_file("z.bin", std::string("abc\0def", 7));
  const int fd = keep(vl_call(_bb_fopen, {name("z.bin")}));
  EXPECT_EQ(str(vl_call(_bb_freadstr, {num(fd), num(7)})), "abc");
  EXPECT_EQ(result(vl_call(_bb_fseek, {num(fd), num(0), num(1)})), 7);
  EXPECT_EQ(str(vl_call(_bb_freadstr, {num(fd), num(7)})), "");
  EXPECT_EQ(ferror(), 0) << "the end of the file is no error";
}

TEST_F(FileFuncs, FreadtxtReadsLines)
{
  const std::string long_line(1500, 'L');
  // The file ends in a 0 byte, which is dropped as a line end would be.
  write_file("t.txt", "one\r\ntwo\n\n" + long_line + std::string("\nnul\0after\nlast\0", 16));
  const int fd = keep(vl_call(_bb_fopen, {name("t.txt")}));
  std::vector<std::string> lines;
  for (int i = 0; i < 10; ++i) {
    var* line = vl_call(_bb_freadtxt, {num(fd)});
    if (ferror() == -1) break;
    lines.push_back(str(line));
  }
  EXPECT_EQ(lines, (std::vector<std::string>{"one", "two", "", long_line, "nul", "after",
                                             "last"}));
  EXPECT_EQ(str(vl_call(_bb_freadtxt, {num(fd)})), "");
  EXPECT_EQ(ferror(), -1);

  vlset({txt("slot18"), TRUE_VAR});
  vl_call(_bb_fseek, {num(fd), num(0)});
  for (int i = 0; i < 4; ++i) vl_call(_bb_freadtxt, {num(fd)});
  EXPECT_EQ(str(vl_call(_bb_freadtxt, {num(fd)})), std::string("nul\0after", 9))
      << "slot 18: a 0 byte stays in the line";
  EXPECT_EQ(str(vl_call(_bb_freadtxt, {num(fd)})), "last");
}

TEST_F(FileFuncs, NamesFunctions)
{
  write_file("f.txt", "x");
  chmod(path("f.txt").c_str(), 0640);
  EXPECT_EQ(result(vl_call(_bb_fattrib, {name("f.txt")})), 0640);
  EXPECT_EQ(result(vl_call(_bb_fattrib, {name("none")})), -1);
  EXPECT_EQ(ferror(), ENOENT);
  EXPECT_EQ(result(vl_call(_bb_frename, {name("f.txt"), name("g.txt")})), 0);
  EXPECT_EQ(read_file("g.txt"), "x");
  EXPECT_EQ(result(vl_call(_bb_frename, {name("f.txt"), name("h.txt")})), -1);
  EXPECT_EQ(ferror(), ENOENT);
  EXPECT_EQ(vl_call(_bb_file, {name("g.txt")}), TRUE_VAR);
  EXPECT_EQ(vl_call(_bb_file, {name("g.*")}), TRUE_VAR);
  EXPECT_EQ(vl_call(_bb_file, {name("?.txt")}), TRUE_VAR);
  EXPECT_EQ(vl_call(_bb_file, {name("*.dbf")}), FALSE_VAR);
  mkdir(path("sub").c_str(), 0755);
  EXPECT_EQ(vl_call(_bb_file, {name("sub")}), FALSE_VAR) << "a directory is no file";
  EXPECT_EQ(result(vl_call(_bb_ferase, {name("g.txt")})), 0);
  EXPECT_EQ(vl_call(_bb_file, {name("g.txt")}), FALSE_VAR);
}

TEST_F(FileFuncs, RelativeNamesFollowDefaultAndPath)
{
  mkdir(path("def").c_str(), 0755);
  mkdir(path("lib").c_str(), 0755);
  write_file("lib/inc.ch", "x");
  set(7, txt(path("def").c_str()));
  set(6, txt(path("lib").c_str()));
  const int fd = keep(vl_call(_bb_fcreate, {txt("made.txt")}));
  ASSERT_GE(fd, 0);
  EXPECT_EQ(access(path("def/made.txt").c_str(), F_OK), 0);
  EXPECT_EQ(vl_call(_bb_file, {txt("made.txt")}), TRUE_VAR);
  EXPECT_EQ(vl_call(_bb_file, {txt("inc.ch")}), TRUE_VAR) << "found along SET PATH";
  EXPECT_EQ(vl_call(_bb_file, {txt("*.ch")}), TRUE_VAR);
  EXPECT_EQ(result(vl_call(_bb_fopen, {txt("inc.ch")})), -1) << "FOPEN does not search";
  EXPECT_EQ(result(vl_call(_bb_ferase, {txt("made.txt")})), 0);
}

TEST_F(FileFuncs, FlockfLocksFromThePositionAndKeepsIt)
{
  write_file("l.dat", std::string(100, 'x'));
  const int fd = keep(vl_call(_bb_fopen, {name("l.dat"), num(2)}));
  vl_call(_bb_fseek, {num(fd), num(10)});
  EXPECT_EQ(result(vl_call(_bb_flockf, {num(fd), num(2), num(5)})), 0);
  EXPECT_EQ(lseek(fd, 0, SEEK_CUR), 10);
  // Another process sees the write lock on bytes 10 to 14 only.
  auto probe = [&](off_t start) {
    const pid_t pid = fork();
    if (pid == 0) {
      const int d = open(path("l.dat").c_str(), O_RDWR);
      struct flock fl {};
      fl.l_type = F_WRLCK;
      fl.l_whence = SEEK_SET;
      fl.l_start = start;
      fl.l_len = 1;
      fcntl(d, F_GETLK, &fl);
      _exit(fl.l_type == F_WRLCK ? 1 : 0);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    return WEXITSTATUS(status);
  };
  EXPECT_EQ(probe(10), 1);
  EXPECT_EQ(probe(14), 1);
  EXPECT_EQ(probe(15), 0);
  EXPECT_EQ(probe(9), 0);
  EXPECT_EQ(result(vl_call(_bb_flockf, {num(fd), num(0), num(5)})), 0);
  EXPECT_EQ(probe(10), 0) << "type 0 unlocks";
  EXPECT_EQ(result(vl_call(_bb_flockf, {num(-1), num(1), num(5)})), -1);
  EXPECT_EQ(ferror(), EBADF);
}

}  // namespace
