/*
** set.h -- the run-time switches that SET and VL_Set change.
**
** Storage: `flags` holds a byte per logical switch, `vln_flagto` the valued
** settings, `vl_set_flag` an integer per extension switch, and four bytes
** of the kernel's `__status` the switches the keyboard and debugger test.
** Other modules read them through the getters below; the constants name
** every position so that no module spells a bare number.
**
** SET(n, value, additive) and VL_Set(keyword, ...) are the language entries;
** _cgetseton, _cgetsetnum and _cgetsetstr are the same operations for host
** code, one per kind of setting.  Settings whose effect belongs to another
** subsystem are stored here and handed on through the hooks of sethooks.h.
*/
#ifndef VL_SET_H
#define VL_SET_H

#include <stdint.h>
#include <stdio.h>

#include "var.h"

VL_BEGIN_DECLS

/* Byte positions in `flags`: 0 off, 1 on. */
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
  VL_FLAG_KEYREPEAT = 20 /* key repeat of the keyboard layer, default on */
};

/* Byte positions in the kernel's `__status`. */
enum {
  VL_STATUS_DEBUG = 1,
  VL_STATUS_EXIT = 3,
  VL_STATUS_INSERT = 4,
  VL_STATUS_CANCEL = 5
};

/* Slots of `vl_set_flag`, by VL_Set token where one sets them. */
enum {
  VL_SLOT_LEVEL = 0,      /* error report threshold: 800, 700 developer */
  VL_SLOT_LOOKAHEAD = 1,  /* keyboard look-ahead */
  VL_SLOT_LOWERFILE = 2,  /* fold file parts to lower case */
  VL_SLOT_UPPERFILE = 3,  /* fold file parts to upper case */
  VL_SLOT_SCRMAP = 6,     /* 1 while an output map is loaded */
  VL_SLOT_KEYMAP = 9,     /* 1 while a key map is loaded */
  VL_SLOT_DEBUGKEY = 10,  /* key code of the terminal's QUIT character */
  VL_SLOT_INTRKEY = 11,   /* key code of the terminal's INTR character */
  VL_SLOT_MEMCOMPAT = 12, /* memory files in the compatible format */
  VL_SLOT_LOWERPATH = 13, /* fold directory parts to lower case */
  VL_SLOT_UPPERPATH = 14, /* fold directory parts to upper case */
  VL_SLOT_FOURCHAR = 15,  /* four bytes of text, not NUL-terminated */
  VL_SLOT_STRIP = 17,     /* safe characters only, names clipped to 8.3 */
  VL_SLOT_NULTEXT = 18,   /* a 0 byte does not end a text line */
  VL_SLOT_COMPAT42 = 19,  /* the 4.2-compatible lock scheme */
  VL_SLOT_ESCDELAY = 21   /* escape delay, 1 to 100 */
};

#define VL_FLAGS_SIZE 32
#define VL_SET_FLAGS_SIZE 32

/* The two values of the report threshold. */
#define VL_DEVEL_LEVEL 700
#define VL_NORMAL_LEVEL 800

extern unsigned char flags[VL_FLAGS_SIZE];
extern int32_t vl_set_flag[VL_SET_FLAGS_SIZE];
/* Say/Get mode of the picture engine: 0 SAY, 1 Get without focus, 2 with. */
extern int32_t sgflag;

/* Length of a date format, without the terminator. */
#define VL_DATEFMT_LEN 15

/* The valued settings.  Text members are owned by the set module (or, for
** the three output channels, by whoever fills the channel hooks) and are
** never null; an empty text means "not set". */
typedef struct VlnFlagTo {
  int32_t decimals;                    /* SET DECIMALS */
  char date_format[VL_DATEFMT_LEN + 1];/* SET DATE: upper case */
  int32_t epoch;                       /* SET EPOCH */
  char* path;                          /* SET PATH as given */
  char* default_dir;                   /* SET DEFAULT, with a final '/' */
  int32_t typeahead;                   /* SET TYPEAHEAD */
  char* color;                         /* SET COLOR */
  char* alternate_file;                /* SET ALTERNATE TO */
  FILE* alternate_stream;              /* its stream, null when closed */
  char* extra_file;                    /* SET EXTRA TO */
  FILE* extra_stream;
  char* printer_file;                  /* SET PRINTER TO */
  FILE* print_stream;
  int32_t device_printer;              /* SET DEVICE: 1 printer, 0 screen */
  char device[8];                      /* "PRINT" or "SCREEN" */
  int32_t margin;                      /* SET MARGIN, 0 to 255 */
  char delimiters[3];                  /* SET DELIMITERS TO: left, right */
  int32_t message_row;                 /* SET MESSAGE */
  int32_t message_centre;              /* -1 centred, 0 not */
  int32_t multilocks;                  /* SET 40: stored, no effect */
} VlnFlagTo;

extern VlnFlagTo vln_flagto;

/* ---- Getters. ---- */

/* SET DECIMALS. */
int vlnGetDecimals(void);
/* SET EXACT, SET FIXED, SET DELETED, SET EXCLUSIVE, SET SOFTSEEK,
** SET UNIQUE as 0 or 1. */
int vlnGetExact(void);
int vlnGetFixed(void);
int vlnGetDelete(void);
int vlnGetExclusive(void);
int vlnGetSoftSeek(void);
int vlnGetUnique(void);
/* The lower and upper file name switches as 0 or 1. */
int vlnGetLowerFiles(void);
int vlnGetUpperFiles(void);
/* The 4.2-compatible lock scheme as 0 or 1. */
int vlnGet42Compatible(void);
/* SET 40 (multiple locks): stored only; the former value is returned. */
int vlnGetMultilocks(void);
int vlnSetMultilocks(int on);
/* The integer-variable switch: VALTYPE shows 'F' and 'I' as such. */
int vlnGetIntvar(void);
void vlnSetIntvar(int on);
/* Developer mode: the report threshold is at most 700. */
int vlnGetDevel(void);

/* The date format: 15 characters at most, upper case, e.g. "MM/DD/YY". */
const char* vlnGetDateFormat(void);
/* SET EPOCH. */
int vlnGetEpoch(void);
/* SET CENTURY: turn the format's "YY" into "YYYY" (on) and back (off).
** Returns the former state. */
int vln_setcentury(int on);
/* Whether the date format shows the century. */
int vlnGetCentury(void);

/* SET DEFAULT with its trailing '/', "" when none. */
const char* vlnGetDefault(void);
/* SET PATH as given. */
const char* vln_get_path(void);
/* Number of directories of SET PATH, and directory i (0 based, translated,
** with a trailing '/'); null past the end. */
int vln_path_count(void);
const char* vln_path_entry(int i);
/* Change SET PATH (list separated by ',' or ';') and SET DEFAULT. */
void vln_path_to(const char* text);
void vln_default_to(const char* text);

/* Printer control sequences of VL_Set("printersequences"), in this order. */
enum {
  VL_PRSEQ_NEWLINE,
  VL_PRSEQ_NEWPAGE,
  VL_PRSEQ_MOVE,
  VL_PRSEQ_HOME,
  VL_PRSEQ_BACK,
  VL_PRSEQ_SPACE,
  VL_PRSEQ_MARGIN,
  VL_PRSEQ_COUNT
};
/* The current text of sequence which, "" for an unknown one. */
const char* vlnGetPrinterSeq(int which);

/* ---- Operations. ---- */

/* Logical setting n: value 0 or 1 sets, 2 only reads.  Returns the former
** value as 0 or 1, or -1 when n is no logical setting. */
int _cgetseton(int value, int n);
/* The value that leaves a numeric setting unchanged. */
#define VL_SET_NOCHANGE (-9999)
/* Numeric setting n: value or VL_SET_NOCHANGE.  Returns the former value,
** or VL_SET_NOCHANGE when n is no numeric setting. */
int _cgetsetnum(int n, int value);
/* Offset added to n by callers of _cgetsetstr for the additive form. */
#define VL_SET_ADDITIVE 100
/* Text setting n (+VL_SET_ADDITIVE: additive), text or null to only read.
** Returns the former text in a buffer valid until the next call, or null
** when n is no text setting. */
const char* _cgetsetstr(int n, const char* text);
/* The logical extension switch in vl_set_flag[slot]; a true value clears
** slot excl unless excl is negative.  count is VL_Set's argument count.
** Returns the former value as a logical. */
var* vl_setlogic(int count, var* value, int slot, int excl);
/* Replace the printer sequences by the texts of the array argv[0], when
** given; returns an array of the seven former texts. */
var* vl_prset(int argc, var** argv);

/* ---- Language functions. ---- */

/* SET(n, value, additive): the former value; NIL for an unknown n. */
var* _bb_set(int argc, var** argv);
/* VL_Set(keyword, ...): the former value; .F. for an unknown keyword. */
var* _bb_vl_set(int argc, var** argv);
/* __SETCENTURY(on): the former state of SET CENTURY. */
var* _bb___setcentu(int argc, var** argv);
/* __PUSHFLAG(list): save the SET numbers of list, each a number or an
** array {n, value[, additive]} that is also set.  Returns NIL. */
var* _bb___pushflag(int argc, var** argv);
/* __POPFLAGS(): put back the settings of the last push.  Returns NIL. */
var* _bb___popflags(int argc, var** argv);

VL_END_DECLS

#endif /* VL_SET_H */
