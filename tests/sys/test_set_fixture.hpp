// A fixture for tests of the switches: each test starts from the settings
// it found and puts them back, hooks included, so that the tests also pass
// when one process runs them all.
#pragma once

#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

#include "arrays.h"
#include "set.h"
#include "sethooks.h"
#include "vltest.h"

namespace settest {

// An array temporary holding copies of the values.
inline var* arr(std::initializer_list<var*> values)
{
  std::vector<var*> list(values);
  list.push_back(nullptr);
  return cre_arra(cre_tmpvar(), static_cast<int32_t>(values.size()), VL_ARR_LIST, list.data());
}

inline var* num(double n) { return set_nv(n, 0); }
inline var* txt(const char* s) { return set_cv(s); }
inline var* logic(bool b) { return b ? TRUE_VAR : FALSE_VAR; }

class SetTest : public vltest::VlTest {
 protected:
  void SetUp() override
  {
    VlTest::SetUp();
    std::memcpy(flags_, flags, sizeof flags_);
    std::memcpy(slots_, vl_set_flag, sizeof slots_);
    std::memcpy(status_, __status, sizeof status_);
    for (int n : kTextSets) texts_[n] = _cgetsetstr(n, nullptr);
    for (int n : kNumSets) nums_[n] = _cgetsetnum(n, VL_SET_NOCHANGE);
    intvar_ = vlnGetIntvar();
    multilocks_ = vlnGetMultilocks();
  }

  void TearDown() override
  {
    clear_hooks();
    for (int n : kTextSets) _cgetsetstr(n, texts_[n].c_str());
    for (int n : kNumSets) _cgetsetnum(n, nums_[n]);
    std::memcpy(flags, flags_, sizeof flags_);
    std::memcpy(vl_set_flag, slots_, sizeof slots_);
    std::memcpy(__status, status_, sizeof status_);
    vlnSetIntvar(intvar_);
    vlnSetMultilocks(multilocks_);
    VlTest::TearDown();
  }

  static void clear_hooks()
  {
    vln_typeahead_hook = nullptr;
    vln_color_hook = nullptr;
    vln_cursor_hook = nullptr;
    vln_lookahead_hook = nullptr;
    vln_termkey_hook = nullptr;
    vln_escdelay_hook = nullptr;
    vln_checkforterm_hook = nullptr;
    vln_term_reinit_hook = nullptr;
    vln_alternate_hook = nullptr;
    vln_extra_hook = nullptr;
    vln_printer_hook = nullptr;
    vln_printer_ready_hook = nullptr;
    vln_autolock_get_hook = nullptr;
    vln_autolock_set_hook = nullptr;
    vln_autolock_on_hook = nullptr;
    vln_datefmt_hook = nullptr;
  }

  // SET() with one to three arguments.
  static var* set(int n) { return vl_call(_bb_set, {num(n)}); }
  static var* set(int n, var* value) { return vl_call(_bb_set, {num(n), value}); }
  static var* set(int n, var* value, var* add) { return vl_call(_bb_set, {num(n), value, add}); }
  // VL_Set() with its arguments.
  static var* vlset(std::initializer_list<var*> args) { return vl_call(_bb_vl_set, args); }

  // The reports seen, as codes and texts.
  int count(int code) const
  {
    int k = 0;
    for (const auto& r : reports()) k += r.code == code;
    return k;
  }
  bool reported(int code, const std::string& text) const
  {
    for (const auto& r : reports())
      if (r.code == code && r.description.find(text) != std::string::npos) return true;
    return false;
  }

 private:
  static constexpr int kTextSets[] = {4, 6, 7, 15, 19, 20, 22, 24, 34};
  static constexpr int kNumSets[] = {3, 5, 14, 16, 25, 36, 39};
  unsigned char flags_[VL_FLAGS_SIZE];
  int32_t slots_[VL_SET_FLAGS_SIZE];
  unsigned char status_[8];
  std::string texts_[42];
  int nums_[42] = {};
  int intvar_ = 0;
  int multilocks_ = 0;
};

}  // namespace settest
