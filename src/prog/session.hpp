// session.hpp -- compiling parsed sources and running them.
//
// A Session owns the compiled form of every source loaded into it.  Its
// functions are registered with the kernel under their names, so calls by
// name, macros and blocks reach them as they reach any function of the
// library.  One Session serves a whole run of vl.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "ast.hpp"

namespace vl::prog {

class Session {
 public:
  Session();
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Compile units (consumed) and register their functions.  false with
  // diag on a fault found while compiling (a function defined twice, an
  // unknown name in a FIELD declaration, ...): nothing is then registered.
  bool load(std::vector<Unit>& units, Diagnostic& diag);

  // Run the main procedure of the first unit loaded, the texts of args as
  // its parameters.  Returns the exit status: 0, or ERRORLEVEL() when set,
  // or 1 after an error that ended the run.
  int run_main(const std::vector<std::string>& args);

  // Compile and run the statements of unit (one prompt line, or the text
  // of vl -c) at the top level.  PRIVATE and PUBLIC variables, open work
  // areas and loaded functions stay for the next call.  With echo, an
  // Eval statement prints its value as ? would.  false with diag when the
  // unit does not compile (nothing runs); a run-time error is reported the
  // usual way and the call returns true.
  bool run_immediate(Unit& unit, bool echo, Diagnostic& diag);

  // At an interactive prompt a BREAK outside any BEGIN SEQUENCE ends only
  // the statement that ran it.  Otherwise (the default) it is reported as
  // "BREAK unexpected" and ends the run, as in a compiled program.
  void breaks_end_statement() { stray_break_ends_statement_ = true; }

 private:
  bool stray_break_ends_statement_ = false;
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace vl::prog
