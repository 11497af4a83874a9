/*
** kernel.h -- the language kernel: memory, the memory-variable table, the
** function registry, start-up and the shared run state.
**
** The kernel is the static part of the run-time that the library imports.
** Everything a program can call by name is found through the registry:
** language functions, module-local function tables, the memory-variable
** names a module refers to, and the start-up routines, each announced by a
** record (VLN_FUNC, VLN_MEMVAR, VLN_INIT below) collected at build time.
*/
#ifndef VL_KERNEL_H
#define VL_KERNEL_H

#include <stdint.h>

#include "runtime.h"
#include "var.h"

VL_BEGIN_DECLS

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

/* The value constructors into memory variable index (the record now
** visible, through vlnGetVar: set_*v) and into the variable visible under
** index for a write (through vlnGetVarForWrite: set_*f). */
var* set_cvarv(int32_t index, const char* text);
var* set_cvarf(int32_t index, const char* text);
var* set_dvarv(int32_t index, int32_t day);
var* set_dvarf(int32_t index, int32_t day);
var* set_Ivarv(int32_t index, int32_t n);
var* set_Ivarf(int32_t index, int32_t n);
var* set_lvarv(int32_t index, int b);
var* set_lvarf(int32_t index, int b);
var* set_nvarv(int32_t index, double d, int dec);
var* set_nvarf(int32_t index, double d, int dec);

/* ---- Macro expansion. ---- */

/* Expand the `&name` references of text, with surrounding blanks removed,
** into buffer (size bytes, flag 1 at every call site) and return buffer.
** The copy never passes size: a text that doesn't fit is cut and reported
** (315), and so is an expansion that fails (314, 315), after the copy. */
char* exp_pp(const char* text, char* buffer, size_t size, int flag);

/* ---- Function registry. ----
** Export markers.  The build collects every VLN_FUNC, VLN_MEMVAR and
** VLN_INIT of the library into the function registry, so a marker written
** at the start of a line is all it takes to make a function callable by
** name.  Names are lower case and at most 10 characters. */

/* A language-level function `_bb_<name>(argc, argv)`. */
#define VLN_FUNC(name) VL_EXTERN_C var* _bb_##name(int argc, var** argv)
/* A start-up routine `_bbi_<name>`; lower order runs first. */
#define VLN_INIT(name, order) VL_EXTERN_C void _bbi_##name(void)
/* A memory-variable name the module refers to: defines the word that holds
** its index, -1 until the start-up enters the name. */
#define VLN_MEMVAR(name)                \
  VL_EXTERN_C int32_t _bbvar_##name;    \
  int32_t _bbvar_##name = -1


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

/* The twelve scan words of the segment scan, kept for programs that read
** them; the registry makes the scan unnecessary, so they are 0. */
extern uintptr_t textStart, textEnd, textScan, dataStart, dataEnd, dataScan,
    textDynStart, textDynEnd, textDynScan, dataDynStart, dataDynEnd,
    dataDynScan;

/* ---- Start-up and end. ---- */

/* Run the pending start-up routines of order up to last (VLN_INIT_ALL for
** every one), once each, by ascending order; the others stay pending. */
void vln_run_inits(int last);
#define VLN_INIT_ALL 0x7FFFFFFF
/* The order of the national tables' start-up routine: routines up to it
** run before the error table and the screen are set up. */
#define VLN_INIT_NATIONAL 0
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
/* Deliver pending timer, break and debugger events between statements. */
void _vln_signal_n(void);
/* A subsystem that has events to deliver registers a poll routine here. */
void vln_add_signal_poll(void (*fn)(void));
/* The number of routines registered with vln_add_signal_poll. */
extern int32_t vln_signal_poll_count;
/* Brackets around sections that must not be interrupted by a break key. */
void vln_disable_break(void);
void vln_enable_break(void);

VL_END_DECLS

#endif /* VL_KERNEL_H */
