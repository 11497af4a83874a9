// Diagnostic dumps: stable texts for values, memory, objects and the trace.
#include <cstdio>
#include <string>

#include "dumps.hpp"
#include "vltest.h"

using namespace vl;

namespace {

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

class Dump : public vltest::VlTest {};

std::string read_all(FILE* f)
{
  std::string s;
  std::rewind(f);
  for (int c; (c = std::fgetc(f)) != EOF;) s += static_cast<char>(c);
  return s;
}

TEST_F(Dump, ValueShowsItsRecordAndName)
{
  int32_t i = vln_add_var("dumpme");
  var* v = set_nvarf(i, 2.5, 1);
  CaptureStderr();
  vln_showvar(v);
  std::string out = GetCapturedStderr();
  EXPECT_EQ(out.rfind("*********:\r\n\nPG FN LN :", 0), 0u) << out;
  EXPECT_NE(out.find("Type     :        N\r\n"), std::string::npos) << out;
  EXPECT_NE(out.find("V_name  :     dumpme\r\n"), std::string::npos) << out;
  EXPECT_NE(out.find("Value    :   2.5000\r\n"), std::string::npos) << out;
}

TEST_F(Dump, MemoryDumpGroupsBytes)
{
  unsigned char bytes[20];
  for (int k = 0; k < 20; ++k) bytes[k] = static_cast<unsigned char>(k);
  CaptureStderr();
  EXPECT_EQ(tst_dump(bytes, sizeof bytes), 2);
  EXPECT_EQ(tst_dump(nullptr, 4), 0);
  std::string out = GetCapturedStderr();
  EXPECT_NE(out.find(": 00010203 04050607  08090a0b 0c0d0e0f\n"), std::string::npos) << out;
  EXPECT_NE(out.find(": 10111213\n"), std::string::npos) << out;
  EXPECT_NE(out.find("\nTST_DUMP: null pointer received\n"), std::string::npos);
}

TEST_F(Dump, ObjectAndTraceGoToTheDiagnosticStream)
{
  FILE* f = std::tmpfile();
  ASSERT_NE(f, nullptr);
  __diag_fp = f;
  __diag = 1;
  var* n = set_nv(1, 0);
  vlnDumpObject(n);
  diag_msg("-->open\n");
  diag_msg("inside\n");
  diag_msg("<--close\n");
  __diag_types[0] = 'x';
  Ndiag_msg(0, 'y', "filtered\n");
  Ndiag_msg(0, 'x', "kept\n");
  __diag_types[0] = '\0';
  __diag = 0;
  __diag_fp = nullptr;
  EXPECT_EQ(read_all(f),
            "This is not an object variableThe object has 0 methods\n"
            "-->open\n inside\n<--close\nkept\n");
  std::fclose(f);
}

}  // namespace
