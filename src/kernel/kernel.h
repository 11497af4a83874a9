/*
** kernel.h -- the language kernel: memory, the memory-variable table, the
** function registry, start-up and the shared run state.
**
** The kernel is the static part of the run-time that the library imports.
** Everything a program can call by name is found through the registry:
** language functions, module-local function tables, the memory-variable
** names a module refers to, and the start-up routines, each announced by a
** record (VLN_FUNC, VLN_MEMVAR, VLN_INIT in vlgen.h) collected at build time.
*/
#ifndef VL_KERNEL_H
#define VL_KERNEL_H

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

/* ---- Memory-variable table. ---- */

/* One name: lower case, at most 10 significant characters.  Entries are
** never deleted or reused: indices are compiled into modules. */
typedef struct MvEntry {
  char name[11];
  uint8_t spare;
  uint32_t nfields;  /* fields of open areas with this name */
  var* v;            /* the record now visible under this name */
  var** fields;      /* field records by area, owned by the database */
} MvEntry;

extern MvEntry* mv_names;
extern int32_t mvn_fpt;

/* Index of the name, or a negative number when unknown. */
int32_t locate_var(const char* name);
/* Add the name with an undefined record; returns its index (the existing
** index when the name is known). */
int32_t vln_add_var(const char* name);
/* The record now visible for index.  A bad index reports 303; reading a
** never-declared record reports 901 and returns it. */
var* vlnGetVar(int32_t index);
/* The same, for a write: a never-declared record silently becomes a
** PRIVATE of the current depth first. */
var* vlnGetVarForWrite(int32_t index);

/* ---- Macro expansion. ---- */

/* Expand the `&name` references of text, with surrounding blanks removed,
** into buffer (size bytes, flag 1 at every call site) and return buffer.
** The copy never passes size: a text that doesn't fit is cut and reported
** (315), and so is an expansion that fails (314, 315), after the copy. */
char* exp_pp(const char* text, char* buffer, size_t size, int flag);

/* ---- Names. ---- */

/* The full name of a function the language accepts cut to four or more
** letters ("subs" -> "substr"); any other name as it stands. */
const char* short_fun(const char* name);

/* A keyword table entry; a table ends with a null or empty name. */
typedef struct VlnKeyword {
  const char* name;
  int value;
} VlnKeyword;

/* The value of the first keyword that text (trimmed, folded) abbreviates:
** the text's length n is at least min or the whole keyword.  -1 for none. */
int get_tok(const char* text, const VlnKeyword* table, int min);

/* ---- Function registry. ---- */

typedef struct VlnFnRec {
  const char* name; /* lower case, at most 10 characters */
  BbFn fn;
} VlnFnRec;

typedef struct VlnVarRec {
  const char* name;
  int32_t* index;   /* receives the name's index at start-up */
} VlnVarRec;

typedef struct VlnIniRec {
  const char* name;
  void (*fn)(void);
  int order;        /* start-up routines run by ascending order */
} VlnIniRec;

typedef struct GlobFtabEntry {
  char name[11];
  BbFn fn;
} GlobFtabEntry;

/* Entry 0 is reserved; find_fun returns indices above 0. */
extern GlobFtabEntry* glob_ftab;
/* Number of entries of glob_ftab in use, entry 0 included. */
int32_t vln_ftab_size(void);

/* Index of the function (name folded and cut to 10), above 0 when found,
** 0 or below when unknown. */
int32_t find_fun(const char* name);
/* Register one function by name; an application's registration replaces a
** library function of the same name. */
void vln_register_fun(const char* name, BbFn fn);
/* Register a module's tables: its functions (the roles of the exported
** records and of a loc_tab), the memory variables it refers to, and its
** start-up routines.  Each table is closed by an entry with a null name;
** any may be null. */
void vln_register_module(const VlnFnRec* fns, const VlnVarRec* vars,
                         const VlnIniRec* inits);

/* The library's own tables, generated at build time. */
extern const VlnFnRec vln_lib_ftab[];
extern const VlnVarRec vln_lib_vtab[];
extern const VlnIniRec vln_lib_itab[];

/* The twelve scan words of the segment scan, kept for programs that read
** them; the registry makes the scan unnecessary, so they are 0. */
extern uintptr_t textStart, textEnd, textScan, dataStart, dataEnd, dataScan,
    textDynStart, textDynEnd, textDynScan, dataDynStart, dataDynEnd,
    dataDynScan;

/* ---- Start-up and end. ---- */

/* Run the registered start-up routines once each, by ascending order. */
void vln_run_inits(void);
/* Names entered so far belong to the library and survive CLEAR MEMORY. */
void vln_mark_program_names(void);

/* Publish the scan words and register the library's tables. */
void vln_init_segments(void);
/* VLTERM= and VLTERMINFO= become TERM= and TERMINFO=. */
void vlnHandleEnvironment(void);
/* Run the whole start-up order up to, not including, the main function.
** Safe to call more than once: later calls do nothing. */
void vln_start(int argc, char** argv);
/* Start, run main_fn as an ordinary language call, then end the program
** through vln_quit.  Never returns. */
void vln_run(int argc, char** argv, BbFn main_fn);
/* Orderly program end: run the end routines, exit with shell_return. */
void vln_quit(void) __attribute__((noreturn));
/* Register a routine that vln_quit runs (last registered runs first). */
void vln_on_quit(void (*fn)(void));
/* Deliver pending timer, break and debugger events between statements. */
void _vln_signal_n(void);
/* A subsystem that has events to deliver registers a poll routine here. */
void vln_add_signal_poll(void (*fn)(void));
/* Brackets around sections that must not be interrupted by a break key. */
void vln_disable_break(void);
void vln_enable_break(void);

/* Output of QOut/? while no screen layer is active: the text and a line
** end on standard output.  The screen layer replaces it. */
extern void (*vln_qout_hook)(const char* text);
/* Wait for one key while no screen layer is active: reads standard input,
** end of input counting as a key.  The screen layer replaces it. */
extern int (*vln_waitkey_hook)(void);
/* Give the terminal back (endwin) before an abrupt exit; null in batch. */
extern void (*vln_endwin_hook)(void);

/* ---- Shared run state. ---- */

extern int32_t errstat;        /* non-zero: errors run the error block */
extern int32_t last_errno;     /* code of the last reported error */
extern int32_t shell_return;   /* exit status (ERRORLEVEL) */
extern unsigned char __status[8];
extern int32_t __oserr;
extern int32_t vln_ferror;
extern const char* __argv0;
extern const char* __main_module;
extern const char* __invar_nam;
extern int32_t __sig_quit;
extern int32_t _sstep;
extern int32_t vln_priv_mode;
extern int32_t vln_array_expected;
/* When set, dget_arr and dget_arrv call it with each subscript. */
extern BbFn vln_subscarr;
extern int32_t vl_tok;
extern int32_t sg_date;
extern int32_t _tmp_2_;

/* Scratch buffers, valid within one call only. */
extern char repdum[4096];
extern char buff4K[4096];
extern char buff500[500];
extern char buff250[250];
extern char buff50[50];

VL_END_DECLS

#endif /* VL_KERNEL_H */
