// The low-level file functions on real files in a scratch directory (SET
// DEFAULT): results, FERROR after each kind of failure (the errno values of
// Linux), modes of created files, text lines, locks, and hostile arguments.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "files.h"
#include "vltest.h"

using vltest::expect_rows;
using vltest::str;

namespace {

class FileFuncs : public vltest::VlTest {
 protected:
  void SetUp() override
  {
    VlTest::SetUp();
    vl_call(_bb_set, {set_nv(7, 0), set_cv(dir_.path().c_str())});
  }
  int mode_of(const std::string& name) const
  {
    struct stat st;
    return stat((dir_ / name).c_str(), &st) == 0 ? st.st_mode & 07777 : -1;
  }
  vltest::TempDir dir_;
};

TEST_F(FileFuncs, CreateWriteSeekReadClose)
{
  expect_rows({
      {"fd := FCREATE('a.txt')"},
      {"FWRITE(fd, 'hello world')", "11"},
      {"FWRITE(fd, '!!!', 1)", "1"},
      {"FSEEK(fd, -3, 2)", "9"},
      {"FREADSTR(fd, 100)", "ld!"},
      {"{FSEEK(fd, 0, 1), FERROR(), FCLOSE(fd)}", "{12, 0, 0}"},
  });
  EXPECT_EQ(dir_.read("a.txt"), "hello world!");
  // FREAD fills the buffer it is given: the rest stays, an empty or NIL one grows.
  dir_.write("b.bin", std::string("ab\0cd", 5));
  var* fd = set_nv(vlnIntVar(vl_call(_bb_fopen, {set_cv("a.txt")})), 0);
  var* buf = set_Cvar(cre_tmpvar(), "-----", -1);
  EXPECT_EQ(vlnIntVar(vl_call(_bb_fseek, {fd, set_nv(6, 0)})), 6);  // origin 0 by default
  EXPECT_EQ(vlnIntVar(vl_call(_bb_fread, {fd, buf, set_nv(3, 0)})), 3);
  EXPECT_EQ(str(buf), "wor--");
  EXPECT_EQ(vlnIntVar(vl_call(_bb_fread, {fd, buf})), 3);  // count: the buffer's length
  EXPECT_EQ(str(buf), "ld!--");
  close(vlnIntVar(fd));
  fd = set_nv(vlnIntVar(vl_call(_bb_fopen, {set_cv("b.bin")})), 0);
  var* empty = set_Cvar(cre_tmpvar(), "", -1);
  EXPECT_EQ(vlnIntVar(vl_call(_bb_fread, {fd, empty, set_nv(100, 0)})), 5);
  EXPECT_EQ(vlnIntVar(vl_call(_bb_fread, {fd, empty, set_nv(10, 0)})), 0);
  EXPECT_EQ(str(empty), std::string("ab\0cd", 5));  // nothing read, nothing changed
  var* nil = cre_tmpvar();
  vl_call(_bb_fseek, {fd, ZERO_VAR});
  EXPECT_EQ(vlnIntVar(vl_call(_bb_fread, {fd, nil, set_nv(2, 0)})), 2);
  EXPECT_EQ(str(nil), "ab");
  close(vlnIntVar(fd));
}

TEST_F(FileFuncs, CreatedFilesTakeTheirModeWhateverTheMask)
{
  const mode_t mask = umask(077);
  struct {
    var* attr;
    int mode;
  } rows[] = {{set_nv(0, 0), 0660},   {set_nv(1, 0), 0440},   {set_nv(2, 0), 0600},
              {set_nv(4, 0), 0400},   {set_nv(644, 0), 0644}, {set_nv(755, 0), 0755},
              {set_nv(3, 0), 0666},   {set_nv(678, 0), 0666}, {set_nv(99, 0), 0666},
              {set_cv("x"), 0660},    {NIL_VAR, 0600}};
  int i = 0;
  for (const auto& r : rows) {
    const std::string f = "m" + std::to_string(i++);
    const int fd = vlnIntVar(vl_call(_bb_fcreate, {set_cv(f.c_str()), r.attr}));
    ASSERT_GE(fd, 0) << f;
    EXPECT_EQ(fcntl(fd, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    EXPECT_EQ(mode_of(f), r.mode) << f;
    EXPECT_EQ(write(fd, "w", 1), 1) << "writable: " << f;
    close(fd);
  }
  umask(mask);
  dir_.write("old.txt", "old content");
  close(vlnIntVar(vl_call(_bb_fcreate, {set_cv("old.txt")})));
  EXPECT_EQ(dir_.read("old.txt"), "") << "FCREATE truncates";
}

TEST_F(FileFuncs, OpenModes)
{
  dir_.write("r.txt", "data");
  const std::pair<const char*, int> modes[] = {
      {"r.txt", 0}, {"new1.txt", 1}, {"new2.txt", 2}, {"r.txt", O_RDWR | O_APPEND}};
  for (const auto& [name, mode] : modes) {
    const int fd = vlnIntVar(vl_call(_bb_fopen, {set_cv(name), set_nv(mode, 0)}));
    ASSERT_GE(fd, 0) << mode;  // write modes create, other modes are open() flags
    EXPECT_EQ(fcntl(fd, F_GETFL) & (O_ACCMODE | O_APPEND), mode & (O_ACCMODE | O_APPEND));
    if (mode == 2) {
      EXPECT_NE(fcntl(fd, F_GETFL) & O_NONBLOCK, 0);
    }
    vl_call(_bb_fwrite, {set_nv(fd, 0), set_cv("+")});
    EXPECT_EQ(vlnIntVar(vl_call(_bb_ferror, {})), mode == 0 ? EBADF : 0);
    close(fd);
  }
  EXPECT_EQ(dir_.read("r.txt"), "data+");
}

TEST_F(FileFuncs, FailuresSetFerrorAndClearOnTheNextCall)
{
  mkdir((dir_ / "d").c_str(), 0755);
  dir_.write("ok", "");
  expect_rows({
      {"{FOPEN('missing'), FERROR(), DOSERROR()}", "{-1, 2, 2}"},  // ENOENT
      // EISDIR, ENOENT, EBADF
      {"{FOPEN('d', 2), FERROR(), FCREATE('d'), FERROR(), FERASE('d'), FERROR()}", "{-1, 21, -1, 21, -1, 21}"},
      {"{FCREATE('nodir/x'), FERROR(), FCLOSE(12345), FERROR(), FSEEK(-1, 0), FERROR()}", "{-1, 2, -1, 9, -1, 9}"},
      {"fd := FOPEN('ok'), FERROR()", "0"},
      {"{FSEEK(fd, 0, 7), FERROR()}", "{-1, 22}"},  // EINVAL
      {"{DOSERROR(0), DOSERROR(), FCLOSE(fd)}", "{22, 0, 0}"},
      // Wrong types give -1 and FERROR 9, without a report.
      {"{FOPEN(1), FERROR(), FOPEN('x', '0'), FERROR(), FCREATE(NIL), FERROR()}", "{-1, 9, -1, 9, -1, 9}"},
      {"{FCLOSE('1'), FERROR(), FERASE(), FERROR(), FRENAME('x', 1), FERROR()}", "{-1, 9, -1, 9, -1, 9}"},
      {"{FSEEK(0, '1'), FERROR(), FWRITE(1, 1), FERROR(), FREAD(0, 5, 1), FERROR()}", "{-1, 9, -1, 9, -1, 9}"},
      {"{FATTRIB(1), FERROR(), FLOCKF('1', 1), FERROR(), FREADSTR('0', 1), FERROR()}", "{-1, 9, -1, 9, , 9}"},
      {"{FREADTXT(NIL), FERROR()}", "{, 9}"},
      {"FILE(1)", ".F."},
  });
}

TEST_F(FileFuncs, HostileCountsAndNames)
{
  dir_.write("c.txt", "0123456789");
  dir_.write("z.bin", std::string("abc\0def", 7));
  expect_rows({
      {"fd := FOPEN('c.txt', 2), buf := ''"},
      {"{FREAD(fd, buf, -1), FERROR(), FREADSTR(fd, -1), FERROR()}", "{-1, 22, , 22}"},
      {"{FREAD(fd, buf, -(10^300)), FERROR(), FREADSTR(fd, -(10^300)), FERROR()}", "{-1, 22, , 22}"},
      {"{FREAD(fd, buf, 10^300), FERROR(), FREADSTR(fd, 10^300), FERROR()}", "{-1, 22, , 22}"},
      {"{FREAD(fd, buf, 3 * 10^9), FERROR(), FREADSTR(fd, 3 * 10^9), FERROR()}", "{-1, 22, , 22}"},
      {"{FREAD(fd, buf, 2^26 + 1), FERROR(), FREADSTR(fd, 2^26 + 1), FERROR()}", "{-1, 22, , 22}"},
      {"{FREADSTR(fd, 0), FERROR()}", "{, 22}"},  // a count below 1
      {"{FWRITE(fd, 'x', -5), FERROR()}", "{-1, 22}"},
      {"FWRITE(fd, 'xy', 10^12)", "2"},  // a count beyond the text writes the text
      {"{FSEEK(fd, 10^300), FERROR()}", "{-1, 22}"},
      {"FSEEK(fd, 0), FREAD(fd, buf, 2^26)", "10"},  // what is there, no more
      {"FCLOSE(fd)", "0"},
      {"{FOPEN(REPLICATE('n', 5000)), FERROR()}", "{-1, 36}"},  // ENAMETOOLONG
      {"{FCREATE('nul' + CHR(0) + 'x'), FERROR()}", "{-1, 22}"},  // a name holding a 0 byte
      {"FILE('nul')", ".F."},  // and no truncated name was made
      {"FILE('c.txt' + CHR(0))", ".F."},
      {"FILE(REPLICATE('n', 5000))", ".F."},
      // FREADSTR ends at a zero byte; the end of the file is no error.
      {"fd := FOPEN('z.bin'), FREADSTR(fd, 7)", "abc"},
      {"{FSEEK(fd, 0, 1), FREADSTR(fd, 7), FERROR(), FCLOSE(fd)}", "{7, , 0, 0}"},
  });
}

TEST_F(FileFuncs, FreadtxtReadsLines)
{
  // The file ends in a 0 byte, which is dropped as a line end would be.
  dir_.write("t.txt", "one\r\ntwo\n\n" + std::string(1500, 'L') +
                          std::string("\nnul\0after\nlast\0", 16));
  expect_rows({
      {"fd := FOPEN('t.txt')"},
      {"{FREADTXT(fd), FREADTXT(fd), FREADTXT(fd)}", "{one, two, }"},
      {"FREADTXT(fd) == REPLICATE('L', 1500)", ".T."},
      {"{FREADTXT(fd), FREADTXT(fd), FREADTXT(fd), FERROR()}", "{nul, after, last, 0}"},
      {"{FREADTXT(fd), FERROR()}", "{, -1}"},
      // Slot 18: a 0 byte stays in the line.
      {"VL_SET('slot18', .T.), FSEEK(fd, 0), AEVAL(ARRAY(4), {|| FREADTXT(fd)})"},
      {"FREADTXT(fd) == 'nul' + CHR(0) + 'after'", ".T."},
      {"FREADTXT(fd)", "last"},
      {"FCLOSE(fd)", "0"},
  });
}

TEST_F(FileFuncs, NamesFunctionsFollowDefaultAndPath)
{
  dir_.write("f.txt", "x");
  chmod((dir_ / "f.txt").c_str(), 0640);
  mkdir((dir_ / "sub").c_str(), 0755);
  mkdir((dir_ / "def").c_str(), 0755);
  mkdir((dir_ / "lib").c_str(), 0755);
  dir_.write("lib/inc.ch", "x");
  expect_rows({
      {"FATTRIB('f.txt')", "416"},  // 0640
      {"{FATTRIB('none'), FERROR()}", "{-1, 2}"},
      {"FRENAME('f.txt', 'g.txt')", "0"},
      {"{FRENAME('f.txt', 'h.txt'), FERROR()}", "{-1, 2}"},
      {"{FILE('g.txt'), FILE('g.*'), FILE('?.txt'), FILE('*.dbf')}", "{.T., .T., .T., .F.}"},
      {"FILE('sub')", ".F."},  // a directory is no file
      {"{FERASE('g.txt'), FILE('g.txt')}", "{0, .F.}"},
      {"base := SET(7), SET(6, base + '/lib'), SET(7, base + '/def')"},
      {"FCLOSE(FCREATE('made.txt'))", "0"},
      {"{FILE('made.txt'), FILE(base + '/def/made.txt')}", "{.T., .T.}"},
      {"{FILE('inc.ch'), FILE('*.ch')}", "{.T., .T.}"},  // found along SET PATH
      {"FOPEN('inc.ch')", "-1"},  // FOPEN does not search
      {"FERASE('made.txt')", "0"},
  });
}

TEST_F(FileFuncs, FlockfLocksFromThePositionAndKeepsIt)
{
  dir_.write("l.dat", std::string(100, 'x'));
  const int fd = vlnIntVar(vl_call(_bb_fopen, {set_cv("l.dat"), set_nv(2, 0)}));
  lseek(fd, 10, SEEK_SET);
  EXPECT_EQ(vlnIntVar(vl_call(_bb_flockf, {set_nv(fd, 0), set_nv(2, 0), set_nv(5, 0)})), 0);
  EXPECT_EQ(lseek(fd, 0, SEEK_CUR), 10);
  // Another process sees the write lock on bytes 10 to 14 only.
  auto probe = [&](off_t start) {
    const pid_t pid = fork();
    if (pid == 0) {
      const int d = open((dir_ / "l.dat").c_str(), O_RDWR);
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
  EXPECT_EQ(probe(10) + probe(14), 2);
  EXPECT_EQ(probe(15) + probe(9), 0);
  EXPECT_EQ(vlnIntVar(vl_call(_bb_flockf, {set_nv(fd, 0), set_nv(0, 0), set_nv(5, 0)})), 0);
  EXPECT_EQ(probe(10), 0) << "type 0 unlocks";
  close(fd);
  expect_rows({{"{FLOCKF(-1, 1, 5), FERROR()}", "{-1, 9}"}});
}

}  // namespace
