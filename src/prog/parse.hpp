// parse.hpp -- reading program text into the parsed form (ast.hpp).
#pragma once

#include <string>
#include <string_view>

#include "ast.hpp"

namespace vl::prog {

// Parse one source.  file names the source in diagnostics and gives the
// implicit main procedure its name; index is its Pos::file.  On success
// unit holds the functions and true is returned.  On the first error
// false is returned, diag says where (line and column of the offending
// token, from 1) and what, and unit is left empty: nothing of a source
// with an error runs.  Never throws for bad input, whatever its bytes.
bool parse_unit(const std::string& file, int32_t index, std::string_view source, Unit& unit,
                Diagnostic& diag);

// diag as the user sees it: "file:line:col: error: message", the source
// line, and a caret under the column.
std::string format_diagnostic(const Diagnostic& diag);

}  // namespace vl::prog
