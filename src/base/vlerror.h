/*
** vlerror.h -- run-time error reporting.
**
** Every failure the library detects goes through one of four entry points
** that differ only in severity.  Each turns a code and a text into an error
** report and hands it to the error handler; control comes back to the
** caller (which then returns its neutral value) unless the handler leaves by
** BREAK or ends the program.  With `errstat` 0 an error is only recorded in
** `last_errno`.
**
** Multi-line texts use ';' as the line break.  The codes are named in
** errcodes.h.
*/
#ifndef VL_ERROR_H
#define VL_ERROR_H

#include "errcodes.h"
#include "var.h"

VL_BEGIN_DECLS

/* Severities, as the error object carries them. */
enum {
  VL_SEV_IO = 1,
  VL_SEV_RUNTIME = 2,
  VL_SEV_FATAL = 4,
  VL_SEV_INTERNAL = 8
};

/* Report levels of the error table. */
enum {
  VL_LEVEL_NEVER = 0,
  VL_LEVEL_DEVEL = 700,
  VL_LEVEL_NORMAL = 800,
  VL_LEVEL_ALWAYS = 1000
};

/* I/O error (severity 1); returns ERROR_VAR. */
var* io_error(int code, const char* text);
/* Run-time error (severity 2); returns ERROR_VAR. */
var* rt_error(int code, const char* text);
/* Fatal error (severity 4); ends the program. */
void ftl_error(int code, const char* text) __attribute__((noreturn));
/* Internal error (severity 8): line and module become the subcode and the
** subsystem of the report.  Returns ERROR_VAR. */
var* int_error(int code, const char* text, const char* module, int line);
/* BREAK outside any BEGIN SEQUENCE: reports 335 and ends the program. */
void vl_break_error(void) __attribute__((noreturn));
/* Write text unchanged to the standard error stream. */
void vln_errout(const char* text);

/* One row of the error table. */
typedef struct VlnErrRow {
  const char* text;
  int32_t level;
} VlnErrRow;

/* Fill the error table. */
void err_init(void);
/* The row of code; codes outside the table give the "???" row. */
const VlnErrRow* vln_err_row(int code);
/* Number of error reports now in progress. */
extern int32_t alreadyin;
/* Number of errors reported so far (counted whether or not errstat is
** on): a caller compares two readings to learn whether anything failed.
** Warnings and reports below the report level are not failures and are
** not counted (see vln_error_counts). */
extern uint32_t vln_error_count;
/* Whether a report of code counts as a failure: not the developer warning
** (902) and not a row below the report level, which stays silent. */
int vln_error_counts(int code);

/* The report threshold: rows below it are not reported. */
int32_t vln_report_level(void);

/* ---- The error handler seam. ----
** A report reaches `vln_error_handler` with the composed description; the
** default handler writes the batch-mode report.  The error-object layer
** replaces it with one that builds an Error object and runs ERRORBLOCK(). */
typedef struct VlnErrReport {
  int gencode;             /* the error code */
  int severity;            /* VL_SEV_* */
  const char* description; /* table text + ";" + composed message */
  int subcode;             /* line for internal errors, else 0 */
  const char* subsystem;   /* module for internal errors, else "BASE" */
} VlnErrReport;

extern void (*vln_error_handler)(const VlnErrReport* report);
/* The batch handler: heading, place and description to standard output;
** ends the program unless the report is a developer warning (902). */
void vln_default_error_handler(const VlnErrReport* report);
/* Compose the default handler's text for report into buf (size bytes):
** "Run-time error 201 in FUNC(12);description...". Returns buf. */
char* vln_error_heading(const VlnErrReport* report, char* buf, size_t size);
/* Whether report is a developer warning (gencode 902). */
int vln_error_is_warning(const VlnErrReport* report);

/* Place of the error as the default handler shows it: the innermost frame
** with line information. */
const char* vln_proc_name(int level);
int32_t vln_proc_line(int level);
const char* vln_proc_file(int level);

/* The language-level entries. */
var* _bb__errcaller(int argc, var** argv);
var* _bb_errorlevel(int argc, var** argv);
var* _bb_vlnprgerr(int argc, var** argv);
var* _bb_procname(int argc, var** argv);
var* _bb_procline(int argc, var** argv);
var* _bb_procfile(int argc, var** argv);
var* _bb___quit(int argc, var** argv);

VL_END_DECLS

#endif /* VL_ERROR_H */
