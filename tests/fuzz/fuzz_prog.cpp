// fuzz_prog.cpp -- feeds arbitrary bytes to the statement parser as a
// program source, and formats the diagnostic of one that does not parse.
//
// Nothing runs: the parser only builds the parsed form, so no function is
// called and no file is touched.  A parse that succeeds must leave a unit
// with a main procedure; one that fails must leave the unit empty and a
// diagnostic whose line exists in the source.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "parse.hpp"
#include "vl.h"

namespace {

void start()
{
  static bool started = false;
  if (started) return;
  started = true;
  vln_start(0, nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  start();
  const std::string_view source(reinterpret_cast<const char*>(data), size);
  vl::prog::Unit unit;
  vl::prog::Diagnostic diag;
  if (vl::prog::parse_unit("fuzz.prg", 0, source, unit, diag)) {
    if (unit.funcs.empty() && unit.globals.empty()) std::abort();
    return 0;
  }
  const size_t lines = static_cast<size_t>(std::count(source.begin(), source.end(), '\n')) + 1;
  if (!unit.funcs.empty() || diag.line < 1 || diag.col < 1 || static_cast<size_t>(diag.line) > lines)
    std::abort();
  if (vl::prog::format_diagnostic(diag).empty()) std::abort();
  return 0;
}
