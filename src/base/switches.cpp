// The switch stores, their defaults and their getters.
//
// Defaults are those of the language: the logical switches off except
// EXCLUSIVE, CANCEL, CURSOR, CONSOLE, ESCAPE, INTENSITY, SCOREBOARD (and the
// keyboard's key repeat); DECIMALS 2, DATE "MM/DD/YY", EPOCH 1900,
// TYPEAHEAD 50, DEVICE "SCREEN", delimiters "::"; report level 800, escape
// delay 10.
#include "switches.hpp"

#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "runtime.h"

using namespace vl;

namespace {

constexpr int kDefaultDecimals = 2;
constexpr int kDefaultEpoch = 1900;
constexpr int kDefaultTypeahead = 50;
constexpr int kDefaultEscDelay = 10;

// Owned texts start as literals; the first change replaces them by heap
// copies.  Kept apart so that vln_flagto_settext never frees a literal.
char kEmpty[] = "";
char kDefaultColor[] = "W/N,N/W,N,N,N/W";

bool owned(const char* text) { return text != kEmpty && text != kDefaultColor; }

int iIV;

}  // namespace

namespace vl {

unsigned char flags[VL_FLAGS_SIZE];
int32_t vl_set_flag[VL_SET_FLAGS_SIZE];
int32_t sgflag;

VlnFlagTo vln_flagto;

void vln_flagto_settext(char** member, const char* text)
{
  char* copy = kEmpty;
  if (text && *text) {
    copy = static_cast<char*>(
        vln_malloc(std::strlen(text) + 1, "to store path", 2, 1000, __FILE__, __LINE__));
    if (!copy) return;
    std::strcpy(copy, text);
  }
  if (*member && owned(*member)) vln_free(*member, __FILE__, __LINE__);
  *member = copy;
}

}  // namespace vl

extern "C" {

int32_t vlnFCNTLreadwrite = 3;
int32_t vlnFCNTLcompat42 = 0;

int vlnGetDecimals(void) { return vln_flagto.decimals; }
int vlnGetExact(void) { return flags[VL_FLAG_EXACT] != 0; }
int vlnGetFixed(void) { return flags[VL_FLAG_FIXED] != 0; }
int vlnGetDelete(void) { return flags[VL_FLAG_DELETED] != 0; }
int vlnGetExclusive(void) { return flags[VL_FLAG_EXCLUSIVE] != 0; }
int vlnGetSoftSeek(void) { return flags[VL_FLAG_SOFTSEEK] != 0; }
int vlnGetUnique(void) { return flags[VL_FLAG_UNIQUE] != 0; }
int vlnGetLowerFiles(void) { return vl_set_flag[VL_SLOT_LOWERFILE] != 0; }
int vlnGetUpperFiles(void) { return vl_set_flag[VL_SLOT_UPPERFILE] != 0; }
int vlnGet42Compatible(void) { return vl_set_flag[VL_SLOT_COMPAT42] != 0; }
int vlnGetDevel(void) { return vl_set_flag[VL_SLOT_LEVEL] <= VL_DEVEL_LEVEL; }
int vlnGetIntvar(void) { return iIV; }
void vlnSetIntvar(int on) { iIV = on != 0; }
int vlnGetEpoch(void) { return vln_flagto.epoch; }
const char* vlnGetDateFormat(void) { return vln_flagto.date_format; }
const char* vlnGetDefault(void) { return vln_flagto.default_dir; }
const char* vln_get_path(void) { return vln_flagto.path; }

int vlnGetMultilocks(void) { return vln_flagto.multilocks; }

int vlnSetMultilocks(int on)
{
  const int former = vln_flagto.multilocks;
  vln_flagto.multilocks = on != 0;
  return former;
}

}  // extern "C"

// Static initialisation gives every store its default, so that code running
// before the start-up routines (the error layer reads the report level)
// sees them too.
[[maybe_unused]] static const bool stores_ready = [] {
  for (int on : {VL_FLAG_CONSOLE, VL_FLAG_CURSOR, VL_FLAG_ESCAPE, VL_FLAG_EXCLUSIVE,
                 VL_FLAG_INTENSITY, VL_FLAG_SCOREBOARD, VL_FLAG_KEYREPEAT})
    flags[on] = 1;
  vl_set_flag[VL_SLOT_LEVEL] = VL_NORMAL_LEVEL;
  vl_set_flag[VL_SLOT_ESCDELAY] = kDefaultEscDelay;
  VlnFlagTo& f = vln_flagto;
  f.decimals = kDefaultDecimals;
  std::strcpy(f.date_format, "MM/DD/YY");
  f.epoch = kDefaultEpoch;
  f.path = f.default_dir = f.alternate_file = f.extra_file = f.printer_file = kEmpty;
  f.typeahead = kDefaultTypeahead;
  f.color = kDefaultColor;
  std::strcpy(f.device, "SCREEN");
  std::strcpy(f.delimiters, "::");
  __status[VL_STATUS_CANCEL] = 1;
  return true;
}();
