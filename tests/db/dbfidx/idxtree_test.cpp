// idxtree_test.cpp -- the IDX tree engine without the language: descriptors
// made by hand over a temporary file, random inserts and deletes checked
// against an ordered model (walks both ways, seeks), the file's bytes the
// same in every mode, the one-key geometry, and damaged files that must end
// in fault 412.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "idxint.hpp"
#include "vltest.h"

namespace {

using namespace vl;

// A key type: letter, characters (C) or decimals (N), header flags.
struct Shape { char type; int len; int flags; };

// A key as the tests make it: text for C, else the number v.
struct Key { std::string text; double v; };

// One index file and its descriptor.
struct Tree {
  Tree(const std::string& path, Shape s, bool excl) : shape(s)
  {
    const uint32_t raw = s.type == 'C' ? s.len : s.type == 'N' ? 8 : s.type == 'D' ? 4 : 1;
    IdxHeader h{IDX_VERSION, uint8_t(s.flags), uint8_t(s.type == 'N' ? 12 : 0),
                uint8_t(s.type == 'D' ? 4 : s.type == 'L' ? 1 : s.len), 0, 0, 0, IDX_FIRST_SECTOR, s.type,
                IDX_SECTOR, idx_keysize(raw), idx_maxkeys(idx_keysize(raw)), "KEY"};
    std::vector<uint8_t> file(IDX_FIRST_SECTOR * IDX_SECTOR);
    idx_put_header(&h, file.data());
    x->fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0644);
    EXPECT_EQ(::pwrite(x->fd, file.data(), file.size(), 0), ssize_t(file.size()));
    x->hdr = h;
    x->flags = IDX_D_OPEN | (excl ? IDX_D_EXCL : 0);
    x->tolerance = 0.5 / std::pow(10.0, h.keylen);
    x->cache = excl ? cache : nullptr;
    x->cachelen = excl ? int32_t(::pread(x->fd, cache, sizeof cache, 0)) : 0;
    wa.lastrec = 1000000;
  }
  ~Tree() { idx_cache_release(x.get()), ::close(x->fd); }
  IdxKey key(const Key& k) const { return {shape.type, k.text.data(), int32_t(k.text.size()), k.v, int32_t(k.v), int32_t(k.v)}; }
  std::vector<int32_t> walk(bool forward)
  {
    std::vector<int32_t> seen;
    wa.bof = 0;
    forward ? idx_top(&wa, x.get()) : idx_bott(&wa, x.get());
    while (!wa.eof && seen.size() <= x->hdr.keycnt) {
      seen.push_back(wa.recno);
      const int32_t r = forward ? Indx_down(&wa, x.get()) : Indx_up(&wa, x.get());
      if (wa.bof || x->fault.code) break;
      wa.recno = r;
    }
    return seen;
  }
  Shape shape;
  DbfState wa{};
  std::unique_ptr<IdxDesc> x = std::make_unique<IdxDesc>();
  uint8_t cache[IDX_CACHE_BYTES] = {};
};

// The engine's compare of a search value with a stored key.
int model_cmp(const Shape& s, const Key& a, const Key& b)
{
  int c;
  if (s.type == 'C') {
    c = std::memcmp(a.text.data(), b.text.data(), std::min(a.text.size(), b.text.size()));
  } else {
    const double l = std::round(a.v * 100), r = std::round(b.v * 100);
    c = (l > r) - (l < r);
  }
  c = (c > 0) - (c < 0);
  return (s.flags & IDX_FLAG_DESCEND) ? -c : c;
}

// Key number n of a shape: few distinct keys, so that many are equal.
Key make_key(const Shape& s, int n)
{
  char buf[IDX_MAX_KEY + 1];
  if (s.len == 1 && s.type == 'C') n %= 20;
  std::snprintf(buf, sizeof buf, s.len == 1 ? "%c" : "%03d", s.len == 1 ? 'A' + n : n);
  Key k{buf, s.type == 'N' ? (n - 150) / 4.0 : s.type == 'L' ? n % 2 : n * 3};
  if (s.type == 'C') k.text.resize(size_t(s.len), '.');
  return k;
}

// Random inserts and deletes against the model (entries in index order);
// walks and seeks after each batch; the file's bytes at the end.
void churn(const std::string& path, Shape s, bool excl, int batches, int ops, std::string* bytes)
{
  Tree t(path, s, excl);
  IdxDesc* x = t.x.get();
  std::vector<std::pair<Key, int32_t>> m;
  // Where a search for k lands in the model: the first entry k does not come after.
  auto find = [&](const Key& k) {
    return size_t(std::find_if(m.begin(), m.end(), [&](auto& e) { return model_cmp(s, k, e.first) <= 0; }) - m.begin());
  };
  auto equal = [&](const Key& k, size_t at) { return at < m.size() && model_cmp(s, k, m[at].first) == 0; };
  std::mt19937 rng(42);
  const bool unique = s.flags & IDX_FLAG_UNIQUE;
  for (int b = 0, next = 1; b < batches; ++b) {
    for (int i = 0; i < ops; ++i, ++next) {
      if (m.empty() || rng() % 30 < (b == batches - 2 ? 2u : 20u)) {  // the last batch but one shrinks
        const Key k = make_key(s, int(rng() % 300));
        const IdxKey ik = t.key(k);
        ASSERT_TRUE(Indx_add(&t.wa, x, next, &ik)) << x->fault.text;
        size_t at = find(k);
        if (unique && equal(k, at)) continue;
        while (equal(k, at)) ++at;
        m.insert(m.begin() + ptrdiff_t(at), {k, next});
      } else {
        const size_t at = rng() % m.size();
        const IdxKey ik = t.key(m[at].first);
        ASSERT_TRUE(unique ? seek_key(&t.wa, x, &ik) : Eseek_key(&t.wa, x, &ik, m[at].second));
        ASSERT_EQ(int32_t(ent_recno(x, x->key_off)), m[at].second);
        ASSERT_TRUE(Indx_del(&t.wa, x)) << x->fault.text;
        m.erase(m.begin() + ptrdiff_t(at));
      }
    }
    ASSERT_EQ(x->fault.code, 0) << x->fault.text;
    ASSERT_EQ(x->hdr.keycnt, m.size());
    std::vector<int32_t> want;
    for (const auto& e : m) want.push_back(e.second);
    ASSERT_EQ(t.walk(true), want);
    std::reverse(want.begin(), want.end());
    ASSERT_EQ(t.walk(false), want);
    for (int q = 0; q < 20; ++q) {
      Key k = make_key(s, int(rng() % 320));
      if (q % 4 == 1 && s.type == 'C' && s.len > 2) k.text.resize(2);  // a prefix
      if (q % 4 == 2) k.v += 0.004;                                      // within the tolerance
      if (q % 4 == 3 && s.type == 'N') k.v += 0.1;                       // between two keys
      const IdxKey ik = t.key(k);
      const size_t at = find(k);
      ASSERT_EQ(idx_find(&t.wa, x, &ik, q % 2), equal(k, at)) << k.text << " " << k.v;
      if (equal(k, at) || (q % 2 && at < m.size()))
        ASSERT_EQ(t.wa.recno, m[at].second);
      else
        ASSERT_TRUE(t.wa.eof && t.wa.recno == t.wa.lastrec + 1);
    }
  }
  ndx_flshhdr(x, 1);
  bytes->assign(size_t(x->hdr.nxkysc) * IDX_SECTOR, '\0');
  EXPECT_GT(::pread(x->fd, bytes->data(), bytes->size(), 0), 0);
}

class IdxTree : public ::testing::Test {
 protected:
  void TearDown() override { vlnIdxBinarySearch = 1, vlnIdxSectorCache = 131072; }
  std::string path(const char* name) const { return dir_ / name; }
  vltest::TempDir dir_;
};

TEST_F(IdxTree, RandomChurnMatchesTheModelInEveryMode)
{
  const Shape shapes[] = {{'C', 1, 0},  {'C', 10, 0}, {'C', 100, 0}, {'C', 238, 0}, {'N', 2, 0},
                          {'D', 0, 0},  {'L', 0, 0},  {'C', 10, IDX_FLAG_UNIQUE},
                          {'N', 2, IDX_FLAG_DESCEND}, {'C', 10, IDX_FLAG_UNIQUE | IDX_FLAG_DESCEND}};
  for (const Shape& s : shapes) {
    std::string first;
    // Modes: linear or binary search; shared, exclusive, exclusive with a
    // sector cache of 8 (always evicting) or 1024 sectors.
    for (int mode = 0; mode < 8; ++mode) {
      SCOPED_TRACE(testing::Message() << s.type << s.len << " flags " << s.flags << " mode " << mode);
      vlnIdxBinarySearch = mode & 1;
      vlnIdxSectorCache = mode < 4 ? 0 : mode < 6 ? 8 : 1024;
      std::string bytes;
      churn(path("t.idx"), s, mode >= 2, 6, s.len > 200 ? 150 : 600, &bytes);
      if (HasFatalFailure()) return;
      if (mode == 0) first = bytes;
      EXPECT_TRUE(bytes == first) << "the file differs between modes";
    }
  }
}

void fill(Tree& t, int n)
{
  for (int i = 0; i < n; ++i) {
    const Key key = make_key(t.shape, i);
    const IdxKey k = t.key(key);
    ASSERT_TRUE(Indx_add(&t.wa, t.x.get(), i + 1, &k)) << t.x->fault.text;
  }
}

TEST_F(IdxTree, OneKeySectorsSplitIntoAnEmptyLeftSector)
{
  Tree t(path("g.idx"), {'C', 238, 0}, false);
  EXPECT_EQ(t.x->hdr.keysize, 240u);
  EXPECT_EQ(t.x->hdr.maxkeys, 1u);
  const Key a{std::string(238, 'A'), 0}, b{std::string(238, 'B'), 0};
  const IdxKey ka = t.key(a), kb = t.key(b);
  ASSERT_TRUE(Indx_add(&t.wa, t.x.get(), 1, &kb));
  ASSERT_TRUE(Indx_add(&t.wa, t.x.get(), 2, &ka));
  // The median A/2 goes up into the new root 4: [3 A/2 5]; 3 is empty, 5 holds B/1.
  const std::string f = dir_.read("g.idx");
  auto w = [&](uint32_t sec, size_t at) { return dbf_get32(reinterpret_cast<const uint8_t*>(f.data()) + sec * 512 + at); };
  EXPECT_EQ(std::vector<uint32_t>({w(0, IDXH_ROOT), w(0, IDXH_NXKYSC), w(0, IDXH_KEYCNT)}), std::vector<uint32_t>({4, 6, 2}));
  EXPECT_EQ(std::vector<uint32_t>({w(3, 0), w(3, 4), w(3, 8)}), std::vector<uint32_t>({0, 4, 0}));
  EXPECT_EQ(std::vector<uint32_t>({w(4, 0), w(4, 12), w(4, 16), w(4, 12 + 248)}), std::vector<uint32_t>({1, 3, 2, 5}));
  EXPECT_EQ(std::vector<uint32_t>({w(5, 0), w(5, 4), w(5, 8), w(5, 16)}), std::vector<uint32_t>({1, 4, 1, 1}));
  EXPECT_EQ(f.substr(4 * 512 + 20, 238), a.text);
  EXPECT_EQ(f.substr(5 * 512 + 20, 239), b.text + '\0');
  EXPECT_EQ(t.walk(true), std::vector<int32_t>({2, 1}));
  EXPECT_EQ(t.walk(false), std::vector<int32_t>({1, 2}));
  // Emptied, the tree keeps its root; the next key takes a new one.
  for (const IdxKey* k : {&ka, &kb}) {
    ASSERT_TRUE(seek_key(&t.wa, t.x.get(), k));
    ASSERT_TRUE(Indx_del(&t.wa, t.x.get()));
  }
  EXPECT_EQ(t.x->hdr.keycnt, 0u);
  EXPECT_EQ(t.x->hdr.root, 4u);
  ASSERT_TRUE(Indx_add(&t.wa, t.x.get(), 3, &ka));
  EXPECT_NE(t.x->hdr.root, 4u);
}

TEST_F(IdxTree, ExclusiveKeepsTheFirst2048BytesUntilAForcedFlush)
{
  for (int cache : {0, 1024}) {
    vlnIdxSectorCache = cache;
    Tree t(path("x.idx"), {'C', 10, 0}, true);
    const std::string before = dir_.read("x.idx");
    fill(t, 100);
    // Without the sector cache the sectors after 3 are written at once.
    const std::string during = dir_.read("x.idx");
    EXPECT_EQ(during.size() > 2048, cache == 0);
    EXPECT_EQ(during.substr(0, 1536), before);
    EXPECT_EQ(during.substr(1536, 512), std::string(during.size() > 2048 ? 512 : 0, '\0'));
    ndx_flshhdr(t.x.get(), 1);
    const std::string after = dir_.read("x.idx");
    EXPECT_EQ(after.substr(0, 2048), std::string(reinterpret_cast<char*>(t.cache), 2048));
    EXPECT_EQ(after.size(), size_t(t.x->hdr.nxkysc) * 512);
    EXPECT_EQ(t.walk(true).size(), 100u);
  }
}

TEST_F(IdxTree, CompareRulesAndDuplicates)
{
  // The key stored and the value searched: C/M text, else a number.
  struct Row { Shape shape; const char* stored; char vtype; const char* value; bool found; int fault; } const rows[] = {
      {{'C', 10, 0}, "ABC", 'M', "ZZZ", true, 0},   // a memo value equals every key
      {{'C', 10, 0}, "ABC", 'C', "AB", true, 0},    // a prefix
      {{'C', 10, 0}, "ABC", 'D', "3", false, 317},  // a date cannot search text
      {{'N', 2, 0}, "1.25", 'N', "1.254", true, 0}, // within the tolerance
      {{'N', 2, 0}, "1.25", 'L', "1", false, 0},    // a logical searches numbers by its byte
      {{'L', 0, 0}, "0", 'N', "0", true, 0},        // a number reads the logical slot as a double
      {{'D', 0, 0}, "3", 'N', "3", false, 317},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.value);
    Tree t(path("c.idx"), r.shape, false);
    Key stored{r.stored, std::atof(r.stored)};
    if (r.shape.type == 'C') stored.text.resize(10, ' ');
    const IdxKey k = t.key(stored);
    ASSERT_TRUE(Indx_add(&t.wa, t.x.get(), 7, &k));
    const double v = std::atof(r.value);
    const IdxKey q{r.vtype, r.value, int32_t(std::strlen(r.value)), v, int32_t(v), int32_t(v)};
    EXPECT_EQ(idx_find(&t.wa, t.x.get(), &q, false), r.found);
    EXPECT_EQ(t.x->fault.code, r.fault);
    // The same key and record again: refused in a plain index, nothing in a UNIQUE one.
    t.x->fault.code = 0;
    EXPECT_FALSE(Indx_add(&t.wa, t.x.get(), 7, &k));
    EXPECT_EQ(t.x->fault.code, 416);
    t.x->fault.code = 0;
    t.x->hdr.flags = IDX_FLAG_UNIQUE;
    EXPECT_TRUE(Indx_add(&t.wa, t.x.get(), 8, &k));
    EXPECT_EQ(t.x->hdr.keycnt, 1u);
  }
}

TEST_F(IdxTree, DamagedFilesEndInFault412)
{
  for (int d = 0; d < 6; ++d) {
    SCOPED_TRACE(d);
    Tree t(path("d.idx"), {'C', 10, 0}, false);
    fill(t, 300);
    IdxDesc* x = t.x.get();
    x->cur_sec = x->hdr.root;
    ASSERT_TRUE(get_cur_sec(&t.wa, x));
    const uint32_t root = x->hdr.root, leaf = ent_child(x, 0);
    uint8_t b[4];
    auto put = [&](uint32_t sec, size_t at, uint32_t word) { dbf_put32(b, word), ::pwrite(x->fd, b, 4, sec * 512 + at); };
    switch (d) {
      case 0: put(root, 12, root); break;                      // a child loop
      case 1: put(root, 12, x->hdr.nxkysc + 7); break;         // a child past the file
      case 2: put(leaf, 0, x->hdr.maxkeys + 2); break;         // too many keys
      case 3: put(leaf, 0, leaf), x->hdr.kavsec = leaf; break; // a free chain that loops
      case 4: put(leaf, 4, leaf), put(leaf, 8, 999); break;    // a parent loop
      case 5: put(0, IDXH_KEYSIZE, 0); break;                  // a header the engine cannot use
    }
    if (d == 3) {
      EXPECT_EQ(get_new_sec(x), 0u);
    } else if (d == 4) {
      x->cur_sec = leaf;
      ASSERT_TRUE(get_cur_sec(&t.wa, x));
      x->key_off = sec_count(x) - 1;
      EXPECT_EQ(Indx_down(&t.wa, x), 0);
    } else {
      idx_top(&t.wa, x);
      EXPECT_TRUE(t.wa.eof);
    }
    EXPECT_EQ(x->fault.code, 412);
    EXPECT_EQ(x->fault.severity, VL_SEV_FATAL);
  }
  IdxHeader h{};
  h.secsize = IDX_SECTOR;
  char why[80] = "";
  EXPECT_FALSE(idx_header_sane(&h, -1, why, sizeof why));
  EXPECT_STREQ(why, "key size out of range");
}

}  // namespace
