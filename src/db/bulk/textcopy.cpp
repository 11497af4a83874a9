/*
** textcopy.cpp -- COPY TO a text file: SDF and DELIMITED.
**
** One writer serves both forms.  The record loop is DBEVAL, so filters,
** SET DELETED, FOR, WHILE and the scopes mean what they mean everywhere;
** the block reads each field with FIELDGET and appends its text to a
** buffer of the command, which goes to the file in large writes.  Each
** line ends with "\n".
**
** The texts of the values:
**   SDF        every field at its width as ? shows it: texts as they
**              stand, numbers as STR gives them, dates as YYYYMMDD,
**              logicals T or F; nothing between fields.
**   DELIMITED  texts trimmed on the right inside the delimiter, a
**              delimiter inside a text doubled (so that CSV readers get
**              the text back); numbers as ALLTRIM(STR()); dates as
**              YYYYMMDD; logicals T or F; "," between fields.
**   WITH BLANK as DELIMITED without delimiters, a blank between fields.
** Dates are YYYYMMDD whatever SET DATE and SET CENTURY say; while the
** copy runs, the century is on and the date format is "YYYYMMDD", so the
** program's blocks see the dates as the file does.  Memo fields are left
** out.
**
** A BREAK out of a block of the program, or a failed write, leaves no
** file behind: the file is removed and the command gives .F.  Everything
** the writer holds is plain memory released by the undo of vln_guarded,
** because a BREAK skips destructors.
*/
#include <climits>
#include <cstdlib>
#include <cstring>

#include "arrays.h"
#include "breakguard.hpp"
#include "bulk.h"
#include "bulkint.hpp"
#include "dates.h"
#include "facade.h"
#include "files.hpp"
#include "kernel.h"
#include "numbers.h"
#include "set.h"

namespace {

constexpr char kCommand[] = "COPY SDF/DELIMITED";
constexpr char kBlankWord[] = "BLANK";   // DELIMITED WITH BLANK
constexpr char kQuote = '"';             // the delimiter when none is given
constexpr char kDateForm[] = "YYYYMMDD";
constexpr int kDateFormSet = 4;          // SET number of the date format
constexpr size_t kFlushAt = 1 << 18;     // bytes buffered before a write
constexpr int kFirstScopeArg = 3;      // of the writer's arguments
constexpr int kWriterArgs = 8;
constexpr size_t kFieldRoom = VLN_NUMTEXT_SIZE;  // the most one non-text field takes

/* The line forms; the writer's delimiter argument selects one. */
enum class Form { kSdf, kDelimited, kBlank };

/* One output column: FIELDGET's argument for it. */
struct Column {
  var* number;
};

/* The state of one copy.  Plain memory only (see the head). */
struct Writer {
  Form form;
  char delimiter;
  char separator;     // between fields; 0 for none
  int fd;
  bool failed;        // a write failed: the file goes
  char* buf;
  size_t used, size;
  Column* columns;
  int count;
  long rows;
  vlbulk::Progress progress;
  char path[PATH_MAX];
};

/* ---- The buffer. ---- */

/* Write out what the buffer holds; a failure (reported by write_fil)
** marks the writer failed. */
void flush(Writer* w)
{
  if (w->used && !w->failed && vl::write_fil(w->fd, w->buf, w->used) != ssize_t(w->used)) w->failed = true;
  w->used = 0;
}

/* Room for n more bytes at the end of the buffer. */
char* room(Writer* w, size_t n)
{
  if (w->used + n > w->size) {
    w->size = w->used + n + kFlushAt;
    w->buf = static_cast<char*>(std::realloc(w->buf, w->size));
    if (!w->buf) std::abort();
  }
  return w->buf + w->used;
}

void put(Writer* w, const char* text, size_t n)
{
  std::memcpy(room(w, n), text, n);
  w->used += n;
}

void put(Writer* w, char c) { put(w, &c, 1); }

/* ---- The values. ---- */

/* A text: as it stands in SDF; trimmed and delimited otherwise, with the
** delimiter doubled inside it. */
void put_text(Writer* w, const char* text, size_t n)
{
  if (w->form == Form::kSdf) return put(w, text, n);
  while (n > 0 && text[n - 1] == ' ') --n;
  if (w->form == Form::kBlank) return put(w, text, n);
  put(w, w->delimiter);
  for (const char* end = text + n; text < end;) {
    const char* stop = static_cast<const char*>(std::memchr(text, w->delimiter, size_t(end - text)));
    const char* upto = stop ? stop + 1 : end;
    put(w, text, size_t(upto - text));
    if (stop) put(w, w->delimiter);
    text = upto;
  }
  put(w, w->delimiter);
}

/* A number as STR gives it: whole in SDF, without its blanks otherwise. */
void put_number(Writer* w, var* v)
{
  char* at = room(w, kFieldRoom);
  int32_t len = vln_numtext(v, at, kFieldRoom);
  if (len < 0) return;
  if (w->form != Form::kSdf) {
    int32_t lead = 0;
    while (lead < len && at[lead] == ' ') ++lead;
    while (len > lead && at[len - 1] == ' ') --len;
    std::memmove(at, at + lead, size_t(len - lead));
    len -= lead;
  }
  w->used += size_t(len);
}

void put_value(Writer* w, var* v)
{
  switch (v->Type) {
    case 'C':
    case 'M':
      return put_text(w, VSTR(v), size_t(v->Length > 0 ? v->Length - 1 : 0));
    case 'D':
      return put(w, vln_dtoc_form(VINT(v), kDateForm), sizeof kDateForm - 1);
    case 'L':
      return put(w, VINT(v) ? 'T' : 'F');
    default:
      return put_number(w, v);
  }
}

/* The record block: one line of the file. */
var* write_record(int, var**, var** avec)
{
  auto* w = reinterpret_cast<Writer*>(avec[0]->Value.w1.slot);
  const int32_t mark = tmpvar_cnt;
  for (int i = 0; i < w->count; ++i) {
    if (i > 0 && w->separator) put(w, w->separator);
    put_value(w, _bb_fieldget(1, &w->columns[i].number));
  }
  put(w, '\n');
  del_tmpvars(mark);
  if (w->used >= kFlushAt) flush(w);
  w->progress.step(++w->rows);
  return NIL_VAR;
}

/* ---- The command. ---- */

/* Set w's file name: name with ".txt" added when it has no extension.
** False when it does not fit. */
bool set_path(Writer* w, const std::string& given)
{
  const std::string name = vlbulk::text_file_name(given);
  if (name.size() >= sizeof w->path) return false;
  std::memcpy(w->path, name.c_str(), name.size() + 1);
  return true;
}

/* Set w's form from the writer's delimiter argument. */
void set_form(Writer* w, const var* delimiter_arg)
{
  const std::string delimiter = vlbulk::text_of(delimiter_arg);
  w->form = delimiter.empty() ? Form::kSdf : delimiter[0] == ' ' ? Form::kBlank : Form::kDelimited;
  w->delimiter = delimiter.empty() ? kQuote : delimiter[0];
  w->separator = w->form == Form::kSdf ? 0 : w->form == Form::kBlank ? ' ' : ',';
}

/* The fields of the list (all when empty) that the selected area has and
** that are not memos, as columns; the count in *count. */
Column* columns_of(const var* list, int* count)
{
  std::vector<std::string> names = vlbulk::list_fields(list);
  if (names.empty()) names = vlbulk::area_fields();
  auto* cols = static_cast<Column*>(std::calloc(names.size() + 1, sizeof(Column)));
  if (!cols) std::abort();
  *count = 0;
  for (const std::string& name : names) {
    var* number = set_Iv(vlbulk::field_pos(name));
    if (VINT(number) == 0 || vlbulk::text_of(_bb_fieldtype(1, &number)) == "M") continue;
    cols[(*count)++].number = set_Ivar(mak_var('N', 'U'), VINT(number));
  }
  return cols;
}

/* Release what w holds and close its file; the file goes unless the copy
** succeeded. */
void finish(Writer* w, bool succeeded)
{
  w->progress.end();
  if (w->fd >= 0) {
    flush(w);
    if (vl::close_fil(w->fd) != 0) w->failed = true;
    if (!succeeded || w->failed) vl::erase_fil(w->path);
  }
  for (int i = 0; i < w->count; ++i) del_var(w->columns[i].number);
  std::free(w->columns);
  std::free(w->buf);
}

/* Copy the records in scope[] of the selected area to w's file in w's
** form.  .T. when the whole file was written. */
bool copy_records(Writer* w, var* fields, var** scope)
{
  w->columns = columns_of(fields, &w->count);
  w->fd = vl::creat_fil(w->path, vlnGetUmask());
  if (w->fd < 0) {
    finish(w, false);
    return false;
  }
  const int century = vln_setcentury(1);
  var* date_form = cre_arr(cre_tmpvar(), 2, VL_ARR_NIL, {set_Iv(kDateFormSet), vlbulk::text_var(kDateForm)});
  var* pushed[] = {cre_arr(cre_tmpvar(), 1, VL_ARR_NIL, {date_form})};
  _bb___pushflag(1, pushed);
  bool done = false;
  vln_guarded(
      [&] {
        w->progress.begin("COPY TO");
        var* ctx = set_ivar(cre_tmpvar(), reinterpret_cast<intptr_t>(w));
        vlbulk::eval_scope(vlbulk::c_block(write_record, ctx), scope);
        done = true;
      },
      [&] {
        _bb___popflags(0, nullptr);
        vln_setcentury(century);
        finish(w, done);
      });
  return done && !w->failed;
}

/* The writer behind both commands: argv is file, delimiter, fields and
** the scope, the delimiter being the empty text for SDF, a blank for WITH
** BLANK, else the one delimiter character. */
var* copy_text(int argc, var** argv)
{
  using vlbulk::arg;
  var* file = arg(argc, argv, 0);
  if (!vlbulk::is_text(file)) {
    vlbulk::prg_error(vlbulk::kFileNameExpected, kCommand);
    return FALSE_VAR;
  }
  if (!vlbulk::need_table(kCommand)) return FALSE_VAR;
  Writer w{};
  w.fd = -1;
  if (!set_path(&w, vlbulk::text_of(file))) {
    vlbulk::prg_error(vlbulk::kFileNameExpected, kCommand);
    return FALSE_VAR;
  }
  set_form(&w, arg(argc, argv, 1));
  var* scope[vlbulk::kScopeArgs];
  vlbulk::take_scope(argc, argv, kFirstScopeArg, scope);
  return copy_records(&w, arg(argc, argv, 2), scope) ? TRUE_VAR : FALSE_VAR;
}

/* The delimiter argument of COPY DELIMITED as the writer takes it: the
** double quote for a non-text, a blank for the word BLANK, else the
** text's first character. */
var* delimiter_of(var* given)
{
  if (!vlbulk::is_text(given)) return vlbulk::text_var(std::string(1, kQuote));
  std::string text = vlbulk::text_of(given);
  std::string word = text;
  word.erase(0, word.find_first_not_of(' '));
  word.erase(word.find_last_not_of(' ') + 1);
  for (char& c : word) c = char(std::toupper(static_cast<unsigned char>(c)));
  if (word == kBlankWord) return vlbulk::text_var(" ");
  return vlbulk::text_var(text.empty() ? std::string(1, kQuote) : text.substr(0, 1));
}

}  // namespace

/* __DBCOPYTX(file, delimiter, fields, for, while, next, record, rest). */
VLN_FUNC(__dbcopytx) { return copy_text(argc, argv); }

/* __DBCOPYSD(file, fields, for, while, next, record, rest). */
VLN_FUNC(__dbcopysd)
{
  var* args[kWriterArgs] = {vlbulk::arg(argc, argv, 0), vlbulk::text_var("")};
  for (int i = 2; i < kWriterArgs; ++i) args[i] = vlbulk::arg(argc, argv, i - 1);
  return copy_text(kWriterArgs, args);
}

/* __DBCOPYDE(file, delimiter, fields, for, while, next, record, rest). */
VLN_FUNC(__dbcopyde)
{
  var* args[kWriterArgs];
  for (int i = 0; i < kWriterArgs; ++i) args[i] = vlbulk::arg(argc, argv, i);
  args[1] = delimiter_of(args[1]);
  return copy_text(kWriterArgs, args);
}
