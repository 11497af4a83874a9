// set_table.hpp -- the numbers of SET(): the kind of each setting and, for
// the plain logical switches, the byte that holds it.
#pragma once

#include "set.h"
#include "switches.hpp"

namespace vlset {

enum class Kind : unsigned char {
  None,     // no such setting: SET gives NIL
  Logical,  // .T./.F., "ON"/"OFF", a number as a logical
  Numeric,  // a number, a logical as 1 or -1
  Text,     // a text
  Reserved, // always .T.
  AutoLock  // a number, or a logical that switches it
};

// Where a plain logical switch lives; Own means the set module handles it
// apart (cursor, message centre, multiple locks, century).
enum class Holder : unsigned char { Own, Flags, Status };

struct Row {
  Kind kind;
  Holder holder;
  unsigned char index;  // byte in flags or __status
};

// The SET numbers.
enum : int {
  kExact = 1, kFixed, kDecimals, kDateFormat, kEpoch, kPath, kDefault,
  kExclusive, kSoftSeek, kUnique, kDeleted, kCancel, kDebug, kTypeahead,
  kColor, kCursor, kConsole, kAlternate, kAltFile, kDevice, kExtra,
  kExtraFile, kPrinter, kPrintFile, kMargin, kBell, kConfirm, kEscape,
  kInsert, kExit, kIntensity, kScoreboard, kDelimiters, kDelimChars, kWrap,
  kMessage, kMCenter, kReserved, kAutoLock, kMultiLocks, kCentury,
  kLastSet = kCentury
};

constexpr Row L(Holder h, int i) { return {Kind::Logical, h, static_cast<unsigned char>(i)}; }
constexpr Row kNoRow = {Kind::None, Holder::Own, 0};
constexpr Row kNum = {Kind::Numeric, Holder::Own, 0};
constexpr Row kText = {Kind::Text, Holder::Own, 0};
constexpr Row kOwnL = {Kind::Logical, Holder::Own, 0};

inline constexpr Row kRows[kLastSet + 1] = {
    kNoRow,
    L(Holder::Flags, VL_FLAG_EXACT),      L(Holder::Flags, VL_FLAG_FIXED),
    kNum,                                 kText,
    kNum,                                 kText,
    kText,                                L(Holder::Flags, VL_FLAG_EXCLUSIVE),
    L(Holder::Flags, VL_FLAG_SOFTSEEK),   L(Holder::Flags, VL_FLAG_UNIQUE),
    L(Holder::Flags, VL_FLAG_DELETED),    L(Holder::Status, VL_STATUS_CANCEL),
    L(Holder::Status, VL_STATUS_DEBUG),   kNum,
    kText,                                kNum,
    L(Holder::Flags, VL_FLAG_CONSOLE),    L(Holder::Flags, VL_FLAG_ALTERNATE),
    kText,                                kText,
    L(Holder::Flags, VL_FLAG_EXTRA),      kText,
    L(Holder::Flags, VL_FLAG_PRINTER),    kText,
    kNum,                                 L(Holder::Flags, VL_FLAG_BELL),
    L(Holder::Flags, VL_FLAG_CONFIRM),    L(Holder::Flags, VL_FLAG_ESCAPE),
    L(Holder::Status, VL_STATUS_INSERT),  L(Holder::Status, VL_STATUS_EXIT),
    L(Holder::Flags, VL_FLAG_INTENSITY),  L(Holder::Flags, VL_FLAG_SCOREBOARD),
    L(Holder::Flags, VL_FLAG_DELIMITERS), kText,
    L(Holder::Flags, VL_FLAG_WRAP),       kNum,
    kOwnL,                                {Kind::Reserved, Holder::Own, 0},
    {Kind::AutoLock, Holder::Own, 0},     kOwnL,
    kOwnL};

// The row of SET number n; kNoRow outside the table.
inline const Row& row(int n) { return n >= 1 && n <= kLastSet ? kRows[n] : kRows[0]; }

// SET CURSOR through its hook: 1 for a positive value, else 0.
void set_cursor(int value);
// The auto-lock time through the lock layer's hooks or the local store.
int autolock_get();
int autolock_set(int seconds);
int autolock_on();
// Open a side channel (SET 19, 22 or 24) on target through its hook, or
// keep the name when the hook is missing.
void channel_to(int n, const char* target, int additive);
// Whether SET PRINTER ON has somewhere to print.
bool printer_ready();
// SET DATE: check text, store its normal form unless it is unusable, and
// report a bad one (336).
void set_date_format(const char* text);

}  // namespace vlset
