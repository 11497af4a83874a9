// exppp.cpp -- macro expansion of name texts.
#include <cstring>

#include "kernel.h"

extern "C" char* exp_pp(const char* text, char* buffer, size_t size, int flag)
{
  if (size == 0) return buffer;
  while (*text == ' ') ++text;
  size_t n = std::strlen(text);
  while (n > 0 && text[n - 1] == ' ') --n;
  if (n >= size) n = size - 1;
  std::memmove(buffer, text, n);
  buffer[n] = '\0';
  return buffer;
}
