// facade_shape.hpp -- the shapes of the database functions.
//
// Every database function is one of a few shapes, each described by a
// small constant row and run by one helper:
//
//   send   object of the selected area -> vlnBringError -> vlnParamCheck on
//          the first arguments -> one message by slot, with an optional
//          leading code argument (fieldinfo, orderinfo, info);
//   read   object -> vlnBringError -> one instance variable;
//   scope  as send, with the trailing FOR..REST arguments packed by
//          vlnDoScope.
//
// Functions with a twist (a default filled in, a result post-processed) use
// the pieces below directly.
#pragma once

#include <cstdint>

#include "dsslots.h"
#include "facade.h"
#include "letters.hpp"

namespace vlfacade {

// What a function gives after giving up.
enum class Neutral : uint8_t { False, Empty, Zero, MinusOne, BlankDate, Nil, EmptyArray };

// The most arguments a function passes on to its message.
constexpr int kMaxArgs = 16;

struct Send {
  const char* op;       // the function's name in reports
  const char* msg;      // message name, for a send by name when the slot fails
  int16_t slot;         // message slot (VlnDsSlot)
  uint8_t mode;         // VLN_BRING_REPORT or VLN_BRING_SILENT
  Neutral neutral;
  const char* types[3] = {};  // type sets of the first arguments; null: any
  int32_t code = 0;           // non-zero: passed as a number before the arguments
  int maxargs = kMaxArgs;     // caller's arguments passed on at most
};

struct Read {
  const char* name;  // instance variable
  int16_t ivar;      // its slot (VlnDsIvar)
  Neutral neutral;
};

struct Scope {
  Send send;   // types apply to the fixed arguments
  int fixed;   // arguments before FOR
};

// Whether an argument was given: present and not NIL.
inline bool present(const var* v) { return v && v->Type != 'U'; }
// The text of a 'C' or 'M' value, or "".
inline const char* text_of(const var* v) { return v && vl::kCM.has(v->Type) && VSTR(v) ? VSTR(v) : ""; }

// The neutral value as a result.
var* neutral(Neutral n);
// The object of the selected area, or null.
var* selected_object();
// The selected object, or null after vlnBringError with mode.
var* object_or_bring(int mode);
// Whether the first arguments pass their type sets.
bool check_args(const char* op, const char* const (&types)[3], int argc, var** argv);
// Send msg/slot to obj with an optional code and argv[0..argc).
var* dispatch(var* obj, const char* msg, int slot, int32_t code, int argc, var** argv);
// Read instance variable ivar of obj.
var* read_ivar(var* obj, const char* name, int ivar);

var* send(const Send& s, int argc, var** argv);
var* read_iv(const Read& r);
var* scope(const Scope& s, int argc, var** argv);

}  // namespace vlfacade
