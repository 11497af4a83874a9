// The ASCII driver: each line format read into the decoded fields, the
// reading of awkward lines, the scope of skip, and the refusals of init.
#include <string>

#include "../dbfidx/dbftest.h"

namespace {

using dbftest::InDir;

constexpr char kStruct[] = "{{'A','C',5,0},{'N','N',8,2},{'D','D',8,0},{'L','L',1,0}}";

class Ascii : public InDir {
 protected:
  // Every record of the object opened by open (assigned to o): its fields
  // as shown, "|" after each, "/" after each record.
  static std::string records(const std::string& open, int fields = 4)
  {
    exp_eval(("o := " + open).c_str());
    std::string out;
    for (int guard = 0; guard < 100 && !vlnLogVar(exp_eval("o:eof")); ++guard) {
      for (int i = 1; i <= fields; ++i)
        out += vltest::shown(exp_eval(("o:fieldget(" + std::to_string(i) + ")").c_str())) + "|";
      out += "/";
      exp_eval("o:skip()");
    }
    return out;
  }
  std::string read(const std::string& text, const std::string& delim, const std::string& st = kStruct)
  {
    dir_.write("t.txt", text);
    run("SET(4, 'yyyy-mm-dd')");
    return records("ASCIRDDNEW('t', " + st + ", " + delim + ")", 4);
  }
};

TEST_F(Ascii, EachFormatDecodesItsFields)
{
  struct Case {
    const char* text;
    const char* delim;
    const char* want;
  } cases[] = {
      // DELIMITED: quotes off every field, blanks before a quote skipped,
      // a doubled quote kept once, over-long values cut and skipped.
      {"\"ab\",12.5,20240131,T\n", "NIL", "ab   |12.50|2024-01-31|.T.|/"},
      {"  \"ab\" , \"-3\",\"20240131\",F\n", "NIL", "ab   |-3.00|2024-01-31|.F.|/"},
      {"\"a\"\"b\",1,,T\n", "NIL", "a\"b  |1.00|    -  -  |.T.|/"},
      {"\"abcdefgh, ij\",7,19991231,T\n", "NIL", "abcde|7.00|1999-12-31|.T.|/"},
      {"abcdefgh,7\n", "NIL", "abcde|7.00|    -  -  |.F.|/"},
      {" x ,,,\n", "NIL", " x   |0.00|    -  -  |.F.|/"},
      {"'q,r',1e3\n", "\"'\"", "q,r  |1000.00|    -  -  |.F.|/"},
      // Line ends: CRLF, a middle empty line as a blank record, a trailing
      // 0x1A mark, a last line without newline.
      {"a,1\r\n\r\nb,2\r\n\x1A", "NIL", "a    |1.00|    -  -  |.F.|/     |0.00|    -  -  |.F.|/b    |2.00|    -  -  |.F.|/"},
      {"a,1\n\nb,2", "NIL", "a    |1.00|    -  -  |.F.|/     |0.00|    -  -  |.F.|/b    |2.00|    -  -  |.F.|/"},
      {"a,1\n\n", "NIL", "a    |1.00|    -  -  |.F.|/"},
      // SDF: fixed columns, a short line padded.
      {"abcde   -1.5020240131T\nxy\n", "''", "abcde|-1.50|2024-01-31|.T.|/xy   |0.00|    -  -  |.F.|/"},
      // Blank-separated: blanks and tabs between fields, long runs cut.
      {"  abcdefg\t 42   20240131 T\n", "' '", "abcde|42.00|2024-01-31|.T.|/"},
      // Bytes of any value pass through a text field.
      {"\x01\xff\x7f" "b,3\n", "NIL", "\x01\xff\x7f" "b |3.00|    -  -  |.F.|/"},
  };
  for (const Case& c : cases) EXPECT_EQ(read(c.text, c.delim), c.want) << c.text;
}

TEST_F(Ascii, LongLinesAndEmptyFiles)
{
  const std::string longline = "\"" + std::string(70000, 'x') + "\"," + std::string(70000, '9') + "\n";
  EXPECT_EQ(read(longline + "b,2\n", "NIL"), "xxxxx|99999999.00|    -  -  |.F.|/b    |2.00|    -  -  |.F.|/");
  EXPECT_EQ(read("", "NIL"), "");
  EXPECT_EQ(read("\x1A", "NIL"), "");
  run("o:recno", "0");
  run("o:used", ".T.");
}

TEST_F(Ascii, ScopeOfSkip)
{
  dir_.write("s.txt", "1\n2\n3\n4\n5\n6\n");
  const std::string st = "{{'K','N',2,0}}";
  auto scoped = [&](const std::string& args) {
    return records("ASCIRDDNEW('s', " + st + ", NIL" + args + ")", 1);
  };
  EXPECT_EQ(scoped(", {|| K % 2 == 0}"), "2|/4|/6|/");
  EXPECT_EQ(scoped(", , {|| K < 4}"), "1|/2|/3|/");
  run("o:recno", "3");  // the line that ended the while is not consumed
  EXPECT_EQ(scoped(", , , 2"), "1|/2|/");
  EXPECT_EQ(scoped(", {|| K > 1}, , 3"), "2|/3|/");
  EXPECT_EQ(scoped(", , , , 5"), "5|/");
  run("o:recno", "5");
  run("DBCLOSEALL(), DBSELECTAREA(7)");
  EXPECT_EQ(scoped(", , {|| K < 5}, , , .F."), "1|/2|/3|/4|/");
  run("SELECT()", "7");
}

TEST_F(Ascii, AreaFieldsAndMessages)
{
  dir_.write("w.txt", "\"ab\",5\n\"cd\",6\n");
  exp_eval("o := ASCIRDDNEW('w', {{'Name','c',4,0},{'qty','N',3,0}})");
  run("NAME + '/' + STR(QTY, 3) + '/' + STR(W->QTY, 3)", "ab  /  5/  5");
  run("{o:fieldpos(' name '), o:fieldpos('NONE')}", "{1, 0}");
  run("o:fieldpos('qty')", "2");
  run("o:fieldget({})", "#317");
  run("o:bof", "#344");
  run("o:goto(1)", "#343");
  run("o:driver", "ASCIRDD");
  run("o:skip(), QTY", "6");
  run("o:skip()", "0");
  run("o:close(), o:used", ".F.");
  run("USED()", ".F.");
  run("o := ASCIRDDNEW(), o:used", ".F.");
  run("ASCAN(RDDLIST(), 'ASCIRDD') > 0", ".T.");
}

TEST_F(Ascii, InitRefusals)
{
  dir_.write("e.txt", "x\n");
  const std::string area = vltest::shown(exp_eval("SELECT()"));
  struct Case {
    const char* args;
    const char* want;
  } cases[] = {
      {"'e', 'abc'", "#312"},
      {"'e', {{'A','C',5}}", "#312"},
      {"'e', {{'A', 1, 5, 0}}", "#312"},
      {"'e', {{'ABCDEFGHIJK','C',5,0}}", "#313"},
      {"'e', {{'A','',5,0}}", "#313"},
      {"'e', {{'A','C',0,0}}", "#313"},
      {"'e', {{'A','N',21,0}}", "#320"},
      {"'e', {{'A','N',10,19}}", "#320"},
      {"'e', {{'A','M',10,0}}", "#317"},
      {"'e', {{'A','X',1,0}}", "#317"},
      {"123, {{'A','C',5,0}}", "#317"},
  };
  for (const Case& c : cases) {
    run(std::string("o := ASCIRDDNEW(") + c.args + ")", c.want);
    run("{SELECT(), NETERR(), USED()}", ("{" + area + ", .T., .F.}").c_str());
  }
  run("o := ASCIRDDNEW('missing', {{'A','C',5,0}}), o:used", ".F.");
  run("NETERR()", ".T.");
}

}  // namespace
