// Interchange with outside DBF tools.  Tables this driver writes are read
// by python3-dbfread, python3-dbf, ogrinfo and dbview and compared field for
// field with what was written; tables python3-dbf and ogr2ogr write are read
// by this driver value for value.  The outside side is dbf_oracle.py beside
// this file.  Both directions describe a table in an expectation file:
//   table <path>
//   readers <reader>...          which readers read it (driver-written only)
//   field <NAME> <type> <length> <decimals>
//   rec <0|1>                    1: deleted; then one val per field
//   val <value>
// A value is canonical text, escaped (backslash as \\, bytes outside
// 0x20..0x7e as \xNN): 'C' without trailing blanks, 'N'/'F' as "%.17g" of
// the number, 'D' as YYYYMMDD, 'L' as T or F, the empty text for a blank
// field; 'M' as "<block>:<text>", the block the memo starts at, empty when
// it has none or it is not known.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <sys/wait.h>

#include "dates.h"
#include "dbfidx.h"
#include "dbftest.h"
#include "facade.h"

namespace {

constexpr char kPython[] = "/usr/bin/python3";
constexpr char kScript[] = VL_SOURCE_DIR "/tests/db/dbfidx/dbf_oracle.py";
constexpr char kAllReaders[] = "dbfread dbf ogrinfo dbview";
constexpr int kMemoBlock = 512;
constexpr int kNumOverflow = 205;

struct Field { std::string name; char type; int len, dec; };
// What FIELDPUT stores in one field, as text: 'C'/'M' the text, 'N'/'F' the
// number, 'D' YYYYMMDD or "" for the empty date, 'L' "T" or "F".  A record
// shorter than the field list leaves the rest as DBAPPEND made them.
using Cell = std::optional<std::string>;
struct Rec { bool deleted; std::vector<Cell> cells; };
struct Table {
  std::string name;
  const char* readers;
  std::vector<Field> fields;
  std::vector<Rec> recs;
  char whole = 0;  // 'P': packed after writing, 'Z': zapped
};

// n bytes of printable text; with breaks, lines end in CR LF.
std::string filler(size_t n, bool breaks)
{
  static const std::string line = "The quick brown fox jumps over the lazy dog 0123456789.";
  std::string out;
  while (out.size() < n) out += breaks ? line + "\r\n" : line + " ";
  out.resize(n);
  return out;
}

// ---- The tables the driver writes. ----

std::vector<Table> driver_tables()
{
  std::vector<Table> t;
  t.push_back({"types", kAllReaders,
                {{"NAME", 'C', 20, 0}, {"AMT", 'N', 10, 2}, {"CNT", 'N', 5, 0},
                 {"BIG", 'N', 19, 0}, {"SMALL", 'N', 5, 2}, {"BORN", 'D', 8, 0},
                 {"OK", 'L', 1, 0}, {"RATE", 'F', 12, 3}, {"CUT", 'F', 10, 2}},
                {{false, {"Smith", "12.5", "42", "1234567890123456", "1.25", "20200102", "T",
                          "3.125", "0.5"}},
                 {true, {"Gone", "1", "1", "0", "-9.99", "19991231", "F", "1.5", "-0.25"}},
                 {false, {}},
                 // 123.45 overflows N 5,2 (blanks); 12345678901 is kept as "1.2346e+10"
                 {false, {"a:b|c\"d'e  ", "-12.5", "-42", "-987654321", "123.45", "", "F",
                          "-2e+20", "12345678901"}},
                 {false, {std::string(25, 'x'), "0", "0", "-999999999999999", "0",
                          "00010101", "T", "0.001", "1e+09"}},
                 {false, {"  leading", "99999.99", "99999", "1", "-1", "99991231", "F", "0",
                          "1234567.5"}},
                 {true, {"last", "0.01", "-1", "-1", "0.01", "20000229", "T", "-0.5", "0"}}}});
  const auto memo = [](size_t n) { return filler(n, true); };
  t.push_back({"memo", kAllReaders,
               {{"ID", 'N', 4, 0}, {"NOTE", 'M', 10, 0}, {"TAG", 'C', 5, 0}},
               {{false, {"1", "", "none"}},
                {false, {"2", memo(1), "one"}},
                {true, {"3", memo(1), "del"}},
                {false, {"4", memo(512), "512"}},
                {false, {"5", memo(513), "513"}},
                {false, {"6", memo(100000), "100k"}},
                {false, {"7"}}}});
  // The same table packed (the deleted record and its memo go, the memos
  // move up) and zapped, as every reader sees them.
  for (const char whole : {'P', 'Z'}) {
    Table copy = t[1];
    copy.name = whole == 'P' ? "packed" : "zapped";
    copy.whole = whole;
    t.push_back(copy);
  }
  // A memo that fills its last block has its one 0x1A at the block's end,
  // which python-dbf (looking for two) cannot read.
  t.push_back({"memofull", "dbfread ogrinfo dbview",
               {{"ID", 'N', 4, 0}, {"NOTE", 'M', 10, 0}},
               {{false, {"1", memo(511)}}, {false, {"2", memo(1023)}}, {false, {"3", memo(2)}}}});
  t.push_back({"empty", kAllReaders,
               {{"NAME", 'C', 10, 0}, {"AMT", 'N', 8, 3}, {"BORN", 'D', 8, 0},
                {"OK", 'L', 1, 0}, {"NOTE", 'M', 10, 0}, {"RATE", 'F', 10, 2}},
               {}});
  Table wide{"wide", kAllReaders, {}, {{false, {}}, {true, {}}, {false, {}}}};
  static const Field kinds[] = {{"", 'C', 6, 0}, {"", 'N', 5, 0}, {"", 'D', 8, 0},
                                {"", 'L', 1, 0}, {"", 'N', 7, 2}};
  for (int i = 1; i <= 128; ++i) {
    Field f = kinds[i % 5];
    f.name = "F" + std::string(i < 10 ? "00" : i < 100 ? "0" : "") + std::to_string(i);
    wide.fields.push_back(f);
    for (size_t r = 0; r < wide.recs.size(); ++r) {
      const int k = static_cast<int>(r) * 1000 + i;
      char text[24];
      switch (f.type) {
        case 'C': std::snprintf(text, sizeof text, "c%d", k); break;
        case 'D': std::snprintf(text, sizeof text, "2024%02d%02d", i % 12 + 1, k / 1000 * 9 + 1); break;
        case 'L': std::snprintf(text, sizeof text, "%s", k % 2 ? "T" : "F"); break;
        default: std::snprintf(text, sizeof text, "%d%s", k, f.dec ? ".25" : "");
      }
      wide.recs[r].cells.push_back(std::string(text));
    }
  }
  t.push_back(wide);
  t.push_back({"longc", kAllReaders,
               {{"A", 'C', 254, 0}, {"B", 'C', 254, 0}, {"N", 'N', 3, 0}},
               {{false, {filler(254, false), filler(200, false), "7"}},
                {true, {filler(300, false), "b", "8"}},
                {false, {"", filler(254, false), "9"}}}});
  // An 11-character name fills its 11 bytes; a text of 300 keeps the high
  // byte of its length in the decimals byte.  dbview and ogrinfo read
  // neither.
  t.push_back({"beyond", "dbfread dbf",
               {{"ELEVENCHARS", 'C', 300, 0}, {"N", 'N', 3, 0}},
               {{false, {filler(300, false), "7"}}, {true, {"x", "8"}}}});
  return t;
}

// ---- What each field must read as, by the storage rules. ----

std::string escaped(const std::string& text)
{
  std::string out;
  for (unsigned char c : text) {
    char hex[5];
    std::snprintf(hex, sizeof hex, "\\x%02x", c);
    out += c == '\\' ? "\\\\" : c < 0x20 || c > 0x7e ? hex : std::string(1, char(c));
  }
  return out;
}

std::string rtrim(std::string s) { return s.erase(s.find_last_not_of(' ') + 1); }
std::string canon_number(double d) { char buf[32]; return std::string(buf, std::snprintf(buf, sizeof buf, "%.17g", d)); }

// The text a number field holds: N as "%*.*f", F as "%*.*g" with the
// precision lowered until it fits; "" (blanks) when nothing fits.
std::string stored_number(const Field& f, double d)
{
  char buf[400];
  if (f.type == 'N') {
    std::snprintf(buf, sizeof buf, "%*.*f", f.len, f.dec, d);
    return static_cast<int>(std::strlen(buf)) <= f.len ? buf : "";
  }
  for (int prec = f.len; prec > 0; --prec) {
    std::snprintf(buf, sizeof buf, "%*.*g", f.len, prec, d);
    if (static_cast<int>(std::strlen(buf)) <= f.len) return buf;
  }
  return "";
}

// The canonical value of one field; next_block is the memo file's next free
// block, advanced for a memo that takes blocks.
std::string expected(const Field& f, const Cell& cell, int& next_block)
{
  if (!cell) return f.type == 'M' ? ":" : "";
  switch (f.type) {
    case 'C': return rtrim(cell->substr(0, f.len));
    case 'M': {
      if (cell->empty()) return ":";
      const int block = next_block;
      next_block += static_cast<int>((cell->size() + kMemoBlock) / kMemoBlock);
      return std::to_string(block) + ":" + *cell;
    }
    case 'N': case 'F': {
      const std::string text = stored_number(f, std::strtod(cell->c_str(), nullptr));
      return text.empty() ? "" : canon_number(std::strtod(text.c_str(), nullptr));
    }
    default: return *cell;
  }
}

// ---- Calls into the driver. ----

var* call(BbFn fn, std::vector<var*> args) { return fn(static_cast<int>(args.size()), args.data()); }
var* text_var(const std::string& s) { return set_Cvar(cre_tmpvar(), s.data(), static_cast<int32_t>(s.size())); }

var* value_var(const Field& f, const std::string& text)
{
  switch (f.type) {
    case 'N': case 'F': return set_nv(std::strtod(text.c_str(), nullptr), f.dec);
    case 'D': return call(_bb_stod, {text_var(text)});
    case 'L': return text == "T" ? TRUE_VAR : FALSE_VAR;
    default: return text_var(text);
  }
}

bool open_table(const std::string& path, bool readonly)
{
  var* ok = call(_bb_dbusearea, {TRUE_VAR, NIL_VAR, text_var(path), NIL_VAR, FALSE_VAR,
                                 readonly ? TRUE_VAR : FALSE_VAR});
  return ok->Type == 'L' && vlnLogVar(ok);
}

// DBCREATE, then DBAPPEND, FIELDPUT and DBDELETE record by record.
void write_table(const Table& t, const std::string& path)
{
  const int32_t mark = tmpvar_cnt;
  std::string create = "DBCREATE('" + path + "', {";
  for (const Field& f : t.fields)
    create += "{'" + f.name + "', '" + f.type + "', " + std::to_string(f.len) + ", " + std::to_string(f.dec) + "},";
  var* created = exp_eval((create.substr(0, create.size() - 1) + "})").c_str());
  ASSERT_TRUE(created->Type == 'L' && vlnLogVar(created)) << create;
  ASSERT_TRUE(open_table(path, false)) << "DBUSEAREA " << path;
  del_tmpvars(mark);
  for (const Rec& r : t.recs) {
    call(_bb_dbappend, {});
    for (size_t i = 0; i < r.cells.size(); ++i)
      if (r.cells[i]) call(_bb_fieldput, {set_nv(static_cast<double>(i + 1), 0),
                                          value_var(t.fields[i], *r.cells[i])});
    if (r.deleted) call(_bb_dbdelete, {});
    del_tmpvars(mark);
  }
  if (t.whole) call(t.whole == 'P' ? _bb___dbpack : _bb___dbzap, {});
  call(_bb_dbcloseare, {});
  del_tmpvars(mark);
}

// The expectation file for the driver's tables, as the rules say they read.
std::string expectations(const std::vector<Table>& tables, const vltest::TempDir& dir)
{
  std::ostringstream out;
  for (const Table& t : tables) {
    out << "table " << (dir / (t.name + ".dbf")) << "\nreaders " << t.readers << "\n";
    for (const Field& f : t.fields)
      out << "field " << f.name << " " << f.type << " " << f.len << " " << f.dec << "\n";
    int next_block = 1;
    for (const Rec& r : t.recs) {
      if (t.whole == 'Z' || (t.whole == 'P' && r.deleted)) continue;
      out << "rec " << r.deleted << "\n";
      for (size_t i = 0; i < t.fields.size(); ++i)
        out << "val "
            << escaped(expected(t.fields[i], i < r.cells.size() ? r.cells[i] : Cell(), next_block))
            << "\n";
    }
  }
  return out.str();
}

// Runs the oracle script; its exit status and everything it printed.
std::pair<int, std::string> run_oracle(const std::string& args)
{
  const std::string command = std::string(kPython) + " -B " + kScript + " " + args + " 2>&1";
  FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) return {-1, "cannot run " + command};
  std::string output;
  char buf[4096];
  for (size_t n; (n = std::fread(buf, 1, sizeof buf, pipe)) > 0;) output.append(buf, n);
  const int status = pclose(pipe);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

using Interchange = dbftest::InDir;
class DriverWrites : public dbftest::InDir, public ::testing::WithParamInterface<const char*> {};

// Every reader shows each table it can represent as the driver wrote it.
// The one number too wide for its field (123.45 in N 5,2) is the only
// report writing gives.
TEST_P(DriverWrites, OutsideReaderShowsWhatWasWritten)
{
  const std::vector<Table> tables = driver_tables();
  for (const Table& t : tables) write_table(t, dir_ / (t.name + ".dbf"));
  ASSERT_EQ(reports().size(), 1u) << "last: " << last_code();
  EXPECT_EQ(last_code(), kNumOverflow);
  dir_.write("expect.txt", expectations(tables, dir_));
  const auto [status, output] = run_oracle(std::string("check ") + GetParam() + " " + (dir_ / "expect.txt"));
  EXPECT_EQ(status, 0) << output;
  if (status == 0) std::fputs(output.c_str(), stdout);
}

INSTANTIATE_TEST_SUITE_P(Readers, DriverWrites,
                         ::testing::Values("dbfread", "dbf", "ogrinfo", "dbview"));

// ---- The other way: the driver reads what outside writers made. ----

// The tables of an expectation file, each named by its path.
std::vector<Table> parse_expectations(const std::string& text)
{
  std::vector<Table> out;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    const std::string key = line.substr(0, line.find(' '));
    const std::string rest = line.size() > key.size() ? line.substr(key.size() + 1) : "";
    if (key == "table") {
      out.push_back({rest, "", {}, {}});
    } else if (key == "field") {
      std::istringstream f(rest);
      Field field;
      f >> field.name >> field.type >> field.len >> field.dec;
      out.back().fields.push_back(field);
    } else if (key == "rec") {
      out.back().recs.push_back({rest == "1", {}});
    } else if (key == "val") {
      out.back().recs.back().cells.push_back(rest);
    }
  }
  return out;
}

// FIELDGET's value in the canonical form, escaped.
std::string canonical(const Field& f, var* v)
{
  switch (f.type) {
    case 'C': return escaped(rtrim(vltest::str(v)));
    case 'M': return ":" + escaped(vltest::str(v));
    case 'N': case 'F': return std::strchr("NFI", v->Type) ? canon_number(vlnNumVar(v)) : "type " + vltest::shown(v);
    case 'D': return v->Type == 'D' ? rtrim(vltest::str(call(_bb_dtos, {v}))) : "type " + vltest::shown(v);
    case 'L': return v->Type == 'L' ? (vlnLogVar(v) ? "T" : "F") : "type " + vltest::shown(v);
    default: return "field type " + std::string(1, f.type);
  }
}

void check_table(const Table& t)
{
  SCOPED_TRACE(t.name);
  const int32_t mark = tmpvar_cnt;
  ASSERT_TRUE(open_table(t.name, true));
  EXPECT_EQ(vlnNumVar(call(_bb_fcount, {})), static_cast<double>(t.fields.size()));
  EXPECT_EQ(vlnNumVar(call(_bb_lastrec, {})), static_cast<double>(t.recs.size()));
  for (size_t i = 0; i < t.fields.size(); ++i)
    EXPECT_EQ(vlnNumVar(call(_bb_fieldpos, {text_var(t.fields[i].name)})),
              static_cast<double>(i + 1))
        << t.fields[i].name;
  for (size_t r = 0; r < t.recs.size(); ++r) {
    call(_bb_dbgoto, {set_nv(static_cast<double>(r + 1), 0)});
    EXPECT_EQ(vlnLogVar(call(_bb_deleted, {})), t.recs[r].deleted) << "record " << r + 1;
    for (size_t i = 0; i < t.fields.size(); ++i) {
      var* v = call(_bb_fieldget, {set_nv(static_cast<double>(i + 1), 0)});
      const std::string& want = t.recs[r].cells.at(i).value();  // a memo's block is not checked
      EXPECT_EQ(canonical(t.fields[i], v), t.fields[i].type == 'M' ? want.substr(want.find(':')) : want)
          << "record " << r + 1 << " field " << t.fields[i].name;
    }
    del_tmpvars(mark);
  }
  call(_bb_dbcloseare, {});
  del_tmpvars(mark);
}

// Tables from python-dbf (memos, an F field, a 'C' 300 in its Clipper
// flavour, names given in lower case) and from ogr2ogr (lower-case names on disk, GDAL's N 24,15 and its "*" and
// "00000000" nulls) read as their writers were told, by this driver's rules.
TEST_F(Interchange, DriverReadsWhatOutsideWritersWrote)
{
  const auto [status, output] = run_oracle("write " + dir_.path());
  ASSERT_EQ(status, 0) << output;
  const std::vector<Table> tables = parse_expectations(dir_.read("expect.txt"));
  ASSERT_EQ(tables.size(), 3u) << output;
  for (const Table& t : tables) check_table(t);
  EXPECT_EQ(reports().size(), 0u) << "first: " << last_code();
}

}  // namespace
