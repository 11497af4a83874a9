// movemodel.h -- where moves should land, worked out from the rows alone:
// the records in walking order (by number or by key) and which of them
// are visible (SET DELETED, the filter).  The tests of moves, scopes and
// LOCATE compare the driver with it.
#pragma once

#include <string>
#include <vector>

namespace movemodel {

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

class Model {
 public:
  // walk: every record number once, in walking order; visible(r) for
  // r = 1..count.
  template <class Visible>
  Model(std::vector<int> walk, Visible visible) : walk_(std::move(walk)), shown_(walk_.size() + 2)
  {
    for (int r : walk_) shown_[r] = visible(r);
  }
  int count() const { return int(walk_.size()); }
  const std::vector<int>& walk() const { return walk_; }
  bool visible(int rec) const { return rec >= 1 && rec <= count() && shown_[rec]; }

  Pos ghost(bool bof) const { return {count() + 1, bof || count() == 0, true}; }
  Pos top() const
  {
    for (int r : walk_)
      if (shown_[r]) return {r};
    return ghost(true);
  }
  Pos bottom() const
  {
    for (auto it = walk_.rbegin(); it != walk_.rend(); ++it)
      if (shown_[*it]) return {*it};
    return ghost(true);
  }
  // GOTO k: anywhere, visible or not; 0 and past the end are the ghost.
  Pos go(int k) const { return k >= 1 && k <= count() ? Pos{k} : ghost(true); }
  // SKIP n from p: n visible records on; off the end the ghost, off the
  // front the top with BOF.
  Pos skip(const Pos& p, int n) const
  {
    if (count() == 0) return ghost(true);
    if (n == 0) return p;
    const int step = n > 0 ? 1 : -1;
    int left = n > 0 ? n : -n;
    for (int i = index_of(p.rec) + step; i >= 0 && i < count(); i += step)
      if (shown_[walk_[i]] && --left == 0) return {walk_[i]};
    if (n > 0) return ghost(false);
    Pos t = top();
    t.bof = true;
    return t;
  }
  // SEEK of a key given by keys (per record, in walking order ascending):
  // the first visible record of the key, or with soft of a key not below it.
  template <class Key>
  Pos seek(Key key_of, int key, bool soft) const
  {
    if (count() == 0) return ghost(true);
    for (int r : walk_) {
      if (key_of(r) < key || !shown_[r]) continue;
      if (key_of(r) == key) return {r, false, false, true};
      if (soft) return {r};
      break;
    }
    return ghost(false);
  }

 private:
  int index_of(int rec) const
  {
    for (int i = 0; i < count(); ++i)
      if (walk_[i] == rec) return i;
    return count();  // the ghost
  }
  std::vector<int> walk_;
  std::vector<bool> shown_;  // by record number
};

}  // namespace movemodel
