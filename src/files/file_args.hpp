// file_args.hpp -- how the low-level file functions read their arguments
// and give their results.  They never report: a failure is an errno in
// vln_ferror (and, when the system gave it, in __oserr).
#pragma once

#include <string>

#include "var.h"

namespace vlfile {

// The errno for an argument of the wrong type.
constexpr int kBadType = 9;  // EBADF

// Argument i as a descriptor; false when it is no number.
bool fd_arg(int argc, var** argv, int i, int* fd);
// Argument i as a count or number; false when it is no number.
bool number_arg(int argc, var** argv, int i, double* n);
// Argument i as a file name translated under SET DEFAULT.  Returns 0, or
// the errno to fail with: kBadType for no text, EINVAL for a text holding
// a 0 byte (no file can have such a name).
int name_arg(int argc, var** argv, int i, std::string* path);
// Start of every function: no error yet.
void begin();
// A failure: err in vln_ferror (and __oserr when from the system), -1.
var* fail(int err);
var* fail_system();
// A numeric result.
var* number(double n);

}  // namespace vlfile
