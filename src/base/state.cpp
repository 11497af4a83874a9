// state.cpp -- the shared run state the kernel defines.
#include "frame.h"
#include "kernel.h"

extern "C" {

int32_t errstat = 1;
int32_t last_errno = 0;
int32_t shell_return = 0;
unsigned char __status[8];
int32_t __oserr = 0;
int32_t vln_ferror = 0;
const char* __argv0 = "";
const char* __main_module = "";
const char* __invar_nam = "";
int32_t __sig_quit = 0;
int32_t _sstep = 0;
int32_t vln_priv_mode = 0;
int32_t vln_array_expected = 0;
BbFn vln_subscarr = nullptr;
int32_t vl_tok = 0;
int32_t sg_date = 0;
int32_t _tmp_2_ = 0;
int _vtmp_1_ = 0;

char repdum[4096];
char buff4K[4096];
char buff500[500];
char buff250[250];
char buff50[50];

uintptr_t textStart, textEnd, textScan, dataStart, dataEnd, dataScan, textDynStart,
    textDynEnd, textDynScan, dataDynStart, dataDynEnd, dataDynScan;

frame* old_fn_stack = nullptr;
int32_t glob_depth = 0;
jmp_buf* glob_sequencebuf = nullptr;
var* vln_break_value = nullptr;

}  // extern "C"
