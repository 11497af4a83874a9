// lower_cmds.cpp -- commands lowered to calls of the library's functions.
#include "parse_internal.hpp"

namespace vl::prog::detail {

bool lower_command(const std::string& word, Cursor& cur, Stmt& stmt) { return false; }

}  // namespace vl::prog::detail
