// vl -- run programs of the language, or evaluate expressions.
//
//   vl FILE.prg [MORE.prg ...] [--] [ARGS...]   run a program
//   vl -c 'STATEMENTS'                          run statements
//   vl -e EXPR [-e EXPR ...]                    print values of expressions
//   vl                                          the prompt (on a terminal),
//                                               else statements from stdin
//
// Sources are parsed in full before anything runs: a syntax error in any
// of them prints its place and ends vl with status 2.  A program's run-time
// error prints the error report and ends vl with status 1 (or the
// ERRORLEVEL the program set); at the prompt the report is printed and the
// next line is read, with the work areas and their tables still open.
#include <editline/readline.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "console.hpp"
#include "parse.hpp"
#include "session.hpp"
#include "vartostr.hpp"
#include "vl.h"

using namespace vl;

namespace {

constexpr int kUsageStatus = 2;   // bad arguments, or a source that cannot run
constexpr int kErrorStatus = 1;   // a run-time error ended the run

constexpr const char* kUsage =
    "usage: vl FILE.prg [MORE.prg ...] [--] [ARGS...]\n"
    "       vl -c 'STATEMENTS'\n"
    "       vl -e EXPR [-e EXPR ...]\n"
    "       vl\n"
    "\n"
    "Runs programs of the language.\n"
    "\n"
    "  FILE.prg    run a program: the leading arguments ending in .prg are its\n"
    "              sources (-- ends them), the rest reach its main procedure\n"
    "              as text parameters.  The main procedure is the first\n"
    "              source's statements ahead of its first FUNCTION or\n"
    "              PROCEDURE, or else its first one.  The exit status is 0,\n"
    "              the ERRORLEVEL the program set, or 1 after an error.\n"
    "  -c TEXT     run the statements and commands of TEXT (several lines may\n"
    "              be given, separated by newlines)\n"
    "  -e EXPR     evaluate EXPR and print its value; give -e several times to\n"
    "              evaluate several expressions in one run (a variable\n"
    "              assigned by one is seen by the next)\n"
    "  -h, --help  show this text\n"
    "\n"
    "Without arguments, on a terminal, vl is a prompt: it takes statements,\n"
    "commands and expressions (an expression alone prints its value), with\n"
    "line editing and history.  A line ending in ; goes on on the next line.\n"
    "After an error the report is printed and the prompt returns, with the\n"
    "work areas and their tables still open.  Without a terminal, vl runs the\n"
    "lines of standard input the same way and stops at the first error.\n"
    "\n"
    "Values print the way the ? command shows them: numbers as STR() gives\n"
    "them, dates by SET DATE, logicals as .T. and .F., NIL as NIL.  A syntax\n"
    "error prints FILE:LINE:COLUMN, the line and a caret under the place, and\n"
    "nothing of the source runs (exit status 2).\n"
    "\n"
    "Examples:\n"
    "  vl examples/customers.prg\n"
    "  vl report.prg lib.prg -- 2026\n"
    "  vl -c 'USE customers' -c 'LIST name, city FOR city = \"Oslo\"'\n"
    "  vl -e 'EVAL({|x| x*2}, 21)'\n";

// What the command line asks for.
struct Options {
  std::vector<const char*> exprs;     // -e
  std::vector<std::string> commands;  // -c, one line each
  std::vector<std::string> sources;   // FILE.prg
  std::vector<std::string> args;      // the main procedure's parameters
};

bool is_source_name(const char* arg)
{
  const size_t n = std::strlen(arg);
  return n > 4 && strcasecmp(arg + n - 4, ".prg") == 0;
}

int usage_error(const char* what, const char* arg)
{
  std::fprintf(stderr, "vl: %s%s\n\n%s", what, arg, kUsage);
  return kUsageStatus;
}

// Fills opt from argv; -1 to go on, else the exit status.
int read_options(int argc, char** argv, Options& opt)
{
  int i = 1;
  for (; i < argc && argv[i][0] == '-' && argv[i][1] != '\0'; ++i) {
    const char* a = argv[i];
    if (!std::strcmp(a, "-h") || !std::strcmp(a, "--help")) {
      std::fputs(kUsage, stdout);
      return 0;
    }
    const bool e = !std::strcmp(a, "-e");
    if (!e && std::strcmp(a, "-c")) return usage_error("unknown argument ", a);
    if (i + 1 == argc)
      return usage_error(e ? "-e needs an expression after it" : "-c needs statements after it",
                         "");
    if (e)
      opt.exprs.push_back(argv[++i]);
    else
      opt.commands.push_back(argv[++i]);
  }
  for (; i < argc && is_source_name(argv[i]); ++i) opt.sources.push_back(argv[i]);
  if (i < argc && !std::strcmp(argv[i], "--")) ++i;
  for (; i < argc; ++i) opt.args.push_back(argv[i]);
  if (!opt.exprs.empty() + !opt.commands.empty() + !opt.sources.empty() > 1)
    return usage_error("give one of FILE.prg, -c and -e", "");
  if (opt.sources.empty() && !opt.args.empty())
    return usage_error("unknown argument ", opt.args[0].c_str());
  return -1;
}

// ---- -e: expressions, as vl has always evaluated them. ----

// vl runs every expression as a statement of one function, VL, whose line
// is the expression's number: errors name the place, and the variables an
// expression creates stay for the next.
frame vl_frame;

// Evaluate text and print its value; the statement's temporaries go after.
void evaluate_and_print(const char* text)
{
  ++vl_frame.Line;
  const int32_t mark = tmpvar_cnt;
  var* r = exp_eval(text);
  // Written by length: a text may hold zero bytes.
  char small[4096];
  const size_t n = vartostr(r, small, sizeof small);
  if (n < sizeof small) {
    std::fwrite(small, 1, n, stdout);
  } else {
    std::vector<char> big(n + 1);
    vartostr(r, big.data(), big.size());
    std::fwrite(big.data(), 1, n, stdout);
  }
  std::putchar('\n');
  std::fflush(stdout);
  del_tmpvars(mark);
}

void run_expressions(const std::vector<const char*>& exprs)
{
  vln_fn_start(&vl_frame, "vl", "vl", 0, 0);
  for (const char* e : exprs) evaluate_and_print(e);
}

// ---- Programs. ----

void print_diagnostic(const prog::Diagnostic& d)
{
  prog::console_end_line();
  std::fputs(prog::format_diagnostic(d).c_str(), stderr);
  std::fflush(stderr);
}

bool read_file(const std::string& path, std::string& text)
{
  FILE* f = std::fopen(path.c_str(), "rb");
  if (!f) {
    std::fprintf(stderr, "vl: cannot open %s: %s\n", path.c_str(), std::strerror(errno));
    return false;
  }
  char buf[1 << 16];
  size_t n;
  while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) text.append(buf, n);
  const bool ok = !std::ferror(f);
  if (!ok) std::fprintf(stderr, "vl: cannot read %s: %s\n", path.c_str(), std::strerror(errno));
  std::fclose(f);
  return ok;
}

// Parse every source, reporting each one's error; the units when all parse.
bool parse_sources(const std::vector<std::string>& sources, std::vector<prog::Unit>& units)
{
  bool ok = true;
  for (size_t i = 0; i < sources.size(); ++i) {
    std::string text;
    prog::Unit unit;
    prog::Diagnostic d;
    if (!read_file(sources[i], text)) {
      ok = false;
    } else if (!prog::parse_unit(sources[i], static_cast<int32_t>(i), text, unit, d)) {
      print_diagnostic(d);
      ok = false;
    } else {
      units.push_back(std::move(unit));
    }
  }
  return ok;
}

int run_program(prog::Session& session, const Options& opt)
{
  std::vector<prog::Unit> units;
  if (!parse_sources(opt.sources, units)) return kUsageStatus;
  prog::Diagnostic d;
  if (!session.load(units, d)) {
    print_diagnostic(d);
    return kUsageStatus;
  }
  return session.run_main(opt.args);
}

// Parse text as the source named file and run it at the top level (with
// echo, the values of expressions are printed).  false when it does not
// parse or compile (the diagnostic is printed).
bool run_text(prog::Session& session, const char* file, const std::string& text, bool echo)
{
  prog::Unit unit;
  prog::Diagnostic d;
  if (prog::parse_unit(file, 0, text, unit, d) && session.run_immediate(unit, echo, d))
    return true;
  print_diagnostic(d);
  return false;
}

int run_commands(prog::Session& session, const std::vector<std::string>& commands)
{
  std::string text;
  for (const std::string& c : commands) text += c + "\n";
  return run_text(session, "-c", text, false) ? shell_return : kUsageStatus;
}

// A line ending in ; (blanks after it aside) goes on on the next line.
bool continues(const std::string& line)
{
  const size_t end = line.find_last_not_of(" \t\r");
  return end != std::string::npos && line[end] == ';';
}

// ---- The prompt and standard input. ----

bool blank(const std::string& text) { return text.find_first_not_of(" \t\r\n") == std::string::npos; }

// One statement, read line by line while lines continue; false at the end
// of input.  next gives a line (without its end) or false at the end.
template <typename NextLine>
bool read_statement(NextLine next, std::string& text)
{
  text.clear();
  std::string line;
  bool more = true;
  while (more) {
    if (!next(text.empty(), line)) return !text.empty();
    more = continues(line);
    text += line;
    text += '\n';
  }
  return true;
}

int interactive(prog::Session& session)
{
  prog::console_errors_return();
  session.breaks_end_statement();
  using_history();
  auto next = [](bool first, std::string& line) {
    prog::console_end_line();
    char* got = readline(first ? "vl> " : "... ");
    if (!got) return false;
    if (*got) add_history(got);
    line = got;
    std::free(got);
    return true;
  };
  std::string text;
  bool had_error = false;
  while (read_statement(next, text))
    if (!blank(text)) had_error |= !run_text(session, "prompt", text, true);
  std::printf("\n");
  return had_error || prog::console_errors() > 0 ? kErrorStatus : shell_return;
}

// Statements from standard input without a terminal: each echoed like the
// prompt's, the first error ending the run.
int from_stdin(prog::Session& session)
{
  auto next = [](bool, std::string& line) {
    prog::console_end_line();
    line.clear();
    int c;
    while ((c = std::getchar()) != EOF && c != '\n') line += static_cast<char>(c);
    return c != EOF || !line.empty();
  };
  std::string text;
  while (read_statement(next, text))
    if (!blank(text) && !run_text(session, "prompt", text, true)) return kUsageStatus;
  return shell_return;
}

}  // namespace

int main(int argc, char** argv)
{
  Options opt;
  const int status = read_options(argc, argv, opt);
  if (status >= 0) return status;
  vln_start(1, argv);
  if (!opt.exprs.empty()) {
    run_expressions(opt.exprs);
    vln_quit();
  }
  prog::console_start();
  // Never destroyed: vln_quit ends the process with the work areas open,
  // and its end routines close them.
  auto* session = new prog::Session;
  if (!opt.sources.empty())
    shell_return = run_program(*session, opt);
  else if (!opt.commands.empty())
    shell_return = run_commands(*session, opt.commands);
  else if (isatty(STDIN_FILENO))
    shell_return = interactive(*session);
  else
    shell_return = from_stdin(*session);
  vln_quit();
}
