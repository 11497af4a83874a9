// Memory and stream dumps, and the diagnostic trace.
#include <cstdio>
#include <cstring>

#include "dumps.h"

namespace {

constexpr size_t kBytesPerLine = 16;
constexpr size_t kLinesPerBlock = 8;
constexpr size_t kGroup = 4;
// Deepest indent of the trace.
constexpr int kMaxIndent = 64;
const char kBlanks[kMaxIndent + 1] = "                                                                ";

int g_trace_level = 0;

unsigned long address(const void* p) { return static_cast<unsigned long>(reinterpret_cast<uintptr_t>(p)); }

// Blank before byte i of a line: two at the middle, one between groups.
const char* separator(size_t i)
{
  if (i == kBytesPerLine / 2) return "  ";
  return i % kGroup == 0 ? " " : "";
}

void dump_line(const unsigned char* p, size_t count)
{
  std::fprintf(stderr, "%08lx:", address(p));
  for (size_t i = 0; i < count; ++i) std::fprintf(stderr, "%s%02x", separator(i), p[i]);
  std::fputc('\n', stderr);
}

bool trace_on() { return __diag && __diag_fp; }

int clamp_indent(int level) { return level < 0 ? 0 : level > kMaxIndent ? kMaxIndent : level; }

}  // namespace

extern "C" {

int32_t __diag = 0;
FILE* __diag_fp = nullptr;
int32_t __diag_level = 0;
char __diag_types[32] = "";
int (*vlnAreaNumberHook)(struct AreaRec* area) = nullptr;

}  // extern "C"

namespace vl {

int tst_dump(const void* p, size_t n)
{
  if (!p) {
    std::fprintf(stderr, "\nTST_DUMP: null pointer received\n");
    return 0;
  }
  if (n == 0) {
    std::fprintf(stderr, "\nTST_DUMP: zero length received\n");
    return 0;
  }
  const auto* bytes = static_cast<const unsigned char*>(p);
  const size_t lines = (n + kBytesPerLine - 1) / kBytesPerLine;
  for (size_t line = 0; line < lines; ++line) {
    if (line > 0 && line % kLinesPerBlock == 0) std::fputc('\n', stderr);
    const size_t at = line * kBytesPerLine;
    dump_line(bytes + at, n - at < kBytesPerLine ? n - at : kBytesPerLine);
  }
  return static_cast<int>(lines);
}

void vlscDumpFP(FILE* fp)
{
  const int pending = fp->_IO_read_ptr && fp->_IO_read_end
                          ? static_cast<int>(fp->_IO_read_end - fp->_IO_read_ptr)
                          : 0;
  const int base_len = fp->_IO_buf_base && fp->_IO_read_end
                           ? static_cast<int>(fp->_IO_read_end - fp->_IO_buf_base)
                           : 0;
  std::fprintf(stderr, "FILE *       := %08lx\n", address(fp));
  std::fprintf(stderr, "FILE #       := %d \n", fp->_fileno);
  std::fprintf(stderr, "FILE *__ptr  := %08lx\n", address(fp->_IO_read_ptr));
  std::fprintf(stderr, "FILE  __cnt  := %d\n", pending);
  std::fprintf(stderr, "FILE *__base := %08lx\n", address(fp->_IO_buf_base));
  std::fprintf(stderr, "FILE  __flag := %x\n", static_cast<unsigned>(fp->_flags));
  std::fprintf(stderr, "FILE  __file := %x\n", static_cast<unsigned>(fp->_fileno));
  std::fprintf(stderr, "FILE *__ptr..:= %.*s\n", pending, fp->_IO_read_ptr ? fp->_IO_read_ptr : "");
  std::fprintf(stderr, "FILE *__base.:= %.*s\n", base_len, fp->_IO_buf_base ? fp->_IO_buf_base : "");
}

void diag_msg(const char* text)
{
  if (!trace_on() || !text) return;
  if (std::strncmp(text, "<--", 3) == 0) --g_trace_level;
  std::fprintf(__diag_fp, "%.*s%s", clamp_indent(g_trace_level), kBlanks, text);
  std::fflush(__diag_fp);
  if (std::strncmp(text, "-->", 3) == 0) ++g_trace_level;
}

void Ndiag_msg(int level, int type, const char* text)
{
  if (level > __diag_level) return;
  if (__diag_types[0] && (type == 0 || !std::strchr(__diag_types, type))) return;
  diag_msg(text);
}

}  // namespace vl
