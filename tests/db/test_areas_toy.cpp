// The toy data server of the work-area tests.
#include "test_areas_toy.hpp"

#include <algorithm>
#include <deque>
#include <cstdio>
#include <cstring>

#include "arrays.h"
#include "dsslots.h"
#include "objects.h"

namespace toy {

namespace {

// Object slots beyond the 42 variables: the shared flag and the state.
constexpr int32_t kSharedValue = 44;
constexpr int32_t kState = 45;
constexpr int32_t kSlots = 44;
constexpr int32_t kMethods = VLN_DBFIDX_QUICKFIELDPUT + 1;
constexpr size_t kNameWidth = 10;
constexpr size_t kAgeWidth = 3;

struct State {
  char alias[11] = "";
  std::vector<Row> rows;
  size_t recno = 0;
  char recbuf[kNameWidth + kAgeWidth + 1] = {};
  var* fields[2] = {};
  bool open = false;
};

// Filler names for the method slots a class leaves empty: they sort after
// every real name.  A deque keeps the texts in place as it grows.
const char* filler(int32_t slot)
{
  static std::deque<std::string> names;
  while (names.size() <= static_cast<size_t>(slot)) {
    char buf[16];
    std::snprintf(buf, sizeof buf, "zz%04zu", names.size());
    names.emplace_back(buf);
  }
  return names[static_cast<size_t>(slot)].c_str();
}

const VlnClassRow* toy_class(Kind kind)
{
  static const VlnClassRow* classes[2] = {};
  const VlnClassRow*& cls = classes[kind == Kind::quick];
  if (!cls) {
    std::vector<Method> m = {{"axit", VLN_DBFIDX_AXIT, 'M'},
                             {"fieldget", VLN_DS_FIELDGET, 'M'},
                             {"fieldput", VLN_DS_FIELDPUT, 'M'},
                             {"shared", VLN_DS_SHARED_AC, 'A'},
                             {"skip", VLN_DS_SKIP, 'M'}};
    if (kind == Kind::quick) {
      m.push_back({"quickfieldget", VLN_DBFIDX_QUICKFIELDGET, 'M'});
      m.push_back({"quickfieldput", VLN_DBFIDX_QUICKFIELDPUT, 'M'});
    }
    cls = make_class(kind == Kind::quick ? "quickserver" : "toyserver", 'D',
                     {{"shared", VLN_IV_SHARED, 'A'}}, m, kMethods);
  }
  return cls;
}

State* state_of(var* obj)
{
  var* s = vlnGetObj(obj, kState);
  return s->Type == '?' ? static_cast<State*>(const_cast<void*>(s->Value.w1.ptr)) : nullptr;
}

// Copy the current row into the record buffer and the field records.
void load(State* s)
{
  const Row& r = s->rows[s->recno];
  std::snprintf(s->recbuf, sizeof s->recbuf, "%-10.10s%3.0f", r.name.c_str(), r.age);
  VDBL(s->fields[1]) = r.age;
}

var* field_by_number(State* s, int32_t n)
{
  if (!s || n < 1 || n > 2) return NIL_VAR;
  load(s);
  return s->fields[n - 1];
}

var* put(State* s, int32_t n, var* value)
{
  if (!s || n < 1 || n > 2) return NIL_VAR;
  Row& r = s->rows[s->recno];
  if (n == 1)
    r.name = vltest::str(value).substr(0, kNameWidth);
  else
    r.age = vlnNumVar(value);
  return field_by_number(s, n);
}

var* fieldget(int argc, var** argv)
{
  ++counters().fieldgets;
  return field_by_number(state_of(argv[0]), vlnIntVar(argv[1]));
}

var* fieldput(int argc, var** argv)
{
  ++counters().fieldputs;
  return put(state_of(argv[0]), vlnIntVar(argv[1]), argv[2]);
}

var* quickget(int argc, var** argv)
{
  ++counters().quickgets;
  return field_by_number(state_of(argv[0]), static_cast<int32_t>(argv[1]->F_indx) + 1);
}

var* quickput(int argc, var** argv)
{
  ++counters().quickputs;
  return put(state_of(argv[0]), static_cast<int32_t>(argv[1]->F_indx) + 1, argv[2]);
}

var* skip(int argc, var** argv)
{
  ++counters().skips;
  counters().last_skip = vlnIntVar(argv[1]);
  return TRUE_VAR;
}

var* shared_ac(var* obj) { return vlnGetObj(obj, kSharedValue); }

var* axit(int argc, var** argv)
{
  ++counters().axits;
  State* s = state_of(argv[0]);
  if (s && s->open) close(argv[0]);
  delete s;
  set_ivar(vlnGetObj(argv[0], kState), 0);
  return argv[0];
}

var* methods()
{
  static var* m = nullptr;
  if (m) return m;
  m = cre_arr(mak_var('N', 'U'), kMethods, 0, static_cast<var*>(nullptr));
  vlnAddMethod(m, VLN_DBFIDX_AXIT, reinterpret_cast<AnyFn>(axit), 0);
  vlnAddMethod(m, VLN_DS_FIELDGET, reinterpret_cast<AnyFn>(fieldget), 1);
  vlnAddMethod(m, VLN_DS_FIELDPUT, reinterpret_cast<AnyFn>(fieldput), 2);
  vlnAddMethod(m, VLN_DBFIDX_QUICKFIELDGET, reinterpret_cast<AnyFn>(quickget), 1);
  vlnAddMethod(m, VLN_DBFIDX_QUICKFIELDPUT, reinterpret_cast<AnyFn>(quickput), 2);
  vlnAddMethod(m, VLN_DS_SHARED_AC, reinterpret_cast<AnyFn>(shared_ac), 0);
  vlnAddMethod(m, VLN_DS_SKIP, reinterpret_cast<AnyFn>(skip), 1);
  return m;
}

}  // namespace

Counters& counters()
{
  static Counters c;
  return c;
}

var* open(const char* name, std::vector<Row> rows, Kind kind, bool shared, int* changed)
{
  var* obj = set_Ov(kSlots, toy_class(kind), methods());
  vlnSetDefault(obj, kSharedValue, 'L', shared ? TRUE_VAR : FALSE_VAR);
  vlnDoSpecial(obj, VLN_IV_SHARED, kSharedValue, VLN_DS_SHARED_AC, -1);
  auto* s = new State;
  s->rows = std::move(rows);
  set_ivar(vlnGetObj(obj, kState), reinterpret_cast<intptr_t>(s));
  const int r = vlnAnnounceAlias(obj, name, s->alias);
  if (changed) *changed = r;
  s->fields[0] = vlnAnnounceField("NAME", 0, 'C', 1, kNameWidth, 0, s->recbuf);
  s->fields[1] = vlnAnnounceField("AGE", 1, 'N', 1, kAgeWidth, 0, s->recbuf + kNameWidth);
  s->open = true;
  if (!s->rows.empty()) load(s);
  return obj;
}

void close(var* obj)
{
  State* s = state_of(obj);
  if (!s || !s->open) return;
  s->open = false;
  vlnRetireField(obj, "NAME");
  vlnRetireField(obj, "AGE");
  vlnRetireAlias(obj);  // may release the object: s is gone after this
}

void go(var* obj, size_t i)
{
  State* s = state_of(obj);
  s->recno = i;
  load(s);
}

const std::vector<Row>& rows(var* obj) { return state_of(obj)->rows; }

const char* alias(var* obj) { return state_of(obj)->alias; }

var* plain_object()
{
  static const VlnClassRow* cls = make_class("bystander", 'O', {}, {}, 0);
  return set_Ov(0, cls, cre_arr(cre_tmpvar(), 0, 0, static_cast<var*>(nullptr)));
}

const VlnClassRow* make_class(const char* name, char mark, std::vector<Method> ivars,
                              std::vector<Method> methods, int32_t slots)
{
  auto by_name = [](const Method& a, const Method& b) { return std::strcmp(a.name, b.name) < 0; };
  std::vector<bool> used(static_cast<size_t>(slots), false);
  for (const Method& m : methods) used[static_cast<size_t>(m.slot)] = true;
  for (int32_t i = 0; i < slots; ++i)
    if (!used[static_cast<size_t>(i)]) methods.push_back({filler(i), i, 'M'});
  std::stable_sort(ivars.begin(), ivars.end(), by_name);
  std::stable_sort(methods.begin(), methods.end(), by_name);
  auto* rows = new VlnClassRow[2 + ivars.size() + methods.size()];  // lives as long as the class
  const auto ni = static_cast<int32_t>(ivars.size());
  const auto nm = static_cast<int32_t>(methods.size());
  rows[0] = {mark, ni, nm, 2};
  rows[1] = {reinterpret_cast<intptr_t>(name), ni, nm, 0};
  size_t r = 2;
  for (const Method& v : ivars) rows[r++] = {reinterpret_cast<intptr_t>(v.name), v.slot, 0, v.kind};
  for (const Method& m : methods) rows[r++] = {reinterpret_cast<intptr_t>(m.name), m.slot, 0, m.kind};
  return rows;
}

}  // namespace toy
