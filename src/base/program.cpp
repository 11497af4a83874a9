// program.cpp -- the end of the program, and output and key waits while no
// screen layer is active.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "runtime.h"

namespace {

bool quitting = false;

std::vector<void (*)(void)>& quit_routines()
{
  static std::vector<void (*)(void)> routines;
  return routines;
}

void batch_qout(const char* text)
{
  std::fputs(text, stdout);
  std::fputc('\n', stdout);
  std::fflush(stdout);
}

int batch_waitkey()
{
  unsigned char c = 0;
  const ssize_t n = read(0, &c, 1);
  return n == 1 ? c : 0;
}

}  // namespace

extern "C" {

void (*vln_qout_hook)(const char* text) = batch_qout;
int (*vln_waitkey_hook)(void) = batch_waitkey;
void (*vln_endwin_hook)(void) = nullptr;

void vln_on_quit(void (*fn)(void)) { quit_routines().push_back(fn); }

// A second vln_quit (an end routine that fails fatally) leaves at once.
void vln_quit(void)
{
  if (quitting) _exit(shell_return ? shell_return : 1);
  quitting = true;
  auto& routines = quit_routines();
  while (!routines.empty()) {
    auto fn = routines.back();
    routines.pop_back();
    fn();
  }
  std::fflush(nullptr);
  std::exit(shell_return);
}

}  // extern "C"
