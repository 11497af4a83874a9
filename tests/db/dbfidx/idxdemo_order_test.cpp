// Orders against an independent oracle.  Each case fills a table with keys
// of one kind, drawn from a small pool so that equal keys abound, makes the
// order (on the filled table, or first and then fills it), and holds what
// the driver does against what the test computes itself: a plain sort of
// the keys that pass the FOR condition, equal keys by record number, one
// record per key under UNIQUE, the key order reversed under DESCEND.  SKIP
// must walk exactly that list both ways, SEEK must find the first record
// of every key, and a soft SEEK of a key that is not there must land on the
// next key in the order, or at the end.
#include <algorithm>
#include <random>

#include "idxdemo.h"

using namespace idxdemo;

namespace {

// The collation the test expects of the German language file for the only
// characters it uses (Latin-1): the blank, digits, then the letters, each
// upper case before lower case and an umlaut right after its base letter.
const std::string kNational = " 09Aa\xC4\xE4" "BbOo\xD6\xF6" "Zz";
const std::string kPlain = " 09AZaz~";

// The key field's type, width and decimals; flags: U UNIQUE, D DESCEND,
// F FOR flag = 1, G the German collation.
struct Case {
  const char* what;
  char type;
  int width, dec;
  const char* flags;
};
const Case kCases[] = {
    {"C15_twenty_per_sector", 'C', 15, 0, ""}, {"C1", 'C', 1, 0, ""}, {"C100_descend", 'C', 100, 0, "D"},
    {"C_national", 'C', 6, 0, "G"}, {"C_national_unique_descend", 'C', 6, 0, "GUD"}, {"C_for", 'C', 15, 0, "F"},
    {"N", 'N', 8, 2, ""}, {"N_unique_for_descend", 'N', 8, 2, "UFD"}, {"D", 'D', 8, 0, ""},
    {"D_descend_for", 'D', 8, 0, "DF"}, {"L", 'L', 1, 0, ""}, {"L_unique", 'L', 1, 0, "U"},
};
void PrintTo(const Case& c, std::ostream* os) { *os << c.what; }

// A key as the oracle holds it (text for C, else the number, day or 0/1),
// with its record.
struct Key { std::string text; double num = 0; long recno = 0; };

class Oracle : public Area, public ::testing::WithParamInterface<Case> {
 protected:
  bool has(char flag) const { return strchr(c_.flags, flag) != nullptr; }

  // A random key of the case's kind (C: padded to the width).
  Key draw(std::mt19937& rng) const
  {
    Key k;
    const std::string& letters = has('G') ? kNational : kPlain;
    if (c_.type == 'C') {
      k.text.resize(1 + rng() % c_.width);
      for (char& ch : k.text) ch = letters[rng() % letters.size()];
      k.text.resize(c_.width, ' ');
    }
    // Numbers of two decimals, days (one in ten the blank date), logicals.
    k.num = c_.type == 'N' ? (int(rng() % 2001) - 1000) / 100.0 : c_.type == 'D' ? (rng() % 10 ? 730000 + rng() % 10000 : 0) : rng() % 2;
    return k;
  }
  var* value(const Key& k) const
  {
    return c_.type == 'C' ? set_cv(k.text.c_str()) : c_.type == 'N' ? set_nv(k.num, c_.dec)
           : c_.type == 'D'   ? set_dv(int32_t(k.num)) : set_lv(k.num != 0);
  }
  // Sign of a against b in the order's direction; the record breaks no tie.
  int compare(const Key& a, const Key& b) const
  {
    const auto rank = [&](char ch) { return has('G') ? int(kNational.find(ch)) : int(uint8_t(ch)); };
    int d = c_.type == 'C' ? 0 : (a.num > b.num) - (a.num < b.num);
    for (size_t i = 0; d == 0 && i < a.text.size(); ++i) d = rank(a.text[i]) - rank(b.text[i]);
    return has('D') ? -d : d;
  }
  // Record numbers as SKIP walks the active order from one end to the
  // other (at most limit of them), in forward order either way.
  std::vector<long> walk(bool forward, size_t limit)
  {
    std::vector<long> got;
    eval(forward ? "DBGOTOP()" : "DBGOBOTTOM()");
    if (truth("EOF()")) return got;
    do {
      got.push_back(num("RECNO()"));
      if (got.size() % 4096 == 0) sweep();
    } while (got.size() <= limit && !truth(forward ? "DBSKIP(1), EOF()" : "DBSKIP(-1), BOF()"));
    if (!forward) std::reverse(got.begin(), got.end());
    return got;
  }
  // SEEK of k, soft or not: whether the driver found it, and where it went.
  std::pair<bool, long> seek(const Key& k, bool soft)
  {
    const bool found = vlnLogVar(vl_call(_bb_dbseek, {value(k), set_lv(soft)}));
    return {found, truth("EOF()") ? -1 : num("RECNO()")};
  }
  void check(size_t n, bool orderFirst);

  Case c_ = GetParam();
};

// One table of n records: the fill, the order, and every check.
void Oracle::check(size_t n, bool orderFirst)
{
  SCOPED_TRACE(std::to_string(n) + (orderFirst ? " records appended under the order" : " records, then the order"));
  std::mt19937 rng(n * 7 + orderFirst);
  std::vector<Key> pool(std::max<size_t>(1, n / 3)), want;
  for (Key& k : pool) k = draw(rng);
  ASSERT_TRUE(truth("DBCREATE('t', {{'K', '" + std::string(1, c_.type) + "', " + std::to_string(c_.width) + ", " +
                    std::to_string(c_.dec) + "}, {'F', 'N', 1, 0}}), DBUSEAREA(.F., , 't', , .F.)"));
  const std::string order = std::string("ORDCONDSET(") + (has('F') ? "'F = 1', {|| F = 1}" : ",") + ", , , , , , , , , " +
                            (has('D') ? ".T." : ".F.") + "), ORDCREATE('t', , 'K', , " + (has('U') ? ".T." : ".F.") + ")";
  EXPECT_TRUE(!orderFirst || truth(order));
  for (size_t r = 1; r <= n; ++r) {
    Key k = pool[rng() % pool.size()];
    k.recno = long(r);
    const bool in = !has('F') || rng() % 3;
    vl_call(exp_evalb, {eval("{|k, f| DBAPPEND(), FIELDPUT(1, k), FIELDPUT(2, f)}"), value(k), set_Iv(in)});
    if (in) want.push_back(k);
    if (r % 1024 == 0) sweep();
  }
  EXPECT_TRUE(orderFirst || truth(order));
  const auto before = [&](const Key& a, const Key& b) { return compare(a, b) < 0; };
  std::stable_sort(want.begin(), want.end(), before);
  if (has('U')) want.erase(std::unique(want.begin(), want.end(), [&](auto& a, auto& b) { return !before(a, b); }), want.end());
  EXPECT_TRUE(std::ranges::equal(walk(true, want.size()), want, {}, {}, &Key::recno)) << "SKIP 1 from the top";
  EXPECT_TRUE(std::ranges::equal(walk(false, want.size()), want, {}, {}, &Key::recno)) << "SKIP -1 from the bottom";
  // Every key the order holds, then random keys (mostly absent ones).
  std::vector<Key> probes;
  for (size_t i = 0; i < want.size(); ++i)
    if (i == 0 || before(want[i - 1], want[i])) probes.push_back(want[i]);
  for (int i = 0; i < 200; ++i) probes.push_back(draw(rng));
  for (size_t i = 0; i < probes.size() && !HasFailure(); ++i) {
    const auto next = std::lower_bound(want.begin(), want.end(), probes[i], before);
    const bool there = next != want.end() && !before(probes[i], *next);
    const std::pair<bool, long> at(there, next == want.end() ? -1 : next->recno), none(false, -1);
    EXPECT_EQ(seek(probes[i], false), there ? at : none) << "SEEK of probe " << i << " (found, record; -1: EOF)";
    EXPECT_EQ(seek(probes[i], true), at) << "soft SEEK of probe " << i << " (found, record; -1: EOF)";
    if (i % 1024 == 0) sweep();
  }
  eval("DBCLOSEALL()");
  EXPECT_EQ(problems("t.dbf", "t.idx"), "");
  sweep();
}

TEST_P(Oracle, SkipAndSeekFollowAPlainSort)
{
  ASSERT_TRUE(!has('G') || truth("LOADLANG(1, '" VL_SOURCE_DIR "/data/lang/deutsch.lng'), SETLANG(1) >= 0"));
  std::vector<size_t> sizes = {0, 1, 19, 20, 21, 10000};
  if (long_run()) sizes.push_back(1000000);
  for (size_t n : sizes)
    for (bool orderFirst : {false, true}) check(n, orderFirst);
  eval("SETLANG(0)");
}

INSTANTIATE_TEST_SUITE_P(Keys, Oracle, ::testing::ValuesIn(kCases),
                         [](const ::testing::TestParamInfo<Case>& i) { return std::string(i.param.what); });

}  // namespace
