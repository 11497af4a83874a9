// The numeric settings of SET(): _cgetsetnum.
#include "set.h"
#include "set_table.hpp"
#include "sethooks.h"

namespace {

using namespace vlset;

// The widest accepted values; anything outside leaves a setting as it was.
constexpr int kMaxDecimals = 99;
constexpr int kMaxEpoch = 9999;
constexpr int kMaxTypeahead = 4096;
constexpr int kMaxMargin = 255;
constexpr int kMaxMessageRow = 9999;

bool in_range(int value, int high) { return value >= 0 && value <= high; }

int read_numeric(int n)
{
  switch (n) {
    case kDecimals: return vln_flagto.decimals;
    case kEpoch: return vln_flagto.epoch;
    case kTypeahead: return vln_flagto.typeahead;
    case kCursor: return flags[VL_FLAG_CURSOR];
    case kMargin: return vln_flagto.margin;
    case kMessage: return vln_flagto.message_row;
    case kAutoLock: return autolock_get();
    default: return VL_SET_NOCHANGE;
  }
}

void write_numeric(int n, int value)
{
  VlnFlagTo& f = vln_flagto;
  switch (n) {
    case kDecimals:
      if (in_range(value, kMaxDecimals)) f.decimals = value;
      break;
    case kEpoch:
      if (in_range(value, kMaxEpoch)) f.epoch = value;
      break;
    case kTypeahead:
      if (!in_range(value, kMaxTypeahead)) break;
      f.typeahead = value;
      if (vln_typeahead_hook) vln_typeahead_hook(value);
      break;
    case kCursor: set_cursor(value); break;
    case kMargin:
      if (in_range(value, kMaxMargin)) f.margin = value;
      break;
    case kMessage:
      if (in_range(value, kMaxMessageRow)) f.message_row = value;
      break;
    case kAutoLock: autolock_set(value); break;
    default: break;
  }
}

}  // namespace

extern "C" int _cgetsetnum(int n, int value)
{
  const int former = read_numeric(n);
  if (former != VL_SET_NOCHANGE && value != VL_SET_NOCHANGE) write_numeric(n, value);
  return former;
}
