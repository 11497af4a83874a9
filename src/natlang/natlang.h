/*
** natlang.h -- national language: choosing the active language and the
** national names (days, months, scoreboard texts).
**
** Up to VLN_LANGUAGES languages can be loaded from language files
** (LOADLANG); at most one is active (SETLANG).  With none active the
** library compares by byte, folds ASCII case and uses the ASCII classes,
** whatever the C library's locale.
*/
#ifndef VL_NATLANG_H
#define VL_NATLANG_H

#include "var.h"

VL_BEGIN_DECLS

/* The number of language records. */
#define VLN_LANGUAGES 10

/* Start-up: every record holds the C tables and is not loaded; no language
** is active; the logical letters are "TtYy" and "FfNn". */
void init_lang(void);

/* Make language n (1 to 10) active, or none for 0.  Returns 0 on success,
** -1 when n is out of range, -2 when that record is not loaded. */
int vlnSelectLanguage(int n);
/* Index of the active language, -1 for none. */
int vlnGetCurLang(void);
/* The collation table of the active language (the identity without). */
const unsigned char* vlnGetLangChars(void);

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
