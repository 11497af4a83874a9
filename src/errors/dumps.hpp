// dumps.hpp -- the library's own dumps of frames, memory and streams, and
// the lines of the diagnostic trace.
#pragma once

#include <cstddef>
#include <cstdio>

#include "dumps.h"

// The number of a work area, for field records; null until the database
// fills it (fields then print area 0).
extern "C" int (*vlnAreaNumberHook)(struct AreaRec* area);

namespace vl {

// Every memory variable in use, to standard error.
void showvars(void);
// The current frame, to standard error.
void maShowCurStackEntry(void);
// n bytes at p in hexadecimal, 16 a line, to standard error.  Returns the
// number of lines written, 0 for a null p or n 0.
int tst_dump(const void* p, size_t n);
// The buffer state of a stdio stream, to standard error.
void vlscDumpFP(FILE* fp);
// One trace line, indented by the nesting level ("-->" raises it after the
// line, "<--" lowers it before).
void diag_msg(const char* text);
// The same, printed only when level is at most __diag_level and type is
// one of __diag_types (or __diag_types is empty).
void Ndiag_msg(int level, int type, const char* text);

}  // namespace vl
