// COPY TO ... SDF and DELIMITED: the lines are read back by Python's csv
// module and sliced by width here, and compared with what the rows of the
// table say they must be.
#include <cstdio>
#include <string>
#include <vector>

#include "../dbfidx/dbftest.h"

namespace {

struct Sample {
  std::string name;  // C 12
  double amount;     // N 12.2
  double big;        // N 20.0
  const char* born;  // DTOS, "" for the empty date
  bool ok;
};

const std::vector<Sample> kRows = {
    {"  a,b  ", -12.5, 123456789012345.0, "20240229", true},
    {"say \"hi\", x", 0, -987654321, "", false},
    {"", 99999999.99, 0, "19991231", true},
    {"x'y ;", 0.01, 1, "20000101", false},
};
constexpr int kNameLen = 12, kAmountLen = 12, kBigLen = 20;

// An expression giving text, whatever quotes it holds.
std::string literal(const std::string& text)
{
  std::string out = "''";
  for (char c : text) out += c == '\'' ? "+CHR(39)" : std::string("+'") + c + "'";
  return out;
}

std::string fixed(double x, int dec)
{
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.*f", dec, x);
  return buf;
}

std::string rtrim(std::string s) { return s.erase(s.find_last_not_of(' ') + 1); }
std::string right(const std::string& s, size_t width) { return std::string(width - s.size(), ' ') + s; }

// The fields of a row as DELIMITED writes them, before any quoting.
std::vector<std::string> delimited(const Sample& r)
{
  return {rtrim(r.name), fixed(r.amount, 2), fixed(r.big, 0), *r.born ? r.born : "        ", r.ok ? "T" : "F"};
}

class TextCopy : public dbftest::InDir {
 protected:
  void SetUp() override
  {
    InDir::SetUp();
    run("DBCREATE('t', {{'NAME','C',12,0}, {'AMOUNT','N',12,2}, {'BIG','N',20,0}, {'BORN','D',8,0}, "
        "{'OK','L',1,0}, {'NOTE','M',10,0}}), DBUSEAREA(.T., , 't', , .F.)");
    for (const Sample& r : kRows)
      run("DBAPPEND(), FIELDPUT(1, " + literal(r.name) + "), FIELDPUT(2, " + fixed(r.amount, 2) + "), FIELDPUT(3, " +
          fixed(r.big, 0) + "), FIELDPUT(4, STOD('" + r.born + "')), FIELDPUT(5, " + (r.ok ? ".T." : ".F.") +
          "), FIELDPUT(6, 'memo, not copied')");
  }
  // Lines of file name, without their "\n"; every line must have one.
  std::vector<std::string> lines(const std::string& name)
  {
    std::vector<std::string> out;
    std::string text = dir_.read(name);
    EXPECT_TRUE(text.empty() || text.back() == '\n');
    for (size_t at = 0, end; (end = text.find('\n', at)) != std::string::npos; at = end + 1)
      out.push_back(text.substr(at, end - at));
    return out;
  }
  // The rows Python's csv module reads from file name: fields joined by
  // 0x1F, rows by "\n".
  std::vector<std::vector<std::string>> python_csv(const std::string& name)
  {
    const std::string command = "python3 -c 'import csv,sys\nfor r in csv.reader(open(sys.argv[1], newline=\"\")): "
                                "sys.stdout.write(\"\\x1f\".join(r) + \"\\n\")' " + (dir_ / name);
    FILE* pipe = popen(command.c_str(), "r");
    std::string text;
    char buf[4096];
    for (size_t n; pipe && (n = fread(buf, 1, sizeof buf, pipe)) > 0;) text.append(buf, n);
    EXPECT_EQ(pipe ? pclose(pipe) : -1, 0);
    std::vector<std::vector<std::string>> rows;
    for (const std::string& line : split(text, '\n')) rows.push_back(split(line, '\x1f'));
    return rows;
  }
  static std::vector<std::string> split(const std::string& text, char at)
  {
    std::vector<std::string> parts;
    size_t from = 0;
    for (size_t end; (end = text.find(at, from)) != std::string::npos; from = end + 1)
      parts.push_back(text.substr(from, end - from));
    if (at != '\n') parts.push_back(text.substr(from));
    return parts;
  }
};

TEST_F(TextCopy, DelimitedReadsBackThroughPythonCsv)
{
  run("SET(4, 'dd.mm.yy')");
  run("__DBCOPYDE('out')", ".T.");
  std::vector<std::vector<std::string>> want;
  for (const Sample& r : kRows) want.push_back(delimited(r));
  EXPECT_EQ(python_csv("out.txt"), want);
  run("SET(4)", "DD.MM.YY");
  run("DTOC(STOD('20240229'))", "29.02.24");
}

TEST_F(TextCopy, SdfHasTheStructuresWidths)
{
  run("__DBCOPYSD('out.sdf')", ".T.");
  const std::vector<std::string> got = lines("out.sdf");
  ASSERT_EQ(got.size(), kRows.size());
  for (size_t i = 0; i < got.size(); ++i) {
    const Sample& r = kRows[i];
    const std::string want = (r.name + std::string(kNameLen, ' ')).substr(0, kNameLen) +
                             right(fixed(r.amount, 2), kAmountLen) + right(fixed(r.big, 0), kBigLen) +
                             (*r.born ? r.born : "        ") + (r.ok ? "T" : "F");
    EXPECT_EQ(got[i], want) << "row " << i;
  }
}

TEST_F(TextCopy, DelimiterArgument)
{
  struct Case {
    const char* delimiter;
    const char* first_line;
  } cases[] = {
      {"NIL", "\"  a,b\",-12.50,123456789012345,20240229,T"},
      {"' blank '", "  a,b -12.50 123456789012345 20240229 T"},
      {"'|;'", "|  a,b|,-12.50,123456789012345,20240229,T"},
      {"''", "\"  a,b\",-12.50,123456789012345,20240229,T"},
  };
  for (const Case& c : cases) {
    run(std::string("__DBCOPYDE('d', ") + c.delimiter + ", {'name', 'ok'}), DBGOTOP()", ".T.");
    run(std::string("__DBCOPYDE('d', ") + c.delimiter + ")", ".T.");
    EXPECT_EQ(lines("d.txt").at(0), c.first_line) << c.delimiter;
  }
  run("__DBCOPYDE('q', , {'t->NAME', 'NOTE', 'OK'})", ".T.");
  EXPECT_EQ(lines("q.txt").at(1), "\"say \"\"hi\"\", x\",F");
}

TEST_F(TextCopy, ScopesFilterAndDeleted)
{
  struct Case {
    const char* setup;
    const char* copy_args;  // after the file, delimiter and fields
    std::vector<int> rows;  // of kRows, in order
  } cases[] = {
      {"", "{|| OK}", {0, 2}},
      {"DBGOTO(2)", ", , 2", {1, 2}},
      {"DBGOTO(2)", ", , , , .T.", {1, 2, 3}},
      {"DBGOTOP()", ", {|| AMOUNT < 1}", {0, 1}},
      {"", ", , , 3", {2}},
      {"DBGOTO(3), DBDELETE(), SET(11, .T.)", "", {0, 1, 3}},
      {"DBSETFILTER({|| BIG > 0})", "", {0, 3}},
  };
  for (const Case& c : cases) {
    run("SET(11, .F.), DBRECALL(), DBCLEARFILTER(), DBGOTOP()");
    if (*c.setup) run(c.setup);
    run(std::string("__DBCOPYDE('s', , {'BIG'}, ") + c.copy_args + ")", ".T.");
    std::vector<std::string> want;
    for (int i : c.rows) want.push_back(fixed(kRows[i].big, 0));
    EXPECT_EQ(lines("s.txt"), want) << c.copy_args;
  }
}

TEST_F(TextCopy, FailuresLeaveNoFile)
{
  run("__DBCOPYSD(7)", "#312 .F.");
  run("__DBCOPYDE('nodir/x.txt')", "#105 .F.");
  run("SET(4, 'mm/dd/yy')");
  var* e = vl_call(dbftest::guarded, {set_cv("__DBCOPYDE('cut', , , {|| IIF(RECNO() == 3, BREAK(7), .T.)})")});
  EXPECT_EQ(vltest::shown(e), "7");
  run("{SET(4), SELECT(), USED()}", "{MM/DD/YY, 1, .T.}");
  EXPECT_EQ(files().count("cut.txt"), 0u);
  EXPECT_EQ(files().count("nodir"), 0u);
  run("DBCLOSEAREA(), __DBCOPYDE('none')", "#322 .F.");
  EXPECT_EQ(files().count("none.txt"), 0u);
}

}  // namespace
