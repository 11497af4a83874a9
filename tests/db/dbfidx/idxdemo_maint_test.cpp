// Two orders of one table kept up under random work from a fixed seed:
// appends, replaces of either key or both (also right after a move in
// either order), deletes, recalls, and now and then a PACK.  Every thousand
// operations the table is closed and the independent checker reads both
// index files: it must find nothing wrong, and no operation may report.
#include <random>

#include "idxdemo.h"

using namespace idxdemo;

namespace {

// The operations as blocks of (record, name, number), with their weights in
// a thousand.  Order 1 is UPPER(NAME); order 2 is NUM, DESCEND, for the
// numbers not divisible by 3.
const std::pair<const char*, unsigned> kOps[] = {
    {"{|n, s, v| DBAPPEND(), FIELDPUT(1, s), FIELDPUT(2, v)}", 300},
    {"{|n, s, v| DBGOTO(n), FIELDPUT(1, s)}", 100},
    {"{|n, s, v| DBGOTO(n), FIELDPUT(2, v)}", 100},
    {"{|n, s, v| DBGOTO(n), FIELDPUT(1, s), FIELDPUT(2, v)}", 100},
    {"{|n, s, v| DBGOTO(n), DBDELETE()}", 120},
    {"{|n, s, v| DBGOTO(n), DBRECALL()}", 80},
    {"{|n, s, v| ORDSETFOCUS(1), DBSEEK(UPPER(s), .T.), DBSKIP(n % 5 - 2), IIF(EOF(), NIL, FIELDPUT(2, v))}", 99},
    {"{|n, s, v| ORDSETFOCUS(2), DBSEEK(v, .T.), DBSKIP(n % 5 - 2), IIF(EOF(), NIL, FIELDPUT(1, s))}", 99},
    {"{|n, s, v| __DBPACK()}", 2},
};
#ifdef __SANITIZE_ADDRESS__
constexpr long kRun = 20000;  // the sanitizers' build runs a tenth
#else
constexpr long kRun = 200000;
#endif
constexpr long kCheckEvery = 1000;
constexpr long kFull = 4000;  // from this many records on, a delete takes an append's turn
constexpr char kReopen[] = "DBUSEAREA(.T., , 't', , .F.), ORDLISTADD('a'), ORDLISTADD('b')";

using Maintenance = Area;

TEST_F(Maintenance, TwoOrdersStaySoundUnderRandomWork)
{
  const long ops = long_run() ? 5 * kRun : kRun;
  ASSERT_TRUE(truth("DBCREATE('t', {{'NAME', 'C', 12, 0}, {'NUM', 'N', 8, 0}}), DBUSEAREA(.T., , 't', , .F.), "
                    "ORDCREATE('a', , 'UPPER(NAME)') .AND. ORDCONDSET('NUM % 3 != 0', {|| NUM % 3 != 0}, , , , , , , , , .T.) "
                    ".AND. ORDCREATE('b', , 'NUM')"));
  eval("DBCLOSEALL()");
  std::mt19937 rng(20240);
  const char* cases[] = {"ab", "AB", "Ab", "aB"};
  for (long op = 0; op < ops; ++op) {
    ASSERT_TRUE(op % kCheckEvery || truth(kReopen)) << "operation " << op;
    const long count = num("LASTREC()");
    unsigned pick = rng() % 1000, i = 0;
    while (count > 0 && pick >= kOps[i].second) pick -= kOps[i++].second;
    if (i == 0 && count >= kFull) i = 4;
    const std::string name = cases[rng() % 4] + std::to_string(rng() % 4000);
    vl_call(exp_evalb, {eval(kOps[i].first), set_Iv(int32_t(1 + rng() % std::max(count, 1L))), set_cv(name.c_str()),
                        set_Iv(int32_t(rng() % 1000))});
    ASSERT_TRUE(reports().empty()) << "operation " << op << " (" << kOps[i].first << "): " << reports()[0].code << " "
                                   << reports()[0].description;
    sweep();
    if ((op + 1) % kCheckEvery == 0) {
      eval("DBCLOSEALL()");
      ASSERT_EQ(problems("t.dbf", "a.idx") + problems("t.dbf", "b.idx"), "") << "after operation " << op + 1;
    }
  }
}

}  // namespace
