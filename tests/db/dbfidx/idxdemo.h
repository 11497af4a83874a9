// idxdemo.h -- what the index demonstrations share: language calls by text
// and by value inside one frame, the switch for the long runs, and the
// independent checker's verdict on an index file.
#pragma once

#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "dbftest.h"
#include "idxcheck.hpp"

namespace idxdemo {

// VL_IDX_LONG=1 asks for the long runs; CI runs the short ones.
inline bool long_run()
{
  const char* e = getenv("VL_IDX_LONG");
  return e && e[0] == '1';
}

inline var* eval(const std::string& text) { return exp_eval(text.c_str()); }
inline bool truth(const std::string& text)
{
  var* v = eval(text);
  return v->Type == 'L' && vlnLogVar(v);
}
inline long num(const std::string& text) { return std::lround(vlnNumVar(eval(text))); }
inline long num(var* v) { return std::lround(vlnNumVar(v)); }

// What the checker finds wrong with index idx of table dbf, one line each;
// "" when it finds the pair sound.
inline std::string problems(const std::string& dbf, const std::string& idx)
{
  std::vector<std::string> found;
  const int rc = vlnIdxVerify(dbf.c_str(), idx.c_str(), &found);
  std::string all = rc == 0 ? "" : idx + ": exit " + std::to_string(rc);
  for (const std::string& p : found) all += "\n  " + p;
  return all;
}

// A fixture in a fresh directory with a frame of its own: temporaries made
// by the calls are dropped with sweep().
class Area : public dbftest::InDir {
 protected:
  void SetUp() override
  {
    InDir::SetUp();
    vln_fn_start(&frame_, "idxdemo", "idxdemo", 1, 0);
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
