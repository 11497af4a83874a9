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
struct Shape {
  char type;
  int len;
  int flags;
};

// One index file and its descriptor.
struct Tree {
  Tree(const std::string& path, Shape s, bool excl) : shape(s)
  {
    IdxHeader h{};
    h.version = IDX_VERSION;
    h.flags = uint8_t(s.flags);
    h.numwidth = s.type == 'N' ? 12 : 0;
    h.keylen = uint8_t(s.type == 'D' ? 4 : s.type == 'L' ? 1 : s.len);
    h.nxkysc = IDX_FIRST_SECTOR;
    h.keytype = s.type;
    h.secsize = IDX_SECTOR;
    h.keysize = idx_keysize(s.type == 'C' ? s.len : s.type == 'N' ? 8 : s.type == 'D' ? 4 : 1);
    h.maxkeys = idx_maxkeys(h.keysize);
    std::strcpy(h.keyexpr, "KEY");
    std::vector<uint8_t> file(IDX_FIRST_SECTOR * IDX_SECTOR);
    idx_put_header(&h, file.data());
    const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0644);
    EXPECT_EQ(::pwrite(fd, file.data(), file.size(), 0), ssize_t(file.size()));
    x->fd = fd;
    x->hdr = h;
    x->flags = IDX_D_OPEN | (excl ? IDX_D_EXCL : 0);
    x->tolerance = 0.5 / std::pow(10.0, h.keylen);
    if (excl) {
      x->cache = cache;
      x->cachelen = int32_t(::pread(fd, cache, sizeof cache, 0));
    }
    wa.lastrec = 1000000;
  }
  ~Tree() { ::close(x->fd); }
  // A key of the index's type: text for C, else the number v.
  IdxKey key(const std::string& text, double v) const
  {
    IdxKey k{shape.type, text.data(), int32_t(text.size()), v, int32_t(v), int32_t(v)};
    return k;
  }
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

// The model: entries in index order, found by linear search.
struct Entry {
  std::string text;
  double v;
  int32_t recno;
};

// The engine's compare of a search value with a stored key.
int model_cmp(const Shape& s, const std::string& text, double v, const Entry& e)
{
  int c;
  if (s.type == 'C') {
    c = std::memcmp(text.data(), e.text.data(), std::min(text.size(), e.text.size()));
    c = (c > 0) - (c < 0);
  } else {
    const double a = std::round(v * 100), b = std::round(e.v * 100);
    c = (a > b) - (a < b);
  }
  return (s.flags & IDX_FLAG_DESCEND) ? -c : c;
}

// Where a search lands: the first entry the value does not come after.
size_t model_find(const Shape& s, const std::vector<Entry>& m, const std::string& text, double v)
{
  size_t i = 0;
  while (i < m.size() && model_cmp(s, text, v, m[i]) > 0) ++i;
  return i;
}

// Key number n of a shape: few distinct keys, so that many are equal.
void make_key(const Shape& s, int n, std::string* text, double* v)
{
  char buf[IDX_MAX_KEY + 1];
  if (s.len == 1 && s.type == 'C') n %= 20;
  std::snprintf(buf, sizeof buf, s.len == 1 ? "%c" : "%03d", s.len == 1 ? 'A' + n : n);
  *text = buf;
  if (s.type == 'C') text->resize(size_t(s.len), '.');
  *v = s.type == 'N' ? (n - 150) / 4.0 : s.type == 'L' ? n % 2 : n * 3;
}

// Random inserts and deletes against the model; walks and seeks after
// each batch; the file's bytes at the end into bytes.
void churn(const std::string& path, Shape s, bool excl, int batches, int ops, std::string* bytes)
{
  Tree t(path, s, excl);
  std::vector<Entry> m;
  std::mt19937 rng(42);
  const bool unique = s.flags & IDX_FLAG_UNIQUE;
  int32_t next = 1;
  for (int b = 0; b < batches; ++b) {
    for (int i = 0; i < ops; ++i) {
      std::string text;
      double v;
      if (m.empty() || rng() % 30 < (b == batches - 2 ? 2u : 20u)) {  // the last batch but one shrinks
        make_key(s, int(rng() % 300), &text, &v);
        const IdxKey k = t.key(text, v);
        size_t at = model_find(s, m, text, v);
        const bool dup = at < m.size() && model_cmp(s, text, v, m[at]) == 0;
        ASSERT_TRUE(Indx_add(&t.wa, t.x.get(), next, &k)) << t.x->fault.text;
        if (!(unique && dup)) {
          while (at < m.size() && model_cmp(s, text, v, m[at]) == 0) ++at;
          m.insert(m.begin() + ptrdiff_t(at), Entry{text, v, next});
        }
        ++next;
      } else {
        const size_t at = rng() % m.size();
        const IdxKey k = t.key(m[at].text, m[at].v);
        ASSERT_TRUE(unique ? seek_key(&t.wa, t.x.get(), &k) : Eseek_key(&t.wa, t.x.get(), &k, m[at].recno));
        ASSERT_EQ(int32_t(ent_recno(t.x.get(), t.x->key_off)), m[at].recno);
        ASSERT_TRUE(Indx_del(&t.wa, t.x.get())) << t.x->fault.text;
        m.erase(m.begin() + ptrdiff_t(at));
      }
    }
    ASSERT_EQ(t.x->fault.code, 0) << t.x->fault.text;
    ASSERT_EQ(t.x->hdr.keycnt, m.size());
    std::vector<int32_t> want;
    for (const Entry& e : m) want.push_back(e.recno);
    ASSERT_EQ(t.walk(true), want);
    std::reverse(want.begin(), want.end());
    ASSERT_EQ(t.walk(false), want);
    for (int q = 0; q < 20; ++q) {
      std::string text;
      double v;
      make_key(s, int(rng() % 320), &text, &v);
      if (q % 4 == 1 && s.type == 'C' && s.len > 2) text.resize(2);  // a prefix
      if (q % 4 == 2 && s.type == 'N') v += 0.004;                    // within the tolerance
      if (q % 4 == 3 && s.type == 'N') v += 0.1;                      // between two keys
      const IdxKey k = t.key(text, v);
      const size_t at = model_find(s, m, text, v);
      const bool hit = at < m.size() && model_cmp(s, text, v, m[at]) == 0;
      const bool soft = q % 2;
      ASSERT_EQ(idx_find(&t.wa, t.x.get(), &k, soft), hit) << text << " " << v;
      if (hit || (soft && at < m.size()))
        ASSERT_EQ(t.wa.recno, m[at].recno);
      else
        ASSERT_TRUE(t.wa.eof && t.wa.recno == t.wa.lastrec + 1);
    }
  }
  ndx_flshhdr(t.x.get(), 1);
  bytes->assign(size_t(t.x->hdr.nxkysc) * IDX_SECTOR, '\0');
  EXPECT_GT(::pread(t.x->fd, bytes->data(), bytes->size(), 0), 0);
}

class IdxTree : public ::testing::Test {
 protected:
  void TearDown() override { vlnIdxBinarySearch = 1; }
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
    for (int mode = 0; mode < 4; ++mode) {
      SCOPED_TRACE(testing::Message() << s.type << s.len << " flags " << s.flags << " mode " << mode);
      vlnIdxBinarySearch = mode & 1;
      std::string bytes;
      churn(path("t.idx"), s, mode & 2, 6, s.len > 200 ? 150 : 600, &bytes);
      if (HasFatalFailure()) return;
      if (mode == 0) first = bytes;
      EXPECT_TRUE(bytes == first) << "the file differs between modes";
    }
  }
}

}  // namespace
