// vm_harness.hpp -- running program text through the parser, the compiler
// and the machine in a test, with ? and ?? written to a string.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "parse.hpp"
#include "session.hpp"
#include "vartostr.hpp"
#include "vltest.h"

namespace vmtest {

// What ? and ?? printed: each ? gives its values separated by a blank and
// ends the line (the console's own QOUT starts it instead).
inline std::string& output()
{
  static std::string out;
  return out;
}

inline void print_values(int argc, var** argv)
{
  for (int i = 0; i < argc; ++i) {
    char buf[512];
    const size_t n = vl::vartostr(argv[i], buf, sizeof buf);
    if (i) output() += ' ';
    output().append(buf, n < sizeof buf ? n : sizeof buf - 1);
  }
}

inline var* qout(int argc, var** argv)
{
  print_values(argc, argv);
  output() += '\n';
  return NIL_VAR;
}

inline var* qqout(int argc, var** argv)
{
  print_values(argc, argv);
  return NIL_VAR;
}

class VmTest : public vltest::VlTest {
 protected:
  void SetUp() override
  {
    VlTest::SetUp();
    output().clear();
    vln_register_fun("qout", qout);
    vln_register_fun("qqout", qqout);
  }

  // Parse and load the sources (file name, text); false with the message.
  bool load(vl::prog::Session& s, const std::vector<std::pair<std::string, std::string>>& sources)
  {
    std::vector<vl::prog::Unit> units(sources.size());
    vl::prog::Diagnostic d;
    for (size_t i = 0; i < sources.size(); ++i)
      if (!vl::prog::parse_unit(sources[i].first, static_cast<int32_t>(i), sources[i].second,
                                units[i], d)) {
        message = vl::prog::format_diagnostic(d);
        return false;
      }
    if (s.load(units, d)) return true;
    message = d.message;
    return false;
  }

  // Run the sources' main procedure; the output, or the diagnostic.
  std::string run(const std::vector<std::pair<std::string, std::string>>& sources,
                  const std::vector<std::string>& args = {})
  {
    vl::prog::Session s;
    if (!load(s, sources)) return "load: " + message;
    status = s.run_main(args);
    return output();
  }
  std::string run(const std::string& text) { return run({{"t.prg", text}}); }

  std::string message;
  int status = -1;
};

// One program and the output it must give; name names the test.
struct Case {
  const char* name;
  const char* source;
  const char* output;
};

// A suite of whole programs, one test per Case.
class VmProgram : public VmTest, public ::testing::WithParamInterface<Case> {};

inline std::string case_name(const ::testing::TestParamInfo<Case>& info)
{
  return info.param.name;
}

}  // namespace vmtest
