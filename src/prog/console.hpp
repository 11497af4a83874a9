// console.hpp -- the program's standard output: ? and ?? (QOUT, QQOUT) and
// the lines the library writes (LIST, DISPLAY, error reports).
#pragma once

namespace vl::prog {

// Route the library's own output lines through the console, so that they
// begin on a new line as ? does; flush standard output before a key is
// read and when the run ends.  Called once by
// a program's driver before anything runs.
void console_start();

// From now on a run-time error reports as the default handler does and
// then BREAKs to the innermost BEGIN SEQUENCE (at the prompt: the guard of
// the running statement) instead of ending the run.  It is the error block
// in force; a program may set its own with ERRORBLOCK.
void console_errors_return();

// How many errors console_errors_return's block has reported.
int console_errors();

// Write text on a new line, as ? writes one value.
void console_line(const char* text);

// End a line left open by ? or ?? and flush: the cursor is at the start of
// a line (before a prompt reads input, or before the process exits).
void console_end_line();

}  // namespace vl::prog
