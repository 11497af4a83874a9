/*
** runtime.h -- what every layer of the run-time shares below the kernel:
** allocation that names its purpose, the end of the program, the batch
** stand-ins for the screen, and the shared run state.
*/
#ifndef VL_RUNTIME_H
#define VL_RUNTIME_H

#include <setjmp.h>
#include <stddef.h>
#include <stdint.h>

#include "var.h"

VL_BEGIN_DECLS

/* ---- Memory. ----
** purpose names the allocation (a vln_errmsg row); severity 2 reports a
** run-time error, 4 a fatal one, 16 writes to stderr and ends at once;
** level is the report level (1000 or 700).  On failure the functions return
** null if they return at all. */
void* vln_malloc(size_t size, const char* purpose, int severity, int level,
                 const char* module, int line);
void* vln_realloc(void* ptr, size_t size, const char* purpose, int severity,
                  int level, const char* module, int line);
void vln_free(void* ptr, const char* module, int line);

/* ---- End of the program. ---- */

/* Orderly program end: run the end routines, exit with shell_return. */
void vln_quit(void) __attribute__((noreturn));
/* Register a routine that vln_quit runs (last registered runs first). */
void vln_on_quit(void (*fn)(void));

/* ---- Shared run state. ---- */

/* Innermost BEGIN SEQUENCE jump buffer, null outside any sequence.  BREAK
** stores its value in vln_break_value and jumps there with 1. */
extern jmp_buf* glob_sequencebuf;
extern var* vln_break_value;

extern int32_t errstat;        /* non-zero: errors run the error block */
extern int32_t last_errno;     /* code of the last reported error */
extern int32_t shell_return;   /* exit status (ERRORLEVEL) */
extern int32_t glob_depth;     /* number of open call frames */
extern unsigned char __status[8];
extern int32_t __oserr;
extern int32_t vln_ferror;
extern const char* __argv0;
extern const char* __main_module;
extern int32_t vln_priv_mode;

VL_END_DECLS

#endif /* VL_RUNTIME_H */
