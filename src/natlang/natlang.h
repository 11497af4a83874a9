/*
** natlang.h -- national text handling: the language records, the active
** language, collation, case folding, character classes and the national
** names (days, months, scoreboard and directory texts, logical letters).
**
** Up to VLN_LANGUAGES records can be loaded from language files; at most
** one is active (`curr_lang`, -1 for none).  With none active the fixed C
** tables serve: byte order, ASCII case and ASCII classes.  The tables never
** depend on the C library's locale.
*/
#ifndef VL_NATLANG_H
#define VL_NATLANG_H

#include <stdint.h>
#include <stdio.h>

#include "var.h"

VL_BEGIN_DECLS

#define VLN_LANGUAGES 10
#define VLN_LANG_TEXTSTORE 512
#define VLN_LANG_DAYS 7
#define VLN_LANG_MONTHS 12
/* The scoreboard, directory and logical texts share one flat row of slots,
** so that an extra scoreboard line lands on the first directory slot and an
** extra directory line on the first logical slot. */
#define VLN_LANG_SCORE_SLOTS 3
#define VLN_LANG_DIR_SLOTS 4
#define VLN_LANG_LOGICAL_SLOTS 2
#define VLN_LANG_TEXT_SLOTS \
  (VLN_LANG_SCORE_SLOTS + VLN_LANG_DIR_SLOTS + VLN_LANG_LOGICAL_SLOTS)
#define VLN_LANG_FIRST_DIR VLN_LANG_SCORE_SLOTS
#define VLN_LANG_FIRST_LOGICAL (VLN_LANG_SCORE_SLOTS + VLN_LANG_DIR_SLOTS)

/* Class bits of a character, by the letters of a language file. */
enum {
  VLN_CL_ALPHA = 1,     /* A */
  VLN_CL_DIGIT = 2,     /* D */
  VLN_CL_XDIGIT = 4,    /* X */
  VLN_CL_CNTRL = 8,     /* C */
  VLN_CL_SPACE = 16,    /* S */
  VLN_CL_I = 32,        /* I */
  VLN_CL_PRINT = 64,    /* P */
  VLN_CL_GRAPH = 128,   /* G */
  VLN_CL_UPPER = 256,   /* U */
  VLN_CL_LOWER = 512    /* L */
};

/* One language: tables by character, and the national texts.  Text pointers
** point into `text` or are null (the built-in text serves). */
typedef struct VlnLangRec {
  unsigned char collation[256]; /* rank of a character */
  unsigned char canonical[256]; /* the character at a character's rank */
  unsigned char upper[256];
  unsigned char lower[256];
  char text[VLN_LANG_TEXTSTORE];
  const char* daynames[VLN_LANG_DAYS];     /* Sunday first */
  const char* monthnames[VLN_LANG_MONTHS]; /* January first */
  const char* texts[VLN_LANG_TEXT_SLOTS];  /* scoreboard, dir, logical */
  uint32_t classes[256];
  unsigned char loaded;
} VlnLangRec;

extern VlnLangRec languages[VLN_LANGUAGES];
/* Index of the active language, -1 for none. */
extern int32_t curr_lang;
/* The letters that count as true and false in logical input. */
extern const char* logical_t;
extern const char* logical_f;

/* Start-up: every record holds the C tables and is not loaded; no language
** is active; the logical letters are "TtYy" and "FfNn". */
void init_lang(void);

/* ---- Loading. ---- */

/* Load record index (0 to 9) from an open language file.  Returns 1 on
** success; on failure reports 320 and returns 0, and the record is left as
** it was. */
int _loadlang(int index, FILE* stream);
/* The character a language-file field describes ('x', "x" or a C number),
** or -1 when it describes none. */
int getchrcode(const char* text);
/* The class word of a field of class letters, or -1 for an unknown
** letter. */
int32_t getchrtypes(const char* text);

/* Make language n (1 to 10) active, or none for 0.  Returns 0 on success,
** -1 when n is out of range, -2 when that record is not loaded. */
int vlnSelectLanguage(int n);
/* Index of the active language, -1 for none. */
int vlnGetCurLang(void);
/* The collation table of the active language (the identity without). */
const unsigned char* vlnGetLangChars(void);

/* ---- Case and classes. ---- */

/* Upper- and lower-case form of character c. */
int Itoupper(int c);
int Itolower(int c);
/* Fold the n bytes of s in place. */
void Itoupr_str(char* s, int32_t n);
void Itolow_str(char* s, int32_t n);
/* Non-zero when character c is of the class. */
int Islower(int c);
int Isupper(int c);
int Isprintable(int c);
int Isalpha(int c);
int Isdigit(int c);
int Isspace(int c);

/* ---- Comparison: by rank with a language active, by byte without. ---- */

/* The language's `=` on counted texts, SET EXACT aware; returns a sign. */
int Istrcmp_n(const char* a, const char* b, int32_t la, int32_t lb);
/* The same on terminated texts. */
int Istrcmp(const char* a, const char* b);
/* At most n characters, stopping at a terminator. */
int Istrncmp(const char* a, const char* b, int32_t n);
/* Exactly n bytes, terminators included: index keys. */
int IStrNECmp(const char* a, const char* b, int32_t n);
/* At most n characters, compared by their upper-case forms. */
int Istrnicmp(const char* a, const char* b, int32_t n);

/* ---- National texts (the built-in English ones without a language). ---- */

/* Name of weekday dow, 1 = Sunday to 7; "" out of range. */
const char* vlnDayName(int dow);
/* Name of month m, 1 to 12; "" out of range. */
const char* vlnMonthName(int m);
/* Scoreboard text n, 1 to 3: "Insert", "Range is", "date not valid". */
const char* vlnScoreText(int n);

/* ---- Language functions. ---- */

/* LOADLANG(n, file): load language n from a file. */
var* _bb_loadlang(int argc, var** argv);
/* SETLANG([n]): the former language number; with n, activate it. */
var* _bb_setlang(int argc, var** argv);
/* _LANGNAMES(n): scoreboard text n. */
var* _bb__langnames(int argc, var** argv);

VL_END_DECLS

#endif /* VL_NATLANG_H */
