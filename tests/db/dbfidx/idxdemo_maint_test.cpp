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
const struct {
  const char* block;
  unsigned weight;
} kOps[] = {
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
constexpr long kCheckEvery = 1000;
constexpr char kReopen[] = "DBUSEAREA(.T., , 't', , .F.), ORDLISTADD('a'), ORDLISTADD('b')";

using Maintenance = Area;

TEST_F(Maintenance, TwoOrdersStaySoundUnderRandomWork)
{
  const long ops = long_run() ? 200000 : 20000;
  ASSERT_TRUE(truth("DBCREATE('t', {{'NAME', 'C', 12, 0}, {'NUM', 'N', 8, 0}}), DBUSEAREA(.T., , 't', , .F.)"));
  ASSERT_TRUE(truth("ORDCREATE('a', , 'UPPER(NAME)')"));
  ASSERT_TRUE(truth("ORDCONDSET('NUM % 3 != 0', {|| NUM % 3 != 0}, , , , , , , , , .T.), ORDCREATE('b', , 'NUM')"));
  ASSERT_TRUE(truth("DBCLOSEALL()"));
  std::mt19937 rng(20240);
  const char* cases[] = {"ab", "AB", "Ab", "aB"};
  for (long op = 0; op < ops; ++op) {
    if (op % kCheckEvery == 0) {
      ASSERT_TRUE(truth(kReopen)) << "operation " << op;
    }
    const long count = num("LASTREC()");
    unsigned pick = rng() % 1000, i = 0;
    while (count > 0 && pick >= kOps[i].weight) pick -= kOps[i++].weight;
    const std::string name = cases[rng() % 4] + std::to_string(rng() % 4000);
    vl_call(exp_evalb, {eval(kOps[i].block), set_Iv(int32_t(1 + rng() % std::max(count, 1L))), set_cv(name.c_str()),
                        set_Iv(int32_t(rng() % 1000))});
    for (const auto& r : reports()) ADD_FAILURE() << "operation " << op << " (" << kOps[i].block << "): " << r.code << " " << r.description;
    ASSERT_TRUE(reports().empty());
    sweep();
    if ((op + 1) % kCheckEvery == 0) {
      ASSERT_TRUE(truth("DBCLOSEALL()"));
      ASSERT_EQ(problems("t.dbf", "a.idx") + problems("t.dbf", "b.idx"), "") << "after operation " << op + 1;
    }
  }
}

}  // namespace
