#include "vltest.h"

#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <climits>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <set>

#include "dumps.hpp"
#include "evalhooks.h"
#include "locks.hpp"
#include "rddreg.hpp"
#include "runtime.hpp"
#include "set.hpp"
#include "sethooks.h"
#include "smallfns.hpp"
#include "switches.hpp"
#include "var.hpp"
#include "vartostr.hpp"

using namespace vl;

namespace vltest {

namespace {

void capture(const VlnErrReport* r)
{
  VlTest::reports().push_back(
      VlTest::Seen{r->gencode, r->severity, r->description ? r->description : ""});
}

// A global of plain bytes (a switch, a hook, a fixed buffer) and its copy.
struct RawCopy {
  void* at;
  std::vector<unsigned char> bytes;
};

template <class T>
RawCopy raw(T& global)
{
  const auto* p = reinterpret_cast<const unsigned char*>(&global);
  return {&global, std::vector<unsigned char>(p, p + sizeof global)};
}

// Every plain global a test changes, directly or through a language function.
std::vector<RawCopy> plain_globals()
{
  return {raw(flags), raw(vl_set_flag), raw(__status), raw(errstat),
          raw(cDefaultDriver), raw(cFirstChoiceDriver), raw(vlnFCNTLprot),
          raw(vlnFCNTLprotDbf), raw(vlnRetryFcntlSec), raw(vlnFCNTLreadwrite),
          raw(vlnFCNTLcompat42), raw(vln_priv_mode), raw(vlnKnownAlias),
          raw(vlnKnownAreas), raw(vlnKnownAreaCnt), raw(__diag), raw(__diag_fp), raw(__diag_types),
          raw(vln_qout_hook), raw(vln_waitkey_hook),
          raw(vln_endwin_hook), raw(vln_eval_field_hook), raw(vln_eval_alias_field_hook),
          raw(vln_eval_push_area_hook), raw(vln_eval_pop_area_hook),
          raw(vln_typeahead_hook), raw(vln_color_hook), raw(vln_cursor_hook),
          raw(vln_lookahead_hook), raw(vln_termkey_hook), raw(vln_escdelay_hook),
          raw(vln_checkforterm_hook), raw(vln_term_reinit_hook), raw(vln_alternate_hook),
          raw(vln_extra_hook), raw(vln_printer_hook), raw(vln_printer_ready_hook),
          raw(vln_autolock_get_hook), raw(vln_autolock_set_hook), raw(vln_autolock_on_hook),
          raw(vln_datefmt_hook), raw(vlnHasColorsHook), raw(vlnAreaNumberHook),
          raw(vlnLockTraceAreas), raw(vlnSetFieldHook), raw(vlnGetFieldHook),
          raw(vlnDupWindowHook), raw(vlnDelWindowHook), raw(vlnAxitHook)};
}

constexpr int kLastSet = 41;

std::map<std::string, std::string> environment()
{
  std::map<std::string, std::string> env;
  for (char** e = environ; *e; ++e) {
    const char* eq = std::strchr(*e, '=');
    if (eq) env.emplace(std::string(*e, static_cast<size_t>(eq - *e)), eq + 1);
  }
  return env;
}

std::set<std::string> files_in(const std::string& dir)
{
  std::set<std::string> names;
  std::error_code ec;
  for (const auto& e : std::filesystem::directory_iterator(dir, ec))
    names.insert(e.path().filename().string());
  return names;
}

}  // namespace

// The SET values by number (-1/VL_SET_NOCHANGE/absent where n is not of
// that kind), the plain globals, and what needs a function to put back.
struct VlTest::Saved {
  std::vector<RawCopy> plain = plain_globals();
  int logical[kLastSet + 1];
  int number[kLastSet + 1];
  std::vector<std::pair<int, std::string>> texts;
  int intvar = vlnGetIntvar();
  int multilocks = vlnGetMultilocks();
  int neterr = vlnGetNeterr();
  std::vector<BbFn> registry;
  var* error_block = nullptr;
  int area = vlnSelectedArea ? vlnSelectedArea->number : 0;
  bool chain_empty = vlnWAHead == nullptr;
  std::map<std::string, std::string> env = environment();
  std::string cwd = std::filesystem::current_path().string();
  std::set<std::string> files = files_in(cwd);

  Saved()
  {
    for (int n = 1; n <= kLastSet; ++n) {
      logical[n] = _cgetseton(2, n);
      number[n] = _cgetsetnum(n, VL_SET_NOCHANGE);
      if (const char* t = _cgetsetstr(n, nullptr)) texts.emplace_back(n, t);
    }
    for (int32_t i = 1; i < vln_ftab_size(); ++i) registry.push_back(glob_ftab[i].fn);
    error_block = mak_var('N', 'U');
    cpy_var(error_block, _bb_errorblock(0, nullptr));
  }

  void restore()
  {
    if (chain_empty && vlnWAHead) {
      ADD_FAILURE() << "a work area was left open";
      _bb_dbcloseall(0, nullptr);
    }
    for (const RawCopy& r : plain) std::memcpy(r.at, r.bytes.data(), r.bytes.size());
    // Texts first: a side channel goes on only with its file named.
    for (const auto& [n, text] : texts) _cgetsetstr(n, text.c_str());
    for (int n = 1; n <= kLastSet; ++n) {
      if (number[n] != VL_SET_NOCHANGE) _cgetsetnum(n, number[n]);
      if (logical[n] >= 0) _cgetseton(logical[n], n);
    }
    for (const RawCopy& r : plain) std::memcpy(r.at, r.bytes.data(), r.bytes.size());
    vlnSetIntvar(intvar);
    vlnSetMultilocks(multilocks);
    vlnSetNeterr(neterr);
    for (size_t i = 0; i < registry.size() && static_cast<int32_t>(i) + 1 < vln_ftab_size(); ++i)
      glob_ftab[i + 1].fn = registry[i];
    _bb_errorblock(1, &error_block);
    del_var(error_block);
    if (area > 0) vlnSelect(set_Iv(area), 0);
    for (const auto& [name, value] : environment())
      if (!env.count(name)) unsetenv(name.c_str());
    for (const auto& [name, value] : env) setenv(name.c_str(), value.c_str(), 1);
    std::error_code ec;
    if (std::filesystem::current_path(ec).string() != cwd) {
      ADD_FAILURE() << "the current directory was left changed";
      std::filesystem::current_path(cwd, ec);
    }
    for (const std::string& f : files_in(cwd))
      if (!files.count(f)) ADD_FAILURE() << "file left behind: " << f;
  }
};

std::vector<VlTest::Seen>& VlTest::reports()
{
  static std::vector<Seen> seen;
  return seen;
}

VlTest::VlTest() = default;
VlTest::~VlTest() = default;

void VlTest::SetUp()
{
  reports().clear();
  saved_ = std::make_unique<Saved>();
  vln_error_handler = capture;
  tmp_mark_ = tmpvar_cnt;
  frame_mark_ = old_fn_stack;
  depth_mark_ = glob_depth;
}

void VlTest::TearDown()
{
  del_tmpvars(tmp_mark_);
  EXPECT_EQ(old_fn_stack, frame_mark_) << "a frame was left open";
  EXPECT_EQ(glob_depth, depth_mark_);
  vln_error_handler = capture;  // what putting things back reports is seen here
  if (saved_) saved_->restore();
  saved_.reset();
  del_tmpvars(tmp_mark_);
  vln_error_handler = vln_default_error_handler;
}

int VlTest::last_code() const
{
  return reports().empty() ? 0 : reports().back().code;
}

int VlTest::count(int code)
{
  int k = 0;
  for (const auto& r : reports()) k += r.code == code;
  return k;
}

bool VlTest::reported(int code, const std::string& text)
{
  for (const auto& r : reports())
    if (r.code == code && r.description.find(text) != std::string::npos) return true;
  return false;
}

TempDir::TempDir()
{
  char tmpl[] = "/tmp/vltestXXXXXX";
  if (!mkdtemp(tmpl)) ADD_FAILURE() << "no temporary directory";
  dir_ = tmpl;
}

TempDir::~TempDir()
{
  std::error_code ec;
  std::filesystem::permissions(dir_, std::filesystem::perms::owner_all,
                               std::filesystem::perm_options::add, ec);
  std::filesystem::remove_all(dir_, ec);
}

void TempDir::write(const std::string& name, const std::string& data) const
{
  std::ofstream(*this / name, std::ios::binary) << data;
}

std::string TempDir::read(const std::string& name) const
{
  std::ifstream in(*this / name, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

std::string str(var* v)
{
  if (!v || (v->Type != 'C' && v->Type != 'M') || !VSTR(v)) return {};
  return std::string(VSTR(v), static_cast<size_t>(v->Length - 1));
}

namespace {

constexpr int kShownDepth = 8;

std::string shown(var* v, int depth)
{
  if (v == ERROR_VAR) return "ERROR";
  if (v->Type == 'A' && depth < kShownDepth) {
    std::string s = "{";
    for (uint32_t i = 0; i < VARR(v)->A_size; ++i)
      s += (i ? ", " : "") + shown(VARR(v)->A_vec[i], depth + 1);
    return s + "}";
  }
  std::string s(vartostr(v, nullptr, 0), '\0');
  vartostr(v, s.data(), s.size() + 1);
  if (std::strchr("NFIW", v->Type)) s.erase(0, s.find_first_not_of(' '));
  return s;
}

}  // namespace

std::string shown(var* v) { return shown(v, 0); }

void expect_rows(std::initializer_list<Row> rows, std::source_location at)
{
  auto& seen = VlTest::reports();
  frame f;
  vln_fn_start(&f, "rows", "rows", 1, 0);
  for (const Row& r : rows) {
    seen.clear();
    const std::string value = shown(exp_eval(r.expr));
    const std::string code = seen.empty() ? "" : "#" + std::to_string(seen[0].code);
    std::string got = code.empty() ? value : code + " " + value;
    const std::string want = r.want ? r.want : value;
    if (want[0] == '#' && want.find(' ') == std::string::npos) got = code;
    if (got != want) {
      ADD_FAILURE_AT(at.file_name(), static_cast<int>(at.line()))
          << r.expr << "\n  gives: " << got << (seen.empty() ? "" : " (" + seen[0].description + ")")
          << "\n wanted: " << want;
    }
    del_tmpvars(f.TmvNp);
  }
  vln_fn_end(&f, 'U');
}

std::vector<Held> proc_locks(const std::string& file, int pid, bool waiters)
{
  std::vector<Held> out;
  struct stat st;
  if (!file.empty() && stat(file.c_str(), &st) != 0) return out;
  std::ifstream in("/proc/locks");
  for (std::string line; std::getline(in, line);) {
    const size_t arrow = line.find("->");
    if ((arrow != std::string::npos) != waiters) continue;
    if (waiters) line.erase(arrow, 2);
    std::istringstream words(line);
    std::string num, kind, adv, type, id, start, end;
    int owner = 0;
    words >> num >> kind >> adv >> type >> owner >> id >> start >> end;
    unsigned major = 0, minor = 0;
    unsigned long long ino = 0;
    if (kind != "POSIX" || sscanf(id.c_str(), "%x:%x:%llu", &major, &minor, &ino) != 3) continue;
    if (!file.empty() && (makedev(major, minor) != st.st_dev || ino != st.st_ino)) continue;
    if (pid != 0 && owner != pid) continue;
    out.push_back({type == "WRITE" ? F_WRLCK : F_RDLCK, atoll(start.c_str()),
                   end == "EOF" ? LLONG_MAX : atoll(end.c_str()), owner});
  }
  std::sort(out.begin(), out.end());
  out.erase(std::unique(out.begin(), out.end()), out.end());
  return out;
}

bool reap(int pid)
{
  int status = 0;
  for (int waited = 0; waited < kWatchdogMs; waited += 10) {
    if (waitpid(pid, &status, WNOHANG) == pid) return WIFEXITED(status) && WEXITSTATUS(status) == 0;
    usleep(10000);
  }
  kill(pid, SIGKILL);
  waitpid(pid, nullptr, 0);
  return false;
}

Holder::Holder(const std::function<void()>& setup, const std::function<void()>& then)
{
  int sv[2];
  if (socketpair(AF_UNIX, SOCK_STREAM, 0, sv) != 0) return;
  pid_ = fork();
  if (pid_ == 0) {
    close(sv[0]);
    setup();
    (void)!write(sv[1], "r", 1);
    if (then) then();
    for (char c; read(sv[1], &c, 1) > 0;) {
    }
    _exit(0);
  }
  close(sv[1]);
  fd_ = sv[0];
  struct pollfd p {fd_, POLLIN, 0};
  EXPECT_EQ(poll(&p, 1, kWatchdogMs), 1) << "helper did not come up";
}

Holder::~Holder()
{
  if (pid_ <= 0) return;
  close(fd_);  // lets the child end
  reap(pid_);
}

}  // namespace vltest
