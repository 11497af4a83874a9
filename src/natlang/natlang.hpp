// natlang.hpp -- national text handling inside the library: the language
// records, the active language, collation, case folding and character
// classes.
//
// Up to VLN_LANGUAGES records can be loaded from language files; at most
// one is active (`curr_lang`, -1 for none).  With none active the fixed C
// tables serve: byte order, ASCII case and ASCII classes.  The tables never
// depend on the C library's locale.
#pragma once

#include <cstdint>
#include <cstdio>

#include "natlang.h"

#define VLN_LANG_TEXTSTORE 512
#define VLN_LANG_DAYS 7
#define VLN_LANG_MONTHS 12
// The scoreboard, directory and logical texts share one flat row of slots,
// so that an extra scoreboard line lands on the first directory slot and an
// extra directory line on the first logical slot.
#define VLN_LANG_SCORE_SLOTS 3
#define VLN_LANG_DIR_SLOTS 4
#define VLN_LANG_LOGICAL_SLOTS 2
#define VLN_LANG_TEXT_SLOTS \
  (VLN_LANG_SCORE_SLOTS + VLN_LANG_DIR_SLOTS + VLN_LANG_LOGICAL_SLOTS)
#define VLN_LANG_FIRST_DIR VLN_LANG_SCORE_SLOTS
#define VLN_LANG_FIRST_LOGICAL (VLN_LANG_SCORE_SLOTS + VLN_LANG_DIR_SLOTS)

namespace vl {

// Class bits of a character, by the letters of a language file.
enum {
  VLN_CL_ALPHA = 1,    // A
  VLN_CL_DIGIT = 2,    // D
  VLN_CL_XDIGIT = 4,   // X
  VLN_CL_CNTRL = 8,    // C
  VLN_CL_SPACE = 16,   // S
  VLN_CL_I = 32,       // I
  VLN_CL_PRINT = 64,   // P
  VLN_CL_GRAPH = 128,  // G
  VLN_CL_UPPER = 256,  // U
  VLN_CL_LOWER = 512   // L
};

// One language: tables by character, and the national texts.  Text pointers
// point into `text` or are null (the built-in text serves).
struct VlnLangRec {
  unsigned char collation[256];  // rank of a character
  unsigned char canonical[256];  // the character at a character's rank
  unsigned char upper[256];
  unsigned char lower[256];
  char text[VLN_LANG_TEXTSTORE];
  const char* daynames[VLN_LANG_DAYS];      // Sunday first
  const char* monthnames[VLN_LANG_MONTHS];  // January first
  const char* texts[VLN_LANG_TEXT_SLOTS];   // scoreboard, dir, logical
  uint32_t classes[256];
  unsigned char loaded;
};

extern VlnLangRec languages[VLN_LANGUAGES];
// Index of the active language, -1 for none.
extern int32_t curr_lang;
// The letters that count as true and false in logical input.
extern const char* logical_t;
extern const char* logical_f;

// ---- Loading. ----

// Load record index (0 to 9) from an open language file.  Returns 1 on
// success; on failure reports 320 and returns 0, and the record is left as
// it was.
int _loadlang(int index, FILE* stream);
// The character a language-file field describes ('x', "x" or a C number),
// or -1 when it describes none.
int getchrcode(const char* text);
// The class word of a field of class letters, or -1 for an unknown
// letter.
int32_t getchrtypes(const char* text);

// ---- Case and classes. ----

// Upper- and lower-case form of character c.
int Itoupper(int c);
int Itolower(int c);
// Fold the n bytes of s in place.
void Itoupr_str(char* s, int32_t n);
void Itolow_str(char* s, int32_t n);
// Non-zero when character c is of the class.
int Islower(int c);
int Isupper(int c);
int Isprintable(int c);
int Isalpha(int c);
int Isdigit(int c);
int Isspace(int c);

// ---- Comparison: by rank with a language active, by byte without. ----

// The language's `=` on counted texts, SET EXACT aware; returns a sign.
int Istrcmp_n(const char* a, const char* b, int32_t la, int32_t lb);
// The same on terminated texts.
int Istrcmp(const char* a, const char* b);
// At most n characters, stopping at a terminator.
int Istrncmp(const char* a, const char* b, int32_t n);
// Exactly n bytes, terminators included: index keys.
int IStrNECmp(const char* a, const char* b, int32_t n);
// At most n characters, compared by their upper-case forms.
int Istrnicmp(const char* a, const char* b, int32_t n);

}  // namespace vl
