// batchio.cpp -- output and key waits while no screen layer is active.
#include <unistd.h>

#include <cstdio>

#include "kernel.h"

namespace {

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
}
