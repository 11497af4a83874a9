/*
** tablecopy.cpp -- APPEND FROM and COPY TO between tables, COPY STRUCTURE
** [EXTENDED] and CREATE [FROM].
**
** APPEND FROM opens the source shared in a free area, pairs the fields by
** name and converts each value to the target field's type; a shared
** target is appended to through AUTOAPPEND, and the copy stops (reporting
** that the target is locked) when that wait gives up.  COPY TO makes the
** target with COPY STRUCTURE, opens it exclusively and copies the records
** of the scope into it.
**
** A structure-extended table has one record per field: FIELD_NAME,
** FIELD_TYPE, FIELD_LEN and FIELD_DEC.  A text field longer than FIELD_LEN
** can hold keeps its length in two parts, the low byte in FIELD_LEN and the
** high byte in FIELD_DEC, as the field descriptor of the table itself
** does; CREATE FROM joins them again.
*/
#include "areas.h"
#include "bulk.h"
#include "dbfidx.h"
#include "facade.h"
#include "kernel.h"
#include "tableint.hpp"
#include "vlgen.h"

using namespace vlbulk;

namespace {

constexpr char kAppend[] = "APPEND FROM";
constexpr char kCopy[] = "COPY TO";
constexpr char kCopyStruct[] = "COPY STRUCT";
constexpr char kCopyExtended[] = "COPY STRUCT EXTE";
constexpr char kCreate[] = "CREATE FROM";

constexpr int32_t kLenLimit = 999;  // the largest FIELD_LEN holds
constexpr int32_t kLenSplit = 256;  // text lengths split into low and high byte

// The structure of a structure-extended table.
const std::vector<FieldDesc>& extended_struct()
{
  static const std::vector<FieldDesc> rows = {
      {"FIELD_NAME", 'C', 11, 0}, {"FIELD_TYPE", 'C', 1, 0}, {"FIELD_LEN", 'N', 3, 0}, {"FIELD_DEC", 'N', 4, 0}};
  return rows;
}

// The selected area's rows for the names given (all for none); false
// after reporting a name the area lacks.
bool struct_rows(const std::vector<std::string>& names, std::vector<FieldDesc>& out, const char* command)
{
  const std::vector<FieldDesc> all = area_struct();
  if (names.empty()) {
    out = all;
    return !out.empty();
  }
  for (const std::string& name : names) {
    const int i = desc_index(all, name);
    if (i < 0) {
      prg_error(kEmptyFieldList, command, name.c_str());
      return false;
    }
    out.push_back(all[size_t(i)]);
  }
  return true;
}

// COPY STRUCTURE of names (all for none) into file; false after a report.
bool copy_structure(Run& run, var* file, var* fields, var* driver, const char* command)
{
  if (!need_table(command)) return false;
  if (!is_text(file)) {
    prg_error(kFileNameExpected, command);
    return false;
  }
  std::vector<std::string>& names = run.names;
  names = list_fields(fields);
  std::vector<FieldDesc>& rows = run.descs;
  if (!struct_rows(names, rows, command)) return false;
  return create_table(file, rows, driver_or_current(driver), area_perms());
}

// Fill the extended table in area n with a record per row.
void write_extended(const std::vector<FieldDesc>& rows, int n)
{
  select_area(n);
  for (const FieldDesc& d : rows) {
    _bb_dbappend(0, nullptr);
    const bool split = (d.type == 'C') && d.len > kLenLimit;
    const char type[2] = {d.type, '\0'};
    var* values[] = {text_var(d.name), set_cv(type), set_Iv(split ? d.len % kLenSplit : d.len),
                     set_Iv(split ? d.len / kLenSplit : d.dec)};
    for (int i = 0; i < 4; ++i) {
      var* args[] = {set_Iv(i + 1), values[i]};
      _bb_fieldput(2, args);
    }
  }
}

// The rows of the extended table in the selected area.
std::vector<FieldDesc> read_extended()
{
  std::vector<FieldDesc> rows;
  _bb_dbgotop(0, nullptr);
  while (!vlnLogVar(_bb_eof(0, nullptr))) {
    FieldDesc d;
    d.name = text_of(vlnGetCField("FIELD_NAME"));
    while (!d.name.empty() && d.name.back() == ' ') d.name.pop_back();
    const std::string type = text_of(vlnGetCField("FIELD_TYPE"));
    d.type = type.empty() ? ' ' : type[0];
    d.len = vlnIntVar(vlnGetCField("FIELD_LEN"));
    d.dec = vlnIntVar(vlnGetCField("FIELD_DEC"));
    if (d.type == 'C' && d.dec > 0) d.len += d.dec * kLenSplit, d.dec = 0;
    rows.push_back(d);
    var* one[] = {set_Iv(1)};
    _bb_dbskip(1, one);
  }
  return rows;
}

bool append_from(Run& run, int argc, var** argv)
{
  if (!need_table(kAppend)) return false;
  var* file = arg(argc, argv, 0);
  if (!is_text(file)) {
    prg_error(kFileNameExpected, kAppend);
    return false;
  }
  std::vector<std::string>& names = run.names;
  names = list_fields(arg(argc, argv, 1));
  if (names.empty()) names = area_fields();
  std::vector<FieldDesc>& target = run.descs;
  target = area_struct();
  const int source = run.open(driver_or_current(arg(argc, argv, 7)), file, temp_alias("__app"), true);
  if (!source) {
    prg_error(kCannotOpenSource, kAppend, text_of(file).c_str());
    return false;
  }
  const std::vector<FieldDesc> from = area_struct();
  Copier& c = run.copier;
  for (const std::string& name : names) {
    const int s = desc_index(from, name), t = desc_index(target, name);
    if (s >= 0 && t >= 0) c.pairs.push_back({s + 1, t + 1, from[size_t(s)].type, target[size_t(t)].type});
  }
  if (c.pairs.empty()) {
    prg_error(kEmptyFieldList, kAppend);
    return false;
  }
  c.command = kAppend, c.source = source, c.target = run.back, c.convert = true, c.wait = true;
  var* scope[kScopeArgs];
  take_scope(argc, argv, 2, scope);
  copy_scope(c, scope);
  if (c.stopped) prg_error(kTargetLocked, kAppend);
  return true;
}

bool copy_to(Run& run, int argc, var** argv)
{
  var* file = arg(argc, argv, 0);
  var* driver = arg(argc, argv, 7);
  if (!copy_structure(run, file, arg(argc, argv, 1), driver, kCopy)) return false;
  Copier& c = run.copier;
  for (size_t i = 0; i < run.descs.size(); ++i) {
    const FieldDesc& d = run.descs[i];
    c.pairs.push_back({field_pos(d.name), int(i) + 1, d.type, d.type});
  }
  const int target = run.open(driver_or_current(driver), file, temp_alias("__cpy"), false);
  if (!target) {
    prg_error(kCannotOpenTarget, kCopy, text_of(file).c_str());
    return false;
  }
  select_area(run.back);
  c.command = kCopy, c.source = run.back, c.target = target;
  c.use_raw();
  var* scope[kScopeArgs];
  take_scope(argc, argv, 2, scope);
  copy_scope(c, scope);
  return true;
}

bool copy_extended(Run& run, var* file)
{
  if (!need_table(kCopyExtended)) return false;
  if (!is_text(file)) {
    prg_error(kFileNameExpected, kCopyExtended);
    return false;
  }
  run.developer_mode();
  run.descs = area_struct();
  var* driver = driver_or_current(NIL_VAR);
  if (!create_table(file, extended_struct(), driver, area_perms())) return false;
  const int n = run.open(driver, file, temp_alias("__cpy"), false);
  if (!n) {
    prg_error(kCannotOpenTarget, kCopyExtended, text_of(file).c_str());
    return false;
  }
  write_extended(run.descs, n);
  return true;
}

// CREATE [FROM]: the new table is left open in the selected area (the
// lowest free one for new); on failure the caller's area is selected.
bool create_from(Run& run, int argc, var** argv)
{
  var* file = arg(argc, argv, 0);
  var* extended = arg(argc, argv, 1);
  if (!is_text(file)) {
    prg_error(kFileNameExpected, kCreate);
    return false;
  }
  var* newflag = arg(argc, argv, 3);
  if (newflag->Type == 'L' && vlnLogVar(newflag)) {
    var* zero[] = {text_var("0")};
    _bb_dbselectar(1, zero);
  }
  const int home = selected_area();
  var* driver = driver_or_current(arg(argc, argv, 2));
  run.developer_mode();
  bool made;
  if (!is_text(extended)) {
    made = create_table(file, extended_struct(), driver, 0);
  } else {
    const int n = run.open(driver, extended, temp_alias("__cre"), true);
    if (!n) {
      prg_error(kCannotOpenSource, kCreate, text_of(extended).c_str());
      return false;
    }
    run.descs = read_extended();
    const int32_t perms = area_perms();
    close_area(n, home);
    run.opened.clear();
    made = create_table(file, run.descs, driver, perms);
  }
  if (!made) return false;
  select_area(home);
  var* alias = arg(argc, argv, 4);
  var* args[] = {FALSE_VAR, driver, file, is_text(alias) ? alias : NIL_VAR};
  if (!vlnLogVar(_bb_dbusearea(4, args))) return false;
  run.back = home;
  return true;
}

}  // namespace

VLN_FUNC(__dbapp)
{
  return guarded_run([&](Run& run) { return append_from(run, argc, argv) ? TRUE_VAR : FALSE_VAR; });
}

VLN_FUNC(__dbcopy)
{
  return guarded_run([&](Run& run) { return copy_to(run, argc, argv) ? TRUE_VAR : FALSE_VAR; });
}

VLN_FUNC(__dbcopyst)
{
  return guarded_run([&](Run& run) {
    return copy_structure(run, arg(argc, argv, 0), arg(argc, argv, 1), NIL_VAR, kCopyStruct) ? TRUE_VAR : FALSE_VAR;
  });
}

VLN_FUNC(__dbcopyxs)
{
  return guarded_run([&](Run& run) { return copy_extended(run, arg(argc, argv, 0)) ? TRUE_VAR : FALSE_VAR; });
}

VLN_FUNC(__dbcreate)
{
  return guarded_run([&](Run& run) { return create_from(run, argc, argv) ? TRUE_VAR : FALSE_VAR; });
}
