// switches.hpp -- the store of the run-time switches that SET and VL_Set
// change.
//
// Every layer reads switches (the report level, SET DECIMALS, SET EXACT,
// the date format, the file name switches), so the store lives at the
// bottom; the commands that change them are in the settings layer.
// Storage: `flags` holds a byte per logical switch, `vln_flagto` the valued
// settings, `vl_set_flag` an integer per extension switch, and four bytes
// of `__status` the switches the keyboard and debugger test.  Other modules
// read them through the getters of switches.h; the constants name every
// position so that no module spells a bare number.
#pragma once

#include <cstdint>
#include <cstdio>

#include "switches.h"

// Byte positions in `flags`: 0 off, 1 on.
enum {
  VL_FLAG_ALTERNATE = 0,
  VL_FLAG_BELL = 1,
  VL_FLAG_CONFIRM = 3,
  VL_FLAG_CONSOLE = 4,
  VL_FLAG_CURSOR = 5,
  VL_FLAG_DELETED = 6,
  VL_FLAG_DELIMITERS = 7,
  VL_FLAG_ESCAPE = 8,
  VL_FLAG_EXACT = 9,
  VL_FLAG_EXCLUSIVE = 10,
  VL_FLAG_EXTRA = 11,
  VL_FLAG_FIXED = 12,
  VL_FLAG_INTENSITY = 13,
  VL_FLAG_SCOREBOARD = 15,
  VL_FLAG_PRINTER = 16,
  VL_FLAG_SOFTSEEK = 17,
  VL_FLAG_UNIQUE = 18,
  VL_FLAG_WRAP = 19,
  VL_FLAG_KEYREPEAT = 20  // key repeat of the keyboard layer, default on
};

// Slots of `vl_set_flag`, by VL_Set token where one sets them.
enum {
  VL_SLOT_LEVEL = 0,       // error report threshold: 800, 700 developer
  VL_SLOT_LOOKAHEAD = 1,   // keyboard look-ahead
  VL_SLOT_LOWERFILE = 2,   // fold file parts to lower case
  VL_SLOT_UPPERFILE = 3,   // fold file parts to upper case
  VL_SLOT_SCRMAP = 6,      // 1 while an output map is loaded
  VL_SLOT_KEYMAP = 9,      // 1 while a key map is loaded
  VL_SLOT_DEBUGKEY = 10,   // key code of the terminal's QUIT character
  VL_SLOT_INTRKEY = 11,    // key code of the terminal's INTR character
  VL_SLOT_MEMCOMPAT = 12,  // memory files in the compatible format
  VL_SLOT_LOWERPATH = 13,  // fold directory parts to lower case
  VL_SLOT_UPPERPATH = 14,  // fold directory parts to upper case
  VL_SLOT_FOURCHAR = 15,   // four bytes of text, not NUL-terminated
  VL_SLOT_STRIP = 17,      // safe characters only, names clipped to 8.3
  VL_SLOT_NULTEXT = 18,    // a 0 byte does not end a text line
  VL_SLOT_COMPAT42 = 19,   // the 4.2-compatible lock scheme
  VL_SLOT_ESCDELAY = 21    // escape delay, 1 to 100
};

namespace vl {

inline constexpr int VL_FLAGS_SIZE = 32;
inline constexpr int VL_SET_FLAGS_SIZE = 32;

extern unsigned char flags[VL_FLAGS_SIZE];
extern int32_t vl_set_flag[VL_SET_FLAGS_SIZE];
// Say/Get mode of the picture engine: 0 SAY, 1 Get without focus, 2 with.
extern int32_t sgflag;

// Length of a date format, without the terminator.
inline constexpr int VL_DATEFMT_LEN = 15;

// The valued settings.  Text members are owned by the set module (or, for
// the three output channels, by whoever fills the channel hooks) and are
// never null; an empty text means "not set".
struct VlnFlagTo {
  int32_t decimals;                      // SET DECIMALS
  char date_format[VL_DATEFMT_LEN + 1];  // SET DATE: upper case
  int32_t epoch;                         // SET EPOCH
  char* path;                            // SET PATH as given
  char* default_dir;                     // SET DEFAULT, with a final '/'
  int32_t typeahead;                     // SET TYPEAHEAD
  char* color;                           // SET COLOR
  char* alternate_file;                  // SET ALTERNATE TO
  FILE* alternate_stream;                // its stream, null when closed
  char* extra_file;                      // SET EXTRA TO
  FILE* extra_stream;
  char* printer_file;                    // SET PRINTER TO
  FILE* print_stream;
  int32_t device_printer;                // SET DEVICE: 1 printer, 0 screen
  char device[8];                        // "PRINT" or "SCREEN"
  int32_t margin;                        // SET MARGIN, 0 to 255
  char delimiters[3];                    // SET DELIMITERS TO: left, right
  int32_t message_row;                   // SET MESSAGE
  int32_t message_centre;                // -1 centred, 0 not
  int32_t multilocks;                    // SET 40: stored, no effect
};

extern VlnFlagTo vln_flagto;

// Replace the owned text *member of vln_flagto by a copy of text (null
// counts as "").
void vln_flagto_settext(char** member, const char* text);

}  // namespace vl

// The lock layer's switches.  vlnFCNTLreadwrite: bit 0, read sections take
// real locks; bit 1, write sections do (default 3; VL_Set("multiUserSecur")
// writes it).  vlnFCNTLcompat42: non-zero, the 4.2-compatible lockf scheme
// replaces section and USE locks (default 0; VL_Set("4.2compatible")
// writes it).
extern "C" {
extern int32_t vlnFCNTLreadwrite;
extern int32_t vlnFCNTLcompat42;
}
