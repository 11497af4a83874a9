/*
** bulkint.hpp -- the habits every whole-table command shares.
**
**  - It notes the selected area first and goes back to it on every path.
**    A BREAK out of a block of the program (a FOR, a key, an error block)
**    passes through the command: run the body under vln_guarded with an
**    undo that closes what the command opened and selects the area again.
**  - A second table goes into the lowest free area under an alias of a
**    prefix and the process number.
**  - Source and target fields are paired by name.
**  - The record loop is DBEVAL with a block (here a compiled block around
**    a C++ function, as generated code makes them), so the scope
**    arguments mean what they mean to every command.
**  - Conditions are reported through VLNPRGERR under the command's name.
*/
#ifndef VL_BULKINT_HPP
#define VL_BULKINT_HPP

#include <string>
#include <vector>

#include "blocks.h"
#include "var.h"

namespace vlbulk {

/* Selectors of VLNPRGERR. */
enum PrgErr {
  kEmptyFieldList = 100001,
  kFileNameExpected = 100002,
  kCannotOpenTarget = 100003,
  kBlockExpected = 100004,
  kNoDatabase = 100005,
  kTargetLocked = 100006,
  kIllegalFieldName = 100007,
  kCannotOpenSource = 100008,
};

/* Positions of the scope arguments inside a command's argument list,
** starting at its for argument. */
enum { kFor, kWhile, kNext, kRecord, kRest, kScopeArgs };

/* Report condition selector of command (its name as the user knows it,
** e.g. "COPY TO"), with detail for the texts that take a second %s. */
void prg_error(int selector, const char* command, const char* detail = "");

/* The selected area's number (SELECT()). */
int selected_area();
/* Select area number n; never reports.  An area holding a table is
** switched to without SELECT's refresh of the area left. */
void select_area(int n);
/* .T. when the selected area holds a table; otherwise reports 100005
** under command and gives false. */
bool need_table(const char* command);

/* Argument i of argv as given, or NIL_VAR past argc. */
inline var* arg(int argc, var** argv, int i) { return i < argc ? argv[i] : NIL_VAR; }
/* Whether v is a text. */
bool is_text(const var* v);
/* The text of v (empty for a non-text). */
std::string text_of(const var* v);
/* s without blanks at either end, in upper case. */
std::string upper_trim(std::string s);
/* A temporary text value holding s. */
var* text_var(const std::string& s);

/* name with ".txt" added when it has no extension: the name the text
** files of the commands get. */
std::string text_file_name(std::string name);

/* The alias for a second table of a command: prefix and the process
** number ("__cpy12345"). */
std::string temp_alias(const char* prefix);
/* The driver argument, or the selected area's RDDNAME() when it is not a
** text. */
var* driver_or_current(var* driver);
/* Open file with driver in the lowest free area under alias, shared or
** exclusive, and leave it selected.  The area's number, or 0 after
** NETERR (the area selected before is selected again). */
int open_free_area(var* driver, var* file, const std::string& alias, bool shared);
/* Close the table of area n (0: nothing) and select area back. */
void close_area(int n, int back);

/* Field names of the selected area, upper case, in order. */
std::vector<std::string> area_fields();
/* The names of a field-list argument: an array of texts, each upper-cased
** and trimmed, without any alias part (up to the last "->").  NIL or an
** empty array gives the empty list. */
std::vector<std::string> list_fields(const var* list);
/* The field's number in the selected area (FIELDPOS), 0 when none. */
int field_pos(const std::string& name);

/* A compiled block running fn with ctx as its one detached value; the
** block is a temporary of the statement. */
var* c_block(BlockFn fn, var* ctx);
/* DBEVAL(block, the five scope arguments at scope[0..4]) in the selected
** area. */
var* eval_scope(var* block, var* const* scope);
/* The scope arguments of argv starting at position first, NIL past argc,
** into scope[0..4]. */
void take_scope(int argc, var** argv, int first, var** scope);
/* Whether any scope argument was given. */
bool scope_given(var* const* scope);

/* Progress of a long command on the terminal.  Nothing shows in batch
** or when standard output or standard error is not a terminal, nor for
** work that ends within a second.  After that, "COMMAND: n records" is
** written to standard error over itself a few times a second; done clears
** the line.  A Progress holds nothing that a BREAK could leak. */
struct Progress {
  const char* command;
  long shown_at_ms = -1;   // when the line was last written; -1 never
  long started_ms = 0;
  bool on = false;         // whether this run may show anything
  /* Start counting for command (its name stays the caller's). */
  void begin(const char* name);
  /* Note that done records are through; cheap when nothing shows. */
  void step(long done);
  /* Clear the line, if one was shown. */
  void end();
};

/* The data-server methods COUNT, SUM, AVERAGE and GETARRAY of a table
** object, argv[0] being the object (listing.cpp):
**  count(for, while, scope): the number of records in scope; 0 on a closed
**    table.
**  sum(fields, for, while, scope) and average(...): fields is a name, an
**    array of names or a block; a number for one, an array for an array.
**  getarray(count, fields, seek key): up to count records (100 for 0) of
**    one field, of several (a row each) or of a block; {} when closed. */
var* count_me(int argc, var** argv);
var* sum_me(int argc, var** argv);
var* average_me(int argc, var** argv);
var* getarray_me(int argc, var** argv);

}  // namespace vlbulk

#endif  // VL_BULKINT_HPP
