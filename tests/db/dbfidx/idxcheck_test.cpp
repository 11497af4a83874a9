// The independent index checker: a sound index passes; each kind of damage
// made by hand in a real index is found and named; ORDVERIFY() on an open
// exclusive order sees its cached header; the tool's exit codes.
#include <cstdlib>
#include <functional>

#include "dbftest.h"
#include "idxcheck.hpp"

namespace {

using Patch = std::function<void(std::string&)>;

class IdxCheck : public dbftest::InDir {
 protected:
  // 30 records whose NAMEs arrive out of order, an order on NAME (a root
  // over two leaves) and one FOR order; all closed.
  void SetUp() override
  {
    InDir::SetUp();
    run("DBCREATE('t', {{'NAME', 'C', 10, 0}, {'N', 'N', 4, 0}})", ".T.");
    run("DBUSEAREA(.T., , 't', , .F.)", ".T.");
    for (int i = 0; i < 30; ++i)
      run("DBAPPEND(), FIELDPUT(1, 'K" + std::to_string(i * 7 % 30 + 10) + "'), FIELDPUT(2, " + std::to_string(i) + ")");
    run("ORDCREATE('t', , 'NAME')", ".T.");
    run("ORDCONDSET('N % 2 == 0', {|| N % 2 == 0}), ORDCREATE('f', , 'N')", ".T.");
    run("DBCLOSEALL()");
    file_ = dir_.read("t.idx");
  }
  uint32_t at(size_t off) const { return le32(file_, off); }
  void put(std::string& f, size_t off, uint32_t v) { vl::dbf_put32(reinterpret_cast<uint8_t*>(&f[off]), v); }
  // Sector offset of the root and of its first child (the left leaf).
  size_t root() const { return size_t(at(8)) * 512; }
  size_t leaf() const { return size_t(at(root() + 12)) * 512; }
  // Offset of entry i's key in the sector at s (C(10): 20-byte entries).
  static size_t key(size_t s, int i) { return s + 12 + i * 20 + 8; }
  std::vector<std::string> check(const char* idx = "t")
  {
    std::vector<std::string> found;
    rc_ = vl::vlnIdxVerify("t", idx, &found);
    return found;
  }
  static bool any(const std::vector<std::string>& lines, const std::string& part)
  {
    for (const auto& l : lines)
      if (l.find(part) != std::string::npos) return true;
    return false;
  }
  std::string file_;
  int rc_ = 0;
};

TEST_F(IdxCheck, SoundIndexesPass)
{
  EXPECT_EQ(check(), std::vector<std::string>{});
  EXPECT_EQ(rc_, 0);
  EXPECT_EQ(check("f"), std::vector<std::string>{});
  EXPECT_EQ(rc_, 0);
  EXPECT_TRUE(any(check("nosuch"), "cannot open index"));
  EXPECT_EQ(rc_, -1);
  // One key a sector: ascending keys make a tree as deep as it has keys.
  run("DBCREATE('w', {{'W', 'C', 238, 0}}), DBUSEAREA(.T., , 'w', , .F.)", ".T.");
  run("AEVAL(ARRAY(90), {|x, i| DBAPPEND(), FIELDPUT(1, STRZERO(i, 3))}), ORDCREATE('w', , 'W')", ".T.");
  run("DBCLOSEALL()");
  std::vector<std::string> found;
  EXPECT_EQ(vl::vlnIdxVerify("w", "w", &found), 0) << (found.empty() ? "" : found[0]);
}

TEST_F(IdxCheck, FindsHandMadeDamage)
{
  const struct {
    const char* what;
    Patch patch;
    const char* finding;
  } cases[] = {
      {"swapped keys", [&](std::string& f) { std::swap_ranges(&f[key(leaf(), 0)], &f[key(leaf(), 0) + 10], &f[key(leaf(), 1)]); },
       "sorts before"},
      {"wrong key count", [&](std::string& f) { put(f, 4, at(4) + 1); }, "keys, but the tree holds"},
      {"a loop", [&](std::string& f) { put(f, leaf() + 12, at(8)); }, "already in the tree"},
      {"sector out of range", [&](std::string& f) { put(f, root() + 12, at(16) + 5); }, "out of range"},
      {"key not its record's", [&](std::string& f) { f[key(leaf(), 0) + 2] ^= 1; }, "differs from the key expression"},
      {"missing key", [&](std::string& f) { put(f, leaf(), at(leaf()) - 1), put(f, 4, at(4) - 1); }, "has no key"},
      {"free chain into the tree", [&](std::string& f) { put(f, 12, at(8)); }, "already in the tree"},
      {"not terminated", [&](std::string& f) { f[451] = 'x'; }, "not terminated"},
  };
  for (const auto& c : cases) {
    std::string f = file_;
    c.patch(f);
    dir_.write("t.idx", f);
    const auto found = check();
    EXPECT_TRUE(any(found, c.finding)) << c.what << ": " << (found.empty() ? "nothing found" : found[0]);
    EXPECT_GT(rc_, 0) << c.what;
  }
}

TEST_F(IdxCheck, OrdVerifySeesTheOpenOrder)
{
  run("DBUSEAREA(.T., , 't', , .F.), ORDLISTADD('t'), ORDLISTADD('f')", ".T.");
  run("DBGOTO(3), FIELDPUT(2, 41), DBAPPEND(), FIELDPUT(1, 'A1'), FIELDPUT(2, 8)");
  run("LEN(ORDVERIFY()) + LEN(ORDVERIFY(2)) + LEN(ORDVERIFY('f'))", "0");
  run("ORDVERIFY(7)", "{no such order in this area}");
  run("DBCLOSEALL()");
  EXPECT_EQ(check(), std::vector<std::string>{});
  EXPECT_EQ(check("f"), std::vector<std::string>{});
}

TEST_F(IdxCheck, ToolExitCodes)
{
  const std::string tool = VL_BINARY_DIR "/idxcheck";
  const auto status = [&](const std::string& args) {
    return WEXITSTATUS(std::system((tool + " " + args + " > /dev/null 2>&1").c_str()));
  };
  EXPECT_EQ(status("t.dbf t.idx f"), 0);
  EXPECT_EQ(status("t"), 2);
  EXPECT_EQ(status("t nosuch"), 2);
  std::string f = file_;
  put(f, 4, at(4) + 1);
  dir_.write("t.idx", f);
  EXPECT_EQ(status("t t"), 1);
}

}  // namespace
