/*
** textappend.cpp -- APPEND FROM a text file: SDF and DELIMITED.
**
** The text file is read through the ASCII driver, opened in a free area
** with the target's own structure (less its memo fields, and only the
** fields named when a list is given), so that each line arrives already
** converted to the target's field types: a text cut to its field, a number,
** a date from "YYYYMMDD", a logical from "T".  The for, while, next and
** record arguments go to the driver, which counts lines of the file.
**
** For each line in scope the target gets a record: append, and when that
** is refused (another process holds the table), the automatic-lock
** procedure AUTOAPPEND, which waits the auto-lock time and asks; when it
** gives up too the command stops with its report.  Then the fields are put
** straight from the driver's field records into the target object, so the
** loop runs no message through the selection.
**
** The driver's area stays selected while it reads, so that a for or while
** block sees the line's values under the field names.
*/
#include <string>
#include <vector>

#include "areas.h"
#include "arrays.h"
#include "ascirdd.h"
#include "ascirddint.hpp"
#include "autolock.h"
#include "breakguard.hpp"
#include "bulk.h"
#include "bulkint.hpp"
#include "dsslots.h"
#include "errcodes.h"
#include "facade.h"
#include "kernel.h"
#include "objects.h"
#include "vlerror.h"

namespace {

using namespace vlbulk;

constexpr char kCommand[] = "APPEND SDF/DELIMITED";
constexpr char kBlankWord[] = "BLANK";
constexpr char kAutoAppend[] = "autoappend";

/* Positions of the arguments (argv[0] is the target's object). */
enum { kFile = 1, kDelimiter, kFields, kScope };

/* A field of the text and the target's field it goes to. */
struct Pair {
  uint32_t from;  // index in the driver's fields
  var* to;        // the target's field number, as a number record
};

/* The driver's delimiter argument: a non-text the double quote, the word
** BLANK a blank, a text of one character (or none, SDF) as it is.  Null,
** after a report, for a text of several characters: the driver would take
** only its first, which is never what was meant. */
var* delimiter_of(var* d)
{
  if (!is_text(d)) return text_var("\"");
  const std::string t = text_of(d);
  if (upper_trim(t) == kBlankWord) return text_var(" ");
  if (t.size() <= 1) return d;
  const std::string text = std::string(kCommand) + ":;delimiter must be one character, not '" + t + "'";
  rt_error(VL_E_ARG_VALUE, text.c_str());
  return nullptr;
}

/* The rows of the target's structure that the text fills: every field, or
** those named, memo fields left out. */
var* text_structure(var* fields)
{
  std::vector<std::string> wanted = list_fields(fields);
  for (std::string& w : wanted) w = upper_trim(w);
  var* all = _bb_dbstruct(0, nullptr);
  var* rows = cre_arr(cre_tmpvar(), 0, VL_ARR_NIL, static_cast<var*>(nullptr));
  const ArrRec* a = VARR(all);
  for (uint32_t i = 0; i < a->A_size; ++i) {
    var* row = a->A_vec[i];
    const std::string name = upper_trim(text_of(VARR(row)->A_vec[0]));
    if (text_of(VARR(row)->A_vec[1]) == "M") continue;
    bool take = wanted.empty();
    for (const std::string& w : wanted) take = take || w == name;
    if (!take) continue;
    var* args[] = {rows, row};
    _bb_aadd(2, args);
  }
  return rows;
}

/* A new record in the target: append, and when refused, AUTOAPPEND. */
bool append_record(var* target)
{
  var* args[] = {target, TRUE_VAR};
  if (vlnLogVar(vlnDoMethod("append", VLN_DS_APPEND, 0, 2, args))) return true;
  var* auto_args[] = {target, NIL_VAR};
  return vlnLogVar(vln_autolock_fn(kAutoAppend, _bb_autoappend)(2, auto_args));
}

/* Put the fields of the driver's line into the target's new record. */
void put_fields(vl::AsciState* s, var* target, const Pair* pairs, size_t n)
{
  for (size_t i = 0; i < n; ++i) {
    var* args[] = {target, pairs[i].to, vl::asc_field(s, pairs[i].from)};
    vlnDoMethod("fieldput", VLN_DS_FIELDPUT, 0, 3, args);
  }
}

/* The loop over the lines in scope; false when the target refused. */
bool copy_lines(vl::AsciState* s, var* target, const Pair* pairs, size_t n)
{
  Progress progress;
  progress.begin(kCommand);
  long done = 0;
  bool more = !s->ateof;
  while (more) {
    if (!append_record(target)) break;
    put_fields(s, target, pairs, n);
    progress.step(++done);
    more = vl::asc_is_open(s) && !s->ateof && vl::asc_skip(s);
  }
  progress.end();
  return !more;
}

/* The pairs of the driver's fields and the target's, by name (asked of the
** target object: the driver's area stays selected). */
size_t pair_fields(vl::AsciState* s, var* target, Pair* pairs)
{
  size_t n = 0;
  for (uint32_t i = 0; i < s->fields.size(); ++i) {
    var* args[] = {target, text_var(s->fields[i].name)};
    const int pos = vlnIntVar(vlnDoMethod("fieldpos", VLN_DS_FIELDPOS, 0, 2, args));
    if (pos > 0) pairs[n++] = Pair{i, set_Ivar(mak_var('N', 'U'), pos)};
  }
  return n;
}

/* Open the text in a free area, pair its fields with the target's, copy
** the lines, close it.  Whether every line in scope was appended. */
bool append_text(var* target, var* file, var* delimiter, var* rows, var* const* scope, int back)
{
  var* args[] = {file, rows, delimiter, scope[kFor], scope[kWhile], scope[kNext], scope[kRecord]};
  var* reader = _bb_ascirddnew(7, args);  // a temporary; selects a free area
  vl::AsciState* s = vl::asc_state(reader);
  const int area = vl::asc_is_open(s) ? selected_area() : 0;
  Pair* pairs = area ? new Pair[s->fields.size() + 1] : nullptr;
  size_t n = 0;
  bool ok = false;
  vln_guarded(
      [&] {
        if (!area) return 0;
        n = pair_fields(s, target, pairs);
        ok = copy_lines(s, target, pairs, n);
        return 0;
      },
      [&] {
        for (size_t i = 0; i < n; ++i) del_var(pairs[i].to);
        delete[] pairs;
        close_area(area, back);
      });
  if (!area) {
    prg_error(kCannotOpenSource, kCommand, text_of(file).c_str());
  } else if (!ok) {
    prg_error(kTargetLocked, kCommand);
  }
  return ok;
}

}  // namespace

/* __DBAPPGEN(object, file, delimiter, fields, for, while, next, record) */
VLN_FUNC(__dbappgen)
{
  const int back = selected_area();
  if (!need_table(kCommand)) return FALSE_VAR;
  var* target = vlnSelectedArea->obj;
  var* file = arg(argc, argv, kFile);
  if (!is_text(file)) {
    prg_error(kFileNameExpected, kCommand);
    return FALSE_VAR;
  }
  var* delimiter = delimiter_of(arg(argc, argv, kDelimiter));
  if (!delimiter) return FALSE_VAR;
  var* rows = text_structure(arg(argc, argv, kFields));
  if (VARR(rows)->A_size == 0) {
    prg_error(kEmptyFieldList, kCommand);
    return FALSE_VAR;
  }
  var* scope[kScopeArgs];
  take_scope(argc, argv, kScope, scope);
  return append_text(target, file, delimiter, rows, scope, back) ? TRUE_VAR : FALSE_VAR;
}
