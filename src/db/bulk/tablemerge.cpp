/*
** tablemerge.cpp -- SORT, TOTAL, UPDATE and JOIN.
**
** SORT sorts in memory.  One pass over the scope (DBEVAL) turns each
** record's keys into one byte string whose plain byte order is the order
** wanted: a text as the active language collates it (upper-cased first for
** /C), a number as the eight bytes of an order-keeping encoding of its
** double, a date as its day number, a logical as F or T; a descending key
** (/D) has its bytes inverted.  Every key part has a fixed width, so the
** concatenation orders as the parts do, key after key.  The records are
** then sorted on these strings, equal ones in the order the scan met them,
** and copied to the new table in that order.  This gives what an index on
** the keys followed by a copy in index order gives, without the index and
** the temporary table.
**
** TOTAL reads the scope in order and writes one record per run of equal
** keys: the run's first record with the named numeric fields summed over
** the run.  UPDATE walks the source (the area of the alias) and assigns
** into the selected table for equal keys, walking both together when they
** are in the same order, seeking each key when random; it never appends.
** JOIN writes a record for each pair of records, one of the selected table
** and one of the alias's, for which the condition holds.
*/
#include <algorithm>
#include <cstring>
#include <numeric>
#include <string_view>
#include <unordered_map>

#include "areas.h"
#include "arrays.h"
#include "blocks.h"
#include "dbfint.hpp"
#include "bulk.h"
#include "facade.h"
#include "kernel.h"
#include "natlang.h"
#include "natlang.hpp"
#include "tableint.hpp"
#include "vlgen.h"

using namespace vlbulk;

namespace {

constexpr char kSort[] = "SORT";
constexpr char kTotal[] = "TOTAL";
constexpr char kUpdate[] = "UPDATE FROM";
constexpr char kJoin[] = "JOIN";

constexpr char kFlagMark = '/';
constexpr size_t kNumWidth = 8;   // bytes of an encoded number
constexpr size_t kDateWidth = 4;  // bytes of an encoded day number
constexpr uint64_t kSignBit = uint64_t(1) << 63;
constexpr int kByteBits = 8;

/* ---- Keys as byte strings. ---- */

// Write the low width bytes of u big-endian at out.
void put_big_endian(uint64_t u, size_t width, char* out)
{
  for (size_t i = 0; i < width; ++i) out[i] = char(u >> (kByteBits * (width - 1 - i)));
}

// A double's bits arranged so that unsigned comparison orders as numbers.
uint64_t ordered_bits(double d)
{
  if (d == 0) d = 0;  // -0 and 0 are one key
  uint64_t u;
  std::memcpy(&u, &d, sizeof u);
  return (u & kSignBit) ? ~u : u | kSignBit;
}

// One SORT key: a field, its width in the key string and its flags.
struct SortKey {
  int field;
  char type;
  size_t width;
  bool caseless, descending;
};

// The byte string of the current record's keys.
struct KeyMaker {
  std::vector<SortKey> keys;
  size_t width = 0;
  const unsigned char* collation = nullptr;
  unsigned char upper[256];

  KeyMaker()
  {
    for (int c = 0; c < 256; ++c) upper[c] = (unsigned char)c;
    vl::Itoupr_str(reinterpret_cast<char*>(upper + 1), 255);
    collation = vlnGetLangChars();
  }

  // Append the key string of the selected area's record to out.
  void make(std::string& out) const
  {
    const size_t at = out.size();
    out.resize(at + width, ' ');
    char* p = out.data() + at;
    for (const SortKey& k : keys) {
      var* n[] = {set_Iv(k.field)};
      var* v = _bb_fieldget(1, n);
      put(k, v, p);
      if (k.descending)
        for (size_t i = 0; i < k.width; ++i) p[i] = char(~p[i]);
      p += k.width;
    }
  }

  void put(const SortKey& k, var* v, char* p) const
  {
    switch (k.type) {
      case 'C': {
        const std::string t = text_of(v);
        const size_t n = std::min(t.size(), k.width);
        for (size_t i = 0; i < n; ++i) {
          unsigned char c = (unsigned char)t[i];
          if (k.caseless) c = upper[c];
          p[i] = char(collation ? collation[c] : c);
        }
        const unsigned char blank = collation ? collation[' '] : ' ';
        std::memset(p + n, blank, k.width - n);
        break;
      }
      case 'D': put_big_endian(uint32_t(VINT(v)), kDateWidth, p); break;
      case 'L': p[0] = vlnLogVar(v) ? 'T' : 'F'; break;
      default: put_big_endian(ordered_bits(vlnNumVar(v)), kNumWidth, p); break;
    }
  }
};

// The key's part of a SORT key text: "NAME/C/D" gives NAME with flags.
bool parse_key(const std::string& text, const std::vector<FieldDesc>& descs, SortKey& key, std::string& name)
{
  const size_t mark = text.find(kFlagMark);
  var* list = cre_arr(cre_tmpvar(), 1, VL_ARR_LIST, text_var(text.substr(0, mark)), static_cast<var*>(nullptr));
  const std::vector<std::string> names = list_fields(list);
  name = names.empty() ? std::string() : names[0];
  const int i = desc_index(descs, name);
  if (i < 0 || descs[size_t(i)].type == 'M') return false;
  const FieldDesc& d = descs[size_t(i)];
  key = {i + 1, d.type, 0, false, false};
  key.width = d.type == 'C' ? size_t(d.len) : d.type == 'D' ? kDateWidth : d.type == 'L' ? 1 : kNumWidth;
  if (mark == std::string::npos) return true;
  for (char c : text.substr(mark)) {
    c = char(std::toupper((unsigned char)c));
    key.caseless |= c == 'C';
    key.descending |= c == 'D';
  }
  return true;
}

// What SORT keeps of the scan: the key strings, fixed width, the record
// numbers, and the order found.  A DBF table without memo fields also
// leaves its records' bytes here, so that the sorted copy reads nothing
// again (a read per record, in key order, jumps all over the file).
struct SortRun {
  KeyMaker maker;
  std::string keys;
  std::vector<int32_t> recnos;
  std::vector<uint32_t> order;
  Progress progress;
  std::string rows;      // the records' bytes, reclen each, when kept
  size_t reclen = 0;     // 0: the rows are not kept
};

// The most bytes of records SORT keeps in memory; a larger table is read
// again record by record.
constexpr double kSortRowsMax = 512.0 * 1024 * 1024;
// How many rows ahead the sorted copy asks the cache for.
constexpr size_t kPrefetchAhead = 8;

// Whether SORT may keep the selected table's records: a DBF table without
// memo fields whose records fit kSortRowsMax.
size_t rows_to_keep(const std::vector<FieldDesc>& descs)
{
  for (const FieldDesc& d : descs)
    if (d.type == 'M') return 0;
  const int32_t reclen = vlnIntVar(_bb_recsize(0, nullptr));
  const double bytes = double(reclen) * vlnNumVar(_bb_lastrec(0, nullptr));
  return dbf_area() && bytes <= kSortRowsMax ? size_t(reclen) : 0;
}

var* collect_key(int argc, var** argv, var** avec)
{
  VL_BEGIN("tablemerge", "collect_key");
  SortRun* s = context_of<SortRun>(avec);
  VL_STMT(s->maker.make(s->keys));
  VL_STMT(s->recnos.push_back(vlnIntVar(_bb_recno(0, nullptr))));
  if (s->reclen) {
    const uint8_t* bytes = vl::dbf_record_bytes(vlnGetAreaObject(0));
    if (bytes) s->rows.append(reinterpret_cast<const char*>(bytes), s->reclen);
    else s->reclen = 0, s->rows.clear();
  }
  s->progress.step(long(s->recnos.size()));
  VL_RETURN_NIL();
}

// Order the records: by key string, equal ones as scanned.  Tables often
// hold few distinct keys (names, cities, dates), so the keys are first
// told apart, only the distinct ones are sorted, and the records are then
// placed by their key's rank in one stable counting pass.
void sort_order(SortRun& s)
{
  const size_t w = s.maker.width, n = s.recnos.size();
  const auto key = [&](size_t i) { return std::string_view(s.keys.data() + i * w, w); };
  std::unordered_map<std::string_view, uint32_t> ids;
  std::vector<std::string_view> distinct;
  std::vector<uint32_t> id_of(n);
  for (size_t i = 0; i < n; ++i) {
    const auto [it, added] = ids.try_emplace(key(i), uint32_t(distinct.size()));
    if (added) distinct.push_back(key(i));
    id_of[i] = it->second;
  }
  std::vector<uint32_t> by_key(distinct.size());
  std::iota(by_key.begin(), by_key.end(), 0u);
  std::sort(by_key.begin(), by_key.end(), [&](uint32_t a, uint32_t b) { return distinct[a] < distinct[b]; });
  // start[r]: where the records of the key of rank r begin in the order.
  std::vector<uint32_t> start(distinct.size() + 1, 0), rank(distinct.size());
  for (uint32_t r = 0; r < by_key.size(); ++r) rank[by_key[r]] = r;
  for (size_t i = 0; i < n; ++i) ++start[rank[id_of[i]] + 1];
  std::partial_sum(start.begin(), start.end(), start.begin());
  s.order.resize(n);
  for (size_t i = 0; i < n; ++i) s.order[start[rank[id_of[i]]]++] = uint32_t(i);
}

// The keys of a SORT; false after a report.
bool sort_keys(var* keys, const std::vector<FieldDesc>& descs, KeyMaker& maker)
{
  const uint32_t n = keys->Type == 'A' ? VARR(keys)->A_size : 0;
  for (uint32_t i = 0; i < n; ++i) {
    SortKey k;
    std::string name;
    if (!parse_key(text_of(VARR(keys)->A_vec[i]), descs, k, name)) {
      prg_error(kIllegalFieldName, kSort, name.c_str());
      return false;
    }
    maker.keys.push_back(k);
    maker.width += k.width;
  }
  if (!maker.keys.empty()) return true;
  prg_error(kEmptyFieldList, kSort);
  return false;
}

// Create file like the selected table and copy its records into it in
// s's order.
bool write_sorted(Run& run, var* file, var* driver, SortRun& s)
{
  var* d = driver_or_current(driver);
  if (!create_table(file, run.descs, d, area_perms())) return false;
  const int target = run.open(d, file, temp_alias("__cpy"), false);
  if (!target) {
    prg_error(kCannotOpenTarget, kSort, text_of(file).c_str());
    return false;
  }
  select_area(run.back);
  Copier& c = run.copier;
  for (size_t i = 0; i < run.descs.size(); ++i)
    c.pairs.push_back({int(i) + 1, int(i) + 1, run.descs[i].type, run.descs[i].type});
  c.command = kSort, c.source = run.back, c.target = target;
  c.progress.begin(kSort);
  const bool from_rows = c.use_raw() && s.reclen;
  const int32_t mark = tmpvar_cnt;
  const uint8_t* rows = reinterpret_cast<const uint8_t*>(s.rows.data());
  for (size_t k = 0; k < s.order.size(); ++k) {
    const uint32_t i = s.order[k];
    bool copied;
    if (from_rows) {
      // The rows are visited out of order: ask for the one a few steps on.
      if (k + kPrefetchAhead < s.order.size())
        __builtin_prefetch(rows + size_t(s.order[k + kPrefetchAhead]) * s.reclen);
      copied = c.copy_bytes(rows + size_t(i) * s.reclen);
    } else {
      var* args[] = {set_Iv(s.recnos[i])};
      _bb_dbgoto(1, args);
      copied = c.copy_current();
    }
    del_tmpvars(mark);
    if (!copied) break;
  }
  c.progress.end();
  return true;
}

bool sort_to(Run& run, int argc, var** argv)
{
  if (!need_table(kSort)) return false;
  var* file = arg(argc, argv, 0);
  if (!is_text(file)) {
    prg_error(kFileNameExpected, kSort);
    return false;
  }
  run.descs = area_struct();
  SortRun& s = run.make<SortRun>();
  if (!sort_keys(arg(argc, argv, 1), run.descs, s.maker)) return false;
  var* scope[kScopeArgs];
  take_scope(argc, argv, 2, scope);
  s.reclen = rows_to_keep(run.descs);
  // Room for every record of the table, so that nothing grows by copying.
  const size_t records = size_t(std::max(0.0, vlnNumVar(_bb_lastrec(0, nullptr))));
  s.keys.reserve(records * s.maker.width);
  s.recnos.reserve(records);
  s.rows.reserve(records * s.reclen);
  s.progress.begin(kSort);
  eval_scope(ptr_block(collect_key, &s), scope);
  s.progress.end();
  sort_order(s);
  return write_sorted(run, file, arg(argc, argv, 7), s);
}

/* ---- TOTAL. ---- */

// A key value as bytes that are equal exactly when the keys are.
std::string key_bytes(var* v)
{
  std::string out(1, v->Type == 'M' ? 'C' : v->Type);
  if (is_text(v)) return out + text_of(v);
  if (v->Type == 'N' || v->Type == 'F' || v->Type == 'I') {
    const double d = vlnNumVar(v);
    return out.append(reinterpret_cast<const char*>(&d), sizeof d);
  }
  const int32_t w = (v->Type == 'D' || v->Type == 'L') ? VINT(v) : 0;
  return out.append(reinterpret_cast<const char*>(&w), sizeof w);
}

// A run of equal keys: the first record's values and the sums.
struct TotalRun {
  Run* run;
  var* key_block;
  int target;
  bool open = false;            // a run has begun
  std::string key;
  std::vector<int> summed;      // field numbers totalled
  std::vector<double> sums;
  var* first = nullptr;         // the first record's values (an array)
  Progress progress;
  long done = 0;
};

// Append the run's record to the target.
void flush_total(TotalRun& t)
{
  if (!t.open) return;
  const int back = selected_area();
  select_area(t.target);
  _bb_dbappend(0, nullptr);
  for (uint32_t i = 0; i < VARR(t.first)->A_size; ++i) {
    var* args[] = {set_Iv(int32_t(i) + 1), VARR(t.first)->A_vec[i]};
    _bb_fieldput(2, args);
  }
  for (size_t i = 0; i < t.summed.size(); ++i) {
    var* args[] = {set_Iv(t.summed[i]), set_nv(t.sums[i], 0)};
    _bb_fieldput(2, args);
  }
  select_area(back);
}

void total_record(TotalRun& t)
{
  const std::string key = key_bytes(vlnBlockEval(t.key_block));
  if (!t.open || key != t.key) {
    flush_total(t);
    t.open = true;
    t.key = key;
    std::fill(t.sums.begin(), t.sums.end(), 0.0);
    for (uint32_t i = 0; i < VARR(t.first)->A_size; ++i) {
      var* n[] = {set_Iv(int32_t(i) + 1)};
      cpy_var(VARR(t.first)->A_vec[i], _bb_fieldget(1, n));
    }
  }
  for (size_t i = 0; i < t.summed.size(); ++i) {
    var* n[] = {set_Iv(t.summed[i])};
    t.sums[i] += vlnNumVar(_bb_fieldget(1, n));
  }
  t.progress.step(++t.done);
}

var* total_one(int argc, var** argv, var** avec)
{
  VL_BEGIN("tablemerge", "total_one");
  VL_STMT(total_record(*context_of<TotalRun>(avec)));
  VL_RETURN_NIL();
}

bool total_on(Run& run, int argc, var** argv)
{
  if (!need_table(kTotal)) return false;
  var* file = arg(argc, argv, 0);
  var* key = arg(argc, argv, 1);
  if (!is_text(file)) {
    prg_error(kFileNameExpected, kTotal);
    return false;
  }
  if (key->Type != 'B' && key->Type != 'b') {
    prg_error(kBlockExpected, kTotal);
    return false;
  }
  for (const FieldDesc& d : area_struct())
    if (d.type != 'M') run.descs.push_back(d);
  TotalRun& t = run.make<TotalRun>();
  t.run = &run, t.key_block = key;
  for (const std::string& name : list_fields(arg(argc, argv, 2))) {
    const int i = desc_index(run.descs, name);
    if (i >= 0 && std::strchr("NFI", run.descs[size_t(i)].type)) t.summed.push_back(i + 1);
  }
  t.sums.assign(t.summed.size(), 0.0);
  t.first = cre_arr(mak_var('N', 'U'), int32_t(run.descs.size()), VL_ARR_NIL, static_cast<var*>(nullptr));
  run.owned.push_back(t.first);
  var* driver = driver_or_current(NIL_VAR);
  if (!create_table(file, run.descs, driver, area_perms())) return false;
  t.target = run.open(driver, file, temp_alias("__cpy"), false);
  if (!t.target) {
    prg_error(kCannotOpenTarget, kTotal, text_of(file).c_str());
    return false;
  }
  select_area(run.back);
  var* scope[kScopeArgs];
  take_scope(argc, argv, 3, scope);
  t.progress.begin(kTotal);
  eval_scope(ptr_block(total_one, &t), scope);
  t.progress.end();
  flush_total(t);
  return true;
}

/* ---- UPDATE. ---- */

// -1, 0 or 1 as key a orders before, with or after key b: texts by the
// active language's collation, numbers, dates and logicals by value.
int compare_keys(var* a, var* b)
{
  if (is_text(a) && is_text(b)) {
    const std::string x = text_of(a), y = text_of(b);
    const unsigned char* coll = vlnGetLangChars();
    const size_t n = std::min(x.size(), y.size());
    for (size_t i = 0; i < n; ++i) {
      const int cx = coll[(unsigned char)x[i]], cy = coll[(unsigned char)y[i]];
      if (cx != cy) return cx < cy ? -1 : 1;
    }
    return x.size() == y.size() ? 0 : x.size() < y.size() ? -1 : 1;
  }
  const double x = a->Type == 'D' || a->Type == 'L' ? VINT(a) : vlnNumVar(a);
  const double y = b->Type == 'D' || b->Type == 'L' ? VINT(b) : vlnNumVar(b);
  return x < y ? -1 : x > y ? 1 : 0;
}

struct UpdateRun {
  int source, target;
  var* key_block;
  var* assign;
  bool random;
};

// The key of the current record of area n (which is left selected).
var* key_in(const UpdateRun& u, int n)
{
  select_area(n);
  return vlnBlockEval(u.key_block);
}

void update_record(const UpdateRun& u)
{
  var* key = mk_var_cp(key_in(u, u.source));
  select_area(u.target);
  bool found;
  if (u.random) {
    var* args[] = {key};
    found = vlnLogVar(_bb_dbseek(1, args));
  } else {
    while (!vlnLogVar(_bb_eof(0, nullptr)) && compare_keys(key_in(u, u.target), key) < 0) {
      var* one[] = {set_Iv(1)};
      _bb_dbskip(1, one);
    }
    found = !vlnLogVar(_bb_eof(0, nullptr)) && compare_keys(key_in(u, u.target), key) == 0;
  }
  if (found) vlnBlockEval(u.assign);
  select_area(u.source);
}

var* update_one(int argc, var** argv, var** avec)
{
  VL_BEGIN("tablemerge", "update_one");
  VL_STMT(update_record(*context_of<UpdateRun>(avec)));
  VL_RETURN_NIL();
}

bool is_block(const var* v) { return v->Type == 'B' || v->Type == 'b'; }

bool update_from(Run& run, int argc, var** argv)
{
  if (!need_table(kUpdate)) return false;
  var* alias = arg(argc, argv, 0);
  var* random = arg(argc, argv, 2);
  UpdateRun u{0, run.back, arg(argc, argv, 1), arg(argc, argv, 3), random->Type == 'L' && vlnLogVar(random)};
  if (!is_text(alias)) {
    prg_error(kFileNameExpected, kUpdate);
    return false;
  }
  if (!is_block(u.assign) || !is_block(u.key_block)) {
    prg_error(kBlockExpected, kUpdate);
    return false;
  }
  if (u.random && (vlnIntVar(_bb_indexord(0, nullptr)) == 0 || text_of(_bb_indexkey(0, nullptr)).empty())) {
    prg_error(kBlockExpected, kUpdate);
    return false;
  }
  AreaRec* source = vlnAliasLocateArea(text_of(alias).c_str());
  if (!source || !source->obj) {
    prg_error(kCannotOpenSource, kUpdate, text_of(alias).c_str());
    return false;
  }
  u.source = source->number;
  if (!u.random) _bb_dbgotop(0, nullptr);
  select_area(u.source);
  var* none[kScopeArgs] = {NIL_VAR, NIL_VAR, NIL_VAR, NIL_VAR, NIL_VAR};
  eval_scope(ptr_block(update_one, &u), none);
  return true;
}

/* ---- JOIN. ---- */

struct JoinRun {
  Copier* copier;
  int other;
  var* cond;
};

var* join_pair(int argc, var** argv, var** avec)
{
  VL_BEGIN("tablemerge", "join_pair");
  VL_STMT(context_of<Copier>(avec)->copy_current());
  VL_RETURN_NIL();
}

// For the selected record, one target record per record of the other
// table for which the condition holds.
var* join_one(int argc, var** argv, var** avec)
{
  VL_BEGIN("tablemerge", "join_one");
  JoinRun* j = context_of<JoinRun>(avec);
  const int back = selected_area();
  VL_STMT(select_area(j->other));
  var* scope[kScopeArgs] = {j->cond, NIL_VAR, NIL_VAR, NIL_VAR, NIL_VAR};
  VL_STMT(eval_scope(ptr_block(join_pair, j->copier), scope));
  VL_STMT(select_area(back));
  VL_RETURN_NIL();
}

// The target's rows and the pairs that fill them: names given (an alias
// part naming the other table reads from it), or the fields of the
// selected table followed by the other's that it lacks.
void join_fields(Run& run, var* list, const std::string& other_alias, int other)
{
  const std::vector<FieldDesc> mine = area_struct();
  select_area(other);
  const std::vector<FieldDesc> theirs = area_struct();
  select_area(run.back);
  std::vector<std::pair<std::string, bool>> wanted;  // name, from the other table
  if (list->Type == 'A' && VARR(list)->A_size > 0) {
    for (uint32_t i = 0; i < VARR(list)->A_size; ++i) {
      std::string text = text_of(VARR(list)->A_vec[i]);
      for (char& c : text) c = char(std::toupper((unsigned char)c));
      const size_t arrow = text.rfind("->");
      const bool named_other = arrow != std::string::npos && text.substr(0, arrow).find(other_alias) == 0;
      var* one = cre_arr(cre_tmpvar(), 1, VL_ARR_LIST, text_var(text), static_cast<var*>(nullptr));
      for (const std::string& name : list_fields(one))
        wanted.emplace_back(name, named_other || desc_index(mine, name) < 0);
    }
  } else {
    for (const FieldDesc& d : mine) wanted.emplace_back(d.name, false);
    for (const FieldDesc& d : theirs)
      if (desc_index(mine, d.name) < 0) wanted.emplace_back(d.name, true);
  }
  for (const auto& [name, from_other] : wanted) {
    const std::vector<FieldDesc>& side = from_other ? theirs : mine;
    const int i = desc_index(side, name);
    if (i < 0 || desc_index(run.descs, name) >= 0) continue;
    run.descs.push_back(side[size_t(i)]);
    run.copier.pairs.push_back({i + 1, int(run.descs.size()), side[size_t(i)].type, side[size_t(i)].type,
                                from_other ? other : run.back});
  }
}

bool join_with(Run& run, int argc, var** argv)
{
  if (!need_table(kJoin)) return false;
  var* alias = arg(argc, argv, 0);
  var* file = arg(argc, argv, 1);
  if (!is_text(alias) || !is_text(file)) {
    prg_error(kFileNameExpected, kJoin);
    return false;
  }
  AreaRec* other = vlnAliasLocateArea(text_of(alias).c_str());
  if (!other || !other->obj) {
    prg_error(kCannotOpenSource, kJoin, text_of(alias).c_str());
    return false;
  }
  std::string upper_alias = text_of(alias);
  for (char& c : upper_alias) c = char(std::toupper((unsigned char)c));
  join_fields(run, arg(argc, argv, 2), upper_alias, other->number);
  if (run.descs.empty()) {
    prg_error(kEmptyFieldList, kJoin);
    return false;
  }
  var* driver = driver_or_current(NIL_VAR);
  if (!create_table(file, run.descs, driver, area_perms())) return false;
  const int target = run.open(driver, file, temp_alias("__joi"), false);
  if (!target) {
    prg_error(kCannotOpenTarget, kJoin, text_of(file).c_str());
    return false;
  }
  select_area(run.back);
  Copier& c = run.copier;
  c.command = kJoin, c.source = other->number, c.target = target;
  JoinRun j{&c, other->number, arg(argc, argv, 3)};
  var* none[kScopeArgs] = {NIL_VAR, NIL_VAR, NIL_VAR, NIL_VAR, NIL_VAR};
  c.progress.begin(kJoin);
  eval_scope(ptr_block(join_one, &j), none);
  c.progress.end();
  return true;
}

}  // namespace

VLN_FUNC(__dbsort)
{
  return guarded_run([&](Run& run) { return sort_to(run, argc, argv) ? TRUE_VAR : FALSE_VAR; });
}

VLN_FUNC(__dbtotal)
{
  return guarded_run([&](Run& run) { return total_on(run, argc, argv) ? TRUE_VAR : FALSE_VAR; });
}

VLN_FUNC(__dbupdate)
{
  return guarded_run([&](Run& run) { return update_from(run, argc, argv) ? TRUE_VAR : FALSE_VAR; });
}

VLN_FUNC(__dbjoin)
{
  return guarded_run([&](Run& run) { return join_with(run, argc, argv) ? TRUE_VAR : FALSE_VAR; });
}
