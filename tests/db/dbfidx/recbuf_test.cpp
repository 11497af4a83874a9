// The record buffer of a table opened exclusively, with and without its
// read-ahead and write-behind: one random walk of skips both ways, jumps,
// reads, writes and commits reads what a model of the table holds, and
// leaves the same bytes in the file in every mode (the write-behind buffer
// filled by appends too).
#include <algorithm>
#include <string>
#include <vector>

#include "dbftest.h"

namespace {

constexpr int kRecords = 1000;  // with the C 200 field about four read-ahead runs
constexpr int kSteps = 20000;
constexpr int kPhase = 300;     // steps before the walk turns round
constexpr int kCommitEvery = 997;
constexpr uint32_t kSeed = 12345;

class RecordBuffer : public dbftest::InDir {
 protected:
  // The walk on a fresh table in the given mode; the file's bytes after it.
  std::string walk(int write_behind, int read_ahead);
};

uint32_t next(uint32_t& state) { return state = state * 1103515245u + 12345u, state >> 8; }

std::string RecordBuffer::walk(int write_behind, int read_ahead)
{
  vl::vlnDbfWriteBehind = write_behind;
  vl::vlnDbfReadAhead = read_ahead;
  run("DBCREATE('w', {{'T','C',200,0}, {'N','N',6,0}}), DBUSEAREA(.T., , 'w', , .F.)", ".T.");
  run("AEVAL(ARRAY(" + std::to_string(kRecords) + "), {|| DBAPPEND(), FIELDPUT(1, STR(RECNO())), FIELDPUT(2, RECNO())})");
  std::vector<int> model(kRecords + 2);
  for (int i = 1; i <= kRecords; ++i) model[i] = i;
  const int32_t mark = tmpvar_cnt;
  var* two = set_Iv(2);
  const int32_t floor = tmpvar_cnt;
  uint32_t state = kSeed;
  int pos = 1;
  run("DBGOTOP()");
  for (int step = 0; step < kSteps; ++step) {
    const bool forward = step / kPhase % 2 == 0;
    const uint32_t r = next(state) % 100;
    if (r < 60) {  // a skip, mostly in the walk's direction
      const bool ahead = forward == (r < 50);
      var* n = set_Iv(ahead ? 1 : -1);
      _bb_dbskip(1, &n);
      pos = ahead ? std::min(pos + 1, kRecords + 1) : std::max(pos - 1, 1);
    } else if (r < 70) {
      pos = 1 + int(next(state) % kRecords);
      var* n = set_Iv(pos);
      _bb_dbgoto(1, &n);
    } else if (r < 85 && pos <= kRecords) {
      model[pos] = int(next(state) % 100000);
      var* args[] = {two, set_Iv(model[pos])};
      _bb_fieldput(2, args);
    } else if (step % kCommitEvery == 0) {
      _bb_dbcommit(0, nullptr);
    }
    const double got = vlnNumVar(_bb_fieldget(1, &two));
    del_tmpvars(floor);
    if (got != (pos > kRecords ? 0 : model[pos])) {
      ADD_FAILURE() << "step " << step << ", record " << pos << ": " << got;
      break;
    }
  }
  del_tmpvars(mark);
  run("DBGOTO(1), DBDELETE(), DBCLOSEAREA()");
  return dir_.read("w.dbf");
}

TEST_F(RecordBuffer, EveryModeReadsAndWritesTheSame)
{
  const std::string plain = walk(0, 0);
  ASSERT_EQ(plain.size(), 32u * 2 + 33 + kRecords * 207u);  // no end-of-file byte
  for (int mode : {1, 2, 3}) {
    SCOPED_TRACE("write-behind " + std::to_string(mode & 1) + ", read-ahead " + std::to_string(mode >> 1));
    EXPECT_TRUE(walk(mode & 1, mode >> 1) == plain);
  }
}

}  // namespace
