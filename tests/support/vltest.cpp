#include "vltest.h"

namespace vltest {

static void capture(const VlnErrReport* r)
{
  VlTest::reports().push_back(
      VlTest::Seen{r->gencode, r->severity, r->description ? r->description : ""});
}

std::vector<VlTest::Seen>& VlTest::reports()
{
  static std::vector<Seen> seen;
  return seen;
}

void VlTest::SetUp()
{
  reports().clear();
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
  vln_error_handler = vln_default_error_handler;
}

int VlTest::last_code() const
{
  return reports().empty() ? 0 : reports().back().code;
}

std::string str(var* v)
{
  if (!v || (v->Type != 'C' && v->Type != 'M') || !VSTR(v)) return {};
  return std::string(VSTR(v), static_cast<size_t>(v->Length - 1));
}

}  // namespace vltest
