// procinfo.cpp -- PROCNAME, PROCLINE, PROCFILE: the chain of running
// language functions.
//
// Level 0 is the function that asks (the frame now running, since these
// functions open none), 1 its caller, and so on.  Frames without line
// information (Line < 0) and the frames of code blocks are skipped.  Names
// come in upper case; past the end of the chain the name is "" and the line
// 0.
#include <cctype>
#include <cstring>

#include "frame.h"
#include "kernel.h"
#include "letters.hpp"
#include "vlerror.h"
#include "vlgen.h"

namespace {

const frame* frame_at(int level)
{
  for (const frame* f = old_fn_stack; f; f = f->Prev) {
    if (f->Line < 0 || (f->Spare[0] & VL_FRAME_BLOCK)) continue;
    if (level-- == 0) return f;
  }
  return nullptr;
}

int level_arg(int argc, var** argv)
{
  return argc > 0 && vl::kNFIL.has(argv[0]->Type) ? vlnIntVar(argv[0]) : 0;
}

}  // namespace

extern "C" {

const char* vln_proc_name(int level)
{
  static char name[64];
  const frame* f = frame_at(level);
  size_t i = 0;
  for (const char* s = f && f->Func ? f->Func : ""; s[i] && i < sizeof name - 1; ++i)
    name[i] = static_cast<char>(std::toupper(static_cast<unsigned char>(s[i])));
  name[i] = '\0';
  return name;
}

int32_t vln_proc_line(int level)
{
  const frame* f = frame_at(level);
  return f ? f->Line : 0;
}

const char* vln_proc_file(int level)
{
  const frame* f = frame_at(level);
  return f && f->File ? f->File : "";
}

}  // extern "C"

// PROCNAME([n]): the upper-case name of the function n levels up.
VLN_FUNC(procname)
{
  return set_Cvar(cre_tmpvar(), vln_proc_name(level_arg(argc, argv)), -1);
}

// PROCLINE([n]): its running line.
VLN_FUNC(procline) { return set_Iv(vln_proc_line(level_arg(argc, argv))); }

// PROCFILE([n]): its module name.
VLN_FUNC(procfile)
{
  return set_Cvar(cre_tmpvar(), vln_proc_file(level_arg(argc, argv)), -1);
}
