// console.hpp -- the program's standard output: ? and ?? (QOUT, QQOUT) and
// the lines the library writes (LIST, DISPLAY, error reports).
#pragma once

namespace vl::prog {

// Route the library's own output lines through the console, so that they
// begin on a new line as ? does; flush standard output before a key is
// read, before an error is reported and when the run ends.  Called once by
// a program's driver before anything runs.
void console_start();

// Write text on a new line, as ? writes one value.
void console_line(const char* text);

// End a line left open by ? or ?? and flush: the cursor is at the start of
// a line (before a prompt reads input, or before the process exits).
void console_end_line();

}  // namespace vl::prog
