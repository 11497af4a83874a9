// Whole programs run by the vl command, each in a fresh directory.
//
// tests/prog/programs/NAME.prg runs as `vl NAME.prg` (or with the arguments
// in NAME.args) when NAME.out exists; its standard output must equal
// NAME.out, its standard error NAME.err (empty when there is none) and its
// exit status the number in NAME.status (0 when there is none).  Further
// cases build their input here: the inputs too large or too odd to keep as
// files, and programs run several at a time.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "vltest.h"

namespace fs = std::filesystem;

namespace {

const fs::path kPrograms = fs::path(VL_SOURCE_DIR) / "tests/prog/programs";
const std::string kVl = std::string(VL_BINARY_DIR) + "/vl";
constexpr int kUsageStatus = 2;

std::string slurp(const fs::path& p)
{
  std::ifstream in(p, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

struct Outcome {
  std::string out, err;
  int status = -1;
};

// Starts vl with args in dir, its output to files there; the process id.
pid_t start_vl(const std::vector<std::string>& args, const std::string& dir, const std::string& tag)
{
  const pid_t pid = fork();
  if (pid != 0) return pid;
  if (chdir(dir.c_str()) != 0) _exit(127);
  const int null_in = open("/dev/null", O_RDONLY);
  const int out = open((tag + ".stdout").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  const int err = open((tag + ".stderr").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  dup2(null_in, 0);
  dup2(out, 1);
  dup2(err, 2);
  std::vector<char*> argv{const_cast<char*>(kVl.c_str())};
  for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
  argv.push_back(nullptr);
  execv(kVl.c_str(), argv.data());
  _exit(127);
}

Outcome finish_vl(pid_t pid, const std::string& dir, const std::string& tag)
{
  int raw = 0;
  Outcome o;
  if (waitpid(pid, &raw, 0) == pid) o.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + WTERMSIG(raw);
  o.out = slurp(dir + "/" + tag + ".stdout");
  o.err = slurp(dir + "/" + tag + ".stderr");
  return o;
}

Outcome run_vl(const std::vector<std::string>& args, const std::string& dir)
{
  return finish_vl(start_vl(args, dir, "vl"), dir, "vl");
}

// A directory holding a copy of every program source.
void copy_sources(const vltest::TempDir& dir)
{
  for (const auto& e : fs::directory_iterator(kPrograms))
    if (e.path().extension() == ".prg") fs::copy_file(e.path(), dir / e.path().filename().string());
}

std::vector<std::string> words(const std::string& text)
{
  std::istringstream in(text);
  std::vector<std::string> w;
  for (std::string s; in >> s;) w.push_back(s);
  return w;
}

std::vector<std::string> program_names()
{
  std::vector<std::string> names;
  for (const auto& e : fs::directory_iterator(kPrograms))
    if (e.path().extension() == ".out") names.push_back(e.path().stem().string());
  std::sort(names.begin(), names.end());
  return names;
}

class Program : public ::testing::TestWithParam<std::string> {};

TEST_P(Program, GivesItsExpectedOutput)
{
  const std::string name = GetParam();
  const fs::path base = kPrograms / name;
  vltest::TempDir dir;
  copy_sources(dir);
  const fs::path args = fs::path(base).replace_extension(".args");
  const Outcome o = run_vl(fs::exists(args) ? words(slurp(args)) : std::vector<std::string>{name + ".prg"},
                           dir.path());
  const fs::path status = fs::path(base).replace_extension(".status");
  EXPECT_EQ(o.out, slurp(fs::path(base).replace_extension(".out")));
  EXPECT_EQ(o.err, slurp(fs::path(base).replace_extension(".err")));
  EXPECT_EQ(o.status, fs::exists(status) ? std::stoi(slurp(status)) : 0);
}

INSTANTIATE_TEST_SUITE_P(Programs, Program, ::testing::ValuesIn(program_names()),
                         [](const auto& info) { return info.param; });

// Inputs the parser must refuse without running anything: the report names
// the file, line and column, and vl ends with status 2.
TEST(BadSource, RefusedWithItsPlace)
{
  const std::string long_line = "? \"ran\"\nx := \"" + std::string(1 << 20, 'y') + "\n";
  std::string binary = "? \"ran\"\n";
  for (int i = 0; i < 512; ++i) binary += static_cast<char>((i * 37) & 0xFF);
  const struct {
    std::string text;
    std::string place;
  } cases[] = {
      {long_line, "big.prg:2:"},
      {binary, "big.prg:"},
      {"? \"ran\"\nFOR i := 1 TO 3\n", "big.prg:"},
  };
  for (const auto& c : cases) {
    vltest::TempDir dir;
    dir.write("big.prg", c.text);
    const Outcome o = run_vl({"big.prg"}, dir.path());
    SCOPED_TRACE(c.place);
    EXPECT_EQ(o.status, kUsageStatus);
    EXPECT_EQ(o.out, "");
    EXPECT_EQ(o.err.rfind(c.place, 0), 0u) << o.err.substr(0, 200);
    EXPECT_NE(o.err.find("error:"), std::string::npos);
  }
}

TEST(BadSource, MissingFileAndBadArguments)
{
  vltest::TempDir dir;
  Outcome o = run_vl({"nosuch.prg"}, dir.path());
  EXPECT_EQ(o.status, kUsageStatus);
  EXPECT_NE(o.err.find("cannot open nosuch.prg"), std::string::npos) << o.err;
  o = run_vl({"-c"}, dir.path());
  EXPECT_EQ(o.status, kUsageStatus);
  o = run_vl({"-c", "? 1", "-e", "2"}, dir.path());
  EXPECT_EQ(o.status, kUsageStatus);
}

// vl -c: statements from the command line, the exit status as a file's.
TEST(Command, RunsStatementsAndSetsTheStatus)
{
  vltest::TempDir dir;
  const struct {
    std::vector<std::string> args;
    std::string out;
    int status;
  } cases[] = {
      {{"-c", "x := 6\n? x * 7"}, "\n        42\n", 0},
      {{"-c", "? 'a'", "-c", "?? 'b'"}, "\nab\n", 0},
      {{"-c", "ERRORLEVEL(3)\nQUIT"}, "", 3},
      {{"-c", "? 1 +"}, "", kUsageStatus},
      {{"-c", "? 'x'\n? nosuch"}, "\nx\nRun-time error", 1},
  };
  for (const auto& c : cases) {
    const Outcome o = run_vl(c.args, dir.path());
    SCOPED_TRACE(c.args[1]);
    EXPECT_EQ(o.out.substr(0, c.out.size()), c.out);
    EXPECT_EQ(o.status, c.status);
  }
}

// Two runs of one program at once on a table opened SHARED: every row of
// both is there, and the count kept under record locks saw every one.
TEST(Shared, ConcurrentRunsAccountForEveryRecord)
{
  vltest::TempDir dir;
  copy_sources(dir);
  const Outcome made = run_vl(
      {"-c", "DBCREATE('shared', {{'OWNER', 'C', 1, 0}, {'SEQ', 'N', 6, 0}, {'HITS', 'N', 8, 0}})\n"
             "USE shared\nAPPEND BLANK\nREPLACE hits WITH 0\nCLOSE ALL"},
      dir.path());
  ASSERT_EQ(made.status, 0) << made.out << made.err;
  const pid_t a = start_vl({"db_shared.prg", "A", "400"}, dir.path(), "a");
  const pid_t b = start_vl({"db_shared.prg", "B", "400"}, dir.path(), "b");
  EXPECT_EQ(finish_vl(a, dir.path(), "a").status, 0);
  EXPECT_EQ(finish_vl(b, dir.path(), "b").status, 0);
  const Outcome check = run_vl({"db_shared_check.prg"}, dir.path());
  EXPECT_EQ(check.out, "\n       801        400        400      80200      80200      800\n");
}

}  // namespace
