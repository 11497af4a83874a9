// Damaged and foreign index files.  Each case damages the index of a good
// table (200 records, an order three sectors deep), opens it shared and
// exclusive, and walks, seeks and skips through it: the driver must say
// what is wrong in its own words, must not crash or hang (a watchdog ends
// the program), and must leave the table's bytes as they were; the checker
// must find the damage too.
#include "idxdemo.h"

using namespace idxdemo;

namespace {

uint32_t get(const std::string& s, size_t at) { return vl::dbf_get32(reinterpret_cast<const uint8_t*>(&s[at])); }
void put(std::string& s, size_t at, uint32_t v) { vl::dbf_put32(reinterpret_cast<uint8_t*>(&s[at]), v); }
size_t root(const std::string& s) { return size_t(get(s, vl::IDXH_ROOT)) << vl::IDX_SECTOR_SHIFT; }
void expr(std::string& s, const char* text) { s.replace(vl::IDXH_KEYEXPR, strlen(text) + 1, text, strlen(text) + 1); }

const struct Case {
  const char* what;
  void (*damage)(std::string& idx, const std::string& other);
  int code;
  const char* text;
} kCases[] = {
    {"an index of another table", [](std::string& i, const std::string& o) { i = o; }, 902, "index was created with other DBF"},
    {"a truncated file", [](std::string& i, const std::string&) { i.resize(i.size() - 700); }, 412, ";sector "},
    {"a sector with more keys than fit",
     [](std::string& i, const std::string&) { put(i, root(i) + vl::IDXS_KEYCNT, get(i, vl::IDXH_MAXKEYS) + 2); }, 412, ";sector "},
    {"a child pointer back to the root",
     [](std::string& i, const std::string&) { put(i, root(i) + vl::IDX_SEC_HEAD, get(i, vl::IDXH_ROOT)); }, 412, ";sector "},
    {"a key expression that does not compile", [](std::string& i, const std::string&) { expr(i, "K +* )"); }, 309, ""},
    {"a key expression of the wrong type", [](std::string& i, const std::string&) { expr(i, "N"); }, 317, "key type"},
};

using BadIndex = Area;

TEST_F(BadIndex, DamageIsReportedInTheDriversWordsAndTheTableIsUntouched)
{
  // Tables u and t of 200 records each (keys in another order), with an order on K.
  for (const std::string name : {"u", "t"}) {
    ASSERT_TRUE(truth("DBCREATE('" + name + "', {{'K', 'C', 20, 0}, {'N', 'N', 6, 0}}), DBUSEAREA(.T., , '" + name + "', , .F.)"));
    eval("AEVAL(ARRAY(200), {|x, i| DBAPPEND(), FIELDPUT(1, 'k' + LTRIM(STR(i * " + std::to_string(name == "u" ? 17 : 13) +
         " % 211))), FIELDPUT(2, i)})");
    EXPECT_TRUE(truth("ORDCREATE('" + name + "', , 'K')"));
    eval("DBCLOSEALL()");
  }
  const std::string dbf = dir_.read("t.dbf"), good = dir_.read("t.idx"), other = dir_.read("u.idx");
  ASSERT_GT(good.size(), 8u * vl::IDX_SECTOR) << "an order of several sectors";
  for (const Case& c : kCases) {
    for (const char* shared : {".T.", ".F."}) {
      SCOPED_TRACE(std::string(c.what) + (shared[1] == 'T' ? ", shared" : ", exclusive"));
      std::string idx = good;
      c.damage(idx, other);
      dir_.write("t.idx", idx);
      reports().clear();
      {
        const Watchdog dog(20);
        eval(std::string("DBUSEAREA(.T., , 't', , ") + shared + "), ORDLISTADD('t'), DBGOTOP(), DBSKIP(300), " +
             "DBGOBOTTOM(), DBSKIP(-300), DBSEEK('k1'), DBSEEK('k5', .T.), DBSKIP(3), DBCLOSEALL()");
      }
      std::string seen;
      for (const auto& r : reports()) seen += "\n  " + std::to_string(r.code) + " " + r.description;
      EXPECT_TRUE(reported(c.code, c.text)) << "reports:" << seen;
      EXPECT_TRUE(dir_.read("t.dbf") == dbf) << "the table changed";
      dir_.write("t.idx", idx);
      EXPECT_NE(problems("t.dbf", "t.idx"), "") << "the checker finds nothing";
      sweep();
    }
  }
}

}  // namespace
