// movemodel.h -- where moves should land, worked out from the rows alone:
// the records in walking order (by number or by key) and which of them are
// visible (SET DELETED, the filter).  The tests of moves, scopes and LOCATE
// compare the driver with it.
#pragma once

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

namespace movemodel {

// The rows of the tests' tables: R the record number, K a key that repeats
// in 100 rows; with deleted, every third row from the first is deleted.
inline int key_of(int r) { return r * 7 % 23 * 2; }
inline bool deleted_row(int r) { return r % 3 == 1; }
// The expression that makes table name of count such rows, open in a new
// area (shared or exclusive), with its key order active.
inline std::string create(const std::string& name, int count, bool deleted, bool shared = false)
{
  return "DBCREATE('" + name + "', {{'R','N',5,0}, {'K','N',5,0}}), DBUSEAREA(.T., , '" + name + "', , " +
         (shared ? ".T." : ".F.") + "), AEVAL(ARRAY(" + std::to_string(count) +
         "), {|x, i| DBAPPEND(), FIELDPUT(1, i), FIELDPUT(2, i * 7 % 23 * 2), IIF(" + (deleted ? ".T." : ".F.") +
         " .AND. i % 3 == 1, DBDELETE(), NIL)}), ORDCREATE('" + name + "', , 'K')";
}

// The position as {RECNO(), BOF(), EOF(), FOUND()} shows it.
struct Pos {
  int rec;
  bool bof = false, eof = false, found = false;
  std::string shown() const
  {
    auto l = [](bool b) { return b ? ".T." : ".F."; };
    return "{" + std::to_string(rec) + ", " + l(bof) + ", " + l(eof) + ", " + l(found) + "}";
  }
};

// Rows 1..count walked by number, or by key (ties by number).
class Model {
 public:
  Model(int count, bool by_key, const std::function<bool(int)>& visible) : shown_(count + 2)
  {
    for (int r = 1; r <= count; ++r) walk_.push_back(r), shown_[r] = visible(r);
    if (by_key) std::stable_sort(walk_.begin(), walk_.end(), [](int a, int b) { return key_of(a) < key_of(b); });
  }
  int count() const { return int(walk_.size()); }

  Pos ghost(bool bof) const { return {count() + 1, bof || count() == 0, true}; }
  Pos top() const { return skip(ghost(false), 1, -1); }
  Pos bottom() const { return skip(ghost(false), -1, count()); }
  // GOTO k: anywhere, visible or not; 0 and past the end are the ghost.
  Pos go(int k) const { return k >= 1 && k <= count() ? Pos{k} : ghost(true); }
  // SKIP n from p: the n-th visible record on; off the end the ghost, off
  // the front the top with BOF.  from: p's place in the walk.
  Pos skip(const Pos& p, int n, int from = -2) const
  {
    if (count() == 0) return ghost(true);
    if (n == 0) return p;
    if (from == -2) from = int(std::find(walk_.begin(), walk_.end(), p.rec) - walk_.begin());
    int left = std::abs(n);
    for (int i = from + (n > 0 ? 1 : -1); i >= 0 && i < count(); i += n > 0 ? 1 : -1)
      if (shown_[walk_[i]] && --left == 0) return {walk_[i]};
    if (n > 0) return ghost(from == -1);  // from the top: nothing visible
    Pos t = top();
    t.bof = true;
    return t;
  }
  // SEEK want in the key walk: the first visible record of the key; with
  // soft the first visible record of a key not below it.
  Pos seek(int want, bool soft) const
  {
    if (count() == 0) return ghost(true);
    for (int r : walk_)
      if (key_of(r) >= want && shown_[r]) {
        if (key_of(r) == want) return {r, false, false, true};
        if (soft) return {r};
        break;
      }
    return ghost(false);
  }

 private:
  std::vector<int> walk_;
  std::vector<bool> shown_;  // by record number
};

}  // namespace movemodel
