// exppp.cpp -- macro expansion: "&name" and "&name." stand for the text of
// the character memory variable name.
//
// Expansion repeats while a pass replaced something, so a macro whose text
// holds a macro expands too; a text still changing after kMaxPasses passes
// is an endless loop (314).  A text that grows by more than kMaxGrowth is
// refused (315) before it can take all memory: a macro holding two
// references to itself doubles with every pass.  A reference
// to anything but a character variable stays as it is (the evaluator then
// refuses the "&", 202).
#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>
#include <string_view>
#include <unordered_map>

#include "exprtree.hpp"
#include "kernel.h"
#include "vlerror.h"

namespace {

constexpr int kMaxPasses = 16;
constexpr size_t kNameLength = 10;
// The most an expansion may add to its text.
constexpr size_t kMaxGrowth = 16u << 20;

bool name_start(char c) { return std::isalpha(static_cast<unsigned char>(c)) || c == '_'; }
bool name_char(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }

// The character variables an expansion has looked up, by name: a text
// that grows by repeating a few references looks each up once.  Nothing
// changes a variable while a text expands.
struct NameHash {
  using is_transparent = void;
  size_t operator()(std::string_view s) const { return std::hash<std::string_view>{}(s); }
};
using Lookups = std::unordered_map<std::string, const var*, NameHash, std::equal_to<>>;

// The text of the character variable called name, or null.
const var* macro_text(std::string_view name, Lookups& seen)
{
  if (auto it = seen.find(name); it != seen.end()) return it->second;
  const int32_t idx = locate_var(std::string(name.substr(0, kNameLength)).c_str());
  const var* v = idx < 0 ? nullptr : mv_names[idx].v;
  if (v && (v->Mode == 'U' || (v->Type != 'C' && v->Type != 'M'))) v = nullptr;
  seen.emplace(name, v);
  return v;
}

enum class Pass { kSame, kChanged, kTooLong };

// One pass over text, whose result may not pass limit bytes.
Pass expand_once(std::string& text, size_t limit, Lookups& seen)
{
  std::string out;
  bool changed = false;
  for (size_t i = 0; i < text.size();) {
    const size_t amp = std::min(text.find('&', i), text.size());
    out.append(text, i, amp - i);  // the plain run up to the next "&"
    i = amp;
    if (i == text.size()) break;
    if (i + 1 == text.size() || !name_start(text[i + 1])) {
      out += text[i++];
      continue;
    }
    size_t end = i + 1;
    while (end < text.size() && name_char(text[end])) ++end;
    const var* v = macro_text(std::string_view(text).substr(i + 1, end - i - 1), seen);
    if (!v) {
      out.append(text, i, end - i);
      i = end;
      continue;
    }
    const auto n = static_cast<size_t>(v->Length - 1);
    if (n > limit || out.size() > limit - n) return Pass::kTooLong;
    out.append(v->Value.w1.str, n);
    if (end < text.size() && text[end] == '.') ++end;  // the terminating dot
    i = end;
    changed = true;
  }
  if (out.size() > limit) return Pass::kTooLong;
  text.swap(out);
  return changed ? Pass::kChanged : Pass::kSame;
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
  const size_t limit = out.size() + kMaxGrowth;
  Lookups seen;
  for (int pass = 0; pass < kMaxPasses; ++pass) {
    switch (expand_once(out, limit, seen)) {
      case Pass::kSame: return 0;
      case Pass::kTooLong: return VL_E_MACRO_TOO_LONG;
      case Pass::kChanged: break;
    }
  }
  return VL_E_MACRO_LOOP;
}

}  // namespace vl::expr

extern "C" char* exp_pp(const char* text, char* buffer, size_t size, int flag)
{
  if (size == 0) return buffer;
  int code = 0;
  {
    std::string expanded;
    code = vl::expr::expand_macros(text, expanded);
    // Whatever stopped the expansion, the copy fits the buffer.
    size_t n = expanded.size();
    if (n >= size) {
      n = size - 1;
      if (!code) code = VL_E_MACRO_TOO_LONG;
    }
    std::memcpy(buffer, expanded.data(), n);
    buffer[n] = '\0';
  }
  // Reported once the text is gone: the error block may leave by BREAK.
  if (code) rt_error(code, text);
  return buffer;
}
