// state.cpp -- the shared run state.
#include "runtime.hpp"

extern "C" {

int32_t errstat = 1;
int32_t last_errno = 0;
int32_t shell_return = 0;
int32_t glob_depth = 0;
jmp_buf* glob_sequencebuf = nullptr;
var* vln_break_value = nullptr;
unsigned char __status[8];
int32_t __oserr = 0;
int32_t vln_ferror = 0;
const char* __argv0 = "";
const char* __main_module = "";
int32_t vln_priv_mode = 0;
int32_t __sig_quit = 0;

}  // extern "C"

namespace vl {

int32_t sg_date = 0;
int32_t _sstep = 0;
char repdum[4096];

}  // namespace vl
