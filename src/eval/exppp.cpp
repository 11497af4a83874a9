// exppp.cpp -- macro expansion: "&name" and "&name." stand for the text of
// the character memory variable name.
//
// Expansion repeats while a pass replaced something, so a macro whose text
// holds a macro expands too; a text still changing after kMaxPasses passes
// is an endless loop (314).  A reference to anything but a character
// variable stays as it is (the evaluator then refuses the "&", 202).
#include <cctype>
#include <cstring>
#include <string>

#include "exprtree.hpp"
#include "kernel.h"
#include "vlerror.h"

namespace {

constexpr int kMaxPasses = 16;
constexpr int kEndlessLoop = 314;
constexpr int kTooLong = 315;
constexpr size_t kNameLength = 10;

bool name_char(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }

// The text of the character variable called name, or null.
const var* macro_text(const std::string& name)
{
  const int32_t idx = locate_var(name.substr(0, kNameLength).c_str());
  if (idx < 0) return nullptr;
  const var* v = mv_names[idx].v;
  if (v->Mode == 'U' || (v->Type != 'C' && v->Type != 'M')) return nullptr;
  return v;
}

// One pass over text; true when something was replaced.
bool expand_once(std::string& text)
{
  std::string out;
  bool changed = false;
  for (size_t i = 0; i < text.size();) {
    if (text[i] != '&' || i + 1 >= text.size() || !(std::isalpha(static_cast<unsigned char>(text[i + 1])) || text[i + 1] == '_')) {
      out += text[i++];
      continue;
    }
    size_t end = i + 1;
    while (end < text.size() && name_char(text[end])) ++end;
    const var* v = macro_text(text.substr(i + 1, end - i - 1));
    if (!v) {
      out.append(text, i, end - i);
      i = end;
      continue;
    }
    out.append(v->Value.w1.str, static_cast<size_t>(v->Length - 1));
    if (end < text.size() && text[end] == '.') ++end;  // the terminating dot
    i = end;
    changed = true;
  }
  text.swap(out);
  return changed;
}

}  // namespace

namespace vl::expr {

int expand_macros(const char* text, std::string& out)
{
  out = text;
  const size_t first = out.find_first_not_of(' ');
  out.erase(0, first == std::string::npos ? out.size() : first);
  while (!out.empty() && out.back() == ' ') out.pop_back();
  if (out.find('&') == std::string::npos) return 0;
  for (int pass = 0; pass < kMaxPasses; ++pass)
    if (!expand_once(out)) return 0;
  return kEndlessLoop;
}

}  // namespace vl::expr

extern "C" char* exp_pp(const char* text, char* buffer, size_t size, int flag)
{
  if (size == 0) return buffer;
  int code = 0;
  {
    std::string expanded;
    code = vl::expr::expand_macros(text, expanded);
    if (!code && expanded.size() >= size) {
      code = kTooLong;
      expanded.resize(size - 1);
    }
    std::memcpy(buffer, expanded.data(), expanded.size());
    buffer[expanded.size()] = '\0';
  }
  // Reported once the text is gone: the error block may leave by BREAK.
  if (code) rt_error(code, text);
  return buffer;
}
