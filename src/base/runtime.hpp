// runtime.hpp -- the library's own part of the shared run state: the
// scratch buffer, the batch stand-ins for the screen, and the words of
// subsystems still to come.
#pragma once

#include <cstdint>

#include "runtime.h"

namespace vl {

// Scratch buffer for composing reports, valid within one call only.
extern char repdum[4096];
// The date mode of the picture engine: stored, read by nothing yet.
extern int32_t sg_date;
// The debugger's run mode (0 free, 1 single step, 2 to a breakpoint),
// tested between statements once the debugger exists.
extern int32_t _sstep;

}  // namespace vl

extern "C" {

// Output of QOut/? while no screen layer is active: the text and a line
// end on standard output.  The screen layer replaces it.
extern void (*vln_qout_hook)(const char* text);
// Wait for one key while no screen layer is active: reads standard input,
// end of input counting as a key.  The screen layer replaces it.
extern int (*vln_waitkey_hook)(void);
// Give the terminal back (endwin) before an abrupt exit; null in batch.
extern void (*vln_endwin_hook)(void);

}  // extern "C"

// The debugger's quit request.  A reserved name, so it keeps C linkage
// like the other double-underscore words of the run state.
extern "C" int32_t __sig_quit;
