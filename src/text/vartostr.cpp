// vartostr.cpp -- the text the ? command shows for a value.
#include "vartostr.hpp"

#include <cstdio>
#include <cstring>

#include "dates.h"
#include "letters.hpp"
#include "numbers.h"

namespace {

size_t put(const char* text, size_t len, char* buf, size_t size)
{
  if (size > 0) {
    const size_t n = len < size - 1 ? len : size - 1;
    std::memcpy(buf, text, n);
    buf[n] = '\0';
  }
  return len;
}

size_t put(const char* text, char* buf, size_t size)
{
  return put(text, std::strlen(text), buf, size);
}

}  // namespace

size_t vl::vartostr(var* v, char* buf, size_t size)
{
  switch (v->Type) {
    case 'C':
    case 'M':
      return put(v->Value.w1.str, static_cast<size_t>(v->Length - 1), buf, size);
    case 'N':
    case 'F':
    case 'I':
    case 'W': {
      char num[VLN_NUMTEXT_SIZE];
      const int32_t n = vln_numtext(v, num, sizeof num);
      return put(num, n > 0 ? static_cast<size_t>(n) : 0, buf, size);
    }
    case 'L':
      return put(v->Value.w1.i ? ".T." : ".F.", buf, size);
    case 'D':
      return put(vln_dtoc(v->Value.w1.i), buf, size);
    case 'A':
    case 'O':
      return put("{...}", buf, size);
    case 'B':
    case 'b':
      return put("{||...}", buf, size);
    case 'U':
      return put("NIL", buf, size);
    default: {
      char other[8];
      std::snprintf(other, sizeof other, "<%c>", v->Type);
      return put(other, buf, size);
    }
  }
}
