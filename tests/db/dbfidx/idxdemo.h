// idxdemo.h -- what the index demonstrations share: language calls by text
// and by value inside one frame, the switch for the long runs, and the
// independent checker's verdict on an index file.
#pragma once

#include <signal.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "dbftest.h"
#include "idx.hpp"
#include "idxcheck.hpp"
#include "switches.hpp"

namespace idxdemo {

// VL_IDX_LONG=1 asks for the long runs; CI runs the short ones.
inline bool long_run() { return getenv("VL_IDX_LONG") && getenv("VL_IDX_LONG")[0] == '1'; }

inline var* eval(const std::string& text) { return exp_eval(text.c_str()); }
inline bool truth(const std::string& text) { var* v = eval(text); return v->Type == 'L' && vlnLogVar(v); }
inline long num(const std::string& text) { return std::lround(vlnNumVar(eval(text))); }

// A hang ends the program: SIGALRM with its default action, unless this is
// gone within the seconds.
struct Watchdog {
  explicit Watchdog(unsigned seconds) : handler(signal(SIGALRM, SIG_DFL)) { alarm(seconds); }
  ~Watchdog() { alarm(0), signal(SIGALRM, handler); }
  sighandler_t handler;
};

// What the checker finds wrong with index idx of table dbf, one line each;
// "" when it finds the pair sound.
inline std::string problems(const std::string& dbf, const std::string& idx)
{
  std::vector<std::string> found;
  const int count = vl::vlnIdxVerify(dbf.c_str(), idx.c_str(), &found);
  std::string all = count == 0 ? "" : idx + ": " + std::to_string(count);
  for (const std::string& p : found) all += "\n  " + p;
  return all;
}

// A fixture in a fresh directory with a frame of its own (temporaries made
// by the calls are dropped with sweep()), reporting warnings too.
class Area : public dbftest::InDir {
 protected:
  void SetUp() override
  {
    InDir::SetUp();
    vln_fn_start(&frame_, "idxdemo", "idxdemo", 1, 0);
    vl::vl_set_flag[VL_SLOT_LEVEL] = VL_LEVEL_DEVEL;  // so that 902 warnings are reported
  }
  void TearDown() override
  {
    vln_fn_end(&frame_, 'U');
    InDir::TearDown();
  }
  void sweep() { del_tmpvars(frame_.TmvNp); }
  frame frame_;
};

}  // namespace idxdemo
